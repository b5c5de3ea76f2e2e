"""Drives the built korvane program and checks what it prints and how it ends.

    tools/sandbox.sh python3 tests/korvane/korvane_program_test.py KORVANE KORVANE_STORE EXAMPLES [unittest arguments]

Binds port 10158 and reads /Vdbglog, so it runs in the sandbox only.
"""

import copy
import fcntl
import json
import os
import pty
import re
import select
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import termios
import threading
import time
import unittest
import xml.etree.ElementTree

PROGRAM, STORE, EXAMPLES = sys.argv[1:4]
CHANNEL = "c0ffee00c0ffee00c0ffee00c0ffee01"
OTHER_CHANNEL = "c0ffee00c0ffee00c0ffee00c0ffee02"
PORT = 10158


def report(**members):
    corners = [{"x": 0.1, "y": 0.2}, {"x": 0.3, "y": 0.2}, {"x": 0.3, "y": 0.6}, {"x": 0.1, "y": 0.6}]
    person = {"description": "person", "position": corners}
    made = {
        "timestamp": 1700000000000,
        "appName": "test app",
        "channel_sid": CHANNEL,
        "stream_id": 2,
        "results": [{"function_name": "HumanDetection", "version": "1.0", "objects": [[person]]}],
    }
    made.update(members)
    return {key: value for key, value in made.items() if value is not None}


def with_position(corners):
    made = report()
    made["results"][0]["objects"][0][0]["position"] = corners
    return made


def of_kind(name):
    made = report()
    made["results"][0]["function_name"] = name
    return made


def lines(*reports):
    return "".join((r if isinstance(r, str) else json.dumps(r)) + "\n" for r in reports)


def korvane(*arguments, stdin="", environment=None):
    return subprocess.run(
        [PROGRAM, *arguments], input=stdin, capture_output=True, text=True, timeout=120,
        env={**os.environ, "TZ": "UTC", **(environment or {})})


class real_store:
    """korvane-store with an empty database in memory."""

    def __enter__(self):
        self.process = subprocess.Popen([STORE, "--quiet"], stdout=subprocess.PIPE, text=True)
        ready = self.process.stdout.readline()
        assert ready.startswith("korvane-store listening on 127.0.0.1:10158"), ready
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait(timeout=10)
        self.process.stdout.close()


class scripted_store:
    """Answers every request with the same bytes."""

    def __init__(self, reply, on_request=lambda: None):
        self.reply = reply
        self.on_request = on_request
        self.requests = 0

    def __enter__(self):
        self.listener = socket.socket()
        self.listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.listener.bind(("127.0.0.1", PORT))
        self.listener.listen(64)
        self.thread = threading.Thread(target=self.serve)
        self.thread.start()
        return self

    def serve(self):
        while True:
            try:
                connection, _ = self.listener.accept()
            except OSError:
                return
            with connection:
                connection.settimeout(5)
                if connection.recv(65536):  # a probe sends nothing
                    self.requests += 1
                    self.on_request()
                    connection.sendall(self.reply)
                    connection.shutdown(socket.SHUT_WR)
                    while connection.recv(65536):
                        pass

    def __exit__(self, *_):
        self.listener.shutdown(socket.SHUT_RDWR)
        self.listener.close()
        self.thread.join()


def http(body):
    return f"HTTP/1.1 200 OK\r\nContent-Length: {len(body)}\r\n\r\n{body}".encode()


class program_test(unittest.TestCase):
    def assert_ends(self, run, status):
        self.assertEqual(run.returncode, status, f"\nstdout: {run.stdout}\nstderr: {run.stderr}")

    def assert_totals(self, run, stored, refused, fatal, not_answered=0):
        total = stored + refused + fatal + not_answered
        wanted = (f"{total} report{'' if total == 1 else 's'}: {stored} stored, {refused} refused, "
                  + (f"{not_answered} not answered, " if not_answered else "") + f"{fatal} fatal, in ")
        self.assertIn(wanted, run.stdout)


class help_and_usage(program_test):
    def test_help_has_examples_and_exit_statuses(self):
        for arguments in (["--help"], *([name, "--help"] for name in ("insert", "query", "groups", "latest", "stats", "delete-counts"))):
            run = korvane(*arguments)
            self.assert_ends(run, 0)
            self.assertIn("Examples:\n  korvane ", run.stdout)
            self.assertIn("Exit status: 0 ", run.stdout)

    def test_version(self):
        run = korvane("--version")
        self.assert_ends(run, 0)
        self.assertRegex(run.stdout, r"^korvane \d+\.\d+\.\d+\n$")

    def test_without_a_command_the_help_is_shown(self):
        run = korvane()
        self.assert_ends(run, 2)
        self.assertIn("Subcommands:", run.stderr)

    def test_wrong_usage_is_told_with_what_was_expected(self):
        cases = [
            (["frobnicate"], "frobnicate"),
            (["insert"], "FILE is required"),
            (["insert", "/no/such/file"], "cannot read /no/such/file: No such file or directory"),
            (["insert", "/tmp"], "cannot read /tmp: it is a folder, expected a file"),
            (["explain", "zz"], "'zz' is no result code"),
            (["explain", "4294967296"], "no result code"),
            (["explain", "-2147483649"], "no result code"),
            (["explain", ""], "no result code"),
            (["query", "--kind", "Cats"], "'Cats' is no kind; expected human (HumanDetection), face (FaceRecognition), object"),
            (["query", "--kind", "PeopleCounting"], "ask for them with korvane stats"),
            (["query", "--kind", "Face"], "'Face' is no kind"),
            (["query", "--name", "Ann"], "--name: is for faces only: say which with --kind"),
            (["query", "--kind", "object", "--partial"], "--partial: is for faces only"),
            (["query", "--kind", "face", "--object-name", "car"], "--object-name: is for objects only"),
            (["query", "--confidence", "1-2"], "--confidence: is for faces and objects only"),
            (["query", "--kind", "face", "--age", "-1"], "expected a whole number, 0 or more"),
            (["query", "--kind", "face", "--age", "ten"], "'ten': expected a whole number"),
            (["query", "--kind", "face", "--age-range", "30-20"], "'30-20': expected LOW-HIGH in whole years"),
            (["query", "--kind", "face", "--age-range", "20-"], "expected LOW-HIGH"),
            (["query", "--kind", "face", "--confidence", "0-101"], "expected LOW-HIGH from 0 to 100"),
            (["query", "--kind", "object", "--confidence", "0.5-1"], "expected LOW-HIGH from 0 to 100"),
            (["query", "--kind", "face", "--gender", "feminine"], "'feminine': expected 1 to 7 bytes"),
            (["query", "--kind", "face", "--gender", ""], "expected 1 to 7 bytes"),
            (["query", "--kind", "face", "--gender", "a", "--gender", "b"], "--gender"),
            (["query", "--kind", "face", "--registered", "perhaps"], "'perhaps': expected yes or no"),
            (["query", "--kind", "object", "--object-name", "x" * 129], "expected 1 to 128 bytes"),
            (["query", "--request", "-", "--name", "Ann"], "--name excludes --request"),
            (["groups", "--partial"], "--partial"),
            (["groups", "--channel", "short"], "a channel identifier has 32"),
            (["groups", "--confidence", "2"*3], "expected LOW-HIGH from 0 to 100"),
            (["latest", "PeopleCounting"], "ask for them with korvane stats"),
            (["latest", "cats"], "'cats' is no kind"),
            (["vault", "IVA"], "IVA"),
            (["stats", "--type", "week"], "week not in {15-min,hour,day}"),
            (["stats", "--type", "Hour"], "Hour not in"),
            (["stats", "--day", "2023-02-31"], "--day: '2023-02-31' is no time"),
            (["stats", "--channel", ""], "'' has 0 characters; a channel identifier has 1 to 32"),
            (["stats", "--channel", "x" * 33], "has 33 characters"),
            (["stats", "--channel", CHANNEL, "--skip", "1"], "excludes"),
            (["stats", "--channel", CHANNEL, "--limit", "1"], "excludes"),
            (["stats", "--limit", "-1"], "--limit: Value -1 not in range"),
            (["stats", "--json", "--svg", "x.svg"], "excludes"),
            (["delete-counts"], "TIME is required"),
            (["delete-counts", "soon"], "TIME: 'soon' is no time"),
            (["delete-counts", "soon", "--dry-run"], "TIME: 'soon' is no time"),
            (["query", "--channel", "short"], "'short' has 5 characters; a channel identifier has 32"),
            (["query", "--from", "2023-02-31"], "'2023-02-31' is no time"),
            (["query", "--from", "2023-02-31 10:00"], "is no time"),
            (["query", "--to", "2023-11-14 25:00"], "is no time"),
            (["query", "--to", "soon"], "expected milliseconds since 1970"),
            (["query", "--from", "2023-11-15", "--to", "2023-11-14"],
             "2023-11-15 00:00:00 is later than --to, 2023-11-14 23:59:59"),
            (["query", "--polygon", "0,0,1,1"], "expected four corners"),
            (["query", "--polygon", "0,0,1,0,1,1,0,1.5"], "from 0 to 1"),
            (["query", "--polygon", "0,0,1,0,1,1,0,nan"], "from 0 to 1"),
            (["query", "--sort", "up"], "up not in {asc,desc}"),
            (["query", "--skip", "-1"], "--skip: Value -1 not in range 0 to 2147483647"),
            (["query", "--limit", "many"], "--limit"),
            (["query", "--limit", "99999999999"], "--limit"),
            (["query", "--request", "-", "--limit", "3"], "--limit excludes --request"),
            (["query", "--json", "--svg", "x.svg"], "--json excludes --svg"),
            (["query", "--svg", "x.svg", "--aspect", "wide"], "expected width:height"),
        ]
        for arguments, message in cases:
            with self.subTest(arguments):
                run = korvane(*arguments)
                self.assert_ends(run, 2)
                self.assertIn(message, run.stderr)
                self.assertEqual(run.stdout, "")

    def test_nothing_is_sent_when_one_of_the_files_is_missing(self):
        with scripted_store(http('{"ret": 0}')) as store:
            run = korvane("insert", os.path.join(EXAMPLES, "people.jsonl"), "/no/such/file")
        self.assert_ends(run, 2)
        self.assertEqual(store.requests, 0)


class explain(program_test):
    def test_each_form_of_a_code(self):
        forms = ["0xC4080004", "0xc4080004", "C4080004", "c4080004", "3288858628", "-1006108668", "out_of_picture"]
        for form in forms:
            with self.subTest(form):
                run = korvane("explain", form)
                self.assert_ends(run, 0)
                self.assertTrue(run.stdout.startswith("0xC4080004 (-1006108668) out_of_picture\n"), run.stdout)
                self.assertIn("  meaning: a polygon coordinate is outside 0.0 to 1.0\n", run.stdout)
                self.assertIn("  to do:   give x and y as fractions", run.stdout)

    def test_success_and_the_transports_codes(self):
        for form, name in (("0", "ok"), ("-1", "no_reply"), ("0xFFFFFFFC", "bad_status"), ("-101", "store_empty")):
            self.assertIn(f" {name}\n", korvane("explain", form).stdout)

    def test_digits_alone_are_decimal(self):
        self.assertTrue(korvane("explain", "10").stdout.startswith("0x0000000A (10) store_answer\n"))

    def test_an_unknown_code_is_the_stores_own_answer(self):
        run = korvane("explain", "5")
        self.assert_ends(run, 0)
        self.assertIn("the store's own answer", run.stdout)

    def test_without_a_code_the_whole_table(self):
        run = korvane("explain")
        self.assert_ends(run, 0)
        titles = re.findall(r"^0x[0-9A-F]{8} \(-?\d+\) (\w+)$", run.stdout, re.M)
        self.assertEqual(len(titles), 14)
        self.assertEqual(len(set(titles)), 14)
        self.assertEqual(run.stdout.count("\n  to do:   "), 14)


class insert_with_store(program_test):
    def setUp(self):
        self.store = self.enterContext(real_store()) if hasattr(self, "enterContext") else self.enter(real_store())

    def enter(self, context):
        self.addCleanup(context.__exit__)
        return context.__enter__()

    def stored(self):
        run = korvane("query", "--json", "--limit", "1000")
        self.assert_ends(run, 0)
        return json.loads(run.stdout)

    def test_every_report_of_the_example_is_stored(self):
        run = korvane("insert", os.path.join(EXAMPLES, "people.jsonl"))
        self.assert_ends(run, 0)
        self.assert_totals(run, 159, 0, 0)
        self.assertEqual(self.stored()["count"], 488)

    def test_each_way_to_be_refused(self):
        no_objects = report()
        del no_objects["results"][0]["objects"]
        flat_objects = report()
        flat_objects["results"][0]["objects"] = [{"description": "person"}]
        no_kind = report()
        del no_kind["results"][0]["function_name"]
        corner = {"x": 0.1, "y": 0.2}
        cases = [
            (report(timestamp=None), "0xC4080001", "bad_request", "get timestamp failed"),
            (report(results=None), "0xC4080001", "bad_request", "get function_result failed"),
            (report(channel_sid=None), "0xC4080001", "bad_request", "get channel_sid failed"),
            (no_kind, "0xC4080001", "bad_request", "get function_name failed"),
            (no_objects, "0xC4080001", "bad_request", "get objects failed"),
            (flat_objects, "0xC4080001", "bad_request", "Invalid json [object] value for double array"),
            (with_position([{"y": 0.5}]), "0xC4080001", "bad_request", "get x failed"),
            (with_position([{"x": 0.5}]), "0xC4080001", "bad_request", "get y failed"),
            (with_position([{**corner, "x": 1.5}]), "0xC4080004", "out_of_picture", "coordinate x out of range"),
            (with_position([{**corner, "y": -1}]), "0xC4080004", "out_of_picture", "coordinate y out of range"),
            (of_kind("humandetection"), "0xC4080002", "unknown_kind", "invalid funcName"),
        ]
        for bad, code, name, log in cases:
            with self.subTest(log):
                run = korvane("insert", "-", stdin=lines(bad))
                self.assert_ends(run, 1)
                self.assert_totals(run, 0, 1, 0)
                self.assertRegex(run.stdout, rf"^standard input:1: report 1 refused: {code} \(-\d+\) {name}\n  meaning: \w")
                self.assertIn(log, run.stdout)
                self.assertNotIn("no JSON", run.stdout)

    def test_a_log_line_stands_with_its_own_report(self):
        bad = [report(timestamp=None), of_kind("Cats"), report(channel_sid=None)]
        run = korvane("insert", "-", stdin=lines(*bad))
        parts = re.split(r"^standard input:\d+: ", run.stdout, flags=re.M)[1:]
        self.assertEqual(len(parts), 3)
        for part, log in zip(parts, ("get timestamp failed", "invalid funcName", "get channel_sid failed")):
            self.assertIn(log, part)
        self.assertEqual(run.stdout.count("get timestamp failed"), 1)
        self.assertEqual(run.stdout.count("invalid funcName"), 1)

    def test_the_run_goes_on_after_a_report_that_ends_the_process(self):
        fatal = report(channel_sid="x" * 33)
        run = korvane("insert", "-", stdin=lines(report(), fatal, fatal, report(), of_kind("Cats"), report()))
        self.assert_ends(run, 1)
        self.assert_totals(run, 3, 1, 2)
        for number in (2, 3):
            self.assertIn(f"standard input:{number}: report {number} ended the process: libkorvane: ", run.stdout)
        self.assertIn('"channel_sid" has 33 characters', run.stdout)
        self.assertIn("standard input:5: report 5 refused: 0xC4080002", run.stdout)
        self.assertEqual(self.stored()["count"], 3)

    def test_places_in_several_files(self):
        with tempfile.TemporaryDirectory() as folder:
            first, second = os.path.join(folder, "first.jsonl"), os.path.join(folder, "second.json")
            with open(first, "w") as file:
                file.write(lines(report(), "", of_kind("Cats")))
            with open(second, "w") as file:
                file.write("\n\n" + json.dumps(report(timestamp=None), indent=2) + "\n" + json.dumps(report(), indent=2))
            run = korvane("insert", first, second)
        self.assert_ends(run, 1)
        self.assert_totals(run, 2, 2, 0)
        self.assertIn(f"{first}:3: report 2 refused", run.stdout)
        self.assertIn(f"{second}:3: report 3 refused", run.stdout)

    def test_reports_in_any_layout(self):
        one, two = report(), report(timestamp=1700000001000)
        layouts = {
            "lines": lines(one, two),
            "no last line end": lines(one, two).rstrip("\n"),
            "carriage returns": lines(one, two).replace("\n", "\r\n"),
            "byte order mark": "\ufeff" + lines(one, two),
            "documents": json.dumps(one, indent=4) + json.dumps(two, indent=4),
            "without indentation": json.dumps(one, indent=0) + "\n" + json.dumps(two, indent=0),
            "an array": json.dumps([one, two]),
            "an array over lines": json.dumps([one, two], indent=2),
            "commas behind lines": f"{json.dumps(one)},\n{json.dumps(two)},\n",
            "side by side": json.dumps(one) + json.dumps(two),
        }
        for name, text in layouts.items():
            with self.subTest(name):
                run = korvane("insert", "-", stdin=text)
                self.assert_ends(run, 0)
                self.assert_totals(run, 2, 0, 0)

    def test_what_is_no_json_is_refused_with_a_hint_where(self):
        good = json.dumps(report())
        cases = [
            ("oops", 1, 1, "begins with '{'"),
            (good.replace('"stream_id": 2', '"stream_id" 2'), 1, good.index(": 2,") + 2, "':' expected: 2, "),
            (good[:-3], 1, len(good) - 2, "the text ends before the report does"),
            (json.dumps(report(), indent=1).replace('"appName":', '"appName"'), 3, 12, "':' expected"),
        ]
        for text, line, column, reason in cases:
            with self.subTest(reason):
                run = korvane("insert", "-", stdin=lines(text, report()))
                self.assert_ends(run, 1)
                self.assert_totals(run, 1, 1, 0)
                self.assertIn("standard input:1: report 1 refused: 0xC4080001", run.stdout)
                self.assertIn(f"  no JSON: line {line}, column {column}: ", run.stdout)
                self.assertIn(reason, run.stdout)

    def test_one_broken_report_costs_only_itself(self):
        good = json.dumps(report())
        broken = [good[:60], good[:-1], good[:-4], good.replace('"appName', "appName"), good.replace('"appName"', '"appName'),
                  '{"results": [', '{"a": {', "{", "}", '"', "12", "null", '{"a" "b"}']
        for text in broken:
            with self.subTest(text):
                run = korvane("insert", "-", stdin=lines(good, text, good, good))
                self.assert_ends(run, 1)
                self.assert_totals(run, 3, 1, 0)

    def test_a_broken_report_in_an_array_over_lines_costs_only_itself(self):
        text = json.dumps([report(), report(appName="BREAK"), report(), report()], indent=2).replace('"BREAK"', '"BREAK')
        run = korvane("insert", "-", stdin=text)
        self.assert_ends(run, 1)
        self.assert_totals(run, 3, 1, 0)

    def test_a_missing_quote_does_not_hide_where_a_report_ends(self):
        broken = json.dumps(report(appName="BREAK"), indent=2).replace('"BREAK"', '"BREAK')
        run = korvane("insert", "-", stdin=f"[{broken}, {json.dumps(report(), indent=2)}]")
        self.assert_ends(run, 1)
        self.assert_totals(run, 1, 1, 0)

    def test_a_zero_byte_ends_nothing_silently(self):
        run = korvane("insert", "-", stdin=lines(json.dumps(report()).replace("test app", "test\0app"), report()))
        self.assert_ends(run, 1)
        self.assert_totals(run, 1, 1, 0)

    def test_reports_longer_than_a_read(self):
        person = report()["results"][0]["objects"][0][0]
        long = copy.deepcopy(report())
        long["results"][0]["objects"] = [[person] * 20]
        long["padding"] = "x" * 700_000
        run = korvane("insert", "-", stdin=lines(report(), long, of_kind("Cats")))
        self.assert_ends(run, 1)
        self.assert_totals(run, 2, 1, 0)
        self.assertIn("standard input:3: report 3 refused", run.stdout)
        self.assertEqual(self.stored()["count"], 21)

    def test_an_empty_input_is_told(self):
        run = korvane("insert", "-", stdin="\n")
        self.assert_ends(run, 0)
        self.assertIn("the input holds no report", run.stdout)

    def test_stop_on_error_sends_nothing_behind_it(self):
        for bad, totals in ((of_kind("Cats"), (2, 1, 0)), (report(channel_sid="x" * 33), (2, 0, 1))):
            with self.subTest(totals):
                before = self.stored()["count"]
                with tempfile.NamedTemporaryFile("w", suffix=".jsonl") as file:
                    file.write(lines(report(), report(), bad, report(), report()))
                    file.flush()
                    run = korvane("insert", "--stop-on-error", file.name)
                self.assert_ends(run, 1)
                self.assert_totals(run, *totals)
                self.assertIn("2 reports not sent", run.stdout)
                self.assertEqual(self.stored()["count"], before + 2)

    def test_a_stream_is_stored_as_it_comes(self):
        sender = subprocess.Popen([PROGRAM, "insert", "-"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        sender.stdin.write(lines(report()))
        sender.stdin.flush()
        deadline = time.monotonic() + 20
        while self.stored()["count"] == 0 and time.monotonic() < deadline:
            time.sleep(0.02)
        self.assertEqual(self.stored()["count"], 1)
        out, _ = sender.communicate(lines(report()), timeout=20)
        self.assertIn("2 reports: 2 stored", out)

    def test_an_interrupt_ends_the_run_with_its_totals(self):
        sender = subprocess.Popen([PROGRAM, "insert", "-"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        sender.stdin.write(lines(report()))
        sender.stdin.flush()
        deadline = time.monotonic() + 20
        while self.stored()["count"] == 0 and time.monotonic() < deadline:
            time.sleep(0.02)
        time.sleep(0.2)
        sender.send_signal(signal.SIGINT)
        out = sender.stdout.read()
        sender.stdin.close()
        sender.stdout.close()
        self.assertEqual(sender.wait(timeout=10), 130)
        self.assertIn("1 report: 1 stored", out)

    def test_no_progress_bar_into_a_pipe(self):
        run = korvane("insert", os.path.join(EXAMPLES, "people.jsonl"))
        self.assertEqual(run.stderr, "")
        self.assertNotIn("\033", run.stdout)

    def test_a_progress_bar_on_a_terminal(self):
        terminal, program_side = pty.openpty()
        sender = subprocess.Popen([PROGRAM, "insert", *[os.path.join(EXAMPLES, "people.jsonl")] * 6],
                                  stdout=subprocess.PIPE, stderr=program_side, env={**os.environ, "TERM": "xterm"})
        os.close(program_side)
        drawn = b""
        while select.select([terminal], [], [], 30)[0]:
            try:
                drawn += os.read(terminal, 65536)
            except OSError:  # the program's side is closed
                break
        out = sender.stdout.read().decode()
        sender.stdout.close()
        sender.wait(timeout=30)
        os.close(terminal)
        self.assertRegex(drawn.decode(), r"\[#*\.*\] +\d+%  \d+ reports?, [\d,]+/s, \d+:\d\d left")
        self.assertTrue(drawn.endswith(b"\r\033[K"), drawn[-60:])
        self.assertIn("954 reports: 954 stored", out)

    def test_a_hundred_thousand_refusals_are_all_told(self):
        run = korvane("insert", "-", stdin=lines("{}") * 100_000)
        self.assert_ends(run, 1)
        self.assertEqual(run.stdout.count(" refused: 0xC4080001"), 100_000)
        self.assertIn("100,000 reports: 0 stored, 100,000 refused", run.stdout)


class insert_without_store(program_test):
    def test_stops_at_once_and_says_how_to_start_one(self):
        run = korvane("insert", os.path.join(EXAMPLES, "people.jsonl"))
        self.assert_ends(run, 3)
        self.assert_totals(run, 0, 0, 0, not_answered=1)
        self.assertIn("report 1 not answered: 0xFFFFFFFF (-1) no_reply", run.stdout)
        self.assertIn("what to do: korvane explain 0xFFFFFFFF\n", run.stdout)
        self.assertIn("158 reports not sent", run.stdout)
        self.assertIn("nothing listens on 127.0.0.1:10158", run.stderr)
        self.assertIn("korvane-store", run.stderr)

    def test_unsent_reports_of_later_files_are_counted(self):
        people = os.path.join(EXAMPLES, "people.jsonl")
        self.assertIn("317 reports not sent", korvane("insert", people, people).stdout)

    def test_a_stream_is_not_read_on(self):
        run = korvane("insert", "-", stdin=lines(report()))
        self.assert_ends(run, 3)
        self.assertIn("the rest of the input was not read", run.stdout)

    def test_keep_going_sends_them_all_and_tells_once_how_to_start_one(self):
        run = korvane("insert", "--keep-going", "-", stdin=lines(*[report()] * 5))
        self.assert_ends(run, 3)
        self.assert_totals(run, 0, 0, 0, not_answered=5)
        self.assertEqual(run.stderr.count("nothing listens"), 1)

    def test_a_report_that_needs_no_store_is_judged_without_one(self):
        run = korvane("insert", "-", stdin=lines(of_kind("Cats")))
        self.assert_ends(run, 1)
        self.assertEqual(run.stderr, "")

    def test_every_command_that_asks(self):
        commands = (["query"], ["query", "--kind", "face"], ["query", "--kind", "object"], ["groups"], ["latest"],
                    ["latest", "face"], ["stats"], ["stats", "--type", "hour", "--channel", CHANNEL],
                    ["delete-counts", "today"], ["vault"])
        for arguments in commands:
            with self.subTest(arguments):
                run = korvane(*arguments)
                self.assert_ends(run, 3)
                self.assertIn("nothing listens on 127.0.0.1:10158", run.stderr)
                self.assertEqual(run.stdout, "")

    def test_a_dry_run_needs_none(self):
        self.assert_ends(korvane("delete-counts", "today", "--dry-run"), 0)


class other_answers(program_test):
    def test_the_stores_own_answer(self):
        with scripted_store(http('{"ret": 5}')):
            run = korvane("insert", "-", stdin=lines(report(), report()))
        self.assert_ends(run, 1)
        self.assert_totals(run, 0, 2, 0)
        self.assertIn("report 2 refused: 0x00000005 (5) store_answer\n  meaning: the store's own answer", run.stdout)

    def test_what_another_process_logs_meanwhile_is_not_shown(self):
        def log_as_another_process():
            os.makedirs("/Vdbglog/.zymux_log", exist_ok=True)
            with open("/Vdbglog/.zymux_log/.ai_log_0", "a") as log:
                log.write("2023/11/14 22:13:20:000000  [    1] somebody(1)- [korvane] else\n")

        with scripted_store(http('{"ret": 5}'), log_as_another_process) as store:
            run = korvane("insert", "-", stdin=lines(report()))
        self.assertEqual(store.requests, 1)
        self.assertIn("add human metadata failed", run.stdout)
        self.assertNotIn("somebody", run.stdout)

    def test_a_store_that_listens_without_a_body_does_not_end_the_run(self):
        with scripted_store(b"HTTP/1.1 500 Broken\r\n\r\n") as store:
            run = korvane("insert", "-", stdin=lines(report(), report(), report()))
        self.assert_ends(run, 1)
        self.assert_totals(run, 0, 0, 0, not_answered=3)
        self.assertEqual(store.requests, 3)
        self.assertNotIn("nothing listens", run.stderr)

    def test_values_cannot_drive_the_terminal(self):
        record = {"timestamp": "1700000000000", "channel_sid": CHANNEL, "description": "\x1b[31mred\n<b>&\""}
        body = json.dumps({"ret": 0, "totalCounts": "1", "datas": [{**record, "loc": [[0, 0], [1, 0], [1, 1]]}]})
        with tempfile.TemporaryDirectory() as folder, scripted_store(http(body)):
            table = korvane("query")
            picture = os.path.join(folder, "a.svg")
            drawn = korvane("query", "--svg", picture)
            self.assert_ends(drawn, 0)
            titles = [node.text for node in xml.etree.ElementTree.parse(picture).iter("{http://www.w3.org/2000/svg}title")]
        self.assert_ends(table, 0)
        self.assertIn('?[31mred?<b>&"', table.stdout)
        self.assertNotIn("\x1b", table.stdout)
        self.assertEqual(titles, ['2023-11-14 22:13:20 ?[31mred?<b>&"'])


class query(program_test):
    @classmethod
    def setUpClass(cls):
        cls.store = real_store()
        cls.store.__enter__()
        run = korvane("insert", os.path.join(EXAMPLES, "people.jsonl"))
        assert run.returncode == 0, run.stdout + run.stderr
        run = korvane("insert", "-", stdin=lines(report(channel_sid=OTHER_CHANNEL, timestamp=1700100000000)))
        assert run.returncode == 0, run.stdout + run.stderr

    @classmethod
    def tearDownClass(cls):
        cls.store.__exit__()

    def request(self, *arguments):
        run = korvane("query", "--show-request", *arguments)
        self.assert_ends(run, 0)
        return json.loads(run.stdout)["metadata"]

    def test_the_table(self):
        run = korvane("query", "--limit", "1", "--channel", OTHER_CHANNEL)
        self.assert_ends(run, 0)
        head, row, total = run.stdout.splitlines()
        self.assertEqual(head.split(), ["DATE", "CHANNEL", "STREAM", "APP", "DESCRIPTION", "POSITION"])
        self.assertEqual(re.split("  +", row), [
            "2023-11-16 02:00:00", OTHER_CHANNEL, "2", "test app 1.0", "person", "x 0.100 to 0.300, y 0.200 to 0.600"])
        self.assertEqual(head.index("POSITION"), row.index("x 0.100"))
        self.assertEqual(total, f"1 of 1 from the beginning until now, channel {OTHER_CHANNEL}")

    def test_ten_newest_by_default_and_how_to_see_more(self):
        rows = korvane("query").stdout.splitlines()
        self.assertEqual(len(rows), 13)
        self.assertTrue(rows[1].startswith("2023-11-16"))
        self.assertEqual(rows[-2], "10 of 489 from the beginning until now")
        self.assertEqual(rows[-1], "more: --skip 10, or a higher --limit")

    def test_json_is_the_answer_as_it_stands(self):
        run = korvane("query", "--json", "--limit", "2", "--sort", "asc")
        self.assert_ends(run, 0)
        self.assertTrue(run.stdout.startswith('{ "count": 489, "metadatalist": [ { "date": "2023-11-14 22:13:20"'), run.stdout)
        self.assertEqual(len(json.loads(run.stdout)["metadatalist"]), 2)

    def test_filters_reach_the_store(self):
        cases = [
            ([], 489),
            (["--channel", CHANNEL], 488),
            (["--channel", CHANNEL, "--channel", OTHER_CHANNEL], 489),
            (["--from", "2023-11-15"], 1),
            (["--to", "2023-11-14"], 488),
            (["--to", "2023-11-13"], 0),
            (["--from", "1700100000000", "--to", "1700100000000"], 1),
            (["--from", "2023-11-16 02:00:00.001"], 0),
            (["--polygon", "0.11,0.21,0.12,0.21,0.12,0.22,0.11,0.22", "--from", "2023-11-15"], 1),
            (["--polygon", "0.5,0.9,0.6,0.9,0.6,1,0.5,1", "--from", "2023-11-15"], 0),
        ]
        for arguments, count in cases:
            with self.subTest(arguments):
                run = korvane("query", "--json", *arguments)
                self.assert_ends(run, 0)
                self.assertEqual(json.loads(run.stdout)["count"], count)

    def test_skip_and_sort(self):
        def timestamps(*arguments):
            return [row["timestamp"] for row in json.loads(korvane("query", "--json", *arguments).stdout)["metadatalist"]]
        oldest = timestamps("--sort", "asc", "--limit", "30")
        self.assertEqual(oldest, sorted(oldest))
        self.assertEqual(timestamps("--sort", "asc", "--skip", "20", "--limit", "10"), oldest[20:])
        self.assertEqual(timestamps("--limit", "1"), ["1700100000000"])

    def test_the_request_that_options_make(self):
        self.assertEqual(self.request(), {"function_name": "HumanDetection", "sort_dir": -1, "skip": 0, "limit": 10})
        made = self.request("--channel", CHANNEL, "--from", "2023-11-14 22:13:20", "--to", "2023-11-14T22:13:20.250",
                            "--polygon", "0,0,0.5,0,0.5,1,0,1.0", "--sort", "asc", "--skip", "3", "--limit", "4")
        self.assertEqual(made, {
            "function_name": "HumanDetection", "channel_guid_list": [CHANNEL], "start_time": "1700000000000",
            "end_time": "1700000000250", "x1": "0", "y1": "0", "x2": "0.5", "y2": "0", "x3": "0.5", "y3": "1", "x4": "0",
            "y4": "1.0", "sort_dir": 1, "skip": 3, "limit": 4})

    def test_times(self):
        now = time.time() * 1000
        day = 86400_000
        midnight = now // day * day
        self.assertEqual(self.request("--from", "2023-11-14")["start_time"], "1699920000000")
        self.assertEqual(self.request("--to", "2023-11-14")["end_time"], "1700006399999")
        self.assertEqual(self.request("--to", "2023-11-14 22:13")["end_time"], "1699999980000")
        self.assertAlmostEqual(int(self.request("--to", "now")["end_time"]), now, delta=20_000)
        self.assertAlmostEqual(int(self.request("--from", "2h")["start_time"]), now - 7_200_000, delta=20_000)
        self.assertAlmostEqual(int(self.request("--from", "7d")["start_time"]), now - 7 * day, delta=20_000)
        self.assertIn(int(self.request("--from", "today")["start_time"]), (midnight, midnight + day))
        self.assertIn(int(self.request("--to", "yesterday")["end_time"]), (midnight - 1, midnight + day - 1))

    def test_times_are_local(self):
        run = korvane("query", "--show-request", "--from", "2023-11-14 22:13:20", environment={"TZ": "UTC-8"})
        self.assertEqual(json.loads(run.stdout)["metadata"]["start_time"], str(1700000000000 - 8 * 3600_000))

    def test_a_request_of_ones_own(self):
        run = korvane("query", "--json", "--request", "-", stdin=json.dumps({"metadata": self.request("--limit", "1")}))
        self.assert_ends(run, 0)
        self.assertEqual(len(json.loads(run.stdout)["metadatalist"]), 1)

    def test_a_note_of_the_library_is_shown(self):
        asked = json.dumps({"metadata": {"function_name": "HumanDetection", "channel_guid_list": ["short"], "limit": 1}})
        run = korvane("query", "--request", "-", stdin=asked)
        self.assert_ends(run, 0)
        self.assertIn("channel_sid length : 5 out of bounds(32)", run.stderr)

    def test_a_refused_request(self):
        run = korvane("query", "--request", "-", stdin='{"metadata": {"function_name": "Cats"}}')
        self.assert_ends(run, 1)
        self.assertIn("query refused: 0xC4080002 (-1006108670) unknown_kind", run.stderr)
        self.assertIn("invalid funcName", run.stderr)

    def test_a_request_that_is_no_json(self):
        run = korvane("query", "--request", "-", stdin='{"metadata": \n')
        self.assert_ends(run, 1)
        self.assertIn("query refused: 0xC4080001", run.stderr)
        self.assertIn("no JSON: line 1, column 13: the text ends before the report does", run.stderr)

    def test_a_request_that_ends_the_process(self):
        asked = json.dumps({"metadata": {"function_name": "HumanDetection", "x1": "0." + "0" * 40, "y1": 0}})
        run = korvane("query", "--request", "-", stdin=asked)
        self.assert_ends(run, 1)
        self.assertIn('the query ended the process: libkorvane: "x1" has 42 characters', run.stderr)

    def test_the_picture(self):
        with tempfile.TemporaryDirectory() as folder:
            file = os.path.join(folder, "people.svg")
            run = korvane("query", "--svg", file, "--aspect", "4:3", "--channel", CHANNEL)
            self.assert_ends(run, 0)
            self.assertIn(f"drawn in {file}", run.stdout)
            root = xml.etree.ElementTree.parse(file).getroot()
        svg = "{http://www.w3.org/2000/svg}"
        self.assertEqual(root.tag, svg + "svg")
        polygons = list(root.iter(svg + "polygon"))
        self.assertEqual(len(polygons), 488)
        view = root.find(f"{svg}clipPath/{svg}rect")
        left, top, width, height = (float(view.get(key)) for key in ("x", "y", "width", "height"))
        self.assertAlmostEqual(width / height, 4 / 3, places=2)
        for polygon in polygons:
            for corner in polygon.get("points").split(" "):
                x, y = map(float, corner.split(","))
                self.assertTrue(left <= x <= left + width and top <= y <= top + height, corner)
        texts = [node.text for node in root.iter(svg + "text")]
        self.assertIn("Where people were seen", texts)
        self.assertIn("488 polygons, 2023-11-14 22:13:20 to 2023-11-14 22:14:39", texts)
        self.assertIn("seen once", texts)
        self.assertEqual(texts.count("0.5"), 2)

    def test_a_picture_of_nothing(self):
        with tempfile.TemporaryDirectory() as folder:
            file = os.path.join(folder, "nothing.svg")
            self.assert_ends(korvane("query", "--svg", file, "--to", "2000-01-01"), 0)
            root = xml.etree.ElementTree.parse(file).getroot()
        self.assertIn("nothing to draw", [node.text for node in root.iter("{http://www.w3.org/2000/svg}text")])

    def test_a_picture_that_cannot_be_written(self):
        run = korvane("query", "--svg", "/no/such/folder/a.svg")
        self.assertNotEqual(run.returncode, 0)
        self.assertIn("cannot write /no/such/folder/a.svg: No such file or directory", run.stderr)


# The example files' own places and names.
ENTRANCE = "face00face00face00face00face0001"
GARAGE = "face00face00face00face00face0002"
OFFICE, SHOP, STAIRS, HALL = (f"c0ffee00c0ffee00c0ffee00c0ffee1{index}" for index in range(4))


class with_all_kinds(program_test):
    """A store that holds the examples of the four kinds and the made-up week, once for all tests of a class."""

    @classmethod
    def setUpClass(cls):
        cls.store = real_store()
        cls.store.__enter__()
        cls.addClassCleanup(cls.store.__exit__)
        for name in ("people", "faces", "objects", "counts"):
            run = korvane("insert", os.path.join(EXAMPLES, f"{name}.jsonl"))
            assert run.returncode == 0, run.stdout + run.stderr
        cls.week = made_counts("--until", "2023-11-14")
        run = korvane("insert", "-", stdin=cls.week)
        assert run.returncode == 0, run.stdout + run.stderr

    def answer(self, *arguments):
        run = korvane(*arguments, "--json")
        self.assert_ends(run, 0)
        return json.loads(run.stdout)


def made_counts(*arguments):
    return subprocess.run([sys.executable, os.path.join(EXAMPLES, "make_counts.py"), *arguments], check=True,
                          capture_output=True, text=True, env={**os.environ, "TZ": "UTC"}).stdout


def sums(reports):
    """{(channel, day): [in, out]}, in UTC."""
    found = {}
    for line in reports.splitlines():
        made = json.loads(line)
        count = made["results"][0]["objects"][0][0]
        day = time.strftime("%Y-%m-%d", time.gmtime(made["timestamp"] // 1000))
        entry = found.setdefault((made["channel_sid"], day), [0, 0])
        entry[0] += count["people_count_in"]
        entry[1] += count["people_count_out"]
    return found


class faces_and_objects(with_all_kinds):
    def test_short_and_long_names_of_kinds(self):
        for short, long, count in (("human", "HumanDetection", 488), ("face", "FaceRecognition", 15),
                                   ("object", "ObjectDetection", 488)):
            for name in (short, long):
                with self.subTest(name):
                    self.assertEqual(self.answer("query", "--kind", name)["count"], count)

    def test_the_table_of_faces(self):
        run = korvane("query", "--kind", "face", "--sort", "asc", "--limit", "3")
        self.assert_ends(run, 0)
        self.assertEqual(run.stderr, "")
        head, ann, jürgen, stranger, total, _ = run.stdout.splitlines()
        self.assertEqual(head.split(), ["DATE", "CHANNEL", "PERSON", "GROUP", "REGISTERED", "AGE", "GENDER", "CONFIDENCE",
                                        "POSITION"])
        self.assertEqual(re.split("  +", ann), [
            "2023-11-14 22:20:00", ENTRANCE, "Ann Example", "Staff", "yes", "33", "female", "96.5",
            "x 0.410 to 0.530, y 0.220 to 0.420"])
        self.assertIn("  Jürgen Weiß  ", jürgen)
        self.assertIn("  (stranger-1)  ", stranger)
        self.assertEqual(total, "3 of 15 from the beginning until now")

    def test_columns_stay_in_line_behind_wide_letters(self):
        run = korvane("query", "--kind", "face", "--name", "王小明", "--name", "Zoë 𠮷田 👩", "--name", "Ann Example")
        wide = {"王": 2, "小": 2, "明": 2, "𠮷": 2, "田": 2, "👩": 2}
        group_columns = set()
        for row in run.stdout.splitlines()[1:7]:
            before = re.match(r".*?  (?=Staff|Visitors)", row).group()
            group_columns.add(sum(wide.get(letter, 1) for letter in before))
        self.assertEqual(len(group_columns), 1, run.stdout)

    def test_the_table_of_objects(self):
        run = korvane("query", "--kind", "object", "--sort", "asc", "--limit", "2")
        self.assert_ends(run, 0)
        head, _, row, total, _ = run.stdout.splitlines()
        self.assertEqual(head.split(), ["DATE", "CHANNEL", "STREAM", "OBJECT", "CONFIDENCE", "DESCRIPTION", "POSITION"])
        self.assertEqual(re.split("  +", row), ["2023-11-14 22:13:20", CHANNEL, "1", "person", "72.26", "walking person",
                                                "x 0.810 to 0.936, y 0.273 to 0.609"])
        self.assertEqual(total, "2 of 488 from the beginning until now")

    def test_filters_of_faces_reach_the_store(self):
        cases = [
            (["--name", "Ann Example"], 3),
            (["--name", "Ann Example", "--name", "王小明"], 5),
            (["--name", "Ann"], 0),
            (["--name", "Ann", "--partial"], 3),
            (["--name", "Driver A|B 100% & more"], 1),
            (["--name", "Zoë 𠮷田 👩"], 1),
            (["--key", "staff/002"], 2),
            (["--key", "staff", "--partial"], 9),
            (["--age", "33"], 2),
            (["--age", "33", "--age", "8"], 3),
            (["--age-range", "33-34"], 3),
            (["--age-range", "45"], 1),
            (["--gender", "female"], 5),
            (["--confidence", "90-100"], 4),
            (["--confidence", "0"], 1),
            (["--registered", "yes"], 9),
            (["--registered", "no"], 6),
            (["--result-id", "face-0008"], 1),
            (["--result-id", "face-0008", "--result-id", "face-0001"], 2),
            (["--provider-id", "library-1"], 13),
            (["--provider-id", "library-9"], 0),
            (["--channel", GARAGE], 6),
            (["--channel", GARAGE, "--registered", "yes", "--gender", "female"], 1),
            (["--polygon", "0.9,0.9,1,0.9,1,1,0.9,1"], 1),
            (["--from", "2023-11-14 22:30"], 1),
        ]
        for arguments, count in cases:
            with self.subTest(arguments):
                self.assertEqual(self.answer("query", "--kind", "face", *arguments)["count"], count)

    def test_filters_of_objects_reach_the_store(self):
        for arguments, count in ((["--object-name", "person"], 488), (["--object-name", "car"], 0),
                                 (["--confidence", "100"], 0)):
            with self.subTest(arguments):
                self.assertEqual(self.answer("query", "--kind", "object", *arguments)["count"], count)

    def test_a_confidence_range_that_the_library_drops_is_told(self):
        run = korvane("query", "--kind", "object", "--confidence", "50-90", "--limit", "1")
        self.assert_ends(run, 0)
        self.assertIn("start confidence value : 50 out of bounds(0~100)", run.stderr)
        self.assertIn("1 of 488 from the beginning until now, confidence 50 to 90 (dropped by the library", run.stdout)
        kept = korvane("query", "--kind", "object", "--confidence", "100-100")
        self.assertNotIn("dropped", kept.stdout)
        self.assertEqual(kept.stderr, "")
        self.assertIn("The library drops a lower --confidence bound", korvane("query", "--help").stdout)

    def test_the_requests_that_options_make(self):
        def made(*arguments):
            run = korvane(*arguments, "--show-request")
            self.assert_ends(run, 0)
            return json.loads(run.stdout)["metadata"]
        page = {"sort_dir": -1, "skip": 0, "limit": 10}
        faces = ["--name", "A B", "--name", "C", "--key", "k", "--age", "3", "--age", "40", "--age-range", "20-30", "--gender",
                 "male", "--confidence", "5-6", "--registered", "no", "--result-id", "r", "--provider-id", "p"]
        of_faces = {"person_name": ["A B", "C"], "person_key": ["k"], "age": [3, 40], "start_age": 20, "end_age": 30,
                    "gender": "male", "start_confidence": 5, "end_confidence": 6, "registered": 0, "resultId": ["r"],
                    "provider_id": ["p"]}
        self.assertEqual(made("query", "--kind", "face", "--partial", *faces),
                         {"function_name": "FaceRecognition", "partail_query": 1, **of_faces, **page})
        self.assertEqual(made("query", "--kind", "object", "--object-name", "car", "--confidence", "100"),
                         {"function_name": "ObjectDetection", "start_confidence": 100, "end_confidence": 100,
                          "object_name": "car", **page})
        self.assertEqual(made("groups", "--channel", CHANNEL, "--to", "1700000000000", *faces),
                         {"channel_guid_list": [CHANNEL], "end_time": "1700000000000", **of_faces})

    def test_the_filter_in_words(self):
        run = korvane("query", "--kind", "face", "--name", "A\x1b", "--name", "B", "--partial", "--age-range", "1-2",
                      "--registered", "yes")
        self.assertEqual(run.stdout, "0 of 0 from the beginning until now, name A?, B, partial match, age range 1 to 2, "
                                     "registered yes\n")

    def test_pictures(self):
        svg = "{http://www.w3.org/2000/svg}"
        for kind, title, polygons in (("face", "Where faces were seen", 13), ("object", "Where objects were seen", 488)):
            with self.subTest(kind), tempfile.TemporaryDirectory() as folder:
                file = os.path.join(folder, "a.svg")
                self.assert_ends(korvane("query", "--kind", kind, "--svg", file), 0)
                root = xml.etree.ElementTree.parse(file).getroot()
                self.assertIn(title, [node.text for node in root.iter(svg + "text")])
                self.assertEqual(len(list(root.iter(svg + "polygon"))), polygons)


class persons_latest_and_vault(with_all_kinds):
    def test_the_persons_seen(self):
        run = korvane("groups")
        self.assert_ends(run, 0)
        self.assertEqual(run.stderr, "")
        *names, total = run.stdout.splitlines()
        self.assertEqual(sorted(names), sorted(["Ann Example", "Jürgen Weiß", "王小明", "Zoë 𠮷田 👩", "Driver A|B 100% & more"]))
        self.assertEqual(total, "5 persons from the beginning until now")

    def test_filters(self):
        cases = [
            (["--name", "Ann Example"], ["Ann Example"]),
            (["--name", "Ann Example", "--name", "Driver A|B 100% & more"], ["Ann Example", "Driver A|B 100% & more"]),
            (["--key", "staff/003"], ["王小明"]),
            (["--channel", GARAGE, "--gender", "female"], ["Ann Example"]),
            (["--age-range", "50-51"], ["Jürgen Weiß"]),
            (["--confidence", "99-100"], ["Ann Example", "Zoë 𠮷田 👩"]),
            (["--result-id", "face-0002"], ["Jürgen Weiß"]),
        ]
        for arguments, names in cases:
            with self.subTest(arguments):
                answer = self.answer("groups", *arguments)
                self.assertEqual(sorted(answer["person_name_list"]), sorted(names))
                self.assertEqual(answer["count"], len(names))

    def test_one_person_is_no_plural(self):
        self.assertIn("\n1 person from", korvane("groups", "--name", "Ann Example").stdout)

    def test_nobody_is_an_answer(self):
        run = korvane("groups", "--name", "Nobody")
        self.assert_ends(run, 0)
        self.assertEqual(run.stdout, "no person from the beginning until now, name Nobody\n")
        self.assertEqual(run.stderr, "")

    def test_nobody_as_json_leaves_the_output_empty(self):
        run = korvane("groups", "--name", "Nobody", "--json")
        self.assert_ends(run, 0)
        self.assertEqual(run.stdout, "")
        self.assertIn("no person", run.stderr)

    def test_the_newest_of_each_kind(self):
        run = korvane("latest")
        self.assert_ends(run, 0)
        self.assertEqual([re.split("  +", row) for row in run.stdout.splitlines()], [
            ["KIND", "NEWEST RESULT"], ["HumanDetection", "2023-11-14 22:14:39"],
            ["FaceRecognition", "2023-11-14 22:30:00"], ["ObjectDetection", "2023-11-14 22:14:39"]])

    def test_the_newest_of_one_kind_alone(self):
        for name in ("face", "FaceRecognition"):
            self.assertEqual(korvane("latest", name).stdout, "2023-11-14 22:30:00\n")

    def test_the_vault(self):
        run = korvane("vault")
        self.assert_ends(run, 0)
        self.assertEqual(run.stdout, "korvane-store-vault-1\n")


class empty_and_odd_stores(program_test):
    def test_nothing_stored(self):
        with real_store():
            latest = korvane("latest", "object")
            latest_of_each = korvane("latest")
            stats = korvane("stats")
            groups = korvane("groups")
        self.assert_ends(latest, 0)
        self.assertEqual(latest.stdout, "Zymora has not received any metadata.\n")
        self.assert_ends(latest_of_each, 0)
        self.assertEqual(latest_of_each.stdout.count("nothing stored\n"), 3)
        self.assert_ends(stats, 0)
        self.assertIn("0 of 0 channels", stats.stdout)
        self.assert_ends(groups, 0)
        self.assertIn("no person", groups.stdout)

    def test_no_vault(self):
        with scripted_store(http('{"ret":0,"datas":[]}')):
            run = korvane("vault")
        self.assert_ends(run, 1)
        self.assertEqual(run.stdout, "")
        self.assertIn("request refused: 0xC4080005 (-1006108667) no_vault", run.stderr)
        self.assertIn("IVA vault int not exist", run.stderr)

    def test_the_stores_own_refusal(self):
        for arguments in (["query", "--kind", "face"], ["groups"], ["latest", "face"], ["stats"], ["vault"]):
            with self.subTest(arguments), scripted_store(http('{"ret":1006}')):
                run = korvane(*arguments)
                self.assert_ends(run, 1)
                self.assertIn("refused: 0x000003EE (1006) store_answer", run.stderr)
                self.assertIn("  log:     ", run.stderr)
                self.assertEqual(run.stdout, "")

    def test_names_cannot_drive_the_terminal(self):
        with scripted_store(http('{"ret":0,"totalItems":1,"datas":["\\u001b[31mAnn"]}')):
            run = korvane("groups")
        self.assertEqual(run.stdout.splitlines()[0], "?[31mAnn")

    def test_a_refused_delete(self):
        with scripted_store(b"HTTP/1.1 500 Broken\r\n\r\n"):
            run = korvane("delete-counts", "today")
        self.assert_ends(run, 1)
        self.assertIn("request refused: 0xFFFFFFFC (-4) bad_status", run.stderr)
        self.assertIn("delete people counting metadata failed", run.stderr)
        self.assertEqual(run.stdout, "")

    def test_a_dry_run_sends_nothing(self):
        with scripted_store(http('{"ret":0}')) as store:
            self.assert_ends(korvane("delete-counts", "today", "--dry-run"), 0)
        self.assertEqual(store.requests, 0)

    def test_a_channel_that_cannot_be_asked_for(self):
        with scripted_store(http('{"ret":0,"datas":[]}')) as store:
            run = korvane("stats", "--channel", "a\tb")
        self.assert_ends(run, 1)
        self.assertIn("query refused: 0xC4080001", run.stderr)
        self.assertEqual(store.requests, 0)


def bars_of(text):
    """[(label, in, in's bar, out, out's bar)] of the rows of one series."""
    row = re.compile(r"(\S+(?: \S+)*?)  +([\d,]+) ([#█▏▎▍▌▋▊▉]*) +([\d,]+) ?([#█▏▎▍▌▋▊▉]*)$")
    return [match.groups() for match in map(row.match, text.splitlines()) if match]


class statistics(with_all_kinds):
    def test_a_week_of_each_channel_is_what_was_sent(self):
        sent = sums(self.week)
        answer = self.answer("stats", "--day", "2023-11-14")
        self.assertEqual(answer["count"], 5)
        shown = {(group["channel_sid"], entry["date"]): [entry["sum_in"], entry["sum_out"]]
                 for group in answer["metadatalist"] if group["channel_sid"] != CHANNEL for entry in group["data"]}
        self.assertEqual(len(shown), 28)
        self.assertEqual({key: value for key, value in shown.items() if any(value)}, sent)

    def test_the_week_in_the_terminal(self):
        sent = sums(self.week)
        run = korvane("stats", "--day", "2023-11-14", "--skip", "1", environment={"LC_ALL": "C.UTF-8"})
        self.assert_ends(run, 0)
        self.assertEqual(run.stderr, "")
        *series, _ = run.stdout.split("\n\n")
        self.assertEqual(len(series), 4)
        for text, channel in zip(series, (OFFICE, SHOP, STAIRS, HALL)):
            week_in = sum(value[0] for key, value in sent.items() if key[0] == channel)
            week_out = sum(value[1] for key, value in sent.items() if key[0] == channel)
            self.assertTrue(text.startswith(f"channel {channel}: {week_in:,} in, {week_out:,} out\nDAY "), text)
            rows = bars_of(text)
            self.assertEqual([row[0] for row in rows], [
                "Wed 2023-11-08", "Thu 2023-11-09", "Fri 2023-11-10", "Sat 2023-11-11", "Sun 2023-11-12", "Mon 2023-11-13",
                "Tue 2023-11-14"])
            for label, went_in, in_bar, went_out, out_bar in rows:
                count = sent.get((channel, label.split()[1]), [0, 0])
                self.assertEqual([went_in, went_out], [f"{number:,}" for number in count])
                self.assertEqual([bool(in_bar), bool(out_bar)], [number > 0 for number in count])
        self.assertTrue(run.stdout.endswith("\neach day of the week to Tue 2023-11-14\n4 of 5 channels\n"))

    def test_bars_are_in_proportion_and_fit_the_terminal(self):
        for locale, letters in (("C", "#"), ("C.UTF-8", "█")):
            with self.subTest(locale):
                run = korvane("stats", "--day", "2023-11-14", "--channel", STAIRS, environment={"LC_ALL": locale})
                self.assertLessEqual(max(map(len, run.stdout.splitlines())), 80)
                rows = bars_of(run.stdout)
                greatest = max(int(number.replace(",", "")) for row in rows for number in (row[1], row[3]))
                longest = max(len(bar) for row in rows for bar in (row[2], row[4]))
                self.assertGreater(longest, 20)
                for row in rows:
                    for number, bar in ((row[1], row[2]), (row[3], row[4])):
                        self.assertAlmostEqual(len(bar), int(number.replace(",", "")) / greatest * longest, delta=1)
                        self.assertIn(letters, bar)

    def test_only_letters_of_the_locale(self):
        for environment in ({"LC_ALL": "C"}, {"LC_ALL": "no_SUCH.UTF-8"}):
            run = korvane("stats", "--day", "2023-11-14", environment=environment)
            self.assertTrue(run.stdout.isascii())
            self.assertIn(" ####", run.stdout)

    def test_bars_follow_the_width_of_the_terminal(self):
        def width(columns):
            terminal, program_side = pty.openpty()
            fcntl.ioctl(program_side, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
            shown = subprocess.Popen([PROGRAM, "stats", "--day", "2023-11-14", "--channel", STAIRS], stdout=program_side,
                                     env={**os.environ, "TZ": "UTC", "LC_ALL": "C"})
            os.close(program_side)
            text = b""
            try:
                while piece := os.read(terminal, 65536):
                    text += piece
            except OSError:  # the program's side is closed
                pass
            shown.wait(timeout=10)
            os.close(terminal)
            return max(map(len, text.decode().splitlines()))
        self.assertTrue(60 < width(72) <= 72)
        self.assertTrue(90 < width(100) <= 100)

    def test_the_hours_and_quarter_hours_of_a_channel(self):
        sent = sums(self.week)[(SHOP, "2023-11-14")]
        for kind, count, first, last in (("hour", 24, "00:00", "23:00"), ("15-min", 96, "00:00", "23:45")):
            with self.subTest(kind):
                run = korvane("stats", "--type", kind, "--day", "2023-11-14 15:00", "--channel", SHOP)
                self.assert_ends(run, 0)
                rows = bars_of(run.stdout)
                self.assertEqual(len(rows), count)
                self.assertEqual([rows[0][0], rows[-1][0]], [first, last])
                self.assertEqual([sum(int(row[1]) for row in rows), sum(int(row[3]) for row in rows)], sent)
                answer = self.answer("stats", "--type", kind, "--day", "2023-11-14", "--channel", SHOP)
                self.assertEqual([[str(entry["sum_in"]), str(entry["sum_out"])] for entry in answer["metadatalist"]],
                                 [[row[1], row[3]] for row in rows])

    def test_hours_are_local(self):
        run = korvane("stats", "--type", "hour", "--day", "2023-11-14", "--channel", OFFICE, environment={"TZ": "UTC-3"})
        utc = korvane("stats", "--type", "hour", "--day", "2023-11-14", "--channel", OFFICE)
        hour = {row[0]: row[1] for row in bars_of(run.stdout)}
        self.assertNotEqual(hour["11:00"], "0")
        self.assertEqual(hour["11:00"], {row[0]: row[1] for row in bars_of(utc.stdout)}["08:00"])

    def test_days_that_do_not_begin_at_midnight_say_when_they_begin(self):
        run = korvane("stats", "--day", "2023-11-06", "--channel", OFFICE, environment={"TZ": "EST5EDT,M3.2.0,M11.1.0"})
        labels = [row[0] for row in bars_of(run.stdout)]
        self.assertEqual(labels[0], "Tue 2023-10-31 01:00")
        self.assertEqual(labels[-1], "Mon 2023-11-06")

    def test_all_channels_by_the_hour_are_explained(self):
        run = korvane("stats", "--type", "hour", "--day", "2023-11-14", "--limit", "2", "--skip", "3")
        self.assert_ends(run, 0)
        self.assertTrue(run.stdout.startswith(f"group 4, begins in channel {CHANNEL}: "), run.stdout)
        self.assertIn(f"\ngroup 5, begins in channel {OFFICE}: ", run.stdout)
        self.assertIn("\n2 of 17 groups\nmore: --skip 5, or a higher --limit\nThese are seven hours each", run.stdout)
        self.assertIn("give --channel", run.stdout)

    def test_paging(self):
        channels = [[group["channel_sid"] for group in self.answer("stats", "--day", "2023-11-14", *page)["metadatalist"]]
                    for page in ([], ["--limit", "2"], ["--skip", "2", "--limit", "2"], ["--skip", "5"], ["--limit", "0"])]
        self.assertEqual(channels[0], [CHANNEL, OFFICE, SHOP, STAIRS, HALL])
        self.assertEqual(channels[1:], [channels[0][:2], channels[0][2:4], [], []])
        run = korvane("stats", "--day", "2023-11-14", "--limit", "2")
        self.assertTrue(run.stdout.endswith("2 of 5 channels\nmore: --skip 2, or a higher --limit\n"), run.stdout)

    def test_the_requests_that_options_make(self):
        def made(*arguments):
            run = korvane("stats", "--show-request", *arguments)
            self.assert_ends(run, 0)
            return json.loads(run.stdout)["metadata"]
        self.assertEqual(made("--day", "1700000000000"), {
            "function_name": "PeopleCounting", "query_type": "day", "start_time": "1700000000000", "skip": 0, "limit": 10})
        self.assertEqual(made("--type", "15-min", "--day", "2023-11-14", "--channel", CHANNEL), {
            "function_name": "PeopleCounting", "query_type": "15-min", "start_time": "1699920000000", "channel_sid": CHANNEL})

    def plot(self, *arguments):
        with tempfile.TemporaryDirectory() as folder:
            file = os.path.join(folder, "a.svg")
            run = korvane("stats", "--day", "2023-11-14", "--svg", file, *arguments)
            self.assert_ends(run, 0)
            self.assertIn(f"drawn in {file}\n", run.stdout)
            return xml.etree.ElementTree.parse(file).getroot()

    def test_the_plot_of_one_channel(self):
        svg = "{http://www.w3.org/2000/svg}"
        answer = self.answer("stats", "--type", "hour", "--day", "2023-11-14", "--channel", STAIRS)["metadatalist"]
        root = self.plot("--type", "hour", "--channel", STAIRS)
        texts = [node.text for node in root.iter(svg + "text")]
        for text in ("People counted", "each hour of Tue 2023-11-14", "in", "out", "people", "0", "08:00"):
            self.assertIn(text, texts)
        buckets = [node for node in root.iter(svg + "g") if node.get("class") == "bucket"]
        self.assertEqual(len(buckets), 24)
        greatest = max(max(entry["sum_in"], entry["sum_out"]) for entry in answer)
        tallest = max(float(bar.get("height")) for bucket in buckets for bar in bucket.iter(svg + "rect"))
        for bucket, entry in zip(buckets, answer):
            title = bucket.find(svg + "title").text
            self.assertTrue(title.endswith(f": {entry['sum_in']} in, {entry['sum_out']} out"), title)
            heights = [float(bar.get("height")) for bar in bucket.iter(svg + "rect")]
            for height, count in zip(heights, (entry["sum_in"], entry["sum_out"])):
                self.assertAlmostEqual(height, count / greatest * tallest, delta=0.1)

    def test_the_plot_of_a_week_stays_on_its_page(self):
        svg = "{http://www.w3.org/2000/svg}"
        root = self.plot()
        width, height = float(root.get("width")), float(root.get("height"))
        self.assertEqual(len([node for node in root.iter(svg + "g") if node.get("class") == "bucket"]), 35)
        for bar in list(root.iter(svg + "rect"))[1:]:  # the first is the page
            left, top = float(bar.get("x")), float(bar.get("y"))
            self.assertTrue(0 <= left and left + float(bar.get("width")) <= width)
            self.assertTrue(0 <= top and top + float(bar.get("height")) <= height)

    def test_a_plot_of_nothing(self):
        root = self.plot("--skip", "9")
        self.assertIn("nothing to draw", [node.text for node in root.iter("{http://www.w3.org/2000/svg}text")])

    def test_a_plot_that_cannot_be_written(self):
        run = korvane("stats", "--svg", "/no/such/folder/a.svg")
        self.assert_ends(run, 2)
        self.assertIn("cannot write /no/such/folder/a.svg: No such file or directory", run.stderr)


class delete_counts(with_all_kinds):
    def test_what_would_be_kept(self):
        for given in ("2023-11-16", "2023-11-16 23:59:59", "1700092800000"):
            run = korvane("delete-counts", given, "--dry-run")
            self.assert_ends(run, 0)
            self.assertTrue(run.stdout.startswith(
                "counts would be kept from 2023-11-10 00:00:00 on: six days before the day of 2023-11-16 "), run.stdout)
            self.assertTrue(run.stdout.endswith("; nothing was deleted\n"))

    def test_the_days_are_local(self):
        run = korvane("delete-counts", "1700092800000", "--dry-run", environment={"TZ": "UTC+3"})
        self.assertIn("kept from 2023-11-09 00:00:00 on: six days before the day of 2023-11-15 21:00:00", run.stdout)

    def test_it_deletes_what_the_dry_run_says(self):
        before = self.days()
        self.assert_ends(korvane("delete-counts", "2023-11-16", "--dry-run"), 0)
        self.assertEqual(self.days(), before)
        run = korvane("delete-counts", "2023-11-16")
        self.assert_ends(run, 0)
        self.assertEqual(run.stdout, "the store was asked to delete older counts; kept from 2023-11-10 00:00:00 on: six days "
                                     "before the day of 2023-11-16 00:00:00\n")
        self.assertEqual(self.days(), {key: value for key, value in before.items() if key >= "2023-11-10"})
        self.assertEqual(len(before) - len(self.days()), 2)

    def days(self):
        groups = self.answer("stats", "--day", "2023-11-14")["metadatalist"]
        return {entry["date"]: (entry["sum_in"], entry["sum_out"]) for group in groups if group["channel_sid"] == STAIRS
                for entry in group["data"] if entry["sum_in"]}


class made_up_counts(program_test):
    def test_the_same_seed_gives_the_same_week(self):
        week = made_counts("--until", "2023-11-14")
        self.assertEqual(made_counts("--until", "2023-11-14"), week)
        self.assertNotEqual(made_counts("--until", "2023-11-14", "--seed", "2"), week)

    def test_a_week_of_as_many_channels_as_asked_for(self):
        found = sums(made_counts("--until", "2024-03-01", "--channels", "6"))
        self.assertEqual(len({channel for channel, _ in found}), 6)
        self.assertEqual(sorted({day for _, day in found}), [
            "2024-02-24", "2024-02-25", "2024-02-26", "2024-02-27", "2024-02-28", "2024-02-29", "2024-03-01"])


class store_program(program_test):
    def test_a_port_that_cannot_be_is_told(self):
        run = subprocess.run([STORE, "--port", "99999"], capture_output=True, text=True, timeout=60)
        self.assertNotEqual(run.returncode, 0)
        self.assertIn("--port: Value 99999 not in range 0 to 65535", run.stdout + run.stderr)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])
