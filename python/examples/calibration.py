#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""An accelerometer on a calibrator of 10 m/s2 rms at 159.2 Hz: its sensitivity from the volts that it gave.

It prints:

    tone at 159.2 Hz, clean: True
    sensitivity 0.0102 V/(m/s2)
    a shock of 0.51 V is 50 m/s2
"""

import numpy as np

import kvx

RATE = 5120.0
time = np.arange(10240) / RATE
volts = 0.102 * np.sqrt(2) * np.sin(2 * np.pi * 159.2 * time + 0.3)
volts += np.random.default_rng(5).normal(0.0, 0.001, time.size)

sensor, = kvx.recording(volts, rate=RATE, units="V", names=["sensor"]).calibrations(10.0, "m/s2")
print(f"tone at {sensor.tone.frequency:.1f} Hz, clean: {sensor.is_clean}")
print(f"sensitivity {kvx.sensitivity_text(sensor.sensitivity, digits=3)}")
print(f"a shock of 0.51 V is {0.51 / sensor.sensitivity.value:.0f} m/s2")
