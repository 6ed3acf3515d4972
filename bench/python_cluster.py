#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What a file costs on a cluster of processes, beside one process: python_cluster.py FILE... [--tasks N] [--workers N]

Analyses the files (kvx.Recording.psd) in this process and on a cluster of this machine (python3-distributed), the best of three
runs each, and then opens and analyses the first second of the first file N times, where what the cluster adds to a task counts.
KVX_THREADS=1 gives each process one thread.
"""

import argparse
import time

import kvx
from distributed import Client, LocalCluster


def densities(recording):
    return recording.psd(nperseg=1024)


def first_second(path, number):  # a number for each: the cluster would take equal calls for one
    return kvx.open(path, end=1.0).psd(nperseg=1024)[0].rms()


def best(work):
    times = []
    for _ in range(3):
        begun = time.perf_counter()
        work()
        times.append(time.perf_counter() - begun)
    return min(times)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("files", nargs="+")
    parser.add_argument("--tasks", type=int, default=400)
    parser.add_argument("--workers", type=int, default=2)
    options = parser.parse_args()
    recordings, first, numbers = [kvx.open(path) for path in options.files], options.files[0], range(options.tasks)
    own = best(lambda: list(map(densities, recordings)))
    small = best(lambda: [first_second(first, number) for number in numbers]) / options.tasks
    begun = time.perf_counter()
    with LocalCluster(n_workers=options.workers, threads_per_worker=1, dashboard_address=None) as cluster, Client(cluster) as client:
        client.gather(client.map(abs, range(100)))
        client.run(lambda: __import__("kvx").__version__)
        started = time.perf_counter() - begun
        shared = best(lambda: client.gather(client.map(densities, recordings, pure=False)))
        task = best(lambda: client.gather(client.map(first_second, [first] * options.tasks, numbers, pure=False))) / options.tasks
    print(f"{len(recordings)} files: one process {own:.2f} s, {options.workers} workers {shared:.2f} s")
    print(f"a second of a file: one process {1e3 * small:.2f} ms, {options.workers} workers {1e3 * task:.2f} ms each")
    print(f"start of the workers: {started:.2f} s")


if __name__ == "__main__":
    main()
