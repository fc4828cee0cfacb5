#!/usr/bin/env python3
"""Fails if a text of the sources has no finished French translation.

Runs lupdate on a copy of resources/i18n/app_fr.ts, so that texts which the sources have gained appear in it, and looks
for messages that are unfinished, empty, or whose placeholders differ from the source's.

Usage: check_translations.py [--lupdate PATH]
"""

import argparse
import re
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
CATALOGUE = ROOT / "resources" / "i18n" / "app_fr.ts"
LUPDATE_PLACES = ("/usr/lib/qt6/bin/lupdate", "lupdate")


def updated_copy(lupdate: str, folder: str) -> Path:
    copy = Path(folder) / CATALOGUE.name
    shutil.copy(CATALOGUE, copy)
    subprocess.run(
        [lupdate, "-silent", "-recursive", str(ROOT / "src"), "-locations", "none", "-ts", str(copy)], check=True
    )
    return copy


def forms_of(translation: ElementTree.Element) -> list[str]:
    """The plural forms of a translation; the translation itself if the text has none."""
    return ["".join(form.itertext()) for form in translation.findall("numerusform") or [translation]]


def placeholders(text: str) -> list[str]:
    return sorted(re.findall(r"%(?:L?\d+|n)", text))


def findings(catalogue: Path) -> list[str]:
    lines = []
    for context in ElementTree.parse(catalogue).getroot().iter("context"):
        name = context.findtext("name")
        for message in context.iter("message"):
            source = message.findtext("source") or ""
            translation = message.find("translation")
            kind = translation.get("type")
            place = f"{name}: {source!r}"
            if kind in ("vanished", "obsolete"):
                lines.append(f"{place} is no longer in the sources")
            elif kind == "unfinished" or not all(form.strip() for form in forms_of(translation)):
                lines.append(f"{place} has no finished translation")
            elif any(placeholders(form) != placeholders(source) for form in forms_of(translation)):
                lines.append(f"{place} has other placeholders in its translation")
    return lines


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--lupdate", help="program to use")
    arguments = parser.parse_args()
    lupdate = arguments.lupdate or next((place for place in LUPDATE_PLACES if shutil.which(place)), None)
    if not lupdate:
        print("lupdate is not installed (Debian: qt6-l10n-tools)")
        return 1
    with tempfile.TemporaryDirectory() as folder:
        lines = findings(updated_copy(lupdate, folder))
    for line in lines:
        print(line)
    print(f"{len(lines)} finding(s)" if lines else "French is complete")
    return 1 if lines else 0


if __name__ == "__main__":
    sys.exit(main())
