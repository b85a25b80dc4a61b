#!/usr/bin/env python3
"""Tests of the generator, run as the build runs it: what a small catalogue gives, what one more row
changes, and what every kind of mistake in a table is answered with.

usage: test_generator.py [unittest options]
       test_generator.py --refresh    writes the expected files anew; look at the difference
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
DATA = HERE / "data"
EXPECTED = HERE / "expected"
GENERATOR = HERE.parents[1] / "src/actions/generator/generate.py"

# Expected output: the file, and the line from which on it is compared (the heads are prose).
COMPARED = {
    "exports.txt": "",
    "exports.map": "",
    "include/tmxactions/actions.def": "TMX_ACTION(",
    "include/tmxactions/constants.h": "/* Action classes. */",
    "include/tmxactions/typed.h": "/* ---- Class",
    "src/actions/families.h": "",
    "src/actions/lamps.cpp": "",
    "src/actions/lamps_templates.cpp": "",
    "src/actions/lamps.h": "",
    "src/catalogue/static_table.inc": "",
    "src/frame/typed_lamps.cpp": "",
}


def compared_part(text, begin):
    lines = text.split("\n")
    first = next(number for number, line in enumerate(lines) if line.startswith(begin))
    return "\n".join(lines[first:])


def expected_file(name):
    return EXPECTED / (name.rpartition("/")[2] + ".txt")


def contents(folder):
    return {str(path.relative_to(folder)): path.read_text(encoding="ascii")
            for path in folder.rglob("*") if path.is_file()}


class Tables:
    """A scratch copy of the small catalogue's tables."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        for path in DATA.iterdir():
            self.write(path.name, path.read_text(encoding="ascii"))

    def read(self, name):
        return (self.folder / name).read_text(encoding="ascii")

    def write(self, name, text, encoding="ascii"):
        (self.folder / name).write_text(text, encoding=encoding)

    def generate(self, output="out", families=("lamps", "doors"), hash_seed="0"):
        return subprocess.run(
            [sys.executable, "-B", GENERATOR, "--enumerations", "enumerations.table",
             "--functions", "functions.h", "--output", output,
             *(f"{family}.table" for family in families)],
            check=False, capture_output=True, text=True, cwd=self.folder,
            env={"PYTHONHASHSEED": hash_seed, "PATH": "/usr/bin:/bin"})

    def made(self, **arguments):
        result = self.generate(**arguments)
        if result.returncode != 0:
            raise AssertionError(result.stderr)
        return contents(self.folder / arguments.get("output", "out"))


class GeneratorTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tables = Tables(folder.name)
        self.maxDiff = None


class Output(GeneratorTest):
    def test_the_small_catalogue_gives_what_is_expected(self):
        made = self.tables.made()
        for name, begin in COMPARED.items():
            with self.subTest(file=name):
                self.assertEqual(compared_part(made[name], begin),
                                 expected_file(name).read_text(encoding="ascii"))

    def test_all_files_are_made(self):
        families = [f"src/actions/{family}{kind}" for family in ("lamps", "doors")
                    for kind in (".h", ".cpp", "_templates.cpp")]
        self.assertEqual(set(self.tables.made()),
                         {*COMPARED, *families, "src/frame/typed_lamps.cpp",
                          "src/frame/typed_doors.cpp"})

    def test_the_same_tables_give_the_same_files(self):
        first = self.tables.made(output="one", hash_seed="1")
        self.assertEqual(first, self.tables.made(output="two/deeper", hash_seed="2"))

    def test_no_file_names_a_place_or_a_day(self):
        for name, text in self.tables.made().items():
            self.assertNotIn(str(self.tables.folder), text, name)
            self.assertNotRegex(text, r"\b20[0-9][0-9]\b", name)

    def test_files_that_stay_the_same_are_not_written(self):
        self.tables.made()
        times = {path: path.stat().st_mtime_ns for path in (self.tables.folder / "out").rglob("*")
                 if path.is_file()}
        self.tables.write("doors.table", self.tables.read("doors.table") + "\n# A remark.\n")
        self.tables.made()
        for path, time in times.items():
            self.assertEqual(path.stat().st_mtime_ns, time, path)

    def test_an_empty_family_is_no_mistake(self):
        self.tables.write("doors.table", "# Nothing yet.\n")
        self.assertNotIn("doorOpen", "".join(self.tables.made().values()))

    def test_a_continued_row_is_one_row(self):
        made = self.tables.made()
        text = self.tables.read("lamps.table")
        joined = text.replace(";\n      ", "; ")
        self.assertNotEqual(joined, text)
        self.tables.write("lamps.table", joined)
        self.assertEqual(self.tables.made(output="joined"), made)


class OneMoreRow(GeneratorTest):
    def test_a_row_brings_its_own_and_touches_nothing_else(self):
        before = self.tables.made()
        row = "41 DoorClose | Door ObjectRef KindOutputContact; Slow Bool optional\n"
        self.tables.write("doors.table", self.tables.read("doors.table") + row)
        after = self.tables.made()

        changed = {name for name in after if after[name] != before.get(name)}
        self.assertEqual(changed, {
            "exports.txt", "exports.map", "include/tmxactions/actions.def",
            "include/tmxactions/constants.h", "include/tmxactions/typed.h", "src/actions/doors.h",
            "src/actions/doors.cpp", "src/actions/doors_templates.cpp",
            "src/catalogue/static_table.inc", "src/frame/typed_doors.cpp"})
        # But for the table with its running offsets, lines are added and none is taken away.
        for name in changed - {"src/catalogue/static_table.inc"}:
            old, new = before[name].splitlines(), after[name].splitlines()
            added = [line for line in new if line not in old]
            self.assertTrue(added, name)
            without_comma = [line.rstrip(",") for line in new]
            for line in old:
                self.assertIn(line.rstrip(","), without_comma, name)
        for line in ("TmxAct_CreateDoorClose", "TmxAct_DecodeDoorClose"):
            self.assertEqual(after["exports.txt"].splitlines().count(line), 1)
            self.assertIn(f"        {line};\n", after["exports.map"])
        self.assertIn("TMXACT_API TmxHandle TmxAct_CreateDoorClose(const TmxObjectRef* Door, "
                      "const bool* Slow);", after["include/tmxactions/typed.h"])
        self.assertIn("TMX_PARAMETER(41, Slow, Bool, None, 1)\n",
                      after["include/tmxactions/actions.def"])
        self.assertIn("    TmxActionCode_DoorClose = 41\n", after["include/tmxactions/constants.h"])
        self.assertIn("class CTmxActDoorClose final", after["src/actions/doors.h"])
        self.assertIn("    Optional<bool> Slow;\n", after["src/actions/doors.h"])
        self.assertIn("RegisterMessage<CTmxActDoorClose>();", after["src/actions/doors.cpp"])
        self.assertIn("  // DoorClose\n", after["src/catalogue/static_table.inc"])

    def test_an_enumeration_value_brings_its_own(self):
        before = self.tables.made()
        self.tables.write("enumerations.table",
                          self.tables.read("enumerations.table").replace("2 Fast", "2 Fast; 5 Faster"))
        after = self.tables.made()
        self.assertEqual({name for name in after if after[name] != before[name]},
                         {"include/tmxactions/constants.h", "src/catalogue/static_table.inc"})
        self.assertIn("    TmxEnum_Mode_Faster = 5,\n", after["include/tmxactions/constants.h"])
        self.assertIn("    {12, 5, ", after["src/catalogue/static_table.inc"])


class Mistakes(GeneratorTest):
    """Each is answered with status 1 and FILE:LINE: error: REASON, and no file is made."""

    def assert_refused(self, file, line, reason, **arguments):
        result = self.tables.generate(**arguments)
        self.assertEqual(result.returncode, 1, result.stderr)
        first = result.stderr.splitlines()[0]
        self.assertTrue(first.startswith(f"{file}:{line}: error: "), result.stderr)
        self.assertIn(reason, first)
        self.assertEqual(len(result.stderr.splitlines()), 1, result.stderr)
        self.assertFalse((self.tables.folder / "out").exists())

    def assert_row_refused(self, row, reason):
        """A row in a family of its own, on line 3."""
        self.tables.write("doors.table", f"class 9 Doors\n\n{row}\n1000 Fine | none\n")
        self.assert_refused("doors.table", 3, reason)

    def assert_enumeration_refused(self, row, reason, line=1):
        self.tables.write("enumerations.table", f"{row}\n")
        self.assert_refused("enumerations.table", line, reason)

    def test_parameters(self):
        for row, reason in (
            ("41 X | A", "a parameter of X is a name and a type, not 'A'"),
            ("41 X | ", "a parameter of X is a name and a type, not ''"),
            ("41 X | A Int32;", "a parameter of X is a name and a type, not ''"),
            ("41 X | A_B Int32", "'A_B' is no name"),
            ("41 X | 3D Int32", "'3D' is no name"),
            ("41 X | A Int16", "unknown type or enumeration 'Int16' of parameter A of X"),
            ("41 X | A Colour", "unknown type or enumeration 'Colour' of parameter A of X"),
            ("41 X | A mode", "unknown type or enumeration 'mode'"),
            ("41 X | A BoolValue", "BoolValue can be no parameter's enumeration"),
            ("41 X | A Int32 KindNothing", "unknown kind 'KindNothing' of parameter A of X"),
            ("41 X | A Int32 Optional", "unknown word 'Optional' behind parameter A of X"),
            ("41 X | A Int32 extra=x", "unknown word 'extra=x'"),
            ("41 X | A Int32 role=Viewer", "unknown word 'role=Viewer'"),
            ("41 X | A ObjectRef KindCamera KindViewer",
             "two kinds, KindCamera and KindViewer, on parameter A"),
            ("41 X | A Int32 KindCamera", "KindCamera goes with ObjectRef: parameter A of X"),
            ("41 X | A ObjectRef role=NamedId", "role=NamedId goes with NamedId: parameter A of X"),
            ("41 X | Guid Guid", "the classes of actions use the name Guid for something else"),
            ("41 X | Ab Int32; AB Bool", "duplicate parameter AB of X"),
            ("41 X | handle Int32", "'handle' is no name of a parameter: it begins with a capital"),
            ("41 X | A Int32; B Bool; A Bool", "duplicate parameter A of X"),
            ("41 X | A DataSet optional", "a DataSet can't be optional: parameter A of X"),
            ("41 X | A Mode KindUser", "an enumeration has no kind: parameter A of X"),
            ("41 X | " + "; ".join(f"P{n} Bool" for n in range(26)), "X has 26 parameters; 25 are"),
        ):
            with self.subTest(row=row):
                self.assert_row_refused(row, reason)

    def test_as_many_parameters_as_there_may_be(self):
        row = "41 X | " + "; ".join(f"P{n} Bool" for n in range(25))
        self.tables.write("doors.table", f"class 9 Doors\n{row}\n")
        self.assertIn("P24", self.tables.made()["src/actions/doors.h"])

    def test_rows(self):
        for row, reason in (
            ("41 X", "a row needs '|' behind its name"),
            ("41 | none", "a row begins with a number and a name"),
            ("X 41 | none", "a row begins with a number and a name"),
            ("-4 X | none", "a row begins with a number and a name"),
            ("41 A.B | none", "'A.B' is no name"),
            ("0 X | none", "code 0 is not 1 to 32767"),
            ("32768 X | none", "code 32768 is not 1 to 32767"),
            ("41 X full=1 | A Bool", "unknown word 'full=1' behind X"),
            ("41 X plain=all | A Bool", "unknown word 'plain=all' behind X"),
            ("41 X plain=1 | A Bool", "plain=1 leaves nothing to the Ex pair of X"),
            ("41 X plain=1 | A Bool; B Bool", "the plain pair of X can't leave out B"),
            ("12 X | none", "duplicate action code 12, first at lamps.table:5"),
            ("41 LampOn | none", "duplicate action name lampon, first at lamps.table:5"),
            ("41 LAMPON | none", "duplicate action name lampon, first at lamps.table:5"),
            ("41 LampTestEx | none", "there is a function TmxAct_CreateLampTestEx already"),
        ):
            with self.subTest(row=row):
                self.assert_row_refused(row, reason)

    def test_a_duplicate_in_one_table(self):
        self.tables.write("doors.table", "class 9 Doors\n41 X | none\n42 Y | none\n41 Z | none\n")
        self.assert_refused("doors.table", 4, "duplicate action code 41, first at doors.table:2")

    def test_classes(self):
        for line, reason in (
            ("class Doors", "a class line is 'class', an id and a name"),
            ("class 9", "a class line is 'class', an id and a name"),
            ("class x Doors", "a class line is 'class', an id and a name"),
            ("class 9 Doors more", "a class line is 'class', an id and a name"),
            ("class 9 Do-ors", "a class line is 'class', an id and a name"),
            ("class 65536 Doors", "class id 65536 is above 65535"),
            ("class 4 Doors", "duplicate class 4 Doors, first at lamps.table:3"),
            ("class 9 reports", "duplicate class 9 reports, first at lamps.table:10"),
            ("40 DoorOpen | none", "a row needs a class line above it"),
        ):
            with self.subTest(line=line):
                self.tables.write("doors.table", f"{line}\n")
                self.assert_refused("doors.table", 1, reason)

    def test_enumerations(self):
        for row, reason in (
            ("12 Mode", "a row needs '|' behind its name"),
            ("Mode 12 | 0 A", "a row begins with a number and a name"),
            ("12 Mode word | 0 A", "unknown word 'word'"),
            ("9 Mode | 0 A", "enumeration id 9 is not 5 or 10 to 99"),
            ("100 Mode | 0 A", "enumeration id 100 is not 5 or 10 to 99"),
            ("12 Mo_de | 0 A", "'Mo_de' is no name"),
            ("12 Bool | 0 A", "Bool is a parameter type"),
            ("12 Mode | ", "an entry of Mode is a value and a name, not ''"),
            ("12 Mode | 0", "an entry of Mode is a value and a name, not '0'"),
            ("12 Mode | A 0", "an entry of Mode is a value and a name, not 'A 0'"),
            ("12 Mode | 0x1 A", "an entry of Mode is a value and a name, not '0x1 A'"),
            ("12 Mode | 0 A B", "an entry of Mode is a value and a name, not '0 A B'"),
            ("12 Mode | 0 A-B", "'A-B' is no name"),
            ("12 Mode | 2147483648 A", "value 2147483648 of Mode has more than 32 bits"),
            ("12 Mode | -2147483649 A", "value -2147483649 of Mode has more than 32 bits"),
            ("12 Mode | 0 A; 1 B; 0 C", "duplicate value 0 in Mode"),
            ("12 Mode | 0 A; 1 A", "duplicate name A in Mode"),
        ):
            with self.subTest(row=row):
                self.assert_enumeration_refused(row, reason)
        self.assert_enumeration_refused("12 Mode | 0 A\n12 Other | 0 A",
                                        "duplicate enumeration id 12, first at", line=2)
        self.assert_enumeration_refused("12 Mode | 0 A\n13 Mode | 0 A",
                                        "duplicate enumeration name Mode, first at", line=2)

    def test_a_continued_row_needs_a_beginning(self):
        self.tables.write("doors.table", "# Doors\n      Door Int32\n")
        self.assert_refused("doors.table", 2, "a continued row has no beginning")

    def test_a_mistake_in_a_continued_row_is_told_by_its_beginning(self):
        self.tables.write("doors.table", "class 9 Doors\n\n40 X | A Int32;\n      B Int16\n")
        self.assert_refused("doors.table", 3, "'Int16' of parameter B of X")

    def test_a_file_that_is_not_there(self):
        result = self.tables.generate(families=("lamps", "windows"))
        self.assertEqual(result.returncode, 1)
        self.assertIn("windows.table", result.stderr)

    def test_a_file_that_is_not_ascii(self):
        self.tables.write("doors.table", "class 9 Doors\n40 T\u00fcr | none\n", encoding="utf-8")
        self.assert_refused("doors.table", 2, "a table is in ASCII")

    def test_wrong_use(self):
        result = subprocess.run([sys.executable, "-B", GENERATOR, "--output", "x"], check=False,
                                capture_output=True, text=True)
        self.assertEqual(result.returncode, 2)


def refresh():
    with tempfile.TemporaryDirectory() as folder:
        made = Tables(folder).made()
    EXPECTED.mkdir(exist_ok=True)
    for name, begin in COMPARED.items():
        expected_file(name).write_text(compared_part(made[name], begin), encoding="ascii")


if __name__ == "__main__":
    if sys.argv[1:] == ["--refresh"]:
        refresh()
    else:
        unittest.main()
