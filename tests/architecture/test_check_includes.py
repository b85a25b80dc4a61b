#!/usr/bin/env python3
"""Tests of check_includes.py: a small sound house, and every kind of breach."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).with_name("check_includes.py")

SOUND = {
    "src/platform/platform.h": "#pragma once\n#include <cstdint>\n#include <tmxactions/types.h>\n",
    "src/platform/posix/time.cpp":
        '#include "platform/platform.h"\n#include <time.h>\n#include "zones.inc"\n#ifdef _WIN32\n#endif\n',
    "src/platform/posix/zones.inc": "1, 2\n",
    "src/zinc/text.h": '#pragma once\n#include "platform/platform.h"\n#include <string>\n',
    "src/objects/values.h": '#pragma once\n#include "zinc/text.h"\n',
    "src/catalogue/catalogue.h": '#pragma once\n#include "objects/values.h"\n#include <vector>\n',
    "src/match/agreement.h": '#pragma once\n#include "catalogue/catalogue.h"\n',
    "src/text/writer.h": '#pragma once\n#include "match/agreement.h"\n',
    "src/binary/stream.h": '#pragma once\n#include "objects/values.h"\n',
    "src/event/data.cpp": '#include "binary/stream.h"\n',
    "src/actions/rule.h": '#pragma once\n#include "text/writer.h"\n#include "binary/stream.h"\n',
    "src/frame/exports.cpp": '#include <tmxactions/functions.h>\n#include "actions/rule.h"\n',
    "include/tmxactions/types.h":
        "#ifndef TMXACTIONS_TYPES_H\n#define TMXACTIONS_TYPES_H\n#include <stdint.h>\n#ifdef _WIN32\n"
        "#endif\n#endif\n",
    "include/tmxactions/functions.h":
        "#ifndef TMXACTIONS_FUNCTIONS_H\n#define TMXACTIONS_FUNCTIONS_H\n"
        "#include <tmxactions/types.h>\n#endif\n",
    "tools/tool/main.cpp":
        '#include "own.h"\n#include <tmxactions/functions.h>\n#include <CLI/CLI.hpp>\n#include <cstdio>\n',
    "tools/tool/own.h": "#pragma once\n",
    "tools/tool/system_posix.cpp": '#include "own.h"\n#include <unistd.h>\n',
}


class Houses(unittest.TestCase):
    def run_on(self, changes, generated=None):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder) / "tree"
            made = pathlib.Path(folder) / "made"
            for base, files in ((root, {**SOUND, **changes}), (made, generated or {})):
                for name, text in files.items():
                    path = base / name
                    path.parent.mkdir(parents=True, exist_ok=True)
                    path.write_text(text, encoding="utf-8")
            arguments = [str(root)] + ([str(made)] if generated else [])
            return subprocess.run([sys.executable, "-B", SCRIPT, *arguments], check=False,
                                  capture_output=True, text=True)

    def assert_sound(self, changes, generated=None):
        result = self.run_on(changes, generated)
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def assert_breach(self, file, text, line, reason, generated=None):
        result = self.run_on({file: text}, generated)
        self.assertEqual(result.returncode, 1, result.stderr)
        self.assertIn(f"{file}:{line}: error: ", result.stderr)
        self.assertIn(reason, result.stderr)
        self.assertEqual(len(result.stderr.splitlines()), 1, result.stderr)

    def test_a_sound_house_passes(self):
        self.assert_sound({})
        self.assert_sound({}, {"actions/made.h": '#pragma once\n#include "actions/rule.h"\n'})

    def test_every_upward_include_is_found(self):
        floors = ["platform", "zinc", "objects", "catalogue", "match", "text", "actions", "frame"]
        for below, low in enumerate(floors):
            for high in floors[below + 1:]:
                if low == "platform":
                    continue  # looked at on its own below
                self.assert_breach(f"src/{low}/x.cpp", f'\n#include "{high}/y.h"\n', 2,
                                   f"{low} (floor {below})")
        self.assert_breach("src/platform/x.cpp", '#include "zinc/text.h"\n', 1, "includes zinc")

    def test_the_forms_do_not_know_each_other(self):
        for one, other in (("text", "binary"), ("binary", "text"), ("text", "event"),
                           ("event", "text"), ("binary", "event")):
            self.assert_breach(f"src/{one}/x.cpp", f'#include "{other}/y.h"\n', 1,
                               f"{one} and {other} don't include each other")

    def test_an_include_in_a_comment_is_none(self):
        self.assert_sound({"src/zinc/x.cpp": '// #include "frame/y.h"\n/*\n#include <unistd.h>\n*/\n'})

    def test_a_line_behind_a_comment_keeps_its_number(self):
        self.assert_breach("src/zinc/x.cpp", "/* one\n two */\n#include <unistd.h>\n", 3, "<unistd.h>")

    def test_system_headers_are_for_platform(self):
        for name in ("unistd.h", "windows.h", "pthread.h", "time.h", "stdint.h", "cerrno", "locale",
                     "thread", "sys/mman.h"):
            self.assert_breach("src/zinc/x.cpp", f"#include <{name}>\n", 1, f"<{name}>")

    def test_instructions_of_the_processor_are_no_system(self):
        self.assert_sound({"src/zinc/x.cpp": "#include <emmintrin.h>\n"})
        self.assert_breach("src/zinc/x.cpp", "#include <immintrin.h>\n", 1, "<immintrin.h>")

    def test_questions_for_the_system_are_for_platform(self):
        for line in ("#ifdef _WIN32", "#ifndef _WIN32", "#if defined(_WIN32)", "# if defined __linux__",
                     "#elif defined(__APPLE__)", "#if 1 && defined(__unix__)"):
            self.assert_breach("src/text/x.cpp", f"{line}\n", 1, "only platform asks for")

    def test_functions_of_the_interface_are_for_the_frame(self):
        self.assert_sound({"src/actions/x.cpp": "#include <tmxactions/types.h>\n"})
        self.assert_breach("src/actions/x.cpp", "#include <tmxactions/functions.h>\n", 1,
                           "for the frame alone")

    def test_an_unknown_folder_is_no_floor(self):
        self.assert_breach("src/utils/x.cpp", "\n", 1, "utils is no floor")
        self.assert_breach("src/frame/x.cpp", '#include "utils/y.h"\n', 1, "utils is no floor")

    def test_includes_are_written_from_the_root_on(self):
        self.assert_breach("src/text/x.cpp", '#include "writer.h"\n', 1, "written from src/ on")

    def test_platform_has_one_header(self):
        self.assert_breach("src/zinc/x.cpp", '#include "platform/posix/zones.inc"\n', 1,
                           "inside platform")

    def test_headers_are_guarded(self):
        self.assert_breach("src/text/x.h", "int x;\n", 1, "#pragma once")
        self.assert_breach("include/tmxactions/x.h", "#ifndef OTHER_H\n#define OTHER_H\n#endif\n", 1,
                           "TMXACTIONS_X_H")

    def test_public_headers_include_c_alone(self):
        guard = "#ifndef TMXACTIONS_X_H\n#define TMXACTIONS_X_H\n"
        for include in ("<string>", "<cstdint>", '"types.h"', '"zinc/text.h"'):
            self.assert_breach("include/tmxactions/x.h", f"{guard}#include {include}\n#endif\n", 3,
                               "a public header can't include")

    def test_tools_stand_on_the_interface(self):
        self.assert_breach("tools/tool/x.cpp", '#include "zinc/text.h"\n', 1, "no file of this program")
        self.assert_breach("tools/tool/x.cpp", "#include <unistd.h>\n", 1, "<unistd.h>")
        self.assert_breach("tools/tool/x.cpp", "#ifdef _WIN32\n", 1, "_WIN32")

    def test_generated_sources_are_looked_at(self):
        result = self.run_on({}, {"actions/made.cpp": '#include "frame/call.h"\n'})
        self.assertEqual(result.returncode, 1)
        self.assertIn("made.cpp:1: error: ", result.stderr)

    def test_a_missing_file_is_found_where_all_are_known(self):
        self.assert_breach("src/frame/x.cpp", '#include "actions/none.h"\n', 1, "is not there",
                           {"actions/made.h": "#pragma once\n"})

    def test_wrong_use(self):
        result = subprocess.run([sys.executable, "-B", SCRIPT], check=False, capture_output=True)
        self.assertEqual(result.returncode, 2)
        with tempfile.TemporaryDirectory() as folder:
            result = subprocess.run([sys.executable, "-B", SCRIPT, folder], check=False,
                                    capture_output=True)
        self.assertEqual(result.returncode, 2)


if __name__ == "__main__":
    unittest.main()
