"""Captures: pcap and pcapng files, frame by frame."""
from __future__ import annotations

import ctypes
import functools
import ipaddress
import os
from typing import Any, BinaryIO, Dict, Iterator, Mapping, NamedTuple, Optional, Tuple, Union

from . import _native as native
from ._message import VelnorError
from ._native import c
from ._session import DIRECTION_NAMES

Path = Union[str, "os.PathLike[str]"]
_BLOCK = 1 << 20
_USER_LINKS = range(147, 163)
_CONNECTION = ctypes.sizeof(native.CaptureConnection)
_CHANNELS = (None, "bcch", "ccch", "dcch", "sacch", "short")


class Frame(NamedTuple):
    """A frame of a capture and the message in it."""

    number: int  #: from 1
    time: Optional[int]  #: nanoseconds since 1970, UTC
    dir: Optional[str]  #: "up" or "down", if the capture tells
    channel: Optional[str]  #: of a radio resource message
    type: Optional[str]  #: the form of the message, if the capture tells
    octets: Optional[bytes]  #: the message, or None
    reason: str  #: why there is none; "" with a message
    dissector: str  #: the protocol's name, "nas-5gs", or ""
    link_type: int  #: what the frame begins with
    comments: Tuple[str, ...]
    connection_record: bytes  #: what `connection` is read from, as the library has it

    @property
    def connection(self) -> Dict[str, Any]:
        """What tells the connection from others: `source` and `destination` (address, port), or `arfcn`, `timeslot`
        and `subslot`; the `interface` of a pcapng file."""
        known = native.CaptureConnection.from_buffer_copy(self.connection_record)
        found: Dict[str, Any] = {"interface": known.interfaceNumber}
        if known.has & native.HAS_ADDRESSES:
            for name, address, port in (
                ("source", known.source, known.sourcePort),
                ("destination", known.destination, known.destinationPort),
            ):
                found[name] = (str(ipaddress.ip_address(bytes(address)[: known.addressSize])), port)
        if known.has & native.HAS_RADIO:
            found.update(arfcn=known.arfcn, timeslot=known.timeslot, subslot=known.subslot)
        return found


@functools.lru_cache(maxsize=None)
def type_name(handle: Optional[int]) -> Optional[str]:
    if handle is None:
        return None
    facts = native.TypeFacts()
    c.typeFacts(handle, ctypes.byref(facts))
    return str(facts.name.decode())


@functools.lru_cache(maxsize=64)
def _text(constant: bytes) -> str:
    return constant.decode()


@functools.lru_cache(maxsize=None)
def _reason(number: int) -> str:
    return str(c.captureReasonText(number).decode()) if number else ""


def _copied(frame: native.CaptureFrame, connection: int) -> Frame:
    """A frame by itself; `connection` is where its connection lies."""
    comments: Tuple[str, ...] = ()
    if frame.commentCount:
        texts = (ctypes.string_at(one.text, one.count) for one in frame.comments[: frame.commentCount])
        comments = tuple(text.decode("utf-8", "replace") for text in texts)
    return Frame(
        frame.frame,
        frame.time if frame.hasTime else None,
        DIRECTION_NAMES[frame.direction],
        _CHANNELS[frame.channel],
        type_name(frame.type),
        ctypes.string_at(frame.octets, frame.count) if frame.reason == 0 else None,
        _reason(frame.reason),
        _text(frame.dissector),
        frame.linkType,
        comments,
        ctypes.string_at(connection, _CONNECTION),
    )


class _Reader:
    """A reader of the library, fed with blocks of the file."""

    def __init__(self, links: Mapping[int, str]) -> None:
        self.handle = native.CaptureReader()
        self.frame = native.CaptureFrame()
        if c.captureOpen(ctypes.byref(self.handle), None, None) < 0:
            raise MemoryError
        for number, dissector in links.items():
            known = number in _USER_LINKS and isinstance(dissector, str)
            status = c.captureMap(self.handle, number, dissector.encode()) if known else native.BAD_VALUE
            if status < 0:
                text = f"no user link type (147 to 162) and dissector ('nas-5gs'): {number!r}, {dissector!r}"
                raise VelnorError(status, "dlt", text=text)

    def __del__(self) -> None:
        c.captureClose(self.handle)

    def counts(self) -> native.CaptureCounts:
        counts = native.CaptureCounts()
        c.captureCounts(self.handle, ctypes.byref(counts))
        return counts

    def frames(self, file: BinaryIO) -> Iterator[native.CaptureFrame]:
        """Each frame, in one record that the next one overwrites."""
        frame = self.frame
        at, step, block = ctypes.byref(frame), native.CAPTURE_MORE, b""
        while step != native.CAPTURE_END:
            if step == native.CAPTURE_MORE:
                block = file.read(_BLOCK)  # stays until all of it is used
                c.captureFeed(self.handle, block, len(block))
            elif step == native.CAPTURE_FRAME:
                yield frame
            else:
                raise VelnorError(step, os.fspath(file.name), self.counts().octets)
            step = c.captureNext(self.handle, at)


class Capture:
    """A capture. Iterating over it gives a `Frame` for each frame, with or without a message, from the beginning each
    time; `iterdecode` takes it and decodes. A damaged capture gives all whole frames and then a VelnorError whose octet
    is where the damage begins. `dlt` says what user link types hold: {147: "nas-5gs"}."""

    def __init__(self, path: Path, dlt: Optional[Mapping[int, str]] = None) -> None:
        self.path = os.fspath(path)
        self._dlt = dict(dlt or {})
        #: How many frames of the last iteration hold a message ("") and how many none, by reason.
        self.counts: Dict[str, int] = {}
        _Reader(self._dlt)  # so that a mistake in `dlt` is told here
        open(self.path, "rb").close()

    def __iter__(self) -> Iterator[Frame]:
        reader = _Reader(self._dlt)
        with open(self.path, "rb") as file:
            try:
                connection = ctypes.addressof(reader.frame) + native.CaptureFrame.connection.offset
                for frame in reader.frames(file):
                    yield _copied(frame, connection)
            finally:
                reasons = enumerate(reader.counts().reasons)
                self.counts = {_reason(number): count for number, count in reasons if count}

    def __repr__(self) -> str:
        return f"Capture({self.path!r})"


def is_capture(path: Path) -> bool:
    with open(path, "rb") as file:
        first = file.read(4)
    return bool(c.isCapture(first, len(first)))
