"""Conversion between Python records and their C layouts.

One generic converter, driven by each record's type hints and the ctypes
fields of its layout (``_cstructs.LAYOUTS``), so that a new record costs a
dataclass and a layout, nothing more. Python field names are the snake_case
of the C names (``frameRate`` -> ``frame_rate``, ``from`` -> ``from_``,
``operator_`` -> ``operator``).
"""
from __future__ import annotations

import ctypes
import dataclasses
import keyword
import re
import typing
from typing import Any, Callable, Dict, List, Optional, Tuple, Type, TypeVar

from ._cstructs import LAYOUTS, Layout

T = TypeVar("T")
_CAMEL = re.compile(r"(?<=[a-z0-9])(?=[A-Z])|(?<=[A-Z])(?=[A-Z][a-z])")


def snake(name: str) -> str:
    """``MuteMyAudio`` -> ``mute_my_audio``, ``EnableAIDenoise`` -> ``enable_ai_denoise``."""
    return _CAMEL.sub("_", name).lower()


def py_name(c_name: str) -> str:
    name = snake(c_name.rstrip("_"))  # C's own escape of a C++ keyword ("operator_") goes
    return name + "_" if keyword.iskeyword(name) else name


def text(value: Optional[bytes]) -> Optional[str]:
    return None if value is None else value.decode("utf-8", "replace")


# One field of a plan: (Python name, C name, kind, count field or None, nested record or None)
_Field = Tuple[str, str, str, Optional[str], Optional[type]]
_plans: Dict[type, List[_Field]] = {}


def _kind(hint: Any, ctype: Any) -> Tuple[str, Optional[type]]:
    origin, args = typing.get_origin(hint), typing.get_args(hint)
    optional = origin is typing.Union and type(None) in args
    if optional:
        hint = next(a for a in args if a is not type(None))
        origin, args = typing.get_origin(hint), typing.get_args(hint)
    if origin in (list, List):
        item = args[0]
        if item is str:
            return "str_list", None
        if item is int:
            return "int_list", None
        return "rec_list", item
    if hint is str:
        return ("opt_str" if optional else "str"), None
    if hint is bool:
        return ("tri" if optional else "flag"), None
    if hint is int:
        return ("opt_int" if optional else "int"), None
    if hint is float:
        return "float", None
    if hint is bytes:
        return "bytes", None
    if dataclasses.is_dataclass(hint):
        pointer = isinstance(ctype, type) and issubclass(ctype, ctypes._Pointer)
        return ("opt_rec" if pointer else "rec"), hint
    raise TypeError(f"no conversion for {hint!r}")


def plan(record: type) -> List[_Field]:
    found = _plans.get(record)
    if found is not None:
        return found
    layout = LAYOUTS[record]
    hints = typing.get_type_hints(record)
    counts = layout._counts_
    skipped = set(counts.values())
    result: List[_Field] = []
    for c_name, ctype in _c_fields(layout):
        if c_name in skipped:
            continue
        name = py_name(c_name)
        kind, nested = _kind(hints[name], ctype)
        result.append((name, c_name, kind, counts.get(c_name), nested))
    missing = set(hints) - {f[0] for f in result}
    if missing:
        raise TypeError(f"{record.__name__}: no C field for {sorted(missing)}")
    _plans[record] = result
    return result


def _c_fields(layout: Type[Layout]) -> List[Tuple[str, Any]]:
    return [(f[0], f[1]) for f in layout._fields_]


# ---- C -> Python ----

def from_c(record: Type[T], c: Any) -> T:
    values: Dict[str, Any] = {}
    for name, c_name, kind, count_field, nested in plan(record):
        raw = getattr(c, c_name)
        if kind == "str":
            values[name] = "" if raw is None else raw.decode("utf-8", "replace")
        elif kind == "opt_str":
            values[name] = text(raw)
        elif kind == "flag":
            values[name] = bool(raw)
        elif kind == "tri":
            values[name] = None if raw < 0 else bool(raw)
        elif kind in ("int", "opt_int", "float"):
            values[name] = raw
        elif kind == "bytes":
            size = getattr(c, count_field) if count_field else 0
            values[name] = ctypes.string_at(raw, size) if raw and size > 0 else b""
        elif kind in ("str_list", "int_list", "rec_list"):
            size = getattr(c, count_field) if count_field else 0
            values[name] = _array(raw, size, kind, nested)
        elif kind == "opt_rec":
            values[name] = from_c(nested, raw.contents) if raw else None  # type: ignore[arg-type]
        else:  # rec
            values[name] = from_c(nested, raw)  # type: ignore[arg-type]
    return record(**values)


def _array(pointer: Any, size: int, kind: str, nested: Optional[type]) -> List[Any]:
    if not pointer or size <= 0:
        return []
    if kind == "str_list":
        return [text(pointer[i]) or "" for i in range(size)]
    if kind == "int_list":
        return [int(pointer[i]) for i in range(size)]
    assert nested is not None
    return [from_c(nested, pointer[i]) for i in range(size)]


def list_from_c(record: Type[T], address: Optional[int], count: int) -> List[T]:
    """Records of an array the library handed over (NULL or a count of 0: empty)."""
    if not address or count <= 0:
        return []
    array: Any = ctypes.cast(address, ctypes.POINTER(LAYOUTS[record]))
    return [from_c(record, array[i]) for i in range(count)]


def one_from_c(record: Type[T], address: Optional[int]) -> Optional[T]:
    if not address:
        return None
    pointer: Any = ctypes.cast(address, ctypes.POINTER(LAYOUTS[record]))
    return from_c(record, pointer.contents)


# ---- Python -> C ----

def _bytes(value: Optional[str]) -> Optional[bytes]:
    if value is None:
        return None
    if not isinstance(value, str):
        raise TypeError(f"expected a string, got {type(value).__name__}")
    return value.encode("utf-8")


def _int(value: Any) -> int:
    if isinstance(value, bool) or not isinstance(value, int):
        raise TypeError(f"expected an integer, got {type(value).__name__}")
    return value


def to_c(value: Any, keep: List[Any]) -> Layout:
    """The C layout of a record; `keep` receives every buffer the layout points
    into, to be held until the C call has returned."""
    record = type(value)
    layout = LAYOUTS[record]
    c = layout()
    fields: Dict[str, Any] = dict(_c_fields(layout))
    for name, c_name, kind, count_field, nested in plan(record):
        v = getattr(value, name)
        if kind in ("str", "opt_str"):
            setattr(c, c_name, _bytes(v))
        elif kind in ("flag", "int"):
            setattr(c, c_name, int(v) if isinstance(v, bool) else _int(v))
        elif kind in ("tri", "opt_int"):
            setattr(c, c_name, -1 if v is None else (int(v) if isinstance(v, bool) else _int(v)))
        elif kind == "float":
            setattr(c, c_name, float(v))
        elif kind in ("str_list", "int_list", "rec_list", "bytes"):
            items = list(v or [])
            item_type = fields[c_name]._type_
            if kind == "str_list":
                converted: List[Any] = [_bytes(s) for s in items]
            elif kind == "int_list":
                converted = [_int(i) for i in items]
            elif kind == "bytes":
                converted = list(bytes(v))
            else:
                converted = [to_c(i, keep) for i in items]
            if converted:
                array = (item_type * len(converted))(*converted)
                keep.append(array)
                setattr(c, c_name, ctypes.cast(array, fields[c_name]))
            if count_field:
                setattr(c, count_field, len(converted))
        elif kind == "opt_rec":
            if v is not None:
                inner = to_c(v, keep)
                keep.append(inner)
                setattr(c, c_name, ctypes.pointer(inner))
        else:  # rec
            setattr(c, c_name, to_c(v, keep))
    return c


def coerce(record: Type[T], value: Any) -> T:
    """A record from itself or from a mapping of its fields."""
    if isinstance(value, record):
        return value
    if isinstance(value, typing.Mapping):
        return record(**value)
    raise TypeError(f"expected {record.__name__} or a mapping of its fields, got {type(value).__name__}")


Converter = Callable[[Any], Any]
