"""The example bot against a sandbox meeting in which members come, chat and go."""
from __future__ import annotations

import csv
import pathlib
from typing import Any

from conftest import ROOT, load_file

SCENARIO = {"meeting": {
    "members": ["Grace Hopper", "Alan Turing", "Mallory Mole", "Ada Lovelace"], "memberCount": 3,
    "joinStepMs": 40, "rtcStatsIntervalMs": 0, "autoAdmitMs": None,
    "script": [
        # Spaced out so that each reply is sent before the next event, even in
        # the compatible bridge mode's 100 ms polls on a loaded machine.
        {"atMs": 900, "member": 0, "action": "chat", "text": "!help"},
        {"atMs": 1100, "member": 1, "action": "chat", "text": "!who"},
        {"atMs": 1500, "member": 3, "action": "join"},
        {"atMs": 2000, "member": 1, "action": "leave"},
        {"atMs": 2100, "member": 0, "action": "chat", "text": "thanks, bye"},
        {"atMs": 2300, "action": "endMeeting"},
    ]}}


def load_bot() -> Any:
    return load_file("attendance_bot", ROOT / "bindings" / "python" / "examples" / "attendance_bot.py")


async def test_attendance_bot(tmp_path: pathlib.Path, scenario: Any) -> None:
    scenario(SCENARIO)
    out = tmp_path / "attendance.csv"
    bot = await load_bot().main(["--username", "alice", "--password", "alice-password", "--log-path", str(tmp_path),
                                 "--known", "Grace Hopper", "--known", "Alan Turing", "--known", "Ada Lovelace",
                                 "--csv", str(out)])
    rows = list(csv.DictReader(out.open()))
    assert [r["name"] for r in rows] == ["Grace Hopper", "Alan Turing", "Ada Lovelace"]
    assert all(r["joined"] < r["left"] for r in rows)
    by_name = {r["name"]: r for r in rows}
    assert by_name["Alan Turing"]["left"] < by_name["Grace Hopper"]["left"] == by_name["Ada Lovelace"]["left"]
    assert by_name["Ada Lovelace"]["joined"] > by_name["Alan Turing"]["joined"]
    assert bot.refused == ["Mallory Mole"]

    said = [m.text for m in bot.sent]
    assert all(m.is_me and m.from_user_uuid == "user-alice-0001" for m in bot.sent)
    assert said[:2] == ["Welcome, Grace Hopper!", "Welcome, Alan Turing!"]
    assert said[2:] == ["Commands: !help (this text), !who (who is here).", "Here: Grace Hopper, Alan Turing",
                        "Welcome, Ada Lovelace!"]
