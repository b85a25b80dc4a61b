#!/usr/bin/env python3
"""Compares what a built library exports with what it should: the hand-kept list of generic functions
and the typed functions of every row of the tables, read by a parser of its own.

usage: check_exports.py LIBRARY SOURCE_DIR
"""

import pathlib
import re
import subprocess
import sys

# What the catalogue comes to; a change here is a change of the product.
TYPED_NAMES = 714
VERSION_NODE = "TMXACTIONS_1"


def typed_names(table):
    """The typed functions of one table: a row begins with a code and a name."""
    names = set()
    for line in table.read_text(encoding="ascii").splitlines():
        row = re.match(r" {0,5}\d+ +(\w+)([^|]*)\|", line)
        if not row:
            continue
        suffixes = ["", "Ex"] if re.search(r"\bplain=\d+", row.group(2)) else [""]
        names.update(f"TmxAct_{verb}{row.group(1)}{suffix}"
                     for verb in ("Create", "Decode") for suffix in suffixes)
    return names


def expected_names(source):
    generic = {line for line in (source / "tests/package/generic_exports.txt").read_text().split("\n")
               if line and not line.startswith("#")}
    typed = set()
    for table in sorted((source / "src/actions").glob("*.table")):
        if table.name != "enumerations.table":
            typed |= typed_names(table)
    return generic, typed


def exported_names(library):
    """The defined dynamic symbols with their versions, without the version node itself."""
    listing = subprocess.run(["nm", "-D", "--defined-only", "--with-symbol-versions", library],
                             check=True, capture_output=True, text=True).stdout
    names, strange = set(), []
    for line in listing.splitlines():
        kind, symbol = line.split()[-2:]
        name, _, version = symbol.partition("@@")
        if kind == "A" and symbol.partition("@")[0] == VERSION_NODE:
            continue
        if version != VERSION_NODE or kind != "T":
            strange.append(f"{symbol} ({kind})")
        names.add(name)
    return names, strange


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    library, source = sys.argv[1], pathlib.Path(sys.argv[2])
    generic, typed = expected_names(source)
    exported, strange = exported_names(library)
    faults = [f"not a function of version {VERSION_NODE}: {symbol}" for symbol in strange]
    if len(typed) != TYPED_NAMES:
        faults.append(f"the tables give {len(typed)} typed functions, not {TYPED_NAMES}")
    faults += [f"generic and typed at once: {name}" for name in sorted(generic & typed)]
    faults += [f"missing: {name}" for name in sorted((generic | typed) - exported)]
    faults += [f"should not be exported: {name}" for name in sorted(exported - generic - typed)]
    for fault in faults:
        print(fault, file=sys.stderr)
    if faults:
        sys.exit(1)
    print(f"exports: {len(generic)} generic and {len(typed)} typed functions, and no other")


if __name__ == "__main__":
    main()
