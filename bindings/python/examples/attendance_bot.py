#!/usr/bin/env python3
"""A meeting bot: signs in, opens (or joins) a meeting, lets known members in
from the waiting room, greets each member who joins in chat, answers ``!help``
and ``!who``, and writes an attendance CSV (name, joined, left) when the
meeting ends.

    attendance_bot.py --username alice --password alice-password \\
        --known "Grace Hopper" --known "Ada Lovelace" --csv attendance.csv

Run it against the sandbox SDK with MORVANTA_SDK_PATH naming its index.js.
"""
from __future__ import annotations

import argparse
import asyncio
import csv
import datetime
import logging
from typing import Dict, List, Optional, Sequence, Set

import morvanta

HELP = "Commands: !help (this text), !who (who is here)."


def now() -> str:
    return datetime.datetime.now().isoformat(timespec="milliseconds")


class AttendanceBot(morvanta.MeetingListener, morvanta.WaitingRoomListener):
    def __init__(self, client: morvanta.Client, known: Set[str], csv_path: str) -> None:
        self.client = client
        self.known = known
        self.csv_path = csv_path
        self.joined: Dict[str, str] = {}          # uuid -> time
        self.left: Dict[str, str] = {}
        self.names: Dict[str, str] = {}           # uuid -> name, in order of arrival
        self.sent: List[morvanta.ChatMessage] = []  # what the service recorded of our messages
        self.refused: List[str] = []
        self.ended = asyncio.Event()
        self.my_uuid = ""

    async def say(self, text: str) -> None:
        self.sent.append(await self.client.chatroom.send_text_message(morvanta.ChatroomTextMessageOptions(text=text)))

    # ---- waiting room ----
    async def on_member_join(self, member: morvanta.WaitingRoomMember, reason: int) -> None:
        if member.name in self.known:
            await self.client.waiting_room.admit_member(member.uuid, False)
        else:
            self.refused.append(member.name)

    # ---- the meeting ----
    async def on_member_join_meeting(self, member: morvanta.Member) -> None:
        self.names[member.uuid] = member.name
        self.joined.setdefault(member.uuid, now())
        self.left.pop(member.uuid, None)
        await self.say(f"Welcome, {member.name}!")

    def on_member_leave_meeting(self, member: morvanta.Member) -> None:
        self.left[member.uuid] = now()

    async def on_receive_chatroom_messages(self, messages: List[morvanta.ChatMessage]) -> None:
        for message in messages:
            if message.is_me or message.from_user_uuid == self.my_uuid:
                continue
            command = (message.text or "").strip()
            if command == "!help":
                await self.say(HELP)
            elif command == "!who":
                here = [name for uuid, name in self.names.items() if uuid not in self.left]
                await self.say("Here: " + (", ".join(here) if here else "nobody"))

    def on_room_ended(self, reason: str, extra: str) -> None:
        self.ended.set()

    def write_csv(self) -> None:
        end = now()
        with open(self.csv_path, "w", newline="") as out:
            writer = csv.writer(out)
            writer.writerow(["name", "joined", "left"])
            for uuid, name in self.names.items():
                writer.writerow([name, self.joined[uuid], self.left.get(uuid, end)])

    async def run(self, username: str, password: str, meeting_num: Optional[str], subject: str) -> None:
        c = self.client
        account = await c.account.login_by_password(
            morvanta.LoginByPasswordOptions(username=username, password=password))
        self.my_uuid = account.user_uuid
        c.meeting.add_meeting_listener(self)
        c.waiting_room.add_listener(self)
        if meeting_num:
            await c.meeting.join_meeting(morvanta.MeetingJoinOptions(meeting_num=meeting_num))
        else:
            await c.meeting.create_meeting(morvanta.MeetingCreateOptions(subject=subject, enable_waiting_room=True))
        await self.ended.wait()
        self.write_csv()


async def main(argv: Optional[Sequence[str]] = None) -> AttendanceBot:
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--app-key", default="attendance-bot-01")
    parser.add_argument("--log-path", default="/tmp")
    parser.add_argument("--username", required=True)
    parser.add_argument("--password", required=True)
    parser.add_argument("--meeting", help="join this meeting number instead of opening one")
    parser.add_argument("--subject", default="Attendance")
    parser.add_argument("--known", action="append", default=[], help="a member let in from the waiting room")
    parser.add_argument("--csv", default="attendance.csv")
    args = parser.parse_args(argv)
    async with morvanta.Client(args.app_key, args.log_path) as client:
        bot = AttendanceBot(client, set(args.known), args.csv)
        await bot.run(args.username, args.password, args.meeting, args.subject)
    return bot


if __name__ == "__main__":
    logging.basicConfig(level=logging.WARNING)
    asyncio.run(main())
