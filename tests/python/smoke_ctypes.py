"""A second, independent client of libmorvanta: Python's ctypes, with no
header. Takes the library's log over with a log handler, initialises the
library, is refused a login, logs in, reads and frees the account record,
shuts down, and calls once more through the handle it kept (an error line). Usage: smoke_ctypes.py <folder holding libmorvanta.so>"""
import ctypes
import os
import sys
import threading
import time

folder = sys.argv[1]
lib = ctypes.CDLL(os.path.join(folder, "libmorvanta.so"))


class InitConfig(ctypes.Structure):
    _fields_ = [("app_key", ctypes.c_char_p), ("log_path", ctypes.c_char_p),
                ("server_url", ctypes.c_char_p), ("locale", ctypes.c_char_p),
                ("use_asset_server_config", ctypes.c_int32), ("debug", ctypes.c_int32)]


class AccountInfo(ctypes.Structure):
    _fields_ = [(name, ctypes.c_char_p) for name in (
        "user_uuid", "user_token", "nickname", "private_meeting_num", "corp_name", "account",
        "avatar", "phone_number", "email", "private_short_meeting_num")] + [
        ("is_initial_password", ctypes.c_int8), ("is_anonymous", ctypes.c_int8)]


class LoginOptions(ctypes.Structure):
    _fields_ = [("username", ctypes.c_char_p), ("password", ctypes.c_char_p)]


LogHandler = ctypes.CFUNCTYPE(None, ctypes.c_int32, ctypes.c_char_p, ctypes.c_void_p)
LOG_ERROR = 3

PlainCallback = ctypes.CFUNCTYPE(None, ctypes.c_int, ctypes.c_char_p, ctypes.c_void_p)
AccountCallback = ctypes.CFUNCTYPE(None, ctypes.c_int, ctypes.c_char_p, ctypes.POINTER(AccountInfo), ctypes.c_void_p)

lib.Morvanta_Initialize.argtypes = [ctypes.POINTER(InitConfig), ctypes.POINTER(ctypes.c_void_p)]
lib.Morvanta_Initialize.restype = ctypes.c_int32
lib.Morvanta_GetVersion.restype = ctypes.c_char_p
lib.Morvanta_GetAccountManager.argtypes = [ctypes.c_void_p]
lib.Morvanta_GetAccountManager.restype = ctypes.c_void_p
lib.Morvanta_Account_LoginByPassword.argtypes = [ctypes.c_void_p, ctypes.POINTER(LoginOptions), AccountCallback,
                                                 ctypes.c_void_p]
lib.Morvanta_FreeAccountInfo.argtypes = [ctypes.POINTER(AccountInfo)]
lib.Morvanta_Account_Logout.argtypes = [ctypes.c_void_p, PlainCallback, ctypes.c_void_p]
lib.Morvanta_Account_Logout.restype = ctypes.c_int
lib.Morvanta_DestroyAccountManagerHandle.argtypes = [ctypes.c_void_p]
lib.Morvanta_Uninitialize.restype = ctypes.c_int32
lib.Morvanta_SetLogHandler.argtypes = [LogHandler, ctypes.c_void_p]
lib.Morvanta_SetLogHandler.restype = None


def check(condition, text):
    if not condition:
        print("FAIL: " + text, file=sys.stderr)
        sys.exit(1)


log_lines = []
log_lock = threading.Lock()


def on_log(level, line, user_data):
    # Any of the library's threads; the line is copied (bytes) before returning.
    with log_lock:
        log_lines.append((level, line))


log_handler = LogHandler(on_log)  # kept alive for the life of the process
lib.Morvanta_SetLogHandler(log_handler, None)

check(lib.Morvanta_GetVersion() == b"1.0.0", "version")
handle = ctypes.c_void_p()
config = InitConfig(b"python-app-key-01", b"/tmp", None, None, -1, -1)
check(lib.Morvanta_Initialize(ctypes.byref(config), ctypes.byref(handle)) == 0, "initialize")
check(bool(handle.value), "sdk handle")
account = lib.Morvanta_GetAccountManager(handle)
check(bool(account), "account manager")

answers = []
done = threading.Event()
answers_lock = threading.Lock()


def on_login(code, message, info, user_data):
    # Runs on the library's worker thread: copy what is needed, free the record.
    with answers_lock:
        if code == 0 and info:
            answers.append((code, info.contents.user_uuid, info.contents.nickname, info.contents.is_anonymous))
            lib.Morvanta_FreeAccountInfo(info)
        else:
            answers.append((code, message, None, None))
    done.set()


def login(username, password):
    """The answers of one login: waits for the first, then a little longer, so
    that a second (a doubled delivery) would show."""
    with answers_lock:
        del answers[:]
    done.clear()
    options = LoginOptions(username, password)
    check(lib.Morvanta_Account_LoginByPassword(account, ctypes.byref(options), callback, None) == 0,
          "login accepted")
    check(done.wait(20), "login answered")
    time.sleep(0.15)
    with answers_lock:
        return list(answers)


callback = AccountCallback(on_login)  # kept alive until the answers came
refused = login(b"alice", b"wrong-password")
check(len(refused) == 1, "exactly one answer to the refused login: %r" % refused)
check(refused[0][:2] == (1011, b"incorrect username or password"), "refusal %r" % (refused[0],))
answered = login(b"alice", b"alice-password")
check(len(answered) == 1, "exactly one answer: %r" % answered)
code, uuid, nickname, anonymous = answered[0]
check(code == 0, "login code %r (%r)" % (code, uuid))
check(uuid == b"user-alice-0001", "user uuid %r" % uuid)
check(nickname == b"Alice Archer", "nickname %r" % nickname)

check(lib.Morvanta_Uninitialize() == 0, "uninitialize")
# The handle outlived the library: its call is answered with a failure, and
# the library logs an error line for it.
late = []
late_callback = PlainCallback(lambda code, message, user_data: late.append((code, message)))
check(lib.Morvanta_Account_Logout(account, late_callback, None) == 0, "late logout accepted")
check(late == [(-1, b"Bridge not initialized")], "late logout answered %r" % late)
lib.Morvanta_DestroyAccountManagerHandle(account)
# The library still logs while the process exits, after the interpreter has
# gone: give the lines back to the standard streams first.
lib.Morvanta_SetLogHandler(LogHandler(), None)
with log_lock:
    lines = list(log_lines)
check(any(line == "[Gatherdeck C API] 🛑 Morvanta_Uninitialize".encode() for _, line in lines),
      "library lines reach the handler")
check(all(b"\n" not in line for _, line in lines if b"    at " not in line), "lines come without newlines")
error_lines = [line for level, line in lines if level == LOG_ERROR]
check(any(b"Bridge not initialized" in line for line in error_lines), "the late call logged an error line")
check(all(b"\xe2\x9d\x8c" in line for line in error_lines), "error lines carry the cross: %r" % error_lines)
check(all(level == LOG_ERROR for level, line in lines if b"\xe2\x9d\x8c" in line), "lines with the cross are errors")
print("1 passed, 0 failed")
