# SPDX-License-Identifier: MIT
"""What the tests of the module share."""

import os
import shutil
import tempfile
import unittest
from pathlib import Path

import numpy as np

try:
    import scipy
    import scipy.signal
except ImportError:
    scipy = None

ROOT = Path(__file__).resolve().parents[2]
RECORDINGS = Path(os.environ.get("KVX_RECORDINGS", "/nowhere"))

needs_scipy = unittest.skipUnless(scipy, "python3-scipy is not installed")
needs_recordings = unittest.skipUnless(RECORDINGS.is_dir(), "KVX_RECORDINGS names no folder")


def noise(*shape, seed=1):
    return np.random.default_rng(seed).standard_normal(shape)


def layouts(rows):
    """The same numbers in every layout that NumPy knows, and the axis along which the rows lie."""
    wide = np.zeros((rows.shape[0], 2 * rows.shape[1]))
    wide[:, ::2] = rows
    packed = np.frombuffer(b"\0" + rows.tobytes(), dtype=np.uint8)[1:].view(np.float64).reshape(rows.shape)
    yield "contiguous", rows, -1
    yield "strided", wide[:, ::2], -1
    yield "Fortran order", np.asfortranarray(rows), -1
    yield "negative strides", rows[::-1, ::-1].copy()[::-1, ::-1], -1
    yield "other axis", np.ascontiguousarray(rows.T), 0
    yield "big-endian", rows.astype(">f8"), -1
    yield "unaligned", packed, -1
    yield "list", rows.tolist(), 1
    yield "read-only", np.lib.stride_tricks.as_strided(rows, writeable=False), -1


class FolderTest(unittest.TestCase):
    """A test with a folder of its own."""

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)

    def path(self, name):
        return self.folder / name
