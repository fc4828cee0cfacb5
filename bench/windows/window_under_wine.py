#!/usr/bin/env python3
"""Start and memory of Torvelane.exe under Wine against a bare Qt window, in turns; prints medians and their ratios.

Start is the time until the window is on the screen and no longer of one color. Memory is the anonymous part of the
process, ten seconds later: by then all pages have joined. Wants DISPLAY, a Wine prefix (WINEPREFIX) whose wineserver
runs, libX11 and the program xdotool.

    window_under_wine.py wine-run bench_bare_window.exe Torvelane.exe [rounds]
"""

import ctypes
import os
import re
import signal
import statistics
import subprocess
import sys
import time

SETTLED_S = 10
LIMIT_S = 60


class XImage(ctypes.Structure):
    """The beginning of Xlib's struct."""

    _fields_ = [
        *((name, ctypes.c_int) for name in ("width", "height", "xoffset", "format")),
        ("data", ctypes.c_void_p),
        *((name, ctypes.c_int) for name in ("byte_order", "unit", "bit_order", "pad", "depth", "bytes_per_line")),
    ]


class Screen:
    """Takes milliseconds for a look, so that the time until a window is seen isn't that of the looking."""

    def __init__(self):
        x11 = self._x11 = ctypes.CDLL("libX11.so.6")
        x11.XOpenDisplay.restype = ctypes.c_void_p
        x11.XGetImage.restype = ctypes.POINTER(XImage)
        # A window may be gone before it is looked at, which would end this process.
        self._ignore = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p)(lambda *_: 0)
        x11.XSetErrorHandler(self._ignore)
        self._display = ctypes.c_void_p(x11.XOpenDisplay(None))
        if not self._display:
            sys.exit("there is no display")

    def colors(self, window):
        """The number of colors in the window."""
        unused, width, height = ctypes.c_ulong(), ctypes.c_uint(), ctypes.c_uint()
        display, drawable, of_no_use = self._display, ctypes.c_ulong(window), ctypes.byref(unused)
        if not self._x11.XGetGeometry(
            display, drawable, *(of_no_use,) * 3, ctypes.byref(width), ctypes.byref(height), *(of_no_use,) * 2
        ):
            return 0
        all_planes, by_pixel = ctypes.c_ulong(~0), 2
        image = self._x11.XGetImage(display, drawable, 0, 0, width, height, all_planes, by_pixel)
        if not image:
            return 0
        pixels = ctypes.string_at(image.contents.data, image.contents.bytes_per_line * image.contents.height)
        self._x11.XDestroyImage(image)
        return len(set(memoryview(pixels).cast("I")))


def painted_window(screen, title):
    """The id of a visible window with this title that shows more than one color; None as long as there is none."""
    found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", title], capture_output=True, text=True)
    return next((window for window in found.stdout.split() if screen.colors(int(window)) > 3), None)


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


def measure(screen, run, program, title):
    began = time.monotonic()
    started = subprocess.Popen([run, program], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    while not painted_window(screen, title):
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
    screen, floor, subject = Screen(), [], []
    for number in range(rounds + 1):
        pair = (
            measure(screen, run, bare, "^Torvelane bare window$"),
            measure(screen, run, program, "^Torvelane$"),
        )
        if number:  # The first pair warms up.
            floor.append(pair[0])
            subject.append(pair[1])
    for index, (name, unit) in enumerate((("start", "s"), ("anonymous memory", "MiB"))):
        low, high = (statistics.median(values[index] for values in side) for side in (floor, subject))
        print(f"{name}: {high:.2f} {unit} against {low:.2f}, ratio {high / low:.2f}")


if __name__ == "__main__":
    main()
