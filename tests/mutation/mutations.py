"""The small edits that the mutation check makes to the library's sources, one at a time."""
import dataclasses
import pathlib
import re

FOLDERS = ("dispatch", "store", "codec", "util", "log", "platform")

# (name, what it finds in a line of code, what it puts there). Operators stand between blanks, so that template
# brackets, pointers and references are left alone.
REPLACEMENTS = [
    ("bound", r" < ", " <= "),
    ("bound", r" <= ", " < "),
    ("bound", r" > ", " >= "),
    ("bound", r" >= ", " > "),
    ("comparison", r" == ", " != "),
    ("comparison", r" != ", " == "),
    ("logic", r" && ", " || "),
    ("logic", r" \|\| ", " && "),
    ("arithmetic", r" \+ ", " - "),
    ("arithmetic", r" - ", " + "),
    ("arithmetic", r" \* ", " + "),
    ("arithmetic", r" % ", " / "),
    ("arithmetic", r" / ", " * "),
    ("increment", r" \+= ", " -= "),
    ("increment", r" -= ", " += "),
    ("increment", r"\+\+(?=\w)", "--"),
    ("sign", r"(?<=[(,=] )-(?=\d)|(?<=\()-(?=\d)|(?<=return )-(?=\d)", ""),
    ("truth", r"\btrue\b", "false"),
    ("truth", r"\bfalse\b", "true"),
    ("negation", r"(?<=if \()(?=[\w!][^;{]*\) \{$)", "!/**/"),
    ("exit", r"\bbreak;", ";"),
    ("exit", r"\bcontinue;", ";"),
]
NUMBER = re.compile(r"(?<![\w.'])(0x[0-9A-Fa-f]+|\d[\d']*)(?=[uUlL]*\b)(?![.\w'])")
TEXT = re.compile(r'"((?:\\.|[^"\\])*)"')
STATEMENT = re.compile(r"^\s+[a-z_][\w.>-]*(?:<[\w ]+>)?\(.*\);$")
ASSIGNMENT = re.compile(r"^\s+[a-z_][\w.>\[\]-]* = .*;$")
UNSEEN = re.compile(r"\breserve\(|\bva_end\(")  # memory taken in steps instead, nothing on today's machines: no test could tell
NO_CODE = re.compile(r"^\s*(#|//|static_assert|constexpr char base|using |namespace |} // )|static_assert|__builtin_expect")


@dataclasses.dataclass(frozen=True)
class Mutation:
    file: str
    line: int  # from 1
    kind: str
    before: str  # the line as it is, without blanks around
    after: str

    def text(self):
        return f"{self.file}:{self.line}: {self.kind}: {self.before}  =>  {self.after or '(dropped)'}"


def code_of(line):
    """The line's code: its texts and its comment blanked out, so that offsets stay."""
    line = TEXT.sub(lambda found: '"' + "\0" * (len(found.group()) - 2) + '"', line)
    comment = line.find("//")
    return line if comment < 0 else line[:comment] + " " * (len(line) - comment)


def edits_of(line):
    """(kind, edited line) for each edit that a line allows."""
    code = code_of(line)
    for kind, pattern, replacement in REPLACEMENTS:
        for found in re.finditer(pattern, code):
            edited = line[:found.start()] + replacement + line[found.end():]
            if kind == "negation":
                end = line.rindex(") {")
                edited = line[:found.start()] + "!(" + line[found.start():end] + ")" + line[end:]
            yield kind, edited
    for found in NUMBER.finditer(code):
        digits = found.group().replace("'", "")
        base = 16 if digits.startswith("0x") else 8 if digits.startswith("0") else 10
        yield "number", line[:found.start()] + str(int(digits, base) + 1) + line[found.end():]
    for found in TEXT.finditer(line):
        inner = found.group(1)
        letters = re.search(r"(?<![\\%\w])[A-Za-z_]", inner)
        if letters and code[found.start()] == '"':
            at = found.start() + 1 + letters.start()
            yield "text", line[:at] + "~" + line[at + 1:]
    if (STATEMENT.match(line) or ASSIGNMENT.match(line)) and not UNSEEN.search(line):
        yield "drop", ""


def swaps_of(lines, index):
    """Two neighbouring calls of the same function, the other way round."""
    if index + 1 < len(lines) and STATEMENT.match(lines[index]) and STATEMENT.match(lines[index + 1]):
        first, second = (re.match(r"\s+([\w.>-]+)", line).group(1) for line in lines[index:index + 2])
        same_object = first.split(".")[0].split("(")[0] == second.split(".")[0].split("(")[0]
        return same_object and lines[index] != lines[index + 1]
    return False


def mutations_of(root, path):
    lines = (root / path).read_text(encoding="utf-8").split("\n")
    for index, line in enumerate(lines):
        if not line.strip() or NO_CODE.search(line):
            continue
        for kind, edited in edits_of(line):
            yield Mutation(str(path), index + 1, kind, line.strip(), edited.strip())
        if swaps_of(lines, index):
            yield Mutation(str(path), index + 1, "swap", line.strip(), lines[index + 1].strip())


def all_mutations(root):
    root = pathlib.Path(root)
    files = sorted(path.relative_to(root) for folder in FOLDERS for path in (root / folder).rglob("*")
                   if path.suffix in {".h", ".cpp"} and path.name != "record_layout.cpp")
    return [mutation for path in files for mutation in mutations_of(root, path)]


def apply(root, mutation):
    """Makes the edit; returns the file and its text as it was."""
    path = pathlib.Path(root) / mutation.file
    original = path.read_text(encoding="utf-8")
    lines = original.split("\n")
    at = mutation.line - 1
    if mutation.kind == "swap":
        lines[at], lines[at + 1] = lines[at + 1], lines[at]
    else:
        indent = lines[at][:len(lines[at]) - len(lines[at].lstrip())]
        lines[at] = indent + mutation.after if mutation.after else ""
    path.write_text("\n".join(lines), encoding="utf-8")
    return path, original
