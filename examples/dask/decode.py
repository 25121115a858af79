#!/usr/bin/env python3
"""Decodes files of lines on all workers of a Dask cluster, each line by `velnor3gpp filter`.

    decode.py [--scheduler tcp://HOST:8786] [--workers N] [--block OCTETS] OUTPUT INPUT... [-- OPTIONS OF THE FILTER]

A task is a range of octets of a file: the lines that begin in it. Its output is renamed to OUTPUT/FILE.NUMBER when it is
whole, so that a task may die at any point and run again, here or elsewhere, even twice at once; what a killed task leaves
behind begins with a dot. The names sort in the order of the lines. At the end the counts of all tasks are added up; the
exit code is 1 if a line is missing. Without --scheduler a cluster of this machine alone is begun. On several machines the
folders have to be shared, and the program installed on each. Keys (--keys) bind the messages of a file to their order:
give each file as one block then."""
import argparse
import json
import os
import subprocess
import sys

from distributed import Client, LocalCluster, as_completed

CHUNK = 1 << 20


def start_of_line(file, at):
    """Where the first line begins that begins at `at` or behind it."""
    if at:
        file.seek(at - 1)
        file.readline()  # the line that began before, or its line feed
    return file.tell() if at else 0


def feed(name, first, last, pipe):
    """Hands the lines that begin in the range to the program."""
    with open(name, "rb") as file:
        end = start_of_line(file, last)
        left = end - min(start_of_line(file, first), end)
        file.seek(end - left)
        while left:
            octets = file.read(min(left, CHUNK))
            if not octets:
                raise EOFError("%s has become shorter" % name)
            pipe.write(octets)
            left -= len(octets)


def run(program, options, name, first, last, target):
    """A task. Nobody else writes the files it writes, and the target appears whole or not at all."""
    folder, file = os.path.split(target)
    own = "%s/.%s.%s.%d" % (folder, file, os.uname().nodename, os.getpid())
    words = [program, "filter", *options, "--summary", own + ".counts"]
    with open(own, "wb") as out:
        with subprocess.Popen(words, stdin=subprocess.PIPE, stdout=out, stderr=subprocess.DEVNULL) as child:
            feed(name, first, last, child.stdin)
    if child.returncode != 0:
        raise RuntimeError("%s: exit code %d" % (target, child.returncode))
    with open(own + ".counts") as file:
        counts = json.load(file)
    os.rename(own, target)
    os.remove(own + ".counts")
    return counts


def tasks(output, names, block):
    for name in names:
        name, size = os.path.abspath(name), os.path.getsize(name)
        for number, first in enumerate(range(0, max(size, 1), block)):
            yield name, first, min(first + block, size), "%s/%s.%05d" % (output, os.path.basename(name), number)


def main():
    arguments = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("--scheduler")
    arguments.add_argument("--workers", type=int, default=os.cpu_count())
    arguments.add_argument("--block", type=int, default=64 << 20)
    arguments.add_argument("--program", default="velnor3gpp")
    arguments.add_argument("output")
    arguments.add_argument("input", nargs="+")
    own, options = sys.argv[1:], []
    if "--" in own:
        own, options = own[: own.index("--")], own[own.index("--") + 1 :]
    given = arguments.parse_args(own)
    if given.block < 1 or given.workers < 1:
        arguments.error("--block and --workers are numbers above 0")
    if len(set(map(os.path.basename, given.input))) < len(given.input):
        arguments.error("files of one name would have one output")
    os.makedirs(given.output, exist_ok=True)
    output = os.path.abspath(given.output)
    cluster = given.scheduler or LocalCluster(n_workers=given.workers, threads_per_worker=1, dashboard_address=None)
    with Client(cluster) as client:
        begun = [client.submit(run, given.program, options, *task, pure=False, retries=5)
                 for task in tasks(output, given.input, given.block)]
        total = {"in": 0, "out": 0, "bad": 0}
        for _, counts in as_completed(begun, with_results=True):
            total = {name: total[name] + counts[name] for name in total}
    print("tasks=%d in=%d out=%d bad=%d" % (len(begun), total["in"], total["out"], total["bad"]))
    return total["in"] != total["out"]


if __name__ == "__main__":
    sys.exit(main())
