"""Every operation of every family, through the sandbox service, in one
session; the session must reach every row of the operation table."""
from __future__ import annotations

import asyncio
from typing import Any, List, Set

import pytest
from conftest import ALICE

import morvanta as mv
from morvanta import _client, _table

OTHER = "sim-member-01"
SHARER = "sim-member-02"


@pytest.fixture
def called(monkeypatch: pytest.MonkeyPatch) -> Set[str]:
    names: Set[str] = set()
    run = _client.Client._run

    async def recording(self: Any, op: _table.Operation, c_args: List[Any], keep: List[Any]) -> Any:
        names.add(op.c_name)
        return await run(self, op, c_args, keep)

    monkeypatch.setattr(_client.Client, "_run", recording)
    return names


async def fails(code: int, awaitable: Any) -> mv.Error:
    with pytest.raises(mv.Error) as caught:
        await awaitable
    assert caught.value.code == code, caught.value
    return caught.value


async def account(c: mv.Client) -> None:
    info = await c.account.login_by_password(ALICE)
    assert (info.user_uuid, info.nickname, info.is_anonymous) == ("user-alice-0001", "Alice Archer", False)
    assert info.user_token.startswith("ut-") and info.email == "alice@sandbox.morvanta.test"
    by_sms = await c.account.login_by_sms_code(mv.LoginBySmsCodeOptions(phone_number="13800000001", sms_code="111111"))
    assert by_sms.user_uuid == "user-alice-0001"
    await fails(1012, c.account.login_by_sms_code({"phone_number": "13800000001", "sms_code": "000000"}))
    by_token = await c.account.login_by_token(mv.LoginByTokenOptions(account_id="carol", account_token="carol-token"))
    assert (by_token.user_uuid, by_token.is_initial_password) == ("user-carol-0003", True)
    await c.account.reset_password(options=mv.ResetPasswordOptions(old_password="carol-initial",
                                                                   new_password="carol-better-1"))
    assert (await c.account.get_account_info()).is_initial_password is False
    await c.account.login_by_password(ALICE)
    await c.account.update_nickname(nickname="  Alice A.  ")
    assert (await c.account.get_account_info()).nickname == "Alice A."


async def devices(c: mv.Client) -> None:
    speakers = await c.audio.get_speaker_device_list()
    assert [d.device_id for d in speakers] == ["spk-builtin", "spk-usb-headset", "spk-hdmi"]
    assert [d.device_id for d in await c.audio.get_microphone_device_list()] == ["mic-builtin", "mic-usb-headset"]
    assert [d.device_id for d in await c.video.get_camera_device_list()] == ["cam-integrated", "cam-usb-4k"]
    await c.audio.set_speaker_device("spk-hdmi")
    await c.audio.set_speaker_device_preview("spk-usb-headset")
    await c.audio.set_microphone_device("mic-usb-headset")
    await c.audio.set_microphone_device_preview("mic-builtin")
    await c.video.set_camera_device("cam-usb-4k")
    await c.video.set_camera_device_preview("cam-integrated")
    ids = await asyncio.gather(c.audio.get_speaker_device_id(), c.audio.get_microphone_device_id(),
                               c.video.get_camera_device_id())
    assert ids == ["spk-hdmi", "mic-usb-headset", "cam-usb-4k"]
    await fails(1000, c.audio.set_speaker_device("no-such-speaker"))
    await c.audio.set_speaker_volume(55)
    await c.audio.set_microphone_volume(42)
    assert await c.audio.get_speaker_volume() == 55
    assert await c.audio.get_microphone_volume() == 42
    assert await c.audio.get_microphone_volume_preview() == 0
    await c.audio.start_microphone_device_test()
    assert await c.audio.get_microphone_volume_preview() == 42
    await c.audio.stop_microphone_device_test()
    await c.audio.start_speaker_device_test("ring.wav")
    await c.audio.stop_speaker_device_test()
    await c.audio.enable_audio_effect()
    await c.audio.set_audio_effect(3, 7)
    await c.audio.enable_ai_denoise()
    await c.audio.disable_ai_denoise()
    await c.video.setup_local_video_canvas(0x1122334455667788)
    await c.video.setup_video_preview_canvas(view=None)
    await c.video.start_video_preview()
    await c.video.stop_video_preview()
    await c.video.set_video_profile(720, 30)
    await c.video.remove_local_video_canvas()


async def in_meeting(c: mv.Client) -> None:
    await c.meeting.create_meeting(mv.MeetingCreateOptions(subject="Python review", nickname="Alice"))
    info = await c.meeting.get_meeting_info()
    assert (info.subject, info.role, info.my_uuid, info.in_waiting_room) == (
        "Python review", "host", "user-alice-0001", False)
    members: List[mv.Member] = []

    async def roster() -> bool:
        members[:] = await c.member.get_member_list()
        return any(m.uuid == SHARER and m.is_sharing_screen for m in members)

    for _ in range(300):
        if await roster():
            break
        await asyncio.sleep(0.02)
    assert [m.uuid for m in members] == ["user-alice-0001", OTHER, SHARER]
    assert members[0].is_host and members[0].name == "Alice" and members[1].name == "Grace Hopper"

    await c.audio.unmute_my_audio()
    await c.audio.mute_my_audio()
    await c.video.unmute_my_video()
    await c.video.mute_my_video()
    for name in ("mute_member_audio", "unmute_member_audio", "mute_member_video", "unmute_member_video",
                 "mute_video_and_audio", "unmute_video_and_audio"):
        await getattr(c.member, name)(OTHER)
    await c.member.stop_member_screen_share(user_uuid=SHARER)
    await fails(1000, c.member.stop_member_screen_share(SHARER))
    await fails(1104, c.member.mute_member_audio("nobody"))
    for name in ("mute_all_audio", "unmute_all_audio", "mute_all_video", "unmute_all_video", "hands_up",
                 "hands_down_all"):
        await getattr(c.member, name)()
    await c.member.hands_up()
    await c.member.hands_down()
    assert not (await c.member.get_member_list())[0].is_hands_up

    await c.video.setup_remote_video_canvas(OTHER, 0xABC)
    await c.video.setup_remote_video_sub_stream_canvas(OTHER, None)
    await c.video.subscribe_remote_video_stream(OTHER, 1)
    await c.video.unsubscribe_remote_video_stream(OTHER, stream_type=1)
    await c.video.subscribe_remote_video_sub_stream(OTHER)
    await c.video.unsubscribe_remote_video_sub_stream(OTHER)

    sent = await c.chatroom.send_text_message(mv.ChatroomTextMessageOptions(text="héllo", id_client="c-1"))
    assert (sent.text, sent.message_type, sent.is_me, sent.from_user_uuid) == ("héllo", "text", True,
                                                                                "user-alice-0001")
    private = await c.chatroom.send_text_message({"text": "psst", "is_private": True, "to_user_uuid_list": [OTHER]})
    assert private.is_private and private.to_user_uuid_list == [OTHER]
    await c.chatroom.recall_message(sent)
    image = await c.chatroom.send_file_message(mv.ChatroomSendFileMessageOptions(
        type=1, url="https://files.test/a.png", size=2048, width=4, height=3))
    assert image.file is not None and image.file.size == 2048
    await c.chatroom.cancel_send_file_message(image)
    await c.chatroom.download_attachment(image, "/tmp/a.png")
    await c.chatroom.cancel_download_attachment(message=image)

    before = await c.security.get_chatroom_permission()
    await c.security.change_chatroom_permission("noChat", None)
    after = await c.security.get_chatroom_permission()
    assert after.cr_perm == "noChat" and after.wt_pr_chat == before.wt_pr_chat

    sources = await c.screen_share.get_screen_capture_source_list()
    assert sources and all(isinstance(s.thumbnail.data, bytes) for s in sources)
    await c.screen_share.start_screen_share(mv.ScreenShareConfig(source_id=str(sources[0].source_id)))
    assert isinstance(await c.screen_share.get_screen_share_message(), str)
    await c.screen_share.start_share_system_audio(True)
    await c.screen_share.install_audio_capture_driver()
    await c.screen_share.stop_screen_share()

    await c.waiting_room.put_in_waiting_room(OTHER)
    waiting = await c.waiting_room.get_member_list(0, 0, True)
    assert [w.uuid for w in waiting] == [OTHER] and waiting[0].status == 1
    room = await c.waiting_room.get_info()
    assert (room.member_count, room.is_enabled_on_entry) == (1, True)
    await c.waiting_room.admit_member(OTHER, False)
    await c.waiting_room.put_in_waiting_room(OTHER)
    await c.waiting_room.expel_member(OTHER, flag=False)
    await c.waiting_room.admit_all()
    await c.waiting_room.expel_all(False)
    refused = await fails(-1, c.waiting_room.put_in_waiting_room("user-alice-0001"))
    assert "cannot be moved to the waiting room (code 1108)" in refused.message
    await c.meeting.end_meeting()

    await c.meeting.join_meeting(mv.MeetingJoinOptions(meeting_num="8800000001"))
    await fails(1101, c.meeting.rejoin_after_admitted_to_room())
    await c.meeting.leave_meeting(False)
    await fails(-999, c.meeting.get_meeting_info())
    await c.meeting.release_meeting()


async def scheduling(c: mv.Client) -> None:
    made = await c.pre_meeting.schedule_meeting(mv.PreMeetingCreateOptions(
        subject="Plan", password="1234",
        scheduled_members=[mv.ScheduledMemberOption(user_uuid="user-bob-0002", role="evaluator")]))
    assert (made.meeting_id, made.meeting_num, made.subject) == (4300000001, "9100000001", "Plan")
    # The library does not send scheduled members: the owner alone is scheduled.
    assert [(m.user_uuid, m.role) for m in made.scheduled_members] == [("user-alice-0001", "host")]
    assert made.local_member is not None and made.local_member.role == "host"
    await c.pre_meeting.edit_meeting(made.meeting_id, mv.PreMeetingEditOptions(subject="Plan B"))
    assert (await c.pre_meeting.get_meeting_info_by_meeting_num("9100000001")).subject == "Plan B"
    listed = await c.pre_meeting.get_meeting_list_by_size()
    assert [m.meeting_num for m in listed] == ["9100000001"]
    assert await c.pre_meeting.get_meeting_list_by_size(mv.MeetingListParams(states=[3])) == []
    members = await c.pre_meeting.get_scheduled_members("9100000001")
    assert [m.user_uuid for m in members] == ["user-alice-0001"]
    await c.pre_meeting.cancel_meeting(made.meeting_id, None)
    await fails(1102, c.pre_meeting.get_meeting_info_by_meeting_num("9100000001"))

    found = await c.invite.get_account_info_list(["user-bob-0002", "nobody", "user-alice-0001"])
    assert [(a.user_uuid, a.nickname) for a in found] == [("user-bob-0002", "Bob Baker"),
                                                          ("user-alice-0001", "Alice A.")]
    carol = await c.invite.search_account_by_phone("13800000003")
    assert [a.user_uuid for a in carol] == ["user-carol-0003"]
    assert await c.invite.search_account_by_phone("000") == []
    await c.account.logout()
    await fails(1010, c.account.get_account_info())


async def test_every_operation_of_every_family(client: mv.Client, scenario: Any, called: Set[str]) -> None:
    scenario({"meeting": {"memberCount": 2, "joinStepMs": 5, "rtcStatsIntervalMs": 0,
                          "script": [{"atMs": 30, "member": 1, "action": "startShare"}]}})
    async with client as c:
        await account(c)
        await devices(c)
        await in_meeting(c)
        await scheduling(c)
    assert called == {op.c_name for op in _table.OPERATIONS}
