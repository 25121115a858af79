#!/usr/bin/env python3
"""Runs the filter as tasks of Dask's distributed scheduler: a task is a range of octets of one file, its output is
renamed when it is whole. While they run, a worker is killed; its tasks run again. What comes out has to be what one
process makes of the whole file, and the counts have to add up. `filterDask.py PROGRAM INPUT FOLDER`."""
import json
import os
import signal
import subprocess
import sys
import time

import dask
from distributed import Client, LocalCluster

RANGES = 24


def lines_in(name, first, last):
    """The lines that begin in a range. Every line begins in one."""
    with open(name, "rb") as file:
        if first:
            file.seek(first - 1)
            file.readline()  # the line that began before, or the line feed
        lines = []
        while file.tell() < last:
            line = file.readline()
            if not line:
                break
            lines.append(line)
    return b"".join(lines)


def task(program, name, folder, index, first, last, pause):
    with open(os.path.join(folder, "pids"), "a") as file:
        file.write("%d %d\n" % (index, os.getpid()))
    target = os.path.join(folder, "%02d" % index)
    temporary = "%s.%d" % (target, os.getpid())
    with open(temporary, "wb") as out:
        child = subprocess.Popen([program, "filter", "--summary", temporary + ".counts"], stdin=subprocess.PIPE,
                                 stdout=out, stderr=subprocess.DEVNULL)
        octets = lines_in(name, first, last)
        child.stdin.write(octets[: len(octets) // 2])
        child.stdin.flush()
        time.sleep(pause)  # so that there is a task to be killed in the middle of
        child.stdin.write(octets[len(octets) // 2 :])
        child.stdin.close()
        if child.wait() != 0:
            raise RuntimeError("exit code %d" % child.returncode)
    os.rename(temporary, target)
    with open(temporary + ".counts") as counts:
        return json.load(counts)


def kill_one(folder):
    """Kills the process of the first worker that has begun a task."""
    path = os.path.join(folder, "pids")
    while not os.path.exists(path) or not os.path.getsize(path):
        time.sleep(0.01)
    victim = int(open(path).readline().split()[1])
    os.kill(victim, signal.SIGKILL)
    return victim


def main(program, name, folder):
    whole = subprocess.run([program, "filter", "--summary", folder + "/whole.counts"], stdin=open(name, "rb"),
                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True).stdout
    size = os.path.getsize(name)
    cuts = [size * i // RANGES for i in range(RANGES + 1)]
    dask.config.set({"distributed.worker.daemon": False, "distributed.dashboard.link": ""})
    with LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None,
                      local_directory=folder) as cluster, Client(cluster) as client:
        tasks = [client.submit(task, program, name, folder, i, cuts[i], cuts[i + 1], 0.5 if i < 4 else 0, retries=3,
                               pure=False) for i in range(RANGES)]
        victim = kill_one(folder)
        counts = client.gather(tasks)
    runs = [line.split() for line in open(folder + "/pids")]
    if not any(pid != str(victim) for index, pid in runs if index == [i for i, p in runs if p == str(victim)][0]):
        sys.exit("the task of the killed worker did not run again")
    joined = b"".join(open("%s/%02d" % (folder, i), "rb").read() for i in range(RANGES))
    if joined != whole:
        sys.exit("the output of %d tasks differs from that of one process" % RANGES)
    total = {key: sum(each[key] for each in counts) for key in ("in", "out", "bad")}
    if total != json.load(open(folder + "/whole.counts")):
        sys.exit("counts of the tasks: %s" % total)
    print("tasks %d, runs %d, %s" % (RANGES, len(runs), total))


if __name__ == "__main__":
    main(*sys.argv[1:])
