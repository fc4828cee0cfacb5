#!/usr/bin/env python3
"""Measures the cost of Torvelane and compares it with the figures kept in bench/figures.json.

Counts, not times, so that a busy machine gives the same result: callgrind counts the instructions of whole processes,
the widgets they make, the libraries that run and the calls that wait for the disk; the kernel reports the anonymous
memory. Each program runs on a machine and in a data directory of the report's, with a bare environment.

A figure that has risen by more than 3 % is printed in red and named in the closing lines, which also go to
report-closing.txt beside the programs' folder. A rise is no failure. The exit code is 1 after a failed measurement.

    report.py <folder of the programs> [--keep]     --keep writes the measured figures to bench/figures.json
"""

import argparse
import json
import os
import re
import statistics
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass, field
from pathlib import Path

FIGURES = Path(__file__).with_name("figures.json")
LIMIT = 0.03

# The first paint is over when it goes to the screen. callgrind dumps its counts there.
AFTER_FIRST_PAINT = "QBackingStore::flush*"

# Under callgrind a program is some fifty times slower and timers fire far too early, now more of them, now fewer.
# Their work isn't counted: at full speed they wait until the window has been painted.
TIMER = re.compile(r"QTimer::timerEvent\(")
MAKES_WIDGET = re.compile(r"QWidgetPrivate::init\(")
WAITS_FOR_DISK = re.compile(r"(fsync|fdatasync|msync|sync|syncfs|sync_file_range)\Z")
LIBRARY = re.compile(r"\.so(\.|\Z)")

MEMORY_RUNS = 5
SETTLED_S = 2.0  # Pages join the window every 50 ms; memory that stays for this long has all of them.
SETTLE_LIMIT_S = 60


class NotMeasured(Exception):
    pass


@dataclass
class Profile:
    """The counts of callgrind for one process."""

    instructions: int = 0
    libraries: set = field(default_factory=set)
    calls: dict = field(default_factory=dict)  # by the function's name: their number, and the instructions in them

    def calls_of(self, pattern, what=0):
        return sum(call[what] for name, call in self.calls.items() if pattern.match(name))

    def instructions_in(self, pattern):
        return self.calls_of(pattern, what=1)


def read_profile(lines):
    """Reads callgrind's output: names stand once, behind a number that stands for them from then on."""
    profile, names, called = Profile(), {}, None
    lines = iter(lines)
    for line in lines:
        key, _, value = line.rstrip("\n").partition("=")
        if key in ("ob", "cob"):
            name = value.partition(") ")[2]
            if LIBRARY.search(name):
                profile.libraries.add(name)
        elif key in ("fn", "cfn"):
            number, _, name = value.partition(" ")
            if name:
                names[number] = name
            called = names[number]
        elif key == "calls":
            count, instructions = profile.calls.get(called, (0, 0))
            profile.calls[called] = (count + int(value.split()[0]), instructions + int(next(lines).split()[-1]))
        elif line.startswith("totals:"):
            profile.instructions = int(line.split()[1])
    profile.instructions -= profile.instructions_in(TIMER)
    return profile


class Bench:
    """The programs, and the machine and directories that they run in."""

    def __init__(self, programs, scratch):
        self.programs, self.scratch = programs, Path(scratch)
        self.environment = {
            "PATH": "/usr/bin:/bin",
            "HOME": scratch,
            "LC_ALL": "C.UTF-8",
            "QT_HASH_SEED": "0",  # Otherwise the order in hash tables, and the work, is another one at each start.
            "XDG_CONFIG_HOME": scratch,
            "XDG_RUNTIME_DIR": scratch,
            "TORVELANE_SIMULATED_PC": str(self.scratch / "machine.db"),
        }

    def command(self, platform, program, *arguments):
        return [str(self.programs / program), *arguments], dict(self.environment, QT_QPA_PLATFORM=platform)

    def run(self, platform, *command):
        arguments, environment = self.command(platform, *command)
        self.finish(arguments, environment)

    def finish(self, arguments, environment):
        result = subprocess.run(
            arguments, env=environment, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=300
        )
        if result.returncode != 0:
            raise NotMeasured(f"{' '.join(arguments)} ended with {result.returncode}\n{result.stdout}{result.stderr}")

    def profile(self, platform, *command, until=None):
        """Counts from the start of a process to its end, or to a function."""
        arguments, environment = self.command(platform, *command)
        output = self.scratch / "callgrind.out"
        dump = output.with_name("callgrind.out.1") if until else output
        dump.unlink(missing_ok=True)
        valgrind = ["valgrind", "--tool=callgrind", f"--callgrind-out-file={output}"]
        self.finish([*valgrind, *([f"--dump-before={until}"] if until else []), *arguments], environment)
        if not dump.exists():
            raise NotMeasured(f"{' '.join(arguments)} never came to {until}")
        with dump.open(encoding="utf-8", errors="replace") as lines:
            profile = read_profile(lines)
        if not profile.instructions:
            raise NotMeasured(f"callgrind counted nothing in {' '.join(arguments)}")
        return profile

    def settled_memory_kib(self, program):
        """The anonymous memory of a window with all its pages, each value from a process of its own."""
        processes = []
        try:
            for _ in range(MEMORY_RUNS):
                arguments, environment = self.command("offscreen", program, "wait")
                process = subprocess.Popen(
                    arguments, env=environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                    stderr=subprocess.DEVNULL, text=True,
                )
                processes.append(process)
                if process.stdout.readline() != "painted\n":
                    raise NotMeasured(f"{program} wasn't painted")
            return wait_until_settled([process.pid for process in processes])
        finally:
            for process in processes:
                process.communicate()  # closes the input, which ends the program


def anonymous_kib(process):
    rollup = Path("/proc", str(process), "smaps_rollup").read_text()
    return int(re.search(r"^Anonymous: *(\d+) kB", rollup, re.MULTILINE).group(1))


def wait_until_settled(processes):
    """The memory of each process, once none has grown by a thousandth for a while."""
    began = settled_since = time.monotonic()
    last = [0] * len(processes)
    while time.monotonic() - settled_since < SETTLED_S:
        if time.monotonic() - began > SETTLE_LIMIT_S:
            raise NotMeasured(f"memory still grew after {SETTLE_LIMIT_S} s: {last} KiB")
        now = [anonymous_kib(process) for process in processes]
        if any(abs(value - old) > old / 1000 for value, old in zip(now, last)):
            last, settled_since = now, time.monotonic()
        time.sleep(0.1)
    return last


def measure(bench):
    """Name of each figure, its value, and what it is made of."""
    # The first start fills the machine and the caches of the fonts.
    bench.run("minimal", "Torvelane", "status")
    bench.run("offscreen", "label_window", "wait")
    bench.run("offscreen", "main_window", "wait")

    floor = bench.profile("minimal", "qapplication_only")
    entry = "opt.disable-gamedvr"
    for verb in ("list", f"apply {entry}", f"revert {entry}"):
        profile = bench.profile("minimal", "Torvelane", *verb.split())
        name = verb.split()[0]
        yield f"{name}: instructions, of a bare QApplication's", *ratio(profile, floor)
        if name == "list":
            yield "list: loaded libraries", len(profile.libraries), ""
        yield f"{name}: waits for the disk", profile.calls_of(WAITS_FOR_DISK), ""

    label = bench.profile("offscreen", "label_window", "wait", until=AFTER_FIRST_PAINT)
    window = bench.profile("offscreen", "main_window", "wait", until=AFTER_FIRST_PAINT)
    yield "window: instructions to the first paint, of a label's window", *ratio(window, label)
    yield "window: widgets made until then", window.calls_of(MAKES_WIDGET), ""
    yield "window: libraries loaded until then", len(window.libraries), ""
    yield "window: waits for the disk until then", window.calls_of(WAITS_FOR_DISK), ""

    window_kib = statistics.median(bench.settled_memory_kib("main_window"))
    label_kib = statistics.median(bench.settled_memory_kib("label_window"))
    made_of = f"{window_kib / 1024:.1f} MiB to {label_kib / 1024:.1f}"
    yield "window: anonymous memory with all pages, of a label's window", round(window_kib / label_kib, 3), made_of


def ratio(subject, floor):
    made_of = f"{subject.instructions / 1e6:.1f} million to {floor.instructions / 1e6:.1f}"
    return round(subject.instructions / floor.instructions, 3), made_of


def red(text):
    coloured = (sys.stdout.isatty() or "CI" in os.environ) and "NO_COLOR" not in os.environ
    return f"\033[31m{text}\033[0m" if coloured else text


def change_of(value, kept):
    if kept is None:
        return "new"
    if value == kept:
        return ""
    return f"{(value - kept) / kept:+.1%}" if kept else f"+{value}"


def compare(rows, kept):
    """Prints the table. Returns the closing lines."""
    risen = []
    print(f"{'':62}{'kept':>9}{'now':>9}{'change':>9}")
    for name, value, made_of in rows:
        old = kept.get(name)
        line = f"{name:62}{'' if old is None else old:>9}{value:>9}{change_of(value, old):>9}  {made_of}".rstrip()
        if old is not None and value > old * (1 + LIMIT):
            risen.append(f"{name}: {old} -> {value} ({change_of(value, old)})")
            line = red(line)
        print(line, flush=True)
    if not risen:
        return ["Report: no figure has risen by more than 3 %"]
    return [f"Report: {len(risen)} risen by more than 3 %; ./dev report --keep accepts them"] + [
        red(f"  {line}") for line in risen
    ]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("programs", type=Path)
    parser.add_argument("--keep", action="store_true")
    options = parser.parse_args()
    kept = json.loads(FIGURES.read_text(encoding="utf-8")) if FIGURES.exists() else {}
    try:
        with tempfile.TemporaryDirectory() as scratch:
            rows = list(measure(Bench(options.programs.resolve(), scratch)))
    except (NotMeasured, OSError, subprocess.SubprocessError) as error:
        print(f"report: not measured: {error}", file=sys.stderr)
        return 1
    closing = compare(rows, kept)
    print("\n".join(closing))
    (options.programs / "../report-closing.txt").write_text("\n".join(closing) + "\n", encoding="utf-8")
    if options.keep:
        figures = {name: value for name, value, _ in rows}
        FIGURES.write_text(json.dumps(figures, indent=2) + "\n", encoding="utf-8")
        print(f"Written to bench/{FIGURES.name}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
