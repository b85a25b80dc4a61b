#!/usr/bin/env python3
"""Makes case_folding.inc and ansi_composition.inc from the Unicode Character Database.

usage: make_text_tables.py [folder of CaseFolding.txt and UnicodeData.txt] [output folder]

The tables in the tree were made from version 15.0.0 (Debian package unicode-data 15.0.0-1, in
/usr/share/unicode). Run it again only to move to another version of Unicode.
"""
import os
import re
import sys

SOURCE = sys.argv[1] if len(sys.argv) > 1 else "/usr/share/unicode"
TARGET = sys.argv[2] if len(sys.argv) > 2 else os.path.dirname(os.path.abspath(__file__))
PAGE_BITS = 6
PAGE = 1 << PAGE_BITS


def rows(values, text, per_line):
    return "".join(
        "    " + ", ".join(text(v) for v in values[i:i + per_line]) + ",\n"
        for i in range(0, len(values), per_line))


def case_folding():
    fold = {}
    with open(os.path.join(SOURCE, "CaseFolding.txt"), encoding="utf-8") as file:
        version = re.match(r"# CaseFolding-([0-9.]+)\.txt", file.readline()).group(1)
        for line in file:
            fields = [f.strip() for f in line.split("#")[0].split(";")]
            if len(fields) >= 3 and fields[1] in ("C", "S"):
                fold[int(fields[0], 16)] = int(fields[2], 16)
    # The comparison walks both texts in step and stores deltas of 16 bits, so a fold must stay in
    # its plane.
    assert all(k >> 16 == v >> 16 for k, v in fold.items())
    end = (max(fold) // PAGE + 1) * PAGE
    pages, index, number = [], [], {}
    for start in range(0, end, PAGE):
        page = tuple((fold.get(c, c) - c) & 0xFFFF for c in range(start, start + PAGE))
        if page not in number:
            number[page] = len(pages)
            pages.append(page)
        index.append(number[page])
    assert len(pages) <= 256
    with open(os.path.join(TARGET, "case_folding.inc"), "w", encoding="ascii") as out:
        out.write(
            "// Simple case folding (status C and S) of CaseFolding.txt, Unicode %s. Made by\n"
            "// make_text_tables.py; not edited by hand.\n"
            "//\n"
            "// kFoldIndex has a page number for every %d code points below kFoldEnd; the pages\n"
            "// (equal ones are kept once) hold what is added to a code point, modulo 65536.\n"
            "// clang-format off\n"
            "inline constexpr unsigned kFoldPageBits = %d;\n"
            "inline constexpr char32_t kFoldEnd = 0x%X;\n"
            "inline constexpr std::uint8_t kFoldIndex[] = {\n%s};\n"
            "inline constexpr std::uint16_t kFoldPages[][%d] = {\n%s};\n"
            "// clang-format on\n"
            % (version, PAGE, PAGE_BITS, end, rows(index, str, 24), PAGE,
               "".join("  {\n" + rows(p, str, 16) + "  },\n" for p in pages)))


def ansi_composition():
    table = []
    with open(os.path.join(SOURCE, "UnicodeData.txt"), encoding="utf-8") as file:
        for line in file:
            fields = line.split(";")
            parts = fields[5].split()
            if len(parts) != 2 or parts[0].startswith("<"):
                continue
            code = int(fields[0], 16)
            try:
                byte = chr(code).encode("cp1252")[0]
            except UnicodeEncodeError:
                continue
            table.append((int(parts[1], 16), int(parts[0], 16), byte, fields[1]))
    table.sort()
    # The conversion looks back one unit at a plain ASCII letter.
    assert all(0x41 <= base <= 0x7A for _, base, _, _ in table)
    with open(os.path.join(TARGET, "ansi_composition.inc"), "w", encoding="ascii") as out:
        out.write(
            "// The letters of windows-1252 that have a canonical decomposition, from UnicodeData.txt,\n"
            "// Unicode 15.0.0: mark, base letter, byte; sorted. Made by make_text_tables.py; not\n"
            "// edited by hand.\n"
            "// clang-format off\n"
            "inline constexpr AnsiComposition kAnsiCompositions[] = {\n")
        for mark, base, byte, name in table:
            out.write("    {0x%04X, '%c', 0x%02X},  // %s\n" % (mark, base, byte, name))
        out.write("};\n// clang-format on\n")


case_folding()
ansi_composition()
