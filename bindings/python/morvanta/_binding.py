"""The loaded library with the C types of every function this package calls."""
from __future__ import annotations

import ctypes
from ctypes import POINTER, c_char_p, c_int, c_int32, c_uint32, c_void_p
from typing import Any, Dict, Optional

from . import _calls, _channels, _library, _log
from ._cstructs import CInitConfig, CWaitingRoomInfo
from ._table import MANAGERS, OPERATIONS, QUERY, SENT, Operation

# The synchronous queries: their out parameters after the handle.
QUERY_OUT: Dict[str, Any] = {
    "Morvanta_Member_GetMemberList": [POINTER(c_void_p), POINTER(c_uint32)],
    "Morvanta_Meeting_GetMeetingInfo": [POINTER(c_void_p)],
    "Morvanta_WaitingRoom_GetInfo": [POINTER(CWaitingRoomInfo)],
}

# Functions outside the operation table: name -> (argtypes, restype).
_OTHERS: Dict[str, Any] = {
    "Morvanta_Initialize": ([POINTER(CInitConfig), POINTER(c_void_p)], c_int32),
    "Morvanta_Uninitialize": ([], c_int32),
    "Morvanta_GetVersion": ([], c_char_p),
    "Morvanta_SetLogHandler": ([_log.LogHandler, c_void_p], None),
    "Morvanta_SetLogLevel": ([c_int32], None),
    "Morvanta_SetBridgeMode": ([c_int32], c_int32),
    "Morvanta_FreeMemberList": ([c_void_p, c_uint32], None),
    "Morvanta_FreeMeetingInfo": ([c_void_p], None),
}
_DISPATCH: Dict[str, Any] = {
    "Morvanta_SetDispatchMode": ([c_int32], c_int32),
    "Morvanta_GetDispatchFd": ([], c_int32),
    "Morvanta_Dispatch": ([c_int32], c_int32),
}


class Library:
    def __init__(self, lib: ctypes.CDLL) -> None:
        self.lib = lib
        self.calls = _calls.Trampolines(lib)
        self.channels = _channels.Binding(lib)
        self.has_dispatch = hasattr(lib, "Morvanta_Dispatch")
        others = dict(_OTHERS, **(_DISPATCH if self.has_dispatch else {}))
        for family in MANAGERS:
            others[f"Morvanta_Get{family}Manager"] = ([c_void_p], c_void_p)
            others[f"Morvanta_Destroy{family}ManagerHandle"] = ([c_void_p], None)
        for name, (argtypes, restype) in others.items():
            function = getattr(lib, name)
            function.argtypes, function.restype = argtypes, restype
        self.functions: Dict[str, Any] = {}
        for op in OPERATIONS:
            self.functions[op.c_name] = self._bind(op)

    def _bind(self, op: Operation) -> Any:
        function = getattr(self.lib, op.export)
        argtypes = [c_void_p] + [t for p in op.params for t in p.ctypes]
        if op.outcome == QUERY:
            argtypes += QUERY_OUT[op.c_name]
        elif op.outcome != SENT:
            argtypes += [self.calls.prototypes[op.outcome], c_void_p]
        function.argtypes, function.restype = argtypes, c_int
        return function


_library_instance: Optional[Library] = None


def library() -> Library:
    global _library_instance
    if _library_instance is None:
        _library_instance = Library(_library.load())
    return _library_instance
