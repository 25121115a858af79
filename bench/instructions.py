#!/usr/bin/env python3
"""Compares the instructions that each work takes for a message with those of a file. They do not wobble as times do.

    bench/instructions.py COUNTED_ROUNDS [--compiler NAME] [--write] [FILE]

COUNTED_ROUNDS is the program of that name; valgrind counts what its function countedRound executes. A rise of more than
3 % fails; a fall as large is told, so that the file can be written anew (--write). Another compiler than that of the
file counts otherwise, so then the comparison is left out, as it is without valgrind: exit code 77, which means skipped.
"""
import argparse
import glob
import os
import platform
import re
import shutil
import subprocess
import sys
import tempfile

TOLERANCE = 0.03
SKIPPED = 77


def read_file(name):
    """The header's compiler and the figures by work."""
    compiler, figures = "", {}
    for line in open(name):
        if match := re.match(r"# compiler: (.*)", line):
            compiler = match[1].strip()
        elif line.strip() and not line.startswith("#"):
            work, count = line.split()
            figures[work] = float(count)
    return compiler, figures


def count(program, works):
    """Instructions per message by work."""
    with tempfile.TemporaryDirectory() as room:
        run = subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={room}/out",
                              "--toggle-collect=countedRound", "--dump-after=countedRound", program] + works,
                             capture_output=True, text=True)
        if run.returncode:
            sys.exit(run.stderr)
        dumps = glob.glob(f"{room}/out.*")
        dumps.sort(key=lambda name: int(name.rsplit(".", 1)[1]))
        totals = [int(re.search(r"^totals: (\d+)", open(name).read(), re.M)[1]) for name in dumps]
    lines = [line.split() for line in run.stdout.splitlines()]
    if len(totals) < len(lines) or [name for name, _ in lines] != works:
        sys.exit("not every round was counted")
    return {name: total / int(messages) for (name, messages), total in zip(lines, totals)}


def write(name, compiler, counted):
    head = [line for line in open(name) if line.startswith("#") and not line.startswith("# compiler:")]
    with open(name, "w") as out:
        out.writelines(head)
        out.write(f"# compiler: {compiler}\n")
        out.writelines(f"{work:<28} {each:9.1f}\n" for work, each in counted.items())


def compare(expected, counted):
    """Prints both. The works that take too much."""
    worse = []
    for work, before in expected.items():
        ratio = counted[work] / before
        mark = "  MORE" if ratio > 1 + TOLERANCE else "  less: write the file anew" if ratio < 1 - TOLERANCE else ""
        print(f"{work:<28} {before:9.1f} {counted[work]:9.1f} {ratio:7.3f}{mark}")
        if ratio > 1 + TOLERANCE:
            worse.append(work)
    return worse


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program")
    parser.add_argument("file", nargs="?", default=os.path.join(os.path.dirname(__file__), "instructions.txt"))
    parser.add_argument("--compiler", default="unknown")
    parser.add_argument("--write", action="store_true")
    options = parser.parse_intermixed_args()
    compiler = f"{options.compiler} {platform.machine()}"
    expected_compiler, expected = read_file(options.file)
    if not shutil.which("valgrind"):
        print("skipped: no valgrind (Debian package valgrind)")
        sys.exit(SKIPPED)
    if not options.write and compiler != expected_compiler:
        print(f"skipped: counted with {expected_compiler}, this is {compiler}")
        sys.exit(SKIPPED)
    counted = count(options.program, list(expected))
    if options.write:
        write(options.file, compiler, counted)
    worse = compare(expected, counted)
    if worse and not options.write:
        sys.exit(f"more than {TOLERANCE:.0%} above the file: {' '.join(worse)}")


if __name__ == "__main__":
    main()
