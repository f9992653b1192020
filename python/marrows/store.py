"""The store: connecting, transactions, the root's objects, compaction and upgrade."""

from __future__ import annotations

import contextlib
import os
from typing import Any, Dict, Iterator, List, Optional, Union

from . import _ffi
from ._ffi import ffi, lib
from .errors import Error, StaleHandleError
from .values import AttributeMap, object_attributes

PathLike = Union[str, "os.PathLike[str]"]


class Database:
    """One open store. A context manager: leaving the ``with`` block closes it, aborting a
    transaction left open.

    Handles of workspaces and items follow their names from one transaction to the next;
    handles of versions, dependencies and objects are good for the transaction they came from
    (and after its commit, until the next one starts). Using one after an abort or after
    ``close`` raises StaleHandleError."""

    def __init__(self, handle: Any, path: str) -> None:
        self._ldb = handle
        self.path = path
        self._epoch = 0
        self._in_transaction = False

    # -- life -------------------------------------------------------------------------------

    def close(self) -> None:
        """Aborts an open transaction and disconnects. Closing twice does nothing."""
        if self._ldb is None:
            return
        if self._in_transaction:
            self.abort()
        handle, self._ldb = self._ldb, None
        self._epoch += 1
        _ffi.check(lib.PDMLDBDisconnect(handle), "closing the store")

    def __enter__(self) -> "Database":
        return self

    def __exit__(self, *exc: Any) -> None:
        self.close()

    @property
    def closed(self) -> bool:
        """Whether close has run."""
        return self._ldb is None

    def _handle(self) -> Any:
        if self._ldb is None:
            raise StaleHandleError("the store is closed")
        return self._ldb

    # -- transactions -----------------------------------------------------------------------

    @property
    def in_transaction(self) -> bool:
        """Whether a transaction is open."""
        return self._in_transaction

    def begin(self) -> None:
        """Starts a transaction: the file is locked until commit or abort."""
        _ffi.check(lib.PDMLDBStartTransaction(self._handle()), "starting a transaction")
        # Another process may have committed: the library then reloads everything.
        self._epoch += 1
        self._in_transaction = True

    def commit(self) -> None:
        """Makes the transaction's changes durable; handles stay good."""
        _ffi.check(lib.PDMLDBCommitTransaction(self._handle()), "committing")
        self._in_transaction = False
        if os.environ.get("PDM_LDB_DEBUG") is not None:
            self._epoch += 1  # the library dropped its objects

    def abort(self) -> None:
        """Takes back everything since begin; handles taken since then are stale."""
        self._in_transaction = False
        self._epoch += 1
        _ffi.check(lib.PDMLDBAbortTransaction(self._handle()), "aborting")

    @contextlib.contextmanager
    def transaction(self) -> Iterator["Database"]:
        """``with db.transaction():`` commits at the end of the block and aborts if it raises."""
        self.begin()
        try:
            yield self
        except BaseException:
            if self._ldb is not None and self._in_transaction:
                self.abort()
            raise
        else:
            self.commit()

    # -- contents ---------------------------------------------------------------------------

    @property
    def attributes(self) -> AttributeMap:
        """The root's attributes: where the store's application objects hang."""
        return object_attributes(lambda: ffi.cast("LDBObjectHandle", self._handle()), self._object)

    def create_object(self, type: str) -> "StoredObject":
        """A new application object of a free type name; it is kept only if something that is
        kept refers to it, such as a root attribute."""
        out = ffi.new("LDBObjectHandle*")
        _ffi.check(lib.PDMLDBObjectCreate(self._handle(), _ffi.encode(type), out),
                   f"creating an object of type {type!r}")
        return self._object(out[0])

    def _object(self, handle: Any) -> "StoredObject":
        return StoredObject(self, handle)

    def create_workspace(self, name: str, directory: PathLike, description: str = ""):
        """A new workspace whose directory is made at once (it must not exist)."""
        from .workspace import Workspace

        out = ffi.new("WorkspaceHandle*")
        _ffi.check(lib.PDMWorkspaceCreate(self._handle(), _ffi.encode(name),
                                          _ffi.encode(os.fspath(directory)),
                                          _ffi.encode(description), out),
                   f"creating workspace {name!r}")
        return Workspace(self, name, out[0])

    def workspace(self, name: str):
        """The workspace of the name; KeyError if there is none."""
        from .workspace import Workspace

        handle = self._workspace_handle(name)
        if handle is None:
            raise KeyError(name)
        return Workspace(self, name, handle)

    def _workspace_handle(self, name: str) -> Optional[Any]:
        out = ffi.new("WorkspaceHandle*")
        _ffi.check(lib.PDMLDBGetWorkspaceByName(self._handle(), _ffi.encode(name), out),
                   f"finding workspace {name!r}")
        return out[0] if out[0] != ffi.NULL else None

    @property
    def workspaces(self) -> List[Any]:
        """The workspaces, in the store's order."""
        from .workspace import Workspace

        handles = _ffi.listing(lib.PDMLDBGetWorkspaces, "listing the workspaces", self._handle())
        result = []
        for handle in handles:
            name = ffi.new("const char**")
            _ffi.check(lib.PDMWorkspaceGetName(handle, name), "reading a workspace's name")
            result.append(Workspace(self, _ffi.text(name[0]), handle))
        return result

    def check_integrity(self) -> List[str]:
        """The integrity check of the store (up to the first workspace with a finding): its
        findings, one string each; empty when all is well."""
        found = ffi.new("int*")
        output, _ = _ffi.captured_stdout(
            lambda: _ffi.check(lib.PDMLDBCheckIntegrity(self._handle(), found),
                               "checking the store"))
        return [line for line in output.splitlines() if line]

    def __repr__(self) -> str:
        return f"<marrows.Database {self.path!r}{' closed' if self.closed else ''}>"


class StoredObject:
    """An application object of the store, with a type name and attributes. Good for the
    transaction it was read in."""

    def __init__(self, db: Database, handle: Any) -> None:
        self._db = db
        self._h = handle
        self._epoch = db._epoch

    def _object_handle(self) -> Any:
        self._db._handle()
        if self._epoch != self._db._epoch:
            raise StaleHandleError("a stored object from an earlier transaction; read it again")
        return self._h

    @property
    def type(self) -> str:
        """The object's type name."""
        out = ffi.new("const char**")
        _ffi.check(lib.PDMLDBObjectGetType(self._object_handle(), out), "reading the type")
        return _ffi.text(out[0])

    @property
    def attributes(self) -> AttributeMap:
        """The object's attributes, which may hold other stored objects."""
        return object_attributes(self._object_handle, self._db._object)

    def __eq__(self, other: object) -> bool:
        return isinstance(other, StoredObject) and other._h == self._h

    def __hash__(self) -> int:
        return hash(int(ffi.cast("uintptr_t", self._h)))

    def __repr__(self) -> str:
        return f"<marrows.StoredObject at {int(ffi.cast('uintptr_t', self._h)):#x}>"


def create(path: PathLike) -> Database:
    """Makes a new store (the file must not exist) and opens it."""
    out = ffi.new("LDBHandle*")
    _ffi.check(lib.PDMLDBCreate(_ffi.encode(os.fspath(path)), out), f"creating {path}")
    return Database(out[0], os.fspath(path))


def connect(path: PathLike) -> Database:
    """Opens an existing store, repairing it first if a commit was cut short."""
    out = ffi.new("LDBHandle*")
    _ffi.check(lib.PDMLDBConnect(_ffi.encode(os.fspath(path)), out), f"opening {path}")
    return Database(out[0], os.fspath(path))


def compact(path: PathLike, trim_only: bool = False) -> Dict[str, int]:
    """Rewrites a store without its dead space (or only cuts the file to its used length);
    gives the figures of the compaction."""
    options = ffi.new("PDMLDBCompactOptions*")
    options.compact = 0 if trim_only else 1
    options.trim = 1
    _ffi.check(lib.PDMLDBCompact(_ffi.encode(os.fspath(path)), options), f"compacting {path}")
    return {"top_before": options.topBefore, "top_after": options.topAfter,
            "records_copied": options.recordsCopied}


def upgrade(path: PathLike) -> None:
    """Rewrites a store of the older format in the current one, in place."""
    _ffi.check(lib.PDMLDBUpgrade(_ffi.encode(os.fspath(path))), f"upgrading {path}")


def library_version() -> str:
    """The version of the loaded library, "4.0.0"."""
    numbers = [ffi.new("int*") for _ in range(3)]
    lib.PDMGetLibVersion(*numbers)
    return ".".join(str(n[0]) for n in numbers)


__all__ = ["Database", "StoredObject", "create", "connect", "compact", "upgrade",
           "library_version", "Error"]
