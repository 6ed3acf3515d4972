#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""A recording longer than memory should be: written and read in blocks, with the figures of each minute.

It prints:

    3 minutes at 1000 Hz in 3 blocks
    minute 1: rms 1.0
    minute 2: rms 2.0
    minute 3: rms 3.0
"""

import numpy as np

import kvx

RATE, MINUTE = 1000.0, 60000
tone = np.sqrt(2) * np.sin(2 * np.pi * 10.0 * np.arange(MINUTE) / RATE)
with kvx.create("long.vdf2", rate=RATE, samples=3 * MINUTE, names=["table"], units="g") as writer:
    for level in (1.0, 2.0, 3.0):
        writer.write(level * tone[np.newaxis])

recording = kvx.open("long.vdf2")
blocks = list(recording.blocks(MINUTE))  # a long one would be read in a loop, a block at a time
print(f"{recording.runs[0].samples // MINUTE} minutes at {recording.rate:g} Hz in {len(blocks)} blocks")
for number, block in enumerate(blocks, 1):
    print(f"minute {number}: rms {np.sqrt(np.mean(block[0] ** 2)):.1f}")
