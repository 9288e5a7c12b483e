"""The C layouts of the library's records, as ctypes structures.

Each structure names its fields as the C record does. ``_counts_`` maps an
array field to the field that holds its length. ``LAYOUTS`` pairs each Python
record with its layout; the conversion in ``_convert`` is driven by it.
"""
from __future__ import annotations

import ctypes
from ctypes import (POINTER, c_bool, c_char_p, c_double, c_int, c_int8, c_int32, c_int64, c_uint8, c_uint32,
                    c_uint64)
from typing import Dict, Type

from . import records as r


class Layout(ctypes.Structure):
    _counts_: Dict[str, str] = {}


def _layout(name: str, fields: list[tuple[str, object]], counts: Dict[str, str] | None = None) -> Type[Layout]:
    return type(name, (Layout,), {"_fields_": fields, "_counts_": counts or {}})


def _strings(*names: str) -> list[tuple[str, object]]:
    return [(n, c_char_p) for n in names]


CInitConfig = _layout("CInitConfig", _strings("app_key", "log_path", "server_url", "locale") + [
    ("use_asset_server_config", c_int32), ("debug", c_int32)])

CDeviceInfo = _layout("CDeviceInfo", _strings("device_id", "device_name"))
CAccountInfo = _layout("CAccountInfo", _strings(
    "user_uuid", "user_token", "nickname", "private_meeting_num", "corp_name", "account", "avatar",
    "phone_number", "email", "private_short_meeting_num") + [("is_initial_password", c_int8), ("is_anonymous", c_int8)])
CSearchAccountInfo = _layout("CSearchAccountInfo", _strings("user_uuid", "nickname", "avatar", "phone_number", "dept"))
CChatroomPermission = _layout("CChatroomPermission", _strings("cr_perm", "wt_pr_chat"))
CScheduledMember = _layout("CScheduledMember", _strings("user_uuid", "role"))
CWaitingRoomMember = _layout("CWaitingRoomMember", _strings("uuid", "name", "avatar") + [
    ("join_time", c_int64), ("status", c_int32)])
CMember = _layout("CMember", _strings("uuid", "name") + [(n, c_int32) for n in (
    "is_host", "is_evaluator", "is_audio_on", "is_video_on", "is_sharing_screen", "is_hands_up")])
CScreenCaptureImage = _layout("CScreenCaptureImage", [
    ("width", c_int32), ("height", c_int32), ("size", c_uint32), ("data", POINTER(c_uint8))], {"data": "size"})
CScreenCaptureSource = _layout("CScreenCaptureSource", [
    ("source_id", c_int64), ("source_name", c_char_p), ("is_window", c_int32), ("app_name", c_char_p),
    ("app_path", c_char_p), ("is_primary_monitor", c_int32), ("icon", CScreenCaptureImage),
    ("thumbnail", CScreenCaptureImage)])
CLocalMember = _layout("CLocalMember", _strings("user_uuid", "name", "role"))
CMeetingInfo = _layout("CMeetingInfo", [
    ("local_member", POINTER(CLocalMember)), ("meeting_id", c_int64), ("meeting_num", c_char_p),
    ("room_uuid", c_char_p), ("state", c_int32), ("start_time", c_int64), ("end_time", c_int64),
    ("subject", c_char_p), ("owner_user_uuid", c_char_p), ("owner_nickname", c_char_p),
    ("scheduled_members", POINTER(CScheduledMember)), ("scheduled_member_count", c_int32),
    ("no_cloud_record", c_int32), ("no_chat", c_int32), ("enable_waiting_room", c_int32)],
    {"scheduled_members": "scheduled_member_count"})
CMeetingSDKInfo = _layout("CMeetingSDKInfo", _strings(
    "user_uuid", "name", "role", "my_uuid", "host_uuid", "host_name", "active_speaker_uuid", "subject",
    "owner_user_uuid", "room_archive_id", "meeting_num") + [
    ("is_support_chatroom", c_int32), ("is_cloud_recording", c_int32), ("start_time", c_int64),
    ("end_time", c_int64), ("type", c_int32), ("rtc_start_time", c_int64), ("join_meeting_time", c_int64),
    ("meeting_id", c_int64), ("is_waiting_room_enabled", c_int32), ("in_waiting_room", c_int32),
    ("max_members", c_int32), ("is_breakout_room", c_int32)])
CChatMessageAttach = _layout("CChatMessageAttach", _strings("from", "from_nick", "type") + [
    ("to", POINTER(c_char_p)), ("to_count", c_int32), ("to_nick", POINTER(c_char_p)), ("to_nick_count", c_int32)]
    + _strings("url", "name", "msg_id") + [("msg_time", c_int64), ("id", c_int32), ("operator_", c_char_p)],
    {"to": "to_count", "to_nick": "to_nick_count"})
CChatMessageFile = _layout("CChatMessageFile", _strings("name", "ext") + [("size", c_uint64)]
                           + _strings("url", "file_path") + [("width", c_int32), ("height", c_int32)])
CChatMessage = _layout("CChatMessage", _strings(
    "message_uuid", "from_client_type", "message_type", "from_user_uuid", "from_nick") + [
    ("to_user_uuid_list", POINTER(c_char_p)), ("to_user_uuid_count", c_int32), ("time", c_int64)]
    + _strings("type", "text", "status") + [("attach", POINTER(CChatMessageAttach)), ("from", c_char_p),
                                             ("is_me", c_int8), ("resend", c_int8), ("id_client", c_char_p),
                                             ("file", POINTER(CChatMessageFile)), ("custom", c_char_p),
                                             ("chatroom_type", c_int32), ("has_temp_file", c_int8),
                                             ("temp_file", c_char_p), ("is_private", c_int8)]
    + _strings("to_nickname", "from_avatar") + [("percentage", c_double)]
    + _strings("percentage_text", "total", "loaded"),
    {"to_user_uuid_list": "to_user_uuid_count"})
CWaitingRoomInfo = _layout("CWaitingRoomInfo", [
    ("member_count", c_int32), ("is_enabled_on_entry", c_bool), ("background_image_url", c_char_p)])

CRtcStats = _layout("CRtcStats", [("duration", c_int64)] + [(n, c_int32) for n in (
    "tx_bytes", "rx_bytes", "tx_audio_bytes", "tx_video_bytes", "rx_audio_bytes", "rx_video_bytes")])
CLocalAudioStats = _layout("CLocalAudioStats", [(n, c_int32) for n in (
    "volume", "num_channels", "sent_sample_rate", "sent_bitrate")])
CLocalVideoStats = _layout("CLocalVideoStats", [(n, c_int32) for n in (
    "capture_width", "capture_height", "encoded_frame_width", "encoded_frame_height", "encoder_output_frame_rate",
    "sent_frame_rate", "sent_bitrate")])
CRemoteAudioStats = _layout("CRemoteAudioStats", [("user_uuid", c_char_p), ("volume", c_int32),
                                                  ("received_bitrate", c_int32)])
CRemoteVideoStats = _layout("CRemoteVideoStats", [("user_uuid", c_char_p)] + [(n, c_int32) for n in (
    "width", "height", "received_bitrate", "decoder_output_frame_rate", "renderer_output_frame_rate")])
CNetworkQualityInfo = _layout("CNetworkQualityInfo", [("user_uuid", c_char_p), ("uplink_quality", c_int32),
                                                      ("downlink_quality", c_int32)])
CCustomMessage = _layout("CCustomMessage", _strings("room_uuid", "sender_uuid", "data") + [("timestamp", c_int64)])
CSessionMessage = _layout("CSessionMessage", [
    ("session_id", c_char_p), ("session_type", c_int32), ("message_id", c_char_p), ("data", c_char_p),
    ("time", c_int64)])
CSessionRecentInfo = _layout("CSessionRecentInfo", [
    ("session_id", c_char_p), ("session_type", c_int32), ("unread_count", c_int32)])

# ---- option records ----
_TO_LIST = {"to_user_uuid_list": "to_user_uuid_count"}
CLoginByPasswordOptions = _layout("CLoginByPasswordOptions", _strings("username", "password"))
CLoginBySmsCodeOptions = _layout("CLoginBySmsCodeOptions", _strings("phone_number", "sms_code"))
CLoginByTokenOptions = _layout("CLoginByTokenOptions", _strings("account_id", "account_token") + [
    ("auth_type", c_int32), ("is_temporary", c_int32)])
CResetPasswordOptions = _layout("CResetPasswordOptions", _strings("old_password", "new_password"))
CChatroomTextMessageOptions = _layout("CChatroomTextMessageOptions", _strings("id_client", "text") + [
    ("is_private", c_int8), ("to_user_uuid_list", POINTER(c_char_p)), ("to_user_uuid_count", c_int)], _TO_LIST)
CChatroomSendFileMessageOptions = _layout("CChatroomSendFileMessageOptions", [
    ("id_client", c_char_p), ("type", c_int), ("url", c_char_p), ("size", c_uint64), ("width", c_uint32),
    ("height", c_uint32), ("is_private", c_int8), ("to_user_uuid_list", POINTER(c_char_p)),
    ("to_user_uuid_count", c_int)], _TO_LIST)
CScreenShareConfig = _layout("CScreenShareConfig", [
    ("need_request_meeting_server_screen_share", c_int), ("source_id", c_char_p), ("resolution", c_int),
    ("frame_rate", c_int), ("limit_frame_rate", c_int), ("video_profile", c_char_p), ("is_app", c_int),
    ("force_display_surface", c_char_p), ("prefer_motion", c_int), ("is_linux", c_int)])
CStopScreenShareConfig = _layout("CStopScreenShareConfig", [("need_request_meeting_server_screen_share", c_int)])
CScheduledMemberOption = _layout("CScheduledMemberOption", _strings("user_uuid", "role"))
_PRE_MEETING_FIELDS: list[tuple[str, object]] = [
    ("subject", c_char_p), ("start_time", c_int64), ("end_time", c_int64), ("password", c_char_p),
    ("enable_waiting_room", c_int32), ("enable_join_before_host", c_int32),
    ("scheduled_members", POINTER(CScheduledMemberOption)), ("scheduled_member_count", c_int32),
    ("no_chat", c_int32), ("no_cloud_record", c_int32)]
_SCHEDULED = {"scheduled_members": "scheduled_member_count"}
CPreMeetingCreateOptions = _layout("CPreMeetingCreateOptions", _PRE_MEETING_FIELDS, _SCHEDULED)
CPreMeetingEditOptions = _layout("CPreMeetingEditOptions", _PRE_MEETING_FIELDS, _SCHEDULED)
CMeetingListParams = _layout("CMeetingListParams", [
    ("states", POINTER(c_int)), ("state_count", c_int), ("offset", c_int), ("size", c_int)],
    {"states": "state_count"})
CVideoProfile = _layout("CVideoProfile", [("resolution", c_int32), ("frameRate", c_int32)])
CCloudRecordConfig = _layout("CCloudRecordConfig", [("enable", c_int32)])
CMeetingCreateOptions = _layout("CMeetingCreateOptions", _strings(
    "meetingNum", "nickname", "subject", "password", "memberTag") + [
    ("noChat", c_int32), ("noWhiteboard", c_int32), ("noCaptions", c_int32), ("orgName", c_char_p),
    ("avatar", c_char_p), ("videoProfile", POINTER(CVideoProfile)), ("joinTimeout", c_int32),
    ("session", c_char_p), ("subType", c_int32), ("startTime", c_int64), ("endTime", c_int64),
    ("enableWaitingRoom", c_int32), ("cloudRecordConfig", POINTER(CCloudRecordConfig))])
CMeetingJoinOptions = _layout("CMeetingJoinOptions", _strings("meetingNum", "userUuid", "nickname"))

# Each Python record and the C layout it is converted from or to.
LAYOUTS: Dict[type, Type[Layout]] = {
    r.DeviceInfo: CDeviceInfo, r.AccountInfo: CAccountInfo, r.SearchAccountInfo: CSearchAccountInfo,
    r.ChatroomPermission: CChatroomPermission, r.ScheduledMember: CScheduledMember,
    r.WaitingRoomMember: CWaitingRoomMember, r.Member: CMember, r.ScreenCaptureImage: CScreenCaptureImage,
    r.ScreenCaptureSource: CScreenCaptureSource, r.LocalMember: CLocalMember, r.MeetingInfo: CMeetingInfo,
    r.MeetingSDKInfo: CMeetingSDKInfo, r.ChatMessageAttach: CChatMessageAttach, r.ChatMessageFile: CChatMessageFile,
    r.ChatMessage: CChatMessage, r.WaitingRoomInfo: CWaitingRoomInfo, r.RtcStats: CRtcStats,
    r.LocalAudioStats: CLocalAudioStats, r.LocalVideoStats: CLocalVideoStats,
    r.RemoteAudioStats: CRemoteAudioStats, r.RemoteVideoStats: CRemoteVideoStats,
    r.NetworkQualityInfo: CNetworkQualityInfo, r.CustomMessage: CCustomMessage, r.SessionMessage: CSessionMessage,
    r.SessionRecentInfo: CSessionRecentInfo,
    r.LoginByPasswordOptions: CLoginByPasswordOptions, r.LoginBySmsCodeOptions: CLoginBySmsCodeOptions,
    r.LoginByTokenOptions: CLoginByTokenOptions, r.ResetPasswordOptions: CResetPasswordOptions,
    r.ChatroomTextMessageOptions: CChatroomTextMessageOptions,
    r.ChatroomSendFileMessageOptions: CChatroomSendFileMessageOptions, r.ScreenShareConfig: CScreenShareConfig,
    r.StopScreenShareConfig: CStopScreenShareConfig, r.ScheduledMemberOption: CScheduledMemberOption,
    r.PreMeetingCreateOptions: CPreMeetingCreateOptions, r.PreMeetingEditOptions: CPreMeetingEditOptions,
    r.MeetingListParams: CMeetingListParams, r.VideoProfile: CVideoProfile, r.CloudRecordConfig: CCloudRecordConfig,
    r.MeetingCreateOptions: CMeetingCreateOptions, r.MeetingJoinOptions: CMeetingJoinOptions,
}
