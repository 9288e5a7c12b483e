"""Argument kinds of the C operations: how a Python value becomes C arguments.

Each kind names its parameter, the ctypes it contributes to the C call (a
string list contributes the array and its count), the Python annotation and
default shown in the method's signature, and the conversion. A value the C
interface would refuse raises ``ArgumentError`` before anything is sent.
"""
from __future__ import annotations

import ctypes
from ctypes import POINTER, c_char_p, c_int32, c_int64, c_uint32, c_void_p
from dataclasses import dataclass
from typing import Any, List, Optional, Tuple

from . import records as r
from ._convert import coerce, to_c
from .errors import ArgumentError

REQUIRED: Any = object()


@dataclass(frozen=True)
class Param:
    name: str
    kind: str                       # see _CONVERT
    record: Optional[type] = None   # for "record"
    optional: bool = False          # None accepted (sent as NULL / not set)

    @property
    def ctypes(self) -> Tuple[Any, ...]:
        return _CTYPES[self.kind]

    @property
    def default(self) -> Any:
        return None if self.optional else REQUIRED

    @property
    def annotation(self) -> str:
        base = self.record.__name__ if self.record else _ANNOTATIONS[self.kind]
        return f"Optional[{base}]" if self.optional else base

    def convert(self, value: Any, keep: List[Any]) -> Tuple[Any, ...]:
        if value is None:
            if not self.optional:
                raise ArgumentError(f"{self.name} is required")
            return _NONE[self.kind]
        try:
            converted: Tuple[Any, ...] = _CONVERT[self.kind](self, value, keep)
            return converted
        except (TypeError, ValueError, OverflowError) as e:
            raise ArgumentError(f"{self.name}: {e}") from None


def _int_in(low: int, high: int) -> Any:
    def convert(p: Param, v: Any, keep: List[Any]) -> Tuple[Any, ...]:
        if isinstance(v, bool) or not isinstance(v, int):
            raise TypeError(f"expected an integer, got {type(v).__name__}")
        if not low <= v <= high:
            raise ValueError(f"{v} is outside {low}..{high}")
        return (v,)
    return convert


def _text(p: Param, v: Any, keep: List[Any]) -> Tuple[Any, ...]:
    if not isinstance(v, str):
        raise TypeError(f"expected a string, got {type(v).__name__}")
    return (v.encode("utf-8"),)


def _flag(p: Param, v: Any, keep: List[Any]) -> Tuple[Any, ...]:
    if not isinstance(v, (bool, int)):
        raise TypeError(f"expected a bool, got {type(v).__name__}")
    return (1 if v else 0,)


def _strings(p: Param, v: Any, keep: List[Any]) -> Tuple[Any, ...]:
    if isinstance(v, (str, bytes)) or not hasattr(v, "__iter__"):
        raise TypeError("expected a list of strings")
    items = [_text(p, s, keep)[0] for s in v]
    array = (c_char_p * max(len(items), 1))(*items)
    keep.append(array)
    return (ctypes.cast(array, POINTER(c_char_p)), len(items))


def _record(p: Param, v: Any, keep: List[Any]) -> Tuple[Any, ...]:
    assert p.record is not None
    c = to_c(coerce(p.record, v), keep)
    keep.append(c)
    return (ctypes.addressof(c),)


def _view(p: Param, v: Any, keep: List[Any]) -> Tuple[Any, ...]:
    if isinstance(v, bool) or not isinstance(v, int) or not 0 <= v < 2 ** 64:
        raise TypeError("expected a native window handle (an unsigned 64-bit integer)")
    return (v,)


I32, U32, I64 = (-2 ** 31, 2 ** 31 - 1), (0, 2 ** 32 - 1), (-2 ** 63, 2 ** 63 - 1)
_CONVERT = {
    "str": _text, "i32": _int_in(*I32), "u32": _int_in(*U32), "i64": _int_in(*I64), "flag": _flag,
    "tri": lambda p, v, keep: _flag(p, v, keep), "strings": _strings, "record": _record, "view": _view,
}
_NONE = {"str": (None,), "tri": (-1,), "record": (None,), "view": (None,), "i32": (-1,), "i64": (-1,)}
_CTYPES = {
    "str": (c_char_p,), "i32": (c_int32,), "u32": (c_uint32,), "i64": (c_int64,), "flag": (c_int32,),
    "tri": (c_int32,), "strings": (POINTER(c_char_p), c_int32), "record": (c_void_p,), "view": (c_void_p,),
}
_ANNOTATIONS = {"str": "str", "i32": "int", "u32": "int", "i64": "int", "flag": "bool", "tri": "bool",
                "strings": "List[str]", "record": "", "view": "int"}


def text(name: str, optional: bool = False) -> Param:
    return Param(name, "str", optional=optional)


def i32(name: str) -> Param:
    return Param(name, "i32")


def u32(name: str) -> Param:
    return Param(name, "u32")


def i64(name: str) -> Param:
    return Param(name, "i64")


def flag(name: str) -> Param:
    return Param(name, "flag")


def tri(name: str) -> Param:
    return Param(name, "tri", optional=True)


def strings(name: str) -> Param:
    return Param(name, "strings")


def view(name: str) -> Param:
    return Param(name, "view", optional=True)


def record(name: str, kind: type, optional: bool = False) -> Param:
    return Param(name, "record", kind, optional)


def message(name: str = "message") -> Param:
    return record(name, r.ChatMessage)


__all__ = ["Param", "REQUIRED", "text", "i32", "u32", "i64", "flag", "tri", "strings", "view", "record", "message"]
