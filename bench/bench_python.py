#!/usr/bin/env python3
"""The Python package as a bot feels it, in the concurrent bridge mode:
10,000 calls awaited together with asyncio.gather (calls/s), and the latency
from the SDK firing a meeting event to the listener's on_* method (p50, p99).

Needs MORVANTA_LIBRARY (or pkg-config, or the loader's search) and
MORVANTA_SDK_PATH naming the sandbox SDK. Options: --calls N, --events N,
--runs N, --worker (callbacks through the worker instead of host dispatch).
Targets: >= 10,000 calls/s; event latency p50 <= 2 ms.
"""
from __future__ import annotations

import argparse
import asyncio
import json
import logging
import os
import pathlib
import statistics
import sys
import tempfile
import time
from typing import Any, List

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "bindings" / "python"))
import morvanta  # noqa: E402


class Latency(morvanta.MeetingListener):
    def __init__(self) -> None:
        self.samples: List[float] = []

    def on_receive_chatroom_messages(self, messages: List[morvanta.ChatMessage]) -> None:
        arrived = time.time() * 1000.0
        self.samples.extend(arrived - m.time for m in messages if m.text == "tick")


def percentile(values: List[float], p: float) -> float:
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(p * len(ordered)))]


async def run(args: Any, folder: str) -> dict[str, float]:
    client = morvanta.Client("bench-python-01", folder)
    client.bridge_mode = "concurrent"
    client.host_dispatch = not args.worker
    async with client as c:
        await c.account.login_by_password(morvanta.LoginByPasswordOptions(username="alice", password="alice-password"))
        await asyncio.gather(*(c.audio.get_speaker_volume() for _ in range(200)))  # warm up
        start, cpu, mine = time.perf_counter(), time.process_time(), time.thread_time()
        answers = await asyncio.gather(*(c.audio.get_speaker_volume() for _ in range(args.calls)))
        elapsed, cpu, mine = time.perf_counter() - start, time.process_time() - cpu, time.thread_time() - mine
        assert answers == [80] * args.calls
        listener = Latency()
        c.meeting.add_meeting_listener(listener)
        await c.meeting.create_meeting(morvanta.MeetingCreateOptions(subject="Latency"))
        deadline = time.monotonic() + 30
        while len(listener.samples) < args.events and time.monotonic() < deadline:
            await asyncio.sleep(0.05)
    return {"calls_per_s": args.calls / elapsed, "cpu_us": cpu / args.calls * 1e6, "loop_us": mine / args.calls * 1e6, "p50_ms": statistics.median(listener.samples),
            "p99_ms": percentile(listener.samples, 0.99), "events": len(listener.samples)}


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--calls", type=int, default=10000)
    parser.add_argument("--events", type=int, default=200)
    parser.add_argument("--runs", type=int, default=1)
    parser.add_argument("--worker", action="store_true")
    args = parser.parse_args()
    # The library's lines are not what is measured here (and would reach stderr through logging's last resort).
    logging.getLogger("morvanta").setLevel(logging.CRITICAL)
    with tempfile.TemporaryDirectory() as folder:
        scenario = pathlib.Path(folder) / "scenario.json"
        script = [{"atMs": 300 + 10 * i, "member": 0, "action": "chat", "text": "tick"} for i in range(args.events)]
        scenario.write_text(json.dumps({"meeting": {"memberCount": 1, "joinStepMs": 10, "rtcStatsIntervalMs": 0,
                                                    "script": script}}))
        os.environ["MORVANTA_SANDBOX_SCENARIO"] = str(scenario)
        for n in range(args.runs):
            figures = asyncio.run(run(args, folder))
            print(f"run {n + 1} ({'worker' if args.worker else 'host'} dispatch, concurrent bridge): "
                  f"{args.calls} calls gathered: {figures['calls_per_s']:,.0f} calls/s (target >= 10,000), "
                  f"CPU per call {figures['cpu_us']:.0f} us (the loop's thread {figures['loop_us']:.0f} us); "
                  f"event latency p50 {figures['p50_ms']:.2f} ms (target <= 2), p99 {figures['p99_ms']:.2f} ms "
                  f"over {figures['events']:.0f} events")


if __name__ == "__main__":
    main()
