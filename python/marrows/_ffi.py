"""The thin layer over the C library: loading it, its declarations, and turning results into
exceptions. Nothing above this module touches cffi objects except through what it hands out."""

from __future__ import annotations

import ctypes.util
import os
import sys
import tempfile
from pathlib import Path
from typing import Any, Callable, List

import cffi

from .errors import Error, Record, error_for

_HERE = Path(__file__).resolve().parent


def _declarations() -> str:
    made = _HERE / "_marrows_cdef.h"
    if made.exists():
        return made.read_text()
    # Run from a source tree without a build: make them from the header as the build does.
    from ._declarations import declarations

    header = os.environ.get("MARROWS_INCLUDE", str(_HERE.parent.parent / "include"))
    return declarations(Path(header))


def _library_path() -> str:
    """MARROWS_LIBRARY if set, else a library next to the package, else the system's."""
    explicit = os.environ.get("MARROWS_LIBRARY")
    if explicit:
        return explicit
    for candidate in sorted(_HERE.glob("libmarrows.so*")):
        return str(candidate)
    return ctypes.util.find_library("marrows") or "libmarrows.so.4"


ffi = cffi.FFI()
ffi.cdef(_declarations())
try:
    lib: Any = ffi.dlopen(_library_path())
except OSError as problem:  # pragma: no cover - depends on the machine
    raise ImportError(f"marrows: can't load the library ({problem}); set MARROWS_LIBRARY") from None

NULL = ffi.NULL


def take_records() -> List[Record]:
    """The records on the error stack, newest first; the stack is cleared."""
    records = []
    error = lib.nyxErrorGetCurrent()
    while error != NULL:
        message = lib.nyxErrorGetMessage(error)
        arguments = []
        for index in range(lib.nyxErrorGetArgumentCount(error)):
            text = lib.nyxErrorGetArgument(error, index)
            arguments.append(ffi.string(text).decode("utf-8", "replace") if text != NULL else None)
        records.append(Record(code=lib.nyxErrorGetErrorCode(error),
                              severity=lib.nyxErrorGetSeverity(error),
                              arguments=tuple(arguments),
                              message=ffi.string(message).decode("utf-8", "replace")
                              if message != NULL else ""))
        error = lib.nyxErrorGetPrevious(error)
    lib.PDMErrorClearStack()
    return records


def fail(code: int, what: str) -> Error:
    """The exception for a failed call: its code and the records, which leave the stack."""
    records = take_records()
    if code == 0 and records:
        code = records[0].code
    return error_for(code, what, records)


def check(code: int, what: str) -> None:
    """Raises for a non-zero result, or for a record a call left on the stack."""
    if code != 0 or lib.nyxErrorGetCurrent() != NULL:
        raise fail(code, what)


def text(pointer: Any) -> str:
    """A text the library handed out; copied at once, as ring texts don't last."""
    return ffi.string(pointer).decode("utf-8") if pointer != NULL else ""


def encode(value: str) -> bytes:
    """A str as the library takes it; anything else is a TypeError."""
    if not isinstance(value, str):
        raise TypeError(f"expected a str, got {type(value).__name__}")
    return value.encode("utf-8")


def drain(cursor: Any) -> List[Any]:
    """Every element of a cursor, which is released."""
    out = []
    element = ffi.new("void**")
    try:
        while lib.PDMCursorGetNext(cursor, element) == 0 and element[0] != NULL:
            out.append(element[0])
    finally:
        lib.PDMCursorDelete(cursor)
    return out


def listing(call: Callable[..., int], what: str, *arguments: Any) -> List[Any]:
    """The elements of a list export that hands out a cursor."""
    cursor = ffi.new("CursorHandle*")
    check(call(*arguments, cursor), what)
    return drain(cursor[0]) if cursor[0] != NULL else []


def names(call: Callable[..., int], what: str, *arguments: Any) -> List[str]:
    """A two-phase list of names: the count first, then the texts."""
    count = ffi.new("int*")
    check(call(*arguments, count, NULL), what)
    if count[0] == 0:
        return []
    array = ffi.new("const char*[]", count[0])
    check(call(*arguments, count, array), what)
    return [text(array[i]) for i in range(count[0])]


def captured_stdout(call: Callable[[], Any]) -> tuple:
    """What a call prints on the process's standard output (the C level, descriptor 1), and
    its result."""
    sys.stdout.flush()
    saved = os.dup(1)
    with tempfile.TemporaryFile() as sink:
        os.dup2(sink.fileno(), 1)
        try:
            # The library flushes its findings before the call returns.
            result = call()
        finally:
            os.dup2(saved, 1)
            os.close(saved)
        sink.seek(0)
        return sink.read().decode("utf-8", "replace"), result
