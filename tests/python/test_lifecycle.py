"""Sessions one after another, bridge and dispatch modes, cancellation, a
client collected without leaving, error mapping, log routing, and finding
the library."""
from __future__ import annotations

import asyncio
import gc
import logging
import os
import pathlib
import threading
from typing import Any

import pytest
from conftest import ALICE, APP_KEY, until

import morvanta as mv
from morvanta import _binding, _calls, _library


async def test_two_clients_one_after_the_other_in_both_modes(tmp_path: pathlib.Path,
                                                             caplog: pytest.LogCaptureFixture,
                                                             capfd: pytest.CaptureFixture[str]) -> None:
    caplog.set_level(logging.INFO, logger="morvanta")
    host = _binding.library().has_dispatch
    for mode, dispatch in (("compatible", host), ("concurrent", False)):
        caplog.clear()
        capfd.readouterr()
        mv.route_log(mode == "compatible")  # the second session leaves the lines on standard output
        client = mv.Client(APP_KEY, str(tmp_path))
        client.bridge_mode = mode
        client.host_dispatch = dispatch
        async with client as c:
            assert c.host_dispatch is dispatch
            threads = set()

            async def nickname(text: str) -> str:
                await c.account.update_nickname(text)
                threads.add(threading.get_ident())
                return (await c.account.get_account_info()).nickname

            await c.account.login_by_password(ALICE)
            assert await nickname(f"Alice {mode}") == f"Alice {mode}"
            assert threads == {threading.get_ident()}
        lines = [r.getMessage() for r in caplog.records if r.name == "morvanta"]
        if mode == "concurrent":
            mv.route_log(True)
            assert lines == [] and f"[JSBridge] Bridge mode: {mode}\n" in capfd.readouterr().out
            continue
        assert "[JSBridge] Bridge mode" not in capfd.readouterr().out
        assert f"[JSBridge] Bridge mode: {mode}" in lines
        assert "[Gatherdeck C API] 🛑 Morvanta_Uninitialize" in lines
        assert all("\n" not in line for line in lines if "    at " not in line)
        assert all("❌" in r.getMessage() for r in caplog.records if r.levelno == logging.ERROR)
    assert not c.initialized
    with pytest.raises(mv.Error) as caught:
        await c.account.get_account_info()
    assert caught.value.code == -2


async def test_cancelled_calls_are_dropped_safely(client: mv.Client, scenario: Any) -> None:
    scenario({"overrides": {"account.getAccountInfo": {"delayMs": 300}}})
    async with client as c:
        await c.account.login_by_password(ALICE)
        waiting = asyncio.ensure_future(c.account.get_account_info())
        query = asyncio.ensure_future(c.member.get_member_list())
        await asyncio.sleep(0.05)
        assert _calls.pending_count() == 1
        waiting.cancel()
        query.cancel()
        with pytest.raises(asyncio.CancelledError):
            await waiting
        # A query cancelled while its thread waits (or already answered, in the concurrent mode).
        (outcome,) = await asyncio.gather(query, return_exceptions=True)
        assert isinstance(outcome, (asyncio.CancelledError, list))
        await until(lambda: _calls.pending_count() == 0)  # the late answer came and was dropped
        await c.account.update_nickname("Still here")
        assert (await c.account.get_account_info()).nickname == "Still here"
        # Many calls at once, some cancelled midway: the others are answered.
        calls = [asyncio.ensure_future(c.audio.get_speaker_volume()) for _ in range(200)]
        for task in calls[::3]:
            task.cancel()
        done = await asyncio.gather(*calls, return_exceptions=True)
        assert all(v == 80 for v in done[1::3]) and all(isinstance(v, asyncio.CancelledError) for v in done[::3])
        await until(lambda: _calls.pending_count() == 0)
        # A call still waiting when the client leaves is answered or failed, never left hanging.
        late = asyncio.ensure_future(c.account.get_account_info())
        await asyncio.sleep(0.02)
    (outcome,) = await asyncio.wait_for(asyncio.gather(late, return_exceptions=True), 5)
    assert isinstance(outcome, (mv.AccountInfo, mv.Error)), outcome
    assert _calls.pending_count() == 0


async def test_service_failures_and_refused_arguments(client: mv.Client, scenario: Any) -> None:
    scenario({"overrides": {"account.logout": {"fail": "code", "code": 4321, "message": "session locked"},
                            "audio.getSpeakerDeviceId": {"fail": "reject", "message": "device busy"}}})
    with pytest.raises(mv.Error) as caught:
        await client.account.logout()
    assert caught.value.code == -2
    assert mv.library_version() == "1.0.0"
    with pytest.raises(mv.Error) as caught:  # the SDK refuses the key; the library answers -1
        await mv.Client("sandbox-revoked-key", "/tmp").__aenter__()
    assert caught.value.code == -1 and "Morvanta_Initialize" in caught.value.message
    async with client as c:
        with pytest.raises(mv.Error) as caught:
            await c.account.login_by_password(mv.LoginByPasswordOptions(username="alice", password="wrong"))
        assert (caught.value.code, caught.value.message) == (1011, "incorrect username or password")
        await c.account.login_by_password(ALICE)
        with pytest.raises(mv.Error) as caught:
            await c.account.logout()
        assert (caught.value.code, caught.value.message) == (4321, "session locked")
        with pytest.raises(mv.Error) as caught:
            await c.audio.get_speaker_device_id()
        assert caught.value.code == -1 and "device busy" in caught.value.message

        refused = [c.account.update_nickname(None), c.audio.set_speaker_volume(-1),
                   c.audio.set_speaker_volume(2 ** 32), c.audio.set_speaker_volume("loud"),
                   c.audio.set_speaker_volume(volume=True), c.audio.set_speaker_volume(), c.audio.set_speaker_volume(1, 2),
                   c.audio.set_speaker_volume(level=3), c.audio.set_audio_effect(1, type=2),
                   c.account.login_by_password({"username": "alice", "pin": "1"}),
                   c.account.login_by_password("alice"), c.invite.get_account_info_list("user-bob-0002"),
                   c.video.setup_local_video_canvas(-5), c.meeting.join_meeting(mv.MeetingJoinOptions(meeting_num=""))]
        for call in refused:
            with pytest.raises(mv.ArgumentError) as refusal:
                await call
            assert refusal.value.code == -1 and isinstance(refusal.value, TypeError)
        assert await c.audio.get_speaker_volume() == 80  # nothing reached the service
        assert (await c.account.get_account_info()).nickname == "Alice Archer"

        second = mv.Client(APP_KEY, "/tmp")
        with pytest.raises(mv.Error) as caught:
            await second.__aenter__()
        assert caught.value.code == -3


async def test_a_client_collected_without_leaving(tmp_path: pathlib.Path) -> None:
    abandoned = mv.Client(APP_KEY, str(tmp_path))
    await abandoned.__aenter__()
    await abandoned.account.login_by_password(ALICE)
    del abandoned
    gc.collect()
    async with mv.Client(APP_KEY, str(tmp_path)) as c:  # waits for the collected session to end
        assert (await c.account.login_by_password(ALICE)).user_uuid == "user-alice-0001"


async def test_entering_cancelled_midway(tmp_path: pathlib.Path) -> None:
    entering = asyncio.ensure_future(mv.Client(APP_KEY, str(tmp_path)).__aenter__())
    await asyncio.sleep(0.05)
    entering.cancel()
    with pytest.raises(asyncio.CancelledError):
        await entering
    async with mv.Client(APP_KEY, str(tmp_path)) as c:  # the abandoned start was ended
        assert (await c.account.login_by_password(ALICE)).nickname == "Alice Archer"


def test_library_search_order_and_failure(monkeypatch: pytest.MonkeyPatch, tmp_path: pathlib.Path) -> None:
    found = os.environ["MORVANTA_LIBRARY"]
    monkeypatch.setattr(_library, "_loaded", None)
    monkeypatch.setattr(_library, "_NAMES", ("libmorvanta-missing.so.0",))
    pc = tmp_path / "morvanta.pc"
    pc.write_text(f"libdir={os.path.dirname(found)}\nName: morvanta\nDescription: x\nVersion: 1.0.0\n")
    monkeypatch.setenv("PKG_CONFIG_PATH", str(tmp_path))
    monkeypatch.setenv("MORVANTA_LIBRARY", str(tmp_path / "nowhere.so"))
    with pytest.raises(mv.LibraryNotFound):  # pkg-config names a file the package does not look for
        _library.load()
    monkeypatch.setattr(_library, "_NAMES", ("libmorvanta.so.0",))
    assert _library.load()._name == os.path.join(os.path.dirname(found), "libmorvanta.so.0")  # type: ignore[attr-defined]
    monkeypatch.setattr(_library, "_loaded", None)
    monkeypatch.setenv("PATH", str(tmp_path))  # no pkg-config
    monkeypatch.setattr(_library, "_NAMES", ("libmorvanta-missing.so.0",))
    with pytest.raises(mv.LibraryNotFound) as failure:
        _library.load()
    text = str(failure.value)
    assert "MORVANTA_LIBRARY: " + str(tmp_path / "nowhere.so") in text
    assert "pkg-config is not installed" in text
    assert "dynamic loader's search: libmorvanta-missing.so.0" in text
