"""Plants single breaches in a small tree that keeps its plan, and expects scripts/check-floors to name each."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

CHECK = Path(__file__).resolve().parents[2] / "scripts" / "check-floors"

PLAN = """
## Floors

| floor | folders | public headers |
|---|---|---|
| ground | `bytes` | `low.h` |
| middle | `store`, `rules` | `mid.h` |
| top | `project` | `top.h` |
| file host | `host/file` | `file.h` |
| program | `host` | |

## Afterwards

| `elsewhere` | `no_folder` | `no_header.h` |
"""

TREE = {
    "docs/architecture.md": PLAN,
    "include/casebook/low.h": "#include <string>",
    "include/casebook/mid.h": "#include <casebook/low.h>",
    "include/casebook/top.h": "#include <casebook/mid.h>",
    "src/bytes/a.h": "#include <casebook/low.h>",
    "src/bytes/a.cpp": '#include "bytes/a.h"',
    "src/store/b.h": '#include "bytes/a.h"',
    "src/rules/c.h": "#include <casebook/mid.h>",
    "src/project/d.h": '#include "store/b.h"\n#include "rules/c.h"\n#include <boost/crc.hpp>',
    "host/file/include/casebook/file.h": "#include <casebook/top.h>",
    "host/file/block.h": "",
    "host/file/block.cpp": '#include "block.h"\n#include <casebook/file.h>',
    "host/main.h": "#include <fmt/core.h>",
    "host/main.cpp": '#include "main.h"\n#include <casebook/file.h>\n#include <casebook/low.h>',
}

BREACHES = [
    ("upwards", "src/bytes/a.cpp", '#include "store/b.h"', "bytes is below store"),
    ("between peers", "src/store/b.h", '#include "rules/c.h"', "store is a peer of rules"),
    ("a higher public header", "src/store/b.h", "#include <casebook/top.h>", "is on a higher floor"),
    ("beside itself", "src/bytes/a.cpp", '#include "a.h"', '"a.h" is not a file of src/'),
    ("spaces in the directive", "src/bytes/a.cpp", '  #  include "store/b.h"', "bytes is below store"),
    ("an unknown public header", "src/bytes/a.cpp", "#include <casebook/none.h>", "is not on the plan"),
    ("a header upwards", "include/casebook/low.h", "#include <casebook/mid.h>", "is on a higher floor"),
    ("a header inwards", "include/casebook/top.h", '#include "store/b.h"', "a public header may not include"),
    ("a header of the file host", "src/project/d.h", "#include <casebook/file.h>", "is on a higher floor"),
    ("a host inwards", "host/main.cpp", '#include "store/b.h"', 'public headers, not "store/b.h"'),
    ("a host by a detour", "host/main.cpp", '#include "../src/store/b.h"', "public headers, not"),
    ("a host into the file host", "host/main.cpp", '#include "file/block.h"', "public headers, not"),
    ("the file host upwards", "host/file/block.cpp", '#include "../main.h"', "public headers, not"),
    ("an unplanned folder", "src/attic/e.h", "", "its folder is not on the plan"),
    ("a file in no folder", "src/e.h", "", "its folder is not on the plan"),
    ("an unplanned header", "include/casebook/extra.h", "", "this public header is not on the plan"),
    ("a folder that is gone", "docs/architecture.md", PLAN.replace("`bytes`", "`bytes` `gone`"), "no code in gone"),
    ("a header that is gone", "docs/architecture.md", PLAN.replace("`low.h`", "`low.h` `gone.h`"), "header gone.h"),
    ("a folder named again", "docs/architecture.md", PLAN.replace("`store`", "`store`, `store`"), "plan twice"),
]


def check(changes):
    with tempfile.TemporaryDirectory() as folder:
        for name, text in (TREE | changes).items():
            path = Path(folder, name)
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text + "\n", encoding="utf-8")
        command = [sys.executable, "-B", str(CHECK), "--root", folder]
        return subprocess.run(command, capture_output=True, text=True, check=False)


class CheckFloors(unittest.TestCase):
    def test_accepts_a_tree_that_keeps_its_plan(self):
        result = check({})
        self.assertEqual((result.returncode, result.stdout), (0, ""), result.stderr)

    def test_names_each_planted_breach_and_nothing_else(self):
        for title, path, text, message in BREACHES:
            with self.subTest(title):
                result = check({path: text})
                self.assertEqual(result.returncode, 1, result.stderr)
                self.assertRegex(result.stdout, rf"^{path}:\d+: .*\n\Z")
                self.assertIn(message, result.stdout)

    def test_gives_the_line_of_the_include(self):
        result = check({"src/bytes/a.cpp": '#include <string>\n\n#include "store/b.h"'})
        self.assertIn("src/bytes/a.cpp:3: ", result.stdout)

    def test_refuses_to_pass_without_a_plan(self):
        self.assertEqual(check({"docs/architecture.md": "## Walls"}).returncode, 2)


if __name__ == "__main__":
    unittest.main()
