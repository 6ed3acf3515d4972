#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""A sweep from 50 to 850 Hz as a map of time and frequency, and as a picture.

It prints:

    the highest line moves from 56 to 840 Hz
    picture: sweep.png, a PNG: True
"""

import numpy as np

import kvx

RATE = 2048.0
time = np.arange(8 * 2048) / RATE
sweep = np.sin(2 * np.pi * (50.0 * time + 50.0 * time**2))

frequencies, times, power = kvx.spectrogram(sweep, fs=RATE, nperseg=256)
ridge = frequencies[power.argmax(axis=0)]
print(f"the highest line moves from {ridge[0]:.0f} to {ridge[-1]:.0f} Hz")
graph = kvx.plot_spectrogram(kvx.recording(sweep, rate=RATE, units="g", names=["sweep"]), nperseg=256)
graph.save("sweep.png")
print(f"picture: sweep.png, a PNG: {graph._repr_png_()[1:4] == b'PNG'}")
