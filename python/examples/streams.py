#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""A signal that comes in pieces is filtered and brought to a lower rate, with the bits of the whole.

It prints:

    16 pieces, 8192 samples at 1024 Hz
    the same as at once: True
"""

import numpy as np

import kvx

RATE = 8192.0
signal = np.random.default_rng(2).normal(size=65536)
process = kvx.chain([kvx.butter_process(4, 200.0, fs=RATE), kvx.resample_process(RATE, 1024.0, signal.size)])
pieces = [process.feed(signal[at:at + 4096]) for at in range(0, signal.size, 4096)]
slow = np.concatenate([*pieces, process.finish()])
print(f"{len(pieces)} pieces, {slow.size} samples at 1024 Hz")
at_once = kvx.resample(kvx.butter_filter(signal, 4, 200.0, "low", fs=RATE), RATE, 1024.0)
print("the same as at once:", np.array_equal(slow, at_once.samples))
