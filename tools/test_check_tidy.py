#!/usr/bin/env python3
"""Cases for tools/check_tidy.py: findings, and sources without any."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

CHECK = Path(__file__).with_name("check_tidy.py")

HEADER = """\
namespace torvelane {
class Elsewhere;
enum Raw { raw };
enum class Kind { one };
constexpr int limitMs = 5;
/// Whether unusedFunction() is named in a comment makes no difference.
[[nodiscard]] bool usedFunction(const QString& text = QString());
void unusedFunction();
void forTests();
class Base : public QObject {
    Q_OBJECT
    Q_PROPERTY(double glow READ glow WRITE setGlow)
public:
    explicit Base(int size);
    virtual void run() = 0;
    void paintEvent(QPaintEvent*) override;
    [[nodiscard]] double glow() const { return m_glow; }
    void setGlow(double glow);
    int unusedMember() const { return helper(); }
private:
    int helper() const;
    std::function<void(int)> m_handler;
};
}
"""

SOURCE = """\
#include "core/A.h"
bool usedFunction(const QString& text)
{
    return text == "unusedFunction()" && limitMs;
}
void unusedFunction()
{
    usedFunction({});
}
void forTests() { }
Base::Base(int size) { run(); }
void Base::paintEvent(QPaintEvent*) { }
void Base::setGlow(double glow) { }
int Base::helper() const
{
    Base* const other = nullptr;
}
"""


def function(lines):
    return "void longOne(int a,\n             int b)\n{\n" + "    f();\n" * (lines - 2) + "}\n"


class CheckTidy(unittest.TestCase):
    def findings(self, files):
        with tempfile.TemporaryDirectory() as root:
            for path, text in {"src/core/A.h": "\n", "docs/testing.md": "", **files}.items():
                Path(root, path).parent.mkdir(parents=True, exist_ok=True)
                Path(root, path).write_text(text)
            result = subprocess.run([sys.executable, CHECK, root], capture_output=True, text=True)
            *lines, last = result.stdout.splitlines()
            self.assertEqual(result.returncode, 1 if lines else 0, result.stdout + result.stderr)
            self.assertEqual(last, "not tidy" if lines else "tidy")
            return [line.split(": ", 1)[1] for line in lines]

    def test_thread_locals(self):
        good = "thread_local const quint64 serial = ++last;\nstatic thread_local Raw* prepared = nullptr;\n"
        bad = "thread_local const std::shared_ptr<const void> token = make();\n"
        files = {"src/core/A.cpp": good, "src/core/B.cpp": bad, "src/platform/simulated/C.cpp": bad}
        self.assertEqual(self.findings(files), ["thread_local: a type that may have a destructor"])

    def test_unused_declarations(self):
        files = {"src/core/A.h": HEADER, "src/core/A.cpp": SOURCE, "tests/core/t.cpp": "forTests();\n"}
        expected = ["Elsewhere: nobody uses it", "Kind: nobody uses it", "unusedFunction: nobody uses it"]
        expected += ["forTests: only tests use it", "unusedMember: nobody uses it"]
        self.assertEqual(self.findings(files), expected)

    def test_lengths(self):
        for path, text, finding in (
            ("src/core/A.cpp", function(70), None),
            ("src/core/A.cpp", function(71), "longOne: 71 lines; a function"),
            ("src/core/B.h", "struct A {\n    " + function(71).replace("\n", "\n    ") + "};\n", "71 lines; a function"),
            ("src/core/A.cpp", function(60) + function(60), None),
            ("tools/a.py", "def f():\n" + "    g()\n" * 70, "f: 71 lines; a function"),
            ("tools/a.sh", "f() {\n" + "  g\n" * 69 + "}\n", "f: 71 lines; a function"),
            ("src/core/A.cpp", "\n" * 500, None),
            ("src/core/A.cpp", "\n" * 501, "501 lines; a file"),
        ):
            with self.subTest(path, finding=finding):
                found = [line for line in self.findings({path: text}) if "lines" in line]
                self.assertEqual(len(found), 1 if finding else 0, found)
                self.assertIn(finding or "", "".join(found))

    def test_table_of_suites(self):
        table = "| `tst_A` | a | both |\n| `tst_Gone` | b | both |\n"
        files = {"docs/testing.md": table, "tests/core/tst_A.cpp": "", "tests/core/tst_New.cpp": ""}
        self.assertEqual(self.findings(files), ["tst_Gone: no such suite", "tst_New: a suite without a row"])


if __name__ == "__main__":
    unittest.main()
