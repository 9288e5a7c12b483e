"""Finding and loading libmorvanta.

In order: the file named by the environment variable ``MORVANTA_LIBRARY``,
the ``libdir`` that pkg-config gives for ``morvanta``, then the dynamic
loader's own search (``libmorvanta.so.0``, ``libmorvanta.so``).
"""
from __future__ import annotations

import ctypes
import os
import shutil
import subprocess
from typing import List, Optional, Tuple

_NAMES = ("libmorvanta.so.0", "libmorvanta.so")
_loaded: Optional[ctypes.CDLL] = None


class LibraryNotFound(OSError):
    pass


def _pkg_config_libdir() -> Tuple[Optional[str], str]:
    tool = shutil.which("pkg-config")
    if tool is None:
        return None, "pkg-config is not installed"
    try:
        done = subprocess.run([tool, "--variable=libdir", "morvanta"], capture_output=True, text=True, timeout=10)
    except (OSError, subprocess.SubprocessError) as e:
        return None, f"pkg-config failed: {e}"
    libdir = done.stdout.strip()
    if done.returncode != 0 or not libdir:
        return None, "pkg-config knows no package morvanta"
    return libdir, ""


def candidates() -> List[Tuple[str, Optional[str], str]]:
    """(how, path or None, why not) for each place searched, in order."""
    found: List[Tuple[str, Optional[str], str]] = []
    named = os.environ.get("MORVANTA_LIBRARY")
    found.append(("the environment variable MORVANTA_LIBRARY", named or None, "" if named else "not set"))
    libdir, why = _pkg_config_libdir()
    found.append(("pkg-config's libdir for morvanta",
                  os.path.join(libdir, _NAMES[0]) if libdir else None, why))
    for name in _NAMES:
        found.append(("the dynamic loader's search", name, ""))
    return found


def load() -> ctypes.CDLL:
    """The library, loaded once per process; LibraryNotFound names every place tried."""
    global _loaded
    if _loaded is not None:
        return _loaded
    tried: List[str] = []
    for how, path, why in candidates():
        if path is None:
            tried.append(f"{how}: {why}")
            continue
        try:
            _loaded = ctypes.CDLL(path)
            return _loaded
        except OSError as e:
            tried.append(f"{how}: {path}: {e}")
    raise LibraryNotFound("libmorvanta could not be loaded; tried\n  " + "\n  ".join(tried))
