"""The operation table against the C header: every export is reached or
deliberately left out, and every row's arguments and outcome match the C
prototype (a wrong row would hand the library wrongly typed arguments)."""
from __future__ import annotations

import pathlib
import re
from typing import Dict, List, Tuple

from conftest import HEADER

from morvanta import _binding, _calls, _channels, _table
from morvanta._convert import snake

# Exports the package does not call, and why.
NOT_WRAPPED = {
    "Morvanta_DestroySDKHandle": "does nothing: the library owns the SDK handle",
    "Morvanta_IsInitialized": "a Client knows whether it is entered",
    "Morvanta_GetBridgeMode": "Client.bridge_mode is what the next entry asks for",
    "Morvanta_GetDispatchMode": "a Client chooses host dispatch itself (Client.host_dispatch)",
}

_PROTOTYPE = re.compile(r"MORVANTA_API\s+[\w\s\*]+?\b(Morvanta_\w+)\s*\(([^;]*?)\)\s*;", re.S)


def exports() -> Dict[str, List[str]]:
    """Every exported function of the header with its parameter texts."""
    text = re.sub(r"/\*.*?\*/", "", HEADER.read_text(), flags=re.S)
    found = {}
    for name, params in _PROTOTYPE.findall(text):
        found[name] = [" ".join(p.split()) for p in re.split(r",(?![^(]*\))", params) if p.strip() not in ("", "void")]
    return found


def reached() -> Dict[str, str]:
    """The C functions the package binds, with where."""
    names = {op.c_name: "operation" for op in _table.OPERATIONS}
    names.update({n: "lifecycle" for n in list(_binding._OTHERS) + list(_binding._DISPATCH)})
    names.update({f.free: "payload release" for f in _calls.FAMILIES.values() if f.free})
    for channel in _channels.CHANNELS.values():
        names.update({channel.add: "listener", channel.remove: "listener"})
    for family in _table.MANAGERS:
        names.update({f"Morvanta_Get{family}Manager": "handle", f"Morvanta_Destroy{family}ManagerHandle": "handle"})
    return names


def test_every_export_is_reached_or_left_out_with_a_reason() -> None:
    header, bound = set(exports()), set(reached())
    assert len(header) > 140
    assert header - bound - set(NOT_WRAPPED) == set()
    assert set(NOT_WRAPPED) & bound == set(), "listed as not wrapped but bound"
    assert set(NOT_WRAPPED) <= header
    # Nothing is bound that the header does not declare (a typo would only fail at load).
    assert bound - header == set()


# The C type of each argument kind, and of each payload family's callback.
_KINDS = {"str": ("const char*",), "i32": ("int32_t", "int"), "u32": ("uint32_t",), "i64": ("int64_t",),
          "flag": ("int32_t", "int"), "tri": ("int32_t", "int"), "view": ("void*",),
          "strings": ("const char**", "int32_t")}
_FAMILY_TYPES = {
    "plain": ("MorvantaCallback", "void (*callback)(int, const char*, void*)"),
    "string": ("MorvantaStringCallback",), "integer": ("MorvantaIntegerCallback",),
    "device_list": ("MorvantaDeviceListCallback",),
    "account_info": ("MorvantaAccountInfoCallback", "void (*callback)(int, const char*, MorvantaAccountInfo*, void*)"),
    "account_list": ("MorvantaAccountListCallback",), "chat_message": ("MorvantaChatMessageCallback",),
    "chatroom_permission": ("MorvantaChatroomPermissionCallback",),
    "screen_source_list": ("MorvantaScreenCaptureSourceListCallback",),
    "pre_meeting_info": ("MorvantaPreMeetingInfoCallback",), "meeting_list": ("MorvantaMeetingListCallback",),
    "scheduled_member_list": ("MorvantaScheduledMemberListCallback",),
    "waiting_room_member_list": ("MorvantaWaitingRoomMemberListCallback",),
}


def _type_of(param: str) -> str:
    if "(*" in param:
        return param.replace(" (*callback)", " (*callback)")
    return re.sub(r"\s*\*\s*", "*", param.rsplit(" ", 1)[0].replace(" *", "*")).strip()


def _split(param: str) -> Tuple[str, str]:
    if "(*" in param:
        return param, "callback"
    kind, name = param.rsplit(" ", 1)
    stars = len(name) - len(name.lstrip("*"))
    return (kind + "*" * stars).replace(" *", "*"), name.lstrip("*")


def test_every_row_matches_its_prototype() -> None:
    prototypes = exports()
    for op in _table.OPERATIONS:
        params = [_split(p) for p in prototypes[op.c_name]]
        assert params[0][0].endswith("Manager_T*"), op.c_name
        params = params[1:]
        if op.outcome not in (_table.QUERY, _table.SENT):
            assert params[-1] == ("void*", "user_data"), op.c_name
            assert params[-2][0] in _FAMILY_TYPES[op.outcome], (op.c_name, params[-2])
            params = params[:-2]
        elif op.outcome == _table.QUERY:
            assert all(name.startswith("out_") for _, name in params), op.c_name
            assert len(params) == len(_binding.QUERY_OUT[op.c_name]), op.c_name
            params = []
        expected: List[Tuple[str, str]] = []
        for p in op.params:
            if p.kind == "record":
                assert p.record is not None
                expected.append((f"const Morvanta{p.record.__name__}*", p.name))
            else:
                expected.append((_KINDS[p.kind][0], p.name))
        got = [(kind, name) for kind, name in params]
        for (want_kind, want_name), (kind, name) in zip(expected, got):
            param = next(x for x in op.params if x.name == want_name)
            allowed = _KINDS.get(param.kind, (want_kind,))
            assert name == want_name or (param.kind == "strings"), (op.c_name, name, want_name)
            assert kind in allowed or kind == want_kind, (op.c_name, name, kind, allowed)
        width = sum(len(p.ctypes) for p in op.params)
        assert width == len(got), (op.c_name, got)


def test_method_names_are_the_snake_case_of_the_operations() -> None:
    assert snake("MuteMyAudio") == "mute_my_audio"
    assert snake("EnableAIDenoise") == "enable_ai_denoise"
    assert snake("GetMeetingInfoByMeetingNum") == "get_meeting_info_by_meeting_num"
    from morvanta._managers import MANAGER_CLASSES
    for op in _table.OPERATIONS:
        method = getattr(MANAGER_CLASSES[op.family], snake(op.name))
        assert method.__doc__ == f"Awaits {op.c_name}."
    counts = {family: sum(1 for op in _table.OPERATIONS if op.family == family) for family in _table.MANAGERS}
    assert sum(counts.values()) == len({op.c_name for op in _table.OPERATIONS}) == len(_table.OPERATIONS)


def test_typed_face_is_current_and_matches_the_methods() -> None:
    import inspect

    from conftest import ROOT, load_file

    from morvanta import _api
    from morvanta._managers import MANAGER_CLASSES
    render = load_file("render_api", ROOT / "bindings/python/tools/render_api.py")
    assert pathlib.Path(_api.__file__).read_text() == render.render(), "run bindings/python/tools/render_api.py"
    for family, runtime in MANAGER_CLASSES.items():
        typed = getattr(_api, f"{family}Manager")
        names = {n for n in vars(typed) if not n.startswith("_")}
        assert names == {n for n in vars(runtime) if not n.startswith("_") and n != "family"}, family
        for name in names:
            assert list(inspect.signature(getattr(typed, name)).parameters) == \
                list(inspect.signature(getattr(runtime, name)).parameters), (family, name)
