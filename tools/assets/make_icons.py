#!/usr/bin/python3
"""Copies the icons that Torvelane shows, as plain as Qt's SVG renderer likes them: make_icons.py SOURCE TARGET.

What is left of a drawing are its shapes on a grid of 24 units, and the word "currentColor", which the program replaces
by a colour. Icons that the program no longer names are deleted.
"""

import re
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path

NAMES = """
    activity app-window battery-charging check circuit-board cpu crown database eye folder gamepad-2 gauge globe gpu
    hard-drive history house keyboard layout-grid list lock log-out megaphone memory-stick monitor mouse panel-bottom
    radio refresh-cw rocket server settings shield sliders-horizontal sliders-vertical sparkles thermometer trash-2
    wifi wrench zap
""".split()

SVG = "{http://www.w3.org/2000/svg}"
HEAD = ('<svg xmlns="http://www.w3.org/2000/svg" width="24" height="24" viewBox="0 0 24 24" fill="none" '
        'stroke="currentColor" stroke-width="2" stroke-linecap="round" stroke-linejoin="round">')
SHAPES = {
    "path": ("d",),
    "rect": ("x", "y", "width", "height", "rx", "ry"),
    "circle": ("cx", "cy", "r"),
    "ellipse": ("cx", "cy", "rx", "ry"),
    "line": ("x1", "y1", "x2", "y2"),
}
NUMBER = re.compile(r"[\s,]*([+-]?(?:\d+\.?\d*|\.\d+)(?:[eE][+-]?\d+)?)")
FLAG = re.compile(r"[\s,]*([01])")


def spaced_arcs(path):
    """The path with a space between all numbers of its arcs: two flags may follow each other without one, which not
    every reader of SVG understands."""

    def spaced(match):
        rest, numbers = match.group(2), []
        while rest.strip():
            found = (FLAG if len(numbers) % 7 in (3, 4) else NUMBER).match(rest)
            numbers.append(found.group(1))
            rest = rest[found.end():]
        return match.group(1) + " ".join(numbers)

    return re.sub(r"([aA])([^a-zA-Z]*)", spaced, path)


def plain(drawing):
    root = ElementTree.fromstring(drawing)
    lines = [HEAD]
    for shape in root:
        kind = shape.tag.removeprefix(SVG)
        unknown = set(shape.keys()) - set(SHAPES[kind])
        if unknown or len(shape):
            raise ValueError(f"{kind} has {unknown or 'children'}")
        values = {key: shape.get(key) for key in SHAPES[kind] if shape.get(key)}
        if kind == "path":
            values["d"] = spaced_arcs(values["d"])
        lines.append(f"<{kind} " + " ".join(f'{key}="{value}"' for key, value in values.items()) + "/>")
    return "\n".join([*lines, "</svg>\n"])


def main():
    source, target = map(Path, sys.argv[1:])
    for old in target.glob("*.svg"):
        if old.stem not in NAMES:
            old.unlink()
    for name in NAMES:
        drawing = (source / f"{name}.svg").read_text(encoding="utf-8")
        (target / f"{name}.svg").write_text(plain(drawing), encoding="utf-8")


if __name__ == "__main__":
    main()
