#!/usr/bin/env python3
"""Checks that every test file keeps its code in a namespace named after the file.

The test binary compiles several test files as one unit, so two files' helpers in the same
namespace (anonymous ones included) would clash, or one file would silently call another's. Each
*_test.cc therefore opens `namespace vorno[::...]::<file name>_test`. A file may also reopen a
shared namespace (vorno::testing, say) to define what a support header declares.

Usage: check_test_namespaces.py <source root>. Prints each file that breaks the rule, exits 1.
"""
import pathlib
import re
import sys

OPENING = re.compile(r"^namespace (vorno(?:::\w+)*) \{$", re.M)


def problems(root):
    files = sorted(list(root.glob("src/**/*_test.cc")) + list(root.glob("tests/*_test.cc")))
    if not files:
        yield f"no test files found under {root}"
    for path in files:
        names = OPENING.findall(path.read_text(encoding="utf-8"))
        if not any(name.endswith("::" + path.stem) for name in names):
            yield f"{path.relative_to(root)}: no `namespace vorno::...::{path.stem}`"


def main():
    found = list(problems(pathlib.Path(sys.argv[1])))
    for problem in found:
        print(problem)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
