"""Workspaces, their states, items, dependencies and libraries."""

from __future__ import annotations

from typing import Any, Callable, Iterator, List, Optional

from . import _ffi
from ._ffi import ffi, lib
from .errors import StaleHandleError
from .values import AttributeMap, Value, from_record, to_record


def _text_out(call: Callable[..., int], handle: Any, what: str) -> str:
    out = ffi.new("const char**")
    _ffi.check(call(handle, out), what)
    return _ffi.text(out[0])


def _flag_out(call: Callable[..., int], handle: Any, what: str) -> bool:
    out = ffi.new("int*")
    _ffi.check(call(handle, out), what)
    return out[0] != 0


def _disk_path(stored: str) -> str:
    """The library keeps "|" as the separator of the paths it stores."""
    return stored.replace("|", "/")


class Workspace:
    """A workspace: a named working area with a directory on disk, items and a history of
    states. It follows its name from one transaction to the next."""

    def __init__(self, db: Any, name: str, handle: Any) -> None:
        self._db = db
        self._name = name
        self._h = handle
        self._epoch = db._epoch

    def _handle(self) -> Any:
        self._db._handle()
        if self._epoch != self._db._epoch:
            handle = self._db._workspace_handle(self._name)
            if handle is None:
                raise StaleHandleError(f"workspace {self._name!r} no longer exists")
            self._h, self._epoch = handle, self._db._epoch
        return self._h

    @property
    def name(self) -> str:
        """The workspace's name."""
        return self._name

    @property
    def directory(self) -> str:
        """The directory of its local files, as the disk writes it."""
        return _disk_path(_text_out(lib.PDMWorkspaceGetPath, self._handle(), "reading the directory"))

    @property
    def description(self) -> str:
        """A free text about the workspace."""
        return _text_out(lib.PDMWorkspaceGetDescription, self._handle(), "reading the description")

    @description.setter
    def description(self, text: str) -> None:
        _ffi.check(lib.PDMWorkspaceSetDescription(self._handle(), _ffi.encode(text)),
                   "writing the description")

    # -- items ------------------------------------------------------------------------------

    def create_item(self, name: str, type: str = "Part") -> "Item":
        """A new item of the name and type (a type is made on first use)."""
        out = ffi.new("WSPIHandle*")
        _ffi.check(lib.PDMWorkspaceCreatePI(self._handle(), _ffi.encode(name), _ffi.encode(type), out),
                   f"creating item {name!r}")
        return Item(self, name, out[0])

    def _item_handle(self, name: str) -> Optional[Any]:
        out = ffi.new("WSPIHandle*")
        _ffi.check(lib.PDMWorkspaceGetWSPIByName(self._handle(), _ffi.encode(name), out),
                   f"finding item {name!r}")
        return out[0] if out[0] != ffi.NULL else None

    def __getitem__(self, name: str) -> "Item":
        handle = self._item_handle(name)
        if handle is None:
            raise KeyError(name)
        return Item(self, name, handle)

    def get(self, name: str) -> Optional["Item"]:
        """The item of the name, None if there is none."""
        handle = self._item_handle(name)
        return Item(self, name, handle) if handle is not None else None

    def __contains__(self, name: object) -> bool:
        return isinstance(name, str) and self._item_handle(name) is not None

    def _item_of(self, handle: Any) -> "Item":
        return Item(self, _text_out(lib.PDMWSPIGetName, handle, "reading an item's name"), handle)

    @property
    def items(self) -> List["Item"]:
        """The live items of the current state, in the store's order."""
        handles = _ffi.listing(lib.PDMWorkspaceGetWSPIs, "listing items", self._handle())
        return [self._item_of(h) for h in handles]

    @property
    def modified_items(self) -> List["Item"]:
        """The live items whose current version is modified."""
        handles = _ffi.listing(lib.PDMWorkspaceGetModifiedWSPIs, "listing items", self._handle())
        return [self._item_of(h) for h in handles]

    def __iter__(self) -> Iterator["Item"]:
        return iter(self.items)

    def __len__(self) -> int:
        return len(_ffi.listing(lib.PDMWorkspaceGetWSPIs, "listing items", self._handle()))

    # -- states -----------------------------------------------------------------------------

    def new_state(self) -> None:
        """Closes the current state; a new one that shares everything with it follows."""
        _ffi.check(lib.PDMWorkspaceCreateState(self._handle()), "making a new state")

    def undo(self) -> None:
        """Back to the state before; NothingToUndoError in the first."""
        _ffi.check(lib.PDMWorkspaceUndo(self._handle()), "undo")

    def redo(self) -> None:
        """On to the state after; NothingToRedoError in the last."""
        _ffi.check(lib.PDMWorkspaceRedo(self._handle()), "redo")

    @property
    def state_count(self) -> int:
        """The number of states, the current one included."""
        out = ffi.new("int*")
        _ffi.check(lib.PDMWorkspaceGetStateCount(self._handle(), out), "counting states")
        return out[0]

    @property
    def state_number(self) -> int:
        """The current state, counted from 0, the oldest."""
        out = ffi.new("int*")
        _ffi.check(lib.PDMWorkspaceGetCurrentStateNumber(self._handle(), out), "reading the state")
        return out[0]

    def purge_redo(self) -> None:
        """Drops the states after the current one."""
        _ffi.check(lib.PDMWorkspacePurgeRedoStack(self._handle()), "purging the redo states")

    def purge(self, count: int = 0) -> None:
        """Drops the `count` oldest states, or all before the current one for 0."""
        _ffi.check(lib.PDMWorkspacePurge(self._handle(), count), "purging states")

    def check_integrity(self) -> List[str]:
        """The workspace's integrity check: its findings (and notes), one string each."""
        found = ffi.new("int*")
        output, _ = _ffi.captured_stdout(lambda: _ffi.check(
            lib.PDMWorkspaceCheckIntegrity(self._handle(), found), "checking the workspace"))
        return [line for line in output.splitlines() if line]

    def delete(self) -> None:
        """Deletes the workspace; its directory goes at commit."""
        _ffi.check(lib.PDMWorkspaceDelete(self._handle()), f"deleting workspace {self._name!r}")

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Workspace) and other._db is self._db and other._name == self._name

    def __hash__(self) -> int:
        return hash(("workspace", self._name))

    def __repr__(self) -> str:
        return f"<marrows.Workspace {self._name!r}>"


class Item:
    """An item of a workspace; it follows its name from one transaction to the next. Its data
    is that of its current version, which a write in a new state copies first."""

    def __init__(self, workspace: Workspace, name: str, handle: Any) -> None:
        self._ws = workspace
        self._db = workspace._db
        self._name = name
        self._h = handle
        self._epoch = self._db._epoch

    def _handle(self) -> Any:
        self._db._handle()
        if self._epoch != self._db._epoch:
            handle = self._ws._item_handle(self._name)
            if handle is None:
                raise StaleHandleError(f"item {self._name!r} no longer exists")
            self._h, self._epoch = handle, self._db._epoch
        return self._h

    def _text(self, call: Callable[..., int], what: str) -> str:
        return _text_out(call, self._handle(), what)

    def _set(self, call: Callable[..., int], value: str, what: str) -> None:
        _ffi.check(call(self._handle(), _ffi.encode(value)), what)

    @property
    def workspace(self) -> Workspace:
        """The workspace the item belongs to."""
        return self._ws

    @property
    def name(self) -> str:
        """The item's name in the current state."""
        return self._name

    @property
    def type(self) -> str:
        """The name of the item's type."""
        return self._text(lib.PDMWSPIGetCurrWSPIVTypeName, "reading the type")

    description = property(
        lambda self: self._text(lib.PDMWSPIGetCurrWSPIVDescription, "reading the description"),
        lambda self, v: self._set(lib.PDMWSPISetCurrWSPIVDescription, v, "writing the description"),
        doc="The current version's description.")
    target_revision = property(
        lambda self: self._text(lib.PDMWSPIGetCurrWSPIVTargetRevision, "reading the revision"),
        lambda self, v: self._set(lib.PDMWSPISetCurrWSPIVTargetRevision, v, "writing the revision"),
        doc="The revision the item is to get.")
    target_branch_name = property(
        lambda self: self._text(lib.PDMWSPIGetCurrWSPIVTargetBranchName, "reading the branch"),
        lambda self, v: self._set(lib.PDMWSPISetCurrWSPIVTargetBranchName, v, "writing the branch"),
        doc="The branch the item is to go to.")
    target_release_level = property(
        lambda self: self._text(lib.PDMWSPIGetCurrWSPIVTargetReleaseLevel, "reading the release level"),
        lambda self, v: self._set(lib.PDMWSPISetCurrWSPIVTargetReleaseLevel, v,
                                  "writing the release level"),
        doc="The release level the item is to get.")
    target_folder = property(
        lambda self: self._text(lib.PDMWSPIGetCurrWSPIVTargetFolder, "reading the folder"),
        lambda self, v: self._set(lib.PDMWSPISetCurrWSPIVTargetFolder, v, "writing the folder"),
        doc="The folder the item is to land in; a generic's is its library's too.")

    @property
    def modified(self) -> bool:
        """Whether the current version holds work not yet submitted."""
        return _flag_out(lib.PDMWSPIIsCurrWSPIVModified, self._handle(), "reading the state")

    @property
    def attributes(self) -> AttributeMap:
        """The current version's attributes (int, float, bool, str, datetime)."""

        def read(name: str) -> Value:
            record = ffi.new("PDMAttrValue*")
            _ffi.check(lib.PDMWSPIGetCurrWSPIVAttribute(self._handle(), _ffi.encode(name), record),
                       f"reading attribute {name!r}")
            return from_record(record)

        def write(name: str, value: Value) -> None:
            keep: List[Any] = []
            record = to_record(value, False, keep)
            _ffi.check(lib.PDMWSPISetCurrWSPIVAttribute(self._handle(), _ffi.encode(name), record),
                       f"writing attribute {name!r}")

        def remove(name: str) -> None:
            _ffi.check(lib.PDMWSPIUnSetCurrWSPIVAttribute(self._handle(), _ffi.encode(name)),
                       f"removing attribute {name!r}")

        def listed() -> List[str]:
            return _ffi.names(lib.PDMWSPIGetCurrWSPIVAttributeNames, "listing attributes",
                              self._handle())

        return AttributeMap(read, write, remove, listed)

    def rename(self, new_name: str) -> None:
        """A new name in the current state; an undo gives the old one back."""
        _ffi.check(lib.PDMWSPIRename(self._handle(), _ffi.encode(new_name)),
                   f"renaming {self._name!r}")
        self._name = new_name

    def delete(self) -> None:
        """Deletes the item in the current state; an undo brings it back."""
        _ffi.check(lib.PDMWSPIDelete(self._handle()), f"deleting {self._name!r}")

    # -- files ------------------------------------------------------------------------------

    def add_file(self) -> str:
        """A new local file of the item: the path to write it at."""
        out = ffi.new("const char**")
        _ffi.check(lib.PDMWSPIAddCurrWSPIVFile(self._handle(), out), f"adding a file to {self._name!r}")
        return _disk_path(_ffi.text(out[0]))

    @property
    def file(self) -> Optional[str]:
        """The path of the item's first file, None if it has none."""
        if not _flag_out(lib.PDMWSPIHasCurrWSPIVFile, self._handle(), "reading the file"):
            return None
        return _disk_path(self._text(lib.PDMWSPIGetCurrWSPIVPathForRead, "reading the file"))

    # -- dependencies -----------------------------------------------------------------------

    def add_dependency(self, child: "Item", kind: str, type: int = 0) -> "Dependency":
        """This item's current version comes to depend on `child`."""
        out = ffi.new("WSDependencyHandle*")
        _ffi.check(lib.PDMWSPIAddCurrWSPIVDependency(self._handle(), child._handle(),
                                                     _ffi.encode(kind), type, out),
                   f"adding a dependency of {self._name!r}")
        return Dependency(self, out[0])

    @property
    def dependencies(self) -> List["Dependency"]:
        """The dependencies of the current version, in their order."""
        handles = _ffi.listing(lib.PDMWSPIGetCurrWSPIVDependencies, "listing dependencies",
                               self._handle())
        return [Dependency(self, h) for h in handles]

    # -- generics, instances and libraries --------------------------------------------------

    def add_instance(self, name: str, type: Optional[str] = None) -> "Item":
        """A new item, an instance of this one; the first founds a library of this item's name."""
        out = ffi.new("WSPIHandle*")
        _ffi.check(lib.PDMWSPIAddInstance(self._handle(), _ffi.encode(name),
                                          _ffi.encode(type) if type is not None else ffi.NULL, out),
                   f"adding instance {name!r}")
        return Item(self._ws, name, out[0])

    @property
    def library(self) -> Optional["Library"]:
        """The library of a generic or an instance; None for a plain item."""
        if not _flag_out(lib.PDMWSPIIsCurrWSPIVLibraryMember, self._handle(), "reading the role"):
            return None
        out = ffi.new("WSLILHandle*")
        _ffi.check(lib.PDMWSPIGetCurrWSPIVLIL(self._handle(), out), "reading the library")
        return Library(self._ws, out[0]) if out[0] != ffi.NULL else None

    @property
    def is_instance(self) -> bool:
        """Whether the item is an instance of a generic."""
        return _flag_out(lib.PDMWSPIIsCurrWSPIVInstance, self._handle(), "reading the role")

    @property
    def is_generic(self) -> bool:
        """Whether the item has instances."""
        return _flag_out(lib.PDMWSPIHasCurrWSPIVInstance, self._handle(), "reading the role")

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Item) and other._ws == self._ws and other._name == self._name

    def __hash__(self) -> int:
        return hash(("item", self._ws.name, self._name))

    def __repr__(self) -> str:
        return f"<marrows.Item {self._name!r} of {self._ws.name!r}>"


class _Transient:
    """A handle good for the transaction it was read in."""

    def __init__(self, db: Any, handle: Any) -> None:
        self._db = db
        self._h = handle
        self._epoch = db._epoch

    def _handle(self) -> Any:
        self._db._handle()
        if self._epoch != self._db._epoch:
            raise StaleHandleError(f"a {type(self).__name__.lower()} from an earlier transaction; "
                                   "read it again")
        return self._h


class Dependency(_Transient):
    """A dependency of an item's current version on a child item."""

    def __init__(self, parent: Item, handle: Any) -> None:
        super().__init__(parent._db, handle)
        self._parent = parent

    @property
    def parent(self) -> Item:
        """The item whose current version has the dependency."""
        return self._parent

    @property
    def child_name(self) -> str:
        """The name of the child, also of one no longer in the workspace."""
        return _text_out(lib.PDMWSDependencyGetChildName, self._handle(), "reading the child")

    @property
    def child(self) -> Optional[Item]:
        """The child item, None if it isn't live in the workspace."""
        return self._parent.workspace.get(self.child_name)

    @property
    def kind(self) -> str:
        """The dependency's class text."""
        return _text_out(lib.PDMWSDependencyGetClass, self._handle(), "reading the kind")

    @property
    def type(self) -> int:
        """The dependency's type number."""
        out = ffi.new("int*")
        _ffi.check(lib.PDMWSDependencyGetType(self._handle(), out), "reading the type")
        return out[0]

    @property
    def attributes(self) -> AttributeMap:
        """The dependency's own attributes; writing them writes the parent's version."""

        def read(name: str) -> Value:
            record = ffi.new("PDMAttrValue*")
            _ffi.check(lib.PDMWSDependencyGetAttribute(self._handle(), _ffi.encode(name), record),
                       f"reading attribute {name!r}")
            return from_record(record)

        def write(name: str, value: Value) -> None:
            keep: List[Any] = []
            record = to_record(value, False, keep)
            _ffi.check(lib.PDMWSPISetCurrWSPIVDepAttr(self._parent._handle(), self._handle(),
                                                      _ffi.encode(name), record),
                       f"writing attribute {name!r}")

        def remove(name: str) -> None:
            _ffi.check(lib.PDMWSPIUnSetCurrWSPIVDepAttr(self._parent._handle(), self._handle(),
                                                        _ffi.encode(name)),
                       f"removing attribute {name!r}")

        def listed() -> List[str]:
            return _ffi.names(lib.PDMWSDependencyGetAttributeNames, "listing attributes",
                              self._handle())

        return AttributeMap(read, write, remove, listed)

    def delete(self) -> None:
        """Takes the dependency out of the parent's current version."""
        _ffi.check(lib.PDMWSPIDeleteCurrWSPIVDependency(self._parent._handle(), self._handle()),
                   "deleting a dependency")

    def __repr__(self) -> str:
        return f"<marrows.Dependency {self._parent.name!r} -> {self.child_name!r}>"


class Library(_Transient):
    """A library: a generic item with its instances."""

    def __init__(self, workspace: Workspace, handle: Any) -> None:
        super().__init__(workspace._db, handle)
        self._ws = workspace

    @property
    def name(self) -> str:
        """The library's name: its first generic's, unless renamed."""
        return _text_out(lib.PDMWSLILGetName, self._handle(), "reading the library's name")

    @property
    def members(self) -> List[Item]:
        """The generic first, then the instances in the order they joined."""
        version = ffi.new("WSLILVHandle*")
        _ffi.check(lib.PDMWSLILGetCurrentLILV(self._handle(), version), "reading the library")
        handles = _ffi.listing(lib.PDMWSLILVGetWSPIs, "listing members", version[0])
        return [self._ws._item_of(h) for h in handles]

    def extract_instance(self, instance: Item) -> None:
        """Makes a plain instance an ordinary item again; the last takes the library with it."""
        _ffi.check(lib.PDMWSLILExtractInstance(self._handle(), instance._handle()),
                   f"extracting {instance.name!r}")

    def delete_instance(self, instance: Item) -> None:
        """Extracts the instance and deletes it."""
        _ffi.check(lib.PDMWSLILDeleteInstance(self._handle(), instance._handle()),
                   f"deleting {instance.name!r}")

    def delete_with_members(self) -> None:
        """Deletes every member item and the library."""
        _ffi.check(lib.PDMWSLILDeleteWithMemberWSPIs(self._handle()), "deleting the library")

    def __repr__(self) -> str:
        return f"<marrows.Library {self.name!r}>"


__all__ = ["Workspace", "Item", "Dependency", "Library"]
