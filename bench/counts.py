#!/usr/bin/env python3
"""Counts the system calls (strace) and the instructions in user space (callgrind) of single calls: of the library's and
of those that stand beside them. Runs in the sandbox.

    tools/sandbox.sh bench/counts.py ONE_CALL OUT_FOLDER RUNS

Instructions are the median of so many runs: json-c seeds its hashes anew in each, which makes about 1 % of difference.
What is not installed is left out, with a line that says so. The files of both tools stay in the folder."""
import pathlib
import re
import shutil
import statistics
import subprocess
import sys

from tables import print_table, write_json

PROGRAM, OUT, RUNS = sys.argv[1], pathlib.Path(sys.argv[2]), int(sys.argv[3])

# What is counted, the two works of one_call, their COUNT, and which calls.
SYSTEM_CALLS = [
    ("insert of 1 record, all calls", "insert", "insert-by-hand", 1, ""),
    ("query of 1,000 records, all calls", "query", "query-by-json-c", 1000, ""),
    ("log line, all calls", "log", "log-by-hand", 1, ""),
    ("query of 10,000 records, recv; by hand: in chunks of 1,023 bytes", "query", "query-by-chunks", 10000, "recv"),
]

INSTRUCTIONS = [
    ("insert of 1 record", "insert", "insert-by-hand", 1),
    ("insert of 100 records", "insert", "insert-by-hand", 100),
    ("query of 10 records", "query", "query-by-json-c", 10),
    ("query of 1,000 records", "query", "query-by-json-c", 1000),
]


def run(*command):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(f"counts.py: {' '.join(map(str, command))} ended with {done.returncode}:\n{done.stderr}")


def system_calls(work, count):
    """The lines of strace between the two that one_call writes, in short."""
    trace = OUT / f"{work}-{count}.strace"
    run("strace", "-s", "48", "-o", trace, PROGRAM, work, count)
    lines = trace.read_text().splitlines()
    marks = [at for at, line in enumerate(lines) if '"measured call ' in line]
    return lines[marks[0] + 1:marks[1]]


def instructions(work, count):
    listing = OUT / f"{work}-{count}.callgrind"
    run("valgrind", "--tool=callgrind", "--toggle-collect=measured_call", f"--callgrind-out-file={listing}",
        PROGRAM, work, count)
    return int(re.search(r"^(?:summary|totals): (\d+)", listing.read_text(), re.MULTILINE)[1])


def count_system_calls():
    rows = []
    for name, library, rival, count, which in SYSTEM_CALLS:
        counts = [sum(line.startswith(which) for line in system_calls(work, count)) for work in (library, rival)]
        rows.append([name, *counts, counts[0] / counts[1]])
    heads = ["system calls", "library", "by hand", "ratio"]
    print_table(heads, rows)
    write_json(OUT / "system_calls.json", heads, rows)
    print("\nOne insert of one record by the library:\n")
    print("\n".join("    " + line for line in system_calls("insert", 1)))


def count_instructions():
    rows = []
    for name, library, rival, count in INSTRUCTIONS:
        counts = [statistics.median_low(instructions(work, count) for _ in range(RUNS)) // count
                  for work in (library, rival)]
        rows.append([name, *counts, counts[0] / counts[1]])
    heads = ["instructions a record", "library", "by hand", "ratio"]
    print_table(heads, rows)
    write_json(OUT / "instructions.json", heads, rows)


for tool, count_all in (("strace", count_system_calls), ("valgrind", count_instructions)):
    if shutil.which(tool):
        count_all()
    else:
        print(f"not counted: {tool} is not installed (apt-get install {tool})", file=sys.stderr)
