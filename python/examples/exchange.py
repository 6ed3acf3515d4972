#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""A recording goes through the formats of other programs and comes back.

It prints:

    drop.mat: top and base in g, m/s2 at 2000 Hz, the same: True
    drop.uff: top and base in g, m/s2 at 2000 Hz, the same: True
    drop.npz: top and base in g, m/s2 at 2000 Hz, the same: True
    drop.csv: top and base in g, m/s2 at 2000 Hz, the same: True
"""

import numpy as np

import kvx

time = np.arange(2000) / 2000.0
samples = np.exp(-6 * time) * np.sin(2 * np.pi * 50.0 * time)
samples = np.stack([samples.round(6), (5 * samples).round(6)])
for end in ["mat", "uff", "npz", "csv"]:
    kvx.write(f"drop.{end}", samples, rate=2000.0, units=["g", "m/s2"], names=["top", "base"])
    back = kvx.open(f"drop.{end}")
    same = all(np.allclose(channel.samples, wanted, rtol=1e-15, atol=0) for channel, wanted in zip(back.channels, samples))
    units = ", ".join(str(channel.unit) for channel in back.channels)
    print(f"drop.{end}: {' and '.join(back.names)} in {units} at {back.rate:g} Hz, the same: {same}")
