"""A second, independent client of libmorvanta: Python's ctypes, with no
header. Takes the library's log over with a log handler, initialises the
library, logs in, reads and frees the account record, and shuts down. Usage: smoke_ctypes.py <folder holding libmorvanta.so>"""
import ctypes
import os
import sys
import threading

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

AccountCallback = ctypes.CFUNCTYPE(None, ctypes.c_int, ctypes.c_char_p, ctypes.POINTER(AccountInfo), ctypes.c_void_p)

lib.Morvanta_Initialize.argtypes = [ctypes.POINTER(InitConfig), ctypes.POINTER(ctypes.c_void_p)]
lib.Morvanta_Initialize.restype = ctypes.c_int32
lib.Morvanta_GetVersion.restype = ctypes.c_char_p
lib.Morvanta_GetAccountManager.argtypes = [ctypes.c_void_p]
lib.Morvanta_GetAccountManager.restype = ctypes.c_void_p
lib.Morvanta_Account_LoginByPassword.argtypes = [ctypes.c_void_p, ctypes.POINTER(LoginOptions), AccountCallback,
                                                 ctypes.c_void_p]
lib.Morvanta_FreeAccountInfo.argtypes = [ctypes.POINTER(AccountInfo)]
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


def on_login(code, message, info, user_data):
    # Runs on the library's worker thread: copy what is needed, free the record.
    if code == 0 and info:
        answers.append((code, info.contents.user_uuid, info.contents.nickname, info.contents.is_anonymous))
        lib.Morvanta_FreeAccountInfo(info)
    else:
        answers.append((code, message, None, None))
    done.set()


callback = AccountCallback(on_login)  # kept alive until the answer came
options = LoginOptions(b"alice", b"alice-password")
check(lib.Morvanta_Account_LoginByPassword(account, ctypes.byref(options), callback, None) == 0, "login accepted")
check(done.wait(20), "login answered")
check(len(answers) == 1, "exactly one answer")
code, uuid, nickname, anonymous = answers[0]
check(code == 0, "login code %r (%r)" % (code, uuid))
check(uuid == b"user-alice-0001", "user uuid %r" % uuid)
check(nickname == b"Alice Archer", "nickname %r" % nickname)

lib.Morvanta_DestroyAccountManagerHandle(account)
check(lib.Morvanta_Uninitialize() == 0, "uninitialize")
# The library still logs while the process exits, after the interpreter has
# gone: give the lines back to the standard streams first.
lib.Morvanta_SetLogHandler(LogHandler(), None)
with log_lock:
    lines = list(log_lines)
check(any(line == "[Gatherdeck C API] 🛑 Morvanta_Uninitialize".encode() for _, line in lines),
      "library lines reach the handler")
check(all(b"\n" not in line for _, line in lines if b"    at " not in line), "lines come without newlines")
check(all(b"\xe2\x9d\x8c" in line for level, line in lines if level == LOG_ERROR), "error lines carry the cross")
print("1 passed, 0 failed")
