#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What a call from Python costs beside the same call from C++, and kvx.psd beside scipy.signal.welch.

    PYTHONPATH=out/release/python KVX_THREADS=1 python3 bench/python_calls.py out/release/bench/bench_python_calls

Times are the best of many runs on one thread; both languages take turns, so that a busy machine is busy for both.
The program is built with -DKVX_BUILD_BENCH=ON.
"""

import subprocess
import sys
import time
import timeit

import numpy as np

import kvx

ROUNDS = 5
CALLS = {"psd": "kvx.psd(x, 1.0, nperseg=1024)",
         "psd_window": "kvx.psd(x, 1.0, window=window)",
         "coherence": "kvx.coherence(x, y, 1.0, nperseg=1024)",
         "coherence_window": "kvx.coherence(x, y, 1.0, window=window)",
         "fir_filter": "kvx.fir_filter(taps, x)",
         "butter_filter": "kvx.butter_filter(x, 8, 0.1)",
         "statistics": "kvx.statistics(x)",
         "to_standard": "g.to_standard(x)"}


def best(statement, names, seconds=0.1):
    """The best of many runs of some calls each, in nanoseconds of one call."""
    timer = timeit.Timer(statement, globals=names)
    calls = 1 + int(1e-4 / (timer.timeit(3) / 3))
    fastest, end = float("inf"), time.perf_counter() + seconds
    while time.perf_counter() < end:
        fastest = min(fastest, timer.timeit(calls) / calls)
    return 1e9 * fastest


def signals(n):
    x = np.random.default_rng(1).random(n) - 0.5
    return {"kvx": kvx, "x": x, "y": 0.5 * x, "taps": np.full(101, 1 / 101), "g": kvx.Unit("g"),
            "window": kvx.get_window("hann", 1024)}


def beside_cpp(program):
    print("| call | samples | C++ | Python | more |\n| --- | ---: | ---: | ---: | ---: |")
    with subprocess.Popen([program], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1) as cpp:
        for n in (4096, 65536, 1048576):
            names = signals(n)
            for name, statement in CALLS.items():
                ours, theirs = float("inf"), float("inf")
                for _ in range(ROUNDS):
                    cpp.stdin.write(f"{name} {n}\n")
                    theirs = min(theirs, float(cpp.stdout.readline()))
                    ours = min(ours, best(statement, names))
                print(f"| `{statement}` | {n} | {theirs / 1e3:.2f} us | {ours / 1e3:.2f} us | "
                      f"{100 * (ours / theirs - 1):+.1f} % |")


def beside_scipy():
    try:
        from scipy.signal import welch
    except ImportError:
        print("python3-scipy is not installed: nothing to compare psd with", file=sys.stderr)
        return
    print("\n| samples | kvx.psd | scipy.signal.welch | times faster |\n| ---: | ---: | ---: | ---: |")
    for n in (4096, 65536, 1048576, 16777216):
        names = signals(n) | {"welch": welch}
        ours = best(CALLS["psd"], names, 0.5)
        theirs = best("welch(x, 1.0, nperseg=1024, detrend=False)", names, 0.5)
        print(f"| {n} | {ours / 1e6:.3f} ms | {theirs / 1e6:.3f} ms | {theirs / ours:.1f} |")


if __name__ == "__main__":
    beside_cpp(sys.argv[1])
    beside_scipy()
