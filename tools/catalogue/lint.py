#!/usr/bin/env python3
"""Checks the tweak catalogue, resources/tweaks.json.

Usage: lint.py [path-of-the-catalogue]
       lint.py --accept

Prints one line per finding and leaves with 1 if there is any; otherwise prints
the totals and leaves with 0. Every entry is pinned by its digest in
digests.json. --accept writes these anew, once nothing else is found, and names
the entries whose digest has changed. Needs nothing but the Python standard
library; shape.py, rules.py, text_rules.py and keys.txt hold what it compares with.
"""

import collections
import hashlib
import json
import os
import re
import sys

import text_rules
from rules import (COMMANDS, CONSENT, CONTROL_PANEL_TYPES, CONTROL_SET, FORBIDDEN_NAMES, FORBIDDEN_PATHS, HIVES,
                   PROTECTION, RANGES, ROOTS, SERVICE, SERVICES, TYPES, TYPE_TRAPS, permitted_keys)
from shape import (NOTE_SHA256, OVERLAPS, SETTLED, SETTLED_TEXTS, TOTALS, VERSION, WARNED, parse_shape)

HERE = os.path.dirname(os.path.abspath(__file__))
DEFAULT_PATH = os.path.normpath(os.path.join(HERE, "..", "..", "resources", "tweaks.json"))
DIGESTS_PATH = os.path.join(HERE, "digests.json")

COMMON_KEYS = ("id", "name", "name_fr", "section", "requiredTier", "type", "effect")
TEXT_KEYS = ("warning", "warning_fr", "description", "description_fr")
REGISTRY_KEYS = ("operations",)
COMMAND_KEYS = ("apply", "revert", "applyBoot", "revertBoot")
OPERATION_KEYS = ("hive", "path", "name", "valueType", "desired")
EFFECTS = tuple(text_rules.WHEN)
# The operating system reads these when it starts.
READ_AT_START = r"system\currentcontrolset\services" + "\\"


class Findings:
    def __init__(self):
        self.lines = []

    def add(self, where, text):
        self.lines.append("%s: %s" % (where, text))


def value_key(operation):
    """The value an operation writes, in one spelling for all ways to write it."""
    hive = HIVES.get(str(operation.get("hive", "")).strip().upper(), "?")
    path = str(operation.get("path", "")).lower()
    if hive == "HKCR":
        hive, path = "HKLM", "software\\classes\\" + path
    if hive == "HKLM":
        path = CONTROL_SET.sub(r"system\\currentcontrolset", path)
    return hive, path, str(operation.get("name", "")).lower()


def entry_digest(entry):
    """Pins all that an entry is: what it does, what it says, where it belongs."""
    text = json.dumps(entry, ensure_ascii=False, sort_keys=True, separators=(",", ":"))
    return hashlib.sha256(text.encode("utf-8")).hexdigest()


def no_duplicate_keys(pairs):
    seen = {}
    for key, value in pairs:
        if key in seen:
            raise ValueError("key %r twice in one object" % key)
        seen[key] = value
    return seen


def check_path(findings, where, hive, path):
    if not isinstance(path, str) or not path.strip():
        findings.add(where, "path is missing or empty")
        return False
    if path != path.strip():
        findings.add(where, "path has blanks around it")
    if path.startswith("\\") or path.endswith("\\"):
        findings.add(where, "path begins or ends with a backslash")
    if "\\\\" in path:
        findings.add(where, "path has a doubled backslash")
    if "/" in path:
        findings.add(where, "path has a slash")
    roots = ROOTS.get(hive)
    if roots and not path.lower().startswith(roots):
        findings.add(where, "path %r is not below a key of %s that is known" % (path, hive))
    for pattern, why in FORBIDDEN_PATHS:
        if pattern.search(path):
            findings.add(where, "path %r is out of bounds: %s" % (path, why))
    return True


def check_desired(findings, where, kind, desired):
    if kind in ("dword", "qword"):
        top = 4294967295 if kind == "dword" else (1 << 64) - 1
        if isinstance(desired, bool) or not isinstance(desired, int):
            findings.add(where, "%s needs a whole number, not %r" % (kind, desired))
            return False
        if not 0 <= desired <= top:
            findings.add(where, "%s %d is out of range" % (kind, desired))
            return False
    elif kind in ("sz", "expand_sz"):
        if not isinstance(desired, str):
            findings.add(where, "%s needs a string, not %r" % (kind, desired))
            return False
    elif kind == "binary":
        if not isinstance(desired, str) or len(desired) % 2 or not re.fullmatch(r"[0-9A-Fa-f]+", desired):
            findings.add(where, "binary needs pairs of hexadecimal digits")
            return False
    return True


def check_sense(findings, where, operation, hive):
    """What Windows is known to read under this path and name."""
    path, name = operation["path"], operation["name"]
    kind, desired = operation["valueType"], operation["desired"]
    low = path.lower()
    if low.startswith(("control panel\\", ".default\\control panel\\")) and hive in ("HKCU", "HKU"):
        if not re.search(r"\\hidedesktopicons\\", low):
            wanted = CONTROL_PANEL_TYPES.get(name.lower(), "sz")
            if kind != wanted:
                findings.add(where, "Windows keeps this value as %s, not %s" % (wanted, kind))
    for paths, names, wanted in TYPE_TRAPS:
        if paths.search(path) and names.match(name) and kind != wanted:
            findings.add(where, "Windows reads this value as %s, not %s" % (wanted, kind))
    if re.search(r"\\ConsentStore\\", path, re.I) and desired not in CONSENT:
        findings.add(where, "%r is none of %s" % (desired, ", ".join(CONSENT)))
    for paths, wanted_name, allowed in RANGES:
        if paths.search(path) and name.lower() == wanted_name and isinstance(desired, int):
            if desired not in allowed:
                findings.add(where, "%d is outside %s" % (desired, allowed))
    for pattern, why in FORBIDDEN_NAMES:
        if pattern.match(name):
            findings.add(where, "the value %r is out of bounds: %s" % (name, why))
    service = SERVICE.match(path)
    if service:
        if name.lower() != "start" or kind != "dword" or desired not in (2, 3, 4):
            findings.add(where, "of a service, only Start may be written, as the dword 2, 3 or 4")
        if service.group(2).lower() not in SERVICES:
            findings.add(where, "the service %r may not be changed" % service.group(2))
    if hive == "HKLM" and low.startswith("system\\controlset"):
        if (low, name.lower()) != (r"system\controlset001\control", "svchostsplitthresholdinkb"):
            findings.add(where, "names a control set instead of CurrentControlSet")


def check_permitted(findings, where, operation):
    """keys.txt names the key and, where it has to, the value."""
    key = "%s\\%s" % (operation["hive"], operation["path"])
    keys = permitted_keys()
    if key.lower() not in keys:
        findings.add(where, "keys.txt does not permit the key %s" % key)
    elif keys[key.lower()] is not None and operation["name"].lower() not in keys[key.lower()]:
        findings.add(where, "keys.txt does not permit the value %r in this key" % operation["name"])


def check_operation(findings, where, operation):
    if not isinstance(operation, dict):
        findings.add(where, "is not an object")
        return
    for key in OPERATION_KEYS:
        if key not in operation:
            findings.add(where, "lacks the key %s" % key)
    for key in operation:
        if key not in OPERATION_KEYS:
            findings.add(where, "has the unknown key %s" % key)
    if any(key not in operation for key in OPERATION_KEYS):
        return
    hive = HIVES.get(operation["hive"]) if isinstance(operation["hive"], str) else None
    if hive is None:
        findings.add(where, "the hive %r is not accepted" % (operation["hive"],))
    good = check_path(findings, where, hive, operation["path"])
    if not isinstance(operation["name"], str) or not operation["name"].strip():
        findings.add(where, "the value name is missing or empty")
        good = False
    elif operation["name"] != operation["name"].strip() or "\\" in operation["name"]:
        findings.add(where, "the value name has blanks around it or a backslash")
    kind = operation["valueType"]
    if kind not in TYPES:
        findings.add(where, "the type %r is not accepted" % (kind,))
        good = False
    else:
        good = check_desired(findings, where, kind, operation["desired"]) and good
    if good and hive:
        check_sense(findings, where, operation, hive)
        check_permitted(findings, where, operation)


def check_settled(findings, entry):
    ident = entry.get("id")
    if ident in SETTLED:
        how, wanted = SETTLED[ident]
        operations = entry.get("operations")
        have = [tuple(o.get(k) for k in OPERATION_KEYS) for o in operations or [] if isinstance(o, dict)]
        if how == "exact" and have != wanted:
            findings.add(ident, "its operations are not the settled ones: %r" % (have,))
        for row in wanted if how == "has" else ():
            if row not in have:
                findings.add(ident, "lacks the settled operation %r" % (row,))
    for (wanted_id, key), text in SETTLED_TEXTS.items():
        if ident == wanted_id and entry.get(key) != text:
            findings.add(ident, "its %s is not the settled text %r" % (key, text))


def check_protection(findings, where, entry):
    """What takes protection away stays with the entry that is there for it, and warns."""
    for operation in entry.get("operations") or []:
        if not isinstance(operation, dict):
            continue
        _, path, name = value_key(operation)
        owner = PROTECTION.get((path, name))
        if owner and owner != entry.get("id"):
            findings.add(where, "writes %r, which only %s may" % (operation.get("name"), owner))
        if owner and "warning" not in entry:
            findings.add(where, "takes protection away without a warning")


def check_effect(findings, where, entry):
    effect = entry.get("effect")
    if effect not in EFFECTS:
        findings.add(where, "the effect %r is none of %s" % (effect, ", ".join(EFFECTS)))
    for operation in entry.get("operations") or []:
        if isinstance(operation, dict) and value_key(operation)[1].startswith(READ_AT_START) and effect != "restart":
            findings.add(where, "changes a service or driver, which takes effect after a restart")
            break


def check_command(findings, entry, where):
    for key in COMMAND_KEYS:
        if key in entry:
            value = entry[key]
            if not isinstance(value, list) or not all(isinstance(c, str) and c.strip() and c == c.strip() for c in value):
                findings.add(where, "%s is not a list of trimmed commands" % key)
    if not entry.get("apply"):
        findings.add(where, "has no apply command")
    for key in COMMAND_KEYS:
        for command in entry.get(key) if isinstance(entry.get(key), list) else ():
            if isinstance(command, str) and not any(pattern.fullmatch(command) for pattern in COMMANDS):
                findings.add(where, "the command %r is not a permitted one" % command)


def check_entry(findings, number, entry):
    where = entry.get("id") if isinstance(entry.get("id"), str) and entry.get("id") else "entry %d" % number
    kind = entry.get("type")
    if kind not in ("registry", "command"):
        findings.add(where, "the type %r is not accepted" % (kind,))
    allowed = COMMON_KEYS + TEXT_KEYS + (REGISTRY_KEYS if kind == "registry" else COMMAND_KEYS)
    for key in COMMON_KEYS:
        if key not in entry:
            findings.add(where, "lacks the key %s" % key)
    for key in entry:
        if key not in allowed:
            findings.add(where, "has the unknown key %s" % key)
    if ("warning" in entry) != (entry.get("id") in WARNED):
        findings.add(where, "needs a warning" if entry.get("id") in WARNED else "is not an entry that warns")
    text_rules.check_texts(findings, where, entry)
    check_effect(findings, where, entry)
    check_protection(findings, where, entry)
    if kind == "registry":
        operations = entry.get("operations")
        if not isinstance(operations, list) or not operations:
            findings.add(where, "has no operations")
        else:
            for index, operation in enumerate(operations, 1):
                name = operation.get("name") if isinstance(operation, dict) else None
                check_operation(findings, "%s, operation %d (%s)" % (where, index, name), operation)
    elif kind == "command":
        check_command(findings, entry, where)
    check_settled(findings, entry)


def check_order(findings, entries):
    shape = parse_shape()
    wanted = {ident: (section, tier) for ident, section, tier in shape}
    have = [e.get("id") for e in entries]
    for ident, count in collections.Counter(have).items():
        if count > 1:
            findings.add(str(ident), "stands %d times" % count)
    for ident in wanted:
        if ident not in have:
            findings.add(ident, "is missing")
    for entry in entries:
        ident = entry.get("id")
        if ident not in wanted:
            findings.add(str(ident), "is not an id of the catalogue")
            continue
        section, tier = wanted[ident]
        if entry.get("section") != section:
            findings.add(ident, "stands in the section %r, not %r" % (entry.get("section"), section))
        if entry.get("requiredTier") != tier:
            findings.add(ident, "has the tier %r, not %r" % (entry.get("requiredTier"), tier))
    for (ident, _, _), got in zip(shape, have):
        if ident != got:
            findings.add(str(got), "stands where %s belongs" % ident)
            break
    wanted_counts = collections.Counter(section for _, section, _ in shape)
    have_counts = collections.Counter(e.get("section") for e in entries)
    for section in sorted(set(wanted_counts) | set(have_counts), key=str):
        if wanted_counts[section] != have_counts[section]:
            findings.add("section %s" % section, "has %d entries, not %d"
                         % (have_counts[section], wanted_counts[section]))
    wanted_sections = list(dict.fromkeys(section for _, section, _ in shape))
    have_sections = list(dict.fromkeys(e.get("section") for e in entries))
    if wanted_sections != have_sections:
        findings.add("sections", "their order of first appearance is %s" % ", ".join(map(str, have_sections)))


def check_overlaps(findings, entries):
    writers = collections.defaultdict(list)
    for entry in entries:
        for operation in entry.get("operations") or []:
            if isinstance(operation, dict):
                writers[value_key(operation)].append(entry.get("id"))
    listed = {}
    for key, ids, reason in OVERLAPS:
        listed[key] = set(ids)
        label = "\\".join(key)
        if not reason.strip():
            findings.add("allow-list, %s" % label, "has no reason")
        if set(writers.get(key, ())) != set(ids):
            findings.add("allow-list, %s" % label, "is written by %s, not by %s"
                         % (", ".join(sorted(map(str, set(writers.get(key, ()))))) or "nobody", ", ".join(sorted(ids))))
    for key, ids in sorted(writers.items()):
        label = "\\".join(key)
        for ident, count in collections.Counter(ids).items():
            if count > 1:
                findings.add(str(ident), "writes %s %d times" % (label, count))
        if len(set(ids)) > 1 and key not in listed:
            findings.add(", ".join(map(str, dict.fromkeys(ids))), "all write %s" % label)


def check_digests(findings, entries, digests):
    for entry in entries:
        ident = entry.get("id")
        if digests.get(ident) != entry_digest(entry):
            findings.add(str(ident), "is not what digests.json pins; if the change is wanted: lint.py --accept")
    for ident in set(digests) - {entry.get("id") for entry in entries}:
        findings.add("digests.json", "names %s, which is no entry" % ident)


def totals(entries):
    operations = [o for e in entries if isinstance(e.get("operations"), list)
                  for o in e["operations"] if isinstance(o, dict)]
    kinds = collections.Counter(e.get("type") for e in entries)
    tiers = collections.Counter(e.get("requiredTier") for e in entries)
    types = collections.Counter(str(o.get("valueType")) for o in operations)
    hives = collections.Counter(str(o.get("hive")) for o in operations)
    sizes = [len(e["operations"]) for e in entries if isinstance(e.get("operations"), list)]
    result = {
        "entries": len(entries),
        "sections": len({e.get("section") for e in entries}),
        "registry entries": kinds["registry"],
        "command entries": kinds["command"],
        "operations": len(operations),
        "most operations in one entry": max(sizes, default=0),
        "entries with a warning": sum("warning" in e for e in entries),
    }
    for kind in ("dword", "sz", "binary"):
        result[kind + " operations"] = types[kind]
    for hive in ("HKLM", "HKCU", "HKU"):
        result[hive + " operations"] = hives[hive]
    for tier in ("premium", "free", "pro"):
        result[tier + " entries"] = tiers[tier]
    return result


def check_layout(findings, data):
    if data.startswith(b"\xef\xbb\xbf"):
        findings.add("file", "begins with a byte-order mark")
    if b"\r" in data:
        findings.add("file", "has carriage returns")
    if not data.endswith(b"\n"):
        findings.add("file", "does not end with a line feed")
    for number, line in enumerate(data.split(b"\n"), 1):
        indent = len(line) - len(line.lstrip(b" "))
        if b"\t" in line or indent % 2 or line != line.rstrip():
            findings.add("line %d" % number, "has a tab, trailing blanks or an odd indent")


def lint(data, digests):
    """The findings in the document and its totals. Without digests (None), no entry is compared with its digest."""
    findings = Findings()
    check_layout(findings, data)
    try:
        document = json.loads(data.decode("utf-8"), object_pairs_hook=no_duplicate_keys)
    except ValueError as error:  # also a decoding error
        findings.add("file", "is not the JSON wanted: %s" % error)
        return findings, {}
    if not isinstance(document, dict) or list(document) != ["_note", "version", "tweaks"]:
        findings.add("file", "its keys are not _note, version and tweaks, in this order")
        if not isinstance(document, dict):
            return findings, {}
    note = document.get("_note")
    if not isinstance(note, str) or hashlib.sha256(note.encode("utf-8")).hexdigest() != NOTE_SHA256:
        findings.add("_note", "is not the settled text")
    if document.get("version") != VERSION:
        findings.add("version", "is %r, not %d" % (document.get("version"), VERSION))
    entries = document.get("tweaks")
    if not isinstance(entries, list) or not all(isinstance(e, dict) for e in entries):
        findings.add("tweaks", "is not a list of objects")
        return findings, {}
    for number, entry in enumerate(entries, 1):
        for key in ("id", "section", "requiredTier", "type"):
            if key in entry and not isinstance(entry[key], str):
                findings.add("entry %d" % number, "%s is not a string" % key)
                entry[key] = repr(entry[key])
        check_entry(findings, number, entry)
    check_order(findings, entries)
    check_overlaps(findings, entries)
    if digests is not None:
        check_digests(findings, entries, digests)
    counted = totals(entries)
    for key, wanted in TOTALS.items():
        if counted[key] != wanted:
            findings.add("totals", "%s: %d, not %d" % (key, counted[key], wanted))
    return findings, counted


def load_digests():
    with open(DIGESTS_PATH, "rb") as file:
        return json.loads(file.read().decode("utf-8"), object_pairs_hook=no_duplicate_keys)


def accept(data):
    """Pins the entries as they stand now, unless something else is wrong with them."""
    findings, _ = lint(data, None)
    for line in findings.lines:
        print(line)
    if findings.lines:
        print("nothing accepted")
        return 1
    before = load_digests() if os.path.exists(DIGESTS_PATH) else {}
    after = {entry["id"]: entry_digest(entry) for entry in json.loads(data.decode("utf-8"))["tweaks"]}
    with open(DIGESTS_PATH, "w", encoding="utf-8", newline="\n") as file:
        file.write(json.dumps(after, indent=2) + "\n")
    for ident in dict.fromkeys([*after, *before]):
        if before.get(ident) != after.get(ident):
            print("%s: %s" % (ident, "accepted" if ident in after else "dropped"))
    return 0


def main(arguments):
    accepting = arguments == ["--accept"]
    if len(arguments) > 1 or (arguments and arguments[0].startswith("-") and not accepting):
        print(__doc__.strip(), file=sys.stderr)
        return 2
    path = arguments[0] if arguments and not accepting else DEFAULT_PATH
    try:
        with open(path, "rb") as file:
            data = file.read()
        if accepting:
            return accept(data)
        findings, counted = lint(data, load_digests())
    except (OSError, ValueError) as error:
        print("cannot be read: %s" % error)
        return 1
    if findings.lines:
        for line in findings.lines:
            print(line)
        print("%d finding(s)" % len(findings.lines))
        return 1
    for key in TOTALS:
        print("%-30s %d" % (key, counted[key]))
    print("overlaps on the allow-list      %d" % len(OVERLAPS))
    print("no findings")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
