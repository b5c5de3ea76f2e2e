#!/usr/bin/env python3
"""Times `korvane insert` of many reports through the real korvane-store, beside what the store takes of the same bodies
posted by bare calls (times in us a report), and lists where the time of `korvane insert` goes. Runs in the sandbox.

    tools/sandbox.sh bench/store_run.py BUILD_FOLDER OUT_FOLDER REPORTS"""
import os
import pathlib
import shutil
import subprocess
import sys
import time

from tables import print_table, write_json

BUILD, OUT, REPORTS = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), int(sys.argv[3])
HOST, STORE, BENCH = (BUILD / "tools/korvane/korvane", BUILD / "tools/store/korvane-store", BUILD / "bench/store_bench")
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


def timed(name, *command):
    """One run against a store of its own, as a row."""
    print(f"\n{name} ...", flush=True)
    store = start_store()
    begin = time.monotonic()
    client = usage_of(subprocess.Popen([str(word) for word in command]))
    seconds = time.monotonic() - begin
    store.terminate()
    server = usage_of(store)
    times = (seconds, client.ru_utime, client.ru_stime, server.ru_utime + server.ru_stime)
    return [name, round(REPORTS / seconds), *(one * 1e6 / REPORTS for one in times)]


def list_functions():
    """The functions in which `korvane insert` spends its time in user space."""
    if not shutil.which("perf"):
        print("not listed where the time goes: perf is not installed (on Debian: apt-get install linux-perf)",
              file=sys.stderr)
        return
    samples = "/tmp/perf.data"
    store = start_store()
    recorded = subprocess.run(["perf", "record", "-q", "-e", "cpu-clock:u", "-F", "999", "-o", samples,
                               HOST, "insert", FEED], capture_output=True, text=True)
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


print(f"writing {REPORTS:,} reports ...", flush=True)
with FEED.open("w") as feed:
    subprocess.run([BENCH, "reports", str(REPORTS)], stdout=feed, check=True)
ROWS = [timed("korvane insert", HOST, "insert", FEED)]
for connections in (1, 2, 8):
    ROWS.append(timed(f"bare calls, connections at a time: {connections}", BENCH, "post", REPORTS, connections))
HEADS = [f"{REPORTS:,} reports of 1 person", "reports/s", "us a report", "client, user space", "client, kernel",
         "store"]
print_table(HEADS, ROWS)
write_json(OUT / "store.json", HEADS, ROWS)
list_functions()
