#!/usr/bin/env python3
"""What the built library shows to the outside: exported names, needed libraries, its own name.

Arguments: the library, the kind of session it was built with (carried or host), the sanitizers it was built with."""
import pathlib
import re
import subprocess
import sys
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]
LIBRARY, SESSION, SANITIZERS = sys.argv[1:4]

NEEDED = {"libjson-c.so", "libcurl.so", "libstdc++.so", "libgcc_s.so", "libm.so", "libc.so", "ld-linux-x86-64.so",
          "ld-linux-aarch64.so"}
if SANITIZERS:
    NEEDED |= {"libasan.so", "libubsan.so", "libtsan.so", "libpthread.so", "libdl.so", "librt.so", "libresolv.so"}


def lines_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()


def symbols(*options):
    """name -> kind"""
    return {line.split()[-1].split("@")[0]: line.split()[-2] for line in lines_of("nm", "-D", *options, LIBRARY)}


def dynamic_entries(tag):
    return [found[1] for line in lines_of("readelf", "-d", "--wide", LIBRARY)
            if (found := re.search(rf"\({tag}\).*\[(.*)\]", line))]


class LibraryTest(unittest.TestCase):
    maxDiff = None

    def test_exports_the_listed_names_and_no_other(self):
        listed = [line.split()[0] for line in (PROJECT / "abi/exported_names.txt").read_text().splitlines()
                  if line.startswith("_Z")]
        self.assertEqual(len(listed), len(set(listed)), "a name is listed twice")
        self.assertTrue(listed)
        self.assertEqual(sorted(symbols("--defined-only")), sorted(listed))

    def test_listed_names_are_what_stands_beside_them(self):
        for line in (PROJECT / "abi/exported_names.txt").read_text().splitlines():
            if line.startswith("_Z"):
                name, declaration = line.split(maxsplit=1)
                demangled = lines_of("c++filt", name)[0]
                function = re.sub(r"\(.*", "", demangled)
                self.assertIn(function + "(", declaration, name)

    def test_needs_json_c_libcurl_and_the_runtime_only(self):
        needed = {re.sub(r"\.so.*", ".so", name) for name in dynamic_entries("NEEDED")}
        self.assertEqual(needed - NEEDED, set())
        self.assertLessEqual({"libjson-c.so", "libcurl.so"}, needed)

    def test_is_named_with_its_major_version(self):
        self.assertEqual(dynamic_entries("SONAME"), ["libkorvane.so.0"])

    def test_has_no_search_path_of_its_own(self):
        self.assertEqual(dynamic_entries("RPATH") + dynamic_entries("RUNPATH"), [])

    def test_leaves_the_session_to_the_host_only_when_asked_to(self):
        missing = {name for name in symbols("--undefined-only") if "TTCPSession" in name}
        if SESSION == "host":
            self.assertLessEqual({"_ZN11TTCPSession10SendPacketEPhi", "_ZN11TTCPSession8ReadLineEPhi",
                                  "_ZN11TTCPSession10RecvPacketEPhib"}, missing)
        else:
            self.assertEqual(missing, set())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
