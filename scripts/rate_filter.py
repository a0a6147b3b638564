#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Designs the low-pass of the rate converter and prints the coefficients of src/dsp/resampler.cpp.

The impulse response, 63 periods long, is a sum of cosines; its spectrum is then a sum of sinc functions in the
coefficients, so that the filter follows from weighted least squares. Repeating them with the weights raised
where the error is large leads towards the least greatest error (C. L. Lawson, "Contributions to the theory of
linear least maximum approximation", 1961). Frequencies are parts of the lower of both rates.
"""
import math

LENGTH = 63
TERMS = 44
ROUNDS = 10


def sinc(x):
    return 1.0 if abs(x) < 1e-12 else math.sin(math.pi * x) / (math.pi * x)


def term(k, f):
    return sinc(LENGTH * f) if k == 0 else sinc(LENGTH * f - k) + sinc(LENGTH * f + k)


def between(low, high, part):
    return low * (high / low) ** part


def tolerance(f):
    """The error wanted at a frequency, None where anything is allowed."""
    if f <= 0.3:
        return 8e-8
    if f <= 0.42:
        return between(8e-8, 4e-5, (f - 0.3) / 0.12)
    if f <= 0.4505:
        return between(4e-5, 6e-3, (f - 0.42) / 0.0305)
    if f < 0.5495:
        return None
    if f < 0.568:
        return between(1.8e-6, 9e-8, (f - 0.5495) / 0.0185)
    return between(9e-8, 3e-8, min((f - 0.568) / 0.4, 2))


def least_squares(rows, wanted):
    """By Householder reflections, which stand the seven decades of weights."""
    a = [row + [want] for row, want in zip(rows, wanted)]
    count = len(rows[0])
    for j in range(count):
        norm = math.sqrt(sum(row[j] ** 2 for row in a[j:]))
        v = [row[j] for row in a[j:]]
        v[0] += math.copysign(norm, v[0])
        scale = 2 / sum(x * x for x in v)
        for c in range(j, count + 1):
            d = scale * sum(x * row[c] for x, row in zip(v, a[j:]))
            for x, row in zip(v, a[j:]):
                row[c] -= d * x
    result = [0.0] * count
    for j in reversed(range(count)):
        rest = a[j][count] - sum(a[j][c] * result[c] for c in range(j + 1, count))
        result[j] = rest / a[j][j]
    return result


def main():
    grid = [i / (LENGTH * 6) for i in range(LENGTH * 6 * 3)] + [0.45, 0.5498, 0.551]
    grid = [f for f in grid if tolerance(f)]
    spectra = [[term(k, f) for k in range(TERMS)] for f in grid]
    weights = [1.0] * len(grid)
    for _ in range(ROUNDS):
        scales = [math.sqrt(w) / tolerance(f) for w, f in zip(weights, grid)]
        wanted = [s if f < 0.5 else 0.0 for s, f in zip(scales, grid)]
        found = least_squares([[s * x for x in row] for s, row in zip(scales, spectra)], wanted)
        for i, f in enumerate(grid):
            error = sum(c * x for c, x in zip(found, spectra[i])) - (1 if f < 0.5 else 0)
            weights[i] *= abs(error) / tolerance(f) + 1e-3
        mean = sum(weights) / len(weights)
        weights = [max(w / mean, 1e-6) for w in weights]
    for at in range(0, TERMS, 4):
        print("    " + " ".join("%.12g," % c for c in found[at:at + 4]))


main()
