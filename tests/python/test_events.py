"""Events of every channel reach listener methods (plain and async) and the
event iterator, on the loop's thread, with their records converted."""
from __future__ import annotations

import asyncio
import threading
from typing import Any, List, Tuple

from conftest import ALICE, until

import morvanta as mv

GRACE, ALAN = "sim-member-01", "sim-member-02"


class Recorder:
    """Keeps (method, args) of every call and the thread it ran on."""

    def __init__(self) -> None:
        self.calls: List[Tuple[str, Tuple[Any, ...]]] = []
        self.threads: set[int] = set()

    def note(self, name: str, *args: Any) -> None:
        self.calls.append((name, args))
        self.threads.add(threading.get_ident())

    def named(self, name: str) -> List[Tuple[Any, ...]]:
        return [args for n, args in self.calls if n == name]


class Meeting(mv.MeetingListener, Recorder):
    def on_member_join_meeting(self, member: mv.Member) -> None:
        self.note("join", member)
        raise RuntimeError("a faulty listener must not stop later events")

    def on_member_leave_meeting(self, member: mv.Member) -> None:
        self.note("leave", member)

    def on_member_video_mute_changed(self, user_uuid: str, mute: bool) -> None:
        self.note("video", user_uuid, mute)

    async def on_receive_chatroom_messages(self, messages: List[mv.ChatMessage]) -> None:
        await asyncio.sleep(0)
        self.note("chat", messages)

    def on_member_screen_share_state_changed(self, member: mv.Member, is_sharing: bool,
                                             operate_by: Any) -> None:
        self.note("share", member.uuid, is_sharing, operate_by)

    def on_member_chat_ban_state_changed(self, member: mv.Member, banned: bool, duration: int, notify_ext: str,
                                         operate_by: Any) -> None:
        self.note("ban", member.uuid, banned, duration)

    def on_room_ended(self, reason: str, extra: str) -> None:
        self.note("ended", reason)


class Stats(mv.RtcStatsListener, Recorder):
    def on_rtc_stats(self, stats: mv.RtcStats) -> None:
        self.note("rtc", stats)

    def on_remote_audio_stats(self, stats: List[mv.RemoteAudioStats]) -> None:
        self.note("remote_audio", stats)

    def on_network_quality(self, infos: List[mv.NetworkQualityInfo]) -> None:
        self.note("quality", infos)


class Messages(mv.MessageChannelListener, Recorder):
    def on_custom_message_received(self, message: mv.CustomMessage) -> None:
        self.note("custom", message)

    async def on_session_message_received(self, message: mv.SessionMessage) -> None:
        self.note("session", message)

    def on_session_message_recent_changed(self, sessions: List[mv.SessionRecentInfo]) -> None:
        self.note("recent", sessions)


class Waiting(mv.WaitingRoomListener, Recorder):
    def on_member_join(self, member: mv.WaitingRoomMember, reason: int) -> None:
        self.note("join", member, reason)

    def on_member_admitted(self, user_uuid: str) -> None:
        self.note("admitted", user_uuid)

    def on_member_leave(self, user_uuid: str, reason: int) -> None:
        self.note("leave", user_uuid, reason)

    def on_info_updated(self, info: mv.WaitingRoomInfo) -> None:
        self.note("info", info)


class Engine(mv.GlobalListener, Recorder):
    def on_before_rtc_engine_initialize(self, room_uuid: str) -> None:
        self.note("before_init", room_uuid)

    def on_after_rtc_engine_initialize(self, room_uuid: str) -> None:
        self.note("after_init", room_uuid)

    def on_before_rtc_engine_release(self, room_uuid: str) -> None:
        self.note("release", room_uuid)


SCRIPT = [
    {"atMs": 100, "member": 0, "action": "chat", "text": "hello bot"},
    {"atMs": 120, "member": 1, "action": "unmuteVideo"},
    {"atMs": 140, "member": 0, "action": "customMessage", "data": "ping"},
    {"atMs": 160, "action": "sessionMessage", "sessionId": "s-1", "sessionType": 0, "data": "note"},
    {"atMs": 180, "member": 1, "action": "banChat", "duration": 60},
    {"atMs": 200, "member": 1, "action": "startShare"},
    {"atMs": 260, "member": 1, "action": "leave"},
]


async def test_events_of_every_channel(client: mv.Client, scenario: Any) -> None:
    scenario({"meeting": {"memberCount": 2, "joinStepMs": 20, "rtcStatsIntervalMs": 50, "script": SCRIPT}})
    meeting, stats, messages, waiting, engine = Meeting(), Stats(), Messages(), Waiting(), Engine()
    async with client as c:
        await c.account.login_by_password(ALICE)
        c.add_global_event_listener(engine)
        c.meeting.add_meeting_listener(meeting)
        c.meeting.add_rtc_stats_listener(stats)
        c.meeting.add_message_channel_listener(messages)
        c.waiting_room.add_listener(waiting)
        async with c.meeting.events() as stream:
            await c.meeting.create_meeting(mv.MeetingCreateOptions(subject="Events"))
            await until(lambda: meeting.named("leave") and messages.named("recent") and meeting.named("share"))
            seen = []
            async for event in stream:
                seen.append(event.name)
                if event.name == "on_member_leave_meeting":
                    break
        assert seen.count("on_member_join_meeting") == 2 and "on_receive_chatroom_messages" in seen

        # Meeting channel: the faulty join handler did not stop the rest.
        assert [m.uuid for (m,) in meeting.named("join")] == [GRACE, ALAN]
        (chat,), = meeting.named("chat")
        assert [(m.text, m.from_user_uuid, m.is_me) for m in chat] == [("hello bot", GRACE, False)]
        assert meeting.named("video") == [(ALAN, False)]
        assert meeting.named("ban")[0] == (ALAN, True, 60)
        assert meeting.named("share")[0][:2] == (ALAN, True)
        assert [m.uuid for (m,) in meeting.named("leave")] == [ALAN]

        # RTC statistics and the message channel.
        await until(lambda: len(stats.named("rtc")) >= 2)
        (first,) = stats.named("rtc")[0]
        assert isinstance(first, mv.RtcStats) and first.duration >= 0
        assert all(isinstance(s, mv.RemoteAudioStats) for (group,) in stats.named("remote_audio") for s in group)
        assert all(isinstance(q, mv.NetworkQualityInfo) for (group,) in stats.named("quality") for q in group)
        (custom,), = messages.named("custom")
        assert (custom.sender_uuid, custom.data) == (GRACE, "ping") and custom.room_uuid
        (session,), = messages.named("session")
        assert (session.session_id, session.session_type, session.data) == ("s-1", 0, "note")
        assert any(r.session_id == "s-1" for (group,) in messages.named("recent") for r in group)

        # A removed listener hears nothing more.
        c.meeting.remove_rtc_stats_listener(stats)
        heard = len(stats.calls)
        await asyncio.sleep(0.2)
        assert len(stats.calls) == heard

        # Waiting room: a member put back, admitted.
        await c.waiting_room.put_in_waiting_room(GRACE)
        await until(lambda: waiting.named("join"))
        member, reason = waiting.named("join")[0]
        assert (member.uuid, member.name, reason) == (GRACE, "Grace Hopper", 1)
        await c.waiting_room.admit_member(GRACE, False)
        await until(lambda: waiting.named("admitted"))
        assert waiting.named("admitted") == [(GRACE,)]
        await until(lambda: any(i.member_count == 0 for (i,) in waiting.named("info")))
        assert any(i.member_count == 1 and i.is_enabled_on_entry for (i,) in waiting.named("info"))

        await c.meeting.end_meeting()
        await until(lambda: meeting.named("ended") and engine.named("release"))
        room = engine.named("after_init")[0][0]
        assert room.startswith("room-")
        assert engine.calls[:2] == [("before_init", (room,)), ("after_init", (room,))]
        assert engine.named("release") == [(room,)]
        c.meeting.remove_meeting_listener(meeting)
        c.remove_global_event_listener(engine)
        try:
            c.remove_global_event_listener(engine)
            raise AssertionError("a second removal must fail")
        except mv.Error as e:
            assert e.code == -1
    loop_thread = {threading.get_ident()}
    for recorder in (meeting, stats, messages, waiting, engine):
        assert recorder.threads == loop_thread
