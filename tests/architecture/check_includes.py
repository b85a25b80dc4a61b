#!/usr/bin/env python3
"""Holds the house together: who may include whom.

The library is built in floors. A file includes what lies on its own floor or below, never above, and
the forms on one floor don't know each other. Only the lowest floor includes system headers and asks
which system it is compiled for. Programs are built on the public headers alone.

usage: check_includes.py SOURCE_DIR [GENERATED_SOURCE_DIR]

Prints FILE:LINE: error: REASON for each breach and ends with status 1 if there are any. With the
second directory (BUILD_DIR/generated/src) the sources that the build makes are looked at too.
"""

import pathlib
import re
import sys

FLOORS = {
    "platform": 0, "zinc": 1, "objects": 2, "catalogue": 3, "match": 4,
    "text": 5, "binary": 5, "event": 5, "actions": 6, "frame": 7,
}
# On one floor folders don't include each other, but for these (from, to).
NEIGHBOURS = {("event", "binary")}

# The public headers that a floor below the frame may know: those without functions.
DATA_HEADERS = {"tmxactions/types.h", "tmxactions/constants.h", "tmxactions/actions.def"}

STANDARD = set("""
    algorithm any array atomic barrier bit bitset charconv chrono codecvt compare complex concepts
    condition_variable coroutine deque exception execution filesystem format forward_list fstream
    functional future initializer_list iomanip ios iosfwd iostream istream iterator latch limits list
    locale map memory memory_resource mutex new numbers numeric optional ostream queue random ranges
    ratio regex scoped_allocator semaphore set shared_mutex source_location span sstream stack
    stdexcept stop_token streambuf string string_view strstream syncstream system_error thread tuple
    type_traits typeindex typeinfo unordered_map unordered_set utility valarray variant vector version
    cassert cctype cerrno cfenv cfloat cinttypes climits clocale cmath csetjmp csignal cstdarg cstddef
    cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype
""".split())
# Standard headers that bring state or services of the system with them; the library has its own.
NOT_IN_LIBRARY = {"cerrno", "clocale", "csignal", "ctime", "filesystem", "fstream", "iostream",
                  "locale", "thread", "cstdio"}
# The instructions that every x86-64 processor has: the compiler's, the same on every system.
PROCESSOR = {"emmintrin.h"}
C_HEADERS = {"stdbool.h", "stddef.h", "stdint.h", "wchar.h"}
TOOL_LIBRARIES = ("CLI/", "rapidjson/", "soci/")

INCLUDE = re.compile(r'\s*#\s*include\s*([<"])([^>"]+)[>"]')
ASKS_SYSTEM = re.compile(
    r"\s*#\s*(?:if|ifdef|ifndef|elif)\b.*?\b"
    r"(_WIN32|_WIN64|WIN32|__MINGW32__|__CYGWIN__|__linux__|__linux|linux|__unix__|__unix|__APPLE__|"
    r"__GLIBC__)\b")
SUFFIXES = {".h", ".cpp", ".inc", ".c", ".hpp"}


def lines_of(path):
    """The lines of a file, comments blanked out."""
    text = path.read_text(encoding="utf-8")
    text = re.sub(r"/\*.*?\*/", lambda match: "\n" * match.group().count("\n"), text, flags=re.S)
    return [re.sub(r"//.*", "", line) for line in text.split("\n")]


def sources(folder):
    return sorted(path for path in folder.rglob("*") if path.suffix in SUFFIXES)


class House:
    def __init__(self, root, generated=None):
        self.root = root
        self.generated = generated
        self.faults = []

    def fault(self, path, line, reason):
        shown = path.relative_to(self.root) if path.is_relative_to(self.root) else path
        self.faults.append(f"{shown}:{line}: error: {reason}")

    def check(self):
        self.check_library(self.root / "src")
        if self.generated is not None:
            self.check_library(self.generated)
        self.check_public()
        self.check_tools()
        return self.faults

    def check_library(self, base):
        for path in sources(base):
            folder = path.relative_to(base).parts[0]
            if folder not in FLOORS:
                self.fault(path, 1, f"{folder} is no floor of the house")
                continue
            lines = lines_of(path)
            if path.suffix == ".h" and not any(line.strip() == "#pragma once" for line in lines):
                self.fault(path, 1, "a header without '#pragma once'")
            for number, line in enumerate(lines, 1):
                asked = ASKS_SYSTEM.match(line)
                if asked and folder != "platform":
                    self.fault(path, number, f"only platform asks for {asked.group(1)}")
                include = INCLUDE.match(line)
                if include:
                    reason = (self.angled(folder, include.group(2)) if include.group(1) == "<"
                              else self.quoted(base, path, folder, include.group(2)))
                    if reason:
                        self.fault(path, number, reason)

    def angled(self, folder, name):
        if name.startswith("tmxactions/"):
            if name in DATA_HEADERS or folder == "frame":
                return None
            return f"<{name}> declares functions: it is for the frame alone"
        if folder == "platform" or name in PROCESSOR:
            return None
        if name in STANDARD and name not in NOT_IN_LIBRARY:
            return None
        return f"<{name}> is a header of the system: only platform includes it"

    def quoted(self, base, path, folder, name):
        first, _, rest = name.partition("/")
        if not rest:
            if folder == "platform" and (path.parent / name).is_file():
                return None  # data tables beside the source
            return f'"{name}" is to be written from src/ on'
        if first not in FLOORS:
            return f"{first} is no floor of the house"
        places = [base, self.root / "src"] + ([self.generated] if self.generated else [])
        if self.generated and not any((place / name).is_file() for place in places):
            return f'"{name}" is not there'
        if FLOORS[first] > FLOORS[folder]:
            return f"{folder} (floor {FLOORS[folder]}) includes {first} (floor {FLOORS[first]}) above"
        if FLOORS[first] == FLOORS[folder] and first != folder and (folder, first) not in NEIGHBOURS:
            return f"{folder} and {first} don't include each other"
        if folder != first and first == "platform" and name != "platform/platform.h":
            return f'"{name}" is inside platform: its one header is platform/platform.h'
        return None

    def check_public(self):
        for path in sources(self.root / "include"):
            lines = lines_of(path)
            guard = f"TMXACTIONS_{path.stem.upper()}_H"
            if f"#ifndef {guard}" not in lines or f"#define {guard}" not in lines:
                self.fault(path, 1, f"the include guard is to be {guard}")
            for number, line in enumerate(lines, 1):
                include = INCLUDE.match(line)
                if not include:
                    continue
                form, name = include.groups()
                if form == '"' or not (name in C_HEADERS or name.startswith("tmxactions/")):
                    self.fault(path, number, f"a public header can't include {name}")

    def check_tools(self):
        for path in sources(self.root / "tools"):
            own = self.root / "tools" / path.relative_to(self.root / "tools").parts[0]
            of_system = path.stem.endswith(("_posix", "_windows"))
            for number, line in enumerate(lines_of(path), 1):
                asked = ASKS_SYSTEM.match(line)
                if asked and not of_system:
                    self.fault(path, number, f"only a file for one system asks for {asked.group(1)}")
                include = INCLUDE.match(line)
                if not include:
                    continue
                form, name = include.groups()
                if form == '"':
                    if not any((place / name).is_file() for place in (path.parent, own)):
                        self.fault(path, number, f'"{name}" is no file of this program')
                elif not (name in STANDARD or name.startswith(("tmxactions/",) + TOOL_LIBRARIES)
                          or of_system):
                    self.fault(path, number, f"<{name}> is for files named *_posix or *_windows")


def main(arguments):
    if len(arguments) not in (1, 2):
        print(__doc__, file=sys.stderr)
        return 2
    root = pathlib.Path(arguments[0]).resolve()
    generated = pathlib.Path(arguments[1]).resolve() if len(arguments) == 2 else None
    looked_at = len(sources(root / "src"))
    if not looked_at or (generated and not sources(generated)):
        print("no sources there", file=sys.stderr)
        return 2
    faults = House(root, generated).check()
    for fault in faults:
        print(fault, file=sys.stderr)
    if not faults:
        print(f"floors: {looked_at} files of the library and the programs keep to the house")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
