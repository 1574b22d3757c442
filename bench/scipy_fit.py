# SPDX-License-Identifier: MIT
"""SciPy's cubic least-squares spline through samples of a file: scipy_fit.py NAME SAMPLES UNKNOWNS.

The file holds doubles, the parameters and then the points in the plane. Prints the processor seconds of the fastest of
three fits. SciPy takes samples in order only: putting them in order counts where they are not.
"""
import sys
import time

import numpy
from scipy.interpolate import make_lsq_spline

FITS = 3


def main(name, samples, unknowns):
    numbers = numpy.fromfile(name)
    t, points = numbers[:samples], numbers[samples:].reshape(samples, 2)
    knots = numpy.concatenate([[0.0] * 3, numpy.linspace(0.0, 1.0, unknowns - 2), [1.0] * 3])
    best = float("inf")
    for _ in range(FITS):
        start = time.process_time()
        if numpy.all(t[1:] >= t[:-1]):
            make_lsq_spline(t, points, knots, 3)
        else:
            order = numpy.argsort(t)
            make_lsq_spline(t[order], points[order], knots, 3)
        best = min(best, time.process_time() - start)
    print(best)


if __name__ == "__main__":
    main(sys.argv[1], int(sys.argv[2]), int(sys.argv[3]))
