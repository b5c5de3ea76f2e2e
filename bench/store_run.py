#!/usr/bin/env python3
"""Times `korvane insert` of many reports through the real korvane-store, in turns with the same bodies posted by bare
calls, which is what the store takes (times in us a report; medians of the turns), and lists where the time of `korvane
insert` goes. Runs in the sandbox.

    tools/sandbox.sh bench/store_run.py BUILD_FOLDER OUT_FOLDER REPORTS"""
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import time

from tables import print_table, write_json

BUILD, OUT, REPORTS = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), int(sys.argv[3])
HOST, STORE, BENCH = (BUILD / "tools/korvane/korvane", BUILD / "tools/store/korvane-store", BUILD / "bench/store_bench")
TURNS = 10
TURN_REPORTS = REPORTS // TURNS
FEED = pathlib.Path("/tmp/reports.jsonl")


def start_store():
    store = subprocess.Popen([STORE, "--quiet"], stdout=subprocess.PIPE, text=True)
    if "listening" not in store.stdout.readline():
        sys.exit("store_run.py: the store did not start")
    return store


def usage_of(process):
    """Waits for the end of a process, which must be a good one, and gives what it and its children used."""
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"store_run.py: {process.args} ended with {process.returncode}")
    return usage


def one_turn(*command):
    """Seconds, and the client's and the store's times a report, of one command against a store of its own."""
    store = start_store()
    begin = time.monotonic()
    client = usage_of(subprocess.Popen([str(word) for word in command], stdout=subprocess.DEVNULL))
    seconds = time.monotonic() - begin
    store.terminate()
    server = usage_of(store)
    times = (seconds, client.ru_utime, client.ru_stime, server.ru_utime + server.ru_stime)
    return [one * 1e6 / TURN_REPORTS for one in times]


def row_of(name, turns, rival_turns):
    """The medians of a side's turns, and the quartiles of its rate as a multiple of the rival's in the same turn."""
    medians = [statistics.median(column) for column in zip(*turns)]
    ratios = [theirs[0] / ours[0] for ours, theirs in zip(turns, rival_turns)]
    first, ratio, third = statistics.quantiles(ratios, n=4, method="inclusive")
    return [name, round(1e6 / medians[0]), *medians, ratio, first, third]


def compare_rates():
    """All sides in turns, who begins changing each time: the machine's speed changes within minutes."""
    sides = {"korvane insert": (HOST, "insert", FEED)}
    for connections in (1, 2, 8):
        sides[f"bare calls, connections at a time: {connections}"] = (BENCH, "post", TURN_REPORTS, connections)
    turns = {name: [] for name in sides}
    order = list(sides)
    for turn in range(TURNS):
        print(f"turn {turn + 1} of {TURNS} ...", file=sys.stderr, flush=True)
        for name in order:
            turns[name].append(one_turn(*sides[name]))
        order.append(order.pop(0))
    heads = [f"{TURNS} x {TURN_REPORTS:,} reports of 1 person", "reports/s", "us a report", "client, user space",
             "client, kernel", "store", "rate / insert's", "1st quartile", "3rd quartile"]
    rows = [row_of(name, turns[name], turns["korvane insert"]) for name in sides]
    print_table(heads, rows)
    write_json(OUT / "store.json", heads, rows)


def list_functions():
    """The functions in which `korvane insert` spends its time in user space."""
    if not shutil.which("perf"):
        print("not listed where the time goes: perf is not installed (on Debian: apt-get install linux-perf)",
              file=sys.stderr)
        return
    samples = "/tmp/perf.data"
    store = start_store()
    recorded = subprocess.run(["perf", "record", "-q", "-e", "cpu-clock:u", "-F", "999", "-o", samples,
                               HOST, "insert", *[FEED] * TURNS], capture_output=True, text=True)
    store.terminate()
    store.wait()
    if recorded.returncode != 0:
        print(f"not listed where the time goes: perf cannot be used here: {recorded.stderr.strip()}", file=sys.stderr)
        return
    for name, keys in (("libraries", ["dso"]), ("functions", ["dso", "sym"])):
        listing = subprocess.run(["perf", "report", "-q", "--stdio", "-i", samples, "-F", ",".join(["overhead", *keys]),
                                  "-t", ";", "--percent-limit", "1"], capture_output=True, text=True, check=True).stdout
        heads = ["user space of korvane insert", "library", "function"][:1 + len(keys)]
        rows = [[cell.strip() for cell in line.split(";")[:len(heads)]] for line in listing.splitlines() if line]
        print_table(heads, rows)
        write_json(OUT / f"store_{name}.json", heads, rows)


if REPORTS % TURNS != 0:
    sys.exit(f"store_run.py: {REPORTS} reports; expected a multiple of {TURNS}")
print(f"writing {TURN_REPORTS:,} reports ...", file=sys.stderr, flush=True)
with FEED.open("w") as feed:
    subprocess.run([BENCH, "reports", str(TURN_REPORTS)], stdout=feed, check=True)
compare_rates()
list_functions()
