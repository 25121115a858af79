"""The C interface, declared for ctypes: records, prototypes, and the two shared libraries.

Nothing outside this file knows how the library is called. Each declaration says which C type it stands for (`C`), so
that a compiler can hold all of them against the headers (tests/test_native.py does). Texts and octets that the library
hands out are valid until the next call for their session, so callers copy them at once.
"""
from __future__ import annotations

import ctypes
import os
from ctypes import POINTER, c_char_p, c_int, c_size_t, c_uint, c_uint8, c_uint16, c_uint32, c_uint64, c_void_p
from typing import Any, Dict, Tuple

# Before 1.0 each minor version has a library of its own name, since records may change their size.
INTERFACE = "0.1"
NOT_KNOWN = ctypes.c_size_t(-1).value  # SIZE_MAX

END_OF_BUFFER, MISSING_ELEMENT, BAD_HEX, BAD_VALUE, NO_SECURITY, NO_TYPE = -2, -6, -11, -14, -71, -113
NAMES, POSITIONS = 1, 2
OPTION_KEEP, OPTION_STANDARD = 1, 2
CAPTURE_END, CAPTURE_FRAME, CAPTURE_MORE = 0, 1, 2
CAPTURE_REASONS = 12
HAS_ADDRESSES, HAS_RADIO = 1, 2


class Type(c_void_p):
    C = "const velnor3gpp_Type*"


class Session(c_void_p):
    C = "velnor3gpp_Session*"


class ReadFunc(c_void_p):
    C = "velnor3gpp_CaptureReadFunc"


class CaptureReader(c_void_p):
    C = "velnor3gpp_CaptureReader*"


class OctetsIn(c_char_p):
    """Octets that the library reads during the call: takes `bytes`, with zeros among them."""

    C = "const uint8_t*"


class Direction(c_uint):
    C = "velnor3gpp_Direction"


class Option(c_uint):
    C = "velnor3gpp_Option"


class CaptureReason(c_uint):
    C = "velnor3gpp_CaptureReason"


class Sized(ctypes.Structure):
    """A record that begins with its own size, which tells the library how many members its caller knows. Members that
    are read for each message have types that ctypes hands out as `int`."""

    def __init__(self) -> None:
        super().__init__()
        self.size = ctypes.sizeof(self)


class TypeFacts(Sized):
    C = "velnor3gpp_TypeFacts"
    _fields_ = [
        ("size", c_size_t),
        ("name", c_char_p),
        ("shortName", c_char_p),
        ("title", c_char_p),
        ("clause", c_char_p),
        ("module", c_char_p),
        ("use", c_uint),
        ("messageType", c_int),
        ("direction", c_uint),
        ("decodes", c_int),
        ("encodes", c_int),
        ("release", c_int),
    ]


class Keys(Sized):
    C = "velnor3gpp_Keys"
    _fields_ = [
        ("size", c_size_t),
        ("integrityKey", c_uint8 * 16),
        ("cipherKey", c_uint8 * 16),
        ("integrityAlgorithm", c_uint32),
        ("cipherAlgorithm", c_uint32),
        ("bearer", c_int),
        ("uplinkCount", c_uint32),
        ("downlinkCount", c_uint32),
        ("window", c_uint32),
    ]


class Finding(Sized):
    C = "velnor3gpp_Finding"
    _fields_ = [
        ("size", c_size_t),
        ("status", c_int),
        ("fatal", c_int),
        ("text", c_char_p),
        ("path", c_char_p),
        ("octet", c_size_t),
        ("bit", c_int),
        ("clause", c_char_p),
        ("definition", c_char_p),
        ("line", c_int),
    ]


class Octets(ctypes.Structure):
    C = "velnor3gpp_Octets"
    _fields_ = [("octets", OctetsIn), ("count", c_size_t), ("direction", Direction)]


class CaptureConnection(ctypes.Structure):
    C = "velnor3gpp_CaptureConnection"
    _fields_ = [
        ("has", c_uint),
        ("addressSize", c_uint32),
        ("source", c_uint8 * 16),
        ("destination", c_uint8 * 16),
        ("sourcePort", c_uint16),
        ("destinationPort", c_uint16),
        ("arfcn", c_uint16),
        ("timeslot", c_uint8),
        ("subslot", c_uint8),
        ("interfaceNumber", c_uint32),
    ]


class CaptureComment(ctypes.Structure):
    C = "velnor3gpp_CaptureComment"
    _fields_ = [("text", c_void_p), ("count", c_size_t)]


class CaptureFrame(Sized):
    C = "velnor3gpp_CaptureFrame"
    _fields_ = [
        ("size", c_size_t),
        ("reason", c_uint),
        ("frame", c_uint64),
        ("time", c_uint64),
        ("hasTime", c_int),
        ("linkType", c_uint32),
        ("direction", c_uint),
        ("channel", c_uint),
        ("dissector", c_char_p),
        ("type", c_void_p),
        ("octets", c_void_p),
        ("count", c_size_t),
        ("frameOctets", c_void_p),
        ("frameCount", c_size_t),
        ("originalCount", c_size_t),
        ("connection", CaptureConnection),
        ("commentCount", c_size_t),
        ("comments", CaptureComment * 8),
    ]


class CaptureCounts(Sized):
    C = "velnor3gpp_CaptureCounts"
    _fields_ = [
        ("size", c_size_t),
        ("octets", c_uint64),
        ("frames", c_uint64),
        ("reasons", c_uint64 * CAPTURE_REASONS),
    ]


RECORDS = (TypeFacts, Keys, Finding, Octets, CaptureConnection, CaptureComment, CaptureFrame, CaptureCounts)

_text, _count = POINTER(POINTER(ctypes.c_char)), POINTER(c_size_t)
# What each function returns, and what it takes.
CORE: Dict[str, Tuple[Any, ...]] = {
    "velnor3gpp_version": (c_char_p,),
    "velnor3gpp_statusText": (c_char_p, c_int),
    "velnor3gpp_typeCount": (c_size_t,),
    "velnor3gpp_typeAt": (Type, c_size_t),
    "velnor3gpp_typeByName": (Type, c_char_p, _count),
    "velnor3gpp_typeFacts": (c_int, Type, POINTER(TypeFacts)),
    "velnor3gpp_open": (c_int, POINTER(Session)),
    "velnor3gpp_close": (None, Session),
    "velnor3gpp_setKeys": (c_int, Session, POINTER(Keys)),
    "velnor3gpp_getKeys": (c_int, Session, POINTER(Keys)),
    "velnor3gpp_setOption": (c_int, Session, Option, c_uint32),
    "velnor3gpp_decode": (c_int, Session, Type, Direction, OctetsIn, c_size_t),
    "velnor3gpp_encode": (c_int, Session, POINTER(POINTER(c_uint8)), _count),
    "velnor3gpp_finding": (c_int, Session, c_size_t, POINTER(Finding)),
    "velnor3gpp_redact": (c_int, Session),
    "velnor3gpp_pseudonymise": (c_int, Session, OctetsIn),
    "velnor3gpp_captureOpen": (c_int, POINTER(CaptureReader), ReadFunc, c_void_p),
    "velnor3gpp_captureClose": (None, CaptureReader),
    "velnor3gpp_captureMap": (c_int, CaptureReader, c_uint32, c_char_p),
    "velnor3gpp_captureFeed": (c_int, CaptureReader, OctetsIn, c_size_t),
    "velnor3gpp_captureNext": (c_int, CaptureReader, POINTER(CaptureFrame)),
    "velnor3gpp_captureCounts": (c_int, CaptureReader, POINTER(CaptureCounts)),
    "velnor3gpp_captureReasonText": (c_char_p, CaptureReason),
    "velnor3gpp_isCapture": (c_int, OctetsIn, c_size_t),
}
JSON: Dict[str, Tuple[Any, ...]] = {
    "velnor3gpp_toJson": (c_int, Session, c_uint, _text, _count),
    "velnor3gpp_fromJson": (c_int, Session, Type, c_char_p, c_size_t),
    "velnor3gpp_decodeMany": (c_int, Session, Type, POINTER(Octets), c_size_t, c_uint, _text, _count),
    "velnor3gpp_schema": (c_int, Session, Type, _text, _count),
}


_HINT = f"install libvelnor3gpp{INTERFACE}, or name the folder that has it in VELNOR3GPP_LIBRARIES"


def _load(name: str) -> ctypes.CDLL:
    """A shared library: from the folder that VELNOR3GPP_LIBRARIES names, or from where the system finds libraries."""
    file = f"{name}.so.{INTERFACE}"
    folder = os.environ.get("VELNOR3GPP_LIBRARIES")
    try:
        return ctypes.CDLL(os.path.join(folder, file) if folder else file)
    except OSError as error:
        raise ImportError(f"{error} ({_HINT})") from error


class _Functions:
    """The functions that are declared above, and no other: an undeclared one would take what it is given for `int`."""

    def __init__(self) -> None:
        for name, table in (("libvelnor3gpp", CORE), ("libvelnor3gpp_json", JSON)):
            library = _load(name)
            for function, (returns, *takes) in table.items():
                try:
                    found = getattr(library, function)
                except AttributeError as error:
                    raise ImportError(f"{error} (another version; {_HINT})") from error
                found.restype, found.argtypes = returns, takes
                setattr(self, function[len("velnor3gpp_") :], found)

    def __getattr__(self, name: str) -> Any:
        raise AttributeError(f"velnor3gpp_{name} is not declared")


c = _Functions()
