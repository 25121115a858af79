#!/usr/bin/env python3
"""Messages a second through iterdecode of the Python package, of processor time: the 5GS mix of the corpus, the best of
five runs. As lines, with one value of each message read; with nothing read; and from a capture.
Usage: pythonRate.py CORPUS [LEAST]   ends with 1 if lines that are read are fewer a second"""
import os
import struct
import sys
import tempfile
import time

import velnor3gpp

MESSAGES, RUNS = 100000, 5


def mix(path):
    """The well-formed 5GS messages that decode; not those that are as long as messages can be."""
    with open(path) as file:
        rows = [line.rstrip("\n").split("\t") for line in file]
    at = {name: number for number, name in enumerate(rows[0])}
    whole = [row[at["hex"]] for row in rows[1:] if row[at["form"]] == "TS24501Msg_PDU" and row[at["wellformed"]] == "yes"]
    return [digits for digits in whole if len(digits) < 2000 and next(velnor3gpp.iterdecode([digits])).status == 0]


def capture(lines):
    """A pcap file of link type 151, which is 5GS unless it is told otherwise."""
    path = os.path.join(tempfile.mkdtemp(), "mix.pcap")
    with open(path, "wb") as file:
        file.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 151))
        for number, line in enumerate(lines):
            octets = bytes.fromhex(line)
            file.write(struct.pack("<IIII", number, 0, len(octets), len(octets)) + octets)
    return path


def rate(make):
    best = float("inf")
    for _ in range(RUNS):
        before = time.process_time()
        count = make()
        best = min(best, time.process_time() - before)
    return count / best


def count(messages, read):
    number = bad = 0
    for message in messages:
        number += 1
        bad += read(message)
    assert number == MESSAGES and bad < number // 10, (number, bad)
    return number


corpus = mix(os.path.join(sys.argv[1], "ts24501.tsv"))
lines = [corpus[i % len(corpus)] for i in range(MESSAGES)]
path = capture(lines)
read = rate(lambda: count(velnor3gpp.iterdecode(lines), lambda message: message.status < 0))
octets = sum(map(len, corpus)) / 2 / len(corpus)
print("%d messages of %.1f octets; a second:" % (len(corpus), octets))
print("%d as lines, each record taken apart" % read)
print("%d as lines, none taken apart" % rate(lambda: count(velnor3gpp.iterdecode(lines), lambda message: False)))
print("%d from a capture, each record taken apart" % rate(
    lambda: count(velnor3gpp.iterdecode(path), lambda message: message.status < 0)))
os.remove(path)
os.rmdir(os.path.dirname(path))
slack = float(os.environ.get("VELNOR_SPEED_SLACK", "1"))
sys.exit(len(sys.argv) > 2 and read < float(sys.argv[2]) / slack)
