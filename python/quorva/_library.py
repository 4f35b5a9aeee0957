"""The C interface, as its headers declare it."""

import pathlib
import threading
from typing import Any

import cffi

_HERE = pathlib.Path(__file__).parent

ffi = cffi.FFI()
ffi.cdef((_HERE / "interface.h").read_text())


def _open() -> Any:
    """The library that came with the package, or else the system's."""
    own = _HERE / "libquorva.so.7"
    return ffi.dlopen(str(own) if own.exists() else "libquorva.so.7")


lib = _open()

_STATUSES = {
    int(number): name
    for name, number in (line.split() for line in (_HERE / "statuses.txt").read_text().splitlines())
}


def status_name(status: int) -> str:
    return _STATUSES.get(status, str(status))


class Context:
    """A context of the library and a text buffer, for one thread."""

    def __init__(self) -> None:
        self.pointer = ffi.new("RtxContext*")
        if lib.rtInitContext(self.pointer) < 0:
            raise MemoryError
        self.flags = self.pointer.flags
        self.resize(1 << 16)
        self.length = ffi.new("size_t*")

    def __del__(self) -> None:
        if lib is not None and hasattr(self, "flags"):
            lib.rtFreeContext(self.pointer)

    def resize(self, size: int) -> None:
        self.size = size
        self.text = ffi.new("char[]", size)
        self.view = ffi.buffer(self.text)

    def reset(self) -> None:
        """Ends what the last call left."""
        pointer = self.pointer
        if pointer.nasSec:
            lib.rtx3gppSecFree(pointer)
        lib.rtxMemReset(pointer)
        pointer.bitFields = ffi.NULL
        pointer.flags = self.flags

    def json(self, type_: Any, value: Any) -> bytes:
        while lib.quorvaToJson(self.pointer, type_, value, self.text, self.size, self.length) < 0:
            self.resize(2 * self.length[0])
        return self.view[: self.length[0]]

    def path(self) -> str:
        """The names of the elements in which a codec stopped."""
        names = []
        node = self.pointer.elemNames.head
        while node:
            names.append(ffi.string(ffi.cast("char*", node.data)).decode())
            node = node.next
        return ".".join(names)


_local = threading.local()


def context() -> Context:
    """That of the thread."""
    try:
        return _local.context
    except AttributeError:
        _local.context = Context()
        return _local.context
