#!/usr/bin/env python3
"""Tests of scripts/check_includes.py on small made-up trees, run by CTest beside the real check.

The real check passing says nothing if the checker stopped looking; these cases show that it
still fails on each kind of wrong include, and still honours (and polices) its exceptions.
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

CHECKER = pathlib.Path(__file__).resolve().parent / "check_includes.py"

ORDER = """\
# lowest first
low:
mid:  low
side: low
top:  mid side
"""


class CheckIncludesTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.root = pathlib.Path(self.folder.name)
        self.write("docs/module_order.txt", ORDER)
        self.write("src/low/base.h", "#pragma once\n")
        self.write("src/mid/middle.h", '#include "low/base.h"\n')
        self.write("src/side/other.h", '#include "low/base.h"\n')
        self.write("src/top/door.cc", '#include "mid/middle.h"\n#include "side/other.h"\n')

    def tearDown(self):
        self.folder.cleanup()

    def write(self, path, text):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)

    def run_check(self):
        result = subprocess.run([sys.executable, str(CHECKER), str(self.root)],
                                capture_output=True, text=True)
        return result.returncode, result.stdout.splitlines()

    def test_includes_downward_and_within_a_module_pass(self):
        self.write("src/mid/more.cc", '#include "mid/middle.h"\n#include "low/base.h"\n')
        self.assertEqual(self.run_check(), (0, []))

    def test_upward_include_fails_with_file_line_and_modules(self):
        self.write("src/low/bad.cc", '// a comment first\n#include "mid/middle.h"\n')
        self.assertEqual(self.run_check(),
                         (1, ["src/low/bad.cc:2: low includes mid/middle.h, which sits above it"]))

    def test_include_two_levels_up_fails(self):
        self.write("src/low/bad.h", '#include "top/door.h"\n')
        self.write("src/top/door.h", "#pragma once\n")
        code, lines = self.run_check()
        self.assertEqual(code, 1)
        self.assertEqual(lines, ["src/low/bad.h:1: low includes top/door.h, which sits above it"])

    def test_sideways_include_fails(self):
        self.write("src/mid/bad.cc", '#  include "side/other.h"\n')
        self.assertEqual(self.run_check(),
                         (1, ["src/mid/bad.cc:1: mid includes side/other.h, which sits beside it"]))

    def test_listed_exception_passes(self):
        self.write("src/low/bad.cc", '#include "mid/middle.h"\n')
        self.write("docs/include_exceptions.txt",
                   "# being moved\nsrc/low/bad.cc -> mid/middle.h  # moves down next\n")
        self.assertEqual(self.run_check(), (0, []))

    def test_exception_that_no_longer_matches_fails(self):
        self.write("docs/include_exceptions.txt",
                   "\nsrc/low/gone.cc -> mid/middle.h  # was moved\n")
        self.assertEqual(self.run_check(),
                         (1, ["docs/include_exceptions.txt:2: src/low/gone.cc no longer includes "
                              "mid/middle.h against the order; delete the line"]))

    def test_exception_without_a_reason_is_refused(self):
        self.write("src/low/bad.cc", '#include "mid/middle.h"\n')
        self.write("docs/include_exceptions.txt", "src/low/bad.cc -> mid/middle.h\n")
        code, _ = self.run_check()
        self.assertEqual(code, 2)

    def test_tests_may_include_shared_test_helpers_but_shipping_code_may_not(self):
        self.write("src/low/base_test.cc", '#include "tests/temp_folder.h"\n')
        self.write("src/low/base_test_support.h", '#include "tests/temp_folder.h"\n')
        self.assertEqual(self.run_check(), (0, []))
        self.write("src/low/base.cc", '#include "low/base_test_support.h"\n')
        self.assertEqual(self.run_check(),
                         (1, ["src/low/base.cc:1: low includes low/base_test_support.h, "
                              "which is test support"]))

    def test_tests_follow_the_order_for_everything_else(self):
        self.write("src/low/base_test.cc", '#include "mid/mid_test_support.h"\n')
        self.write("src/mid/mid_test_support.h", '#include "mid/middle.h"\n')
        self.assertEqual(self.run_check(),
                         (1, ["src/low/base_test.cc:1: low includes mid/mid_test_support.h, "
                              "which sits above it"]))

    def test_nested_folder_belongs_to_its_module(self):
        self.write("src/top/tools/tool.cc", '#include "top/door.h"\n#include "mid/middle.h"\n')
        self.write("src/top/door.h", "#pragma once\n")
        self.assertEqual(self.run_check(), (0, []))

    def test_file_outside_every_module_fails(self):
        self.write("src/stray/thing.cc", '#include "low/base.h"\n')
        self.assertEqual(self.run_check(),
                         (1, ["src/stray/thing.cc:1: lies in no module; give its folder a line "
                              "in docs/module_order.txt"]))

    def test_library_headers_in_quotes_are_not_ordered(self):
        self.write("src/low/uses_lib.cc", '#include "nlohmann/json.hpp"\n#include <vector>\n')
        self.assertEqual(self.run_check(), (0, []))

    def test_order_naming_a_later_module_is_refused(self):
        self.write("docs/module_order.txt", "low: mid\nmid:\n")
        code, _ = self.run_check()
        self.assertEqual(code, 2)


if __name__ == "__main__":
    unittest.main()
