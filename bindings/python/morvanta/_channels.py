"""The event channels: C listener records made from the listener classes.

A channel is its listener class, the C record's function fields in order,
and its add/remove functions. The C argument types and their conversion come
from the annotations of the class's ``on_*`` methods (a record, an optional
record, a list of records with its count, str, bool, int). One trampoline per
channel event lives for the process; a registration's ``user_data`` names it
in ``_registered``.
"""
from __future__ import annotations

import asyncio
import ctypes
import inspect
import itertools
import logging
import threading
import typing
from ctypes import c_bool, c_char_p, c_int32, c_uint32, c_void_p
from dataclasses import dataclass, field
from typing import Any, Callable, Dict, List, Optional, Set, Tuple

from . import listeners as ls
from ._convert import list_from_c, one_from_c, snake

logger = logging.getLogger("morvanta")


@dataclass(frozen=True)
class Channel:
    name: str
    base: type
    fields: Tuple[str, ...]          # the C record's function fields, in order ("reserved*": never called)
    add: str
    remove: str
    family: Optional[str]            # the manager whose handle add/remove take (None: no handle)


CHANNELS: Dict[str, Channel] = {c.name: c for c in (
    Channel("meeting", ls.MeetingListener, (
        "reserved1", "onMemberJoinMeeting", "onMemberLeaveMeeting", "reserved2", "onMemberAudioMuteChanged",
        "onMemberVideoMuteChanged", "onRoomEnded", "onMemberAudioConnectStateChanged", "onMemberJoinChatroom",
        "onMemberLeaveChatroom", "onMemberScreenShareStateChanged", "onReceiveChatroomMessages",
        "onMemberChatBanStateChanged"),
        "Morvanta_Meeting_AddMeetingListener", "Morvanta_Meeting_RemoveMeetingListener", "Meeting"),
    Channel("rtc_stats", ls.RtcStatsListener, (
        "onRtcStats", "onLocalAudioStats", "onRemoteAudioStats", "onLocalVideoStats", "onRemoteVideoStats",
        "onNetworkQuality"),
        "Morvanta_Meeting_AddRtcStatsListener", "Morvanta_Meeting_RemoveRtcStatsListener", "Meeting"),
    Channel("message_channel", ls.MessageChannelListener, (
        "onCustomMessageReceived", "onSessionMessageReceived", "onSessionMessageRecentChanged",
        "onSessionMessageDeleted", "onDeleteAllSessionMessage"),
        "Morvanta_Meeting_AddMessageChannelListener", "Morvanta_Meeting_RemoveMessageChannelListener", "Meeting"),
    Channel("waiting_room", ls.WaitingRoomListener, (
        "onMemberJoin", "onMemberLeave", "onMemberAdmitted", "onMyStatusChanged", "onMemberNameChanged",
        "onInfoUpdated", "onAllMembersKicked", "onManagersUpdated"),
        "Morvanta_WaitingRoom_AddListener", "Morvanta_WaitingRoom_RemoveListener", "WaitingRoom"),
    Channel("global", ls.GlobalListener, (
        "before_rtc_engine_initialize", "after_rtc_engine_initialize", "before_rtc_engine_release"),
        "Morvanta_AddGlobalEventListener", "Morvanta_RemoveGlobalEventListener", None),
)}


def method_name(c_field: str) -> str:
    name = snake(c_field)
    return name if name.startswith("on_") else "on_" + name


_Arg = Tuple[Tuple[Any, ...], Callable[..., Any]]


def _arg(hint: Any) -> _Arg:
    """The C arguments of one annotated parameter and their conversion."""
    origin, args = typing.get_origin(hint), typing.get_args(hint)
    if origin is typing.Union:
        hint = next(a for a in args if a is not type(None))
        origin, args = typing.get_origin(hint), typing.get_args(hint)
    if origin in (list, List):
        record = args[0]
        return (c_void_p, c_uint32), lambda address, count: list_from_c(record, address, count)
    if hint is str:
        return (c_char_p,), lambda b: "" if b is None else b.decode("utf-8", "replace")
    if hint is bool:
        return (c_bool,), bool
    if hint is int:
        return (c_int32,), int
    return (c_void_p,), lambda address: one_from_c(hint, address)


def _signature(channel: Channel, c_field: str) -> List[_Arg]:
    method = getattr(channel.base, method_name(c_field))
    hints = typing.get_type_hints(method)
    names = list(inspect.signature(method).parameters)[1:]
    return [_arg(hints[n]) for n in names]


class Stream:
    """A listener of every event of a channel that queues them (see ``Manager.events``)."""

    def __init__(self, channel: str) -> None:
        self.channel = channel
        self.queue: "asyncio.Queue[Any]" = asyncio.Queue()


@dataclass
class _Registration:
    listener: Any
    loop: asyncio.AbstractEventLoop
    thread: int
    channel: Channel
    record: Any = None
    active: bool = True
    tasks: Set["asyncio.Task[Any]"] = field(default_factory=set)


_registered: Dict[int, _Registration] = {}
_ids = itertools.count(1)


def _deliver(reg: _Registration, name: str, args: Tuple[Any, ...]) -> None:
    listener = reg.listener
    if not reg.active:  # removed while this call waited for the loop
        return
    if isinstance(listener, Stream):
        from .events import Event
        listener.queue.put_nowait(Event(listener.channel, name, args))
        return
    try:
        result = getattr(listener, name)(*args)
        if inspect.isawaitable(result):
            task: "asyncio.Task[Any]" = reg.loop.create_task(result)  # type: ignore[arg-type]
            reg.tasks.add(task)
            task.add_done_callback(_finished(reg))
    except Exception:
        logger.exception("listener %s.%s raised", type(listener).__name__, name)


def _finished(reg: _Registration) -> Callable[["asyncio.Task[Any]"], None]:
    def done(task: "asyncio.Task[Any]") -> None:
        reg.tasks.discard(task)
        if not task.cancelled() and task.exception() is not None:
            logger.error("listener coroutine raised", exc_info=task.exception())
    return done


class Binding:
    """The C records and trampolines of every channel, made once per library."""

    def __init__(self, lib: ctypes.CDLL) -> None:
        self.lib = lib
        self.layouts: Dict[str, Any] = {}
        self.trampolines: Dict[Tuple[str, str], Any] = {}
        for channel in CHANNELS.values():
            fields: List[Tuple[str, Any]] = []
            for c_field in channel.fields:
                if c_field.startswith("reserved"):
                    fields.append((c_field, c_void_p))
                    continue
                args = _signature(channel, c_field)
                prototype = ctypes.CFUNCTYPE(None, *[t for a in args for t in a[0]], c_void_p)
                fields.append((c_field, prototype))
                self.trampolines[(channel.name, c_field)] = prototype(
                    self._trampoline(method_name(c_field), args))
            fields.append(("user_data", c_void_p))
            layout = type(f"C{channel.base.__name__}", (ctypes.Structure,), {"_fields_": fields})
            self.layouts[channel.name] = layout
            handle = [c_void_p] if channel.family else []
            for symbol in (channel.add, channel.remove):
                function = getattr(lib, symbol)
                function.argtypes = handle + [ctypes.POINTER(layout)]
                function.restype = ctypes.c_int32

    @staticmethod
    def _trampoline(name: str, args: List[_Arg]) -> Callable[..., None]:
        widths = [len(a[0]) for a in args]
        converters = [a[1] for a in args]

        def trampoline(*c_args: Any) -> None:
            try:
                reg = _registered.get(c_args[-1] or 0)
                if reg is None:
                    return
                values: List[Any] = []
                at = 0
                for width, convert in zip(widths, converters):
                    values.append(convert(*c_args[at:at + width]))
                    at += width
                if threading.get_ident() == reg.thread:
                    _deliver(reg, name, tuple(values))
                else:
                    reg.loop.call_soon_threadsafe(_deliver, reg, name, tuple(values))
            except Exception:
                pass

        return trampoline

    def record(self, channel: Channel, listener: Any, user_data: int) -> Any:
        """The C record for `listener`: a function only for what it overrides."""
        record = self.layouts[channel.name]()
        everything = isinstance(listener, Stream)
        for c_field in channel.fields:
            if c_field.startswith("reserved"):
                continue
            name = method_name(c_field)
            mine = getattr(type(listener), name, None)
            if everything or (callable(mine) and mine is not getattr(channel.base, name, None)):
                setattr(record, c_field, self.trampolines[(channel.name, c_field)])
        record.user_data = user_data
        return record

    def add(self, channel: Channel, handle: Optional[int], listener: Any,
            loop: asyncio.AbstractEventLoop) -> int:
        """Registers `listener`; answers its id, or raises with the C code."""
        from .errors import Error
        user_data = next(_ids)
        reg = _Registration(listener, loop, threading.get_ident(), channel)
        reg.record = self.record(channel, listener, user_data)
        _registered[user_data] = reg
        args = ([handle] if channel.family else []) + [ctypes.byref(reg.record)]
        code = getattr(self.lib, channel.add)(*args)
        if code != 0:
            del _registered[user_data]
            raise Error(code, f"{channel.add} refused the listener")
        return user_data

    def remove(self, user_data: int, handle: Optional[int]) -> int:
        reg = _registered.pop(user_data, None)
        if reg is None:
            return 0
        reg.active = False
        channel = reg.channel
        args = ([handle] if channel.family else []) + [ctypes.byref(reg.record)]
        code: int = getattr(self.lib, channel.remove)(*args)
        return code


def find(channel: Channel, listener: Any) -> Optional[int]:
    """The id of the newest registration of `listener` on `channel`."""
    for user_data in sorted(_registered, reverse=True):
        reg = _registered[user_data]
        if reg.channel is channel and reg.listener is listener:
            return user_data
    return None


def registered_ids(loop: asyncio.AbstractEventLoop) -> List[int]:
    return [k for k, v in _registered.items() if v.loop is loop]
