# SPDX-License-Identifier: MIT
"""Measures how curve fits grow with their size; writes tables and plots: growth.py PROGRAM KNOTFIT DOCS."""
import json
import math
import pathlib
import re
import subprocess
import sys
import tempfile
import time

SAMPLES = [1000, 3000, 10000, 30000, 100000, 300000, 1000000]
UNKNOWNS = [50, 100, 200, 300, 500, 700, 1000]
WIDTH, HEIGHT, LEFT, RIGHT, TOP, BOTTOM = 560, 360, 70, 20, 40, 50


def run(program, samples, unknowns, constraints):
    text = subprocess.run([program, str(samples), str(unknowns), str(constraints)], check=True,
                          capture_output=True, text=True).stdout.split()
    return float(text[0]), int(text[1]) / 1024


def exponent(xs, ys):
    """Slope of the least-squares line through the logarithms."""
    u, v = [math.log(x) for x in xs], [math.log(y) for y in ys]
    mu, mv = sum(u) / len(u), sum(v) / len(v)
    return sum((a - mu) * (b - mv) for a, b in zip(u, v)) / sum((a - mu) ** 2 for a in u)


def decades(values):
    return math.floor(math.log10(min(values))), math.ceil(math.log10(max(values)))


def number(x):
    return f"{x:g}" if 1e-3 <= x < 1e4 else f"1e{round(math.log10(x))}"


def plot(path, title, x_name, y_name, xs, ys):
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


def million(knotfit):
    """A million samples on 1,000 control points, 20 values held, through the tool: its report and its memory in MB."""
    with tempfile.TemporaryDirectory() as folder:
        data = pathlib.Path(folder) / "samples.csv"
        n = 1000000
        with data.open("w") as out:
            for i in range(n):
                t = i / (n - 1)
                out.write(f"{t:.9f},{math.sin(40 * t):.9f},{t * math.cos(31 * t):.9f}\n")
        held = [f"--value={(i + 0.5) / 20}={math.sin(40 * (i + 0.5) / 20):.6f}:0.1" for i in range(20)]
        fit = pathlib.Path(folder) / "fit.json"
        # The child's own peak: a waiting parent's memory is not in it.
        script = ("import resource, subprocess, sys; subprocess.run(sys.argv[1:], check=True, "
                  "stdout=subprocess.DEVNULL); print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)")
        peak = subprocess.run([sys.executable, "-c", script, knotfit, "curve", str(data), "--parameter", "column",
                               "-n", "997", *held, "-o", str(fit)], check=True, capture_output=True, text=True)
        return json.loads(fit.read_text())["report"], int(peak.stdout) / 1024


def scipy_seconds():
    """The same samples and knots without constraints, coordinate by coordinate, or None without SciPy."""
    try:
        import numpy
        from scipy.interpolate import make_lsq_spline
    except ImportError:
        return None
    t = numpy.linspace(0.0, 1.0, 1000000)
    points = numpy.stack([numpy.sin(40 * t), t * numpy.cos(31 * t)], axis=1)
    knots = numpy.concatenate([[0.0] * 3, numpy.linspace(0.0, 1.0, 998), [1.0] * 3])
    start = time.process_time()
    make_lsq_spline(t, points, knots, 3)
    return time.process_time() - start


def main(program, knotfit, docs):
    docs = pathlib.Path(docs)
    images = docs / "images"
    images.mkdir(exist_ok=True)
    by_samples = [run(program, m, 200, 10) for m in SAMPLES]
    by_unknowns = [run(program, 10 * n, n, 10) for n in UNKNOWNS]
    milliseconds = [1000 * seconds for seconds, _ in by_samples]
    plot(images / "growth-samples.svg", "Curve fit on 200 control points", "samples", "milliseconds",
         SAMPLES, milliseconds)
    plot(images / "growth-memory.svg", "Memory of a process that fits 200 control points", "samples", "MB",
         SAMPLES, [memory for _, memory in by_samples])
    plot(images / "growth-unknowns.svg", "Curve fit, ten samples a control point", "control points", "milliseconds",
         UNKNOWNS, [1000 * seconds for seconds, _ in by_unknowns])
    report, memory = million(knotfit)
    scipy = scipy_seconds()
    cpu = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    text = f"""# How fits grow

Curve fits through the fit layer: cubic, points in the plane, 10 values held exactly, one thread. The samples go
through the row compression and are never a dense matrix. Measured on {cpu.group(1) if cpu else "this machine"},
the fastest of several fits; memory is the peak of the whole process. `scripts/growth` makes this page anew.

## Against the number of samples, 200 control points

{table(["samples", "milliseconds", "peak MB"],
       [[f"{m}", f"{1000 * s:.3g}", f"{mb:.1f}"] for m, (s, mb) in zip(SAMPLES, by_samples)])}

Time grows with the power {exponent(SAMPLES[2:], milliseconds[2:]):.2f} of the number of samples (from 10,000 on).

![time against samples](images/growth-samples.svg)
![memory against samples](images/growth-memory.svg)

## Against the number of control points, ten samples each

{table(["control points", "milliseconds"],
       [[f"{n}", f"{1000 * s:.3g}"] for n, (s, _) in zip(UNKNOWNS, by_unknowns)])}

Time grows with the power {exponent(UNKNOWNS, [s for s, _ in by_unknowns]):.2f} of the number of control points.

![time against control points](images/growth-unknowns.svg)

## A million samples

`knotfit curve` on 1,000,000 points in the plane, 1,000 control points, 20 values held exactly: \
{report["read_seconds"]:.2f} s of processor time to read the file, {report["fit_seconds"]:.2f} s to fit, \
{memory:.0f} MB at most, constraint residual {report["constraint_residual"]:.1e}.
"""
    if scipy is not None:
        text += f"SciPy's `make_lsq_spline` on the same samples and knots, without constraints, takes {scipy:.2f} s.\n"
    (docs / "GROWTH.md").write_text(text)


if __name__ == "__main__":
    main(*sys.argv[1:])
