"""The exceptions of the package: one family under Error, with the library's error records."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Dict, Optional, Sequence, Tuple, Type


@dataclass(frozen=True)
class Record:
    """One record of the library's error stack."""

    code: int
    severity: int
    arguments: Tuple[Optional[str], ...]
    message: str


class Error(Exception):
    """A failure of the library, or a use of a handle that is no longer valid.

    ``code`` is the library's error code (0 for a failure the package found itself) and
    ``records`` the error stack as the call left it, newest first."""

    def __init__(self, message: str, code: int = 0, records: Sequence[Record] = ()) -> None:
        super().__init__(message)
        self.code = code
        self.records = tuple(records)


class NameInUseError(Error):
    """A name is taken: an item, library, workspace or definition of that name exists."""


class NothingToUndoError(Error):
    """Undo in the first state."""


class NothingToRedoError(Error):
    """Redo in the last state."""


class InUseError(Error):
    """An item can't go: a dependency points at it, or it is a modified library member."""


class StoreLockedError(Error):
    """The store file can't be opened, locked or closed, or another user holds it."""


class StoreExistsError(Error):
    """A store is to be made where a file exists already."""


class StoreDamagedError(Error):
    """The file isn't a store the library can read, or its log can't be recovered."""


class StoreVersionError(Error):
    """The file is of another format version: an older one needs marrows.upgrade."""


class StaleHandleError(Error):
    """A handle from an aborted transaction or a closed store, or of something gone."""


_BY_CODE: Dict[int, Type[Error]] = {
    1901: NameInUseError, 1905: NameInUseError, 1906: NameInUseError,
    2651: NothingToUndoError, 2652: NothingToRedoError,
    2603: InUseError, 2604: InUseError,
    2407: StoreLockedError, 2408: StoreLockedError, 2409: StoreLockedError,
    2410: StoreLockedError, 2412: StoreLockedError, 2415: StoreLockedError,
    2403: StoreDamagedError, 2405: StoreDamagedError, 2411: StoreDamagedError,
    2417: StoreDamagedError,
    2404: StoreVersionError, 2416: StoreVersionError,
    2406: StoreExistsError,
}


def error_for(code: int, what: str, records: Sequence[Record]) -> Error:
    """The exception of the class that the code names."""
    detail = records[0].message if records and records[0].message else ""
    arguments = ", ".join(a for a in (records[0].arguments if records else ()) if a)
    message = f"{what} failed with {code}"
    if detail:
        message += f": {detail}"
    elif arguments:
        message += f" ({arguments})"
    return _BY_CODE.get(code, Error)(message, code, records)
