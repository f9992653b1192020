"""A small product structure in a marrows store, and its bill of materials as a tree.

    python bom.py [FOLDER]

The store goes into FOLDER (a new temporary folder if none is given)."""

import os
import sys
import tempfile

import marrows

STRUCTURE = {  # assembly: [(part, quantity), ...]
    "bike": [("frame", 1), ("wheel", 2), ("handlebar", 1)],
    "wheel": [("rim", 1), ("spoke", 32), ("hub", 1)],
    "hub": [("axle", 1), ("bearing", 2)],
}
REVISIONS = {"bike": "C", "frame": "B", "wheel": "A", "rim": "D", "hub": "B"}


def build(db, folder):
    with db.transaction():
        ws = db.create_workspace("bike", directory=os.path.join(folder, "bike"))
        names = set(STRUCTURE) | {part for parts in STRUCTURE.values() for part, _ in parts}
        for name in sorted(names):
            item = ws.create_item(name, type="Assembly" if name in STRUCTURE else "Part")
            item.target_revision = REVISIONS.get(name, "A")
        for assembly, parts in STRUCTURE.items():
            for part, quantity in parts:
                uses = ws[assembly].add_dependency(ws[part], kind="uses", type=1)
                uses.attributes["quantity"] = quantity


def print_tree(item, quantity=1, depth=0):
    print(f"{'    ' * depth}{quantity:>3} x {item.name} rev {item.target_revision} ({item.type})")
    for uses in item.dependencies:
        print_tree(uses.child, uses.attributes.get("quantity", 1), depth + 1)


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else tempfile.mkdtemp(prefix="marrows-bom-")
    os.makedirs(folder, exist_ok=True)
    path = os.path.join(folder, "bom.ldb")
    if os.path.exists(path):
        os.remove(path)
    with marrows.create(path) as db:
        build(db, folder)
        with db.transaction():
            print_tree(db.workspace("bike")["bike"])
            findings = db.check_integrity()
        print("integrity:", "clean" if not findings else findings)


if __name__ == "__main__":
    main()
