#!/usr/bin/env python3
"""Looks over a built DLL: it exports the names of the list and no other, as they are written there;
its import library gives the same; it imports nothing but the system's own DLLs; and it carries no
time of its building.

usage: check_dll.py OBJDUMP DLL IMPORT_LIBRARY EXPORTS_LIST
"""

import re
import subprocess
import sys

SYSTEM = {"advapi32.dll", "kernel32.dll", "msvcrt.dll", "secur32.dll", "user32.dll"}


def described(objdump, *arguments):
    return subprocess.run([objdump, *arguments], capture_output=True, text=True, check=True).stdout


def differences(what, expected, found):
    lines = [f"{what}: {name} is missing" for name in sorted(expected - found)]
    return lines + [f"{what}: {name} should not be there" for name in sorted(found - expected)]


def main():
    objdump, dll, import_library, exports_list = sys.argv[1:]
    with open(exports_list, encoding="ascii") as stream:
        expected = set(stream.read().split())
    text = described(objdump, "--private-headers", dll)
    # The table of names: "\t[   0] +base[   1] 0000 TmxAct_..." or, in older forms, without a base.
    table = text[text.index("[Ordinal/Name Pointer] Table"):]
    exported = re.findall(r"^\s*\[ *\d+\](?: \+base\[ *\d+\] +[0-9a-f]+)? (\S+)$", table, re.M)
    faults = differences("export", expected, set(exported))
    if len(exported) != len(set(exported)):
        faults.append("export: a name is there twice")
    symbols = described(objdump, "--syms", import_library)
    importable = set(re.findall(r" __imp_(\S+)$", symbols, re.M))
    faults += differences("import library", expected, importable)
    imported = {name.lower() for name in re.findall(r"DLL Name: (\S+)", text)}
    faults += [f"import: {name} is no DLL of the system" for name in sorted(imported - SYSTEM)]
    if not imported:
        faults.append("import: nothing was found, not even the system")
    stamps = re.findall(r"^Time/Date[\w ]*\t+(.*)$", text, re.M)
    if not stamps or any(stamp not in ("0", "Thu Jan  1 00:00:00 1970") for stamp in stamps):
        faults.append(f"time of building: {stamps}")
    for fault in faults:
        print(fault, file=sys.stderr)
    if faults:
        return 1
    print(f"{len(expected)} exports, imports from {', '.join(sorted(imported))}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
