#!/usr/bin/env python3
"""Fails when an #include "..." in src/ points against the module order.

    python3 scripts/check_includes.py [ROOT]

ROOT is the source tree (default: the folder above this script). The order is read from
ROOT/docs/module_order.txt, the known exceptions from ROOT/docs/include_exceptions.txt. Each
wrong include is printed as `file:line: <module> includes <header>, which sits above it` (or
beside it, when neither module is beneath the other) and the exit status is 1. An exception that
no longer matches an include is an error too, so the list only ever shrinks.

Tests are code of their module and follow the same order, with one freedom: a test file (a
*_test.cc, or a test-only header: *_test_support.h, *_fixture(s).h, anything in a testing/
folder) may include the shared helpers in tests/ from anywhere. A module's test-only headers
follow the order like the rest of it, so a test can't pull in a module above its own through
them; code that ships includes no test support at all. Only the standard library is used, so the
check runs wherever python3 does.
"""

import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"')
ORDER_FILE = "docs/module_order.txt"
EXCEPTIONS_FILE = "docs/include_exceptions.txt"


class ConfigError(Exception):
    """A broken order or exceptions file: the check can't say anything about the code."""


def strip_comment(line):
    return line.split("#", 1)[0].strip()


def read_order(path):
    """Returns {module: set of modules beneath it}, built from lines `module: what it sits on`."""
    beneath = {}
    for number, raw in enumerate(path.read_text().splitlines(), 1):
        line = strip_comment(raw)
        if not line:
            continue
        name, colon, rest = line.partition(":")
        name = name.strip()
        if not colon or not name:
            raise ConfigError(f"{ORDER_FILE}:{number}: expected `module: the modules it sits on`")
        if name in beneath:
            raise ConfigError(f"{ORDER_FILE}:{number}: {name} is named twice")
        below = set()
        for lower in rest.split():
            # Only earlier lines count, which keeps the order free of cycles.
            if lower not in beneath:
                raise ConfigError(f"{ORDER_FILE}:{number}: {name} sits on {lower}, "
                                  f"which must have a line of its own above")
            below |= {lower} | beneath[lower]
        beneath[name] = below
    if not beneath:
        raise ConfigError(f"{ORDER_FILE}: names no module")
    return beneath


def read_exceptions(path):
    """Returns {(file, header): line number}; every entry must say why it is there."""
    entries = {}
    if not path.exists():
        return entries
    for number, raw in enumerate(path.read_text().splitlines(), 1):
        if not raw.strip() or raw.lstrip().startswith("#"):
            continue
        entry, hash_, reason = raw.partition("#")
        source, arrow, header = entry.partition("->")
        if not arrow or not source.strip() or not header.strip() or not reason.strip():
            raise ConfigError(f"{EXCEPTIONS_FILE}:{number}: expected `file -> header  # why`")
        entries[(source.strip(), header.strip())] = number
    return entries


def module_of(path, modules):
    """The longest module name that is a folder prefix of path (relative to src/), or None."""
    best = None
    for name in modules:
        if path.startswith(name + "/") and (best is None or len(name) > len(best)):
            best = name
    return best


def is_test_file(path):
    return path.endswith("_test.cc") or is_test_support(path)


def is_test_support(path):
    """Headers only tests use: the shared tests/ folder, *_test_support.h, fixtures, testing/."""
    name = path.rsplit("/", 1)[-1]
    return (path.startswith("tests/") or "/testing/" in "/" + path
            or name.endswith(("_test_support.h", "_fixture.h", "_fixtures.h")))


def resolve(header, including, root):
    """The header's path relative to src/: includes are written from src/, but a name beside the
    including file is what the compiler would take first."""
    beside = (root / "src" / including).parent / header
    if beside.is_file() and not (root / "src" / header).is_file():
        return beside.resolve().relative_to((root / "src").resolve()).as_posix()
    return header


def check(root):
    """Returns the list of problem lines; empty when every include follows the order."""
    beneath = read_order(root / ORDER_FILE)
    exceptions = read_exceptions(root / EXCEPTIONS_FILE)
    used = set()
    problems = []
    src = root / "src"
    for path in sorted(p for p in src.rglob("*") if p.suffix in (".h", ".cc") and p.is_file()):
        rel = path.relative_to(src).as_posix()
        shown = "src/" + rel
        module = module_of(rel, beneath)
        if module is None:
            problems.append(f"{shown}:1: lies in no module; give its folder a line in {ORDER_FILE}")
            continue
        testing = is_test_file(rel)
        for number, line in enumerate(path.read_text(errors="replace").splitlines(), 1):
            match = INCLUDE.match(line)
            if not match:
                continue
            header = resolve(match.group(1), rel, root)
            problem = judge(module, testing, header, beneath, src)
            if problem is None:
                continue
            if (shown, header) in exceptions:
                used.add((shown, header))
                continue
            problems.append(f"{shown}:{number}: {module} includes {header}, {problem}")
    for (shown, header), number in sorted(exceptions.items(), key=lambda e: e[1]):
        if (shown, header) not in used:
            problems.append(f"{EXCEPTIONS_FILE}:{number}: {shown} no longer includes {header} "
                            f"against the order; delete the line")
    return problems


def judge(module, testing, header, beneath, src):
    """None when module may include header, else why not (the end of the message)."""
    if is_test_support(header) and not testing:
        return "which is test support"
    if header.startswith("tests/"):
        return None
    target = module_of(header, beneath)
    if target is None:
        # A quoted name outside src/ is a library's header, not ours to order.
        if (src / header).is_file():
            return f"which lies in no module of {ORDER_FILE}"
        return None
    if target == module or target in beneath[module]:
        return None
    if module in beneath[target]:
        return "which sits above it"
    return "which sits beside it"


def main(argv):
    root = pathlib.Path(argv[1]) if len(argv) > 1 else pathlib.Path(__file__).resolve().parent.parent
    try:
        problems = check(root)
    except (ConfigError, OSError) as error:
        print(f"check_includes: {error}", file=sys.stderr)
        return 2
    for problem in problems:
        print(problem)
    if problems:
        print(f"check_includes: {len(problems)} include(s) against {ORDER_FILE}: move the code "
              f"down, or the include up; {EXCEPTIONS_FILE} only lists what is being moved",
              file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
