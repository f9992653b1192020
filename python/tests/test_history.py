"""The history of a workspace against a plain model of it: hypothesis drives create, change,
rename, delete, new state, undo, redo, commit and abort, and after every step the items of the
current state, their revisions, the number of states and the current one must be the model's.

The model: a list of states, each a dict of item name to revision, and the current index.
A new state copies the current one and drops any after it; undo and redo move the index; a new
item, a rename, a delete or a change drops the states after the current one first, as a change
ends the redo history; a commit keeps the model, an abort goes back to it."""

import copy
import os
import tempfile

from hypothesis import settings
from hypothesis import strategies as st
from hypothesis.stateful import RuleBasedStateMachine, invariant, precondition, rule

import marrows

NAMES = st.sampled_from([f"part-{k:03d}" for k in range(8)])
REVISIONS = st.sampled_from(["A", "B", "C"])


class History(RuleBasedStateMachine):
    def __init__(self):
        super().__init__()
        self.folder = tempfile.TemporaryDirectory()
        self.db = marrows.create(os.path.join(self.folder.name, "h.ldb"))
        self.db.begin()
        self.ws = self.db.create_workspace("w", directory=os.path.join(self.folder.name, "w"))
        self.db.commit()
        self.db.begin()
        self.states = [{}]
        self.current = 0
        self.committed = copy.deepcopy((self.states, self.current))

    def teardown(self):
        self.db.close()
        self.folder.cleanup()

    @property
    def items(self):
        return self.states[self.current]

    def change(self):
        """What every change but a new item does to the model first."""
        del self.states[self.current + 1:]

    @rule(name=NAMES)
    def create(self, name):
        if name in self.items:
            try:
                self.ws.create_item(name)
            except marrows.NameInUseError:
                return
            raise AssertionError(f"{name} was made twice")
        self.ws.create_item(name)
        self.change()
        self.items[name] = ""

    @precondition(lambda self: self.items)
    @rule(data=st.data(), revision=REVISIONS)
    def revise(self, data, revision):
        name = data.draw(st.sampled_from(sorted(self.items)))
        self.ws[name].target_revision = revision
        self.change()
        self.items[name] = revision

    @precondition(lambda self: self.items)
    @rule(data=st.data(), new=NAMES)
    def rename(self, data, new):
        name = data.draw(st.sampled_from(sorted(self.items)))
        if new in self.items:
            try:
                self.ws[name].rename(new)
            except marrows.NameInUseError:
                return
            raise AssertionError(f"renamed onto {new}, which is taken")
        self.ws[name].rename(new)
        self.change()
        self.items[new] = self.items.pop(name)

    @precondition(lambda self: self.items)
    @rule(data=st.data())
    def delete(self, data):
        name = data.draw(st.sampled_from(sorted(self.items)))
        self.ws[name].delete()
        self.change()
        del self.items[name]

    @rule()
    def new_state(self):
        self.ws.new_state()
        self.change()
        self.states.append(dict(self.items))
        self.current += 1

    @rule()
    def undo(self):
        if self.current == 0:
            try:
                self.ws.undo()
            except marrows.NothingToUndoError:
                return
            raise AssertionError("undo in the first state")
        self.ws.undo()
        self.current -= 1

    @rule()
    def redo(self):
        if self.current == len(self.states) - 1:
            try:
                self.ws.redo()
            except marrows.NothingToRedoError:
                return
            raise AssertionError("redo in the last state")
        self.ws.redo()
        self.current += 1

    @rule()
    def commit(self):
        self.db.commit()
        self.db.begin()
        self.committed = copy.deepcopy((self.states, self.current))

    @rule()
    def abort(self):
        self.db.abort()
        self.db.begin()
        self.states, self.current = copy.deepcopy(self.committed)

    @invariant()
    def agrees_with_the_model(self):
        shown = {item.name: item.target_revision for item in self.ws.items}
        assert shown == self.items
        assert (self.ws.state_count, self.ws.state_number) == (len(self.states), self.current)


History.TestCase.settings = settings(
    max_examples=int(os.environ.get("MARROWS_HYPOTHESIS_EXAMPLES", "200")),
    stateful_step_count=30, deadline=None, database=None)
TestHistory = History.TestCase
