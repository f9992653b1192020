"""The package as a script uses it: what commits and aborts keep, typed attributes, the
exceptions and the error stack they carry, handles that outlive what they stood for, integrity
findings as strings, libraries and files."""

import datetime
import os

import pytest

import marrows
from marrows import _ffi


def test_transactions_keep_commits_and_take_back_aborts(tmp_path):
    path = tmp_path / "plant.ldb"
    with marrows.create(path) as db:
        with db.transaction():
            ws = db.create_workspace("design", directory=tmp_path / "plant.dir")
            ws.create_item("bolt-M8").target_revision = "A"
        with pytest.raises(RuntimeError):
            with db.transaction():
                ws.create_item("nut-M8")
                raise RuntimeError("changed my mind")
        assert not db.in_transaction
        assert [i.name for i in ws.items] == ["bolt-M8"], "the abort took the nut back"
    with marrows.connect(path) as db:
        with db.transaction():
            ws = db.workspace("design")
            assert ws["bolt-M8"].target_revision == "A"
            assert len(ws) == 1 and "bolt-M8" in ws and "nut-M8" not in ws
            assert [w.name for w in db.workspaces] == ["design"]
            with pytest.raises(KeyError):
                db.workspace("nowhere")
            with pytest.raises(KeyError):
                ws["nut-M8"]
    assert marrows.compact(path)["top_after"] > 0
    with pytest.raises(marrows.StoreExistsError):
        marrows.create(path)


def test_failures_raise_their_class_with_the_stack_and_leave_it_empty(db, ws):
    ws.create_item("bolt")
    cases = [
        (lambda: ws.create_item("bolt"), marrows.NameInUseError, 1901),
        (ws.undo, marrows.NothingToUndoError, 2651),
        (ws.redo, marrows.NothingToRedoError, 2652),
        (lambda: marrows.connect("/nonexistent/dir/x.ldb"), marrows.Error, None),
    ]
    for call, kind, code in cases:
        with pytest.raises(kind) as raised:
            call()
        if code is not None:
            assert raised.value.code == code
            assert raised.value.records[0].code == code
        assert _ffi.lib.nyxErrorGetCurrent() == _ffi.NULL, "no record is left behind"
    ws.create_item("nut")  # the next call isn't spoiled by an old record


def test_attributes_are_typed_mappings(db, ws):
    item = ws.create_item("bolt")
    when = datetime.datetime(2026, 11, 24, 12, 30, tzinfo=datetime.timezone.utc)
    values = {"count": 42, "mass": 0.012, "stocked": True, "supplier": "Acme", "since": when}
    item.attributes.update(values)
    assert dict(item.attributes) == values
    for value in ([1], None, b"bytes", 3 + 4j):
        with pytest.raises(TypeError):
            item.attributes["bad"] = value
    for value in (2**31, datetime.datetime(1900, 1, 1, tzinfo=datetime.timezone.utc)):
        with pytest.raises(ValueError):
            item.attributes["bad"] = value
    del item.attributes["count"]
    assert "count" not in item.attributes and len(item.attributes) == 4
    with pytest.raises(KeyError):
        del item.attributes["count"]

    part = db.create_object("Part")
    part.attributes["name"] = "bracket"
    db.attributes["part"] = part
    assert db.attributes["part"] == part and db.attributes["part"].type == "Part"
    assert db.attributes["part"].attributes["name"] == "bracket"
    with pytest.raises(TypeError):  # an item attribute holds no object
        item.attributes["part"] = part


def test_handles_that_outlive_their_transaction_or_store_raise(tmp_path):
    db = marrows.create(tmp_path / "s.ldb")
    with db.transaction():
        ws = db.create_workspace("design", directory=tmp_path / "d")
        kept = ws.create_item("kept")
    db.begin()
    doomed = ws.create_item("doomed")
    dependency = kept.add_dependency(doomed, kind="uses")
    db.abort()
    with db.transaction():
        with pytest.raises(marrows.StaleHandleError):
            doomed.target_revision = "A"
        with pytest.raises(marrows.StaleHandleError):
            dependency.kind
        kept.target_revision = "B"  # kept follows its name into the new transaction
    db.close()
    for use in (lambda: kept.name and kept.target_revision, lambda: ws.items, db.begin):
        with pytest.raises(marrows.StaleHandleError):
            use()


def test_check_integrity_gives_the_lines_it_printed(db, ws):
    bracket = ws.create_item("bracket")
    left = bracket.add_instance("bracket-left")
    assert left.library.name == "bracket" and left.is_instance and bracket.is_generic
    assert [m.name for m in left.library.members] == ["bracket", "bracket-left"]
    assert ws.check_integrity() == ["POSSIBLE CORRUPTION: LIL bracket has no file"]
    assert db.check_integrity() == ["POSSIBLE CORRUPTION: LIL bracket has no file"]
    left.library.extract_instance(left)
    assert left.library is None and not bracket.is_generic
    assert ws.check_integrity() == []


def test_files_and_dependencies(db, ws):
    frame, bolt = ws.create_item("frame", type="Assembly"), ws.create_item("bolt")
    path = frame.add_file()
    with open(path, "w") as out:
        out.write("drawing")
    assert frame.file == path and os.path.exists(path)
    uses = frame.add_dependency(bolt, kind="uses", type=1)
    uses.attributes["quantity"] = 4
    (dependency,) = frame.dependencies
    assert (dependency.child, dependency.kind, dependency.type) == (bolt, "uses", 1)
    assert dict(dependency.attributes) == {"quantity": 4}
    with pytest.raises(marrows.InUseError):
        bolt.delete()
    dependency.delete()
    bolt.delete()
    assert "bolt" not in ws
