#!/usr/bin/env python3
"""Start and memory of Torvelane.exe under Wine against a bare Qt window, in turns; prints medians and their ratios.

Start is the time until the window is on the screen and no longer of one color. Memory is the anonymous part of the
process, ten seconds later: by then all pages have joined. Wants DISPLAY, a Wine prefix (WINEPREFIX) whose wineserver
runs, and the programs xdotool, import and convert (ImageMagick).

    window_under_wine.py wine-run bench_bare_window.exe Torvelane.exe [rounds]
"""

import os
import re
import signal
import statistics
import subprocess
import sys
import time

SETTLED_S = 10
LIMIT_S = 60


def output(*command, given=None):
    return subprocess.run(command, input=given, capture_output=True).stdout


def painted_window(title):
    """The id of a visible window with this title that shows more than one color; None as long as there is none."""
    for window in output("xdotool", "search", "--onlyvisible", "--name", title).decode().split():
        picture = output("import", "-silent", "-window", window, "png:-")
        colors = output("convert", "png:-", "-resize", "25%", "-unique-colors", "txt:-", given=picture)
        if colors.count(b"\n") > 3:
            return window
    return None


def windows_process(program):
    """The process that Wine runs the program in."""
    name = os.path.basename(program)
    for entry in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{entry}/cmdline", "rb") as file:
                first = file.read().split(b"\0")[0].decode(errors="replace")
        except OSError:
            continue
        if re.search(rf"(^|[\\/]){re.escape(name)}$", first.rstrip()):
            return int(entry)
    return None


def anonymous_mib(process):
    with open(f"/proc/{process}/smaps_rollup") as file:
        return next(int(line.split()[1]) for line in file if line.startswith("Anonymous:")) / 1024


def measure(run, program, title):
    began = time.monotonic()
    started = subprocess.Popen([run, program], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    while not painted_window(title):
        if time.monotonic() - began > LIMIT_S:
            sys.exit(f"{program} showed no window named {title}")
        time.sleep(0.01)
    seconds = time.monotonic() - began
    time.sleep(SETTLED_S)
    process = windows_process(program)
    memory = anonymous_mib(process)
    os.kill(process, signal.SIGTERM)
    started.wait()
    return seconds, memory


def main():
    run, bare, program = sys.argv[1:4]
    rounds = int(sys.argv[4]) if len(sys.argv) > 4 else 5
    floor, subject = [], []
    for number in range(rounds + 1):
        pair = measure(run, bare, "^Torvelane bare window$"), measure(run, program, "^Torvelane$")
        if number:  # The first pair warms up.
            floor.append(pair[0])
            subject.append(pair[1])
    for index, (name, unit) in enumerate((("start", "s"), ("anonymous memory", "MiB"))):
        low, high = (statistics.median(values[index] for values in side) for side in (floor, subject))
        print(f"{name}: {high:.2f} {unit} against {low:.2f}, ratio {high / low:.2f}")


if __name__ == "__main__":
    main()
