#!/usr/bin/env python3
"""Makes docs/catalogue.md from the catalogue and its notes.

Usage: make_docs.py [--check]

Reads resources/tweaks.json, which has what the window shows as well, and
tools/catalogue/notes.json, and writes docs/catalogue.md. With --check nothing is written; it prints what is wrong and
leaves with 1 if a note is missing, belongs to no entry or is incomplete, or if
docs/catalogue.md is not what would be written. Needs nothing but the Python
standard library.
"""

import collections
import difflib
import json
import os
import re
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.normpath(os.path.join(HERE, "..", ".."))
CATALOGUE = os.path.join(ROOT, "resources", "tweaks.json")
NOTES = os.path.join(HERE, "notes.json")
OUTPUT = os.path.join(ROOT, "docs", "catalogue.md")

TAKES_EFFECT = {"now": "at once", "explorer": "after restarting Explorer", "sign-out": "after signing out",
                "restart": "after a restart"}
TEXTS = ("notice", "breaks")
KEYS = TEXTS + ("limits", "sources", "sourceNote")
SOURCE_KEYS = ("title", "url")
COMMAND_LISTS = (
    ("apply", "Commands that apply it"),
    ("revert", "Commands that undo it"),
    ("applyBoot", "Commands that apply it in a run on behalf of another user"),
    ("revertBoot", "Commands that undo it in a run on behalf of another user"),
)
# From this number of values on, they stand in a table.
TABLE_FROM = 3


def no_duplicate_keys(pairs):
    seen = {}
    for key, value in pairs:
        if key in seen:
            raise ValueError("key %r twice in one object" % key)
        seen[key] = value
    return seen


def load(path):
    with open(path, "rb") as file:
        return json.loads(file.read().decode("utf-8"), object_pairs_hook=no_duplicate_keys)


def check_text(problems, where, text):
    if not isinstance(text, str) or not text.strip():
        problems.append("%s is missing or empty" % where)
    elif text != text.strip() or "  " in text or "\n" in text:
        problems.append("%s has blanks or line breaks too many" % where)


def check_sources(problems, ident, note):
    sources = note.get("sources")
    if not isinstance(sources, list):
        problems.append("%s: sources is not a list" % ident)
        return
    for number, source in enumerate(sources, 1):
        where = "%s: source %d" % (ident, number)
        if not isinstance(source, dict) or sorted(source) != sorted(SOURCE_KEYS):
            problems.append("%s needs exactly %s" % (where, " and ".join(SOURCE_KEYS)))
            continue
        for key in SOURCE_KEYS:
            check_text(problems, "%s, %s" % (where, key), source[key])
        if not re.fullmatch(r"https://[^\s<>()]+", str(source["url"])):
            problems.append("%s: %r is not an https address" % (where, source["url"]))
    addresses = [s.get("url") for s in sources if isinstance(s, dict)]
    for url, count in collections.Counter(addresses).items():
        if count > 1:
            problems.append("%s: the source %s stands %d times" % (ident, url, count))
    if "sourceNote" in note:
        check_text(problems, "%s: sourceNote" % ident, note["sourceNote"])
    elif not sources:
        problems.append("%s: has neither sources nor a sourceNote" % ident)


def check_notes(tweaks, notes):
    problems = []
    if not isinstance(notes, dict):
        return ["the notes are not an object"]
    idents = [tweak["id"] for tweak in tweaks]
    for ident in idents:
        if ident not in notes:
            problems.append("%s: has no note" % ident)
    for ident in notes:
        if ident not in idents:
            problems.append("%s: this note belongs to no entry" % ident)
    if not problems and list(notes) != idents:
        problems.append("the notes don't stand in the order of the catalogue")
    for ident, note in notes.items():
        if not isinstance(note, dict):
            problems.append("%s: the note is not an object" % ident)
            continue
        for key in note:
            if key not in KEYS:
                problems.append("%s: unknown key %s" % (ident, key))
        for key in TEXTS:
            check_text(problems, "%s: %s" % (ident, key), note.get(key))
        for key in ("notice", "breaks", "limits"):
            if isinstance(note.get(key), str) and note[key].strip() and note[key].strip()[-1] not in ".!":
                problems.append("%s: %s does not end with a full stop" % (ident, key))
        check_sources(problems, ident, note)
    return problems + check_limits(tweaks, notes)


def check_limits(tweaks, notes):
    """Microsoft documents policies for editions above Home: what is nothing but policies has to say so."""
    problems = []
    for tweak in tweaks:
        paths = [o["path"].lower() for o in tweak.get("operations", [])]
        policies = [p for p in paths if "\\policies\\" in p and not p.endswith("\\policies\\microsoft\\edge")]
        if paths and len(policies) == len(paths) and "limits" not in notes.get(tweak["id"], {}):
            problems.append("%s: writes policies only and needs limits on the editions" % tweak["id"])
    return problems


def prose(text):
    """Text that Markdown must not take for markup."""
    return re.sub(r"([\\`*_\[\]<>|#])", r"\\\1", text)


def code(text, in_table=False):
    """A code span that holds the text as it is."""
    runs = [len(run) for run in re.findall(r"`+", text)]
    fence = "`" * (max(runs, default=0) + 1)
    pad = " " if text.startswith("`") or text.endswith("`") else ""
    if in_table:
        text = text.replace("|", "\\|")
    return fence + pad + text + pad + fence


def desired(operation):
    value = operation["desired"]
    if operation["valueType"] in ("dword", "qword"):
        return "%d (0x%x)" % (value, value) if value > 9 else str(value)
    if operation["valueType"] == "binary":
        return value
    return '"%s"' % value


def anchor(heading):
    """The address that the common Markdown viewers give a heading."""
    kept = "".join(c for c in heading.lower() if c.isalnum() or c in " -_")
    return kept.replace(" ", "-")


def counted(number, one, many):
    return "%d %s" % (number, one if number == 1 else many)


def values(operations):
    if len(operations) < TABLE_FROM:
        for o in operations:
            yield "- %s, value %s (%s) becomes %s" % (
                code(o["hive"] + "\\" + o["path"]), code(o["name"]), o["valueType"], code(desired(o)))
        return
    yield "| hive | key | value | type | becomes |"
    yield "|---|---|---|---|---|"
    for o in operations:
        yield "| %s | %s | %s | %s | %s |" % (
            o["hive"], code(o["path"], True), code(o["name"], True), o["valueType"], code(desired(o), True))


def commands(tweak):
    for key, title in COMMAND_LISTS:
        if tweak.get(key):
            yield "%s:" % title
            yield ""
            for command in tweak[key]:
                yield "- %s" % code(command)
            yield ""
    if tweak.get("applyBoot") == []:
        yield "In a run on behalf of another user it does nothing."
        yield ""
    if not tweak.get("revert"):
        yield "It is done once; it can't be undone."
        yield ""


def entry(tweak, note):
    yield "### %s" % prose(tweak["name"])
    yield ""
    yield "%s, tier %s. In French: %s." % (code(tweak["id"]), tweak["requiredTier"], prose(tweak["name_fr"]))
    yield ""
    if tweak["type"] == "registry":
        yield "Changes %s:" % counted(len(tweak["operations"]), "value", "values")
        yield ""
        yield from values(tweak["operations"])
        yield ""
    else:
        yield from commands(tweak)
    if tweak.get("warning"):
        yield "> **Warning shown:** %s" % prose(tweak["warning"])
    else:
        yield "> **On the card:** %s" % prose(tweak["description"])
    yield ""
    yield "**You notice:** %s" % prose(note["notice"])
    yield ""
    yield "**May break:** %s" % prose(note["breaks"])
    yield ""
    if note.get("limits"):
        yield "**Limits:** %s" % prose(note["limits"])
        yield ""
    yield "**Takes effect:** %s." % TAKES_EFFECT[tweak["effect"]]
    yield ""
    documented = ["[%s](%s)" % (prose(s["title"]), s["url"]) for s in note["sources"]]
    text = "; ".join(documented) + "." if documented else ""
    if note.get("sourceNote"):
        text += (" " if text else "") + prose(note["sourceNote"])
    yield "**Documented:** %s" % text
    yield ""


def document(catalogue, notes):
    tweaks = catalogue["tweaks"]
    sections = collections.OrderedDict()
    for tweak in tweaks:
        sections.setdefault(tweak["section"], []).append(tweak)
    operations = [o for t in tweaks for o in t.get("operations", [])]
    types = collections.Counter(o["valueType"] for o in operations)
    hives = collections.Counter(o["hive"] for o in operations)
    tiers = collections.Counter(t["requiredTier"] for t in tweaks)
    effects = collections.Counter(t["effect"] for t in tweaks)
    kinds = collections.Counter(t["type"] for t in tweaks)

    yield "# Catalogue"
    yield ""
    yield "Every tweak that Torvelane ships: what it changes, what you notice, what it may break, when it takes effect"
    yield "and where the change is documented."
    yield ""
    yield "This page is made from `resources/tweaks.json` and `tools/catalogue/notes.json`. Don't edit it; edit those and run"
    yield ""
    yield "    python3 tools/catalogue/make_docs.py"
    yield ""
    yield "`python3 tools/catalogue/make_docs.py --check` says whether the page is up to date and the notes are complete."
    yield ""
    yield "Undoing a registry tweak writes back the value that was there before, or removes the value if there was none."
    yield ""
    yield "## In numbers"
    yield ""
    yield "| | |"
    yield "|---|---|"
    rows = [
        ("tweaks", "%d in %d sections" % (len(tweaks), len(sections))),
        ("kinds", "%d change the registry, %d run commands" % (kinds["registry"], kinds["command"])),
        ("registry values", "%d: %s" % (len(operations), ", ".join("%d %s" % (c, t) for t, c in types.most_common()))),
        ("hives", ", ".join("%s %d" % (h, c) for h, c in hives.most_common())),
        ("tiers", ", ".join("%s %d" % (t, c) for t, c in tiers.most_common())),
        ("with a warning", "%d" % sum("warning" in t for t in tweaks)),
        ("take effect", ", ".join("%s %d" % (words, effects[e]) for e, words in TAKES_EFFECT.items())),
        ("with a page of documentation", "%d" % sum(bool(notes[t["id"]]["sources"]) for t in tweaks)),
    ]
    for name, value in rows:
        yield "| %s | %s |" % (name, value)
    yield ""
    yield "## How to read it"
    yield ""
    yield "- Keys and values stand as they are written. HKCU is the signed-in user, HKLM the whole PC, HKU `.DEFAULT` the"
    yield "  sign-in screen. A number above 9 is given in hexadecimal as well."
    yield "- \"On the card\" and \"Warning shown\" are what the window says. \"Limits\" names what is the default anyway, and what"
    yield "  needs an edition of Windows above Home."
    yield "- \"Takes effect\" is when Windows reads the value again. Undoing takes effect at the same point."
    yield "- \"Documented\" names pages about the setting. Where Microsoft documents the setting but not the value, or neither,"
    yield "  the line says so."
    yield ""
    yield "## Sections"
    yield ""
    for section, members in sections.items():
        yield "- [%s](#%s): %s" % (section, anchor(section), counted(len(members), "tweak", "tweaks"))
    yield ""
    for section, members in sections.items():
        yield "## %s" % section
        yield ""
        for tweak in members:
            yield from entry(tweak, notes[tweak["id"]])


def main(arguments):
    if arguments not in ([], ["--check"]):
        print(__doc__.strip(), file=sys.stderr)
        return 2
    try:
        catalogue, notes = load(CATALOGUE), load(NOTES)
    except (OSError, ValueError) as error:
        print("cannot be read: %s" % error)
        return 1
    problems = check_notes(catalogue["tweaks"], notes)
    if problems:
        for problem in problems:
            print(problem)
        print("%d problem(s) in the notes" % len(problems))
        return 1
    text = "\n".join(document(catalogue, notes)).rstrip("\n") + "\n"
    if not arguments:
        with open(OUTPUT, "w", encoding="utf-8", newline="\n") as file:
            file.write(text)
        print("%s: %d lines" % (os.path.relpath(OUTPUT, ROOT), text.count("\n")))
        return 0
    try:
        with open(OUTPUT, "rb") as file:
            present = file.read().decode("utf-8").replace("\r\n", "\n")
    except (OSError, ValueError) as error:
        print("docs/catalogue.md cannot be read: %s" % error)
        return 1
    if present != text:
        difference = difflib.unified_diff(present.splitlines(), text.splitlines(),
                                          "docs/catalogue.md", "as it would be made", lineterm="", n=0)
        for line, _ in zip(difference, range(20)):
            print(line)
        print("docs/catalogue.md is not up to date: run python3 tools/catalogue/make_docs.py")
        return 1
    print("docs/catalogue.md is up to date; %d notes are complete" % len(notes))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
