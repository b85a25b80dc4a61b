#!/usr/bin/env python3
"""Tests of the command-line program: run.py --tmxact PATH [--launcher PROGRAM] [TEST...]

Each case runs the program as a user would. Expected texts stand in the cases; those of --help and
the version are files in golden/, which --update writes anew.
"""

import argparse
import errno
import json
import os
import pty
import re
import resource
import select
import shlex
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.normpath(os.path.join(HERE, "..", ".."))
SOURCES = os.path.join(ROOT, "tools", "tmxact")
COMMANDS = ("convert", "check", "match", "template", "make", "rules", "catalogue")

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


def has_events():
    """Whether the program keeps events in databases; events.py tests that part."""
    help_text = subprocess.run([TMXACT, "--help"], capture_output=True, text=True,
                               timeout=60).stdout
    return "\n  events " in help_text


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

    def open_fifo(self, path, process, seconds=10):
        """Opens the writing end once the program has opened its own; fails if it doesn't."""
        until = time.monotonic() + seconds
        while True:
            try:
                return os.fdopen(os.open(path, os.O_WRONLY | os.O_NONBLOCK), "wb", buffering=0)
            except OSError as error:
                if error.errno != errno.ENXIO:  # nobody reads it yet
                    raise
            if process.poll() is not None or time.monotonic() > until:
                self.fail(f"the program doesn't open {path}; its exit code is {process.poll()}")
            time.sleep(0.01)

    def feed_fifo(self, fifo, data, seconds=10):
        """Writes all of it to a pipe that doesn't block; False if the reader has gone."""
        until = time.monotonic() + seconds
        while data:
            _, ready, _ = select.select([], [fifo], [], max(0, until - time.monotonic()))
            if not ready:
                self.fail("the program doesn't read on")
            try:
                data = data[os.write(fifo.fileno(), data):]
            except BlockingIOError:
                time.sleep(0.001)
            except BrokenPipeError:
                return False
        return True

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
        for command in ([], *([command] for command in COMMANDS)):
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
        """Templates pass like actions."""
        text = '@ CameraOn (Comment: "all", Camera: 5)\n@ CameraOff ()\n'
        stored = self.run_tmxact("convert", "--to", "bin", stdin=text, raw=True)
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
                 "ClientHost must stand ahead of ClientType, in the catalogue's order"),
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


class Match(Case):
    THREE = 'CameraOn (5)\nCameraOn ({ 1234, 5, "Gate" })\nCameraOff (5)\nCameraOn (7)\n'

    def test_one_template(self):
        self.check(["match", "--template", "@ CameraOn (Camera: 5)"], stdin=self.THREE,
                   out='CameraOn (5)\nCameraOn ({ 1234, 5, "Gate" })\n')

    def test_what_agrees(self):
        """A reference by the component that the template gives, a text without regard to case."""
        for template, passed in (('{ 1234, 7, "x" }', 1), ('{ 0, 0, "GATE" }', 1),
                                 ('{ 0, 5, "x" }', 2), ('{ 5, 0, "" }', 0), ('{ 0, 0, "" }', 2)):
            with self.subTest(template):
                result = self.run_tmxact("match", "--count", "--template",
                                         f"@ CameraOn (Camera: {template})", stdin=self.THREE)
                self.assertEqual((f"{passed}\n", 0 if passed else 1), (result.out, result.code))

    def test_nothing_set_matches_every_action_of_its_name(self):
        self.check(["match", "--template", "@cameraon()"], stdin=self.THREE,
                   out='CameraOn (5)\nCameraOn ({ 1234, 5, "Gate" })\nCameraOn (7)\n')

    def test_no_match(self):
        self.check(["match", "--template", "@ PanLeft ()"], stdin=self.THREE, code=1)
        self.check(["match", "--template", "@ PanLeft ()", "--count"], stdin=self.THREE, out="0\n",
                   code=1)
        self.check(["match", "--template", "@ PanLeft ()"], stdin="", code=1)

    def test_invert(self):
        self.check(["match", "--template", "@ CameraOn ()", "--invert"], stdin=self.THREE,
                   out="CameraOff (5)\n")
        self.check(["match", "--template", "@ CameraOn ()", "--invert", "--count"],
                   stdin=self.THREE, out="1\n")
        self.check(["match", "--template", "@ CameraOn ()", "--invert"], stdin="CameraOn (1)",
                   code=1)
        line = json.loads(self.run_tmxact("match", "--template", "@ CameraOn ()", "--invert",
                                          "--to", "json", stdin=self.THREE).out)
        self.assertNotIn("matched", line)

    def test_forms(self):
        """What is passed on can be read by convert again, in either form."""
        stored = self.run_tmxact("match", "--template", "@ CameraOn ()", "--to", "bin",
                                 stdin=CAMERA_ON + CANCEL_EXPORT, raw=True)
        self.assertEqual((0, CAMERA_ON), (stored.code, stored.out))
        self.check(["match", "--template", "@ CameraOn ()", "--to", "display"], stdin=self.THREE,
                   out="CameraOn; Camera: 5\nCameraOn; Camera: Gate (5)\nCameraOn; Camera: 7\n")
        self.check(["match", "--template", "@ CameraOn (Camera: 7)", "--to", "json"],
                   stdin=self.THREE,
                   out='{"action":"CameraOn","code":122,"class":"CameraControl","parameters":'
                       '{"Camera":{"id":0,"number":7,"name":""}},'
                       '"matched":["@ CameraOn (Camera: 7)"]}\n')

    def test_templates_of_a_file_are_named(self):
        self.file("gate.templates",
                  '# the gate\n@ CameraOn (Comment: "Tör",\n   Camera: 5)\n\n'
                  '@ CameraOn () @ CameraOff ()   # both\n')
        self.check(["match", "--templates", "gate.templates", "--to", "display"], stdin=self.THREE,
                   out="[Tör] [gate.templates:5] CameraOn; Camera: 5\n"
                       "[Tör] [gate.templates:5] CameraOn; Camera: Gate (5)\n"
                       "[gate.templates:5] CameraOff; Camera: 5\n"
                       "[gate.templates:5] CameraOn; Camera: 7\n")
        self.check(["match", "--templates", "gate.templates"], stdin=self.THREE, out=self.THREE)
        result = self.run_tmxact("match", "--templates", "gate.templates", "--to", "json",
                                 stdin=self.THREE)
        self.assertEqual([["Tör", "gate.templates:5"]] * 2 + [["gate.templates:5"]] * 2,
                         [json.loads(line)["matched"] for line in result.out.splitlines()])
        ansi = self.run_tmxact("match", "--templates", "gate.templates", "--to", "display",
                               "--ansi-output", stdin="CameraOn (5)", raw=True)
        self.assertTrue(ansi.out.startswith(b"[T\xf6r] "), ansi.out)

    def test_count_in_json(self):
        self.check(["match", "--count", "--to", "json", "--template", "@ CameraOn ()", "--template",
                    '@ CameraOn (Comment: "five", Camera: 5)', "--template", "@ PanLeft ()"],
                   stdin=self.THREE,
                   out='{"actions":4,"passed":3,"templates":[{"label":"@ CameraOn ()","matched":3},'
                       '{"label":"five","matched":2},{"label":"@ PanLeft ()","matched":0}]}\n')

    def test_verbose_tells_what_each_matched(self):
        result = self.run_tmxact("match", "-v", "--template", '@ CameraOn (Comment: "five", '
                                 'Camera: 5)', "--template", "@ CameraOff ()", stdin=self.THREE)
        self.assertIn("tmxact: five: matched 2 actions\n", result.err)
        self.assertIn("tmxact: @ CameraOff (): matched 1 action\n", result.err)
        self.assertIn("tmxact: 4 actions read, 3 passed on\n", result.err)

    def test_stored_templates(self):
        stored = self.run_tmxact("convert", "--to", "bin", raw=True,
                                 stdin='@ CameraOn (Camera: 7) @ CameraOff (Comment: "off")').out
        path = self.file("a.bin", stored)
        self.check(["match", "--templates", path, "--to", "display"], stdin=self.THREE,
                   out=f"[off] CameraOff; Camera: 5\n[{path}:0] CameraOn; Camera: 7\n")

    def test_templates_from_standard_input(self):
        self.file("in.txt", self.THREE)
        self.check(["match", "--templates", "-", "in.txt"], stdin="@ CameraOn (Camera: 7)",
                   out="CameraOn (7)\n")
        for more in ([], ["-"]):
            result = self.run_tmxact("match", "--templates", "-", *more, stdin="@ CameraOn ()")
            self.assertEqual(2, result.code)
            self.assertIn("standard input can't be read twice", result.err)

    def test_byte_order_mark_and_line_ends_in_a_file_of_templates(self):
        path = self.file("a.templates", "\ufeff# x\r\n@ CameraOn (Camera: 7)\r\n")
        self.check(["match", "--templates", path], stdin=self.THREE, out="CameraOn (7)\n")

    def test_no_templates(self):
        result = self.run_tmxact("match", stdin="")
        self.assertEqual(2, result.code)
        self.assertIn("a template is missing: give --template or --templates", result.err)
        self.file("none.templates", "# nothing\n")
        self.check(["match", "--templates", "none.templates"], stdin=self.THREE, code=1,
                   err="tmxact: none.templates: there is no template in it\n")

    def test_templates_in_the_input_are_refused(self):
        """The library can't tell a template that is compared from an action."""
        self.check(["match", "--template", "@ CameraOn ()"], code=3, out="CameraOn (1)\nCameraOn (2)\n",
                   stdin="CameraOn (1) @ CameraOn (Camera: 1)\nCameraOn (2)\n",
                   err="standard input:1:14: CameraOn: expected an action, found a template (which "
                       "begins with '@')\n  CameraOn (1) @ CameraOn (Camera: 1)\n"
                       "               ^\n")
        template = self.run_tmxact("convert", "--to", "bin", stdin="@ CameraOn ()", raw=True).out
        result = self.run_tmxact("match", "--template", "@ CameraOn ()", "--to", "bin", raw=True,
                                 stdin=CAMERA_ON + template + CAMERA_ON)
        self.assertEqual((3, CAMERA_ON * 2), (result.code, result.out))
        self.assertIn(f"standard input:{len(CAMERA_ON)}: CameraOn: expected an action", result.err)

    def test_unreadable_input_outweighs_no_match(self):
        result = self.run_tmxact("match", "--template", "@ PanLeft ()", stdin="CameraOn (x)")
        self.assertEqual((3, ""), (result.code, result.out))
        result = self.run_tmxact("match", "--template", "@ PanLeft ()", "none.txt")
        self.assertEqual(4, result.code)

    def test_broken_arguments(self):
        for text, told in (
                ("@ CamraOn ()", "1:3: unknown action 'CamraOn'; the nearest is CameraOn"),
                ("@ CameraOn (Camra: 5)",
                 "1:13: CameraOn: expected ')', found 'Camra'; the nearest parameter is Camera"),
                ("@ CameraOn (5)", "1:13: CameraOn: expected ')', found '5'; each parameter of a "
                 "template has its name, such as Camera: 5"),
                ("@ FocusFar (Speed: 3, Camera: 4)",
                 "1:21: FocusFar: expected ',' or ')', found 'Camera' behind ','; Camera must stand "
                 "ahead of Speed, in the catalogue's order"),
                ("@ CameraOn (Camera: 5, Comment: \"x\")", "; Comment must stand ahead of Camera"),
                ("@ FocusFar (Camera: 3, Camera: 4)", "; Camera stands twice"),
                ("@ ViewerConnect (PlayMode: PlayForward)", "PlayForward is 2"),
                ("@ AutoBackupCapacityMonitoringCapacityWarning (PercentAllocatedByTbf: 5)",
                 "found 'ByTbf'; the text form can't tell PercentAllocatedByTbf unless "
                 "PercentAllocated stands ahead of it"),
                ("@ CameraOn", "1:11: CameraOn: the text ends in the middle of an action"),
                ("CameraOn (5)", "1:1: CameraOn: expected a template, which begins with '@', found "
                 "an action; as a template it is @ CameraOn (Camera: 5)"),
                ("CameraOn (Camera: 5)", "1:1: expected a template, which begins with '@', found "
                 "'CameraOn'"),
                ("", "1:1: expected a template, found nothing"), ("  ", "found nothing"),
                ("@ CameraOn () # x", "1:15: expected nothing behind a template, found '#'"),
                ('@ LiveCheck (Date: "2026/02/30 12:00 GMT+00:00")', "Invalid day part")):
            with self.subTest(text):
                result = self.run_tmxact("match", "--template", text, stdin="CameraOn (5)")
                self.assertEqual((2, ""), (result.code, result.out))
                self.assertIn("--template:1:", result.err)
                self.assertIn(told, result.err)

    def test_all_mistakes_of_a_file_of_templates(self):
        self.file("bad.templates",
                  "@ CamraOn ()\n@ CameraOn (Camera: 5)\nCameraOn (6)\nprose\n"
                  "@ CameraOn () => @ CameraOff ()\n@ CameraOff (Camera: x)\n")
        result = self.run_tmxact("match", "--templates", "bad.templates", stdin="CameraOn (5)")
        self.assertEqual((3, ""), (result.code, result.out))
        self.assertEqual(["1:3", "3:1", "4:1", "5:15", "6:22"],
                         re.findall(r"^bad\.templates:([\d:]+):", result.err, re.M))
        self.assertTrue(result.err.endswith("tmxact: 5 mistakes in the templates; nothing was "
                                            "done\n"), result.err)

    def test_same_template_twice_is_doubted(self):
        path = self.file("a.templates", "@ CameraOn (Camera: 5)\n@ CameraOff ()\n"
                         "  @ cameraon(camera:5)\n")
        result = self.run_tmxact("match", "--templates", path, stdin="CameraOn (5)")
        self.assertEqual((0, "CameraOn (5)\n"), (result.code, result.out))
        self.assertEqual(f"{path}:3:3: warning: the same template stands on line 1\n", result.err)

    def test_missing_file_of_templates(self):
        self.check(["match", "--templates", "none"], stdin="CameraOn (5)", code=4,
                   err="tmxact: none: can't open: No such file or directory\n")

    def test_narrow_text_of_an_ansi_file(self):
        path = self.file("a.templates", '@ DeviceFound (Type: "\xe4")'.encode("latin-1"))
        text = 'DeviceFound ("\xe4", "", "")'.encode("latin-1")
        self.assertEqual(0, self.run_tmxact("match", "--ansi", "--templates", path,
                                            stdin=text).code)

    def test_many_templates_of_one_name_find_what_few_find(self):
        """Beyond a few, templates of an action are looked up by their values."""
        references = ["5", "7", '{ 1234, 5, "Gate" }', '{ 99, 7, "Door" }', '{ 0, 0, "gate" }',
                      '{ 0, 0, "" }', '{ 0, 0, "Kasse" }', '{ 0, 0, "\u212aa\u017fse" }',
                      '{ 0, 0, "Straße" }', '{ 0, 0, "STRASSE" }', '{ 0, 0, "ÄRGER" }',
                      '{ 0, 0, "ärger" }', '{ -1, 0, "" }', '{ 0, -5, "" }']
        actions = [f"ViewerConnect ({a}, {b}, {c})" for a in references for b in references[:4]
                   for c in (0, 2)]
        templates = [f"@ ViewerConnect ({', '.join(parts)})"
                     for a in [None, *references] for b in (None, *references[:4])
                     for c in (None, 0, 2)
                     for parts in [[f"{name}: {value}" for name, value in
                                    (("Viewer", a), ("Channel", b), ("PlayMode", c))
                                    if value is not None]]]
        self.file("in.txt", "\n".join(actions))
        self.file("all.templates", "\n".join(templates))
        together = self.run_tmxact("match", "--templates", "all.templates", "--to", "json",
                                   "in.txt")
        self.assertEqual((0, len(actions)), (together.code, together.out.count("\n")))
        found = [json.loads(line)["matched"] for line in together.out.splitlines()]
        alone = [[] for _ in actions]
        # A few at a time, each of which is compared with every action.
        for begin in range(0, len(templates), 4):
            options = [word for text in templates[begin:begin + 4] for word in ("--template", text)]
            result = self.run_tmxact("match", *options, "--to", "json", "in.txt")
            lines = iter(result.out.splitlines())
            line = next(lines, None)
            for action, labels in zip(self.parameters("in.txt"), alone, strict=True):
                # What passes keeps its order, and equal actions match alike.
                if line is not None and json.loads(line)["parameters"] == action:
                    labels += [f"all.templates:{templates.index(text, begin) + 1}"
                               for text in json.loads(line)["matched"]]
                    line = next(lines, None)
            self.assertIsNone(line)
        self.assertEqual(alone, found)

    def parameters(self, name):
        result = self.run_tmxact("convert", "--to", "json", name)
        return [json.loads(line)["parameters"] for line in result.out.splitlines()]

    def test_leaves_as_it_comes(self):
        process = self.open_pipe("match", "--template", "@ CameraOn ()")
        process.stdin.write(b"CameraOn (1) CameraOff (1) Camera")
        self.assertEqual(b"CameraOn (1)\n", self.read_within(process.stdout, 13))
        process.stdin.close()
        self.assertEqual(3, process.wait(10))

    def test_broken_pipe_and_interrupt(self):
        self.file("in.txt", "CameraOn (1)\n" * 500_000)
        process = self.open_pipe("match", "--template", "@ CameraOn ()", "in.txt")
        self.read_within(process.stdout, 13)
        process.stdout.close()
        self.assertEqual(b"", process.stderr.read())
        self.assertEqual(0, process.wait(20))
        process = self.open_pipe("match", "--template", "@ CameraOn ()")
        process.stdin.write(b"CameraOn (1)\nCameraOn (")
        self.read_within(process.stdout, 13)
        process.send_signal(signal.SIGINT)
        self.assertEqual(130, process.wait(10))
        self.assertEqual(b"", process.stdout.read() + process.stderr.read())

    def test_output_over_input(self):
        path = self.file("a.templates", "@ CameraOn ()")
        self.assertEqual(2, self.run_tmxact("match", "--templates", path, "-o", path).code)
        with open(path, encoding="utf-8") as stream:
            self.assertEqual("@ CameraOn ()", stream.read())


class Template(Case):
    def test_template_of_an_action(self):
        self.check(["template"], stdin='UserLogin ("a", "b", ClientType: 1) ABCDisconnect ()',
                   out='@ UserLogin (User1: "a", Host: "b", ClientType: 1)\n@ ABCDisconnect ()\n')

    def test_comment(self):
        self.check(["template", "--comment", "Grüße"], stdin="CameraOn (5)",
                   out='@ CameraOn (Comment: "Grüße", Camera: 5)\n')
        self.check(["template", "--comment", ""], stdin="CameraOn (5)",
                   out='@ CameraOn (Comment: "", Camera: 5)\n')
        result = self.run_tmxact("template", "--comment", 'a"b', stdin="CameraOn (5)")
        self.assertEqual(2, result.code)
        self.assertIn("--comment: action text can't carry a '\"'", result.err)

    def test_every_action_makes_the_template_that_makes_it(self):
        listing = self.run_tmxact("catalogue", "--json").out.splitlines()
        actions = "\n".join(json.loads(line)["example"] for line in listing)
        stored = self.run_tmxact("convert", "--to", "bin", stdin=actions, raw=True).out
        for form in ("text", "bin"):
            templates = self.run_tmxact("template", "--to", form, stdin=stored, raw=True)
            self.assertEqual((0, ""), (templates.code, templates.err))
            path = self.file("all.templates", templates.out)
            self.check(["make", "--templates", path, "--to", "bin"], out=stored)
            # Each action matches its own template and no other.
            self.check(["match", "--templates", path, "--to", "bin"], stdin=stored, out=stored)
            count = json.loads(self.run_tmxact("match", "--templates", path, "--count", "--to",
                                               "json", stdin=stored).out)
            self.assertEqual({1}, {each["matched"] for each in count["templates"]})

    def test_template_of_a_template_is_refused(self):
        result = self.run_tmxact("template", stdin="@ CameraOn () CameraOn (1)")
        self.assertEqual((3, "@ CameraOn (Camera: 1)\n"), (result.code, result.out))
        self.assertIn("standard input:1:1: CameraOn: expected an action", result.err)

    def test_display_and_json(self):
        self.check(["template", "--to", "display"], stdin="CameraOn (5)",
                   out="CameraOn; Camera: 5\n")
        self.check(["template", "--to", "json"], stdin="CameraOn (5)",
                   out='{"action":"CameraOn","code":122,"class":"CameraControl","template":true,'
                       '"text":"@ CameraOn (Camera: 5)"}\n')

    def test_older_writers_template(self):
        """Stored templates may end ahead of any parameter."""
        stored = self.run_tmxact("convert", "--to", "bin", stdin="@ FocusFar (Camera: 3)",
                                 raw=True).out
        self.check(["convert", "--to", "text"], stdin=stored[:-1], out="@ FocusFar (Camera: 3)\n")
        self.check(["convert", "--to", "text"], stdin=stored[:9], out="@ FocusFar ()\n")


class Make(Case):
    def make(self, template, source, made):
        arguments = ["--source", source] if source is not None else []
        self.check(["make", "--template", template, *arguments], out=made + "\n")

    def test_branches(self):
        for template, source, made in (
                # Without a source: what is set, else empty.
                ("@ FocusFar (Camera: 3)", None, "FocusFar (3, 0)"),
                ('@ UserLogin (Host: "h", ClientType: 1)', None, 'UserLogin ("", "h", ClientType: 1)'),
                # A source of the same action gives what is open, absence included.
                ("@ FocusFar (Camera: 3)", "FocusFar (8, 7)", "FocusFar (3, 7)"),
                ('@ UserLogin (Host: "h")', 'UserLogin ("u", "x", ClientType: 2)',
                 'UserLogin ("u", "h", ClientType: 2)'),
                # Another source gives its roles and its number, and nothing optional.
                ("@ CameraOn ()", "SensorVideoAlarm (5, 0)", "CameraOn (5)"),
                ("@ FocusFar (Camera: 3)", "CameraOn (5)", "FocusFar (3, 0)"),
                ("@ ViewerConnect (PlayMode: 2)", 'CameraOn ({ 1234, 5, "Gate" })',
                 'ViewerConnect (0, { 1234, 5, "Gate" }, 2)'),
                ('@ UserLogin (Host: "h")', "CameraOn (5)", 'UserLogin ("", "h")'),
                ("@ CameraOn ()", "ABCDisconnect ()", "CameraOn (0)")):
            with self.subTest((template, source)):
                self.make(template, source, made)

    def test_foreign_key(self):
        """A custom action gives its number for the key."""
        result = self.run_tmxact("make", "--template", "@ ViewerShowAlarmByKey (Viewer: 1)",
                                 "--source", 'CustomAction (42, "")', "--to", "json")
        self.assertEqual(42, json.loads(result.out)["parameters"]["ForeignKey"])

    def test_each_source_and_each_template(self):
        self.file("in.txt", "CameraOn (1)\nCameraOn (2)\n")
        self.check(["make", "--template", "@ CameraOff ()", "--template", "@ PanStop ()", "in.txt"],
                   out="CameraOff (1)\nPanStop (1)\nCameraOff (2)\nPanStop (2)\n")
        self.check(["make", "--template", "@ CameraOff ()", "-"], stdin="CameraOn (3)",
                   out="CameraOff (3)\n")
        self.check(["make", "--template", "@ CameraOff ()", "--source", "CameraOn (1)", "--source",
                    "CameraOn (2)"], out="CameraOff (1)\nCameraOff (2)\n")

    def test_standard_input_is_not_waited_for(self):
        process = self.open_pipe("make", "--template", "@ CameraOff (Camera: 2)")
        self.assertEqual(b"CameraOff (2)\n", self.read_within(process.stdout, 14))
        self.assertEqual(0, process.wait(10))

    def test_files_of_templates_in_any_form(self):
        stored = self.run_tmxact("convert", "--to", "bin", stdin="@ CameraOff (Camera: 2)",
                                 raw=True).out
        self.file("a.bin", stored)
        self.file("b.templates", "@ CameraOn (Camera: 3) # x\n")
        self.check(["make", "--templates", "a.bin", "--templates", "b.templates"],
                   out="CameraOff (2)\nCameraOn (3)\n")

    def test_wrong_use(self):
        self.file("in.txt", "")
        for arguments, told in (
                (["make"], "a template is missing"),
                (["make", "--template", "@ CameraOn ()", "--source", "@ CameraOn ()"],
                 "--source:1:1: CameraOn: expected an action, found a template"),
                (["make", "--template", "@ CameraOn ()", "--source", "CameraOm (1)"],
                 "--source:1:1: unknown action 'CameraOm'; the nearest is CameraOn"),
                (["make", "--template", "@ CameraOn ()", "--source", ""],
                 "--source:1:1: expected an action, found nothing"),
                (["make", "--template", "@ CameraOn ()", "--source", "CameraOn (1)", "in.txt"],
                 "--source: there is a file of sources too, in.txt"),
                (["make", "--templates", "-", "-"], "standard input can't be read twice")):
            with self.subTest(arguments):
                result = self.run_tmxact(*arguments)
                self.assertEqual((2, ""), (result.code, result.out))
                self.assertIn(told, result.err)


class Rules(Case):
    def rules(self, rules, actions, out, *options, err="", code=0):
        self.file("a.rules", rules)
        self.check(["rules", *options, "a.rules"], stdin=actions, out=out, err=err, code=code)

    def test_reactions_in_order(self):
        """For each action in order each rule in order, whatever the index makes of them."""
        self.rules("@ CameraOn () => @ CameraOff () @ PanStop ()\n"
                   "@ CameraOff (Camera: 2) => @ CameraOn ()\n"
                   "@ CameraOn (Camera: 2) =>\n@ PanLeft (Speed: 3)\n",
                   "CameraOn (1) CameraOff (1) CameraOn (2) PanStop (1) CameraOff (2)",
                   "CameraOff (1)\nPanStop (1)\nCameraOff (2)\nPanStop (2)\nPanLeft (2, 3)\n"
                   "CameraOn (2)\n")

    def test_layout(self):
        """Comments, rules over lines, indentation and every white space."""
        self.rules("\ufeff# first\r\n"
                   "@ CameraOn (Comment: \"# no comment\")# one\r\n\t=> # two\r\n\r\n"
                   "@CameraOff()# three\r\n\t@ PanStop (\n)\n"
                   "   @ CameraOff () => @ CameraOn ()\n"
                   "@ PanStop()=>@ CameraOn()@ CameraOff()#",
                   "CameraOn (1) CameraOff (2) PanStop (3)",
                   "CameraOff (1)\nPanStop (1)\nCameraOn (2)\nCameraOn (3)\nCameraOff (3)\n")

    def test_source(self):
        """What a reaction leaves open comes from the action; an action of the same name gives all."""
        self.rules('@ SensorVideoAlarm () => @ ViewerConnectLive (Viewer: 1)\n'
                   '@ UserLogin (User1: "a") => @ UserLogin (User1: "b")\n'
                   '@ CustomAction (Int: 42) => @ ViewerShowAlarmByKey (Viewer: 1)\n'
                   '@ ABCDisconnect () => @ CameraOn ()\n',
                   'SensorVideoAlarm ({ 1234, 5, "Gate" }, 0) UserLogin ("A", "h", ClientType: 3)\n'
                   'CustomAction (42, "x") CustomAction (43, "x") ABCDisconnect ()',
                   'ViewerConnectLive (1, { 1234, 5, "Gate" })\n'
                   'UserLogin ("b", "h", ClientType: 3)\n'
                   'ViewerShowAlarmByKey (1, 42, 0)\nCameraOn (0)\n')

    def test_forms_and_names(self):
        rules = '@ CameraOn (Comment: "Tor auf", Camera: 5) => @ CameraOff ()\n\n@ CameraOn () => @ PanStop ()\n'
        self.rules(rules, "CameraOn (5)", "[Tor auf] CameraOff; Camera: 5\n"
                   "[a.rules:3] PanStop; Camera: 5\n", "--to", "display")
        self.file("a.rules", rules)
        result = self.run_tmxact("rules", "--to", "json", "a.rules", stdin="CameraOn (5)")
        lines = [json.loads(line) for line in result.out.splitlines()]
        self.assertEqual([("CameraOff", "Tor auf"), ("PanStop", "a.rules:3")],
                         [(line["action"], line["rule"]) for line in lines])
        stored = self.run_tmxact("rules", "--to", "bin", "a.rules", stdin=CAMERA_ON, raw=True).out
        self.check(["convert", "--to", "text"], stdin=stored,
                   out='PanStop ({ 1234605616436508552, 3, "Cam" })\n')

    def test_stats(self):
        self.rules("@ CameraOn (Camera: 1) => @ CameraOff () @ PanStop ()\n"
                   "@ CameraOn (Camera: 2) => @ CameraOff ()\n@ CameraOff () => @ CameraOn ()\n",
                   "CameraOn (1) CameraOn (3) PanStop (1)", "CameraOff (1)\nPanStop (1)\n",
                   "-q", "--stats",
                   err="tmxact: 3 rules, 3 actions, 4 comparisons, 1 match, 2 reactions\n")

    def test_thousands_of_rules_of_one_action(self):
        """Rules are looked up by what they ask for: a comparison for each match and no more."""
        rules = "".join(f"@ CameraOn (Camera: {i}) => @ CameraOff ()\n" for i in range(1, 5001))
        actions = "".join(f"CameraOn ({i})\n" for i in range(5, 10_005, 5))
        self.rules(rules, actions, "".join(f"CameraOff ({i})\n" for i in range(5, 5005, 5)),
                   "--stats", err="tmxact: 5000 rules, 2000 actions, 1000 comparisons, "
                   "1000 matches, 1000 reactions\n")

    def test_fifty_thousand_rules_over_many_actions(self):
        # A comparison for each match and no more, so that time is no question.
        path = self.file("a.rules", "".join(
            f'@ CustomAction (Int: {i % 25_000}, String: "s{i}") => @ CameraOn (Camera: {i})\n'
            for i in range(50_000)))
        actions = "".join(f'CustomAction ({i % 30_000}, "S{i % 60_000}")\n' for i in range(200_000))
        result = self.run_tmxact("rules", "--stats", path, stdin=actions)
        self.assertEqual(0, result.code)
        matches = sum(1 for i in range(200_000)
                      if i % 60_000 < 50_000 and i % 30_000 == i % 60_000 % 25_000)
        self.assertEqual(matches, result.out.count("\n"))
        self.assertIn(f"50000 rules, 200000 actions, {matches} comparisons, {matches} matches",
                      result.err)

    def test_many_mistakes_take_linear_time(self):
        def processor_seconds(count):
            path = self.file("a.rules", "@ CameraOn (Camra: 1) => @ CameraOf ()\n" * count)
            before = resource.getrusage(resource.RUSAGE_CHILDREN)
            result = self.run_tmxact("rules", path)
            after = resource.getrusage(resource.RUSAGE_CHILDREN)
            self.assertEqual(3, result.code)
            self.assertEqual(2 * count, len(re.findall(rf"^{re.escape(path)}:", result.err, re.M)))
            return after.ru_utime - before.ru_utime
        # Five times as many; if each looked back at all the others, 25 times as long.
        self.assertLess(processor_seconds(20_000), 15 * processor_seconds(4_000))

    def test_no_rules(self):
        for text in ("", " \n\t", "# nothing\n# at all"):
            self.rules(text, "CameraOn (1)", "", err="tmxact: a.rules: there is no rule in it\n")
        self.rules("", "CameraOn (1)", "", "-q")

    def test_no_match_is_no_failure(self):
        self.rules("@ CameraOn () => @ CameraOff ()", "PanStop (1)", "")

    def broken(self, rules, *told):
        """Expects these mistakes, each a place and a part of its words, and nothing run."""
        self.file("a.rules", rules)
        result = self.run_tmxact("rules", "a.rules", stdin="CameraOn (1)\nCameraOn (x)\n")
        self.assertEqual((3, ""), (result.code, result.out))
        found = re.findall(r"^a\.rules:(\d+:\d+): (.*)$", result.err, re.M)
        self.assertEqual([place for place, _ in told], [place for place, _ in found], result.err)
        for (_, part), (_, reason) in zip(told, found, strict=True):
            self.assertIn(part, reason)
        plural = "s" if len(told) > 1 else ""
        self.assertTrue(result.err.endswith(
            f"tmxact: a.rules: {len(told)} mistake{plural}; no rule was run\n"), result.err)
        self.assertNotIn("standard input", result.err)
        return result.err

    def test_mistake_by_the_letter(self):
        self.assertEqual("a.rules:2:31: CameraOff: expected ')', found 'Camra'; the nearest "
                         "parameter is Camera\n"
                         "  @ CameraOn () => @ CameraOff (Camra: 5)\n"
                         "                                ^\n"
                         "tmxact: a.rules: 1 mistake; no rule was run\n",
                         self.broken("# one\n@ CameraOn () => @ CameraOff (Camra: 5)\n",
                                     ("2:31", "Camra")))

    def test_mistakes(self):
        for rules, told in (
                ("@ CameraOn ()", ("1:14", "expected '=>' behind the template of a rule, found the "
                                   "end of the file")),
                ("@ CameraOn () =>", ("1:17", "expected a reaction behind '=>'")),
                ("@ CameraOn () => # none\n\n", ("1:17", "the rule has none")),
                ("@ CameraOn () =>\n@ CameraOff () => @ PanStop ()",
                 ("1:17", "expected a reaction behind '=>'")),
                ("=> @ CameraOn ()", ("1:1", "expected a template ahead of '=>'")),
                ("@ CameraOn () -> @ CameraOff ()", ("1:14", "expected '=>' behind the template of "
                                                     "a rule, found '->'")),
                ("@ CameraOn () @ CameraOff ()", ("1:14", "found the next template")),
                ("@ CameraOn () => @ CameraOff ()\n@ PanStop ()",
                 ("2:13", "a further reaction of the rule above is indented")),
                ("@ CameraOn () => @ CameraOff (), @ PanStop ()",
                 ("1:32", "reactions follow each other with nothing between")),
                ("@ CameraOn () => @ CameraOff () => @ PanStop ()",
                 ("1:33", "a rule has one '=>'")),
                ("@ CameraOn () => @ CameraOff () @ PanStop () => @ PanStop ()",
                 ("1:46", "a rule begins on a line of its own")),
                ("CameraOn (1) => @ CameraOff ()",
                 ("1:1", "as a template it is @ CameraOn (Camera: 1)")),
                ("@ CameraOn () => CameraOff (1)", ("1:18", "expected a template, which begins with '@'")),
                ("@ CameraOn () => CameraOff ()",
                 ("1:18", "expected a template, which begins with '@', found an action")),
                ("@ CameraOn () => CameraOff (Camera: 1)",
                 ("1:18", "expected a template, which begins with '@', found 'CameraOff'")),
                ("when CameraOn then @ CameraOff ()",
                 ("1:1", "expected a template, which begins with '@', found 'when'")),
                ("@ CameraOn (Camera: 1", ("1:22", "the text ends")),
                ('@ CameraOn () => @ CustomAction (String: "x)\n',
                 ("1:42", "the closing '\"' is missing")),
                ("\ufeff@ CamraOn () => @ CameraOff ()", ("1:3", "the nearest is CameraOn")),
                ("@ FocusFar (Speed: 1, Camera: 2) => @ PanStop ()",
                 ("1:21", "Camera must stand ahead of Speed, in the catalogue's order"))):
            with self.subTest(rules):
                self.broken(rules, told)

    def test_all_mistakes_at_once_in_order(self):
        self.broken("@ CamerOn () => @ CameraOf (Camera: 1)\n"   # both sides
                    "  @ PanStop (Camra: 1)\n"                   # a further reaction of it
                    "@ CameraOn () =>\n"                         # told when the next rule is read
                    "@ CameraOn (Camera: 1, Camera: 2) => @ PanStop ()\n"
                    "@ CameraOn () => @ PanStop ()\n"            # right
                    "prose, not a rule => really\n"
                    '@ CustomAction (String: "forgotten) => @ PanStop ()\n'
                    '@ CustomAction (String: "a") => @ CancelExport (ExportID: "zz")\n'
                    "@ CameraOff ()\n",
                    ("1:3", "unknown action 'CamerOn'"), ("1:19", "unknown action 'CameraOf'"),
                    ("2:14", "the nearest parameter is Camera"), ("3:17", "the rule has none"),
                    ("4:22", "Camera stands twice"), ("6:1", "found 'prose'"),
                    ("6:22", "found 'really'"),
                    ("8:26", "the text that begins on line 7 runs over the end of its line"),
                    ("8:60", "Conversion of guid 'zz' failed"),
                    ("9:15", "expected '=>' behind the template of a rule"))

    def test_check(self):
        self.file("good.rules", "@ CameraOn () => @ CameraOff ()")
        self.check(["rules", "--check", "good.rules"])
        self.check(["rules", "--check", "-"], stdin="@ CameraOn () => @ CameraOff ()")
        self.file("bad.rules", "@ CameraOn ()")
        self.assertEqual(3, self.run_tmxact("rules", "--check", "bad.rules").code)

    def test_same_rule_twice_is_doubted_and_runs_twice(self):
        rule = '@ CameraOn () => @ CameraOff ()\n'
        self.rules(rule + "@ CameraOn () => @ PanStop ()\n  @ CameraOn ( ) => @cameraoff()\n",
                   "CameraOn (1)", "CameraOff (1)\nPanStop (1)\nCameraOff (1)\n",
                   err="a.rules:3:3: warning: the same rule stands on line 1\n")

    def test_unusable_rules(self):
        self.file("a.rules", "@ CameraOn () => @ CameraOff ()")
        self.file("a.bin", CAMERA_ON)
        for arguments, code, told in (
                (["rules"], 2, "RULES is required"),
                (["rules", "none.rules"], 4, "none.rules: can't open: No such file"),
                (["rules", "."], 4, ".: can't read: Is a directory"),
                (["rules", "a.bin"], 3, "a.bin:0: these are stored actions, and no rules"),
                (["rules", "-"], 2, "standard input can't be read twice"),
                (["rules", "-", "-"], 2, "standard input can't be read twice"),
                (["rules", "-o", "a.rules", "a.rules"], 2, "a.rules: the input is the output too"),
                (["rules", "a.rules", "none.txt"], 4, "none.txt: can't open")):
            with self.subTest(arguments):
                result = self.run_tmxact(*arguments)
                self.assertEqual((code, ""), (result.code, result.out))
                self.assertIn(told, result.err)
        utf16 = self.file("b.rules", "\ufeff@ CameraOn () => @ CameraOff ()".encode("utf-16-le"))
        result = self.run_tmxact("rules", utf16)
        self.assertEqual(3, result.code)
        self.assertIn("byte order mark of UTF-16", result.err)

    def test_bad_actions_do_not_stop_the_rules(self):
        self.file("a.rules", "@ CameraOn () => @ CameraOff ()")
        result = self.run_tmxact("rules", "a.rules", stdin="CameraOn (1)\nCameraOn (x)\n"
                                 "@ CameraOn ()\nCameraOn (2)\n")
        self.assertEqual((3, "CameraOff (1)\nCameraOff (2)\n"), (result.code, result.out))
        self.assertEqual(["2:11", "3:1"], re.findall(r"standard input:([\d:]+):", result.err))

    def test_reactions_leave_as_actions_come(self):
        path = self.file("a.rules", "@ CameraOn () => @ CameraOff ()")
        process = self.open_pipe("rules", path)
        for _ in range(3):
            process.stdin.write(b"CameraOn (1) Camera")
            self.assertEqual(b"CameraOff (1)\n", self.read_within(process.stdout, 14))
            process.stdin.write(b"Off (1)\n")
        process.stdin.close()
        self.assertEqual(0, process.wait(10))

    def test_broken_pipe_is_quiet(self):
        path = self.file("a.rules", "@ CameraOn () => @ CameraOff ()")
        self.file("in.txt", "CameraOn (1)\n" * 500_000)
        process = self.open_pipe("rules", path, "in.txt")
        self.read_within(process.stdout, 13)
        process.stdout.close()
        self.assertEqual(b"", process.stderr.read())
        self.assertEqual(0, process.wait(20))

    def test_interrupted(self):
        path = self.file("a.rules", "@ CameraOn () => @ CameraOff ()")
        for number, code in ((signal.SIGINT, 130), (signal.SIGTERM, 143)):
            process = self.open_pipe("rules", "--stats", path)
            process.stdin.write(b"CameraOn (1)\nCameraOn (")
            self.assertEqual(b"CameraOff (1)\n", self.read_within(process.stdout, 14))
            process.send_signal(number)
            self.assertEqual(code, process.wait(10))
            self.assertEqual(b"", process.stdout.read() + process.stderr.read())

    def test_reaction_without_text(self):
        """A stored date before 1601 has no text; the rule's reaction is told, and the rest goes on."""
        self.file("a.rules", "@ SystemStarted () => @ SystemStarted ()")
        data = b"\x01\0\0\0\x01\0\0\0" + struct.pack("<Q", 300 << 48) + NO_PROPERTIES
        result = self.run_tmxact("rules", "a.rules", stdin=data)
        self.assertEqual((3, ""), (result.code, result.out))
        self.assertIn("standard input:0: a.rules:1: SystemStarted: ", result.err)


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

    def test_broken_pipe_is_quiet(self):
        self.file("in.txt", "CameraOn (1)\n" * 500_000)
        process = self.open_pipe("convert", "--to", "text", "in.txt")
        self.read_within(process.stdout, 13)
        process.stdout.close()
        self.assertEqual(b"", process.stderr.read())
        self.assertEqual(0, process.wait(20))


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

    def test_empty_file_names(self):
        self.check(["check", "-q", ""], code=4, err="tmxact: a file's name is empty\n")
        self.check(["convert", "--to", "text", "-o", ""], code=4,
                   err="tmxact: the output file's name is empty\n")

    def test_output_that_cannot_be_made(self):
        result = self.run_tmxact("convert", "--to", "text", "-o", "no/such/folder")
        self.assertEqual(4, result.code)
        self.assertIn("can't open for writing: No such file or directory", result.err)


class Posix(Case):
    """Devices, limits, permissions, signals and streams of POSIX systems."""

    def test_help_to_full_disk(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run([TMXACT, "--help"], stdout=full, stderr=subprocess.PIPE,
                                  env=environment(), timeout=20)
        self.assertEqual(4, done.returncode)
        self.assertIn(b"No space left", done.stderr)

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
        line = (SETUP_CHANGED + "\n").encode()
        with self.open_fifo(path, process) as fifo:
            for i in range(20_000):
                if i == 300:
                    process.send_signal(signal.SIGINT)
                if not self.feed_fifo(fifo, line * 10):
                    break
        self.assertEqual(130, process.wait(10))
        with open(os.path.join(self.folder, "out.txt"), "rb") as stream:
            out = stream.read()
        self.assertTrue(out)
        self.assertEqual({line}, set(out.splitlines(keepends=True)))

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
        events = ["events"] if has_events() else []
        self.assertEqual(sorted([*COMMANDS, *events]), sorted(self.complete("tmxact ")))
        self.assertEqual(["catalogue"], self.complete("tmxact ca"))
        self.assertEqual(["CameraOff", "CameraOn"], sorted(self.complete("tmxact catalogue CameraO")))
        self.assertEqual(["json"], self.complete("tmxact convert --to j"))
        self.assertEqual(["json"], self.complete("tmxact convert --to = j"))
        self.assertEqual(["--int64"], self.complete("tmxact convert --in"))
        self.assertIn("--output", self.complete("tmxact convert --"))
        self.assertEqual(["--template", "--templates"],
                         sorted(self.complete("tmxact match --templ")))
        self.assertEqual(["events.txt"], self.complete("tmxact match --templates eve"))
        self.assertEqual(["events.txt"], self.complete("tmxact rules eve"))
        self.assertEqual(["events.txt"], self.complete("tmxact convert --to json eve"))

    def test_completions_know_every_value(self):
        """Names come from the program; what an option's value may be stands in each file."""
        valued = {name
                  for command in COMMANDS
                  for name in re.findall(r"^ +(?:-\w,)?--([\w-]+) [A-Z]+",
                                         self.run_tmxact(command, "--help").out, re.M)}
        self.assertEqual({"color", "comment", "from", "int64", "max-size", "output", "source",
                          "template", "templates", "to"}, valued)
        for file, form in (("tmxact.bash", "--{}"), ("_tmxact", "--{}"), ("tmxact.fish", "-l {} ")):
            with open(os.path.join(SOURCES, file), encoding="utf-8") as stream:
                text = stream.read()
            for name in valued:
                self.assertIn(form.format(name), text, file)
            for values in ("auto text bin", "text bin display json", "number string",
                           "auto always never"):
                self.assertIn(values, text, file)

    def sessions(self, name):
        """Runs what stands in a document behind "$ ", and expects what stands below it."""
        with open(os.path.join(ROOT, name), encoding="utf-8") as stream:
            blocks = re.findall(r"^```console\n(.*?)^```", stream.read(), re.M | re.S)
        os.symlink(os.path.join(ROOT, "examples"), os.path.join(self.folder, "examples"))
        path = os.path.dirname(TMXACT) + os.pathsep + os.environ["PATH"]
        count = 0
        for block in blocks:
            for command, told in re.findall(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", block, re.M):
                if command.startswith("cat "):
                    self.file(command[4:], told.rstrip("\n") + "\n")
                    continue
                done = subprocess.run(["sh", "-c", command], capture_output=True, text=True,
                                      cwd=self.folder, env=environment(PATH=path), timeout=20)
                if told.strip():
                    self.assertEqual(told.strip(), (done.stdout + done.stderr).strip(), command)
                    count += 1
                else:
                    self.assertIn(done.returncode, (0, 1, 3), command)
        return count

    def test_documents_show_what_happens(self):
        self.assertEqual(6, self.sessions("docs/rules.md"))

    def test_readme_shows_what_happens(self):
        self.file("site.actions", "CameraOn (1)")
        self.assertLess(3, self.sessions("README.md"))

    def test_rules_of_the_example(self):
        rules, actions = (os.path.join(ROOT, "examples", f"site.{each}")
                          for each in ("rules", "actions"))
        self.check(["rules", "--check", rules])
        result = self.run_tmxact("rules", "-v", "--stats", rules, actions)
        self.assertEqual(3, result.code)  # eight lines are no action
        self.assertIn("tmxact: 30 rules, 2954 actions, ", result.err)
        # Nobody is under duress on that day; every other rule comes to its action.
        self.assertEqual(29, len(re.findall(r"^tmxact: .+: matched \d+ actions?$", result.err, re.M)))
        again = self.run_tmxact("convert", "--to", "text", stdin=result.out)
        self.assertEqual((0, result.out), (again.code, again.out))

    def test_man_page_renders(self):
        page = os.path.join(SOURCES, "tmxact.1")
        if shutil.which("groff"):
            done = subprocess.run(["groff", "-man", "-ww", "-Tutf8", page],
                                  capture_output=True, text=True, timeout=20)
            self.assertEqual("", done.stderr)
            text = re.sub(".\x08", "", done.stdout)  # bold is a letter struck twice
            for heading in ("EXAMPLES", "TEMPLATES", "RULES", "REFUSED ACTIONS", "JSON", "EXIT STATUS", "ENVIRONMENT"):
                self.assertIn(f"\n{heading}\n", text)

    def test_man_page_tells_every_option_and_exit_code(self):
        with open(os.path.join(SOURCES, "tmxact.1"), encoding="utf-8") as stream:
            page = stream.read().replace("\\-", "-")
        for command in COMMANDS:
            self.assertIn(f".SS {command}\n", page)
            for option in re.findall(r"--[a-z0-9-]+", self.run_tmxact(command, "--help").out):
                self.assertIn(option, page)
        for code in (0, 1, 2, 3, 4, 130):
            self.assertIn(f".B {code}\n", page)


def main():
    global TMXACT, UPDATE
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--tmxact", required=True, help="the program to test")
    parser.add_argument("--launcher", help="a program that runs it, such as Wine's")
    parser.add_argument("--update", action="store_true", help="write the golden files anew")
    parser.add_argument("tests", nargs="*", help="names of cases, such as Convert.test_ansi")
    options = parser.parse_args()
    TMXACT, UPDATE = os.path.abspath(options.tmxact), options.update
    if options.launcher:
        scripts = tempfile.TemporaryDirectory(prefix="tmxact-")
        launcher = shlex.join([os.path.abspath(options.launcher), TMXACT])
        TMXACT = os.path.join(scripts.name, "tmxact")
        with open(TMXACT, "w", encoding="utf-8") as script:
            script.write(f'#!/bin/sh\nexec {launcher} "$@"\n')
        os.chmod(TMXACT, 0o755)
    os.makedirs(os.path.join(HERE, "golden"), exist_ok=True)
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    unittest.main(argv=[sys.argv[0], *options.tests], verbosity=2)


if __name__ == "__main__":
    main()
