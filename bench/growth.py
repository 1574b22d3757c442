# SPDX-License-Identifier: MIT
"""Measures how curve fits grow with their size; writes tables and plots: growth.py PROGRAM KNOTFIT DOCS."""
import array
import json
import math
import os
import pathlib
import random
import re
import subprocess
import sys
import tempfile

SAMPLES = [1000, 3000, 10000, 30000, 100000, 300000, 1000000]
UNKNOWNS = [50, 100, 200, 500, 1000, 2000, 4000, 8000, 16000, 32000, 64000]
PER_UNKNOWN = 10
DEGREES, SPANS = [3, 13], 6000
STREAMED = 10000000
CLOSED = 1600  # control points of the closed curves beside open ones
SURFACES = [(300, 60), (1200, 600)]
MILLION = 1000000
ROUNDS = 6  # all sizes are measured as many times over, so that what else the machine does passes some of them by
WIDTH, HEIGHT, LEFT, RIGHT, TOP, BOTTOM = 560, 360, 70, 40, 40, 50


def run(program, *words):
    """What the program printed: seconds, memory in MB, and what else there is."""
    text = subprocess.run([program, *map(str, words)], check=True, capture_output=True, text=True).stdout.split()
    return [float(text[0]), int(text[1]) / 1024, *map(float, text[2:])]


def fastest_of_rounds(program, calls):
    """The fastest run of each call."""
    rounds = [[run(program, *call) for call in calls] for _ in range(ROUNDS)]
    return [min(runs) for runs in zip(*rounds)]


def exponent(xs, ys):
    """Slope of the least-squares line through the logarithms."""
    u, v = [math.log(x) for x in xs], [math.log(y) for y in ys]
    mu, mv = sum(u) / len(u), sum(v) / len(v)
    return sum((a - mu) * (b - mv) for a, b in zip(u, v)) / sum((a - mu) ** 2 for a in u)


def decades(values):
    return math.floor(math.log10(min(values))), math.ceil(math.log10(max(values)))


def number(x):
    return f"{x:,.0f}" if x >= 1 else f"{x:g}"


def plot(path, title, x_name, y_name, xs, ys, proportional=False):
    """A curve on logarithmic axes; proportional: with the line beside it that ends in its last point."""
    (x0, x1), (y0, y1) = decades(xs), decades(ys)
    def at(x, y):
        return (LEFT + (math.log10(x) - x0) / (x1 - x0) * (WIDTH - LEFT - RIGHT),
                HEIGHT - BOTTOM - (math.log10(y) - y0) / (y1 - y0) * (HEIGHT - TOP - BOTTOM))
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{HEIGHT}" '
             f'viewBox="0 0 {WIDTH} {HEIGHT}" font-family="sans-serif" font-size="12">',
             f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>',
             f'<text x="{WIDTH / 2}" y="22" text-anchor="middle" font-size="14">{title}</text>']
    for k in range(x0, x1 + 1):
        x, bottom = at(10.0 ** k, 10.0 ** y0)
        parts.append(f'<path d="M{x:.1f} {TOP}V{bottom:.1f}" stroke="#ddd"/>'
                     f'<text x="{x:.1f}" y="{bottom + 16:.1f}" text-anchor="middle">{number(10.0 ** k)}</text>')
    for k in range(y0, y1 + 1):
        left, y = at(10.0 ** x0, 10.0 ** k)
        parts.append(f'<path d="M{left:.1f} {y:.1f}H{WIDTH - RIGHT}" stroke="#ddd"/>'
                     f'<text x="{left - 6:.1f}" y="{y + 4:.1f}" text-anchor="end">{number(10.0 ** k)}</text>')
    if proportional:
        begin = max(xs[0], xs[-1] * 10.0 ** y0 / ys[-1])  # within the frame
        (xa, ya), (xb, yb) = at(begin, ys[-1] * begin / xs[-1]), at(xs[-1], ys[-1])
        parts.append(f'<path d="M{xa:.1f} {ya:.1f}L{xb:.1f} {yb:.1f}" stroke="#999" stroke-dasharray="5 4"/>'
                     f'<path d="M{LEFT + 12} {TOP + 16}h28" stroke="#999" stroke-dasharray="5 4"/>'
                     f'<text x="{LEFT + 46}" y="{TOP + 20}">in proportion</text>')
    spots = [at(x, y) for x, y in zip(xs, ys)]
    parts.append('<polyline fill="none" stroke="#1f5fa8" stroke-width="2" points="'
                 + " ".join(f"{x:.1f},{y:.1f}" for x, y in spots) + '"/>')
    parts += [f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3.5" fill="#1f5fa8"/>' for x, y in spots]
    parts.append(f'<text x="{WIDTH / 2}" y="{HEIGHT - 10}" text-anchor="middle">{x_name}</text>')
    parts.append(f'<text transform="translate(16 {HEIGHT / 2}) rotate(-90)" text-anchor="middle">{y_name}</text></svg>')
    path.write_text("\n".join(parts) + "\n")


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + "---:|" * len(head)]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows])


def through_knotfit(knotfit, samples, unknowns, held):
    """A fit through the tool: its report and its memory in MB."""
    with tempfile.TemporaryDirectory() as folder:
        data = pathlib.Path(folder) / "samples.csv"
        with data.open("w") as out:
            for i in range(samples):
                t = i / (samples - 1)
                out.write(f"{t:.9f},{math.sin(40 * t):.9f},{math.sin(41 * t):.9f}\n")
        values = [f"--value={(i + 0.5) / held}={math.sin(40 * (i + 0.5) / held):.6f}:0.1" for i in range(held)]
        fit = pathlib.Path(folder) / "fit.json"
        # The child's own peak: a waiting parent's memory is not in it.
        script = ("import resource, subprocess, sys; subprocess.run(sys.argv[1:], check=True, "
                  "stdout=subprocess.DEVNULL); print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)")
        call = [sys.executable, "-c", script, knotfit, "curve", str(data), "--parameter", "column",
                "-n", str(unknowns - 3), *values, "-o", str(fit)]
        best = None
        for _ in range(ROUNDS):
            peak = int(subprocess.run(call, check=True, capture_output=True, text=True).stdout) / 1024
            report = json.loads(fit.read_text())["report"]
            if best is None or report["fit_seconds"] < best[0]["fit_seconds"]:
                best = report, peak
        return best


def write_samples(path, shuffled):
    """A million samples in the plane as doubles, the parameters and then the points."""
    order = list(range(MILLION))
    if shuffled:
        random.Random(1).shuffle(order)
    t = array.array("d", (i / (MILLION - 1) for i in order))
    points = array.array("d", (f(a * x) for x in t for f, a in ((math.sin, 12 * math.pi), (math.cos, 10 * math.pi))))
    with path.open("wb") as out:
        t.tofile(out)
        points.tofile(out)


def scipy_seconds(path, unknowns):
    """SciPy's on the same file, or infinity without it."""
    peer = pathlib.Path(__file__).parent / "scipy_fit.py"
    done = subprocess.run([sys.executable, str(peer), str(path), str(MILLION), str(unknowns)],
                          capture_output=True, text=True)
    return float(done.stdout) if done.returncode == 0 else math.inf


def against_scipy(program):
    """Rows of two tables: order, control points, our milliseconds and SciPy's, or those of a closed curve; all run by
    turns."""
    rows, closed_rows = [], []
    with tempfile.TemporaryDirectory() as folder:
        for name in ["sorted", "shuffled"]:
            path = pathlib.Path(folder) / name
            write_samples(path, name == "shuffled")
            for unknowns in [200, 1000]:
                ours, closed, theirs = math.inf, math.inf, math.inf
                for _ in range(ROUNDS):
                    closed = min(closed, run(program, "closed-file", path, MILLION, unknowns, 20)[0])
                    ours = min(ours, run(program, "file", path, MILLION, unknowns, 20)[0])
                    theirs = min(theirs, scipy_seconds(path, unknowns))
                peer = [f"{1000 * theirs:.0f}", f"{ours / theirs:.2f}"] if math.isfinite(theirs) else ["", ""]
                rows.append([name, str(unknowns), f"{1000 * ours:.0f}", *peer])
                closed_rows.append(beside_open(f"{MILLION}, {name}", unknowns, ours, closed))
    return rows, closed_rows


def beside_open(samples, unknowns, seconds_open, seconds_closed):
    return [samples, str(unknowns), f"{1000 * seconds_open:.3g}", f"{1000 * seconds_closed:.3g}",
            f"{seconds_closed / seconds_open:.2f}"]


def scipy_version():
    done = subprocess.run([sys.executable, "-c", "import scipy; print(scipy.__version__)"],
                          capture_output=True, text=True)
    return f"SciPy {done.stdout.strip()}" if done.returncode == 0 else "SciPy, which is not installed here"


def sentence_of(report, memory, samples, unknowns, held):
    return (f"{samples:,} points on {unknowns:,} control points, {held} values held: "
            f"{report['read_seconds']:.2f} s to read the file, {report['fit_seconds']:.2f} s to fit, "
            f"{memory:.0f} MB at most, constraint residual {report['constraint_residual']:.1e}.")


def load():
    return f"{os.getloadavg()[0]:.1f} processes on {os.cpu_count()} processors"


def main(program, knotfit, docs):
    before = load()
    docs = pathlib.Path(docs)
    images = docs / "images"
    images.mkdir(exist_ok=True)
    calls = {
        "samples": [("curve", 3, m, 200, 10) for m in SAMPLES],
        "unknowns": [("curve", 3, PER_UNKNOWN * n, n, 10) for n in UNKNOWNS],
        "degree": [("curve", p, PER_UNKNOWN * SPANS, SPANS + p, 10) for p in DEGREES],
        "surfaces": [("surface", m, n) for m, n in SURFACES],
        "closed": [("closed-curve", 3, PER_UNKNOWN * n, n, 10) for n in UNKNOWNS],
        "pairs": [(kind, 3, m * CLOSED, CLOSED, 10) for m in [2, PER_UNKNOWN] for kind in ["curve", "closed-curve"]],
        "stream": [("stream", STREAMED, 200, 10)],
    }
    measured = iter(fastest_of_rounds(program, sum(calls.values(), [])))
    by_samples, by_unknowns, by_degree, surfaces, closed, pairs, ((seconds, memory, making, readings),) = (
        [next(measured) for _ in group] for group in calls.values())
    beside, closed_rows = against_scipy(program)
    closed_rows = [beside_open(str(m * CLOSED), CLOSED, pairs[i][0], pairs[i + 1][0])
                   for i, m in [(0, 2), (2, PER_UNKNOWN)]] + closed_rows
    tool = [sentence_of(*through_knotfit(knotfit, *size), *size)
            for size in [(MILLION, 1000, 20), (PER_UNKNOWN * 16000, 16000, 10)]]

    milliseconds = [1000 * r[0] for r in by_samples]
    plot(images / "growth-samples.svg", "Curve fit on 200 control points", "samples", "milliseconds",
         SAMPLES, milliseconds, proportional=True)
    plot(images / "growth-memory.svg", "Memory of a process that fits 200 control points", "samples", "MB",
         SAMPLES, [r[1] for r in by_samples])
    plot(images / "growth-unknowns.svg", "Curve fit, ten samples a control point", "control points", "milliseconds",
         UNKNOWNS, [1000 * r[0] for r in by_unknowns], proportional=True)
    cpu = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    (docs / "GROWTH.md").write_text(f"""# How fits grow

Fits through the fit layer: cubic unless said otherwise, curves in the plane with 10 values held exactly, one thread.
The samples go through the row compression and are never a dense matrix. Measured on
{cpu.group(1) if cpu else "this machine"}, which other work shares (load at the start {before}, at the end
{load()}): processor time, the fastest of several fits in each of {ROUNDS} rounds; memory is the peak of the
whole process, data included. `scripts/growth` makes this page anew.

## Against the number of samples, 200 control points

{table(["samples", "milliseconds", "peak MB"],
       [[f"{m}", f"{1000 * r[0]:.3g}", f"{r[1]:.1f}"] for m, r in zip(SAMPLES, by_samples)])}

Time grows with the power {exponent(SAMPLES[2:], milliseconds[2:]):.2f} of the number of samples (from 10,000 on).

![time against samples](images/growth-samples.svg)
![memory against samples](images/growth-memory.svg)

## Against the number of control points, ten samples each

{table(["control points", "milliseconds", "microseconds each", "peak MB"],
       [[f"{n}", f"{1000 * r[0]:.3g}", f"{1e6 * r[0] / n:.2f}", f"{r[1]:.1f}"] for n, r in zip(UNKNOWNS, by_unknowns)])}

Time grows with the power {exponent(UNKNOWNS, [r[0] for r in by_unknowns]):.2f} of the number of control points, \
over the whole range.

![time against control points](images/growth-unknowns.svg)

## Against the degree, {SPANS:,} spans, {PER_UNKNOWN * SPANS:,} samples

{table(["degree", "milliseconds", "peak MB"],
       [[f"{p}", f"{1000 * r[0]:.3g}", f"{r[1]:.1f}"] for p, r in zip(DEGREES, by_degree)])}

Degree {DEGREES[1]} takes {by_degree[1][0] / by_degree[0][0]:.1f} times the time of degree {DEGREES[0]}.

## Closed curves, beside open ones

Periodic curves with as many control points that differ as the open ones have, and as many values held; a million
samples are those of the file below.

{table(["samples", "control points", "open, ms", "closed, ms", "closed / open"], closed_rows)}

Over the sizes from {UNKNOWNS[0]} to {UNKNOWNS[-1]:,} control points, ten samples each, the time of closed curves grows with the \
power {exponent(UNKNOWNS, [r[0] for r in closed]):.2f}: {1000 * closed[0][0]:.3g} ms to {1000 * closed[-1][0]:.3g} ms.

## Samples that are never held

{STREAMED:,} samples, made a stretch at a time while they are read, on 200 control points: {seconds:.2f} s, of which
making them {readings:.0f} times takes {making:.2f} s; {memory:.1f} MB at most.

## A million samples, beside SciPy

A million samples in the plane from one file; 20 values held exactly by ours, nothing by SciPy's `make_lsq_spline`
({scipy_version()}), which cannot. Both run on one thread, by turns. SciPy takes samples in order only: its
time for shuffled ones includes putting them in order.

{table(["samples", "control points", "ours, ms", "SciPy, ms", "ours / SciPy"], beside)}

## Surfaces

{table(["samples", "control points", "milliseconds", "peak MB"],
       [[f"{m}²", f"{n}²", f"{1000 * r[0]:.3g}", f"{r[1]:.1f}"] for (m, n), r in zip(SURFACES, surfaces)])}

## Through the tool

`knotfit curve` from a file of text, a curve in the plane, values held exactly; processor time.

- {tool[0]}
- {tool[1]}
""", encoding="utf-8")


if __name__ == "__main__":
    main(*sys.argv[1:])
