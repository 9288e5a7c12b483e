"""The managers: one class per family, its methods made from the operation table.

``client.audio.mute_my_audio()`` is the row ``("Audio", "MuteMyAudio")``:
each method takes the row's arguments in C order, positionally or by
keyword, and awaits the outcome.
"""
from __future__ import annotations

import inspect
from typing import TYPE_CHECKING, Any, Awaitable, Callable, Dict, List, Tuple

from ._channels import CHANNELS, Channel
from ._convert import snake
from ._params import REQUIRED
from ._table import MANAGERS, OPERATIONS, Operation
from .errors import ArgumentError
from .events import EventStream

if TYPE_CHECKING:
    from ._client import Client

_MISSING: Any = object()


def _values(op: Operation, index: Dict[str, int], args: Tuple[Any, ...], kwargs: Dict[str, Any]) -> List[Any]:
    params = op.params
    if not kwargs and len(args) == len(params):
        return list(args)
    if len(args) > len(params):
        raise ArgumentError(f"{op.c_name} takes {len(params)} arguments, {len(args)} given")
    values = list(args) + [_MISSING] * (len(params) - len(args))
    for name, value in kwargs.items():
        at = index.get(name)
        if at is None:
            raise ArgumentError(f"{op.c_name} has no argument {name!r}")
        if values[at] is not _MISSING:
            raise ArgumentError(f"{op.c_name} got {name!r} twice")
        values[at] = value
    for at, value in enumerate(values):
        if value is _MISSING:
            if not params[at].optional:
                raise ArgumentError(f"{op.c_name} needs {params[at].name}")
            values[at] = None
    return values


def _method(op: Operation) -> Callable[..., Awaitable[Any]]:
    params = op.params
    index = {p.name: i for i, p in enumerate(params)}

    async def method(self: Manager, *args: Any, **kwargs: Any) -> Any:
        keep: List[Any] = []
        c_args: List[Any] = []
        for param, value in zip(params, _values(op, index, args, kwargs)):
            c_args.extend(param.convert(value, keep))
        return await self._client._run(op, c_args, keep)

    method.__name__ = method.__qualname__ = snake(op.name)
    method.__doc__ = f"Awaits {op.c_name}."
    method.__signature__ = inspect.Signature(  # type: ignore[attr-defined]
        [inspect.Parameter("self", inspect.Parameter.POSITIONAL_OR_KEYWORD)] +
        [inspect.Parameter(p.name, inspect.Parameter.POSITIONAL_OR_KEYWORD, annotation=p.annotation,
                           default=inspect.Parameter.empty if p.default is REQUIRED else None) for p in params])
    return method


class Manager:
    """A family of operations; reached as an attribute of a Client."""
    family = ""

    def __init__(self, client: "Client") -> None:
        self._client = client

    def _add(self, channel: Channel, listener: Any) -> None:
        self._client._add_listener(channel, listener)

    def _remove(self, channel: Channel, listener: Any) -> None:
        self._client._remove_listener(channel, listener)

    def _events(self, channel: Channel) -> EventStream:
        return self._client._event_stream(channel)


def _listener_methods(channel: Channel) -> Dict[str, Any]:
    """add_*/remove_* named after the C functions, and events() for the channel."""
    def add(self: Manager, listener: Any) -> None:
        self._add(channel, listener)

    def remove(self: Manager, listener: Any) -> None:
        self._remove(channel, listener)

    made: Dict[str, Any] = {}
    for function, symbol, verb in ((add, channel.add, "Adds"), (remove, channel.remove, "Removes")):
        name = snake(symbol[len(f"Morvanta_{channel.family}_"):])
        function.__name__ = function.__qualname__ = name
        function.__doc__ = f"{verb} a {channel.base.__name__} ({symbol})."
        made[name] = function
    return made


def _make_classes() -> Dict[str, type]:
    classes: Dict[str, type] = {}
    for family, attribute in MANAGERS.items():
        body: Dict[str, Any] = {"family": family, "__doc__": f"The {attribute} operations."}
        for op in OPERATIONS:
            if op.family == family:
                body[snake(op.name)] = _method(op)
        for channel in CHANNELS.values():
            if channel.family == family:
                body.update(_listener_methods(channel))
        classes[family] = type(f"{family}Manager", (Manager,), body)
    return classes


MANAGER_CLASSES = _make_classes()


def _events(self: Manager, channel: str = "") -> EventStream:
    """Every event of a channel of this manager as an asynchronous iterator
    (the meeting manager's channels: "meeting" (default), "rtc_stats",
    "message_channel")."""
    mine = [c for c in CHANNELS.values() if c.family == self.family]
    chosen = next((c for c in mine if c.name == channel), mine[0]) if channel else mine[0]
    if channel and chosen.name != channel:
        raise ArgumentError(f"no channel {channel!r} here; choose one of {[c.name for c in mine]}")
    return self._events(chosen)


for _family in ("Meeting", "WaitingRoom"):
    setattr(MANAGER_CLASSES[_family], "events", _events)

