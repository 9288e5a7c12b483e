"""Events as an asynchronous iterator, a second way to listen.

    async with client.meeting.events() as events:
        async for event in events:
            if event.name == "on_member_join_meeting": ...

Leaving the ``async with`` (or ``close()``) removes the listener; a stream
that is never closed is removed when the client leaves, and its iteration
then ends.
"""
from __future__ import annotations

from dataclasses import dataclass
from typing import Any, AsyncIterator, Callable, Optional, Tuple

from ._channels import Stream


@dataclass(frozen=True)
class Event:
    channel: str             # "meeting", "rtc_stats", "message_channel", "waiting_room" or "global"
    name: str                # the listener method's name, such as "on_member_join_meeting"
    args: Tuple[Any, ...]    # what the method would receive


_END: Any = object()


class EventStream:
    def __init__(self, stream: Stream, close: Callable[[], None]) -> None:
        self._stream = stream
        self._close: Optional[Callable[[], None]] = close

    def close(self) -> None:
        """Removes the listener; iteration ends after the events already queued."""
        if self._close is not None:
            close, self._close = self._close, None
            close()
            self._stream.queue.put_nowait(_END)

    def __aiter__(self) -> AsyncIterator[Event]:
        return self

    async def __anext__(self) -> Event:
        item = await self._stream.queue.get()
        if item is _END:
            self._stream.queue.put_nowait(_END)
            raise StopAsyncIteration
        event: Event = item
        return event

    async def __aenter__(self) -> "EventStream":
        return self

    async def __aexit__(self, *exc: object) -> None:
        self.close()
