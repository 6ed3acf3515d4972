#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Turns a folder of recordings into power spectral densities and figures, on a cluster of processes.

    folder_psd.py FOLDER OUTPUT [--workers N] [--nperseg N]

For each recording OUTPUT gets a data file of its densities and a picture of them. The workers are processes of this
machine (python3-distributed); --workers 0 works without. Each recording is sent as its path and choice, and read
where it is analysed.
"""

import argparse
import sys
from pathlib import Path

import kvx


def analyse(recording, output, nperseg):
    """The densities of a recording, as files; a line for the report."""
    spectra = recording.psd(nperseg=nperseg)
    stem = Path(output) / Path(recording.path).name.replace(".", "-")
    kvx.write(f"{stem}.vdf2", spectra)
    kvx.plot(spectra, title=Path(recording.path).name).save(f"{stem}.png")
    figures = ", ".join(f"{each.name} {each.rms():.4g} {each.signal_unit}".strip() for each in spectra)
    return f"{Path(recording.path).name}: rms {figures}"


def recordings_in(folder):
    for path in sorted(Path(folder).iterdir()):
        if path.is_file():
            try:
                yield kvx.open(path)
            except kvx.Error as error:
                print(f"{path.name}: {error.sentence}", file=sys.stderr)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("folder")
    parser.add_argument("output")
    parser.add_argument("--workers", type=int, default=2)
    parser.add_argument("--nperseg", type=int, default=1024)
    options = parser.parse_args()
    Path(options.output).mkdir(parents=True, exist_ok=True)
    recordings = list(recordings_in(options.folder))
    rest = [options.output] * len(recordings), [options.nperseg] * len(recordings)
    if options.workers == 0:
        lines = list(map(analyse, recordings, *rest))
    else:
        try:
            from distributed import Client, LocalCluster
        except ImportError:
            sys.exit("folder_psd: python3-distributed is not installed; --workers 0 works without")
        with LocalCluster(n_workers=options.workers, threads_per_worker=1, dashboard_address=None) as cluster, Client(cluster) as client:
            lines = client.gather(client.map(analyse, recordings, *rest))
    print(*lines, sep="\n")
    print(f"{len(recordings)} recordings, written to {options.output}")


if __name__ == "__main__":
    main()
