#!/usr/bin/env python3
"""How bench/report.py reads a profile, and when it names a rise."""

import contextlib
import io
import unittest

import report

# A name stands once; a call's line is followed by one that ends with the instructions spent in it.
PROFILE = """\
fn=(1) main
ob=(1) /usr/bin/program
0 10
cob=(2) /usr/lib/libQt6Core.so.6.4.2
cfn=(2) fdatasync
calls=2 0
+3 40
fn=(3) elsewhere
cob=(2)
cfn=(2)
calls=1 0
* 20
cfn=(4) QTimer::timerEvent(QTimerEvent*)
calls=1 0
0 300
cfn=(5) _IO_file_sync
calls=7 0
0 1
totals: 1000
"""


class Report(unittest.TestCase):
    def test_profile(self):
        profile = report.read_profile(PROFILE.splitlines())
        self.assertEqual(profile.calls_of(report.WAITS_FOR_DISK), 3)
        self.assertEqual(profile.libraries, {"/usr/lib/libQt6Core.so.6.4.2"})
        self.assertEqual(profile.instructions, 700)

    def test_rises(self):
        for kept, now, named in ((100, 103, False), (100, 104, True), (100, 90, False), (0, 1, True), (None, 5, False)):
            with self.subTest(kept=kept, now=now), contextlib.redirect_stdout(io.StringIO()):
                closing = report.compare([("figure", now, "")], {} if kept is None else {"figure": kept})
                self.assertEqual("figure" in "\n".join(closing[1:]), named)


if __name__ == "__main__":
    unittest.main()
