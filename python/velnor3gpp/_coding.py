"""Messages from octets, lines and captures, and back."""
from __future__ import annotations

import ctypes
import json
import os
import re
from typing import Any, Dict, Iterable, Iterator, List, Mapping, NamedTuple, Optional, Tuple, Union, cast

from . import _native as native
from ._capture import Capture, Frame, Path, is_capture
from ._message import Message, Record, VelnorError
from ._native import c
from ._session import DIRECTION_NAMES, DIRECTIONS, Keys, Session, direction, session, type_named

Buffer = Union[bytes, bytearray, memoryview]
#: What a message of many can be: a line in hexadecimal, with "up" or "down" and a type in front if it likes; octets.
Line = Union[str, Buffer]
#: Where many messages come from: lines, a capture, or the name of a file of either.
Source = Union[Iterable[Line], Capture, Path]

_WORD = re.compile(r"\s*([A-Za-z]\w*)\s+(.*)", re.S)
_SPACING = re.compile(r"0[xX]|\\x|[\s,:-]+")
_NO_DIGITS = re.compile(r"(?:0[xX]|\\x|[\s,:-]|[0-9A-Fa-f])*")


def _flags(names: bool, positions: bool) -> int:
    return native.NAMES * names | native.POSITIONS * positions


def _octets(octets: Union[str, Buffer]) -> bytes:
    """The octets, or those that a text has in hexadecimal. A number is neither: bytes() would make zeros of it."""
    if not isinstance(octets, str):
        return octets if octets.__class__ is bytes else bytes(memoryview(octets))
    try:
        return _from_hex(octets)
    except ValueError as error:
        raise VelnorError(native.BAD_HEX, "octets", text=str(error)) from None


def _from_hex(text: str, at: int = 0) -> bytes:
    """The octets, or a ValueError that says where the text has none; in front of it stood `at` characters."""
    digits = _SPACING.sub("", text)
    try:
        return bytes.fromhex(digits)
    except ValueError:
        pass
    good = cast("re.Match[str]", _NO_DIGITS.match(text)).end()
    if good == len(text):
        raise ValueError(f"{len(digits)} digits are no whole octets; each has two")
    word = re.search(r"[^\s,:-]*$", text[:good])
    start = word.start() if word else good
    rest = re.split(r"[\s,:-]", text[start:], maxsplit=1)[0]
    raise ValueError(f"{rest[:20]!r} at character {at + start + 1} is not hexadecimal")


def decode(octets: Union[str, Buffer], type: Optional[str] = None, dir: Optional[str] = None,
           keys: Optional[Keys] = None, *, names: bool = False, positions: bool = False,
           as_specified: bool = False) -> Message:
    """Decodes one message, octets or a text of their hexadecimal digits, of the type that they tell or that is named.
    Raises a VelnorError if it is bad, whose `message` has what was read. A ciphered message without its keys is not
    bad: `sealed` says so. Elements that cannot be read stand in `unknown` and come back on encoding, and rows that
    differ from the public standard are read as it has them, unless `as_specified` is set: as with the option of that
    name of the program."""
    with session().under(keys, as_specified) as here:
        here.decode(type_named(type), direction(dir), _octets(octets))
        message = Message(here.json(_flags(names, positions)))
    error = message.error
    if error:
        raise error
    return message


def _as_json(message: Union[Message, Mapping[str, Any]], type: Optional[str], dir: Optional[str]) -> Record:
    members: Mapping[str, Any] = message._all() if isinstance(message, Message) else message
    if type is None and not isinstance(members, Mapping):
        kind = members.__class__.__name__
        raise TypeError(f"a Message, its object as a dict (json.loads), or a record and its type is encoded, not {kind}")
    if type is not None and not isinstance(message, Message):
        members = {"record": message}
    needed = {name: members[name] for name in ("type", "dir", "record", "unknown") if name in members}
    if type is not None:
        needed["type"] = type
    if dir is not None:
        needed["dir"] = dir
    return needed


def encode(message: Union[Message, Mapping[str, Any]], type: Optional[str] = None, dir: Optional[str] = None,
           keys: Optional[Keys] = None, *, as_specified: bool = False) -> bytes:
    """Encodes a message, an object as its JSON has it, or with `type` a bare record. Raises a VelnorError that says
    where the record is wrong and how to mend it."""
    direction(dir)
    needed = _as_json(message, type, dir)
    with session().under(keys, as_specified) as here:
        here.read(type_named(needed.get("type")), json.dumps(needed).encode())
        return here.encode()


def redact(message: Union[str, Buffer, Message], type: Optional[str] = None, dir: Optional[str] = None,
           keys: Optional[Keys] = None, *, key: Optional[Buffer] = None, as_specified: bool = False) -> Message:
    """The message without identities, numbers, addresses and payloads, which become 0; or with `key`, 16 octets,
    others that the key makes of them: the same for the same, wherever they stand. A Message is taken by its octets.
    Raises a VelnorError where the message is bad, since its octets would still tell. What is ciphered stays as it is."""
    if isinstance(message, Message):
        own = None if message.sealed else message.type  # which is the header alone
        type, dir = type or own, dir or message.dir
        message = message.octets
    octets = _octets(message)
    with session().under(keys, as_specified) as here:
        here.decode(type_named(type), direction(dir), octets)
        error = Message(here.json(0)).error
        if error:
            error.message = None
            raise error
        sealed = Message(here.json(0)).sealed
        here.redact(None if key is None else _octets(key))
        members = json.loads(here.json(0))
        members["octets"] = (octets if sealed else here.encode()).hex()
    return Message(json.dumps(members))


class _Item(NamedTuple):
    """A message to be decoded, or what is wrong with the line that it should stand in."""

    octets: bytes
    dir: int
    type: Optional[int]
    frame: Optional[Frame] = None
    fault: Optional[str] = None


def _words(line: str, dir: int, type: Optional[int]) -> Tuple[str, int, Optional[int]]:
    """Takes a direction and a type from in front of the octets. Octets may be words of letters, too."""
    found = _WORD.match(line)
    while found and not re.fullmatch(r"([0-9A-Fa-f]{2})+", found.group(1)):
        word, line = found.groups()
        if word in ("up", "down"):
            dir = direction(word)
        else:
            type = type_named(word)
        found = _WORD.match(line)
    return line, dir, type


def _slow_item(line: str, dir: int, type: Optional[int]) -> Optional[_Item]:
    line = line.split("#", 1)[0].rstrip()
    if not line.strip():
        return None
    try:
        digits, dir, type = _words(line, dir, type)
        return _Item(_from_hex(digits, len(line) - len(digits)), dir, type)
    except VelnorError as error:
        fault = {"status": error.status, "fatal": True, "text": error.text}
    except ValueError as error:
        fault = {"status": native.BAD_HEX, "fatal": True, "text": str(error)}
    return _Item(b"", 0, None, None, json.dumps({"octets": "", "status": fault["status"], "findings": [fault]}))


def _items(lines: Iterable[Line], dir: int, type: Optional[int]) -> Iterator[_Item]:
    """Blank lines and comments are passed over; a line that is no message is told in its place."""
    for line in lines:
        if not isinstance(line, str):
            yield _Item(_octets(line), dir, type)
            continue
        try:
            octets = bytes.fromhex(line)
        except ValueError:
            octets = b""
        item = _Item(octets, dir, type) if octets else _slow_item(line, dir, type)
        if item is not None:
            yield item


def _capture_items(capture: Capture, dir: int, type: Optional[int]) -> Iterator[_Item]:
    types: Dict[Optional[str], Optional[int]] = {}
    for frame in capture:
        if frame.octets is not None:
            own = types[frame.type] if frame.type in types else types.setdefault(frame.type, type_named(frame.type))
            yield _Item(frame.octets, DIRECTIONS[frame.dir] or dir, type or own, frame)


def _open(source: Source, dir: int, type: Optional[int]) -> Iterator[_Item]:
    if isinstance(source, (bytes, bytearray, memoryview)):
        raise TypeError("octets are one message, for decode; iterdecode takes many: [octets]")
    if isinstance(source, (str, os.PathLike)):
        if not is_capture(source):
            with open(source, encoding="utf-8-sig", errors="replace") as file:
                yield from _items(file, dir, type)
            return
        source = Capture(source)
    if isinstance(source, Capture):
        yield from _capture_items(source, dir, type)
    else:
        yield from _items(source, dir, type)


def _batches(items: Iterator[_Item], size: int) -> Iterator[List[_Item]]:
    """Items of one type, as many as one call takes. A faulty line stands alone."""
    batch: List[_Item] = []
    for item in items:
        if batch and (len(batch) >= size or item.type != batch[0].type or item.fault or batch[0].fault):
            yield batch
            batch = []
        batch.append(item)
    if batch:
        yield batch


def _decoded(here: Session, batch: List[_Item], flags: int) -> Iterator[Message]:
    if batch[0].fault:
        return iter([Message(batch[0].fault)])
    lines = here.decode_many(batch[0].type, [item.octets for item in batch], [item.dir for item in batch], flags)
    return map(Message, lines.split("\n"), [item.frame for item in batch])


def iterdecode(source: Source, type: Optional[str] = None, dir: Optional[str] = None, keys: Optional[Keys] = None, *,
               names: bool = False, positions: bool = False, as_specified: bool = False, batch: int = 128) -> Iterator[Message]:
    """Decodes many messages: one comes out for each that goes in, also for a bad one, whose `error` tells. `source` is
    an iterable of lines or octets, a Capture, or the name of a file of lines or of a capture; messages of a capture
    have their `frame`. Up to `batch` messages are read before the first comes out, and cross to the library in one
    call; 1 is for sources that wait for answers."""
    here = Session()
    items = _open(source, direction(dir), type_named(type))
    with here.under(keys, as_specified):
        for some in _batches(items, max(batch, 1)):
            yield from _decoded(here, some, _flags(names, positions))
            if keys is not None:
                here.take_counts(keys)


def schema(type: Optional[str] = None) -> Dict[str, Any]:
    """The JSON Schema (draft 2020-12) of messages of a type, or of all."""
    return cast(Dict[str, Any], json.loads(session().schema(type_named(type))))


class TypeFacts(NamedTuple):
    """What is known of a type."""

    name: str  #: "TS24501Msg_RegRequest"
    short_name: str  #: "RegRequest"
    title: str  #: the standard's name, "Registration request", or ""
    clause: str  #: "TS 24.501, 8.2.6"
    module: str  #: "TS24501Msg"
    use: str  #: "element", "message" (the body of one) or "form" (with its header)
    message_type: Optional[int]  #: the octet that selects a message
    dir: Optional[str]  #: who sends it, if one side alone does
    release: Optional[int]  #: the newest release of its release groups, as radio capabilities have


def types() -> List[TypeFacts]:
    """All types, in the order of their names."""
    found = []
    for index in range(c.typeCount()):
        facts = native.TypeFacts()
        c.typeFacts(c.typeAt(index), ctypes.byref(facts))
        found.append(
            TypeFacts(
                facts.name.decode(),
                facts.shortName.decode(),
                facts.title.decode(),
                facts.clause.decode(),
                facts.module.decode(),
                ("element", "message", "form")[facts.use],
                None if facts.messageType < 0 else facts.messageType,
                DIRECTION_NAMES[facts.direction],
                facts.release or None,
            )
        )
    return found
