"""Records through their C layouts and back, and the argument kinds: the
conversions every operation and event depends on."""
from __future__ import annotations

import ctypes
import dataclasses
from typing import Any, List

import pytest

import morvanta as mv
from morvanta import _convert, _cstructs, _params
from morvanta.errors import ArgumentError

ATTACH = mv.ChatMessageAttach(from_="u1", from_nick="Ünï", type="notify", to=["a", "b"], to_nick=[], url=None,
                              name="n", msg_id="m", msg_time=-(2 ** 62), id=-7, operator="op")
FILE = mv.ChatMessageFile(name="f.png", ext="png", size=2 ** 40, url="https://x", file_path=None, width=3, height=4)
MESSAGE = mv.ChatMessage(
    message_uuid="mu", from_client_type=None, message_type="file", from_user_uuid="u1", from_nick="N",
    to_user_uuid_list=["x", "y", "z"], time=1_700_000_000_000, type=None, text="😀 ok", status="s", attach=ATTACH,
    from_="u1", is_me=True, resend=False, id_client="c", file=FILE, custom=None, chatroom_type=2,
    has_temp_file=True, temp_file="", is_private=False, to_nickname=None, from_avatar=None, percentage=0.5,
    percentage_text="50%", total="10", loaded="5")

ROUND_TRIPS: List[Any] = [
    MESSAGE,
    dataclasses.replace(MESSAGE, attach=None, file=None, to_user_uuid_list=[]),
    mv.AccountInfo("u", "t", "n", "p", None, "acc", None, None, None, None, None, True),
    mv.AccountInfo("u", "t", "", "p", "c", None, "a", "ph", "e", "s", False, None),
    mv.MeetingInfo(local_member=mv.LocalMember("u", "n", "host"), meeting_id=4300000001, meeting_num="9",
                   room_uuid="r", state=2, start_time=1, end_time=2, subject="s", owner_user_uuid="o",
                   owner_nickname="on", scheduled_members=[mv.ScheduledMember("a", "host"),
                                                           mv.ScheduledMember("b", "bidder")],
                   no_cloud_record=None, no_chat=True, enable_waiting_room=False),
    mv.ScreenCaptureSource(source_id=-1, source_name="screen", is_window=True, app_name=None, app_path="/bin/x",
                           is_primary_monitor=False, icon=mv.ScreenCaptureImage(1, 1, b"\x00\xff\x10"),
                           thumbnail=mv.ScreenCaptureImage(0, 0, b"")),
    mv.WaitingRoomMember("u", "n", None, 2 ** 40, 3),
]


@pytest.mark.parametrize("record", ROUND_TRIPS, ids=lambda r: type(r).__name__)
def test_records_survive_their_c_layout(record: Any) -> None:
    keep: List[Any] = []
    c = _convert.to_c(record, keep)
    assert _convert.from_c(type(record), c) == record
    assert _convert.one_from_c(type(record), ctypes.addressof(c)) == record


def test_strings_and_tri_states_at_the_c_level() -> None:
    keep: List[Any] = []
    c = _convert.to_c(mv.LoginByTokenOptions(account_id="é", account_token=None, is_temporary=False), keep)
    assert (c.account_id, c.account_token, c.auth_type, c.is_temporary) == ("é".encode(), None, -1, 0)
    create = _convert.to_c(mv.MeetingCreateOptions(subject="s", meeting_num="1", no_chat=True,
                                                   video_profile=mv.VideoProfile(resolution=720, frame_rate=30)), keep)
    assert (create.meetingNum, create.noChat, create.noWhiteboard, create.joinTimeout, create.startTime) == (
        b"1", 1, -1, -1, -1)
    assert (create.videoProfile.contents.resolution, create.videoProfile.contents.frameRate) == (720, 30)
    assert not create.cloudRecordConfig
    params = _convert.to_c(mv.MeetingListParams(states=[1, 3]), keep)
    assert (params.state_count, params.states[0], params.states[1], params.offset) == (2, 1, 3, -1)
    empty = _convert.to_c(mv.ChatroomTextMessageOptions(text="t"), keep)
    assert (empty.to_user_uuid_count, bool(empty.to_user_uuid_list), empty.is_private) == (0, False, -1)


def test_a_string_the_library_left_unset() -> None:
    c = _cstructs.CAccountInfo(user_uuid=None, nickname="Zoë".encode(), is_initial_password=-1, is_anonymous=5)
    info = _convert.from_c(mv.AccountInfo, c)
    assert (info.user_uuid, info.nickname, info.corp_name, info.is_initial_password, info.is_anonymous) == (
        "", "Zoë", None, None, True)
    assert _convert.list_from_c(mv.Member, None, 3) == [] and _convert.one_from_c(mv.Member, None) is None


@pytest.mark.parametrize("param, value, c_values", [
    (_params.u32("v"), 0, (0,)), (_params.u32("v"), 2 ** 32 - 1, (2 ** 32 - 1,)),
    (_params.i32("v"), -2 ** 31, (-2 ** 31,)), (_params.i64("v"), 2 ** 53 + 1, (2 ** 53 + 1,)),
    (_params.flag("f"), True, (1,)), (_params.flag("f"), 0, (0,)), (_params.tri("t"), None, (-1,)),
    (_params.tri("t"), False, (0,)), (_params.text("s", optional=True), None, (None,)),
    (_params.text("s"), "ñ", ("ñ".encode(),)), (_params.view("v"), None, (None,)), (_params.view("v"), 5, (5,)),
])
def test_argument_kinds(param: _params.Param, value: Any, c_values: Any) -> None:
    assert param.convert(value, []) == c_values


@pytest.mark.parametrize("param, value", [
    (_params.u32("v"), -1), (_params.u32("v"), 2 ** 32), (_params.i32("v"), 2 ** 31), (_params.i32("v"), 1.5),
    (_params.i32("v"), True), (_params.i64("v"), "1"), (_params.text("s"), None), (_params.text("s"), b"x"),
    (_params.flag("f"), "yes"), (_params.strings("l"), "abc"), (_params.strings("l"), ["a", 1]),
    (_params.view("v"), -1), (_params.record("o", mv.MeetingJoinOptions), {"meeting": "1"}),
    (_params.record("o", mv.MeetingJoinOptions), mv.LoginByPasswordOptions()),
])
def test_refused_arguments(param: _params.Param, value: Any) -> None:
    with pytest.raises(ArgumentError) as refused:
        param.convert(value, [])
    assert refused.value.code == -1 and param.name in refused.value.message


def test_string_lists_are_kept_alive_for_the_call() -> None:
    keep: List[Any] = []
    array, count = _params.strings("l").convert(["a", "bé"], keep)
    assert count == 2 and [array[0], array[1]] == [b"a", "bé".encode()] and keep
