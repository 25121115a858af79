"""What comes of a message, and what can be wrong with it. All of it is read from the library's JSON."""
from __future__ import annotations

import json
import re
from typing import TYPE_CHECKING, Any, Callable, Dict, List, NamedTuple, Optional, Tuple

from ._native import NO_SECURITY, c

if TYPE_CHECKING:
    from ._capture import Frame

Record = Dict[str, Any]
# The library writes an object without blanks around it, so that nothing has to be looked for in front or behind.
_take_apart: Callable[[str], Tuple[Record, int]] = json.JSONDecoder().raw_decode


class Finding(NamedTuple):
    """Something that a message is not in order with."""

    status: int  #: a code of rtxStatus.h
    fatal: bool  #: False: a remark, decoding went on
    text: str  #: in words
    path: str = ""  #: of the element, "data.IdentityRequest5G.spare"
    octet: Optional[int] = None  #: where, counted from 0
    bit: int = 0  #: the bit in that octet, 8 the topmost
    clause: str = ""  #: of the standard


class VelnorError(ValueError):
    """What cannot be decoded, encoded, read or named: `status` (a code of rtxStatus.h), and where it is."""

    def __init__(self, status: int, path: str = "", octet: Optional[int] = None, text: str = "") -> None:
        self.status = status
        self.path = path
        self.octet = octet
        self.text = text or (c.statusText(status) or b"").decode().replace(": %s", "").replace("%s", "?")
        self.message: Optional[Message] = None  #: what was read all the same, where octets were decoded
        super().__init__(status, path, octet, self.text)

    def __str__(self) -> str:
        at = f", element {self.path}" if self.path else ""
        at += "" if self.octet is None else f", octet {self.octet}"
        return f"status {self.status} ({self.text}){at}"


class Message:
    """A decoded message. Its JSON is taken apart when a member is first asked for."""

    __slots__ = ("_line", "_members", "frame")

    def __init__(self, line: str, frame: Optional["Frame"] = None) -> None:
        self._line = line
        self._members: Optional[Record] = None
        self.frame = frame  #: where it stood in a capture

    def _all(self) -> Record:
        members = self._members
        if members is None:
            members = self._members = _take_apart(self._line)[0]
        return members

    @property
    def type(self) -> Optional[str]:
        """The type of the record, a full name; None if the octets do not tell it."""
        return self._all().get("type")

    @property
    def name(self) -> Optional[str]:
        """The standard's name of the message."""
        return self._all().get("message")

    @property
    def dir(self) -> Optional[str]:
        """"up" or "down": as given, as the keys told it, or as only one side sends the message."""
        return self._all().get("dir")

    @property
    def status(self) -> int:
        """0, or what is wrong."""
        found: int = self._all()["status"]
        return found

    @property
    def octets(self) -> bytes:
        """The message as it came."""
        return bytes.fromhex(self._all().get("octets", ""))

    @property
    def record(self) -> Record:
        """The values; also of a message that is wrong, as far as it was read. What is changed in it is encoded."""
        found: Record = self._all().setdefault("record", {})
        return found

    @property
    def protection(self) -> Record:
        """Of a protected message: `check`, `count`, `sealed`."""
        found: Record = self._all().get("protection", {})
        return found

    @property
    def unknown(self) -> List[Record]:
        """What could not be read, unless `as_specified` was set."""
        found: List[Record] = self._all().get("unknown", [])
        return found

    @property
    def fields(self) -> List[Record]:
        """With `positions`: the place of each element."""
        found: List[Record] = self._all().get("fields", [])
        return found

    @property
    def findings(self) -> List[Finding]:
        """What is wrong or remarkable."""
        return [Finding(**finding) for finding in self._all().get("findings", [])]

    @property
    def sealed(self) -> bool:
        """It is ciphered and there are no keys: the record is its header. This is no fault of the message."""
        return self.status == NO_SECURITY and bool(self.protection.get("sealed"))

    @property
    def error(self) -> Optional[VelnorError]:
        """Why the message is not to be acted on, or None. The first finding that ended decoding tells."""
        if self.status >= 0 or self.sealed:
            return None
        first = next((finding for finding in self.findings if finding.fatal), None)
        error = VelnorError(first.status, first.path, first.octet, first.text) if first else VelnorError(self.status)
        error.message = self
        return error

    def at(self, path: str, default: Any = None) -> Any:
        """The value at a path as findings have it, "data.RegAccept5G.taiList.elements[0]", or `default` if it is not
        there. With `names`, "x$name" is the name of the value of x."""
        value: Any = self.record
        for name, index in re.findall(r"([^.\[\]]+)|\[(\d+)\]", path):
            if not isinstance(value, dict if name else list):
                return default
            try:
                value = value[name] if name else value[int(index)]
            except (KeyError, IndexError):
                return default
        return value

    def json(self) -> str:
        """The object as the library writes it, with what was changed since; it is encoded again by `encode`."""
        if self._members is not None:
            return json.dumps(self._members, ensure_ascii=False, separators=(",", ":"))
        return self._line

    def __repr__(self) -> str:
        wrong = f", status {self.status}" if self.status else ""
        return f"<Message {self.name or self.type or 'unknown'}, {len(self.octets)} octets{wrong}>"
