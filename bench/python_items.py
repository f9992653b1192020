"""100,000 items with a revision each, in one transaction, from Python and from C.

    python bench/python_items.py [--items N] [--runs R] [--c PATH-TO-bench_items]

Each run makes a new store; the table gives the median of the runs and the ratio of Python to
C. The C program is bench_items of the build (build/bench/bench_items by default)."""

import argparse
import os
import statistics
import subprocess
import tempfile
import time

import marrows


def python_run(count: int, folder: str) -> float:
    start = time.perf_counter()
    with marrows.create(os.path.join(folder, "py.ldb")) as db:
        with db.transaction():
            ws = db.create_workspace("bench", directory=os.path.join(folder, "py.dir"))
            create = ws.create_item
            for k in range(count):
                create(f"part-{k:07d}").target_revision = "A"
        elapsed = time.perf_counter() - start
    return elapsed


def c_run(program: str, count: int, folder: str) -> float:
    out = subprocess.run([program, str(count), os.path.join(folder, "c.ldb"),
                          os.path.join(folder, "c.dir")], check=True, capture_output=True,
                         text=True).stdout
    return float(out)


def main() -> None:
    here = os.path.dirname(os.path.abspath(__file__))
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--items", type=int, default=100000)
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--c", default=os.path.join(here, "..", "build", "bench", "bench_items"))
    args = parser.parse_args()
    times = {"C": [], "Python": []}
    for _ in range(args.runs):
        with tempfile.TemporaryDirectory() as folder:
            times["C"].append(c_run(args.c, args.items, folder))
        with tempfile.TemporaryDirectory() as folder:
            times["Python"].append(python_run(args.items, folder))
    c, py = statistics.median(times["C"]), statistics.median(times["Python"])
    print(f"| {args.items:,} items with a revision, one transaction | seconds (median of {args.runs}) |")
    print("| --- | ---: |")
    print(f"| C (bench_items) | {c:.3f} |")
    print(f"| Python (marrows package) | {py:.3f} |")
    print(f"| Python / C | {py / c:.2f} |")


if __name__ == "__main__":
    main()
