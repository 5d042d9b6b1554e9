#!/usr/bin/env python3
"""Runs bench/write_results.py on a sample of the benchmark's JSON (write_results_sample.json:
F11 with atomic writes on, its F11 and floor, the throughput of 1 and 2 processes, opening on
PostgreSQL and on SQLite) and checks where their figures land: F11_atomic, Throughput and PG_*
in their own sections, never in the main table; the sections this run did not measure kept as
the file has them."""
import json
import os
import shutil
import subprocess
import sys
import tempfile

root = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
script = os.path.join(root, "bench", "write_results.py")
sample = os.path.join(root, "tests", "bench", "write_results_sample.json")
failures = []


def check(condition, what):
    if not condition:
        failures.append(what)


def run(target, *sources, update=True):
    subprocess.run([sys.executable, script] + (["--update"] if update else []) + list(sources)
                   + [target], check=True, stdout=subprocess.DEVNULL)
    with open(target) as f:
        return f.read()


def sections(text):
    # Heading -> text of each "## " section.
    parts = text.split("\n## ")
    return {("## " + p.split("\n", 1)[0]): p for p in parts[1:]}


def main_table(text):
    return [line for line in text.split("\n## ", 1)[0].splitlines() if line.startswith("| ")]


atomic = "## Atomic writes (several operators on one stock)"
postgresql = "## PostgreSQL (PgDataObject) beside SQLite and a libpq floor"
reports = "## Reports: cost per sub-item"
atomic_rows = [
    "| atomic writes on (`F11_atomic`) | 7.88 | 6.55 - 9.20 | 3.79 |",
    "| atomic writes off (`F11`) | 22.24 | 21.48 - 23.01 | 10.48 |",
    "| floor (same statements, prepared once, each committed on its own) | 20.46 | 19.92 - 20.99 "
    "| 9.22 |",
    "it takes 0.35 x the wall time of F11 with them off and 0.39 x its floor's",
    "(CPU time: 0.36 x and 0.41 x)",
    "F11 of a 100-input product (163 lines), 10k stock lines, median of 2:",
]
throughput_rows = [
    "| processes | wall time (ms) | accepted discharges / s | refused | lock wait p95 (ms), median "
    "(min - max) of the 2 runs |",
    "| 1 | 59 | 413 | 52% | 0.0055 (0.005 - 0.006) |",
    "| 2 | 61 | 801 | 51% | 0.56 (0.006 - 1.1) |",
    "Accepted discharges per second with 2 processes: 1.94 x those with 1.",
]
postgresql_row = "| Open, 100 inputs | 100k | 3.3 | 1.6 | 44.0 | 22.0 | 2.00 | 2.2 | 1.1 |"

with tempfile.TemporaryDirectory() as folder:
    # Update mode on a copy of the committed results.
    target = os.path.join(folder, "RESULTS.md")
    shutil.copy(os.path.join(root, "bench", "RESULTS.md"), target)
    with open(target) as f:
        before = f.read()
    after = run(target, sample)
    old, new = sections(before), sections(after)
    check(list(old) == list(new), "the sections keep their order: %s" % list(new))
    table = main_table(after)
    check(not [r for r in table if r.startswith(("| F11_atomic", "| Throughput", "| PG_"))],
          "no F11_atomic, Throughput or PG_ rows in the main table")
    check("| F11 | 100 inputs | 10k | 22.244 | 7% | 20.455 | 5% | 1.09 |" in table,
          "F11 beside its floor in the main table")
    check("| Open | 100 inputs | 100k | 3.300 | 18% | 1.650 | 18% | 2.00 |" in table,
          "opening on SQLite in the main table")
    check(len(table) == len(main_table(before)), "the main table keeps its other rows")
    for row in atomic_rows + throughput_rows:
        check(row in new.get(atomic, ""), "atomic writes section has: " + row)
    check(postgresql_row in new.get(postgresql, ""), "PostgreSQL section has: " + postgresql_row)
    if "Reading the figures:" in old.get(postgresql, ""):
        check(old[postgresql][old[postgresql].index("Reading the figures:"):].rstrip()
              in new[postgresql], "the hand-written reading of the PostgreSQL figures is kept")
    check(old.get(reports, "").rstrip() == new.get(reports, "").rstrip(),
          "the reports' section is kept as it was")
    check("Rows of F11, Open updated" in after, "the header names the updated rows")

    # A later run that measured none of them keeps both sections as they are.
    with open(sample) as f:
        data = json.load(f)
    data["benchmarks"] = [b for b in data["benchmarks"] if b["run_name"].startswith("F11/")]
    only_f11 = os.path.join(folder, "f11.json")
    with open(only_f11, "w") as f:
        json.dump(data, f)
    again = sections(run(target, only_f11))
    check(again.get(atomic) == new.get(atomic), "an unmeasured atomic writes section is kept")
    check(again.get(postgresql) == new.get(postgresql), "an unmeasured PostgreSQL section is kept")

    # Only the throughput measured: the part about F11 stays as it was.
    data["benchmarks"] = [b for b in json.load(open(sample))["benchmarks"]
                          if b["run_name"].startswith("Throughput/")]
    only_throughput = os.path.join(folder, "throughput.json")
    with open(only_throughput, "w") as f:
        json.dump(data, f)
    partial = sections(run(target, only_throughput)).get(atomic, "")
    for row in atomic_rows + throughput_rows:
        check(row in partial, "after a throughput-only update the section still has: " + row)

    # A whole run into a new file writes both sections after the generated ones.
    fresh = os.path.join(folder, "fresh.md")
    written = run(fresh, sample, update=False)
    headings = list(sections(written))
    check(headings[-2:] == [atomic, postgresql] or headings[-2:] == [postgresql, atomic],
          "a new file gets both sections: %s" % headings)
    check(not [r for r in main_table(written) if r.startswith(("| F11_atomic", "| Throughput",
                                                               "| PG_"))],
          "no F11_atomic, Throughput or PG_ rows in a new file's main table")
    for row in atomic_rows + throughput_rows:
        check(row in sections(written).get(atomic, ""), "a new file's atomic section has: " + row)
    check(postgresql_row in sections(written).get(postgresql, ""),
          "a new file's PostgreSQL section has the opening row")

for failure in failures:
    print("FAIL:", failure)
print("%d failures" % len(failures))
sys.exit(1 if failures else 0)
