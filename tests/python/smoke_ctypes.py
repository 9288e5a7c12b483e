"""A second, independent client of libmorvanta: Python's ctypes, with no
header. Initialises the library, logs in, reads and frees the account record,
and shuts down. Usage: smoke_ctypes.py <folder holding libmorvanta.so>"""
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


def check(condition, text):
    if not condition:
        print("FAIL: " + text, file=sys.stderr)
        sys.exit(1)


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
print("1 passed, 0 failed")
