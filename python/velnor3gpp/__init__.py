"""3GPP layer-3 signalling (TS 24.008, 24.011, 24.301, 24.501, 44.018) from octets into records and back.

    >>> import velnor3gpp
    >>> message = velnor3gpp.decode(bytes.fromhex("7e005b01"), names=True)
    >>> message.name, message.at("data.IdentityRequest5G.identity.typeOfIdent$name")
    ('Identity request', 'suci')
    >>> message.record["data"]["IdentityRequest5G"]["identity"]["typeOfIdent"] = 3
    >>> velnor3gpp.encode(message).hex()
    '7e005b03'

The library decodes; a message crosses to it and back once, as octets and as JSON. All functions may be called from
several threads; an iterator serves one at a time. Threads decode side by side, since a call of the library lets others
run meanwhile.
"""
from ._capture import Capture, Frame
from ._coding import TypeFacts, decode, encode, iterdecode, redact, schema, types
from ._message import Finding, Message, VelnorError
from ._native import c as _c
from ._session import Keys

#: The version of the library that was found.
__version__: str = _c.version().decode()

__all__ = [
    "Capture",
    "Finding",
    "Frame",
    "Keys",
    "Message",
    "TypeFacts",
    "VelnorError",
    "decode",
    "encode",
    "iterdecode",
    "redact",
    "schema",
    "types",
]
