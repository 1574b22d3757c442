# SPDX-License-Identifier: MIT
"""Puts what was measured, and what it was measured on, into a Markdown file.

Usage: report.py BUILD_FOLDER MARKDOWN_FILE [TABLES]

Reads the tables, or else the benchmarks' results.json in the build folder; replaces what stands between the marker
lines of the Markdown file.
"""
import ctypes
import datetime
import json
import os
import pathlib
import re
import statistics
import subprocess
import sys

BEGIN = "<!-- measured: begin -->"
END = "<!-- measured: end -->"

# Benchmark: what it does, its peer where the benchmark names no other.
TITLES = {
    "BM_SplineSystem": ("cubic B-spline system", "`dgglse`"),
    "BM_DenseSystem": ("dense random system", "`dgglse`"),
    "BM_QrPivoted": ("QR with column pivoting", "`dgeqp3`"),
    "BM_Qr": ("QR", "`dgeqrf`"),
    "BM_TensorFit": ("tensor-product fit, 300 x 300 samples, 60 x 60 points", "`dgeqrf`, `dormqr` twice"),
    "BM_PivotedCholesky": ("Cholesky with pivoting, n x n", "`dpstrf`"),
    "BM_CurveTwoDerivatives": ("curve, two derivatives, random parameters", ""),
    "BM_SurfaceTwoOrders": ("bicubic surface, partials to order 2, random parameters", ""),
    "BM_PointGrid": ("a point of a 500 x 500 grid", ""),
    "BM_NormalGrid": ("a unit normal of a 500 x 500 grid", ""),
    "BM_LuWithEstimate": ("LU with condition estimate, n x n", "`dgetrf`, `dgecon`"),
    "BM_SingularValues": ("singular values, n x p", "`dgesdd`"),
    "BM_Product": ("`product(a, b)`, n x n", "`dgemm`"),
    "BM_Sum": ("`a + b`", "plain loop"),
    "BM_Scale": ("`a *= s`", "plain loop"),
    "BM_AddTo": ("`a += b`", "plain loop"),
}

# Sides of the benchmarks that have several peers.
PEERS = {
    "FactoredOnce": "LAPACK `dggrqf`, factored once",
    "EigenNullSpace": "Eigen, null space",
    "SuiteSparse": "SuiteSparseQR, weighted constraints",
    "LiteralRoad": "ours, literal road",
    "WarmCopy": "one warm copy of A",
    "OpenCascadeCurve": "Open CASCADE `Geom_BSplineCurve::D2`",
    "OpenCascadeSurface": "Open CASCADE `Geom_BSplineSurface::D2`",
    "OpenCascadePoints": "Open CASCADE `Geom_BSplineSurface::D0`",
    "OpenCascadeNormals": "Open CASCADE `Geom_BSplineSurface::D1`",
    "SislCurve": "SISL `s1227`",
    "SislSurface": "SISL `s1424`",
    "SislPoints": "SISL `s1421`",
    "SislNormals": "SISL `s1421`",
    "SislGrid<0>": "SISL `s1506`, whole grid",
    "SislGrid<1>": "SISL `s1506`, whole grid",
}


def output(*command):
    environment = dict(os.environ, LC_ALL="C")
    return subprocess.run(command, capture_output=True, text=True, check=False, env=environment).stdout


def found(pattern, text):
    match = re.search(pattern, text, re.MULTILINE)
    return match.group(1).strip() if match else "unknown"


def instruction_set(library):
    """What OpenBLAS has chosen, or was told to choose; other providers do not say."""
    try:
        core = ctypes.CDLL(library).openblas_get_corename
    except (OSError, AttributeError):
        return "instruction set unknown"
    core.restype = ctypes.c_char_p
    told = ", as OPENBLAS_CORETYPE says" if "OPENBLAS_CORETYPE" in os.environ else ", its own choice"
    return f"instruction set {core().decode()}{told}"


def machine(build, program):
    """CPU, compiler and BLAS provider, a list item each."""
    cpu = output("lscpu")
    cache = (build / "CMakeCache.txt").read_text()
    compiler = output(found(r"^CMAKE_CXX_COMPILER:\w+=(.+)$", cache), "--version").splitlines()
    blas = found(r"libblas\.so\S* => (\S+)", output("ldd", str(build / "bench" / program)))
    package = found(r"^([^:\s]+)", output("dpkg-query", "-S", os.path.realpath(blas)))
    version = output("dpkg-query", "-W", "-f", "${Version}", package) or "unknown"
    vectors = [name for name in ("avx2", "avx512f") if re.search(rf"\b{name}\b", cpu)]
    return [
        f"- CPU: {found(r'^Model name:(.+)$', cpu)}, family {found(r'^CPU family:(.+)$', cpu)}, "
        f"model {found(r'^Model:(.+)$', cpu)}, {found(r'^CPU.s.:(.+)$', cpu)} logical CPUs, "
        f"vectors: {', '.join(vectors) or 'baseline'}",
        f"- Compiler: {compiler[0] if compiler else 'unknown'}",
        f"- BLAS and LAPACK: {package} {version}, {instruction_set(blas)}",
    ]


def samples(results):
    """(benchmark, arguments) -> {side: CPU times in ns, of one item where a run has many}."""
    scale = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
    table = {}
    for run in results["benchmarks"]:
        if run["run_type"] != "iteration":
            continue
        if run.get("error_occurred"):
            sys.exit(f"{run['run_name']}: {run['error_message']}")
        name, side, arguments = re.fullmatch(r"(\w+?)<(.+)>(?:/(.*))?", run["run_name"]).groups(default="")
        side = "Ours" if side.startswith("Our") else side
        time = run["cpu_time"] * scale[run["time_unit"]]
        if "items_per_second" in run:
            time = 1e9 / run["items_per_second"]
        table.setdefault((name, arguments), {}).setdefault(side, []).append(time)
    return table


def in_units(times):
    """The median, and the quartiles around it, in a unit that suits."""
    lower, median, upper = statistics.quantiles(times, n=4)
    size, unit = next((s, u) for s, u in ((1e9, "s"), (1e6, "ms"), (1e3, "us"), (1.0, "ns")) if median >= s or u == "ns")
    return f"{median / size:.3g} {unit} ({lower / size:.3g} to {upper / size:.3g})"


def order(key):
    name, arguments = key
    return list(TITLES).index(name), [int(n) for n in re.findall(r"\d+", arguments)]


def table(results):
    lines = [
        "| | size | ours: median (quartiles) | peer | peer: median (quartiles) | peer / ours |",
        "|---|---|---|---|---|---|",
    ]
    measured = samples(results)
    for key in sorted(measured, key=order):
        title, peer = TITLES[key[0]]
        size = key[1].replace("/", ", ").replace(":", " = ")
        times = measured[key]
        ours = times.pop("Ours")
        cells = [title, size, in_units(ours)]
        if not times:
            lines.append(f"| {' | '.join(cells)} | not installed | | |")
        for side in sorted(times):
            ratio = statistics.median(times[side]) / statistics.median(ours)
            row = cells + [PEERS.get(side, peer), in_units(times[side]), f"{ratio:.2f}"]
            lines.append(f"| {' | '.join(row)} |")
    return lines


def main():
    build, target, *tables = (pathlib.Path(p) for p in sys.argv[1:])
    if tables:
        program, date, lines = "knotwork_accuracy", datetime.date.today().isoformat(), tables[0].read_text().splitlines()
    else:
        results = json.loads((build / "results.json").read_text())
        program, date, lines = "knotwork_bench", results["context"]["date"][:10], table(results)
    before, _, rest = target.read_text().partition(BEGIN)
    _, _, after = rest.partition(END)
    measured = machine(build, program) + [f"- Date: {date}", "", *lines]
    target.write_text("\n".join([before + BEGIN, *measured, END + after]))
    print("\n".join(measured))


main()
