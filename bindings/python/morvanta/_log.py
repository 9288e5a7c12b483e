"""The library's log lines, given to Python's ``logging`` (logger ``morvanta``).

Routing starts when a Client is entered, unless ``route_log(False)`` was
called. The library is told the logger's level, so lines nobody would see are
not even formatted. The handler runs on whichever thread the library logs
from; ``logging`` is thread-safe. At interpreter exit the lines go back to the
standard streams, since the library may still log while the process ends.
"""
from __future__ import annotations

import atexit
import ctypes
import logging
import os
import typing
from typing import Any, Optional

logger = logging.getLogger("morvanta")

LOG_DEBUG, LOG_INFO, LOG_WARNING, LOG_ERROR, LOG_OFF = range(5)
_TO_PYTHON = {LOG_DEBUG: logging.DEBUG, LOG_INFO: logging.INFO, LOG_WARNING: logging.WARNING,
              LOG_ERROR: logging.ERROR}

LogHandler = ctypes.CFUNCTYPE(None, ctypes.c_int32, ctypes.c_char_p, ctypes.c_void_p)

_wanted = True
_installed_in: Optional[ctypes.CDLL] = None


def _on_line(level: int, line: Optional[bytes], user_data: Optional[int]) -> None:
    try:
        logger.log(_TO_PYTHON.get(level, logging.INFO), "%s", (line or b"").decode("utf-8", "replace"))
    except Exception:  # nothing may escape into the library's thread
        pass


_handler = LogHandler(_on_line)  # lives as long as the process
_NULL_HANDLER: Any = typing.cast(Any, LogHandler)()


def library_level() -> int:
    """The library's level matching what the logger lets through."""
    for ours, theirs in sorted(_TO_PYTHON.items()):
        if logger.isEnabledFor(theirs):
            return ours
    return LOG_OFF


def route_log(to_logging: bool = True) -> None:
    """Sends the library's lines to the ``morvanta`` logger (the default) or
    leaves them on standard output and error (``False``). Takes effect at the
    next Client entry, or at once when a Client is active."""
    global _wanted
    _wanted = to_logging
    if _installed_in is not None and not to_logging:
        _installed_in.Morvanta_SetLogLevel(_environment_level())
        _restore()


def install(lib: ctypes.CDLL) -> None:
    global _installed_in
    if not _wanted:
        return
    lib.Morvanta_SetLogLevel(library_level())
    if _installed_in is None:
        lib.Morvanta_SetLogHandler(_handler, None)
        _installed_in = lib


def _environment_level() -> int:
    names = {"debug": LOG_DEBUG, "info": LOG_INFO, "warning": LOG_WARNING, "error": LOG_ERROR, "off": LOG_OFF}
    return names.get(os.environ.get("MORVANTA_LOG_LEVEL", "").strip().lower(), LOG_DEBUG)


def _restore() -> None:
    """The standard streams again. At exit the level stays the logger's, so
    the lines of the process's end that logging would not have shown stay
    quiet."""
    global _installed_in
    if _installed_in is not None:
        _installed_in.Morvanta_SetLogHandler(_NULL_HANDLER, None)
        _installed_in = None


atexit.register(_restore)
