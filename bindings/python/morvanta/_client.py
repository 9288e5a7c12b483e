"""The Client: one session of the library, owned by an ``async with``."""
from __future__ import annotations

import asyncio
import atexit
import concurrent.futures
import weakref
from ctypes import byref, c_uint32, c_void_p
from typing import Any, Dict, List, Optional

from . import _api, _calls, _channels, _log
from ._binding import Library, library
from ._channels import CHANNELS, Channel, Stream
from ._convert import from_c, list_from_c, one_from_c
from ._cstructs import CInitConfig, CWaitingRoomInfo
from ._managers import MANAGER_CLASSES
from ._table import MANAGERS, QUERY, SENT, Operation
from .errors import ArgumentError, Error
from .events import EventStream
from .records import Member, MeetingSDKInfo, WaitingRoomInfo

BRIDGE_MODES = {None: 0, "compatible": 1, "concurrent": 2}
_REFUSALS = {-1: "refused argument", -2: "not initialized", -3: "already initialized or invalid configuration",
             -999: "internal fault"}

# Every lifecycle call (choosing the modes, Initialize, Uninitialize) runs on
# this one thread, in order, so that none overlaps another: a session left
# without `async with` ending it, or a start whose task was cancelled, is
# ended there, and the next Client's start queues behind it. Never waited for
# from a callback.
_lifecycle = concurrent.futures.ThreadPoolExecutor(max_workers=1, thread_name_prefix="morvanta-lifecycle")
# The entered session, for the interpreter's exit.
_active: List["_Session"] = []


def _tri(value: Optional[bool]) -> int:
    return -1 if value is None else int(bool(value))


def _text(value: Optional[str]) -> Optional[bytes]:
    return None if value is None else value.encode("utf-8")


class _Session:
    """What a finalizer needs to end a session without its Client."""

    def __init__(self, lib: Library, loop: asyncio.AbstractEventLoop) -> None:
        self.lib = lib
        self.loop = loop
        self.sdk = 0
        self.handles: Dict[str, int] = {}
        self.fd = -1
        self.listeners: List[int] = []
        self.streams: List[EventStream] = []
        self.host = False

    def remove_listeners(self) -> None:
        for user_data in self.listeners:
            reg = _channels._registered.get(user_data)
            family = reg.channel.family if reg else None
            self.lib.channels.remove(user_data, self.handles.get(family) if family else None)
        self.listeners.clear()

    def destroy_handles(self) -> None:
        for family, handle in self.handles.items():
            getattr(self.lib.lib, f"Morvanta_Destroy{family}ManagerHandle")(handle)
        self.handles.clear()

    def stop_watching(self) -> None:
        if self.fd >= 0:
            self.loop.remove_reader(self.fd)
            self.fd = -1


def _abandoned(session: _Session) -> None:
    """A Client was collected while entered: end its session where nothing can
    wait for the thread that collected it (a callback, the loop itself)."""
    def stop() -> None:
        try:
            session.remove_listeners()
        except Exception:
            pass
        session.destroy_handles()
        session.lib.lib.Morvanta_Uninitialize()

    try:
        if session.fd >= 0 and not session.loop.is_closed():
            session.loop.call_soon_threadsafe(session.stop_watching)
    except RuntimeError:
        pass
    if session in _active:
        _active.remove(session)
    try:
        _lifecycle.submit(stop)
    except RuntimeError:  # the interpreter is ending: the library's exit handling ends the session
        pass


@atexit.register
def _at_exit() -> None:
    """The interpreter ends while a session is entered. With host dispatch
    nothing of Python runs unless the loop dispatches, so the library's own
    exit handling suffices; with worker dispatch the session is ended now,
    while Python can still take the callbacks that ending it may bring."""
    for session in list(_active):
        _active.remove(session)
        try:
            session.remove_listeners()
            if not session.host:
                session.destroy_handles()
                session.lib.lib.Morvanta_Uninitialize()
        except Exception:
            pass


def _start(lib: Library, bridge_mode: int, host: bool, config: Any, handle: c_void_p) -> int:
    c = lib.lib
    if c.Morvanta_SetBridgeMode(bridge_mode) != 0:
        return -3
    if lib.has_dispatch and c.Morvanta_SetDispatchMode(1 if host else 0) != 0:
        return -3
    code: int = c.Morvanta_Initialize(byref(config), byref(handle))
    return code


def _undo_start(lib: Library, starting: "concurrent.futures.Future[int]") -> None:
    """Queued behind a start whose task was cancelled: ends the session it made."""
    if not starting.cancelled() and starting.exception() is None and starting.result() == 0:
        lib.lib.Morvanta_Uninitialize()


class Client:
    """A session of the library: ``async with morvanta.Client(app_key, log_path) as client``.

    ``bridge_mode`` ("compatible", "concurrent", or None to let the
    environment variable MORVANTA_BRIDGE_MODE decide) and ``host_dispatch``
    (callbacks on the loop's thread; True when the library offers it) may be
    changed before entering.
    """

    account: _api.AccountManager
    audio: _api.AudioManager
    chatroom: _api.ChatroomManager
    invite: _api.InviteManager
    meeting: _api.MeetingManager
    member: _api.MemberManager
    pre_meeting: _api.PreMeetingManager
    screen_share: _api.ScreenShareManager
    security: _api.SecurityManager
    video: _api.VideoManager
    waiting_room: _api.WaitingRoomManager

    def __init__(self, app_key: str, log_path: str, *, server_url: Optional[str] = None,
                 locale: Optional[str] = None, use_asset_server_config: Optional[bool] = None,
                 debug: Optional[bool] = None) -> None:
        self.app_key = app_key
        self.log_path = log_path
        self.server_url = server_url
        self.locale = locale
        self.use_asset_server_config = use_asset_server_config
        self.debug = debug
        self.bridge_mode: Optional[str] = None
        self.host_dispatch: Optional[bool] = None
        self._session: Optional[_Session] = None
        self._finalizer: Optional[weakref.finalize] = None
        for family, attribute in MANAGERS.items():
            setattr(self, attribute, MANAGER_CLASSES[family](self))

    # ---- the session ----

    async def __aenter__(self) -> "Client":
        if self._session is not None:
            raise Error(-3, "this client is already entered")
        if self.bridge_mode not in BRIDGE_MODES:
            raise ArgumentError(f"bridge_mode must be one of {sorted(m for m in BRIDGE_MODES if m)} or None")
        loop = asyncio.get_running_loop()
        lib = library()
        c = lib.lib
        _log.install(c)
        host = lib.has_dispatch if self.host_dispatch is None else self.host_dispatch
        if host and not lib.has_dispatch:
            raise Error(-1, "this libmorvanta has no host dispatch")
        config = CInitConfig(_text(self.app_key), _text(self.log_path), _text(self.server_url),
                             _text(self.locale), _tri(self.use_asset_server_config), _tri(self.debug))
        handle = c_void_p()
        starting = _lifecycle.submit(_start, lib, BRIDGE_MODES[self.bridge_mode], host, config, handle)
        try:
            code = await asyncio.shield(asyncio.wrap_future(starting))
        except asyncio.CancelledError:
            _lifecycle.submit(_undo_start, lib, starting)  # the start goes on; its session is ended
            raise
        if code != 0:
            raise Error(code, f"Morvanta_Initialize failed with code {code} (the logger 'morvanta' says why)")
        session = _Session(lib, loop)
        session.sdk = handle.value or 0
        if host:
            session.fd = c.Morvanta_GetDispatchFd()
            loop.add_reader(session.fd, c.Morvanta_Dispatch, 0)  # holds nothing of the Client
        self.host_dispatch = session.host = host
        self._session = session
        _active.append(session)
        self._finalizer = weakref.finalize(self, _abandoned, session)
        self._finalizer.atexit = False
        return self

    async def __aexit__(self, *exc: object) -> None:
        await self.close()

    async def close(self) -> None:
        """Leaves the session (what leaving ``async with`` does)."""
        session = self._session
        if session is None:
            return
        if self._finalizer is not None:
            self._finalizer.detach()
        self._session = None
        if session in _active:
            _active.remove(session)
        lib, loop = session.lib, session.loop
        for stream in list(session.streams):
            stream.close()
        session.remove_listeners()
        session.destroy_handles()
        await asyncio.wrap_future(_lifecycle.submit(lib.lib.Morvanta_Uninitialize))
        if session.fd >= 0:
            # Answers queued at the end (calls pending at Uninitialize) run now.
            while lib.lib.Morvanta_Dispatch(0) > 0:
                pass
            session.stop_watching()
        _calls.abandon(loop, -2, "Bridge not initialized")

    @property
    def initialized(self) -> bool:
        return self._session is not None

    # ---- operations ----

    def _live(self) -> _Session:
        if self._session is None:
            raise Error(-2, "the client is not entered")
        return self._session

    def _handle(self, session: _Session, family: str) -> int:
        handle = session.handles.get(family)
        if handle is None:
            function = getattr(session.lib.lib, f"Morvanta_Get{family}Manager")
            handle = function(session.sdk) or 0
            if not handle:
                raise Error(-2, f"no {family} manager (not initialized)")
            session.handles[family] = handle
        return handle

    async def _run(self, op: Operation, c_args: List[Any], keep: List[Any]) -> Any:
        session = self._live()
        handle = self._handle(session, op.family)
        function = session.lib.functions[op.c_name]
        if op.outcome == SENT:
            code = function(handle, *c_args)
            if code != 0:
                raise Error(code, f"{op.c_name}: {_REFUSALS.get(code, 'failed')}")
            return None
        if op.outcome == QUERY:
            return await session.loop.run_in_executor(None, _QUERIES[op.c_name], session.lib, function, handle)
        user_data, future = _calls.start(session.loop)
        code = function(handle, *c_args, session.lib.calls.by_family[op.outcome], user_data)
        del keep  # strings and records were copied by the call
        if code != 0:
            _calls.forget(user_data)
            if code == -1:
                raise ArgumentError(f"{op.c_name} refused its arguments")
            raise Error(code, f"{op.c_name}: {_REFUSALS.get(code, 'failed')}")
        return await future

    # ---- listeners ----

    def _add_listener(self, channel: Channel, listener: Any) -> None:
        session = self._live()
        if not isinstance(listener, (channel.base, Stream)):
            raise ArgumentError(f"expected a {channel.base.__name__}")
        handle = self._handle(session, channel.family) if channel.family else None
        session.listeners.append(session.lib.channels.add(channel, handle, listener, session.loop))

    def _remove_listener(self, channel: Channel, listener: Any) -> None:
        session = self._live()
        user_data = _channels.find(channel, listener)
        if user_data is None:
            raise Error(-1, f"this {channel.base.__name__} was not added")
        session.listeners.remove(user_data)
        code = session.lib.channels.remove(user_data, self._channel_handle_of(session, channel))
        if code != 0:
            raise Error(code, f"{channel.remove} failed")

    def _channel_handle_of(self, session: _Session, channel: Channel) -> Optional[int]:
        return self._handle(session, channel.family) if channel.family else None

    def _event_stream(self, channel: Channel) -> EventStream:
        session = self._live()
        stream = Stream(channel.name)
        self._add_listener(channel, stream)

        def close() -> None:
            if stream_handle in session.streams:
                session.streams.remove(stream_handle)
            if self._session is session:
                self._remove_listener(channel, stream)

        stream_handle = EventStream(stream, close)
        session.streams.append(stream_handle)
        return stream_handle

    def add_global_event_listener(self, listener: Any) -> None:
        """Adds a GlobalListener (Morvanta_AddGlobalEventListener)."""
        self._add_listener(CHANNELS["global"], listener)

    def remove_global_event_listener(self, listener: Any) -> None:
        """Removes a GlobalListener (Morvanta_RemoveGlobalEventListener)."""
        self._remove_listener(CHANNELS["global"], listener)

    def global_events(self) -> EventStream:
        """The global events as an asynchronous iterator."""
        return self._event_stream(CHANNELS["global"])


# ---- the synchronous queries, run on an executor thread ----

def _member_list(lib: Library, function: Any, handle: int) -> List[Member]:
    members, count = c_void_p(), c_uint32()
    code = function(handle, byref(members), byref(count))
    if code != 0:
        raise Error(code, "Morvanta_Member_GetMemberList refused")
    try:
        return list_from_c(Member, members.value, count.value)
    finally:
        lib.lib.Morvanta_FreeMemberList(members, count)


def _meeting_info(lib: Library, function: Any, handle: int) -> MeetingSDKInfo:
    info = c_void_p()
    code = function(handle, byref(info))
    try:
        record = one_from_c(MeetingSDKInfo, info.value) if code == 0 else None
    finally:
        lib.lib.Morvanta_FreeMeetingInfo(info)
    if record is None:
        raise Error(code if code != 0 else -1, "no meeting information (not in a meeting, or no answer in time)")
    return record


def _waiting_room_info(lib: Library, function: Any, handle: int) -> WaitingRoomInfo:
    info = CWaitingRoomInfo()
    code = function(handle, byref(info))
    if code != 0:
        raise Error(code, "Morvanta_WaitingRoom_GetInfo refused")
    return from_c(WaitingRoomInfo, info)


_QUERIES = {"Morvanta_Member_GetMemberList": _member_list, "Morvanta_Meeting_GetMeetingInfo": _meeting_info,
            "Morvanta_WaitingRoom_GetInfo": _waiting_room_info}


def library_version() -> str:
    """The C library's version."""
    version: bytes = library().lib.Morvanta_GetVersion()
    return version.decode()

