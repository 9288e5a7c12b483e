"""The operation table: one row per operation of the C interface.

A row names the family (``Audio`` in ``Morvanta_Audio_MuteMyAudio``), the
operation, its arguments in C order (without handle, callback and user_data)
and how its outcome comes back:

- a payload family of ``_calls.FAMILIES``: asynchronous, through a callback;
- ``QUERY``: a synchronous query, run off the loop's thread;
- ``SENT``: sent and forgotten, only the return code.

The managers' methods are made from these rows (``_managers``).
"""
from __future__ import annotations

from dataclasses import dataclass
from typing import Dict, List, Tuple

from . import records as r
from ._params import Param, flag, i32, i64, message, record, strings, text, tri, u32, view

QUERY, SENT = "query", "sent"


@dataclass(frozen=True)
class Operation:
    family: str
    name: str
    params: Tuple[Param, ...]
    outcome: str                    # a payload family, QUERY or SENT
    symbol: str = ""                # the exported symbol, when it is not Morvanta_<family>_<name>

    @property
    def c_name(self) -> str:
        return f"Morvanta_{self.family}_{self.name}"

    @property
    def export(self) -> str:
        return self.symbol or self.c_name


def _rows(family: str, *rows: Tuple[object, ...]) -> List[Operation]:
    made = []
    for row in rows:
        name, params, outcome = row[0], row[1], row[2]
        symbol = row[3] if len(row) > 3 else ""
        made.append(Operation(family, str(name), tuple(params), str(outcome), str(symbol)))  # type: ignore[arg-type]
    return made


_uuid = text("user_uuid")
_device = text("device_id")

OPERATIONS: List[Operation] = [
    *_rows("Account",
           ("LoginByPassword", [record("options", r.LoginByPasswordOptions)], "account_info"),
           ("LoginBySmsCode", [record("options", r.LoginBySmsCodeOptions)], "account_info",
            "_Z31Morvanta_Account_LoginBySmsCodeP24MorvantaAccountManager_TPK29MorvantaLoginBySmsCodeOptions"
            "PFviPKcP19MorvantaAccountInfoPvES8_"),
           ("LoginByToken", [record("options", r.LoginByTokenOptions)], "account_info"),
           ("GetAccountInfo", [], "account_info"),
           ("Logout", [], "plain"),
           ("ResetPassword", [record("options", r.ResetPasswordOptions)], "plain"),
           ("UpdateNickname", [text("nickname")], "plain")),
    *_rows("Member",
           ("GetMemberList", [], QUERY),
           *((name, [_uuid], "plain") for name in (
               "MuteMemberAudio", "UnmuteMemberAudio", "MuteMemberVideo", "UnmuteMemberVideo", "MuteVideoAndAudio",
               "UnmuteVideoAndAudio", "StopMemberScreenShare")),
           *((name, [], "plain") for name in (
               "MuteAllAudio", "UnmuteAllAudio", "MuteAllVideo", "UnmuteAllVideo", "HandsUp", "HandsDownAll")),
           ("HandsDown", [text("user_uuid", optional=True)], "plain")),
    *_rows("Audio",
           ("GetSpeakerDeviceList", [], "device_list"),
           ("GetSpeakerDeviceId", [], "string"),
           ("SetSpeakerDevice", [_device], "plain"),
           ("SetSpeakerDevicePreview", [_device], "plain"),
           ("GetSpeakerVolume", [], "integer"),
           ("SetSpeakerVolume", [u32("volume")], "plain"),
           ("GetMicrophoneDeviceList", [], "device_list"),
           ("GetMicrophoneDeviceId", [], "string"),
           ("SetMicrophoneDevice", [_device], "plain"),
           ("SetMicrophoneDevicePreview", [_device], "plain"),
           ("GetMicrophoneVolume", [], "integer"),
           ("GetMicrophoneVolumePreview", [], "integer"),
           ("SetMicrophoneVolume", [u32("volume")], "plain"),
           ("StartSpeakerDeviceTest", [text("audio_resource")], "plain"),
           ("SetAudioEffect", [i32("type"), i32("value")], "plain"),
           *((name, [], "plain") for name in (
               "MuteMyAudio", "UnmuteMyAudio", "StartMicrophoneDeviceTest", "StopMicrophoneDeviceTest",
               "StopSpeakerDeviceTest", "EnableAudioEffect", "EnableAIDenoise", "DisableAIDenoise"))),
    *_rows("Video",
           ("GetCameraDeviceList", [], "device_list"),
           ("GetCameraDeviceId", [], "string"),
           ("SetCameraDevice", [_device], "plain"),
           ("SetCameraDevicePreview", [_device], "plain"),
           ("SetupLocalVideoCanvas", [view("view")], "plain"),
           ("SetupVideoPreviewCanvas", [view("view")], "plain"),
           ("SetupRemoteVideoCanvas", [_uuid, view("view")], "plain"),
           ("SetupRemoteVideoSubStreamCanvas", [_uuid, view("view")], "plain"),
           ("SetVideoProfile", [i32("resolution"), i32("frame_rate")], SENT),
           ("SubscribeRemoteVideoStream", [_uuid, i32("stream_type")], "plain"),
           ("UnsubscribeRemoteVideoStream", [_uuid, i32("stream_type")], "plain"),
           ("SubscribeRemoteVideoSubStream", [_uuid], "plain"),
           ("UnsubscribeRemoteVideoSubStream", [_uuid], "plain"),
           ("RemoveLocalVideoCanvas", [], "plain",
            "_Z37Morvanta_Video_RemoveLocalVideoCanvasP22MorvantaVideoManager_TPFviPKcPvES3_"),
           *((name, [], "plain") for name in (
               "StartVideoPreview", "StopVideoPreview", "MuteMyVideo", "UnmuteMyVideo"))),
    *_rows("Chatroom",
           ("SendTextMessage", [record("options", r.ChatroomTextMessageOptions)], "chat_message"),
           ("SendFileMessage", [record("options", r.ChatroomSendFileMessageOptions)], "chat_message"),
           ("RecallMessage", [message()], "plain"),
           ("CancelSendFileMessage", [message()], "plain"),
           ("DownloadAttachment", [message(), text("save_path")], "plain"),
           ("CancelDownloadAttachment", [message()], "plain")),
    *_rows("Security",
           ("ChangeChatroomPermission", [text("cr_perm", optional=True), text("wt_pr_chat", optional=True)], "plain"),
           ("GetChatroomPermission", [], "chatroom_permission")),
    *_rows("ScreenShare",
           ("GetScreenCaptureSourceList", [], "screen_source_list"),
           ("StartScreenShare", [record("config", r.ScreenShareConfig)], "plain"),
           ("StopScreenShare", [record("config", r.StopScreenShareConfig, optional=True)], "plain"),
           ("StartShareSystemAudio", [flag("need_audio")], "plain"),
           ("InstallAudioCaptureDriver", [], "plain"),
           ("GetScreenShareMessage", [], "string")),
    *_rows("PreMeeting",
           ("ScheduleMeeting", [record("options", r.PreMeetingCreateOptions)], "pre_meeting_info"),
           ("EditMeeting", [i64("meeting_id"), record("options", r.PreMeetingEditOptions)], "plain"),
           ("CancelMeeting", [i64("meeting_id"), tri("cancel_recurring")], "plain"),
           ("GetMeetingListBySize", [record("params", r.MeetingListParams, optional=True)], "meeting_list"),
           ("GetMeetingInfoByMeetingNum", [text("meeting_num")], "pre_meeting_info"),
           ("GetScheduledMembers", [text("meeting_num")], "scheduled_member_list")),
    *_rows("Invite",
           ("GetAccountInfoList", [strings("user_uuids")], "account_list"),
           ("SearchAccountByPhone", [text("phone")], "account_list")),
    *_rows("Meeting",
           ("CreateMeeting", [record("options", r.MeetingCreateOptions)], "plain"),
           ("JoinMeeting", [record("options", r.MeetingJoinOptions)], "plain"),
           ("RejoinAfterAdmittedToRoom", [], "plain"),
           ("LeaveMeeting", [flag("flag")], "plain"),
           ("EndMeeting", [], "plain"),
           ("GetMeetingInfo", [], QUERY),
           ("ReleaseMeeting", [], SENT)),
    *_rows("WaitingRoom",
           ("AdmitMember", [_uuid, flag("flag")], "plain"),
           ("AdmitAll", [], "plain"),
           ("ExpelMember", [_uuid, flag("flag")], "plain"),
           ("ExpelAll", [flag("flag")], "plain"),
           ("PutInWaitingRoom", [_uuid], "plain"),
           ("GetMemberList", [i64("from_join_time"), i32("count"), flag("flag")], "waiting_room_member_list"),
           ("GetInfo", [], QUERY)),
]

# The manager attribute of each family (client.<attribute>) and its handle functions.
MANAGERS: Dict[str, str] = {
    "Account": "account", "Audio": "audio", "Chatroom": "chatroom", "Invite": "invite", "Meeting": "meeting",
    "Member": "member", "PreMeeting": "pre_meeting", "ScreenShare": "screen_share", "Security": "security",
    "Video": "video", "WaitingRoom": "waiting_room",
}
