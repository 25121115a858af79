"""What _native.py declares is what the headers declare: a compiler compares both."""
import ctypes
import os
import pathlib
import re
import shutil
import subprocess
import sys
from typing import Any, Iterator, Tuple

import pytest

from velnor3gpp import _native as native

ROOT = pathlib.Path(__file__).parents[2]
HEADERS = ("velnor3gpp", "velnor3gppJson", "velnor3gppCapture")
FOLDERS = [ROOT / "include", ROOT / "json/include"]
PLAIN = {
    None: "void",
    ctypes.c_int: "int",
    ctypes.c_uint: "unsigned",
    ctypes.c_uint32: "uint32_t",
    ctypes.c_size_t: "size_t",
    ctypes.c_char_p: "const char*",
    ctypes.c_void_p: "void*",
}
# Handles that are only looked at, and records that are only read.
CONST = {
    ("velnor3gpp_getKeys", 0),
    ("velnor3gpp_setKeys", 1),
    ("velnor3gpp_captureCounts", 0),
    ("velnor3gpp_decodeMany", 2),
}


def c_type(declared: Any) -> str:
    if isinstance(declared, type) and hasattr(declared, "C"):
        return str(declared.C)
    if declared in PLAIN:
        return PLAIN[declared]
    inner = declared._type_
    if inner in (ctypes.c_char, ctypes.c_uint8):  # characters and octets that the library hands out
        return "const char*" if inner is ctypes.c_char else "const uint8_t*"
    return c_type(inner) + "*"


def parameter(function: str, place: int, declared: Any) -> str:
    return ("const " if (function, place) in CONST else "") + c_type(declared)


def prototypes() -> Iterator[str]:
    for name, (returns, *takes) in {**native.CORE, **native.JSON}.items():
        arguments = ", ".join(parameter(name, place, declared) for place, declared in enumerate(takes))
        yield f"{c_type(returns)} (*const check_{name})({arguments or 'void'}) = {name};"


def layouts() -> Iterator[str]:
    records: Tuple[Any, ...] = native.RECORDS
    for record in records:
        yield f'_Static_assert(sizeof({record.C}) == {ctypes.sizeof(record)}, "{record.C}");'
        for name, *_ in record._fields_:
            member = getattr(record, name)
            held = f"{record.C}, {name}"
            yield f'_Static_assert(offsetof({held}) == {member.offset}, "{held}");'
            yield f'_Static_assert(sizeof((({record.C}*)0)->{name}) == {member.size}, "{held}");'


def constants() -> Iterator[str]:
    for mine, its in {
        "END_OF_BUFFER": "RTX_E_END_OF_BUFFER",
        "MISSING_ELEMENT": "RTX_E_MISSING_ELEMENT",
        "BAD_HEX": "RTX_E_BAD_HEX",
        "BAD_VALUE": "RTX_E_BAD_VALUE",
        "NO_SECURITY": "RTX_E_NO_SECURITY",
        "NO_TYPE": "RTX_E_NO_PDU_TYPE",
        "NAMES": "VELNOR3GPP_NAMES",
        "POSITIONS": "VELNOR3GPP_POSITIONS",
        "OPTION_KEEP": "VELNOR3GPP_OPTION_KEEP",
        "OPTION_STANDARD": "VELNOR3GPP_OPTION_STANDARD",
        "CAPTURE_END": "VELNOR3GPP_CAPTURE_END",
        "CAPTURE_FRAME": "VELNOR3GPP_CAPTURE_FRAME",
        "CAPTURE_MORE": "VELNOR3GPP_CAPTURE_MORE",
        "CAPTURE_REASONS": "VELNOR3GPP_CAPTURE_REASONS",
        "HAS_ADDRESSES": "VELNOR3GPP_CAPTURE_HAS_ADDRESSES",
        "HAS_RADIO": "VELNOR3GPP_CAPTURE_HAS_RADIO",
    }.items():
        yield f'_Static_assert({its} == {getattr(native, mine)}, "{its}");'


def compile_c(lines: Iterator[str]) -> str:
    compiler = shutil.which(os.environ.get("CC", "cc"))
    if not compiler:
        pytest.skip("there is no compiler")
    text = "#include <stddef.h>\n" + "".join(f"#include <velnor3gpp/{header}.h>\n" for header in HEADERS)
    text += "\n".join(lines) + "\n"
    words = [compiler, "-std=c11", "-Wall", "-Werror", "-fsyntax-only", "-x", "c", "-"]
    done = subprocess.run(words + [f"-I{folder}" for folder in FOLDERS], input=text, stderr=subprocess.PIPE, text=True)
    return done.stderr


@pytest.mark.parametrize("lines", [prototypes, layouts, constants])
def test_declarations_are_those_of_the_headers(lines: Any) -> None:
    assert compile_c(lines()) == ""


def test_a_wrong_declaration_is_seen(monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setitem(native.CORE, "velnor3gpp_redact", (ctypes.c_int, native.Type))
    assert "velnor3gpp_Type" in compile_c(prototypes())


def test_the_library_is_the_one_of_this_source() -> None:
    version = re.search(r"project\(velnor3gpp VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text())
    project = re.search(r'version = "(.*)"', (ROOT / "python/pyproject.toml").read_text())
    assert version and project
    assert native.c.version().decode() == version.group(1) == project.group(1)
    assert version.group(1).startswith(native.INTERFACE + ".")


def test_missing_and_other_libraries_are_told(tmp_path: pathlib.Path) -> None:
    def words() -> str:
        room = {**os.environ, "VELNOR3GPP_LIBRARIES": str(tmp_path)}
        done = subprocess.run([sys.executable, "-c", "import velnor3gpp"], stderr=subprocess.PIPE, text=True, env=room)
        return done.stderr.splitlines()[-1]

    assert "ImportError" in words() and "install libvelnor3gpp0.1" in words()
    core = pathlib.Path(os.environ.get("VELNOR3GPP_LIBRARIES", "/nonexistent")) / "libvelnor3gpp.so.0.1"
    if not core.exists():
        pytest.skip("the libraries are installed")
    for name in ("libvelnor3gpp", "libvelnor3gpp_json"):  # the second has no function that it should have
        (tmp_path / f"{name}.so.0.1").symlink_to(core.resolve())
    assert "ImportError" in words() and "velnor3gpp_toJson" in words() and "install libvelnor3gpp0.1" in words()
