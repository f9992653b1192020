"""What every test of the package shares: a fresh folder with a store path in it."""

import os
from pathlib import Path

import pytest

# Tests run against the library of the build tree unless told otherwise.
_BUILT = Path(__file__).resolve().parents[2] / "build" / "libmarrows.so"
if "MARROWS_LIBRARY" not in os.environ and _BUILT.exists():
    os.environ["MARROWS_LIBRARY"] = str(_BUILT)

import marrows  # noqa: E402  (after the library's path is known)


@pytest.fixture
def db(tmp_path):
    """A new store with a transaction open, closed (and the transaction aborted) at the end."""
    with marrows.create(tmp_path / "test.ldb") as database:
        database.begin()
        yield database


@pytest.fixture
def ws(db, tmp_path):
    return db.create_workspace("design", directory=tmp_path / "design", description="line 3")
