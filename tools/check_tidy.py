#!/usr/bin/env python3
"""Finds unused declarations, long functions and files, and suites without documentation.

Prints one line a finding; the exit code is 1 if there is any.

- Unused declarations: functions, types and constants in a header of src whose name appears in src only where it is
  declared and defined, whether or not tests use it. Only names are compared: a use of another thing with the same name
  hides a finding.
- Functions of more than 70 lines, files of more than 500.
- A thread_local with a destructor, where Windows gets it: g++ frees it there before it is destroyed.
- Test suites without a row in the table of docs/testing.md, and rows without a suite.

ALLOWED and OPEN, below, hold the exceptions.

    check_tidy.py [root of the repository]
"""

import ast
import re
import sys
from collections import Counter
from pathlib import Path

MAX_FUNCTION_LINES = 70
MAX_FILE_LINES = 500

# Exceptions, each with its reason: a declared name, a header with all its declarations, a long function, or a long file.
# A row without a finding is a finding itself.
ALLOWED = {
    "src/platform/simulated/SimulatedPc.h": "the control of the simulated PC, for tests and benchmarks",
    "src/platform/simulated/wmi/SimulatedCom.h": "a test's apartment, and what sessions leave behind in it",
    "src/ui/controls/SpeedGauge.h": "of the toolkit; no page has a place for it yet",
    "assemble": "of the Windows kit: copies, one after the other; each change of the recipe builds the kit anew",
    "closeLogging": "a test closes the log before it takes the directory away",
    "enforcementFile": "Paths names all files of the program; the licence layer has this one",
    "isCurrentlyApplied": "the engine trusts state.db; a test compares the system with what a tweak wants",
    "loginWindow": "the window that tests use as a person would",
    "mainWindow": "as loginWindow",
    "setBootContext": "a hook for commands that run for another user; nothing does that yet",
    "setClock": "a test's clock",
    "setCommitObserver": "how a test stops at a commit",
    "setDataDirOverride": "a test's data directory",
    "setLockTimeouts": "a test doesn't wait for seconds",
    "setLongestWait": "as setLockTimeouts",
    "setHkcuUserSid": "as setBootContext, for the registry",
    "navigationGroups": "a table",
    "sheetTemplate": "a text",
}

# Known findings that wait for their fix: printed, but no failure.
OPEN = {
    "QBoxLayout": "declared in Sidebar.h",
    "src/measure/SpeedTester.h": "for a page that measures the line",
    "src/net/ApiClient.h": "for an account on a server",
    "scrollBarStyle": "for a page that has a style sheet of its own",
}

# Where lengths are checked.
MEASURED = ("src", "tests", "bench", "fuzz", "tools")
CODE = {".h", ".cpp", ".in"}
SCRIPTS = {".py", ".sh", ".cmake"}
USERS = ("tests", "bench", "fuzz", "tools")

PAGE = Path("docs", "testing.md")

IDENTIFIER = re.compile(r"[A-Za-z_]\w*")
TEXT_OR_COMMENT = re.compile(
    r'//[^\n]*|/\*.*?\*/|R"(?P<mark>\w*)\(.*?\)(?P=mark)"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'', re.DOTALL
)
PREPROCESSOR = re.compile(r"^[ \t]*#(?:[^\n\\]|\\.|\\\n)*", re.MULTILINE)
DECLARING_MACRO = re.compile(r"\bQ_(?:OBJECT|GADGET|PROPERTY|ENUM|FLAG|DISABLE_COPY\w*|DECLARE_\w+)\b(?:\([^)]*\))?;?")
ACCESS = re.compile(r"\b(?:public|protected|private|Q_SIGNALS|Q_SLOTS)(?:\s+Q_SLOTS)?\s*:(?!:)")
TYPE = re.compile(r"\b(?:class|struct|union|enum(?:\s+class)?)\s+(?:\[\[\w+\]\]\s*)?(\w+)")
PLAIN_ENUM = re.compile(r"\benum\s+(?!class\b)\w")  # Its enumerators are used without it.
ALIAS = re.compile(r"\busing\s+(\w+)\s*=")
FUNCTION = re.compile(r"(~?\b[A-Za-z_]\w*)\s*\(")
CONSTANT = re.compile(r"\b(?:constexpr|inline\s+const)\b[^=(]*\b(\w+)\s*(?:=|\{)")
NO_FUNCTIONS = {"void", "decltype", "sizeof", "alignas", "noexcept", "requires", "static_assert", "explicit", "operator"}


def plain(text):
    """The text with comments, literals and directives blanked, line for line."""

    def blank(match):
        return re.sub(r"[^\n]", " ", match.group(0))

    return PREPROCESSOR.sub(blank, TEXT_OR_COMMENT.sub(blank, text))


def files_below(root, folders, suffixes):
    for folder in folders:
        yield from sorted(p for p in (root / folder).rglob("*") if p.suffix in suffixes and p.is_file())


def statements(text):
    """The statements of namespaces and types, with their positions: declarations, and definitions up to their bodies."""
    scopes, begin, position = [], 0, 0
    while position < len(text):
        character = text[position]
        if character in ";{}":
            statement = text[begin:position]
            if character == "}":
                if scopes:
                    scopes.pop()
            else:
                if statement.strip():
                    yield begin + len(statement) - len(statement.lstrip()), statement
                if character == "{":
                    if re.search(r"\bnamespace\b", statement) or (TYPE.search(statement) and "(" not in statement):
                        if not re.search(r"\benum\b", statement):
                            scopes.append(statement)
                        else:
                            position = text.find("}", position)
                    else:
                        position = end_of_body(text, position)
            begin = position + 1
        position += 1


def end_of_body(text, position):
    depth = 0
    for brace in re.finditer(r"[{}]", text[position:]):
        depth += 1 if brace.group(0) == "{" else -1
        if depth == 0:
            return position + brace.start()
    return len(text)


def declared_name(statement):
    """The name that a statement of a header declares, and its position there; None for nothing that counts."""
    head = statement.split("=")[0] if "operator" not in statement else ""
    for pattern in (ALIAS, CONSTANT):
        found = pattern.search(statement)
        if found:
            return found
    if re.match(r"\s*(?:using|friend|typedef|extern\s+template)\b", statement) or not head:
        return None
    found = next((match for match in FUNCTION.finditer(head) if match.group(1) not in NO_FUNCTIONS), None)
    if found:
        return None if found.group(1).startswith("~") or "::" in head[: found.start()][-2:] else found
    return TYPE.search(statement)


def declarations(text):
    """Name and position of each declaration in a header, and whether it needs a user of its own."""
    types = set()
    for begin, statement in statements(ACCESS.sub(lambda m: ";" * 1 + " " * (len(m.group(0)) - 1), text)):
        found = declared_name(statement)
        if not found:
            continue
        name = found.group(1)
        if TYPE.search(statement) and "(" not in statement:
            types.add(name)
        # Constructors have the type's name, and overrides are called through the base.
        counts = name not in types and not re.search(r"\b(?:override|final)\b", statement)
        position = begin - (len(statement) - len(statement.lstrip())) + found.start(1)
        yield name, position, counts or (name in types and "(" not in statement and not PLAIN_ENUM.search(statement))


def defined_names(text):
    """The names that a source file defines: those before the first parenthesis of a line without indentation."""
    for line in re.finditer(r"^(?![ \t]|return\b)([^\n=(]*?)\b(\w+)\(", text, re.MULTILINE):
        yield line.group(2)


def unused(root):
    headers = {p: plain(p.read_text(encoding="utf-8")) for p in files_below(root, ["src"], {".h"})}
    sources = {p: plain(p.read_text(encoding="utf-8")) for p in files_below(root, ["src"], {".cpp", ".in"})}
    seen, defined, places = Counter(), Counter(), {}
    for path, text in headers.items():
        seen.update(IDENTIFIER.findall(text))
        bare = DECLARING_MACRO.sub(lambda m: re.sub(r"[^\n]", " ", m.group(0)), text)
        for name, position, counts in declarations(bare):
            defined[name] += 1
            if counts:
                places.setdefault(name, (path, bare.count("\n", 0, position) + 1))
    for text in sources.values():
        seen.update(IDENTIFIER.findall(text))
        defined.update(defined_names(text))
        # A type's own members name it in front.
        defined.update(re.findall(r"\b(\w+)::(?:~|\w+\()", "\n".join(re.findall(r"^(?![ \t])[^\n]*", text, re.MULTILINE))))
    outside = Counter()
    for path in files_below(root, USERS, CODE):
        outside.update(IDENTIFIER.findall(plain(path.read_text(encoding="utf-8"))))
    for name, (path, line) in sorted(places.items(), key=lambda item: item[1]):
        if seen[name] <= defined[name]:
            users = "only tests use it" if outside[name] else "nobody uses it"
            yield path.relative_to(root).as_posix(), line, name, f"{name}: {users}"


def long_functions(path, text):
    """Line, name and length of each function. The layout of C++ and shell is the formatter's."""
    if path.suffix == ".py":
        for node in ast.walk(ast.parse(text)):
            if isinstance(node, (ast.FunctionDef, ast.AsyncFunctionDef)):
                yield node.lineno, node.name, node.end_lineno - node.lineno + 1
        return
    text = text if path.suffix == ".sh" else plain(text)
    for body in re.finditer(r"^(?:( *)|\w+\(\) )\{\n.*?^(?(1)\1)\}", text, re.MULTILINE | re.DOTALL):
        head = body.group(0)
        if body.group(1) is not None:  # C++: the name stands above, on the last line that is indented no deeper.
            above = re.findall(rf"^{body.group(1)}[^ \n].*$", text[: body.start()], re.MULTILINE)
            head = above[-1] if above else ""
        names = FUNCTION.findall(head)
        line = text.count("\n", 0, body.start()) + 1
        yield line, names[0] if names else "?", body.group(0).count("\n") + 1


def too_long(root):
    for path in files_below(root, MEASURED, CODE | SCRIPTS):
        text, place = path.read_text(encoding="utf-8"), path.relative_to(root).as_posix()
        length = len(text.splitlines())
        if length > MAX_FILE_LINES:
            yield place, 1, place, f"{length} lines; a file has at most {MAX_FILE_LINES}"
        for line, name, length in long_functions(path, text):
            if length > MAX_FUNCTION_LINES:
                yield place, line, name, f"{name}: {length} lines; a function has at most {MAX_FUNCTION_LINES}"


def destroyed_thread_locals(root):
    """Types are known by their names only: numbers and pointers pass."""
    for path in files_below(root, ["src"], CODE):
        text, place = plain(path.read_text(encoding="utf-8")), path.relative_to(root).as_posix()
        if place.startswith("src/platform/simulated/"):
            continue
        for found in re.finditer(r"\bthread_local\b([^;={(]*)", text):
            if not re.fullmatch(r"\s*(?:const\s+)?(?:bool|int|q?u?int(?:8|16|32|64)?(?:_t)?|[\w:\s]+\*)\s*\w+\s*", found.group(1)):
                line = text.count("\n", 0, found.start()) + 1
                yield place, line, "thread_local", "thread_local: a type that may have a destructor"


def suites_and_page(root):
    """The table in docs/testing.md has each suite, and no other."""
    suites = {p.stem for p in (root / "tests").rglob("tst_*.cpp")}
    rows = re.findall(r"^\| `(tst_\w+)` \|", (root / PAGE).read_text(encoding="utf-8"), re.MULTILINE)
    for name in sorted(suites.symmetric_difference(rows)):
        yield PAGE.as_posix(), 1, name, f"{name}: " + ("a suite without a row" if name in suites else "no such suite")


def main():
    root = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parent.parent).resolve()
    if not any((root / "src").rglob("*.h")):
        print(f"no headers below {root / 'src'}")
        return 1
    needed, failed = set(), False
    for place, line, name, text in [*unused(root), *too_long(root), *destroyed_thread_locals(root), *suites_and_page(root)]:
        excuses = {place, name}
        needed |= excuses
        if not excuses & ALLOWED.keys():
            is_open = bool(excuses & OPEN.keys())
            print(f"{place}:{line}: {'open: ' if is_open else ''}{text}")
            failed |= not is_open
    # The exceptions are this repository's; the check's own test runs on another one.
    stale = ALLOWED.keys() - needed if root == Path(__file__).resolve().parent.parent else []
    for name in sorted(stale):
        print(f"tools/check_tidy.py:1: {name} is in ALLOWED, and nothing was found there")
    print("not tidy" if failed or stale else "tidy")
    return 1 if failed or stale else 0


if __name__ == "__main__":
    sys.exit(main())
