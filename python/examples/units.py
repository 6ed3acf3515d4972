#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Units: conversion of numbers and arrays, and units made from others.

It prints:

    1 g is 9.80665 m/s2
    0.5 1.0 1.5 inch are 12.7 25.4 38.1 mm
    its density is in g2/Hz, over a force it is g/N
    2 bar are 29.01 psi
    g and s do not convert: BadValueError
"""

import kvx

print(f"1 g is {kvx.convert(1.0, 'g', 'm/s2')} m/s2")
lengths = [0.5, 1.0, 1.5]
print(*lengths, "inch are", *(f"{each:.4g}" for each in kvx.convert(lengths, "inch", "mm")), "mm")
acceleration = kvx.Unit("g")
print(f"its density is in {acceleration.density}, over a force it is {acceleration.over('N')}")
print(f"2 bar are {2.0 / kvx.convert(1.0, 'psi', 'bar'):.2f} psi")
try:
    kvx.convert(1.0, "g", "s")
except kvx.Error as error:
    print(f"g and s do not convert: {type(error).__name__}")
