"""The library's records as Python values.

Records the library hands out are frozen dataclasses whose fields carry the
names of the C record fields. Tri-state values are ``Optional[bool]`` (None:
not given), lists are lists, and strings are ``str`` (``Optional[str]`` where
the library may leave them unset).

Option records (the ``*Options``, ``*Config`` and ``*Params`` classes) are
what operations take. Their fields are keyword-only; a field left at None is
not sent.
"""
from __future__ import annotations

from dataclasses import dataclass, field
from typing import List, Optional



# ---- records handed out by the library ----

@dataclass(frozen=True)
class DeviceInfo:
    device_id: str
    device_name: str


@dataclass(frozen=True)
class AccountInfo:
    user_uuid: str
    user_token: str
    nickname: str
    private_meeting_num: str
    corp_name: Optional[str]
    account: Optional[str]
    avatar: Optional[str]
    phone_number: Optional[str]
    email: Optional[str]
    private_short_meeting_num: Optional[str]
    is_initial_password: Optional[bool]
    is_anonymous: Optional[bool]


@dataclass(frozen=True)
class SearchAccountInfo:
    user_uuid: str
    nickname: str
    avatar: Optional[str]
    phone_number: Optional[str]
    dept: Optional[str]


@dataclass(frozen=True)
class ChatroomPermission:
    cr_perm: str
    wt_pr_chat: str


@dataclass(frozen=True)
class ScheduledMember:
    user_uuid: str
    role: str


@dataclass(frozen=True)
class WaitingRoomMember:
    uuid: str
    name: str
    avatar: Optional[str]
    join_time: int
    status: int


@dataclass(frozen=True)
class Member:
    uuid: str
    name: str
    is_host: bool
    is_evaluator: bool
    is_audio_on: bool
    is_video_on: bool
    is_sharing_screen: bool
    is_hands_up: bool


@dataclass(frozen=True)
class ScreenCaptureImage:
    width: int
    height: int
    data: bytes


@dataclass(frozen=True)
class ScreenCaptureSource:
    source_id: int
    source_name: str
    is_window: bool
    app_name: Optional[str]
    app_path: Optional[str]
    is_primary_monitor: Optional[bool]
    icon: ScreenCaptureImage
    thumbnail: ScreenCaptureImage


@dataclass(frozen=True)
class LocalMember:
    user_uuid: str
    name: str
    role: str


@dataclass(frozen=True)
class MeetingInfo:
    """A scheduled meeting."""
    local_member: Optional[LocalMember]
    meeting_id: int
    meeting_num: str
    room_uuid: str
    state: int
    start_time: int
    end_time: int
    subject: str
    owner_user_uuid: str
    owner_nickname: str
    scheduled_members: List[ScheduledMember]
    no_cloud_record: Optional[bool]
    no_chat: Optional[bool]
    enable_waiting_room: bool


@dataclass(frozen=True)
class MeetingSDKInfo:
    """The meeting the local user is in."""
    user_uuid: str
    name: str
    role: str
    my_uuid: str
    host_uuid: str
    host_name: str
    active_speaker_uuid: str
    subject: str
    owner_user_uuid: str
    room_archive_id: str
    meeting_num: str
    is_support_chatroom: bool
    is_cloud_recording: bool
    start_time: int
    end_time: int
    type: int
    rtc_start_time: int
    join_meeting_time: int
    meeting_id: int
    is_waiting_room_enabled: Optional[bool]
    in_waiting_room: Optional[bool]
    max_members: int
    is_breakout_room: Optional[bool]


@dataclass(frozen=True)
class ChatMessageAttach:
    from_: Optional[str]
    from_nick: Optional[str]
    type: Optional[str]
    to: List[str]
    to_nick: List[str]
    url: Optional[str]
    name: Optional[str]
    msg_id: Optional[str]
    msg_time: int
    id: int
    operator: Optional[str]


@dataclass(frozen=True)
class ChatMessageFile:
    name: Optional[str]
    ext: Optional[str]
    size: int
    url: Optional[str]
    file_path: Optional[str]
    width: int
    height: int


@dataclass(frozen=True)
class ChatMessage:
    message_uuid: Optional[str]
    from_client_type: Optional[str]
    message_type: Optional[str]
    from_user_uuid: Optional[str]
    from_nick: Optional[str]
    to_user_uuid_list: List[str]
    time: int
    type: Optional[str]
    text: Optional[str]
    status: Optional[str]
    attach: Optional[ChatMessageAttach]
    from_: Optional[str]
    is_me: bool
    resend: bool
    id_client: Optional[str]
    file: Optional[ChatMessageFile]
    custom: Optional[str]
    chatroom_type: int
    has_temp_file: bool
    temp_file: Optional[str]
    is_private: bool
    to_nickname: Optional[str]
    from_avatar: Optional[str]
    percentage: float
    percentage_text: Optional[str]
    total: Optional[str]
    loaded: Optional[str]


@dataclass(frozen=True)
class WaitingRoomInfo:
    member_count: int
    is_enabled_on_entry: bool
    background_image_url: str


# ---- records of the event channels ----

@dataclass(frozen=True)
class RtcStats:
    duration: int
    tx_bytes: int
    rx_bytes: int
    tx_audio_bytes: int
    tx_video_bytes: int
    rx_audio_bytes: int
    rx_video_bytes: int


@dataclass(frozen=True)
class LocalAudioStats:
    volume: int
    num_channels: int
    sent_sample_rate: int
    sent_bitrate: int


@dataclass(frozen=True)
class LocalVideoStats:
    capture_width: int
    capture_height: int
    encoded_frame_width: int
    encoded_frame_height: int
    encoder_output_frame_rate: int
    sent_frame_rate: int
    sent_bitrate: int


@dataclass(frozen=True)
class RemoteAudioStats:
    user_uuid: Optional[str]
    volume: int
    received_bitrate: int


@dataclass(frozen=True)
class RemoteVideoStats:
    user_uuid: Optional[str]
    width: int
    height: int
    received_bitrate: int
    decoder_output_frame_rate: int
    renderer_output_frame_rate: int


@dataclass(frozen=True)
class NetworkQualityInfo:
    user_uuid: Optional[str]
    uplink_quality: int
    downlink_quality: int


@dataclass(frozen=True)
class CustomMessage:
    room_uuid: Optional[str]
    sender_uuid: Optional[str]
    data: Optional[str]
    timestamp: int


@dataclass(frozen=True)
class SessionMessage:
    session_id: Optional[str]
    session_type: int
    message_id: Optional[str]
    data: Optional[str]
    time: int


@dataclass(frozen=True)
class SessionRecentInfo:
    session_id: Optional[str]
    session_type: int
    unread_count: int


# ---- option records taken by operations ----

@dataclass(frozen=True, kw_only=True)
class LoginByPasswordOptions:
    username: Optional[str] = None
    password: Optional[str] = None


@dataclass(frozen=True, kw_only=True)
class LoginBySmsCodeOptions:
    phone_number: Optional[str] = None
    sms_code: Optional[str] = None


@dataclass(frozen=True, kw_only=True)
class LoginByTokenOptions:
    account_id: Optional[str] = None
    account_token: Optional[str] = None
    auth_type: Optional[int] = None
    is_temporary: Optional[bool] = None


@dataclass(frozen=True, kw_only=True)
class ResetPasswordOptions:
    old_password: Optional[str] = None
    new_password: Optional[str] = None


@dataclass(frozen=True, kw_only=True)
class ChatroomTextMessageOptions:
    text: str
    id_client: Optional[str] = None
    is_private: Optional[bool] = None
    to_user_uuid_list: List[str] = field(default_factory=list)


@dataclass(frozen=True, kw_only=True)
class ChatroomSendFileMessageOptions:
    id_client: Optional[str] = None
    type: int = 0
    url: Optional[str] = None
    size: int = 0
    width: int = 0
    height: int = 0
    is_private: Optional[bool] = None
    to_user_uuid_list: List[str] = field(default_factory=list)


@dataclass(frozen=True, kw_only=True)
class ScreenShareConfig:
    need_request_meeting_server_screen_share: Optional[bool] = None
    source_id: Optional[str] = None
    resolution: Optional[int] = None
    frame_rate: Optional[int] = None
    limit_frame_rate: Optional[int] = None
    video_profile: Optional[str] = None
    is_app: Optional[bool] = None
    force_display_surface: Optional[str] = None
    prefer_motion: Optional[bool] = None
    is_linux: Optional[bool] = None


@dataclass(frozen=True, kw_only=True)
class StopScreenShareConfig:
    need_request_meeting_server_screen_share: Optional[bool] = None


@dataclass(frozen=True, kw_only=True)
class ScheduledMemberOption:
    user_uuid: str
    role: Optional[str] = None


@dataclass(frozen=True, kw_only=True)
class PreMeetingCreateOptions:
    subject: Optional[str] = None
    start_time: Optional[int] = None
    end_time: Optional[int] = None
    password: Optional[str] = None
    enable_waiting_room: Optional[bool] = None
    enable_join_before_host: Optional[bool] = None
    scheduled_members: List[ScheduledMemberOption] = field(default_factory=list)
    no_chat: Optional[bool] = None
    no_cloud_record: Optional[bool] = None


@dataclass(frozen=True, kw_only=True)
class PreMeetingEditOptions(PreMeetingCreateOptions):
    pass


@dataclass(frozen=True, kw_only=True)
class MeetingListParams:
    states: List[int] = field(default_factory=list)
    offset: Optional[int] = None
    size: Optional[int] = None


@dataclass(frozen=True, kw_only=True)
class VideoProfile:
    resolution: int
    frame_rate: int


@dataclass(frozen=True, kw_only=True)
class CloudRecordConfig:
    enable: bool


@dataclass(frozen=True, kw_only=True)
class MeetingCreateOptions:
    subject: str
    meeting_num: Optional[str] = None
    nickname: Optional[str] = None
    password: Optional[str] = None
    member_tag: Optional[str] = None
    no_chat: Optional[bool] = None
    no_whiteboard: Optional[bool] = None
    no_captions: Optional[bool] = None
    org_name: Optional[str] = None
    avatar: Optional[str] = None
    video_profile: Optional[VideoProfile] = None
    join_timeout: Optional[int] = None
    session: Optional[str] = None
    sub_type: Optional[int] = None
    start_time: Optional[int] = None
    end_time: Optional[int] = None
    enable_waiting_room: Optional[bool] = None
    cloud_record_config: Optional[CloudRecordConfig] = None


@dataclass(frozen=True, kw_only=True)
class MeetingJoinOptions:
    meeting_num: str
    user_uuid: Optional[str] = None
    nickname: Optional[str] = None

