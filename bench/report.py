#!/usr/bin/env python3
"""Runs the benchmark program, or reads what it wrote, and prints the table of ratios in Markdown."""

import argparse
import json
import os
import statistics
import subprocess
import sys
import tempfile

WORKLOADS = ["W1", "W2", "W3", "W4", "W5"]


class Row:
    """An operation of the library, what it is held against, and how far it may be from that.

    aims: one number for each workload, None where there is none. Against the floor it is the most
    times the floor's time that the operation may take; against contenders the least times as fast
    as the best of them that it has to be.
    """

    def __init__(self, title, operation, floor=None, floor_aims=(None,) * 5, contenders=None,
                 contender_aims=(None,) * 5):
        self.title = title
        self.operation = operation
        self.floor = floor
        self.floor_aims = floor_aims
        self.contenders = contenders
        self.contender_aims = contender_aims


def aims(short, long):
    """Aims of W1 and W2, and of W3 and W4; the stream has none of its own."""
    return (short, short, long, long, None)


ROWS = [
    Row("create typed, close", "CreateClose", "FloorBinary", aims(1.7, 3), "Build"),
    Row("create typed, store binary, close", "CreateStoreClose", "FloorBinary",
        contenders="BuildSerialise"),
    Row("store binary", "StoreBinary", "FloorBinary", aims(2, 2), "Serialise"),
    Row("decode", "Decode", "FloorBinary"),
    Row("create from binary, close", "ReadBinaryClose", "FloorBinary"),
    Row("create from binary, decode all, close", "ReadBinaryDecodeClose", "FloorBinary",
        aims(2, 4), "Parse"),
    Row("clone, close", "CloneClose", "FloorBinary", aims(1.7, 3), "Clone"),
    Row("clone, close; theirs: copy the bytes", "CloneClose", contenders="CloneBytes"),
    Row("equality", "Equal", "FloorBinary", aims(3, 3), "Equal"),
    Row("store text, UTF-8", "StoreTextNarrow", "FloorTextNarrow", contenders="WriteText",
        contender_aims=aims(2.5, 1)),
    Row("store text, wide", "StoreTextWide", "FloorTextWide"),
    Row("create from text, UTF-8, close", "ReadTextNarrowClose", "FloorTextNarrow"),
    Row("create from text, UTF-8, decode all, close", "ReadTextNarrowDecodeClose",
        "FloorTextNarrow", contenders="ReadText", contender_aims=aims(2, 1)),
    Row("create from text, wide, close", "ReadTextWideClose", "FloorTextWide"),
]


# What is set against the action's own operation, as a template: at most so many times its time.
TEMPLATE_ROWS = [("store binary", "StoreBinary"),
                 ("create from binary, close", "ReadBinaryClose"),
                 ("store text, UTF-8", "StoreTextNarrow"),
                 ("store text, wide", "StoreTextWide"),
                 ("create from text, UTF-8, close", "ReadTextNarrowClose"),
                 ("create from text, wide, close", "ReadTextWideClose")]
TEMPLATE_AIM = 1.5

# Matching: the title, the benchmark and the most nanoseconds that one of it may take.
MATCH_ROWS = [("a template of another code", "MatchOther/%s/1000", 2),
              ("the same, of 100,000", "MatchOther/%s/100000", 2),
              ("a template of the code, a number set", "MatchSame/%s/1000", 15),
              ("the same, of 100,000", "MatchSame/%s/100000", 15),
              ("1 in 100 of the code, 1 in 1,000 matches", "Match/%s/1000", None),
              ("the same, of 100,000", "Match/%s/100000", None)]
MATCH_CONTENDERS = ["TmxActions", "Virtual", "StdFunction"]


def run(program, options):
    """Runs the program and returns its result as it writes it."""
    handle, path = tempfile.mkstemp(suffix=".json")
    os.close(handle)
    try:
        command = [
            program,
            "--benchmark_out=" + path,
            "--benchmark_out_format=json",
            "--benchmark_repetitions=%d" % options.repetitions,
            "--benchmark_report_aggregates_only",
            "--benchmark_enable_random_interleaving=true",
            "--benchmark_min_time=%g" % options.min_time,
        ]
        if options.filter:
            command.append("--benchmark_filter=" + options.filter)
        # The program's own table goes to the error stream: the output is the report alone.
        done = subprocess.run(command, stdout=sys.stderr, check=False)
        if done.returncode != 0:
            sys.exit("report.py: %s ended with status %d" % (program, done.returncode))
        with open(path, encoding="utf-8") as file:
            return json.load(file)
    finally:
        os.unlink(path)


def nanoseconds(result):
    """The median nanoseconds per action by name of benchmark, from medians or single runs."""
    medians = {}
    runs = {}
    for entry in result["benchmarks"]:
        if entry.get("error_occurred") or "items_per_second" not in entry:
            continue
        # "Load/TmxActions/iterations:1/manual_time" is "Load/TmxActions" here.
        name = "/".join(part for part in entry["run_name"].split("/")
                        if ":" not in part and part != "manual_time")
        time = 1e9 / entry["items_per_second"]
        if entry["run_type"] == "aggregate":
            if entry["aggregate_name"] == "median":
                medians[name] = time
        else:
            runs.setdefault(name, []).append(time)
    for name, times in runs.items():
        medians.setdefault(name, statistics.median(times))
    return medians


def number(value):
    return "%.3g" % value if value < 1000 else "%.0f" % value


def versus(ratio, aim, relation, met):
    """One cell: the ratio, the aim beside it, and whether it is met."""
    text = "%.2f" % ratio
    if aim is not None:
        text += " (%s %g %s)" % (relation, aim, "met" if met else "**missed**")
    return text


def best(times, operation, workload):
    """The fastest contender of an operation: its name and time, or None."""
    found = [(time, name.split("/")[1]) for name, time in times.items()
             if name.startswith(operation + "/") and name.endswith("/" + workload)]
    return min(found) if found else None


def table(header, rows, names=1):
    """names: how many columns stand to the left."""
    print("| " + " | ".join(header) + " |")
    print("|" + "---|" * names + "---:|" * (len(header) - names))
    for cells in rows:
        print("| " + " | ".join(cells) + " |")
    print()


def print_report(result, times):
    context = result["context"]
    print("%s, %d CPUs of %d MHz, load %s" % (
        context["date"], context["num_cpus"], context["mhz_per_cpu"],
        ", ".join("%.2f" % load for load in context.get("load_avg", []))))
    print()
    for workload in WORKLOADS:
        if workload in context:
            print("- %s: %s" % (workload, context[workload]))
    print("- W5: a million of W1 to W4, 60, 25, 10 and 5 in a hundred, shuffled")
    print()

    print("### Nanoseconds per action\n")
    operations = []
    for name in times:
        parts = name.split("/")
        if len(parts) == 3 and parts[2] in WORKLOADS and parts[:2] not in operations:
            operations.append(parts[:2])
    table(["operation", "contender"] + WORKLOADS, [
        key + [number(times["/".join(key + [w])]) if "/".join(key + [w]) in times else "-"
               for w in WORKLOADS] for key in sorted(operations)], names=2)

    print("### Times the floor: one malloc and free of the object's size and one memcpy of the "
          "encoded bytes (aim: at most)\n")
    lines = []
    for row in ROWS:
        if row.floor is None:
            continue
        cells = [row.title]
        for workload, aim in zip(WORKLOADS, row.floor_aims):
            own = times.get("%s/TmxActions/%s" % (row.operation, workload))
            floor = times.get("%s/Floor/%s" % (row.floor, workload))
            if own is None or floor is None:
                cells.append("-")
                continue
            ratio = own / floor
            cells.append(versus(ratio, aim, "≤", aim is None or ratio <= aim))
        lines.append(cells)
    # The two operations that need no block of their own, against the copy of the bytes alone.
    for title, operation in (("store binary, to the memcpy alone", "StoreBinary"),
                             ("equality, to the memcpy alone", "Equal")):
        cells = [title]
        for workload in WORKLOADS:
            own = times.get("%s/TmxActions/%s" % (operation, workload))
            copy = times.get("CopyBinary/Floor/%s" % workload)
            cells.append("%.2f" % (own / copy) if own and copy else "-")
        lines.append(cells)
    table(["operation"] + WORKLOADS, lines)

    print("### Times as fast as the best contender (aim: at least)\n")
    lines = []
    for row in ROWS:
        if row.contenders is None:
            continue
        cells = [row.title]
        for workload, aim in zip(WORKLOADS, row.contender_aims):
            own = times.get("%s/TmxActions/%s" % (row.operation, workload))
            other = best(times, row.contenders, workload)
            if own is None or other is None:
                cells.append("-")
                continue
            ratio = other[0] / own
            cells.append(versus(ratio, aim, "≥", aim is None or ratio >= aim) + " " + other[1])
        lines.append(cells)
    table(["operation"] + WORKLOADS, lines)

    print("### Matching: nanoseconds a template (aim: at most)\n")
    lines = []
    for title, name, aim in MATCH_ROWS:
        cells = [title]
        for contender in MATCH_CONTENDERS:
            time = times.get(name % contender)
            own = contender == "TmxActions"
            cells.append("-" if time is None else
                         versus(time, aim if own else None, "≤", aim is None or time <= aim))
        lines.append(cells)
    table(["one action against", "TmxActions", "virtual call", "std::function"], lines)

    print("### Templates: times the action's own (aim: at most)\n")
    lines = []
    for title, operation in TEMPLATE_ROWS:
        cells = [title]
        for workload in WORKLOADS:
            template = times.get("Template%s/TmxActions/%s" % (operation, workload))
            own = times.get("%s/TmxActions/%s" % (operation, workload))
            cells.append(versus(template / own, TEMPLATE_AIM, "≤", template / own <= TEMPLATE_AIM)
                         if template and own else "-")
        lines.append(cells)
    table(["operation"] + WORKLOADS, lines)

    print("### Single numbers\n")
    single = [("name dispatch: `ABCDisconnect ()` narrow, close", "DispatchTextNarrow/TmxActions"),
              ("name dispatch: `ABCDisconnect ()` wide, close", "DispatchTextWide/TmxActions"),
              ("load, catalogue built, in a fresh process", "Load/TmxActions")]
    single += [("code of a name, linear (%s)" % w, "LookupName/TmxActions/" + w)
               for w in WORKLOADS]
    single += [("rules' index: 1,000 templates, ten of the code (aim: ≤ 60)",
                "Index/TmxActions/1000"),
               ("rules' index: 100,000 templates, 1,000 of the code, 100 match",
                "Index/TmxActions/100000"),
               ("rules' index: 100,000 templates of the code, none matches",
                "IndexSame/TmxActions/100000")]
    single += [("wide text without regard to case, a unit of %s (aim: ≤ 10)" % n,
                "MatchWideText/TmxActions/" + n) for n in ("16", "256", "4096")]
    table(["operation", "ns"], [[title, number(times[name])] for title, name in single
                                if name in times])


def print_comparison(old, new):
    """What changed between two results, the library's own benchmarks alone."""
    lines = []
    for name in sorted(new):
        if "/TmxActions" in name and name in old:
            lines.append([name, number(old[name]), number(new[name]),
                          "%+.1f %%" % ((new[name] / old[name] - 1) * 100)])
    table(["benchmark", "before ns", "after ns", "change"], lines)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    source = parser.add_mutually_exclusive_group(required=True)
    source.add_argument("--program", help="the benchmark program, to be run")
    source.add_argument("--json", help="a result of --benchmark_out or --save, to be read")
    parser.add_argument("--repetitions", type=int, default=9)
    parser.add_argument("--min-time", type=float, default=0.05,
                        help="seconds per repetition and benchmark (default: 0.05)")
    parser.add_argument("--filter", help="a regular expression of benchmark names")
    parser.add_argument("--save", help="where to keep the result of the run")
    parser.add_argument("--compare", metavar="BASE",
                        help="an earlier result; print the changes since then instead")
    options = parser.parse_args()

    if options.program:
        result = run(options.program, options)
    else:
        with open(options.json, encoding="utf-8") as file:
            result = json.load(file)
    if options.save:
        with open(options.save, "w", encoding="utf-8") as file:
            json.dump(result, file, indent=1)

    if options.compare:
        with open(options.compare, encoding="utf-8") as file:
            print_comparison(nanoseconds(json.load(file)), nanoseconds(result))
    else:
        print_report(result, nanoseconds(result))


if __name__ == "__main__":
    main()
