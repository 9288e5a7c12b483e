"""Operations in flight: the callback trampolines of each payload family.

One ctypes trampoline per payload family lives for the whole process; the
``user_data`` of each call is a number naming its entry in ``_pending``. The
trampoline converts the payload into Python records, releases the C payload
at once, and settles the call's future: directly when it runs on the loop's
own thread (host dispatch), through ``call_soon_threadsafe`` otherwise. A
call whose awaiting task was cancelled still gets its callback; the payload
is released and the answer dropped.
"""
from __future__ import annotations

import asyncio
import ctypes
import itertools
import threading
from ctypes import c_char_p, c_int, c_int32, c_uint32, c_void_p
from dataclasses import dataclass
from typing import Any, Callable, Dict, List, Optional, Tuple

from . import records as r
from ._convert import list_from_c, one_from_c
from .errors import Error


@dataclass
class _Pending:
    future: "asyncio.Future[Any]"
    loop: asyncio.AbstractEventLoop
    thread: int


_pending: Dict[int, _Pending] = {}
_ids = itertools.count(1)
_lock = threading.Lock()


def pending_count() -> int:
    return len(_pending)


def _settle(future: "asyncio.Future[Any]", code: int, message: str, value: Any) -> None:
    if future.done():
        return
    if code == 0:
        future.set_result(value)
    else:
        future.set_exception(Error(code, message))


@dataclass(frozen=True)
class Family:
    """A payload family: what its callback receives after (code, message)."""
    name: str
    payload: Tuple[Any, ...]             # ctypes of the payload arguments
    take: Callable[..., Any]             # payload -> Python value
    free: Optional[str] = None           # the library's release function
    record: bool = False                 # a single record: its absence on success is a failure

    def prototype(self) -> Any:
        return ctypes.CFUNCTYPE(None, c_int, c_char_p, *self.payload, c_void_p)

    def make_trampoline(self, lib: ctypes.CDLL) -> Any:
        prototype = self.prototype()
        release = getattr(lib, self.free) if self.free else None
        take, record = self.take, self.record

        def trampoline(code: int, message: Optional[bytes], *rest: Any) -> None:
            try:
                payload, user_data = rest[:-1], rest[-1]
                try:
                    value = take(*payload) if code == 0 else None
                finally:
                    if release is not None and payload[0]:
                        release(*payload)
                with _lock:
                    entry = _pending.pop(user_data or 0, None)
                if entry is None:
                    return
                text = "" if message is None else message.decode("utf-8", "replace")
                if code == 0 and record and value is None:
                    code, text = -1, "The answer carried no record"
                if threading.get_ident() == entry.thread:
                    _settle(entry.future, code, text, value)
                else:
                    entry.loop.call_soon_threadsafe(_settle, entry.future, code, text, value)
            except Exception:  # the loop is gone, or a fault: nothing may reach the library's thread
                pass

        return prototype(trampoline)


def _string(address: Optional[int]) -> str:
    return ctypes.string_at(address).decode("utf-8", "replace") if address else ""


def _record(record: type) -> Callable[[Optional[int]], Any]:
    return lambda address: one_from_c(record, address)


def _records(record: type) -> Callable[[Optional[int], int], List[Any]]:
    return lambda address, count: list_from_c(record, address, count)


# Every callback family of the C interface: name -> (payload, conversion, release).
FAMILIES: Dict[str, Family] = {f.name: f for f in (
    Family("plain", (), lambda: None),
    Family("string", (c_void_p,), _string, "Morvanta_FreeString"),
    Family("integer", (c_uint32,), int),
    Family("device_list", (c_void_p, c_uint32), _records(r.DeviceInfo), "Morvanta_FreeDeviceList"),
    Family("account_info", (c_void_p,), _record(r.AccountInfo), "Morvanta_FreeAccountInfo", True),
    Family("account_list", (c_void_p, c_int32), _records(r.SearchAccountInfo), "Morvanta_FreeAccountList"),
    Family("chat_message", (c_void_p,), _record(r.ChatMessage), "Morvanta_FreeChatMessage", True),
    Family("chatroom_permission", (c_void_p,), _record(r.ChatroomPermission), "Morvanta_FreeChatroomPermission",
           True),
    Family("screen_source_list", (c_void_p, c_uint32), _records(r.ScreenCaptureSource),
           "Morvanta_FreeScreenCaptureSourceList"),
    Family("pre_meeting_info", (c_void_p,), _record(r.MeetingInfo), "Morvanta_FreePreMeetingInfo", True),
    Family("meeting_list", (c_void_p, c_int32), _records(r.MeetingInfo), "Morvanta_FreeMeetingList"),
    Family("scheduled_member_list", (c_void_p, c_int32), _records(r.ScheduledMember),
           "Morvanta_FreeScheduledMembers"),
    Family("waiting_room_member_list", (c_void_p, c_int32), _records(r.WaitingRoomMember),
           "Morvanta_FreeWaitingRoomMemberList"),
)}


class Trampolines:
    """The process's trampolines, made once per loaded library."""

    def __init__(self, lib: ctypes.CDLL) -> None:
        self.by_family = {name: family.make_trampoline(lib) for name, family in FAMILIES.items()}
        self.prototypes = {name: type(trampoline) for name, trampoline in self.by_family.items()}
        for family in FAMILIES.values():
            if family.free:
                release = getattr(lib, family.free)
                release.argtypes, release.restype = list(family.payload), None


def start(loop: asyncio.AbstractEventLoop) -> Tuple[int, "asyncio.Future[Any]"]:
    """A new entry for a call about to be made: its user_data and its future."""
    future: "asyncio.Future[Any]" = loop.create_future()
    user_data = next(_ids)
    with _lock:
        _pending[user_data] = _Pending(future, loop, threading.get_ident())
    return user_data, future


def forget(user_data: int) -> None:
    with _lock:
        _pending.pop(user_data, None)


def abandon(loop: asyncio.AbstractEventLoop, code: int, message: str) -> int:
    """Fails every call of `loop` still waiting (the session ended without an
    answer for them); answers how many."""
    with _lock:
        mine = [k for k, v in _pending.items() if v.loop is loop]
        entries = [_pending.pop(k) for k in mine]
    for entry in entries:
        if entry.thread == threading.get_ident():
            _settle(entry.future, code, message, None)
        else:
            entry.loop.call_soon_threadsafe(_settle, entry.future, code, message, None)
    return len(entries)
