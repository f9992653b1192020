"""Attribute values between Python and the library's 16-byte record, and the mappings that
show attributes as dicts do."""

from __future__ import annotations

import datetime
from typing import Any, Callable, Iterator, List, MutableMapping, Optional

from . import _ffi
from ._ffi import ffi, lib

INTEGER, DOUBLE, BOOLEAN, STRING, DATETIME, OBJECT = 1, 2, 3, 4, 5, 6
_EPOCH = datetime.datetime(1970, 1, 1, tzinfo=datetime.timezone.utc)
_INT32 = (-(2**31), 2**31 - 1)

Value = Any  # int, float, bool, str, datetime.datetime, or a stored object


def to_record(value: Value, objects: bool, keep: List[Any]) -> Any:
    """A new PDMAttrValue for the value. A type the store can't hold is a TypeError, and an
    integer or date it can't hold a ValueError, before anything reaches the library. Texts the
    record points at are kept alive in `keep`."""
    record = ffi.new("PDMAttrValue*")
    if isinstance(value, bool):
        record.kind, record.value.b = BOOLEAN, int(value)
    elif isinstance(value, int):
        if not _INT32[0] <= value <= _INT32[1]:
            raise ValueError(f"{value} doesn't fit a 32-bit integer attribute")
        record.kind, record.value.i = INTEGER, value
    elif isinstance(value, float):
        record.kind, record.value.d = DOUBLE, value
    elif isinstance(value, str):
        text = ffi.new("char[]", _ffi.encode(value))
        keep.append(text)
        record.kind, record.value.s = STRING, text
    elif isinstance(value, datetime.datetime):
        moment = value if value.tzinfo is not None else value.replace(tzinfo=datetime.timezone.utc)
        seconds = int((moment - _EPOCH).total_seconds())
        if not 0 <= seconds <= _INT32[1]:
            raise ValueError(f"{value} lies outside 1970 to 2038, what a stored date holds")
        record.kind, record.value.dt = DATETIME, seconds
    elif objects and hasattr(value, "_object_handle"):
        record.kind, record.value.obj = OBJECT, value._object_handle()
    else:
        kinds = "int, float, bool, str, datetime" + (" or a stored object" if objects else "")
        raise TypeError(f"an attribute holds {kinds}, not {type(value).__name__}")
    return record


def from_record(record: Any, make_object: Optional[Callable[[Any], Any]] = None) -> Value:
    """The Python value of a record; None for kind 0."""
    kind = record.kind
    if kind == INTEGER:
        return int(record.value.i)
    if kind == DOUBLE:
        return float(record.value.d)
    if kind == BOOLEAN:
        return bool(record.value.b)
    if kind == STRING:
        return _ffi.text(record.value.s)
    if kind == DATETIME:
        return _EPOCH + datetime.timedelta(seconds=int(record.value.dt))
    if kind == OBJECT and make_object is not None:
        return make_object(record.value.obj) if record.value.obj != ffi.NULL else None
    return None


class AttributeMap(MutableMapping[str, Value]):
    """Attributes as a dict: ``m[name]``, ``m[name] = value``, ``del m[name]``, ``in``, ``len``
    and iteration over the names. A name that isn't set is a KeyError."""

    def __init__(self, read: Callable[[str], Value], write: Callable[[str, Value], None],
                 remove: Callable[[str], None], listed: Callable[[], List[str]]) -> None:
        self._read, self._write, self._remove, self._listed = read, write, remove, listed

    def __getitem__(self, name: str) -> Value:
        value = self._read(name)
        if value is None:
            raise KeyError(name)
        return value

    def __setitem__(self, name: str, value: Value) -> None:
        self._write(name, value)

    def __delitem__(self, name: str) -> None:
        if self._read(name) is None:
            raise KeyError(name)
        self._remove(name)

    def __iter__(self) -> Iterator[str]:
        return iter(self._listed())

    def __len__(self) -> int:
        return len(self._listed())

    def __repr__(self) -> str:
        return repr(dict(self.items()))


def object_attributes(handle: Callable[[], Any], make_object: Callable[[Any], Any]) -> AttributeMap:
    """The attributes of a stored object (the root's, or an application object's), which may
    hold other stored objects."""

    def read(name: str) -> Value:
        record = ffi.new("PDMAttrValue*")
        _ffi.check(lib.PDMLDBObjectGetLDBAttribute(handle(), _ffi.encode(name), record),
                   f"reading attribute {name!r}")
        return from_record(record, make_object)

    def write(name: str, value: Value) -> None:
        keep: List[Any] = []
        record = to_record(value, True, keep)
        _ffi.check(lib.PDMLDBObjectSetLDBAttribute(handle(), _ffi.encode(name), record),
                   f"writing attribute {name!r}")

    def remove(name: str) -> None:
        record = ffi.new("PDMAttrValue*")
        _ffi.check(lib.PDMLDBObjectSetLDBAttribute(handle(), _ffi.encode(name), record),
                   f"removing attribute {name!r}")

    def listed() -> List[str]:
        return _ffi.names(lib.PDMLDBObjectGetLDBAttributeNames, "listing attributes", handle())

    return AttributeMap(read, write, remove, listed)
