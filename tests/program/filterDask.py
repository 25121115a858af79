#!/usr/bin/env python3
"""Runs the example of Dask on a cluster of two workers, and kills one of them in the middle of a task, which runs
again. What comes out has to be what one process makes of the whole file, and the counts have to add up.
Usage: filterDask.py EXAMPLE PROGRAM INPUT FOLDER"""
import glob
import json
import os
import signal
import subprocess
import sys
import time

from distributed import LocalCluster

SLOW = """#!/bin/sh
echo $PPID >>%s/pids
{ head -c 20000; sleep 0.3; cat; } | %s "$@"
"""


def until(what, seconds=60):
    """Waits until there is something, and gives it."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        found = what()
        if found:
            return found
        time.sleep(0.02)
    sys.exit("nothing came of %s" % what.__name__)


def main(example, program, name, folder):
    folder = os.path.abspath(folder)
    whole = subprocess.run([program, "filter", "--summary", folder + "/counts"], stdin=open(name, "rb"),
                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True).stdout
    with open(folder + "/slow", "w") as file:
        file.write(SLOW % (folder, program))
    os.chmod(folder + "/slow", 0o755)

    def tasks_of_both_workers():
        pids = open(folder + "/pids").read().split() if os.path.exists(folder + "/pids") else []
        return len(set(pids)) == 2 and pids

    with LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None, local_directory=folder) as cluster:
        run = subprocess.Popen([sys.executable, example, "--scheduler", cluster.scheduler_address,
                                "--program", folder + "/slow", "--block", str(os.path.getsize(name) // 12),
                                folder + "/out", name], stdout=subprocess.PIPE, text=True)
        os.kill(int(until(tasks_of_both_workers)[-1]), signal.SIGKILL)
        said = run.communicate(timeout=120)[0]
    counts = json.load(open(folder + "/counts"))
    runs = open(folder + "/pids").read().split()
    names = sorted(glob.glob(folder + "/out/*"))
    print(said, "runs=%d" % len(runs))
    if run.returncode != 0 or said != "tasks=%d in=%d out=%d bad=%d\n" % (len(names), *counts.values()):
        sys.exit("counts: %s instead of %s" % (said, counts))
    if len(runs) <= len(names):
        sys.exit("the task of the killed worker did not run again")
    if b"".join(open(one, "rb").read() for one in names) != whole:
        sys.exit("the output of %d tasks differs from that of one process" % len(names))


if __name__ == "__main__":
    main(*sys.argv[1:])
