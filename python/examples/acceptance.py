#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""A random test from its profile to the verdict: made, stored, read back, analysed, compared, drawn.

It prints:

    profile: 6.06 g rms from 20 to 2000 Hz
    measured: 6.06 g rms
    lines within 3 dB: 100 %
    picture: acceptance.png
"""

import numpy as np

import kvx

profile = kvx.Profile([20, 80, 350, 2000], [0.01, 0.04, 0.04, 0.007], "g")
wave = kvx.random_wave(profile, duration=60.0, rms=profile.rms, seed=3)
kvx.write("acceptance.vdf2", wave.samples, rate=wave.rate, units="g", names=["table"])

density, = kvx.open("acceptance.vdf2").psd(nperseg=1024)
print(f"profile: {profile.rms:.2f} g rms from 20 to 2000 Hz")
print(f"measured: {density.rms(20, 2000):.2f} g rms")
inside = (density.frequencies > 30) & (density.frequencies < 1900)
wanted = np.interp(np.log(density.frequencies[inside]), np.log(profile.frequencies), np.log(profile.levels))
deviation = 10 * (np.log10(density.values[inside]) - wanted / np.log(10))
print(f"lines within 3 dB: {100 * np.mean(abs(deviation) < 3):.0f} %")
kvx.plot(density, profile=profile, x=(10, 3000), title="Acceptance").save("acceptance.png")
print("picture: acceptance.png")
