"""Sessions of the library. One serves one thread at a time; single calls share one for each thread."""
from __future__ import annotations

import ctypes
import functools
import struct
import threading
from contextlib import contextmanager
from dataclasses import dataclass
from typing import Iterator, Optional, Sequence

from . import _native as native
from ._message import VelnorError
from ._native import c

DIRECTIONS = {None: 0, "up": 1, "down": 2}
DIRECTION_NAMES = (None, "up", "down")
# What the numbers of keys can be. A count has 24 bits (TS 24.501, 4.4.3.1), and one more tells that all are used up.
_NUMBERS = {
    "integrity_algorithm": (0, 2),
    "cipher_algorithm": (0, 2),
    "bearer": range(-1, 32),
    "uplink_count": range((1 << 24) + 1),
    "downlink_count": range((1 << 24) + 1),
    "window": range(1 << 32),
}
# An entry of native.Octets: a pointer, a size and a direction, and the room behind them that aligns the next one.
_ENTRY = struct.Struct("@PNI0P")


@dataclass
class Keys:
    """Keys and counts of one NAS connection. The counts go on with each message that is verified under them, so
    that one object serves one connection from its first message to its last. Encoding takes the count of its direction
    and leaves it: add one for each message that is sent, since a count used twice lays ciphered octets open."""

    integrity_key: bytes = bytes(16)
    cipher_key: bytes = bytes(16)
    integrity_algorithm: int = 2  #: 0 null, 2 AES (128-EIA2, 128-NIA2)
    cipher_algorithm: int = 2  #: 0 null, 2 AES (128-EEA2, 128-NEA2)
    bearer: int = -1  #: 0 to 31, or -1: 1 for 5GS, 0 for EPS
    uplink_count: int = 0  #: the lowest count of the next message from the mobile
    downlink_count: int = 0  #: the lowest count of the next message to it
    window: int = 0  #: how far behind the next count one may lie

    def __repr__(self) -> str:
        return f"<Keys, counts {self.uplink_count} up, {self.downlink_count} down>"  # and never the keys

    def _native(self) -> native.Keys:
        keys = native.Keys()
        for name, key in (("integrityKey", self.integrity_key), ("cipherKey", self.cipher_key)):
            if len(key) != 16:
                raise VelnorError(native.BAD_VALUE, name, text=f"a key has 16 octets, this one {len(key)}")
            getattr(keys, name)[:] = key
        for name, numbers in _NUMBERS.items():
            number = getattr(self, name)
            if number not in numbers:
                least, most = numbers[0], numbers[-1]
                takes = f"{least} to {most}" if isinstance(numbers, range) else f"{least} (null) and {most} (AES)"
                raise VelnorError(native.BAD_VALUE, name, text=f"is {number!r}; it takes {takes}")
        keys.integrityAlgorithm, keys.cipherAlgorithm = self.integrity_algorithm, self.cipher_algorithm
        keys.bearer, keys.window = self.bearer, self.window
        keys.uplinkCount, keys.downlinkCount = self.uplink_count, self.downlink_count
        return keys


def direction(dir: Optional[str]) -> int:
    if dir not in DIRECTIONS:
        raise VelnorError(native.BAD_VALUE, "dir", text=f"a direction is 'up', 'down' or None, not {dir!r}")
    return DIRECTIONS[dir]


@functools.lru_cache(maxsize=None)
def _type_named(name: str) -> int:
    if not isinstance(name, str):
        raise TypeError(f"a type is named by a str, not {name.__class__.__name__}")
    others = ctypes.c_size_t()
    found = c.typeByName(name.encode("utf-8", "replace").replace(b"\0", b"?"), ctypes.byref(others)).value
    if not found:
        several = f"{others.value} types are called {name!r}" if others.value else f"no type is called {name!r}"
        raise VelnorError(native.NO_TYPE, "type", text=several)
    return int(found)


def type_named(name: Optional[str]) -> Optional[int]:
    return None if name is None else _type_named(name)


class Session:
    """Owns a session of the library, and copies what that hands out before the next call."""

    def __init__(self) -> None:
        self.handle = native.Session()
        self._text, self._count = ctypes.POINTER(ctypes.c_char)(), ctypes.c_size_t()
        self._out = ctypes.byref(self._text), ctypes.byref(self._count)
        self.check(c.open(ctypes.byref(self.handle)))

    def __del__(self) -> None:
        c.close(self.handle)

    def check(self, status: int) -> None:
        """Raises what the library says of a status below 0: the first finding that is no remark."""
        if status >= 0:
            return
        finding = native.Finding()
        index = 0
        while c.finding(self.handle, index, ctypes.byref(finding)) >= 0:
            if finding.fatal:
                octet = None if finding.octet == native.NOT_KNOWN else int(finding.octet)
                raise VelnorError(finding.status, finding.path.decode(), octet, finding.text.decode("utf-8", "replace"))
            index += 1
        raise VelnorError(status)

    def _copy(self) -> str:
        return ctypes.string_at(self._text, self._count.value).decode()

    def decode(self, type: Optional[int], dir: int, octets: bytes) -> int:
        return int(c.decode(self.handle, type, dir, octets, len(octets)))

    def json(self, flags: int) -> str:
        self.check(c.toJson(self.handle, flags, *self._out))
        return self._copy()

    def read(self, type: Optional[int], text: bytes) -> None:
        self.check(c.fromJson(self.handle, type, text, len(text)))

    def schema(self, type: Optional[int]) -> str:
        self.check(c.schema(self.handle, type, *self._out))
        return self._copy()

    def encode(self) -> bytes:
        octets, count = ctypes.POINTER(ctypes.c_uint8)(), ctypes.c_size_t()
        self.check(c.encode(self.handle, ctypes.byref(octets), ctypes.byref(count)))
        return ctypes.string_at(octets, count.value)

    def redact(self, key: Optional[bytes]) -> None:
        if key is not None and len(key) != 16:
            raise VelnorError(native.BAD_VALUE, "key", text=f"a key has 16 octets, this one {len(key)}")
        self.check(c.redact(self.handle) if key is None else c.pseudonymise(self.handle, key))

    def decode_many(self, type: Optional[int], messages: Sequence[bytes], dirs: Sequence[int], flags: int) -> str:
        """A line of JSON for each message, in one call. The octets lie in one piece, so that only their places are
        to be worked out."""
        octets = b"".join(messages)
        start = ctypes.cast(ctypes.c_char_p(octets), ctypes.c_void_p).value or 0
        entries = (native.Octets * len(messages)).from_buffer(bytearray(_places(start, messages, dirs)))
        self.check(c.decodeMany(self.handle, type, entries, len(messages), flags, *self._out))
        return self._copy()

    @contextmanager
    def under(self, keys: Optional[Keys], as_specified: bool) -> Iterator["Session"]:
        """For as long as it lasts, the session has these options and keys; then the keys take its counts, and it wipes
        its own."""
        for option in (native.OPTION_KEEP, native.OPTION_STANDARD):
            self.check(c.setOption(self.handle, option, not as_specified))
        if keys is None:
            yield self
            return
        with_counts = keys._native()
        self.check(c.setKeys(self.handle, ctypes.byref(with_counts)))
        try:
            yield self
        finally:
            self.take_counts(keys)
            c.setKeys(self.handle, None)

    def take_counts(self, keys: Keys) -> None:
        now = native.Keys()
        if c.getKeys(self.handle, ctypes.byref(now)) >= 0:
            keys.uplink_count, keys.downlink_count = now.uplinkCount, now.downlinkCount


def _places(start: int, messages: Sequence[bytes], dirs: Sequence[int]) -> bytes:
    pack, size = _ENTRY.pack, len
    places = []
    for octets, dir in zip(messages, dirs):
        places.append(pack(start, size(octets), dir))
        start += size(octets)
    return b"".join(places)


_local = threading.local()


def session() -> Session:
    """The session of this thread, for calls that leave nothing behind."""
    try:
        return _local.session  # type: ignore[no-any-return]
    except AttributeError:
        _local.session = Session()
        return _local.session
