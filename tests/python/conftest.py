"""Shared fixtures: the build's library and sandbox SDK, scenario files, clients.

CTest sets MORVANTA_LIBRARY and MORVANTA_SDK_PATH to the build's files and
runs the suite once per bridge mode (MORVANTA_BRIDGE_MODE).
"""
from __future__ import annotations

import asyncio
import importlib
import json
import os
import pathlib
import sys
import time
from typing import Any, Callable, Dict

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
HEADER = ROOT / "include" / "morvanta.h"
if "morvanta" not in sys.modules and not os.environ.get("MORVANTA_TEST_INSTALLED"):
    sys.path.insert(0, str(ROOT / "bindings" / "python"))

import morvanta  # noqa: E402

APP_KEY = "python-app-key-01"
ALICE = morvanta.LoginByPasswordOptions(username="alice", password="alice-password")


def load_file(name: str, path: pathlib.Path) -> Any:
    """Imports the script at `path` (a file outside the package) as module `name`."""
    assert path.stem == name, path
    sys.path.insert(0, str(path.parent))
    try:
        return importlib.import_module(name)
    finally:
        sys.path.remove(str(path.parent))


@pytest.fixture
def scenario(tmp_path: pathlib.Path, monkeypatch: pytest.MonkeyPatch) -> Callable[[Dict[str, Any]], None]:
    """Writes a sandbox scenario that the next Client entry loads."""
    def use(settings: Dict[str, Any]) -> None:
        path = tmp_path / "scenario.json"
        path.write_text(json.dumps(settings))
        monkeypatch.setenv("MORVANTA_SANDBOX_SCENARIO", str(path))
    return use


@pytest.fixture
def client(tmp_path: pathlib.Path) -> morvanta.Client:
    return morvanta.Client(APP_KEY, str(tmp_path))


async def until(condition: Callable[[], Any], timeout: float = 5.0) -> None:
    """Waits on the loop until `condition()` is true; fails after `timeout` s."""
    deadline = time.monotonic() + timeout
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError("condition not met in time")
        await asyncio.sleep(0.01)
