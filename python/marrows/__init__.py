"""marrows: script a marrows store from Python.

    import marrows

    with marrows.create("plant.ldb") as db:
        with db.transaction():
            ws = db.create_workspace("design", directory="plant.dir")
            bolt = ws.create_item("bolt-M8", type="Part")
            bolt.target_revision = "A"
            bolt.attributes["mass"] = 0.012

A store and a transaction are context managers: leaving a transaction's block commits it, an
exception aborts it. Every failure of the library raises marrows.Error (or a subclass), which
carries the code and the error stack; the stack is left empty for the next call.
"""

from .errors import (Error, InUseError, NameInUseError, NothingToRedoError, NothingToUndoError,
                     Record, StaleHandleError, StoreDamagedError, StoreExistsError,
                     StoreLockedError, StoreVersionError)
from .store import Database, StoredObject, compact, connect, create, library_version, upgrade
from .values import AttributeMap
from .workspace import Dependency, Item, Library, Workspace

__all__ = [
    "AttributeMap", "Database", "Dependency", "Error", "InUseError", "Item", "Library",
    "NameInUseError", "NothingToRedoError", "NothingToUndoError", "Record", "StaleHandleError",
    "StoreDamagedError", "StoreExistsError", "StoreLockedError", "StoreVersionError", "StoredObject", "Workspace",
    "compact", "connect", "create", "library_version", "upgrade",
]
