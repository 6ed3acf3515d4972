#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The averaged spectrum of an array: a tone of 3 m/s2 in noise, found again with its rms.

It prints:

    densities at 512 frequencies, 8 Hz apart
    highest line at 248 Hz
    rms of the tone 2.13, of all 2.35
"""

import numpy as np

import kvx

RATE = 8192.0
generator = np.random.default_rng(1)
time = np.arange(1 << 17) / RATE
signal = 3.0 * np.sin(2 * np.pi * 250.0 * time) + generator.normal(0.0, 1.0, time.size)

frequencies, density = kvx.psd(signal, fs=RATE, window="hann", nperseg=1024)
step = frequencies[1]
tone = (frequencies > 225) & (frequencies < 275)
print(f"densities at {frequencies.size} frequencies, {step:g} Hz apart")
print(f"highest line at {frequencies[density.argmax()]:g} Hz")
print(f"rms of the tone {np.sqrt(density[tone].sum() * step):.2f}, of all {np.sqrt(density.sum() * step):.2f}")
