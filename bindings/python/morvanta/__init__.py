"""Asyncio Python interface to libmorvanta, the video-meeting library.

    async with morvanta.Client("my-app-key", "/tmp/logs") as client:
        await client.account.login_by_password(morvanta.LoginByPasswordOptions(username=..., password=...))
        await client.meeting.join_meeting(morvanta.MeetingJoinOptions(meeting_num="8800000001"))

Every operation of the C interface is a coroutine method of a manager,
named in snake_case; failures raise ``morvanta.Error``. Events reach
subclasses of the listener classes, on the loop's own thread.
"""
from __future__ import annotations

from ._client import Client, library_version
from ._library import LibraryNotFound
from ._log import route_log
from .errors import ArgumentError, Error
from .events import Event, EventStream
from .listeners import GlobalListener, MeetingListener, MessageChannelListener, RtcStatsListener, WaitingRoomListener
from .records import (DeviceInfo, AccountInfo, SearchAccountInfo, ChatroomPermission, ScheduledMember,
                      WaitingRoomMember, Member, ScreenCaptureImage, ScreenCaptureSource, LocalMember, MeetingInfo,
                      MeetingSDKInfo, ChatMessageAttach, ChatMessageFile, ChatMessage, WaitingRoomInfo, RtcStats,
                      LocalAudioStats, LocalVideoStats, RemoteAudioStats, RemoteVideoStats, NetworkQualityInfo,
                      CustomMessage, SessionMessage, SessionRecentInfo, LoginByPasswordOptions, LoginBySmsCodeOptions,
                      LoginByTokenOptions, ResetPasswordOptions, ChatroomTextMessageOptions,
                      ChatroomSendFileMessageOptions, ScreenShareConfig, StopScreenShareConfig, ScheduledMemberOption,
                      PreMeetingCreateOptions, PreMeetingEditOptions, MeetingListParams, VideoProfile,
                      CloudRecordConfig, MeetingCreateOptions, MeetingJoinOptions)

__all__ = [
    "Client", "Error", "ArgumentError", "Event", "EventStream", "GlobalListener", "MeetingListener",
    "MessageChannelListener", "RtcStatsListener", "WaitingRoomListener", "library_version", "route_log",
    "LibraryNotFound", "DeviceInfo", "AccountInfo", "SearchAccountInfo", "ChatroomPermission", "ScheduledMember",
    "WaitingRoomMember", "Member", "ScreenCaptureImage", "ScreenCaptureSource", "LocalMember", "MeetingInfo",
    "MeetingSDKInfo", "ChatMessageAttach", "ChatMessageFile", "ChatMessage", "WaitingRoomInfo", "RtcStats",
    "LocalAudioStats", "LocalVideoStats", "RemoteAudioStats", "RemoteVideoStats", "NetworkQualityInfo",
    "CustomMessage", "SessionMessage", "SessionRecentInfo", "LoginByPasswordOptions", "LoginBySmsCodeOptions",
    "LoginByTokenOptions", "ResetPasswordOptions", "ChatroomTextMessageOptions", "ChatroomSendFileMessageOptions",
    "ScreenShareConfig", "StopScreenShareConfig", "ScheduledMemberOption", "PreMeetingCreateOptions",
    "PreMeetingEditOptions", "MeetingListParams", "VideoProfile", "CloudRecordConfig", "MeetingCreateOptions",
    "MeetingJoinOptions"
]
