#!/usr/bin/env python3
"""Reads the view of every message of the corpus, whole and cut, and holds its margin against the octets: each bit of
the message stands in one line and no other, as it is in the message, and no line is longer than it may be."""
import glob
import os
import re
import subprocess
import sys
import tempfile

MARGIN = re.compile(r" {0,4}(\d+)  ([01.]{4} [01.]{4}|[0-9a-f]{2}(?: ?[0-9a-f]{2})*(?:\.\.\.)?) *(?:  |$)")


def messages(folder):
    """Lines of a file for the program: the type and the octets."""
    for name in sorted(glob.glob(os.path.join(folder, "*.tsv"))):
        for line in open(name):
            cells = line.rstrip("\n").split("\t")
            if len(cells) > 3 and re.fullmatch("([0-9a-f]{2}){1,3000}", cells[3]) and re.match("TS[0-9]+", cells[2]):
                yield cells[2], cells[3]


def cover(view, octets):
    """How often each bit is shown; a bit that is shown otherwise than it is counts as 9."""
    bits = [0] * (8 * len(octets))
    opened = []  # the first bits of runs of octets that are shown in part
    for line in view.split("\n")[1:]:
        found = MARGIN.match(line)
        if not found:
            continue
        start, text = 8 * int(found[1]), found[2].replace(" ", "")
        digits, more = text, False
        if not re.fullmatch("[01.]{4} [01.]{4}", found[2]):
            more = text.endswith("...")
            digits = "".join("{:08b}".format(octet) for octet in bytes.fromhex(text.rstrip(".")))
        for i, digit in enumerate(digits, start):
            if digit != ".":
                bits[i] += 1 if octets[i // 8] >> (7 - i % 8) & 1 == int(digit) else 9
        if more:
            opened.append(start + len(digits))
    for i in opened:
        while i < len(bits) and not bits[i]:
            bits[i] = 1
            i += 1
    return bits


def check(program, lines, options, width):
    with tempfile.NamedTemporaryFile("w", suffix=".hex") as file:
        file.write("".join("%s %s\n" % line for line in lines))
        file.flush()
        out = subprocess.run([program, "decode", "--view", file.name] + options, capture_output=True).stdout.decode()
    views = {int(m[1]): m[0] for m in re.finditer(r"^\S+:(\d+)  .*\n(?:(?!\S+:\d+  ).*\n)*", out, re.M)}
    faults = ["%s %s: no view" % lines[i] for i in range(len(lines)) if i + 1 not in views]
    for number, view in views.items():
        octets = bytes.fromhex(lines[number - 1][1])
        if any(count != 1 for count in cover(view, octets)):
            faults.append("%s %s: bits" % lines[number - 1])
        faults += ["%d columns: %s" % (len(line), line) for line in view.split("\n") if len(line) > width]
    return faults


program, folder = sys.argv[1:]
whole = list(messages(folder))
cut = [(kind, octets[:n]) for kind, octets in whole[::7] for n in range(2, min(len(octets), 80), 2)]
faults = check(program, whole, [], 80) + check(program, whole, ["--depth", "2"], 80) + check(program, cut, [], 80)
print("\n".join(faults[:20]))
print("%d messages, %d cut: %d faults" % (len(whole), len(cut), len(faults)))
sys.exit(1 if faults or len(whole) < 1000 else 0)
