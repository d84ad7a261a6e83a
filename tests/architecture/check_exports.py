#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares what a shared library exports with a list in the tree.

usage: check_exports.py [--update] <library> <list>

With --update the list is written anew: look at the difference before it is committed.
"""
import argparse
import difflib
import pathlib
import re
import subprocess
import sys

# What the sanitizers add to a library, and the linker to a library without a version script.
FOREIGN = re.compile(r"__(asan|odr_asan|tsan|ubsan|lsan|sanitizer|start_|stop_)|_(init|fini)$")
# Constants of the headers' own: whether one gets a symbol is up to the optimiser.
CONSTANT = re.compile(r"::k[A-Z]\w*$")


def exported_names(library):
    output = subprocess.run(["nm", "--dynamic", "--demangle", "--defined-only", library],
                            check=True, capture_output=True, text=True).stdout
    # Address and type end in a blank each; the name may hold more.
    names = {line.split(" ", 2)[2] for line in output.splitlines()}
    return sorted(name for name in names if not FOREIGN.match(name) and not CONSTANT.search(name))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--update", action="store_true", help="write the list anew")
    parser.add_argument("library")
    parser.add_argument("list", type=pathlib.Path)
    arguments = parser.parse_args()

    actual = exported_names(arguments.library)
    if not actual:
        print(f"{arguments.library} exports nothing")
        return 1
    if arguments.update:
        arguments.list.write_text("\n".join(actual) + "\n")
    expected = arguments.list.read_text().splitlines()
    difference = list(difflib.unified_diff(expected, actual, str(arguments.list),
                                           arguments.library, n=0, lineterm=""))
    print("\n".join(difference) or f"{len(actual)} names as listed")
    return 1 if difference else 0


if __name__ == "__main__":
    sys.exit(main())
