#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""A hammer test on a mass of 2 kg that a spring holds, 80 Hz with 2 % of critical damping: its transfer function.

It prints:

    transfer in (m/s2)/N, 2048 lines
    resonance at 80.0 Hz, Q 25
    coherence there above 0.99: True
"""

import numpy as np

import kvx

RATE, BLOCK, BLOWS = 2048.0, 4096, 4
RESONANCE, DAMPING, MASS = 80.0, 0.02, 2.0
generator = np.random.default_rng(4)
time = np.arange(BLOCK) / RATE
force = np.zeros(BLOCK)
force[10:15] = 100.0 * np.sin(np.pi * np.arange(1, 6) / 6)
# The acceleration by the response of the structure at each line.
omega = 2 * np.pi * np.fft.rfftfreq(BLOCK, 1 / RATE)
natural = 2 * np.pi * RESONANCE
response = -omega**2 / MASS / (natural**2 - omega**2 + 2j * DAMPING * natural * omega)
acceleration = np.fft.irfft(np.fft.rfft(force) * response)

forces = np.tile(force, BLOWS)
accelerations = np.tile(acceleration, BLOWS) + generator.normal(0.0, 0.01, BLOWS * BLOCK)
kvx.write("hammer.uff", [forces, accelerations], rate=RATE, units=["N", "m/s2"], names=["hammer", "mass"])

transfer, = kvx.open("hammer.uff").transfers(reference="hammer", window="boxcar", nperseg=BLOCK, noverlap=0, low=10, high=400)
top = transfer.largest
print(f"transfer in {transfer.unit}, {len(transfer.coherence)} lines")
print(f"resonance at {top.frequency:.1f} Hz, Q {abs(top.value) * MASS:.0f}")
print(f"coherence there above 0.99: {top.coherence > 0.99}")
