#!/usr/bin/env python3
"""Draws docs/images/command-line.svg: a session with the built program on a fresh simulated PC, as it really went.

    command_line_picture.py [folder with the built programs] [picture]
"""

import os
import subprocess
import sys
import tempfile
from html import escape
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
KEY = r"HKLM\SOFTWARE\Microsoft\Windows NT\CurrentVersion\Multimedia\SystemProfile"
SESSION = [
    "Torvelane status",
    f'reg.exe query "{KEY}" /v NetworkThrottlingIndex',
    "Torvelane apply opt.disable-network-throttling",
    f'reg.exe query "{KEY}" /v NetworkThrottlingIndex',
    "Torvelane list | grep Latency",
    "Torvelane restore-all",
    f'reg.exe query "{KEY}" /v NetworkThrottlingIndex',
]

CHARACTER_WIDTH = 7.83  # of DejaVu Sans Mono at FONT_SIZE; other fonts are stretched to it
FONT_SIZE = 13
LINE_HEIGHT = 18
MARGIN = 16
BAR_HEIGHT = 30


def record(programs):
    """The lines of the session as pairs of style and text."""
    lines = []
    with tempfile.TemporaryDirectory() as folder:
        environment = dict(
            os.environ,
            PATH=f"{programs}:{programs}/simulated-tools:{os.environ['PATH']}",
            TORVELANE_SIMULATED_PC=f"{folder}/machine.db",
            XDG_CONFIG_HOME=f"{folder}/config",
            QT_QPA_PLATFORM="offscreen",
            LC_ALL="C.UTF-8",
        )
        for command in SESSION:
            # Standard error carries the log, which is also in its file.
            run = subprocess.run(
                ["bash", "-c", command], env=environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True
            )
            lines.append(("command", command))
            # reg.exe puts empty lines around its output.
            lines += [("output", line.rstrip()) for line in run.stdout.decode().splitlines() if line.strip()]
            lines.append(("output", ""))
    return lines[:-1]


def draw(lines):
    width = round(max(len(text) + 2 for _, text in lines) * CHARACTER_WIDTH + 2 * MARGIN)
    height = BAR_HEIGHT + len(lines) * LINE_HEIGHT + 2 * MARGIN
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" viewBox="0 0 {width} {height}">',
        f'<rect width="{width}" height="{height}" rx="8" fill="#12161f"/>',
        f'<circle cx="{MARGIN + 4}" cy="{BAR_HEIGHT / 2 + 2}" r="5" fill="#3a4254"/>',
        f'<circle cx="{MARGIN + 22}" cy="{BAR_HEIGHT / 2 + 2}" r="5" fill="#3a4254"/>',
        f'<circle cx="{MARGIN + 40}" cy="{BAR_HEIGHT / 2 + 2}" r="5" fill="#3a4254"/>',
        f'<g font-family="monospace" font-size="{FONT_SIZE}" xml:space="preserve">',
    ]
    for row, (style, text) in enumerate(lines):
        y = BAR_HEIGHT + MARGIN + row * LINE_HEIGHT + FONT_SIZE
        x = MARGIN
        if style == "command":
            parts.append(f'<text x="{x}" y="{y}" fill="#4cc38a">$</text>')
            x += 2 * CHARACTER_WIDTH
        if not text:
            continue
        color = "#ffffff" if style == "command" else "#f5c76a" if "*APPLIED*" in text else "#aab4c8"
        length = f'{len(text) * CHARACTER_WIDTH:.1f}'
        # No-break spaces: not every viewer heeds xml:space.
        shown = escape(text).replace(" ", "\u00a0")
        parts.append(f'<text x="{x:g}" y="{y}" fill="{color}" textLength="{length}">{shown}</text>')
    parts += ["</g>", "</svg>", ""]
    return "\n".join(parts)


def main():
    programs = Path(sys.argv[1]).resolve() if len(sys.argv) > 1 else ROOT / "build/dev/bin"
    picture = Path(sys.argv[2]) if len(sys.argv) > 2 else ROOT / "docs/images/command-line.svg"
    if not (programs / "Torvelane").exists():
        sys.exit(f"there is no Torvelane in {programs}; build it first: ./dev run status")
    picture.parent.mkdir(parents=True, exist_ok=True)
    picture.write_text(draw(record(programs)), encoding="utf-8")
    print(picture)


if __name__ == "__main__":
    main()
