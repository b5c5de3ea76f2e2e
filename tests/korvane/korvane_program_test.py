"""Drives the built korvane program and checks what it prints and how it ends.

    tools/sandbox.sh python3 tests/korvane/korvane_program_test.py KORVANE KORVANE_STORE EXAMPLES [unittest arguments]

Binds port 10158 and reads /Vdbglog, so it runs in the sandbox only.
"""

import copy
import json
import os
import pty
import re
import select
import signal
import socket
import subprocess
import sys
import tempfile
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

    def assert_totals(self, run, stored, refused, fatal):
        total = stored + refused + fatal
        wanted = f"{total} report{'' if total == 1 else 's'}: {stored} stored, {refused} refused, {fatal} fatal, in "
        self.assertIn(wanted, run.stdout)


class help_and_usage(program_test):
    def test_help_has_examples_and_exit_statuses(self):
        for arguments in (["--help"], ["insert", "--help"], ["query", "--help"]):
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
            (["query", "--kind", "Cats"], "Cats not in {HumanDetection}"),
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
        self.assert_totals(run, 0, 1, 0)
        self.assertIn("report 1 refused: 0xFFFFFFFF (-1) no_reply", run.stdout)
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
        self.assert_totals(run, 0, 5, 0)
        self.assertEqual(run.stderr.count("nothing listens"), 1)

    def test_a_report_that_needs_no_store_is_judged_without_one(self):
        run = korvane("insert", "-", stdin=lines(of_kind("Cats")))
        self.assert_ends(run, 1)
        self.assertEqual(run.stderr, "")

    def test_query(self):
        run = korvane("query")
        self.assert_ends(run, 3)
        self.assertIn("nothing listens on 127.0.0.1:10158", run.stderr)
        self.assertEqual(run.stdout, "")


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
        self.assert_totals(run, 0, 3, 0)
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


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])
