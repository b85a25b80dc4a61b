#!/usr/bin/env python3
"""Tests of the command-line program: run.py --tmxact PATH [TEST...]

Each case runs the program as a user would. Expected texts stand in the cases; those of --help and
the version are files in golden/, which --update writes anew.
"""

import argparse
import json
import os
import pty
import re
import resource
import select
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCES = os.path.join(HERE, "..", "..", "tools", "tmxact")
TMXACT = None
UPDATE = False

CAMERA_ON = bytes.fromhex(
    "01000000 7A000000 8877665544332211 03000000 04000000 430061006D000000 0FF0000000000000")
CANCEL_EXPORT = bytes.fromhex(
    "01000000 C8010000 33221100554477668899AABBCCDDEEFF 01000000 0FF0000000000000")
VIEWER_CONNECT = bytes.fromhex(
    "01000000 C9000000 0100000000000000 02000000 02000000 56000000 0000000000000000 07000000"
    "01000000 0000 01000000 0FF0000000000000")
PROPERTY_BLOCK = bytes.fromhex("0FF0000001000000 02000000 61000000 02000000 62000000")
NO_PROPERTIES = bytes.fromhex("0FF0000000000000")

SETUP_CHANGED = ('SetupChanged ("admin", "srv1", "2026/11/15 12:00:00,000 GMT+01:00", 1, '
                 '{ 17, "Entrance" }, 2, Details: "moved", ClientAccount: "op1")')


def environment(**changes):
    env = {k: v for k, v in os.environ.items() if k not in ("NO_COLOR", "COLORTERM")}
    env.update({"TERM": "xterm", "LC_ALL": "C.UTF-8", "TZ": "UTC"})
    env.update(changes)
    return env


class Result:
    def __init__(self, code, out, err):
        self.code, self.out, self.err = code, out, err


class Case(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="tmxact-")
        self.addCleanup(shutil.rmtree, self.folder)

    def file(self, name, content):
        path = os.path.join(self.folder, name)
        with open(path, "wb") as stream:
            stream.write(content if isinstance(content, bytes) else content.encode())
        return path

    def run_tmxact(self, *arguments, stdin=b"", env=None, cwd=None, raw=False):
        if isinstance(stdin, str):
            stdin = stdin.encode()
        done = subprocess.run([TMXACT, *arguments], input=stdin, capture_output=True, timeout=50,
                              env=env or environment(), cwd=cwd or self.folder)
        out = done.stdout if raw else done.stdout.decode("utf-8", "surrogateescape")
        return Result(done.returncode, out, done.stderr.decode())

    def check(self, arguments, stdin=b"", out="", err="", code=0, **more):
        result = self.run_tmxact(*arguments, stdin=stdin, raw=isinstance(out, bytes), **more)
        self.assertEqual(out, result.out)
        self.assertEqual(err, result.err)
        self.assertEqual(code, result.code)

    def open_pipe(self, *arguments, env=None):
        process = subprocess.Popen([TMXACT, *arguments], stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, bufsize=0,
                                   env=env or environment(), cwd=self.folder)
        self.addCleanup(self.end, process)
        return process

    @staticmethod
    def end(process):
        if process.poll() is None:
            process.kill()
        process.wait()
        for stream in (process.stdin, process.stdout, process.stderr):
            if stream and not stream.closed:
                stream.close()

    def read_within(self, stream, size, seconds=10):
        """Reads exactly size bytes, or fails: the program must not wait for more input."""
        data = b""
        until = time.monotonic() + seconds
        while len(data) < size:
            ready, _, _ = select.select([stream], [], [], max(0, until - time.monotonic()))
            if not ready:
                self.fail(f"only {data!r} came in time")
            got = os.read(stream.fileno(), size - len(data))
            if not got:
                self.fail(f"only {data!r} came before the end")
            data += got
        return data

    def on_terminal(self, *arguments, stdin=subprocess.DEVNULL, env=None, feed=None):
        """Runs with a pseudo-terminal at standard output and error; gives exit code and output."""
        master, slave = pty.openpty()
        process = subprocess.Popen([TMXACT, *arguments], stdin=stdin, stdout=slave, stderr=slave,
                                   env=env or environment(), cwd=self.folder)
        os.close(slave)
        data = b""
        if feed:
            feed(process)
        while True:
            try:
                got = os.read(master, 65536)
            except OSError:
                break
            if not got:
                break
            data += got
        os.close(master)
        return process.wait(), data.decode()


class Help(Case):
    def golden(self, name, text):
        path = os.path.join(HERE, "golden", name)
        if UPDATE:
            with open(path, "w", encoding="utf-8") as stream:
                stream.write(text)
        with open(path, encoding="utf-8") as stream:
            self.assertEqual(stream.read(), text)

    def test_help_of_program_and_commands(self):
        for command in ([], ["convert"], ["check"], ["catalogue"]):
            result = self.run_tmxact(*command, "--help")
            self.assertEqual((0, ""), (result.code, result.err))
            self.assertTrue(result.out.startswith("Examples:\n  tmxact "))
            # The events commands, which a build may leave out, have tests of their own.
            out = re.sub(r"^  (tmxact )?events .*\n", "", result.out, flags=re.M)
            self.golden("-".join(["help", *command]) + ".txt", out)

    def test_version(self):
        result = self.run_tmxact("--version")
        self.assertEqual((0, ""), (result.code, result.err))
        self.golden("version.txt", result.out)
        self.assertIn("interface version 106 of 26.02.2018", result.out)

    def test_no_arguments(self):
        result = self.run_tmxact()
        self.assertEqual((2, ""), (result.code, result.out))
        self.assertTrue(result.err.startswith("Usage: tmxact COMMAND"))

    def test_wrong_use(self):
        for arguments, word in ((["frobnicate"], "frobnicate"), (["convert"], "--to is required"),
                                (["convert", "--to", "xml"], "--to"),
                                (["chekc", "x"], "no command 'chekc'; perhaps check"),
                                (["catalog", "x"], "no command 'catalog'; perhaps catalogue"),
                                (["--json"], "no option '--json'"),
                                (["check", "--jsn", "x"], "no option '--jsn'; perhaps --json"),
                                (["convert", "--too=text"], "no option '--too'; perhaps --to"),
                                (["check", "-vz", "x"], "no option '-z'"),
                                (["catalogue", "a", "b", "c"], "nothing is expected at 'b'"),
                                (["check", "--max-size", "12x"], "found '12x'"),
                                (["check", "--max-size", "2G", "x"], "--max-size"),
                                (["convert", "--to", "text", "--wrong"], "--wrong"),
                                (["convert", "--to", "text", "--from", "xml"], "--from"),
                                (["check", "--max-size", "0", "x"], "--max-size"),
                                (["check", "--color", "pink", "x"], "--color")):
            with self.subTest(arguments):
                result = self.run_tmxact(*arguments)
                self.assertEqual((2, ""), (result.code, result.out))
                self.assertIn(word, result.err)
                self.assertIn("--help", result.err)

    def test_help_to_full_disk(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run([TMXACT, "--help"], stdout=full, stderr=subprocess.PIPE,
                                  env=environment(), timeout=20)
        self.assertEqual(4, done.returncode)
        self.assertIn(b"No space left", done.stderr)


class Convert(Case):
    def test_text_to_text(self):
        self.check(["convert", "--to", "text"],
                   stdin="  cameraon(5)\n\n CAMERAON ( 0x5 ) CameraOff(7)ViewerConnect(1,5,2)",
                   out="CameraOn (5)\nCameraOn (5)\nCameraOff (7)\nViewerConnect (1, 5, 2)\n")

    def test_text_to_binary_by_the_byte(self):
        self.check(["convert", "--to", "bin"],
                   stdin='CameraOn ({ 1234605616436508552, 3, "Cam" })\n'
                         'CancelExport ("00112233-4455-6677-8899-aabbccddeeff", 1)\n'
                         'ViewerConnect ({ 1, 2, "V" }, 7, 1)\n',
                   out=CAMERA_ON + CANCEL_EXPORT + VIEWER_CONNECT)

    def test_binary_to_text(self):
        self.check(["convert", "--to", "text"], stdin=CAMERA_ON + CANCEL_EXPORT + VIEWER_CONNECT,
                   out='CameraOn ({ 1234605616436508552, 3, "Cam" })\n'
                       'CancelExport ("00112233-4455-6677-8899-aabbccddeeff", 1)\n'
                       'ViewerConnect ({ 1, 2, "V" }, 7, 1)\n')

    def test_display(self):
        self.check(["convert", "--to", "display"],
                   stdin='ViewerSetPlayMode (1, 2, 100) CustomAction (1, "a\nb")',
                   out="ViewerSetPlayMode; Viewer: 1; PlayForward; PlaySpeed: 100\n"
                       'CustomAction; Int: 1; String: "a b"\n')

    def test_files_in_order_and_standard_input(self):
        self.file("a.txt", "CameraOn (1)")
        self.file("b.bin", CANCEL_EXPORT)
        self.check(["convert", "--to", "text", "a.txt", "-", "b.bin"], stdin="CameraOn (2)",
                   out='CameraOn (1)\nCameraOn (2)\n'
                       'CancelExport ("00112233-4455-6677-8899-aabbccddeeff", 1)\n')

    def test_empty_input(self):
        for content in ("", " \n\n\t"):
            self.check(["convert", "--to", "json"], stdin=content)

    def test_byte_order_mark(self):
        self.check(["convert", "--to", "text"], stdin="\ufeffCameraOn (1)", out="CameraOn (1)\n")

    def test_output_file(self):
        self.file("in.txt", "CameraOn (1)")
        self.check(["convert", "--to", "text", "-o", "out.txt", "in.txt"])
        with open(os.path.join(self.folder, "out.txt"), encoding="utf-8") as stream:
            self.assertEqual("CameraOn (1)\n", stream.read())

    def test_output_over_input(self):
        path = self.file("in.txt", "CameraOn (1)")
        result = self.run_tmxact("convert", "--to", "text", "-o", path, path)
        self.assertEqual(2, result.code)
        with open(path, encoding="utf-8") as stream:
            self.assertEqual("CameraOn (1)", stream.read())

    def test_options_end(self):
        self.file("--to", "CameraOn (1)")
        self.check(["convert", "--to=text", "--", "--to"], out="CameraOn (1)\n")

    def test_every_action_through_every_form(self):
        """All that the catalogue knows goes from text to bytes to text unchanged, and to JSON."""
        listing = self.run_tmxact("catalogue", "--json").out.splitlines()
        actions = [json.loads(line) for line in listing]
        self.assertEqual(353, len(actions))
        text = self.run_tmxact("convert", "--to", "text",
                               stdin="\n".join(a["example"] for a in actions))
        self.assertEqual((0, ""), (text.code, text.err))
        stored = self.run_tmxact("convert", "--to", "bin", stdin=text.out, raw=True)
        self.assertEqual((0, ""), (stored.code, stored.err))
        again = self.run_tmxact("convert", "--from", "bin", "--to", "text", stdin=stored.out)
        self.assertEqual((0, ""), (again.code, again.err))
        self.assertEqual(text.out, again.out)
        objects = self.run_tmxact("convert", "--to", "json", stdin=stored.out)
        self.assertEqual((0, ""), (objects.code, objects.err))
        for action, line in zip(actions, objects.out.splitlines(), strict=True):
            got = json.loads(line)
            self.assertEqual((action["action"], action["code"], action["class"]),
                             (got["action"], got["code"], got["class"]))
            self.assertEqual([p["name"] for p in action["parameters"] if not p["optional"]],
                             list(got["parameters"]))

    def test_large_action(self):
        text = 'CustomAction (7, "' + "x" * 20_000_000 + '")\n'
        result = self.run_tmxact("convert", "--to", "text", stdin=text + "CameraOn (1)\n")
        self.assertEqual((0, ""), (result.code, result.err))
        self.assertTrue(result.out == text + "CameraOn (1)\n")

    def test_max_size(self):
        text = 'CustomAction (7, "' + "x" * 2_000_000 + '")\nCameraOn (1)\n'
        result = self.run_tmxact("convert", "--to", "text", "--max-size", "1M", stdin=text)
        self.assertEqual((3, "CameraOn (1)\n"), (result.code, result.out))
        self.assertIn("standard input:1:18: ", result.err)
        self.assertIn("--max-size", result.err)

    def test_binary_text_too_long(self):
        data = bytearray(CAMERA_ON)
        data[20:24] = b"\xff\xff\xff\xf0"
        result = self.run_tmxact("convert", "--to", "text", stdin=bytes(data) + CAMERA_ON)
        self.assertEqual(3, result.code)
        self.assertEqual('CameraOn ({ 1234605616436508552, 3, "Cam" })\n', result.out)
        self.assertIn("standard input:20: CameraOn: parameter 1, Camera", result.err)

    def test_ansi(self):
        ansi = 'CustomAction (7, "Gr\xfc\xdfe \x80")\n'.encode("latin-1")
        utf8 = 'CustomAction (7, "Grüße €")\n'
        self.check(["convert", "--ansi", "--to", "text"], stdin=ansi, out=utf8)
        self.check(["convert", "--ansi-output", "--to", "text"], stdin=utf8, out=ansi)
        self.check(["convert", "--ansi", "--ansi-output", "--to", "text"], stdin=ansi, out=ansi)

    def test_ill_formed_utf8_is_doubted(self):
        result = self.run_tmxact("convert", "--to", "text", stdin=b'CustomAction (7, "Gr\xfcn")')
        self.assertEqual((0, 'CustomAction (7, "Gr\ufffdn")\n'), (result.code, result.out))
        self.assertIn("standard input:1:21: warning: ", result.err)
        self.assertIn("--ansi", result.err)
        result = self.run_tmxact("convert", "--to", "text", stdin=b'CustomAction (7, "\xfc")' * 99)
        self.assertEqual((0, 1), (result.code, result.err.count("warning")))

    def test_older_writer(self):
        """Actions without a property block, and one that ends ahead of its optional parameters."""
        bare = CAMERA_ON[:-8]
        self.check(["convert", "--to", "bin"], stdin=bare + bare, out=CAMERA_ON + CAMERA_ON)
        login = self.run_tmxact("convert", "--to", "bin", stdin='StartEvent ("x")', raw=True).out
        self.check(["convert", "--to", "text"], stdin=login[:-9], out='StartEvent ("x")\n')

    def test_templates(self):
        """Templates pass like actions where the library makes them, and are refused where not."""
        text = '@ CameraOn (Comment: "all", Camera: 5)\n@ CameraOff ()\n'
        stored = self.run_tmxact("convert", "--to", "bin", stdin=text, raw=True)
        if stored.code == 3:
            self.assertEqual(b"", stored.out)
            self.assertEqual(2, stored.err.count("the library makes no template of it"))
            return
        self.assertEqual((0, ""), (stored.code, stored.err))
        self.assertEqual(b"\x02\0\0\0\x7a\0\0\0\x01", stored.out[:9])
        self.check(["convert", "--to", "text"], stdin=stored.out, out=text)
        self.check(["convert", "--to", "json"], stdin="@CameraOn(camera:5)",
                   out='{"action":"CameraOn","code":122,"class":"CameraControl","template":true,'
                       '"text":"@ CameraOn (Camera: 5)"}\n')

    def test_broken_templates(self):
        for text, place in (("@ CameraOn (5)", "1:13: CameraOn: expected ')', found '5'"),
                            ("@", "1:2: the text ends"), ("@ CameraOm ()", "1:3: unknown action"),
                            ("CameraOn (x)\n@ CameraOff (y)", "2:14: CameraOff: expected ')'")):
            result = self.run_tmxact("convert", "--to", "text", stdin=text)
            self.assertEqual((3, ""), (result.code, result.out))
            self.assertIn("standard input:" + place, result.err)

    def test_odd_opening_quote_is_taken_as_the_library_does(self):
        self.check(["convert", "--to", "text"],
                   stdin="CustomAction (7, 'abc\")\nCustomAction (8, )d(\")\nCameraOn (1)\n",
                   out='CustomAction (7, "abc")\nCustomAction (8, "d(")\nCameraOn (1)\n')


class Json(Case):
    def one(self, text, *options):
        result = self.run_tmxact("convert", "--to", "json", *options, stdin=text)
        self.assertEqual((0, ""), (result.code, result.err))
        return result.out

    def test_line(self):
        self.assertEqual(
            '{"action":"SetupChanged","code":17,"class":"System","parameters":{"User":"admin",'
            '"Host":"srv1","Date":"2026-11-15T12:00:00.000+01:00",'
            '"ResourceKind":{"value":1,"name":"VideoInput"},'
            '"ResourceID":{"id":17,"name":"Entrance"},"ChangeKind":{"value":2,"name":"Modified"},'
            '"Details":"moved","ClientAccount":"op1"}}\n', self.one(SETUP_CHANGED))

    def test_int64(self):
        text = "CustomAction (9007199254740993, \"\") CameraOn ({ -9007199254740993, 1, \"\" })"
        number = '"Int":9007199254740993,'
        self.assertIn(number, self.one(text))
        self.assertIn(number, self.one(text, "--int64", "number"))
        strings = self.one(text, "--int64=string")
        self.assertIn('"Int":"9007199254740993",', strings)
        self.assertIn('{"id":"-9007199254740993","number":1,', strings)

    def test_enumeration_without_name(self):
        self.assertIn('"PlayMode":{"value":9999}}', self.one("ViewerConnect (1, 2, 9999)"))

    def test_guid_and_references(self):
        self.assertIn('"ExportID":"00112233-4455-6677-8899-aabbccddeeff"', self.one(CANCEL_EXPORT))
        text = 'ChangeADParameterSet (1, { "baa41e7c-9328-427e-943d-a66b44ef2fdb", "Night" })'
        self.assertIn('"ParameterSet":{"guid":"baa41e7c-9328-427e-943d-a66b44ef2fdb",'
                      '"name":"Night"}', self.one(text))

    def video_result(self, value):
        """A stored VideoResult whose first double has this value, exactly."""
        stored = self.run_tmxact("convert", "--to", "bin", raw=True, stdin=(
            'VideoResult (DoubleFieldA: 1.5, 5, {{ 1, -2, 3, 4, -7, "x" }, '
            '{ 5, 6, 7, 8, 9, "" }})')).out
        return stored.replace(struct.pack("<d", 1.5), struct.pack("<d", value))

    def test_doubles(self):
        for value, shown in ((0.1, "0.1"), (1 / 3, "0.3333333333333333"), (1e300, "1e+300"),
                             (0.1 + 0.2, "0.30000000000000004"), (5e-324, "5e-324"),
                             (3.93211651909326e-309, "3.93211651909326e-309"),
                             (-0.0, "-0"), (float("nan"), '"NaN"'), (float("inf"), '"Infinity"'),
                             (float("-inf"), '"-Infinity"')):
            with self.subTest(shown):
                line = self.one(self.video_result(value))
                self.assertIn(f'"DoubleFieldA":{shown},', line)
                json.loads(line, parse_constant=self.fail)

    def test_data_set_and_rectangle(self):
        self.assertIn('"ResultDataSet":[{"words":[1,-2,3,4],"number":-7,"name":"x"},'
                      '{"words":[5,6,7,8],"number":9,"name":""}]', self.one(self.video_result(1)))
        text = ('SensorVideoAlarm (1, 0, ADArea: 0, AlarmArea: { 0, -1, 640, 480 })')
        self.assertIn('"AlarmArea":[0,-1,640,480]', self.one(text))

    def test_texts(self):
        self.assertIn('"String":"a\\\\\\n\\tä€😀"}', self.one('CustomAction (1, "a\\\n\tä€😀")'))

    def test_unpaired_surrogates(self):
        stored = self.run_tmxact("convert", "--to", "bin", stdin='CustomAction (1, "x#y")',
                                 raw=True).out
        for unit in ("D800", "DFFF"):
            data = stored.replace(b"#\0", struct.pack("<H", int(unit, 16)))
            line = self.one(data)
            self.assertIn(f'"String":"x\\u{unit}y"', line)

    def test_surrogates_in_any_order(self):
        stored = self.run_tmxact("convert", "--to", "bin", stdin='CustomAction (1, "#@$")',
                                 raw=True).out
        for units, shown in (((0xD83D, 0xDE00, 0x41), "😀A"),
                             ((0xD83D, 0xD83D, 0xDE00), "\\uD83D😀"),
                             ((0xDE00, 0xD83D, 0x41), "\\uDE00\\uD83DA"),
                             ((0x41, 0xDBFF, 0xDFFF), "A\U0010ffff"),
                             ((0x41, 0x42, 0xD800), "AB\\uD800")):
            with self.subTest(units):
                line = self.one(stored.replace(b"#\0@\0$\0", struct.pack("<3H", *units)))
                self.assertIn(f'"String":"{shown}"', line)
        odd = PROPERTY_BLOCK.replace(b"a\0", struct.pack("<H", 0xD800))
        self.assertTrue(self.one(CAMERA_ON[:-8] + odd).endswith(',"properties":{"\\uD800":"b"}}\n'))

    def test_text_stays_on_its_line(self):
        """Control characters and line separators are escaped, in wide texts and narrow ones."""
        for c in "\x01\x1f\x7f\x85\x9f\u2028\u2029":
            with self.subTest(hex(ord(c))):
                shown = f"a\\u{ord(c):04X}b"
                self.assertIn(f'"String":"{shown}"', self.one(f'CustomAction (1, "a{c}b")'))
                self.assertIn(f'"Type":"{shown}"', self.one(f'DeviceFound ("a{c}b", "", "")'))
        for c in "\xa0\u2027\u202a\ue000\uffff":
            with self.subTest(hex(ord(c))):
                self.assertIn(f'"String":"a{c}b"', self.one(f'CustomAction (1, "a{c}b")'))
                self.assertIn(f'"Type":"a{c}b"', self.one(f'DeviceFound ("a{c}b", "", "")'))

    def test_narrow_texts(self):
        self.assertIn('"Type":"ä"', self.one('DeviceFound ("ä", "", "")'))
        ansi = 'DeviceFound ("\xe4\x80", "", "")'.encode("latin-1")
        self.assertIn('"Type":"ä€"', self.one(ansi, "--ansi"))
        stored = self.run_tmxact("convert", "--ansi", "--to", "bin", stdin=ansi, raw=True).out
        self.assertIn('"Type":"ä€"', self.one(stored))

    def test_properties(self):
        self.assertNotIn("properties", self.one(CAMERA_ON))
        line = self.one(CAMERA_ON[:-8] + PROPERTY_BLOCK)
        self.assertTrue(line.endswith(',"properties":{"a":"b"}}\n'), line)
        odd = PROPERTY_BLOCK.replace(b"a\0", b"<\0").replace(b"b\0", b"&\0")
        self.assertTrue(self.one(CAMERA_ON[:-8] + odd).endswith(',"properties":{"<":"&"}}\n'))

    def test_date_times(self):
        def date(utc, bias):
            word = (utc & 0xFFFFFFFFFFFF) | ((bias & 0xFFFF) << 48)
            data = b"\x01\0\0\0\x01\0\0\0" + struct.pack("<Q", word) + NO_PROPERTIES
            return json.loads(self.one(data))["parameters"]["Date"]
        self.assertEqual("1601-01-01T00:00:00.000+00:00", date(0, 0))
        self.assertEqual("1600-12-31T19:00:00.000-05:00", date(0, 300))
        self.assertEqual("1601-01-01T05:30:00.001+05:30", date(1, -330))
        self.assertEqual({"utcMilliseconds": 5, "bias": 1440}, date(5, 1440))
        self.assertEqual({"utcMilliseconds": 0xFFFFFFFFFFFF, "bias": 0}, date(0xFFFFFFFFFFFF, 0))


class Refused(Case):
    def refused(self, text, err, out="", **more):
        self.check(["convert", "--to", "text", "in.txt"], out=out, err=err, code=3,
                   **(more | {"stdin": self.file("in.txt", text) and b""}))

    def test_enumeration_by_name(self):
        self.refused(
            "CameraOn (1)\n  ViewerConnect (1, 5, PlayFoward)\nCameraOn (2)\n",
            "in.txt:2:24: ViewerConnect: parameter 3, PlayMode (enumeration PlayMode): expected a "
            "number (an enumeration's value is written as its number), found 'PlayFoward'; "
            "PlayForward is 2\n"
            "    ViewerConnect (1, 5, PlayFoward)\n"
            "                         ^\n",
            out="CameraOn (1)\nCameraOn (2)\n")

    def test_unknown_name(self):
        self.refused("CameraOm (5)",
                     "in.txt:1:1: unknown action 'CameraOm'; the nearest is CameraOn\n"
                     "  CameraOm (5)\n"
                     "  ^\n")

    def test_no_name(self):
        self.refused("# CameraOn\n# CameraOff\nCameraOn (1)",
                     "in.txt:1:1: expected the name of an action, found '#'\n"
                     "  # CameraOn\n"
                     "  ^\n", out="CameraOn (1)\n")

    def test_reasons(self):
        for text, column, part in (
                ("CameraOn (Camera: 5)", 11, "a required parameter is written without its name"),
                ("CameraOn 5", 10, "expected '(' behind the name, found '5'"),
                ("ViewerConnect (1, 5)", 20, "parameter 3, PlayMode (enumeration PlayMode): is missing"),
                ("ViewerConnect (1, 5, 2, 3)", 23, "takes 3 parameters"),
                ('CameraOn ({ 1, 2 })', 18, "expected ',' in a number or { id, number, \"name\" }"),
                ('CameraOn ({ 1, 2, x })', 19, "expected a quoted text, found 'x'"),
                ('CustomAction (12a, "")', 17, "found '12a'"),
                ('LiveCheck (1, 2026)', 15, "parameter 2, Date (date-time): expected \"YYYY/"),
                ('SystemTerminating ("2026/11/15 GMT+00:00", true)', 44, "true is 1"),
                ('UserLogin ("a", "b", ClientTipe: 1)', 20, "the nearest parameter is ClientType"),
                ('UserLogin ("a", "b", ClientType: 1, ClientHost: "x")', 35,
                 "ClientHost stands twice, or behind its place in the order"),
                ('UserLogin ("a", "b", ClientHostName: "x")', 32, "expected ':' behind the name"),
                ('CancelExport ("00112233-4455", 1)', 16,
                 "parameter 1, ExportID (GUID): Conversion of guid '00112233-4455' failed."),
                ('LiveCheck (1, "2026/02/29 12:00 GMT+01:00")', 16,
                 "parameter 2, Date (date-time): Invalid day part in date/time string. Expected a "
                 "number from 1 to 28."),
                ('CustomAction (1, "a\0b")', 20, "the character of code 0"),
                ("CameraOn (5", 12, "the text ends in the middle of the action"),
                ('CustomAction (5, "x"', 21, "where ')' is due"),
                ("CameraOn", 9, "the text ends in the middle of an action"),
                ('CustomAction (5, "x)', 18, "the closing '\"' is missing")):
            with self.subTest(text):
                result = self.run_tmxact("convert", "--to", "text", stdin=text)
                self.assertEqual((3, ""), (result.code, result.out))
                place, _, shown = result.err.partition(": ")
                self.assertEqual(f"standard input:1:{column}", place, result.err)
                self.assertIn(part, shown)
                lines = result.err.split("\n")
                self.assertEqual(column + 1, lines[2].index("^"), result.err)

    def test_second_date_of_two(self):
        text = ('VideoResult (DateFieldA: "2026/11/15 GMT+00:00", '
                'DateFieldB: "2026/11/15", 5, {{ 1, 2, 3, 4, 5, "" }})')
        result = self.run_tmxact("check", "-", stdin=text)
        self.assertIn("standard input:1:63: VideoResult: parameter 10, DateFieldB", result.err)
        self.assertIn("UTC or GMT in date/time string expected.", result.err)

    def test_columns_count_characters(self):
        self.refused('CustomAction (1, "äöü€") CameraOn (x)',
                     'in.txt:1:36: CameraOn: parameter 1, Camera (object reference): expected a '
                     'number or { id, number, "name" }, found \'x\'\n'
                     '  CustomAction (1, "äöü€") CameraOn (x)\n' + " " * 37 + "^\n",
                     out='CustomAction (1, "äöü€")\n')

    def test_control_characters_stay_off_the_terminal(self):
        result = self.run_tmxact("check", "-", stdin="\x1b[31mCameraOn\t(x)")
        self.assertNotIn("\x1b", result.err)
        self.assertIn("\ufffd[31mCameraOn (x)", result.err)

    def test_byte_order_mark_is_no_column(self):
        result = self.run_tmxact("check", "-q", "-", stdin="\ufeffCameraOn (x)\nCameraOn (y)")
        self.assertEqual("", result.err)
        result = self.run_tmxact("check", "-", stdin="\ufeffCameraOn (x)\nCameraOn (y)")
        self.assertEqual(["1:11", "2:11"], re.findall(r"standard input:([\d:]+):", result.err))
        self.assertIn("\n  CameraOn (x)\n            ^\n", result.err)

    def test_caret_counts_the_columns_of_the_terminal(self):
        """A combining accent takes none, a wide character two; each is one character."""
        result = self.run_tmxact("check", "-",
                                 stdin='CustomAction (1, "e\u0301中文😀") CameraOn (x)')
        lines = result.err.split("\n")
        self.assertTrue(lines[0].startswith("standard input:1:37: "), lines[0])
        self.assertEqual(2 + 39 - 1, lines[2].index("^"))

    def test_utf16(self):
        for mark, code in ((b"\xff\xfe", "utf-16-le"), (b"\xfe\xff", "utf-16-be")):
            result = self.run_tmxact("check", "-", stdin=mark + "CameraOn (1)".encode(code))
            self.assertEqual(1, result.code)
            self.assertIn("standard input:1:1: the file begins with the byte order mark of UTF-16",
                          result.err)

    def test_long_line_is_cut(self):
        text = 'CustomAction (1, "' + "x" * 5000 + '") CameraOn (x) ' + "y" * 5000
        result = self.run_tmxact("check", "-", stdin=text)
        lines = result.err.split("\n")
        self.assertIn("standard input:1:5032: ", lines[0])
        self.assertTrue(lines[1].startswith("  ...x") and lines[1].endswith("y..."), lines[1])
        self.assertEqual(")", lines[1][lines[2].index("^") + 1])

    def test_resynchronise_on_the_line(self):
        """Behind a parenthesis, and only at a name of the catalogue outside of quotes."""
        result = self.run_tmxact(
            "convert", "--to", "text",
            stdin='CameraOn (x, ") CameraOn (1)") Foo (2) CameraOn (3)\nCameraOn (4)\n')
        self.assertEqual("CameraOn (3)\nCameraOn (4)\n", result.out)
        self.assertEqual(1, result.err.count("standard input:"))

    def test_resynchronise_at_lines(self):
        result = self.run_tmxact(
            "convert", "--to", "text",
            stdin="CameraOn (x\n 5)\nnote: CameraOn\nCamraOn (6)\n  cameraon (7)\n")
        self.assertEqual("CameraOn (7)\n", result.out)
        self.assertEqual(["1:11", "4:1"], re.findall(r"standard input:([\d:]+):", result.err))

    def test_unfinished_line_costs_one_action(self):
        result = self.run_tmxact("convert", "--to", "text",
                                 stdin='UserLogin ("a"\r\n  CameraOn (2)\r\n'
                                       'CameraOn (\nFoo (1)\n')
        self.assertEqual("CameraOn (2)\n", result.out)
        self.assertEqual(["2:3", "4:1"], re.findall(r"standard input:([\d:]+):", result.err))

    def test_separators_between_actions(self):
        result = self.run_tmxact(
            "convert", "--to", "text",
            stdin="CameraOn (1); CameraOn (2),,Foo;CameraOn (3)\nCameraOn (4)\0CameraOn (5)\n")
        self.assertEqual("".join(f"CameraOn ({i})\n" for i in (1, 2, 4, 5)), result.out)
        self.assertEqual(["1:13", "1:27", "2:13"],
                         re.findall(r"standard input:([\d:]+):", result.err))

    def test_forgotten_quote_costs_one_action(self):
        result = self.run_tmxact(
            "convert", "--to", "text",
            stdin='CustomAction (1, "a)\nCustomAction (2, "b")\nCustomAction (3, "c")\n')
        self.assertEqual('CustomAction (2, "b")\nCustomAction (3, "c")\n', result.out)
        self.assertIn("the text that begins on line 1 runs over the end of its line", result.err)

    def test_text_over_lines_is_no_error(self):
        self.check(["convert", "--to", "text"], stdin='CustomAction (1, "a\nCameraOn (1)\n")',
                   out='CustomAction (1, "a\nCameraOn (1)\n")\n')

    def test_many_forgotten_quotes_take_linear_time(self):
        text = "CustomAction (1, hello)\n" * 100_000
        begin = time.monotonic()
        result = self.run_tmxact("check", "-q", "-", stdin=text)
        self.assertEqual(1, result.code)
        self.assertLess(time.monotonic() - begin, 15)

    def test_binary_unknown_code(self):
        unknown = b"\x01\0\0\0\xff\xff\0\0" + CAMERA_ON[8:]
        self.file("in.bin", CAMERA_ON + unknown + CANCEL_EXPORT)
        self.check(["convert", "--to", "text", "in.bin"], code=3,
                   out='CameraOn ({ 1234605616436508552, 3, "Cam" })\n'
                       'CancelExport ("00112233-4455-6677-8899-aabbccddeeff", 1)\n',
                   err="in.bin:44: unknown action code 65535 (the action begins at 40)\n"
                       "  00 00 00 00 01 00 00 00 FF FF 00 00 88 77 66 55  .............wfU\n"
                       "                          ^\n")

    def test_binary_rubbish_between(self):
        # The rubbish holds what looks like the head of an action.
        rubbish = b"\x09\x01\0\0\0\x7a\0\0\0rubbish\x01\x01\0\0\0"
        result = self.run_tmxact("convert", "--from", "bin", "--to", "bin", raw=True,
                                 stdin=rubbish + CAMERA_ON + rubbish + CANCEL_EXPORT)
        self.assertEqual((3, CAMERA_ON + CANCEL_EXPORT), (result.code, result.out))
        self.assertEqual(["0", str(len(rubbish + CAMERA_ON))],
                         re.findall(r"standard input:(\d+): expected a message class of 1 or 2",
                                    result.err))

    def test_binary_cut_at_every_length(self):
        whole = CAMERA_ON[:-8] + PROPERTY_BLOCK
        for size in range(1, len(whole)):
            with self.subTest(size):
                result = self.run_tmxact("convert", "--from", "bin", "--to", "text",
                                         stdin=whole[:size])
                if size == len(CAMERA_ON) - 8:
                    self.assertEqual((0, ""), (result.code, result.err))
                else:
                    self.assertEqual((3, ""), (result.code, result.out))
                    self.assertIn("standard input:", result.err)

    def test_text_cut_at_every_length(self):
        for size in range(1, len(SETUP_CHANGED)):
            result = self.run_tmxact("convert", "--from", "text", "--to", "text",
                                     stdin=SETUP_CHANGED[:size])
            self.assertEqual((3, ""), (result.code, result.out), size)

    def test_date_without_calendar(self):
        """A stored date before 1601 has no text; the bytes do."""
        data = b"\x01\0\0\0\x01\0\0\0" + struct.pack("<Q", 300 << 48) + NO_PROPERTIES
        result = self.run_tmxact("convert", "--to", "text", stdin=data + CAMERA_ON)
        self.assertEqual(3, result.code)
        self.assertEqual('CameraOn ({ 1234605616436508552, 3, "Cam" })\n', result.out)
        self.assertIn("standard input:0: SystemStarted: ", result.err)
        self.check(["convert", "--to", "bin"], stdin=data, out=data)

    def test_quiet(self):
        self.check(["convert", "-q", "--to", "text"], stdin="CameraOn (x)\nCameraOn (1)",
                   out="CameraOn (1)\n", code=3)


class Check(Case):
    def test_good(self):
        self.file("a.txt", "CameraOn (1) CameraOn (2)")
        self.check(["check", "a.txt"], err="tmxact: 2 actions read, 0 refused\n")
        self.check(["check", "-q", "a.txt"])

    def test_bad(self):
        self.file("a.txt", "CameraOn (1)\nCameraOm (2)\n")
        self.check(["check", "a.txt"], code=1,
                   err="a.txt:2:1: unknown action 'CameraOm'; the nearest is CameraOn\n"
                       "  CameraOm (2)\n  ^\ntmxact: 1 action read, 1 refused\n")


    def test_standard_input(self):
        self.check(["check"], stdin="CameraOn (1)", err="tmxact: 1 action read, 0 refused\n")

    def test_json(self):
        text = b'\xef\xbb\xbfDeviceFound ("\xc3\xa4\xff", "", "")\nCameraOm (2)\n'
        self.file("a.txt", text)
        self.file("b.bin", CAMERA_ON + b"rubbish")
        result = self.run_tmxact("check", "--json", "a.txt", "b.bin")
        self.assertEqual((1, "tmxact: 2 actions read, 2 refused\n"), (result.code, result.err))
        lines = [json.loads(line) for line in result.out.splitlines()]
        self.assertEqual(
            [{"file": "a.txt", "line": 1, "column": 16, "offset": 19, "severity": "warning"},
             {"file": "a.txt", "line": 2, "column": 1, "offset": text.index(b"CameraOm"),
              "severity": "error", "reason": "unknown action 'CameraOm'; the nearest is CameraOn"},
             {"file": "b.bin", "offset": len(CAMERA_ON), "severity": "error",
              "reason": "expected a message class of 1 or 2"}],
            [{k: v for k, v in line.items() if line["severity"] == "error" or k != "reason"}
             for line in lines])
        self.assertEqual(result.out, self.run_tmxact("check", "-q", "--json", "a.txt", "b.bin").out)

    def test_json_leaves_as_it_comes(self):
        process = self.open_pipe("check", "--json")
        process.stdin.write(b"CameraOn (y)\n")
        self.assertEqual(b'{"file":"standard input"', self.read_within(process.stdout, 24))
        process.stdin.close()
        self.assertEqual(1, process.wait(10))


class Catalogue(Case):
    def test_action(self):
        expected = ("CameraOn\n  code         122\n  class        CameraControl (3)\n"
                    "  index        45\n  text         CameraOn (Camera)\n"
                    "  example      CameraOn (5)\n  parameters\n"
                    "    1   Camera  object reference, kind Camera\n"
                    "                  a number or { id, number, \"name\" }\n")
        for name in ("CameraOn", "cameraon", "122"):
            self.check(["catalogue", name], out=expected)

    def test_shapes(self):
        for name, shape in (("UserLogin", "UserLogin (User1[, User2: value], Host"
                             "[, ClientHost: value][, ClientType: value][, ClientAccount: value])"),
                            ("ABCDisconnect", "ABCDisconnect ()")):
            self.assertIn(f"  text         {shape}\n", self.run_tmxact("catalogue", name).out)
        self.assertIn("[StringFieldF: value, ]Channel, ResultDataSet)",
                      self.run_tmxact("catalogue", "VideoResult").out)

    def test_class(self):
        out = self.run_tmxact("catalogue", "lps").out
        self.assertTrue(out.startswith("LPS (class 14, "))

    def test_enumeration(self):
        out = self.run_tmxact("catalogue", "PlayMode").out
        self.assertTrue(out.startswith("PlayMode (enumeration 40, 17 values)\n"
                                       "  0     UnknownMode\n"))
        self.assertIn("ViewerConnect.PlayMode\n", out)

    def test_enumeration_value(self):
        self.check(["catalogue", "playforward"],
                   out="PlayForward is 2 in the enumeration PlayMode (40)\n")
        out = self.run_tmxact("catalogue", "High").out
        self.assertEqual(["High is 2 in the enumeration DigitalInputState (10)",
                          "High is 0 in the enumeration SMSIOStatus (94)"], out.splitlines())

    def test_all(self):
        out = self.run_tmxact("catalogue").out
        self.assertEqual(353, len(re.findall(r"^  \d+ +\w+ \(", out, re.M)))
        self.assertEqual(20, len(re.findall(r"^\w+ \(class", out, re.M)))

    def test_json(self):
        self.check(["catalogue", "--json", "CameraOn"], out=(
            '{"action":"CameraOn","code":122,"class":"CameraControl","classId":3,"index":45,'
            '"description":"CameraOn","parameters":[{"name":"Camera","type":"ObjectRef","typeId":8,'
            '"kind":"Camera","kindId":8,"extra":0,"optional":false}],"text":"CameraOn (Camera)",'
            '"example":"CameraOn (5)"}\n'))
        for name in ("PlayMode", "LPS", "PlayForward"):
            for line in self.run_tmxact("catalogue", "--json", name).out.splitlines():
                self.assertIn(name, json.loads(line).values())

    def test_near_miss(self):
        self.check(["catalogue", "CamraOn"], code=1,
                   err="tmxact: nothing in the catalogue is called 'CamraOn'; perhaps CameraOn, "
                       "CameraOff\n")
        self.check(["catalogue", "Zyxwvutsr"], code=1,
                   err="tmxact: nothing in the catalogue is called 'Zyxwvutsr'\n")

    def test_letters_swapped(self):
        self.assertIn("perhaps CameraOn,", self.run_tmxact("catalogue", "CmaeraOn").err)

    def test_part_of_a_name(self):
        self.check(["catalogue", "barcode"], code=1,
                   err="tmxact: nothing in the catalogue is called 'barcode'; perhaps BarcodeData, "
                       "LogBarcodeData, LogBarcodeDataLPS, LogBarcodeID\n")

    def test_empty_name(self):
        self.check(["catalogue", ""], code=1,
                   err="tmxact: nothing in the catalogue is called ''\n")

    def test_names(self):
        names = self.run_tmxact("catalogue", "--names").out.split()
        for name in ("CameraOn", "CameraControl", "PlayMode", "PlayForward"):
            self.assertIn(name, names)
        self.assertEqual(len(set(names)), len(names))


class Streams(Case):
    def test_text_leaves_as_it_comes(self):
        process = self.open_pipe("convert", "--to", "text")
        process.stdin.write(b"CameraOn (1) Camera")
        self.assertEqual(b"CameraOn (1)\n", self.read_within(process.stdout, 13))
        process.stdin.write(b"On (2")
        process.stdin.write(b")")
        self.assertEqual(b"CameraOn (2)\n", self.read_within(process.stdout, 13))
        process.stdin.write(b"\nCameraOn (y)\n")
        self.assertIn(b"input:2:11: ", self.read_within(process.stderr, 40))
        process.stdin.close()
        self.assertEqual(3, process.wait(10))

    def test_bytes_leave_as_they_come(self):
        process = self.open_pipe("convert", "--to", "bin")
        for _ in range(3):
            for byte in CAMERA_ON:
                process.stdin.write(bytes([byte]))
            self.assertEqual(CAMERA_ON, self.read_within(process.stdout, len(CAMERA_ON)))
        process.stdin.close()
        self.assertEqual(0, process.wait(10))

    def test_dribbled_action_is_not_read_again_and_again(self):
        begin = time.monotonic()
        process = self.open_pipe("convert", "--to", "text", "-o", "/dev/null")
        piece = b"x" * 200
        process.stdin.write(b'CustomAction (1, "')
        for _ in range(20_000):
            process.stdin.write(piece)
        process.stdin.write(b'")')
        process.stdin.close()
        self.assertEqual(0, process.wait(20))
        self.assertLess(time.monotonic() - begin, 15)

    def peaks(self, piece, count, *arguments):
        """Pipes count pieces through; gives the peak memory after a tenth of them and at the end."""
        process = subprocess.Popen([TMXACT, "convert", *arguments], stdin=subprocess.PIPE,
                                   stdout=subprocess.DEVNULL,
                                   env=environment(ASAN_OPTIONS="quarantine_size_mb=1"))
        self.addCleanup(self.end, process)
        peaks = []
        for number in range(count):
            process.stdin.write(piece)
            if number in (count // 10, count - 1):
                # Not the resource usage of the child: that begins with this process's memory.
                with open(f"/proc/{process.pid}/status", encoding="ascii") as status:
                    found = re.search(r"VmHWM:\s+(\d+) kB", status.read())
                peaks.append(int(found.group(1)) * 1024)
        process.stdin.close()
        self.assertEqual(0, process.wait(50))
        return peaks

    def test_memory_stays_bounded(self):
        lines = (SETUP_CHANGED + '\nCameraOn ({ 1234, 5, "Gate" })\n').encode() * 5000
        for piece, arguments in ((lines, ("--to", "bin")), (CAMERA_ON * 25_000, ("--to", "text"))):
            with self.subTest(arguments):
                early, late = self.peaks(piece, 200_000_000 // len(piece), *arguments)
                self.assertLess(late - early, 4_000_000)

    def test_broken_pipe_is_quiet(self):
        self.file("in.txt", "CameraOn (1)\n" * 500_000)
        process = self.open_pipe("convert", "--to", "text", "in.txt")
        self.read_within(process.stdout, 13)
        process.stdout.close()
        self.assertEqual(b"", process.stderr.read())
        self.assertEqual(0, process.wait(20))

    def test_interrupt_while_waiting(self):
        for number, code in ((signal.SIGINT, 130), (signal.SIGTERM, 143)):
            process = self.open_pipe("convert", "--to", "text")
            process.stdin.write(b"CameraOn (1)\nCameraOn (")
            self.read_within(process.stdout, 13)
            process.send_signal(number)
            self.assertEqual(code, process.wait(10))
            self.assertEqual(b"", process.stdout.read() + process.stderr.read())

    def test_interrupt_at_work_leaves_whole_lines(self):
        path = os.path.join(self.folder, "fifo")
        os.mkfifo(path)
        process = self.open_pipe("convert", "--to", "text", "-o", "out.txt", path)
        with open(path, "wb", buffering=0) as fifo:
            line = (SETUP_CHANGED + "\n").encode()
            try:
                for i in range(20_000):
                    fifo.write(line * 10)
                    if i == 300:
                        process.send_signal(signal.SIGINT)
            except BrokenPipeError:
                pass
        self.assertEqual(130, process.wait(10))
        with open(os.path.join(self.folder, "out.txt"), "rb") as stream:
            out = stream.read()
        self.assertTrue(out)
        self.assertEqual({line}, set(out.splitlines(keepends=True)))


class System(Case):
    def test_missing_file(self):
        self.file("a.txt", "CameraOn (1)")
        self.check(["convert", "--to", "text", "none.txt", "a.txt"], code=4, out="CameraOn (1)\n",
                   err="tmxact: none.txt: can't open: No such file or directory\n")
        self.check(["check", "-q", "none.txt"], code=4,
                   err="tmxact: none.txt: can't open: No such file or directory\n")

    def test_folder(self):
        self.check(["convert", "--to", "text", "."], code=4,
                   err="tmxact: .: can't read: Is a directory\n")

    def test_permission(self):
        path = self.file("a.txt", "CameraOn (1)")
        os.chmod(path, 0)
        arguments = [TMXACT, "check", "a.txt"]
        if os.geteuid() == 0:
            # The superuser may read everything; so this runs as nobody.
            os.chmod(self.folder, 0o755)
            done = subprocess.run(arguments, cwd=self.folder, capture_output=True, user=65534,
                                  group=65534, extra_groups=[], env=environment(), timeout=20)
        else:
            done = subprocess.run(arguments, cwd=self.folder, capture_output=True,
                                  env=environment(), timeout=20)
        self.assertEqual(4, done.returncode, done.stderr)
        self.assertIn(b"a.txt: can't open: Permission denied", done.stderr)

    def test_full_disk(self):
        self.check(["convert", "--to", "text", "-o", "/dev/full"], stdin="CameraOn (1)", code=4,
                   err="tmxact: /dev/full: can't write: No space left on device\n")
        with open("/dev/full", "wb") as full:
            done = subprocess.run([TMXACT, "convert", "--to", "text"], input=b"CameraOn (1)\n" * 99,
                                  stdout=full, stderr=subprocess.PIPE, env=environment(), timeout=20)
        self.assertEqual((4, b"tmxact: standard output: can't write: No space left on device\n"),
                         (done.returncode, done.stderr))

    def test_size_limit_leaves_whole_lines(self):
        """A limit on the file's size stands for a full disk that takes a part of a write."""
        self.file("in.txt", "CameraOn (123)\n" * 50_000)

        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (400_003, 400_003))
        done = subprocess.run([TMXACT, "convert", "--to", "text", "-o", "out.txt", "in.txt"],
                              capture_output=True, env=environment(), cwd=self.folder, timeout=20,
                              preexec_fn=limit)
        self.assertEqual((4, b"tmxact: out.txt: can't write: File too large\n"),
                         (done.returncode, done.stderr))
        with open(os.path.join(self.folder, "out.txt"), "rb") as stream:
            self.assertEqual({b"CameraOn (123)\n"}, set(stream.read().splitlines(keepends=True)))

    def closed(self, streams, *arguments):
        return subprocess.run(["sh", "-c", f'exec "$@" {streams}', "sh", TMXACT, *arguments],
                              capture_output=True, env=environment(), cwd=self.folder, timeout=20)

    def test_closed_standard_streams(self):
        """No file takes the place of a stream that isn't there."""
        self.file("a.txt", "CameraOn (1) CameraOn (x)")
        done = self.closed("<&-", "check")
        self.assertEqual(4, done.returncode)
        self.assertIn(b"standard input: can't read: Bad file descriptor", done.stderr)
        done = self.closed(">&-", "convert", "--to", "text", "a.txt")
        self.assertEqual(4, done.returncode)
        self.assertIn(b"standard output: can't write: Bad file descriptor", done.stderr)
        self.assertEqual(1, self.closed(">&-", "check", "a.txt").returncode)
        done = self.closed("<&- >&- 2>&-", "convert", "--to", "text", "-o", "out.txt", "a.txt")
        self.assertEqual(3, done.returncode)
        with open(os.path.join(self.folder, "out.txt"), encoding="utf-8") as stream:
            self.assertEqual("CameraOn (1)\n", stream.read())

    def test_empty_file_names(self):
        self.check(["check", "-q", ""], code=4, err="tmxact: a file's name is empty\n")
        self.check(["convert", "--to", "text", "-o", ""], code=4,
                   err="tmxact: the output file's name is empty\n")

    def test_output_that_cannot_be_made(self):
        result = self.run_tmxact("convert", "--to", "text", "-o", "no/such/folder")
        self.assertEqual(4, result.code)
        self.assertIn("can't open for writing: No such file or directory", result.err)


class Terminal(Case):
    BAD = "CameraOm (5)"

    def bad_on_terminal(self, *more, **changes):
        self.file("a.txt", self.BAD)
        code, text = self.on_terminal("check", *more, "a.txt", env=environment(**changes))
        self.assertEqual(1, code)
        self.assertIn("unknown action", text)
        return text

    def test_colour_on_a_terminal_only(self):
        self.assertIn("\x1b[", self.bad_on_terminal())
        self.file("a.txt", self.BAD)
        self.assertNotIn("\x1b", self.run_tmxact("check", "a.txt").err)
        self.assertIn("\x1b[", self.run_tmxact("check", "--color=always", "a.txt").err)

    def test_colour_switched_off(self):
        self.assertNotIn("\x1b", self.bad_on_terminal("--color=never"))
        self.assertNotIn("\x1b", self.bad_on_terminal(NO_COLOR="1"))
        self.assertNotIn("\x1b", self.bad_on_terminal(TERM="dumb"))
        self.assertIn("\x1b[", self.bad_on_terminal(NO_COLOR=""))
        self.assertIn("\x1b[", self.bad_on_terminal("--color=always", NO_COLOR="1", TERM="dumb"))

    def test_catalogue_colour(self):
        self.assertIn("\x1b[1mCameraOn", self.on_terminal("catalogue", "CameraOn")[1])
        self.assertNotIn("\x1b", self.on_terminal("catalogue", "--json", "CameraOn")[1])

    def slow(self, *more, terminal=True):
        """A run of over a second, fed slowly."""
        read, write = os.pipe()

        def feed(_):
            os.close(read)
            for _ in range(6):
                os.write(write, b"CameraOn (1)\n")
                time.sleep(0.25)
            os.close(write)
        arguments = ("convert", "--to", "text", "-o", "/dev/null", *more)
        if terminal:
            return self.on_terminal(*arguments, stdin=read, feed=feed)[1]
        process = subprocess.Popen([TMXACT, *arguments], stdin=read, stderr=subprocess.PIPE,
                                   env=environment())
        feed(process)
        return process.communicate()[1].decode()

    def test_progress(self):
        text = self.slow()
        self.assertRegex(text, r"\r\x1b\[K\d+ B, \d actions?, \d+ B/s")
        self.assertTrue(text.endswith("\r\x1b[K"), repr(text))
        self.assertEqual("", self.slow("--no-progress"))
        self.assertEqual("", self.slow(terminal=False))
        self.assertRegex(self.slow("--progress", terminal=False), r"\d+ B, \d actions?")

    def test_no_progress_in_a_short_run(self):
        self.file("a.txt", "CameraOn (1)")
        self.assertEqual("", self.on_terminal("convert", "--to", "bin", "-o", "/dev/null", "a.txt")[1])


class Documents(Case):
    def complete(self, line):
        words = line.split(" ")
        script = ('source "$1"; shift; compopt() { :; }; COMP_WORDS=("$@"); '
                  'COMP_CWORD=$(($# - 1)); '
                  '_tmxact "$PROGRAM" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD-1]}"; '
                  'printf "%s\\n" "${COMPREPLY[@]}"')
        done = subprocess.run(
            ["bash", "-c", script, "bash", os.path.join(SOURCES, "tmxact.bash"), *words],
            capture_output=True, text=True, cwd=self.folder, timeout=20,
            env=environment(PROGRAM=TMXACT))
        self.assertEqual("", done.stderr)
        return done.stdout.split()

    def test_completion(self):
        self.file("events.txt", "")
        self.assertEqual(["catalogue", "check", "convert"],
                         sorted(set(self.complete("tmxact ")) - {"events"}))
        self.assertEqual(["catalogue"], self.complete("tmxact ca"))
        self.assertEqual(["CameraOff", "CameraOn"], sorted(self.complete("tmxact catalogue CameraO")))
        self.assertEqual(["json"], self.complete("tmxact convert --to j"))
        self.assertEqual(["json"], self.complete("tmxact convert --to = j"))
        self.assertEqual(["--int64"], self.complete("tmxact convert --in"))
        self.assertIn("--output", self.complete("tmxact convert --"))
        self.assertEqual(["events.txt"], self.complete("tmxact convert --to json eve"))

    def test_completions_know_every_value(self):
        """Names come from the program; what an option's value may be stands in each file."""
        valued = {name
                  for command in ("convert", "check", "catalogue")
                  for name in re.findall(r"^ +(?:-\w,)?--([\w-]+) [A-Z]+",
                                         self.run_tmxact(command, "--help").out, re.M)}
        self.assertEqual({"color", "from", "int64", "max-size", "output", "to"}, valued)
        for file, form in (("tmxact.bash", "--{}"), ("_tmxact", "--{}"), ("tmxact.fish", "-l {} ")):
            with open(os.path.join(SOURCES, file), encoding="utf-8") as stream:
                text = stream.read()
            for name in valued:
                self.assertIn(form.format(name), text, file)
            for values in ("auto text bin", "text bin display json", "number string",
                           "auto always never"):
                self.assertIn(values, text, file)

    def test_man_page_renders(self):
        page = os.path.join(SOURCES, "tmxact.1")
        if shutil.which("groff"):
            done = subprocess.run(["groff", "-man", "-ww", "-Tutf8", page],
                                  capture_output=True, text=True, timeout=20)
            self.assertEqual("", done.stderr)
            text = re.sub(".\x08", "", done.stdout)  # bold is a letter struck twice
            for heading in ("EXAMPLES", "REFUSED ACTIONS", "JSON", "EXIT STATUS", "ENVIRONMENT"):
                self.assertIn(f"\n{heading}\n", text)

    def test_man_page_tells_every_option_and_exit_code(self):
        with open(os.path.join(SOURCES, "tmxact.1"), encoding="utf-8") as stream:
            page = stream.read().replace("\\-", "-")
        for command in ("convert", "check", "catalogue"):
            self.assertIn(f".SS {command}\n", page)
            for option in re.findall(r"--[a-z0-9-]+", self.run_tmxact(command, "--help").out):
                self.assertIn(option, page)
        for code in (0, 1, 2, 3, 4, 130):
            self.assertIn(f".B {code}\n", page)


def main():
    global TMXACT, UPDATE
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--tmxact", required=True, help="the program to test")
    parser.add_argument("--update", action="store_true", help="write the golden files anew")
    parser.add_argument("tests", nargs="*", help="names of cases, such as Convert.test_ansi")
    options = parser.parse_args()
    TMXACT, UPDATE = os.path.abspath(options.tmxact), options.update
    os.makedirs(os.path.join(HERE, "golden"), exist_ok=True)
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    unittest.main(argv=[sys.argv[0], *options.tests], verbosity=2)


if __name__ == "__main__":
    main()
