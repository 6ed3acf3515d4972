#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What a call from Python costs beside the same call from C++, and kvx.psd beside scipy.signal.welch.

    PYTHONPATH=out/release/python KVX_THREADS=1 python3 bench/python_calls.py out/release/bench/bench_python_calls

Times are the best of many runs on one thread. The program is built with -DKVX_BUILD_BENCH=ON.
"""

import subprocess
import sys
import time

import numpy as np

import kvx


def best(call):
    """The best of many runs, in nanoseconds."""
    fastest, end = float("inf"), time.perf_counter() + 0.4
    while time.perf_counter() < end:
        start = time.perf_counter_ns()
        call()
        fastest = min(fastest, time.perf_counter_ns() - start)
    return fastest


def calls(n):
    x = np.random.default_rng(1).random(n) - 0.5
    y = 0.5 * x
    taps, g = np.full(101, 1 / 101), kvx.Unit("g")
    return {"psd": lambda: kvx.psd(x, 1.0, nperseg=1024), "coherence": lambda: kvx.coherence(x, y, 1.0, nperseg=1024),
            "fir_filter": lambda: kvx.fir_filter(taps, x), "butter_filter": lambda: kvx.butter_filter(x, 8, 0.1),
            "statistics": lambda: kvx.statistics(x), "to_standard": lambda: g.to_standard(x)}


def from_cpp(program):
    lines = subprocess.run([program], check=True, capture_output=True, text=True).stdout.splitlines()
    return {(name, int(n)): float(ns) for name, n, ns in map(str.split, lines)}


def main():
    cpp = from_cpp(sys.argv[1])
    print("| call | samples | C++ | Python | more |\n| --- | ---: | ---: | ---: | ---: |")
    for n in (4096, 65536, 1048576):
        for name, call in calls(n).items():
            ours, theirs = best(call), cpp[name, n]
            print(f"| {name} | {n} | {theirs / 1e3:.1f} us | {ours / 1e3:.1f} us | {100 * (ours / theirs - 1):.1f} % |")
    try:
        from scipy.signal import welch
    except ImportError:
        print("python3-scipy is not installed: nothing to compare psd with", file=sys.stderr)
        return
    print("\n| samples | kvx.psd | scipy.signal.welch | times faster |\n| ---: | ---: | ---: | ---: |")
    for n in (4096, 65536, 1048576, 16777216):
        x = np.random.default_rng(1).random(n) - 0.5
        ours = best(lambda: kvx.psd(x, 1.0, nperseg=1024))
        theirs = best(lambda: welch(x, 1.0, nperseg=1024, detrend=False))
        print(f"| {n} | {ours / 1e6:.3f} ms | {theirs / 1e6:.3f} ms | {theirs / ours:.1f} |")


if __name__ == "__main__":
    main()
