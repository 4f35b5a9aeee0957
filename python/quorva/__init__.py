"""3GPP Layer-3 messages from octets to records by name, and back.

    >>> message = quorva.decode(bytes.fromhex("07440322"))      # doctest: +SKIP
    >>> message.data.obj_AttachReject.emmCause
    'illegalUE'
    >>> message["data"]["obj_AttachReject"]["emmCause"] = "congestion"
    >>> message.encode().hex()
    '074416'

A record is a dict of its fields under the names that prints show, and has them as attributes too; what is absent is not in
it. Flags are bools, numbers ints, values with names these names, octets texts of hexadecimal digits.
"""

from __future__ import annotations

import dataclasses
import json
from typing import Any, Iterator, Union

from ._library import Context, context, ffi, lib, status_name

__all__ = ["Error", "JsonError", "Message", "Note", "Record", "Security", "decode", "from_json", "types"]

Octets = Union[bytes, bytearray, memoryview]

_PROTOCOLS = {
    "eps": "TS24301Msg_PDU",
    "5gs": "TS24501Msg_PDU",
    "24008": "TS24008Msg_PDU",
    "sms": "TS24011Msg_CP_PDU",
}


class Error(Exception):
    """A message that can't be decoded or encoded."""

    def __init__(self, status: int, path: str = "", octet: int = 0, reason: str = "") -> None:
        self.status = status  #: the library's number, below 0
        self.name = status_name(status)  #: its name, "RTX_E_END_OF_DATA"
        self.path = path  #: of the element
        self.octet = octet  #: at which it stopped
        place = f" at {path}, octet {octet}" if path else ""
        super().__init__(reason or f"{self.name}{place}")


class JsonError(Error):
    """A JSON text or a record that is no value of its type."""

    def __init__(self, status: int, path: str, offset: int, line: int, column: int, reason: str) -> None:
        super().__init__(status, path, 0, f"{path}: {reason} (line {line}, column {column})")
        self.offset, self.line, self.column = offset, line, column


@dataclasses.dataclass(frozen=True)
class Security:
    """NAS security of a message: 128-EIA2 and 128-EEA2 with these keys of 16 octets, the null algorithm without."""

    integrity_key: bytes | None = None
    cipher_key: bytes | None = None
    count: int = 0
    bearer: int = 0


@dataclasses.dataclass(frozen=True)
class Note:
    """Bits of a message, and what they say."""

    bit: int
    bits: int
    path: str
    kind: str
    text: str
    doc: str = ""
    meaning: str = ""


class Record(dict):
    """Fields by their names, also as attributes."""

    def __getattr__(self, name: str) -> Any:
        try:
            return self[name]
        except KeyError:
            raise AttributeError(name) from None

    def __setattr__(self, name: str, value: Any) -> None:
        self[name] = value

    def __delattr__(self, name: str) -> None:
        try:
            del self[name]
        except KeyError:
            raise AttributeError(name) from None

    def find(self, name: str) -> Iterator[tuple[str, Any]]:
        """Path and value of each field of that name, at any depth."""
        return _find(self, name, "")


def _find(value: Any, name: str, path: str) -> Iterator[tuple[str, Any]]:
    if isinstance(value, dict):
        for each, inner in value.items():
            place = f"{path}.{each}" if path else each
            if each == name:
                yield place, inner
            yield from _find(inner, name, place)
    elif isinstance(value, list):
        for number, inner in enumerate(value):
            yield from _find(inner, name, f"{path}[{number}]")


class Message:
    """A value of a type: a record, most likely, whose fields it has as a mapping and as attributes."""

    __slots__ = ("type", "value", "octets", "uplink", "security")

    type: str  #: its name: "TS24301Msg_PDU"
    value: Any  #: the record
    octets: bytes  #: that it was decoded from; empty for one that was not
    security: Security | None  #: that it was decoded with
    uplink: bool

    def __init__(self, type: str, value: Any, octets: bytes = b"", uplink: bool = False,
                 security: Security | None = None) -> None:
        for name, each in zip(self.__slots__, (type, value, octets, uplink, security)):
            object.__setattr__(self, name, each)

    def __getattr__(self, name: str) -> Any:
        return getattr(self.value, name)

    def __setattr__(self, name: str, value: Any) -> None:
        if name in self.__slots__:
            object.__setattr__(self, name, value)
        else:
            self.value[name] = value

    def __getitem__(self, name: str) -> Any:
        return self.value[name]

    def __setitem__(self, name: str, value: Any) -> None:
        self.value[name] = value

    def __iter__(self) -> Iterator[str]:
        return iter(self.value)

    def __len__(self) -> int:
        return len(self.value)

    def __contains__(self, name: object) -> bool:
        return name in self.value

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Message) and (self.type, self.value) == (other.type, other.value)

    __hash__ = None  # type: ignore[assignment]

    def __repr__(self) -> str:
        return f"Message({self.type!r}, {self.value!r})"

    def to_json(self) -> str:
        """One line."""
        return json.dumps(self.value, separators=(",", ":"))

    def encode(self, security: Security | None = None) -> bytes:
        """The octets; a protected message needs the security that it is to have."""
        text = self.to_json().encode("utf-8", "surrogatepass")
        type_ = _type(self.type)
        own = context()
        try:
            value = _read(own, type_, text)
            keys = _secure(own, security, self.uplink)
            lib.rtxCtxtSetBufPtr(own.pointer, ffi.NULL, 0)
            status = type_.encode(own.pointer, value)
            del keys
            octet = own.pointer.bufByteIndex
            if status < 0:
                raise Error(status, own.path(), octet)
            return ffi.buffer(own.pointer.bufData, (lib.rtxCtxtGetBitOffset(own.pointer) + 7) // 8)[:]
        finally:
            own.reset()

    def annotate(self) -> list[Note]:
        """The bits of the octets that it was decoded from."""
        pieces: list[bytes] = []

        @ffi.callback("int(void*, const char*, size_t)")
        def put(_user: Any, text: Any, size: int) -> int:
            pieces.append(ffi.buffer(text, size)[:])
            return 0

        type_ = _type(self.type)
        own = context()
        try:
            notes = ffi.cast("RtxDiagBitFieldList*",
                             lib.rtxMemHeapAlloc(own.pointer, ffi.sizeof("RtxDiagBitFieldList")))
            if not notes or lib.rtxDiagBitFieldListInit(own.pointer, notes) < 0:
                raise MemoryError
            own.pointer.bitFields = notes
            value, _buffer = _decode(own, type_, self.octets, self.uplink, self.security)
            status = lib.quorvaAnnotate(own.pointer, type_, value, put, ffi.NULL)
            if status < 0:
                raise Error(status)
        finally:
            own.reset()
        return [Note(**note) for note in json.loads(b"".join(pieces))["notes"]]


def _type(name: str) -> Any:
    type_ = lib.quorvaFindType(name.encode())
    if not type_:
        raise ValueError(f"no type {name!r}")
    return type_


def _secure(own: Context, security: Security | None, uplink: bool) -> list[Any]:
    """Gives the context its security; the keys stay as long as the result does."""
    if uplink:
        lib.rtxCtxtSetFlag(own.pointer, lib.QUORVA_FLAG_UPLINK)
    if security is None:
        return []
    keys = []
    for key in (security.integrity_key, security.cipher_key):
        if key is not None and len(key) != 16:
            raise ValueError("a key has 16 octets")
        keys.append(ffi.NULL if key is None else ffi.new("uint8_t[]", bytes(key)))
    status = lib.rtx3gppSecInitialize(own.pointer)
    if status >= 0:
        status = lib.rtx3gppAssignAlgorithmKeys(own.pointer, *keys, *(2 if key else 0 for key in keys))
    if status >= 0:
        status = lib.rtx3gppSetCount(own.pointer, security.count, security.bearer, 0 if uplink else 1)
    if status < 0:
        raise Error(status)
    return keys


def _decode(own: Context, type_: Any, octets: Octets, uplink: bool, security: Security | None) -> tuple[Any, Any]:
    """The value, and the buffer, which must stay as long as it does."""
    buffer = ffi.from_buffer("uint8_t[]", bytearray(octets))  # deciphered in place
    keys = _secure(own, security, uplink)
    value = lib.quorvaNew(own.pointer, type_)
    if not value:
        raise MemoryError
    lib.rtxCtxtSetBufPtr(own.pointer, buffer, len(octets))
    status = type_.decode(own.pointer, value)
    del keys
    if status < 0:
        raise Error(status, own.path(), own.pointer.bufByteIndex)
    return value, buffer


def _read(own: Context, type_: Any, text: bytes) -> Any:
    value = lib.quorvaNew(own.pointer, type_)
    if not value:
        raise MemoryError
    fault = ffi.new("QuorvaJsonFault*")
    status = lib.quorvaFromJson(own.pointer, type_, value, text, len(text), fault)
    if status < 0:
        raise JsonError(status, ffi.string(fault.path).decode(), fault.offset, fault.line, fault.column,
                        ffi.string(fault.reason).decode())
    return value


def _message(own: Context, type_: Any, value: Any, octets: bytes, uplink: bool, security: Security | None) -> Message:
    record = json.loads(own.json(type_, value), object_hook=Record)
    return Message(ffi.string(type_.name).decode(), record, octets, uplink, security)


def decode(octets: Octets, protocol: str | None = None, uplink: bool = False,
           security: Security | None = None) -> Message:
    """Decodes a message.

    protocol: "eps", "5gs", "24008", "sms" or the name of a type; without it the message's discriminator tells.
    uplink: it comes from the terminal.
    security: keys that verify and decipher it.
    """
    if protocol is None:
        type_ = lib.quorvaTypeOf(bytes(octets), len(octets), lib.QUORVA_UPLINK if uplink else lib.QUORVA_DOWNLINK)
        if not type_:
            raise ValueError("no protocol has this discriminator")
    else:
        type_ = _type(_PROTOCOLS.get(protocol, protocol))
    if not type_.decode:
        raise ValueError(f"{protocol} has no decoder")
    own = context()
    try:
        value, _buffer = _decode(own, type_, octets, uplink, security)
        return _message(own, type_, value, bytes(octets), uplink, security)
    finally:
        own.reset()


def from_json(type: str, text: str | bytes, uplink: bool = False) -> Message:
    """A message of a protocol or type, from JSON as `to_json` writes it; what is missing has its initial state."""
    type_ = _type(_PROTOCOLS.get(type, type))
    own = context()
    try:
        value = _read(own, type_, text.encode("utf-8", "surrogatepass") if isinstance(text, str) else text)
        return _message(own, type_, value, b"", uplink, None)
    finally:
        own.reset()


def types() -> list[str]:
    """The names of all types."""
    count = ffi.new("size_t*")
    all_types = lib.quorvaTypes(count)
    return [ffi.string(all_types[i].name).decode() for i in range(count[0])]
