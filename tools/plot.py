#!/usr/bin/env python3
"""Draws the plots of docs/performance.md from what the benchmarks wrote.

    build/release/bench/messageBench --benchmark_out=messages.json
    build/release/bench/scaleBench --benchmark_out=scaling.json
    tools/plot.py messages.json scaling.json docs

Needs Python 3 alone.
"""
import json
import math
import pathlib
import sys

COLOURS = ["#3b6ea5", "#d98032", "#4c9a5b", "#a14d7a", "#777777", "#b8a038"]
WIDTH, HEIGHT, LEFT, TOP, BOTTOM, RIGHT = 760, 380, 70, 40, 60, 150


def minima(path):
    """Name of a benchmark -> its counters, as minima over the repetitions."""
    runs = json.load(open(path))["benchmarks"]
    return {run["run_name"].split("/repeats:")[0].split("/min_time:")[0]: run
            for run in runs if run.get("aggregate_name") == "min" and "ns" in run}


def text(x, y, words, anchor="middle", size=12):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" font-size="{size}">{words}</text>'


def line(x1, y1, x2, y2, colour="#ccc"):
    return f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="{colour}"/>'


def save(path, title, parts):
    head = (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" font-family="sans-serif">'
            f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>')
    path.write_text("\n".join([head, text(WIDTH / 2, 22, title, size=15), *parts, "</svg>"]) + "\n")


def legend(names):
    x = WIDTH - RIGHT + 12
    for i, name in enumerate(names):
        y = TOP + 12 + 20 * i
        yield f'<rect x="{x}" y="{y - 10}" width="12" height="12" fill="{COLOURS[i]}"/>'
        yield text(x + 18, y, name, "start")


def up(part):
    """The height of a part of the axis, 0 to 1."""
    return HEIGHT - BOTTOM - part * (HEIGHT - TOP - BOTTOM)


def bars(path, title, groups, names, values):
    """values[name][group], from 0."""
    top = max(value for name in names for value in values[name]) * 1.08
    step = 10 ** math.floor(math.log10(top))
    step = next(s for s in (step / 5, step / 2, step, 2 * step) if top / s <= 10)
    parts = []
    for i in range(int(top / step) + 1):
        y = up(i * step / top)
        parts += [line(LEFT, y, WIDTH - RIGHT, y), text(LEFT - 6, y + 4, f"{i * step:g}", "end")]
    wide = (WIDTH - RIGHT - LEFT) / len(groups)
    thick = wide * 0.8 / len(names)
    for g, group in enumerate(groups):
        parts.append(text(LEFT + (g + 0.5) * wide, HEIGHT - BOTTOM + 18, group, size=11))
        for n, name in enumerate(names):
            value = values[name][g]
            x, y = LEFT + (g + 0.1) * wide + n * thick, up(value / top)
            parts.append(f'<rect x="{x:.1f}" y="{y:.1f}" width="{thick * 0.94:.1f}" height="{up(0) - y:.1f}" '
                         f'fill="{COLOURS[n]}"/>')
            parts.append(text(x + thick / 2, y - 3, f"{value:.0f}", size=9))
    save(path, title, parts + list(legend(names)))


def curves(path, title, below, series):
    """series[name] = points; both axes logarithmic."""
    xs = [x for points in series.values() for x, _ in points]
    ys = [y for points in series.values() for _, y in points]
    low, high = math.log10(min(xs)), math.log10(max(xs))
    bottom, top = math.floor(math.log10(min(ys))), math.ceil(math.log10(max(ys)))

    def place(x, y):
        return (LEFT + (math.log10(x) - low) / (high - low) * (WIDTH - RIGHT - LEFT),
                up((math.log10(y) - bottom) / (top - bottom)))

    parts = [text((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 16, below)]
    for power in range(bottom, top + 1):
        y = place(10 ** low, 10 ** power)[1]
        parts += [line(LEFT, y, WIDTH - RIGHT, y), text(LEFT - 6, y + 4, f"{10.0 ** power:g}", "end")]
    for x in sorted({round(x) for x, _ in max(series.values(), key=len)}):
        parts += [text(place(x, 10 ** bottom)[0], HEIGHT - BOTTOM + 18, f"{x:g}", size=10)]
    for i, points in enumerate(series.values()):
        spots = [place(x, y) for x, y in points]
        path_of = " ".join(f"{x:.1f},{y:.1f}" for x, y in spots)
        parts.append(f'<polyline points="{path_of}" fill="none" stroke="{COLOURS[i]}" stroke-width="2"/>')
        parts += [f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3" fill="{COLOURS[i]}"/>' for x, y in spots]
    save(path, title, parts + list(legend(series)))


def drawMixes(folder, after):
    mixes = ["5gs", "eps", "epsShort", "core", "sms", "all"]
    for what, names in (("mixes", ["floor", "decode", "encode"]), ("slow", ["decodeSlow", "encodeSlow", "print", "trace"])):
        values = {name: [after[f"{mix}/{name}"]["ns"] for mix in mixes] for name in names}
        bars(folder / f"performance-{what}.svg", "ns per message by mix", mixes, names, values)


def drawScaling(folder, after):
    def points(kind, work, of):
        found = [run for name, run in after.items() if name.startswith(kind + "/") and name.endswith("/" + work)]
        return sorted(of(run) for run in found)

    octets = {f"{kind}, {work}": points(kind, work, lambda run: (run["octets"], run["ns"] / run["octets"]))
              for kind in ("units", "nested", "payload") for work in ("decode", "encode")}
    curves(folder / "performance-sizes.svg", "ns per octet", "octets of the message",
           {name: spots for name, spots in octets.items() if len(spots) > 1})
    entries = {work: sorted((int(name.split("/")[1]), run["ns"]) for name, run in after.items()
                            if name.startswith("entries/") and name.endswith("/" + work))
               for work in ("floor", "decode", "encode")}
    curves(folder / "performance-lists.svg", "ns per message", "entries of the list", entries)


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[3])
    messages, scaling = minima(sys.argv[1]), minima(sys.argv[2])
    drawMixes(folder, messages)
    drawScaling(folder, scaling)


main()
