#!/usr/bin/env python3
"""Do the tests notice? Makes small edits to copies of the library's sources, one at a time, builds the library anew and
runs the tests, the fast ones first. An edit that all tests pass is a survivor: a missing test, or an edit that changes
nothing (equivalent.txt says why)."""
import argparse
import concurrent.futures
import filecmp
import json
import os
import pathlib
import queue
import random
import shutil
import subprocess
import sys
import time

import mutations

PROJECT = pathlib.Path(__file__).resolve().parents[2]
BUILD = PROJECT / "build" / "mutation"
SUITES = ["codec", "util", "wire", "dispatch", "transport", "log_line", "file_lock", "log", "log_writers", "request_faults",
          "log_faults", "reliability_host", "allocation", "hostile"]
HOST_SUITES = ["host_session"]  # of a library whose host supplies the session
TEST_LIMIT_S = 120
LEAST_NOTICED = 0.95


def copy_project(target):
    """The project's files, those that git does not know yet too; a file that is the same keeps its time."""
    listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=PROJECT,
                            check=True, capture_output=True, text=True).stdout
    for name in filter(None, listed.split("\0")):
        source, copy = PROJECT / name, target / name
        if source.is_file() and not (copy.is_file() and filecmp.cmp(source, copy, shallow=False)):
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(source, copy)
            shutil.copymode(source, copy)


class Build:
    """The library built in one way, and the test programs that judge it, the fast ones first."""

    def __init__(self, source, name, options, suites):
        self.source = source
        self.folder = source / name
        self.options = options
        self.suites = suites

    def prepare(self):
        configure = ["cmake", "-S", str(self.source), "-B", str(self.folder), "-G", "Ninja", "-DKORVANE_TOOLS=OFF",
                     "-DCMAKE_BUILD_TYPE=None", "-DCMAKE_CXX_FLAGS=-O1 -g0", "-DKORVANE_WERROR=OFF", *self.options]
        for command in (configure, ["ninja", "-C", str(self.folder), "-j", "1"]):
            done = subprocess.run(command, capture_output=True, text=True)
            if done.returncode != 0:
                sys.exit(done.stdout + done.stderr)
        self.programs = []
        for suite in self.suites:
            found = list(self.folder.glob(f"tests/*/{suite}_test"))
            if len(found) != 1:
                sys.exit(f"{len(found)} programs of the suite {suite} in {self.folder}")
            self.programs += found
        failed = self.failing_test()
        if failed:
            sys.exit(f"the tests fail without any edit: {failed}")

    def compiles(self):
        return subprocess.run(["ninja", "-C", str(self.folder), "-j", "1", "libkorvane.so.0"],
                              capture_output=True).returncode == 0

    def failing_test(self):
        """The first test program that fails, twice: one that is merely late on a busy machine is not meant. None when
        all pass."""
        for program in self.programs:
            complaint = self.complaint_of(program)
            if complaint and self.complaint_of(program):
                return complaint
        return None

    def complaint_of(self, program):
        try:
            done = subprocess.run([str(PROJECT / "tools" / "sandbox.sh"), str(program), "--gtest_fail_fast",
                                   "--gtest_brief=1"], capture_output=True, timeout=TEST_LIMIT_S,
                                  env={**os.environ, "KORVANE_SANDBOX_BIND": str(self.source)})
        except subprocess.TimeoutExpired:
            return f"{program.name} (no end)"
        return program.name if done.returncode != 0 else None


class Workshop:
    """A copy of the project, built once in each way, in which one edit at a time is made."""

    def __init__(self, number):
        self.source = BUILD / f"copy{number}"
        self.builds = [Build(self.source, "build", [], SUITES),
                       Build(self.source, "build-host", ["-DKORVANE_SESSION=host"], HOST_SUITES)]

    def prepare(self):
        copy_project(self.source)
        for build in self.builds:
            build.prepare()

    def try_out(self, mutation):
        """'does not compile', 'survived', or the test that noticed."""
        path, original = mutations.apply(self.source, mutation)
        try:
            for build in self.builds:
                if not build.compiles():
                    return "does not compile"
                failed = build.failing_test()
                if failed:
                    return failed
            return "survived"
        finally:
            path.write_text(original, encoding="utf-8")


def read_equivalents():
    """{(file, line's text, edited text): reason}; the file says its form."""
    equivalents = {}
    lines = (pathlib.Path(__file__).parent / "equivalent.txt").read_text(encoding="utf-8").splitlines()
    entries = [line for line in lines if line.strip() and not line.startswith("#")]
    for place, before, after, reason in zip(*[iter(entries)] * 4):
        equivalents[place.strip(), before.strip(), after.strip()] = reason.strip()
    return equivalents


def key_of(mutation):
    return mutation.file, mutation.before, mutation.after or "(dropped)"


def run(chosen, wanted, workers):
    workshops = queue.Queue()
    for number in range(workers):
        workshops.put(Workshop(number))
    with concurrent.futures.ThreadPoolExecutor(workers) as pool:
        print(f"building {workers} copies in {BUILD.relative_to(PROJECT)}", flush=True)
        list(pool.map(Workshop.prepare, list(workshops.queue)))
        results = []
        started = time.monotonic()

        def try_one(mutation):
            if sum(result != "does not compile" for _, result in results) >= wanted:
                return
            workshop = workshops.get()
            try:
                results.append((mutation, workshop.try_out(mutation)))
            finally:
                workshops.put(workshop)
            counted = [result for _, result in results if result != "does not compile"]
            survived = counted.count("survived")
            print(f"\r{len(counted)} of {wanted} edits, {survived} survived, "
                  f"{time.monotonic() - started:.0f} s ", end="", flush=True)
            if results[-1][1] == "survived":
                print(f"\nsurvived: {results[-1][0].text()}", flush=True)

        list(pool.map(try_one, chosen))
    print()
    return results


def report(results, again):
    equivalents = read_equivalents()
    counted = [(mutation, result) for mutation, result in results if result != "does not compile"]
    survivors = [mutation for mutation, result in counted if result == "survived"]
    unexplained = [mutation for mutation in survivors if key_of(mutation) not in equivalents]
    (BUILD / "results.json").write_text(json.dumps(
        [{"edit": mutation.text(), "key": key_of(mutation), "result": result} for mutation, result in results], indent=1),
        encoding="utf-8")
    noticed = (len(counted) - len(survivors)) / max(len(counted), 1)
    print(f"{len(counted)} edits: {len(counted) - len(survivors)} noticed ({noticed:.1%}), {len(survivors)} survived, "
          f"{len(unexplained)} of them without a reason in equivalent.txt")
    by_test = {}
    for _, result in counted:
        by_test[result] = by_test.get(result, 0) + 1
    for name, count in sorted(by_test.items(), key=lambda item: -item[1]):
        print(f"  {count:4d}  {name}")
    for mutation in unexplained:
        print(f"no reason: {mutation.text()}")
    if not again and noticed < LEAST_NOTICED:
        print(f"fewer than {LEAST_NOTICED:.0%} are noticed")
        return 1
    return 1 if unexplained else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("count", nargs="?", type=int, default=250, help="edits to try (250)")
    parser.add_argument("--seed", type=int, default=1, help="which edits: the same seed gives the same (1)")
    parser.add_argument("--list", action="store_true", help="only print the edits that would be tried")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 1)
    parser.add_argument("--only", default="", metavar="TEXT", help="only edits whose description has this text")
    parser.add_argument("--again", metavar="RESULTS", type=pathlib.Path,
                        help="only the edits that survived an earlier run: its build/mutation/results.json")
    arguments = parser.parse_args()
    possible = [mutation for mutation in mutations.all_mutations(PROJECT) if arguments.only in mutation.text()]
    random.Random(arguments.seed).shuffle(possible)
    if arguments.again:
        survived = {json.dumps(entry["key"]) for entry in json.loads(arguments.again.read_text(encoding="utf-8"))
                    if entry["result"] == "survived"}
        possible = [mutation for mutation in possible if json.dumps(key_of(mutation)) in survived]
    print(f"{len(possible)} edits are possible", flush=True)
    if arguments.list:
        for mutation in possible[:arguments.count]:
            print(mutation.text())
        return 0
    BUILD.mkdir(parents=True, exist_ok=True)
    return report(run(possible, min(arguments.count, len(possible)), arguments.jobs), again=arguments.again)


if __name__ == "__main__":
    sys.exit(main())
