#!/usr/bin/env python3
"""Turns the benchmark's JSON output (with repetitions) into bench/RESULTS.md: the median
time of each benchmark beside its floor, the ratio, the spread across repetitions, and the
targets of the component. F11 with atomic writes on (F11_atomic) and the throughput of several
processes (Throughput) go to the section "Atomic writes", the cases on PostgreSQL (PG_*) to the
section "PostgreSQL", each written only when the run measured them."""
import json
import statistics
import sys
from collections import defaultdict

args = [a for a in sys.argv[1:] if a != "--update"]
# --update: the run measured only some benchmarks (a --benchmark_filter); the rows it did not
# measure are kept from the target file as they stand.
update = "--update" in sys.argv[1:]
# Several outputs (runs of different sizes, say) are read as one run.
sources, target = args[:-1], args[-1]
data = {"benchmarks": []}
contexts = []
for source in sources:
    with open(source) as f:
        one = json.load(f)
    data["benchmarks"] += one["benchmarks"]
    contexts.append(one.get("context", {}))
data["context"] = contexts[0]

runs = defaultdict(list)
cpu = defaultdict(list)
counters = {}
# Every repetition's counters (the throughput's accepted discharges per second, say).
repetitions = defaultdict(list)
for b in data["benchmarks"]:
    if b.get("run_type") != "iteration" or b.get("error_occurred"):
        continue
    # Options the benchmark was registered with ("iterations:1", "manual_time") are not part of
    # its case: Throughput/4/iterations:1/manual_time is read as Throughput/4.
    name = "/".join(p for p in b["run_name"].split("/")
                    if ":" not in p and p not in ("manual_time", "real_time"))
    runs[name].append(b["real_time"])  # milliseconds
    cpu[name].append(b["cpu_time"])
    counters[name] = {k: v for k, v in b.items() if k in ("lines", "rows", "per_subitem")}
    repetitions[name].append(b)

# Benchmarks with a section of their own instead of rows in the main table: F11 with atomic
# writes on and the throughput of several processes ("Atomic writes"), the cases on PostgreSQL
# ("PostgreSQL").
own_section = ("F11_atomic", "Throughput", "PG_")


def median(name):
    return statistics.median(runs[name]) if runs.get(name) else None


def spread(name):
    times = runs.get(name) or []
    if len(times) < 2:
        return "-"
    return "%.0f%%" % (100 * (max(times) - min(times)) / statistics.median(times))


def label(name):
    parts = name.split("/")
    base = parts[0]
    # The cases on PostgreSQL (PG_*) carry their number of stock lines negated.
    lines = abs(int(parts[1]))
    args = parts[2:]
    size = {10000: "10k", 100000: "100k", 1000000: "1M"}.get(lines, str(lines))
    kinds = {"0": "declaration", "1": "control listing", "2": "comparative listing"}
    if base == "Report":
        what = "%s, %s sub-items" % (kinds[args[0]], args[1])
    elif base == "Obtener_Insumos":
        what = "one item (6 lines)"
    elif base == "EnviarNroItem":
        what = "1000 sub-items (500 items)"
    else:
        what = "%s inputs" % args[0]
    return base, size, what


rows = []
for name in runs:
    if name.split("/")[0].endswith(("_floor", "_lookups")) or name.startswith(own_section):
        continue
    parts = name.split("/")
    floor_name = "/".join([parts[0] + "_floor"] + parts[1:])
    component, floor = median(name), median(floor_name)
    base, size, what = label(name)
    ratio = "%.2f" % (component / floor) if floor else "-"
    rows.append((base, what, size, component, spread(name), floor, spread(floor_name), ratio, name))

order = {"Open": 0, "F11": 1, "EliminarInsumo": 2, "Report": 3, "Obtener_Insumos": 4,
         "EnviarNroItem": 5}
sizes = {"10k": 0, "100k": 1, "1M": 2}


def case_key(what):
    # Cases sort by their text with the numbers in it read as numbers.
    import re
    return [int(p) if p.isdigit() else p for p in re.split(r"(\d+)", what)]


context = data.get("context", {})
header = ("Written by `scripts/bench` on %s (%s CPUs at %s MHz, load average %s), Release build. " % (
    context.get("date", "?"), context.get("num_cpus", "?"), context.get("mhz_per_cpu", "?"),
    ", ".join("%.2f" % x for x in context.get("load_avg", []))))
if update:
    # The rows this run did not measure stay as the file has them, with its header.
    with open(target) as f:
        previous = f.read().split("\n")
    measured = {(r[0], r[1], r[2]) for r in rows}
    in_table = False
    for line in previous:
        if line.startswith("| operation |"):
            in_table = True
            continue
        if in_table and not line.startswith("|"):
            break
        if not in_table or line.startswith("| ---"):
            continue
        cells = [c.strip() for c in line.strip("|").split("|")]
        base, what, size = cells[0], cells[1], cells[2]
        if (base, what, size) in measured:
            continue
        number = lambda c: float(c) if c not in ("-", "") else None
        rows.append((base, what, size, number(cells[3]), cells[4], number(cells[5]), cells[6],
                     cells[7], None))
    for line in previous:
        if line.startswith("Written by `scripts/bench`"):
            # An earlier update's note is replaced by this one's.
            header = line.split("Release build.")[0] + "Release build. "
            break
    header += ("Rows of %s updated on %s. " % (
        ", ".join(sorted({r[0] for r in rows if (r[0], r[1], r[2]) in measured})),
        ", ".join("%s (load average %s)" % (c.get("date", "?"),
                                             ", ".join("%.2f" % x for x in c.get("load_avg", [])))
                  for c in contexts)))
rows.sort(key=lambda r: (order.get(r[0], 9), case_key(r[1]), sizes.get(r[2], 9)))

out = []
out.append("# Benchmark results\n")
out.append(header +
           "Each figure is the median wall time of %s repetitions, run interleaved in random order "
           "across all benchmarks; *spread* is (max - min) / "
           "median over them, the machine's noise. The floor runs the same SQL statements "
           "directly through the SQLite C interface, prepared once with bound values; the ratio "
           "is component / floor.\n" % (
               max((len(v) for v in runs.values()), default=0)))
out.append("| operation | case | stock lines | component (ms) | spread | floor (ms) | spread | ratio |")
out.append("| --- | --- | --- | ---: | ---: | ---: | ---: | ---: |")
for base, what, size, component, sc, floor, sf, ratio, _ in rows:
    out.append("| %s | %s | %s | %.3f | %s | %s | %s | %s |" % (
        base, what, size, component, sc, "%.3f" % floor if floor else "-", sf, ratio))

# Targets.
out.append("\n## Targets\n")


def find(base, size, what):
    for r in rows:
        if r[0] == base and r[2] == size and r[1] == what:
            return r
    return None


open_, f11 = find("Open", "1M", "100 inputs"), find("F11", "1M", "100 inputs")
if open_ and f11:
    total = open_[3] + f11[3]
    floor = (open_[5] or 0) + (f11[5] or 0)
    out.append("- Opening plus F11, 100-input product, 1M stock lines: %.1f ms (target 50 ms): %s; "
               "%.2f x the floor's %.1f ms (target 1.5 x): %s." % (
                   total, "met" if total <= 50 else "missed", total / floor, floor,
                   "met" if total / floor <= 1.5 else "missed"))
decl = find("Report", "1M", "declaration, 1000 sub-items")
if decl:
    out.append("- Sworn declaration, 1,000 sub-items (1M stock lines): %.0f ms (target 1 s): %s." % (
        decl[3], "met" if decl[3] <= 1000 else "missed"))
growth = []
for base, what in (("Open", "100 inputs"), ("F11", "100 inputs"), ("EliminarInsumo", "100 inputs"),
                   ("Report", "declaration, 100 sub-items"), ("Obtener_Insumos", "one item (6 lines)")):
    small, large = find(base, "10k", what), find(base, "1M", what)
    if small and large:
        growth.append("%s %s: %.2f x" % (base, what, large[3] / small[3]))
if growth:
    out.append("- Cost growth from 10k to 1M stock lines (target at most 2 x): " + "; ".join(growth) + ".")

out.append("""
## Reading the figures

- Shape of the data (bench/BenchDatabase.h): every input code sits on 20 stock lines at every
  size, so the growth from 10k to 1M stock lines measures the index lookups, not longer FIFO
  lists. Operations R10, R100 and R1000 have the same size in every database.
- What made the ratios: the data-access object now prepares each statement shape once and
  binds the values the component writes into its text (the text itself is unchanged), keeps
  the column kinds the rewriting for SQLite needs with the prepared statement, reads DATE
  columns without Qt's date parser and finds fields without lower-casing. Before that, opening
  a 100-input allocation cost about 11 x its floor and F11 about 1.8 x (10k stock lines).
- Opening: the allocation reads an input's stock lines through DataObject::forEachRow, which
  SqlDataObject answers by stepping the query only until the FIFO covers the requirement, as
  the floor does. What remains of the gap is turning each row into the recordset's values
  (QVariant, QString), finding fields by name, taking the literals out of each statement's
  text and rounding each quantity the component's way. While the whole stock of each input was
  read into a recordset, opening cost about 1.9 x its floor at 1M stock lines.
- Reports: the floor runs the lines query of a sub-item ("EXTSBT = n or idroot = n" within one
  operation) as written, which SQLite answers by scanning the operation's lines through an
  index on EXTINT, so it grows with the operation's size. The component no longer does: its
  data-access object reads those lines by one index lookup per branch (see "Reports: cost per
  sub-item" below), so for large operations its ratio to this floor falls far below 1.
- Both the component's connection and the floor's keep up to 64 MB of pages (PRAGMA
  cache_size): with SQLite's default of 2 MB, the pages an allocation of 100 inputs reads at
  1M stock lines did not stay between one opening and the next, and opening grew about 2 x
  from 10k to 1M stock lines in the component and in its floor alike.
- F11 and EliminarInsumo write: each statement commits on its own (the system has no
  transactions), so their floors are bound by the WAL writes, which also make most of their
  growth from 10k to 1M stock lines.
""")

# The reports' cost per sub-item, beside both floors: the text as written, and one index lookup
# per branch of "EXTSBT = n or idroot = n", written by hand.
section_title = "## Reports: cost per sub-item"
section = []
kinds = {"0": "declaration", "1": "control listing", "2": "comparative listing"}
report_runs = sorted({tuple(n.split("/")[1:]) for n in runs if n.split("/")[0] == "Report"},
                     key=lambda a: (int(a[1]), int(a[0]), int(a[2])))


def us_per(name, count, times=None):
    times = (times or runs).get(name)
    return 1000.0 * statistics.median(times) / count if times else None


def cell(value):
    return "-" if value is None else "%.1f" % value


if report_runs:
    section.append(section_title + "\n")
    section.append("Microseconds per sub-item (median wall time of the whole report / sub-items). "
                   "*floor* runs the component's text as written, prepared once; *lookups* is a "
                   "hand-written SQLite program that finds each sub-item's lines by one index "
                   "lookup per branch of \"EXTSBT = n or idroot = n\" (the physical limit); the "
                   "ratio is component / lookups. The CPU columns are the medians of the "
                   "process's CPU time, which the other work on a loaded machine disturbs less "
                   "than the wall time.\n")
    section.append("| report | sub-items | stock lines | component (us) | floor (us) | lookups (us) "
                   "| ratio | component CPU (us) | lookups CPU (us) |")
    section.append("| --- | ---: | --- | ---: | ---: | ---: | ---: | ---: | ---: |")
    for lines, kind, count in report_runs:
        suffix = "/".join([lines, kind, count])
        c = us_per("Report/" + suffix, int(count))
        f = us_per("Report_floor/" + suffix, int(count))
        l = us_per("Report_lookups/" + suffix, int(count))
        if c is None:
            continue
        size = {"10000": "10k", "100000": "100k", "1000000": "1M"}.get(lines, lines)
        section.append("| %s | %s | %s | %s | %s | %s | %s | %s | %s |" % (
            kinds[kind], count, size, cell(c), cell(f), cell(l),
            "%.2f" % (c / l) if c and l else "-",
            cell(us_per("Report/" + suffix, int(count), cpu)),
            cell(us_per("Report_lookups/" + suffix, int(count), cpu))))
    section.append("")
    numbering = sorted({n.split("/")[1] for n in runs if n.split("/")[0] == "EnviarNroItem"}, key=int)
    if numbering:
        section.append("EnviarNroItem over the 1,000 sub-items of one operation (500 calls, two "
                       "sub-items each; every update commits on its own):\n")
        section.append("| stock lines | component (ms) | floor (ms) | lookups (ms) | component per "
                       "sub-item (us) |")
        section.append("| --- | ---: | ---: | ---: | ---: |")
        for lines in numbering:
            size = {"10000": "10k", "100000": "100k", "1000000": "1M"}.get(lines, lines)
            c, f, l = (median(p + "/" + lines) for p in
                       ("EnviarNroItem", "EnviarNroItem_floor", "EnviarNroItem_lookups"))
            section.append("| %s | %s | %s | %s | %s |" % (
                size, "%.2f" % c if c else "-", "%.2f" % f if f else "-",
                "%.2f" % l if l else "-", cell(us_per("EnviarNroItem/" + lines, 1000))))
        section.append("")
    section.append("""What changed: `SqlDataObject` prepares a statement whose condition is "keys and
(a = x or b = y)" on one table with the rowid set of one index lookup per branch added to the
condition as written, and the table read by rowid (`DisjunctionPlanner`: the same rows, changes
and order; tested against SQLite's own answer to the text). The component's text is unchanged:
a host's own `DataObject` receives it as before (tests/printing/tst_HostStatements compares the
texts with those recorded before the change). The report lines are padded in place and a
report's columns, title and rule lines are made once per report instead of per sub-item.

Instruction counts (callgrind, RelWithDebInfo, the sworn declaration at 100k stock lines,
GenerarOM inclusive; not disturbed by the machine's load): 1,000 sub-items 3,834 M before
(3.83 M per sub-item), 341 M with the planning, 309 M with the per-line work (309 k per
sub-item); 5,000 sub-items 1,544 M (309 k per sub-item); 10 sub-items 5.2 M (522 k per
sub-item, the first preparation of each statement included). Of the 309 M, SQLite's steps take
151 M; the hand-written floor (lookups) takes 166 M for the same report, 148 M of it in
SQLite's steps, so the component's own work (recordset values, literals taken out of each
text, number formatting, padding) is now about as much as the database's.
""")
    section.append("Targets:\n")
    for lines in sorted({r[0] for r in report_runs}, key=int):
        size = {"10000": "10k", "100000": "100k", "1000000": "1M"}.get(lines, lines)
        for kind in sorted({r[1] for r in report_runs}):
            small = us_per("Report/%s/%s/10" % (lines, kind), 10)
            large = us_per("Report/%s/%s/1000" % (lines, kind), 1000)
            small_cpu = us_per("Report/%s/%s/10" % (lines, kind), 10, cpu)
            large_cpu = us_per("Report/%s/%s/1000" % (lines, kind), 1000, cpu)
            if small and large:
                growth = large / small
                section.append("- %s, %s stock lines: per sub-item %.2f x from 10 to 1,000 "
                               "sub-items (CPU time %.2f x; target at most 1.3 x): %s." % (
                                   kinds[kind], size, growth, large_cpu / small_cpu,
                                   "met" if growth <= 1.3 else "missed"))
        decl = median("Report/%s/0/1000" % lines)
        if decl:
            decl_cpu = statistics.median(cpu["Report/%s/0/1000" % lines])
            section.append("- Sworn declaration, 1,000 sub-items, %s stock lines: %.1f ms (CPU time "
                           "%.1f ms; target 40 ms): %s." % (
                               size, decl, decl_cpu,
                               "met" if decl <= 40 else
                               "missed in wall time, met in CPU time (the wall time waited for "
                               "the CPUs the machine's other work held, see the load above)"
                               if decl_cpu <= 40 else "missed"))
    section.append("")
elif update:
    # Not measured now: the section stays as the file has it.
    with open(target) as f:
        text = f.read()
    if section_title in text:
        kept = text[text.index(section_title):]
        following = kept.find("\n## ", 1)
        section = [kept if following < 0 else kept[:following + 1]]
try:
    with open(target) as f:
        existing = f.read()
except FileNotFoundError:
    existing = ""


def existing_section(title):
    # The section of the target file under this heading, up to the next one; "" if none.
    if title not in existing:
        return ""
    kept = existing[existing.index(title):]
    following = kept.find("\n## ", 1)
    return kept if following < 0 else kept[:following + 1]


def between(text, start, end=None):
    # The part of text from the line starting with start up to the line starting with end.
    begin = text.find("\n" + start)
    if begin < 0:
        return ""
    stop = text.find("\n" + end, begin + 1) if end else -1
    return (text[begin + 1:] if stop < 0 else text[begin + 1:stop + 1]).strip("\n") + "\n"


def size_name(lines):
    return {10000: "10k", 100000: "100k", 1000000: "1M"}.get(abs(int(lines)), str(abs(int(lines))))


def run_note():
    return "Written by `scripts/bench` on %s (load average %s)" % (
        ", ".join(c.get("date", "?") for c in contexts),
        "; ".join(", ".join("%.2f" % x for x in c.get("load_avg", [])) for c in contexts))


def ms(value, digits=2):
    return "-" if value is None else "%.*f" % (digits, value)


def ratio_of(a, b):
    return "%.2f" % (a / b) if a and b else "-"


# Sections written by this script when the run measured their benchmarks; otherwise they stay
# as the file has them.
own_sections = {}

# F11 with atomic writes on beside F11 and its floor, and the throughput of several processes.
atomic_title = "## Atomic writes (several operators on one stock)"
atomic_cases = sorted({tuple(n.split("/")[1:]) for n in runs if n.split("/")[0] == "F11_atomic"},
                      key=lambda a: [int(x) for x in a])
throughput = sorted({int(n.split("/")[1]) for n in runs if n.split("/")[0] == "Throughput"})
if atomic_cases or throughput:
    previous = existing_section(atomic_title)
    section_text = [atomic_title + "\n"]
    section_text.append("%s, Release build: medians of %s repetitions, run interleaved in random "
                        "order with the other benchmarks. On a loaded machine the absolute times "
                        "are inflated and noisy, and the ratios are what to read.\n" % (
                            run_note(),
                            max((len(runs[n]) for n in runs
                                 if n.startswith(("F11_atomic/", "Throughput/"))), default=0)))
    for case in atomic_cases:
        lines, inputs = case[0], case[1]
        suffix = "/".join(case)
        atomic_name = "F11_atomic/" + suffix
        f11_name, floor_name = "F11/" + suffix, "F11_floor/" + suffix
        # F11 and its floor not measured in this run: their rows in the main table.
        kept = find("F11", size_name(lines), "%s inputs" % inputs)
        f11 = median(f11_name) or (kept[3] if kept else None)
        floor = median(floor_name) or (kept[5] if kept else None)
        section_text.append("F11 of a %s-input product (%s lines), %s stock lines, median of %d:\n" % (
            inputs, "%.0f" % counters[atomic_name]["lines"]
            if "lines" in counters.get(atomic_name, {}) else "?", size_name(lines),
            len(runs[atomic_name])))
        section_text.append("| case | wall time (ms) | min - max | CPU time (ms) |")
        section_text.append("| --- | ---: | ---: | ---: |")
        for what, name, wall in (
                ("atomic writes on (`F11_atomic`)", atomic_name, median(atomic_name)),
                ("atomic writes off (`F11`)", f11_name, f11),
                ("floor (same statements, prepared once, each committed on its own)", floor_name,
                 floor)):
            times = runs.get(name)
            section_text.append("| %s | %s | %s | %s |" % (
                what, ms(wall),
                "%.2f - %.2f" % (min(times), max(times)) if times else "-",
                ms(statistics.median(cpu[name]) if cpu.get(name) else None)))
        atomic_cpu = statistics.median(cpu[atomic_name])
        f11_cpu = statistics.median(cpu[f11_name]) if cpu.get(f11_name) else None
        floor_cpu = statistics.median(cpu[floor_name]) if cpu.get(floor_name) else None
        section_text.append("\nWith atomic writes on, F11 is one unit with one commit instead of "
                            "one commit per statement: it takes %s x the wall time of F11 with "
                            "them off and %s x its floor's, which commits each statement as the "
                            "system does (CPU time: %s x and %s x).\n" % (
                                ratio_of(median(atomic_name), f11),
                                ratio_of(median(atomic_name), floor),
                                ratio_of(atomic_cpu, f11_cpu), ratio_of(atomic_cpu, floor_cpu)))
    if not atomic_cases and update:
        # Not measured now: the part about F11 stays as the file has it.
        section_text.append(between(previous, "F11 of a", "Throughput:"))
    if throughput:
        count = max(len(runs["Throughput/%d" % p]) for p in throughput)
        section_text.append(
            "Throughput: worker processes (testing/stress_worker.cpp) each discharging 50 "
            "one-unit sub-items through `dischargeAsProposed`, atomic writes on, from one SQLite "
            "file whose stock covers about half of the demand, with no removals. Wall time from "
            "starting the processes to the last one ending, process start-up included; median of "
            "%d runs; the lock wait is the time `transaction()` waited for the writer lock, 95th "
            "percentile over the attempts that opened a unit (proposals that fell short open "
            "none).\n" % count)
        section_text.append("| processes | wall time (ms) | accepted discharges / s | refused | "
                            "lock wait p95 (ms), median (min - max) of the %d runs |" % count)
        section_text.append("| ---: | ---: | ---: | ---: | ---: |")

        def wait(value):
            return "%.0f" % value if value >= 100 else "%.2g" % value

        accepted = {}
        for processes in throughput:
            name = "Throughput/%d" % processes
            values = lambda key: [b[key] for b in repetitions[name] if key in b]
            waits = values("lock_wait_p95_ms")
            accepted[processes] = (statistics.median(values("accepted_per_s"))
                                   if values("accepted_per_s") else None)
            section_text.append("| %d | %.0f | %s | %s | %s |" % (
                processes, median(name), ms(accepted[processes], 0),
                "%.0f%%" % (100 * statistics.median(values("refused_share")))
                if values("refused_share") else "-",
                "%s (%s - %s)" % (wait(statistics.median(waits)), wait(min(waits)), wait(max(waits)))
                if waits else "-"))
        first, last = throughput[0], throughput[-1]
        if last != first and accepted[first] and accepted[last]:
            section_text.append("\nAccepted discharges per second with %d processes: %.2f x those "
                                "with %d.\n" % (last, accepted[last] / accepted[first], first))
        else:
            section_text.append("")
    elif update:
        section_text.append(between(previous, "Throughput:"))
    own_sections[atomic_title] = "\n".join(section_text)

# The cases on PostgreSQL (PG_*, their stock lines negated) beside the same cases on SQLite.
pg_title = "## PostgreSQL (PgDataObject) beside SQLite and a libpq floor"
pg_cases = (("Open", ("100",), "Open, 100 inputs"), ("F11", ("100",), "F11, 100 inputs"),
            ("Report", ("0", "1000"), "Sworn declaration, 1,000 sub-items"))
pg_lines = sorted({abs(int(n.split("/")[1])) for n in runs if n.startswith("PG_")})
if pg_lines:
    previous = existing_section(pg_title)
    section_text = [pg_title + "\n"]
    section_text.append(
        "%s, Release build: medians of %d repetitions, milliseconds. The PostgreSQL floor "
        "(`PG_*_floor`) sends the same statements, translated for PostgreSQL by the same "
        "StatementRewriter, prepared once on a plain libpq connection, reading whole results; "
        "the component goes through PgDataObject on a QPSQL connection. *client CPU* is the CPU "
        "time of the benchmark process alone (the server's work is not in it), which the load "
        "disturbs far less than the wall time.\n" % (
            run_note(), max(len(runs[n]) for n in runs if n.startswith("PG_"))))
    section_text.append("| operation | stock lines | SQLite | SQLite floor | PostgreSQL | "
                        "PostgreSQL floor | PG ratio | PG client CPU | PG floor client CPU |")
    section_text.append("| --- | --- | ---: | ---: | ---: | ---: | ---: | ---: | ---: |")
    for base, args, what in pg_cases:
        for lines in pg_lines:
            suffix = "/".join(args)
            pg = "PG_%s/%d/%s" % (base, -lines, suffix)
            pg_floor = "PG_%s_floor/%d/%s" % (base, -lines, suffix)
            if pg not in runs and pg_floor not in runs:
                continue
            kept = find(base, size_name(lines), label("%s/%d/%s" % (base, lines, suffix))[2])
            sqlite = median("%s/%d/%s" % (base, lines, suffix)) or (kept[3] if kept else None)
            sqlite_floor = (median("%s_floor/%d/%s" % (base, lines, suffix))
                            or (kept[5] if kept else None))
            section_text.append("| %s | %s | %s | %s | %s | %s | %s | %s | %s |" % (
                what, size_name(lines), ms(sqlite, 1), ms(sqlite_floor, 1), ms(median(pg), 1),
                ms(median(pg_floor), 1), ratio_of(median(pg), median(pg_floor)),
                ms(statistics.median(cpu[pg]) if cpu.get(pg) else None, 1),
                ms(statistics.median(cpu[pg_floor]) if cpu.get(pg_floor) else None, 1)))
    section_text.append("")
    # The reading of the figures is written by hand: it stays as the file has it.
    reading = between(previous, "Reading the figures:")
    if reading:
        section_text.append(reading)
    own_sections[pg_title] = "\n".join(section_text)

# Sections of the file that this script does not write (each issue's own, written by hand)
# stay as they are, in their order, before the reports' section; the sections above replace
# theirs in place, or come before the reports' section when the file has none yet.
generated = ("## Targets", "## Reading the figures", section_title)
parts = existing.split("\n## ")
for part in parts[1:]:
    heading = "## " + part.split("\n", 1)[0]
    if heading in own_sections:
        out.append("\n" + own_sections.pop(heading).rstrip("\n") + "\n")
    elif not heading.startswith(generated):
        out.append("\n## " + part.rstrip("\n") + "\n")
for text in own_sections.values():
    out.append("\n" + text.rstrip("\n") + "\n")
if section:
    out.append("\n".join(section))

with open(target, "w") as f:
    f.write("\n".join(out).rstrip("\n") + "\n")
print("\n".join(out))
