#!/usr/bin/env python3
"""Cases for tools/check_includes.py: findings, and sources without any."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

CHECK = Path(__file__).with_name("check_includes.py")

ROOMS = """
# room | may use | what lives there
core | | this
platform | core | that
system | platform | what
tweaks | system | tweaks
optimizers | system | others
ui | tweaks, optimizers | what is seen
ui/theme | | looks
ui/pages | ui/theme | pages
shell | ui | all
"""

# Room and file, its text, and a word of the finding; None where there must be none.
CASES = {
    "upwards": ("system/A.cpp", '#include "tweaks/Tweak.h"\n', "system may not use tweaks"),
    "sideways": ("optimizers/A.cpp", '#include "tweaks/Tweak.h"\n', "optimizers may not use tweaks"),
    "spaced directive": ("core/A.h", '#  include  "platform/Registry.h"\n', "core may not use platform"),
    "one machine's header": ("tweaks/A.cpp", '#include "platform/simulated/Store.h"\n', "belongs to one machine"),
    "out of the folder": ("core/A.cpp", '#include "../platform/Registry.h"\n', "leaves its folder"),
    "Windows header": ("platform/simulated/A.cpp", "#include <Windows.h>\n", "Windows header"),
    "Windows header of a family": ("optimizers/A.cpp", "#include <wrl/client.h>\n", "Windows header"),
    "system asked": ("tweaks/A.cpp", "#ifdef Q_OS_WIN\n#endif\n", "Q_OS_WIN"),
    "system asked behind a comment": ("ui/theme/A.cpp", "/* so */ #if defined(_WIN32)\n#endif\n", "_WIN32"),
    "upwards within a room": ("ui/theme/A.cpp", '#include "ui/pages/Page.h"\n', "ui/theme may not use ui/pages"),
    "upwards out of a folder": ("ui/pages/A.cpp", '#include "shell/Main.h"\n', "ui/pages may not use shell"),
    "unknown folder": ("ui/extras/A.cpp", "\n", "no room"),
    "unknown folder included": ("shell/A.cpp", '#include "ui/extras/A.h"\n', "not in src/rooms.txt"),
    "unknown room": ("extras/A.cpp", "\n", "no room"),
    "unresolved": ("core/A.cpp", '#include "Nowhere.h"\n', "names no file"),
    "downwards, over several rooms": ("shell/A.cpp", '#include "core/Log.h"\n#include <QString>\n', None),
    "downwards within a room": ("ui/pages/A.cpp", '#include "ui/theme/Theme.h"\n#include "core/Log.h"\n', None),
    "into a folder from outside": ("shell/A.cpp", '#include "ui/pages/Page.h"\n', None),
    "Windows in its own folder": ("platform/windows/A.cpp", "#include <windows.h>\n", None),
    "system asked in the platform": ("platform/A.cpp", "#ifdef _WIN32\n#endif\n", None),
    "only a comment": ("core/A.cpp", '// #include "tweaks/Tweak.h"\n/* #include <windows.h>\nQ_OS_WIN */\n', None),
    "only a text": ("tweaks/A.cpp", 'const char* text = "// Q_OS_WIN";\n', None),
}


class CheckIncludes(unittest.TestCase):
    def run_check(self, root):
        return subprocess.run([sys.executable, CHECK, root], capture_output=True, text=True)

    def test_cases(self):
        for name, (path, text, finding) in CASES.items():
            with self.subTest(name), tempfile.TemporaryDirectory() as root:
                file = Path(root, "src", path)
                file.parent.mkdir(parents=True)
                file.write_text(text)
                Path(root, "src", "rooms.txt").write_text(ROOMS)
                result = self.run_check(root)
                self.assertEqual(result.returncode, 0 if finding is None else 1, result.stdout + result.stderr)
                if finding:
                    self.assertRegex(result.stdout, rf"^src/{path}:1: .*{finding}")

    def test_the_page_has_the_table(self):
        with tempfile.TemporaryDirectory() as root:
            for path, text in {
                "src/core/A.cpp": "\n",
                "src/rooms.txt": "core | | this\nsystem | core | that\n",
                "docs/architecture.md": "| `core` | this |\n| `system` | what |\n",
            }.items():
                Path(root, path).parent.mkdir(parents=True, exist_ok=True)
                Path(root, path).write_text(text)
            self.assertRegex(self.run_check(root).stdout, r"\Adocs/architecture.md: the row of 'system' [^\n]*\n\Z")

    def test_no_sources_is_a_finding(self):
        with tempfile.TemporaryDirectory() as root:
            self.assertEqual(self.run_check(root).returncode, 1)


if __name__ == "__main__":
    unittest.main()
