#!/usr/bin/env python3
"""Compares two builds in one run: their programs take turns, and the minima of both are laid side by side.

    bench/compare.py BEFORE AFTER [--runs N] [--bench NAME] [--filter REGEX]
    bench/compare.py BEFORE AFTER --program 'decode messages.txt'

BEFORE and AFTER are build trees. A machine that is shared slows both sides alike, and the least of many short
measurements is what is left of each; figures of two separate runs cannot be compared. With --program the command-line
program runs instead, and its processor time in user mode counts.
"""
import argparse
import json
import os
import re
import shlex
import subprocess
import sys
import tempfile


def bench_times(build, bench, pattern):
    """Minima of one run of a benchmark program, in ns, by name."""
    pattern = pattern.replace("$", "/min_time")  # which follows each name
    with tempfile.NamedTemporaryFile(suffix=".json") as out:
        subprocess.run([f"{build}/bench/{bench}", f"--benchmark_filter={pattern}", f"--benchmark_out={out.name}"],
                       stdout=subprocess.DEVNULL, check=True)
        runs = json.load(open(out.name))["benchmarks"]
    return {re.sub("/(repeats|min_time):.*", "", run["run_name"]): run["ns"]
            for run in runs if run.get("aggregate_name") == "min" and "ns" in run}


def program_time(build, arguments):
    """User time of one run of the program, in ns."""
    null = open(os.devnull, "w")
    process = subprocess.Popen([f"{build}/bin/velnor3gpp"] + arguments, stdout=null, stderr=null)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode < 0 or process.returncode > 1:
        sys.exit(f"{build}/bin/velnor3gpp ends with {process.returncode}")
    return {"user time": usage.ru_utime * 1e9}


def measure(build, options):
    if options.program:
        return program_time(build, shlex.split(options.program))
    return bench_times(build, options.bench, options.filter)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("builds", nargs=2, metavar="BUILD")
    parser.add_argument("--runs", type=int, default=10, help="runs of each side (10)")
    parser.add_argument("--bench", default="messageBench", help="benchmark program (messageBench)")
    parser.add_argument("--filter", default=".", help="regular expression of benchmark names")
    parser.add_argument("--program", metavar="ARGUMENTS", help="run bin/velnor3gpp with these instead")
    options = parser.parse_args()
    least = [{}, {}]
    for number in range(options.runs):
        for side in (0, 1) if number % 2 else (1, 0):  # neither side is always the one that runs first
            for name, ns in measure(options.builds[side], options).items():
                least[side][name] = min(ns, least[side].get(name, ns))
    print(f"{'minima of ' + str(options.runs) + ' runs':<44} {'before':>12} {'after':>12} {'ratio':>7}")
    for name, before in least[0].items():
        after = least[1].get(name)
        if after is not None and before:
            print(f"{name:<44} {before:12.1f} {after:12.1f} {after / before:7.3f}")


if __name__ == "__main__":
    main()
