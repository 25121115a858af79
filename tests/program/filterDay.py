#!/usr/bin/env python3
"""Runs the filter over as many messages as a day has: the corpus, shuffled and repeated, with lines that are no messages
among it. Every repetition has to come out as the first one, the counts have to be right, and memory has to stay where
it is. `filterDay.py PROGRAM CORPUS --lines 86400000` is 24 hours of 1,000 messages a second; tests run fewer."""
import argparse
import glob
import json
import os
import random
import subprocess
import sys
import tempfile
import threading
import time

LIMIT = 32 << 20  # octets of memory
BROKEN = [b"", b"\t", b"no hex", b"7e0", b"\xff\xfe", b"7e00 5b01 ", b"x\t7e005b01\textra", b"k\t" + b"00" * 70000]


def corpus(folder):
    messages = []
    for name in sorted(glob.glob(os.path.join(folder, "ts*.tsv"))):
        for line in open(name, "rb"):
            cells = line.rstrip(b"\n").split(b"\t")
            if len(cells) > 3 and not line.startswith((b"#", b"id\t")):
                messages.append(cells[3])
    return messages


def linesOf(folder, count):
    draw = random.Random(1)
    messages = corpus(folder)
    lines = [b"%08d\t%s" % (i, draw.choice(messages)) for i in range(count)]
    for i in range(0, count, 200):
        lines[i] = draw.choice(BROKEN)
    return b"\n".join(lines) + b"\n"


def memory(pid):
    """The most that the process has had, in octets; of a process that has just ended, nothing."""
    with open("/proc/%d/status" % pid) as status:
        sizes = [int(line.split()[1]) << 10 for line in status if line.startswith("VmHWM")]
    return sizes[0] if sizes else 0


class Failed(Exception):
    pass


def hold(kept, what):
    if not kept:
        raise Failed(what)


def firstTurn(program, block, options):
    done = subprocess.run([program, "filter"] + options, input=block, capture_output=True)
    hold(done.returncode == 0, "exit code %d" % done.returncode)
    records, answers = block.split(b"\n")[:-1], done.stdout.split(b"\n")[:-1]
    hold(len(records) == len(answers), "%d lines for %d" % (len(answers), len(records)))
    bad = 0
    for record, answer in zip(records, answers):
        told = json.loads(answer)
        key = record.split(b"\t")[0].decode() if b"\t" in record else None
        hold(told.get("key") == key, "the key of %r is not that of %r" % (record[:80], answer[:80]))
        hold(("err" in told) != ("status" in told), "%r is neither good nor bad" % answer[:80])
        bad += "err" in told
    return done.stdout, len(records), bad


def feed(pipe, block, turns, rest):
    try:
        for _ in range(turns):
            pipe.write(block)
        pipe.write(rest)
        pipe.close()
    except BrokenPipeError:
        pass


def compare(out, expected, sizes, pid):
    """Reads all output. It has to be the expected octets again and again; memory is looked at each time."""
    at = 0
    while True:
        piece = out.read(len(expected))
        if not piece:
            return at
        hold(expected.startswith(piece), "another output behind octet %d" % at)
        sizes.append(memory(pid))
        at += len(piece)


def day(program, folder, lines, each, options):
    block = linesOf(folder, min(each, lines))
    expected, count, bad = firstTurn(program, block, options)
    turns, more = divmod(lines, count)
    rest = b"".join(line + b"\n" for line in block.split(b"\n")[:more])
    restOut, _, restBad = firstTurn(program, rest, options) if more else (b"", 0, 0)
    hold(expected.startswith(restOut), "the same lines come out otherwise")
    sizes = []
    with tempfile.NamedTemporaryFile() as summary:
        start = time.monotonic()
        command = [program, "filter", "--summary", summary.name] + options
        child = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        writer = threading.Thread(target=feed, args=(child.stdin, block, turns, rest), daemon=True)
        writer.start()
        octets = compare(child.stdout, expected, sizes, child.pid)
        told = child.stderr.read().decode()
        _, status, usage = os.wait4(child.pid, 0)
        seconds = time.monotonic() - start
        counts = json.load(open(summary.name))
    hold(status == 0, "exit status %d: %s" % (status, told))
    hold(octets == turns * len(expected) + len(restOut), "%d octets came out" % octets)
    wanted = {"in": lines, "out": lines, "bad": turns * bad + restBad}
    hold(counts == wanted, "%s is counted, %s is right" % (counts, wanted))
    hold(told == "in=%(in)d out=%(out)d bad=%(bad)d\n" % wanted, "said is " + told)
    peak = max(sizes)  # what the system counts for a child that has ended is also its parent's
    hold(peak <= LIMIT, "%d octets of memory" % peak)
    hold(peak - sizes[len(sizes) // 4] <= 1 << 20, "memory grows: %s" % sizes[:: len(sizes) // 4 or 1])
    print("%d lines, %d bad, %.1f MB out, peak memory %.1f MiB, %.0f s, processor %.0f s"
          % (lines, wanted["bad"], octets / 1e6, peak / (1 << 20), seconds, usage.ru_utime + usage.ru_stime))


def main():
    reader = argparse.ArgumentParser()
    reader.add_argument("program")
    reader.add_argument("corpus")
    reader.add_argument("--lines", type=int, default=86400000)
    reader.add_argument("--each", type=int, default=100000, help="lines of a repetition")
    reader.add_argument("--jobs", default="1")
    arguments = reader.parse_args()
    try:
        day(arguments.program, arguments.corpus, arguments.lines, arguments.each, ["-j", arguments.jobs])
    except Failed as fault:
        sys.exit("filterDay: %s" % fault)


main()
