#!/usr/bin/env python3
"""Layers, banned functions and plain ASCII in the project's sources."""
import pathlib
import re
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]

# Each folder of the library and those it may include from. Everyone may include <korvane/...>.
LAYERS = {
    "dispatch": {"store", "codec", "util", "log", "platform"},
    "store": {"codec", "util", "log", "platform"},
    "codec": {"util", "log", "platform"},
    "util": {"log", "platform"},
    "log": {"platform"},
    "platform": set(),
}

# What is not to be called in the library, and what is instead.
BANNED = {
    r"\bsprintf\s*\(": "std::snprintf, or work_area",
    r"\bvsprintf\s*\(": "std::vsnprintf",
    r"\bstrn?cpy\s*\(": "abort_if_long or cut (util/fixed_text.h): say what happens to a text that does not fit",
    r"\bstrn?cat\s*\(": "work_area (util/work_area.h)",
    r"\bato(i|l|ll|f)\s*\(": "std::strtoll, or json_text_number (util/json_members.h)",
    r"\bgets\s*\(": "std::fgets",
    r"\bgmtime\s*\(": "gmtime_r: the result of gmtime is shared by all threads",
    r"\blocaltime\s*\(": "korvane::local_time (platform/local_time.h): the result of localtime is shared by all threads",
    r"\b(as)?ctime\s*\(": "std::strftime",
    r"\bstrtok\s*\(": "std::string_view::find: strtok keeps state that is shared by all threads",
    r"\bs?rand\s*\(": "the <random> header",
    r"\bsystem\s*\(": "nothing: the library starts no process",
    r"\bstd::regex\b": "std::string_view::find: std::regex is slow and recurses with the text's length",
    r"\bsetlocale\s*\(|\bsetenv\s*\(|\bputenv\s*\(": "nothing: the process belongs to the host",
    r"\bstd::(cout|cerr|clog)\b": "korvane::log_debug (log/korvane_log.h)",
}

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(["<])([^">]+)[">]', re.MULTILINE)
NOT_CODE = re.compile(
    r'//[^\n]*|/\*.*?\*/|R"(?P<mark>\w*)\(.*?\)(?P=mark)"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'', re.DOTALL)


def sources(*folders):
    found = [path for folder in folders for path in sorted((PROJECT / folder).rglob("*"))
             if path.suffix in {".h", ".cpp"}]
    return [(path.relative_to(PROJECT), path.read_text(encoding="utf-8")) for path in found]


def place(path, text, at):
    return f"{path}:{text.count(chr(10), 0, at) + 1}"


def without_comments_and_texts(text):
    return NOT_CODE.sub(lambda found: re.sub(r"[^\n]", " ", found.group()), text)


class SourcesTest(unittest.TestCase):
    maxDiff = None

    def assert_none(self, complaints):
        if complaints:
            self.fail("\n" + "\n".join(complaints))

    def test_every_folder_of_the_library_has_sources(self):
        for folder in LAYERS:
            self.assertTrue(sources(folder), f"{folder}/ is missing or empty: the tests below would look at nothing")

    def test_includes_between_the_librarys_folders_point_one_way(self):
        complaints = []
        for path, text in sources(*LAYERS):
            here = path.parts[0]
            for found in INCLUDE.finditer(text):
                there = found[2].split("/")[0]
                if there in LAYERS and there != here and there not in LAYERS[here]:
                    allowed = ", ".join(sorted(LAYERS[here])) or "nothing"
                    complaints.append(f"{place(path, text, found.start())}: {here}/ includes {found[2]}; "
                                      f"it may include {allowed}")
        self.assert_none(complaints)

    def test_the_librarys_own_headers_are_named_from_the_root(self):
        complaints = []
        for path, text in sources(*LAYERS):
            for found in INCLUDE.finditer(text):
                if found[1] == '"' and not (PROJECT / found[2]).is_file():
                    complaints.append(f'{place(path, text, found.start())}: no file "{found[2]}" below the root')
        self.assert_none(complaints)

    def test_tools_and_public_headers_know_only_the_public_headers(self):
        complaints = []
        for path, text in sources("tools", "examples", "include"):
            for found in INCLUDE.finditer(text):
                parts = [part for part in found[2].split("/") if part != ".."]
                if parts[0] in LAYERS and not (path.parent / found[2]).is_file():
                    complaints.append(f"{place(path, text, found.start())}: {found[2]} belongs to the library's inside; "
                                      "use <korvane/...>")
        self.assert_none(complaints)

    def test_the_library_calls_no_banned_function(self):
        complaints = []
        for path, text in sources("include", *LAYERS):
            code = without_comments_and_texts(text)
            for pattern, instead in BANNED.items():
                for found in re.finditer(pattern, code):
                    complaints.append(f"{place(path, code, found.start())}: {found.group().rstrip('( ')} is banned; "
                                      f"instead: {instead}")
        self.assert_none(complaints)

    def test_sources_are_ascii(self):
        complaints = []
        # But for the tests, whose data may be texts as people write them.
        for path, text in sources("include", "tools", "examples", "bench", "fuzz", *LAYERS):
            for found in re.finditer(r"[^\x00-\x7f]", text):
                complaints.append(f"{place(path, text, found.start())}: {found.group()!r}")
        self.assert_none(complaints)

    def test_sources_have_no_tabs_and_no_trailing_blanks(self):
        complaints = []
        for path, text in sources("include", "tools", "examples", "tests", "bench", "fuzz", *LAYERS):
            for found in re.finditer(r"[\t\r]|[ ]+$", text, re.MULTILINE):
                complaints.append(f"{place(path, text, found.start())}: {found.group()!r}")
        self.assert_none(complaints)

    def test_every_source_of_the_library_is_built(self):
        listed = set(re.findall(r"\b[\w/]+\.cpp\b", (PROJECT / "cmake/libkorvane.cmake").read_text()))
        there = {str(path) for path, _ in sources(*LAYERS) if path.suffix == ".cpp"}
        self.assertEqual(sorted(there - listed), [], "not listed in cmake/libkorvane.cmake")


class ScannerTest(unittest.TestCase):
    """The scanner itself: a check that never fires would look like a clean tree."""

    def test_comments_and_texts_are_not_code(self):
        code = without_comments_and_texts('a; // sprintf(\n/* atoi(\n*/ b("gets(", \'"\', R"(rand( ")") + system(1);\n')
        self.assertEqual(code.split(), ["a;", "b(", ",", ",", ")", "+", "system(1);"])
        self.assertEqual(code.count("\n"), 3)

    def test_every_banned_pattern_fires(self):
        for call in ("sprintf(", "vsprintf (", "strcpy(", "strncpy(", "strcat(", "atoi(", "atol(", "atoll(", "atof(",
                     "gets(", "gmtime(", "std::localtime(", "ctime(", "asctime(", "strtok(", "rand(", "srand(", "system(",
                     "std::regex ", "setlocale(", "setenv(", "std::cerr "):
            self.assertTrue(any(re.search(pattern, call) for pattern in BANNED), call)

    def test_the_safe_relatives_do_not_fire(self):
        for call in ("snprintf(", "vsnprintf(", "fgets(", "gmtime_r(", "localtime_r(", "strtok_r(", "strtoll(",
                     "operand(", "file_system(", "strnlen("):
            self.assertFalse(any(re.search(pattern, call) for pattern in BANNED), call)


if __name__ == "__main__":
    unittest.main()
