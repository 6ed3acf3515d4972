# SPDX-License-Identifier: MIT
"""Octave bands, weightings and levels of arrays."""
import pickle
import unittest

import numpy as np

import kvx
from support import noise


class Bands(unittest.TestCase):
    def test_bands_have_their_frequencies(self):
        bands = kvx.octave_bands(3, 20, 20000)
        self.assertEqual([b.nominal for b in bands[:4]], [20, 25, 31.5, 40])
        np.testing.assert_allclose([b.mid for b in bands], 10 ** (0.1 * np.arange(13, 44)))
        self.assertEqual(kvx.octave_bands(1, 31.5, fs=48000)[-1].nominal, 16000)
        self.assertEqual(pickle.loads(pickle.dumps(bands[3])), bands[3])
        self.assertEqual(kvx.OctaveBand(3, 0).mid, 1000)
        for wrong in (dict(low=20), dict(low=0, high=10), dict(low=20, high=10), dict(low=20, high=30, fs=100)):
            with self.assertRaises(kvx.BadValueError):
                kvx.octave_bands(3, **wrong)

    def test_powers_of_filters_and_lines_agree_with_the_signal(self):
        fs = 8192.0
        x = noise(2, 200000)
        bands = kvx.octave_bands(3, 100, 2000)
        powers = kvx.octave_mean_squares(x, fs, bands)
        self.assertEqual(powers.shape, (2, len(bands)))
        width = (bands[-1].high - bands[0].low) / (fs / 2)
        np.testing.assert_allclose(powers.sum(-1), width * (x**2).mean(-1), rtol=0.02)
        arrays = kvx.octave_filter(x[0], fs, bands)
        np.testing.assert_allclose([(a**2).mean() for a in arrays], powers[0], rtol=1e-12)
        np.testing.assert_array_equal(kvx.octave_mean_squares(x.T, fs, bands, axis=0), powers.T)
        lines = kvx.powers_in_bands(np.ones(2001), 2.0, bands)
        np.testing.assert_allclose(lines, [b.high - b.low for b in bands])
        self.assertTrue(np.isnan(kvx.powers_in_bands(np.ones(10), 2.0, bands)).all())
        with self.assertRaises(kvx.BadValueError):
            kvx.octave_mean_squares(x, 2000.0, bands)

    def test_weightings_are_those_of_the_standard(self):
        # IEC 61672-1:2013, Table 3.
        exact = 10 ** (0.1 * np.array([17, 20, 30, 36, 40]))
        a = 20 * np.log10(kvx.weighting_gain(exact))
        np.testing.assert_allclose(a, [-30.2, -19.1, 0, 1.0, -2.5], atol=0.05)
        self.assertEqual(kvx.weighting_gain(1000.0, "C"), 1.0)
        impulse = np.zeros(16384)
        impulse[0] = 1
        gains = np.abs(np.fft.rfft(kvx.weighting_filter(impulse, 48000, "A")))[1:7500]
        f = np.fft.rfftfreq(16384, 1 / 48000)[1:7500]
        np.testing.assert_allclose(20 * np.log10(gains / kvx.weighting_gain(f)), 0, atol=0.07)
        with self.assertRaises(kvx.UnknownNameError):
            kvx.weighting_filter(impulse, 48000, "B")

    def test_levels_and_running_values(self):
        fs = 8000
        x = np.sqrt(2) * np.sin(2 * np.pi * 1000 * np.arange(5 * fs) / fs)
        levels = kvx.levels(x, fs)
        self.assertAlmostEqual(10 * np.log10(levels.mean_square), 0, delta=0.01)
        self.assertAlmostEqual(levels.exposure, 5 * levels.mean_square)
        self.assertAlmostEqual(10 * np.log10(levels.exceeded[1]), 0, delta=0.02)
        self.assertIsNone(kvx.levels(x[:100], fs).min_square)
        running = kvx.time_weighting(x, fs, "S", step=fs)
        np.testing.assert_allclose(running**2, 1 - np.exp(-np.arange(1, 6)), rtol=1e-3)
        np.testing.assert_allclose(kvx.moving_rms(x, 800, 80), 1, rtol=1e-12)
        self.assertEqual(len(kvx.moving_rms(x, 800)), 50)
        value, text = kvx.level_reference("kPa")
        self.assertEqual(text, "20 µPa")
        self.assertAlmostEqual(value, 2e-8)

    def test_statistics_have_moments(self):
        # numpy.std, scipy.stats.skew and kurtosis(fisher=False), SciPy 1.10.1.
        figures = kvx.statistics([1, 2, 3, 4, 100.0])
        np.testing.assert_allclose((figures.std, figures.skewness, figures.kurtosis),
                                   (39.01281840626232, 1.4975367033335198, 3.2467164893001637))
        self.assertEqual((figures.min_at, figures.max_at, figures.peak_at), (0, 4, 4))
        self.assertAlmostEqual(figures.crest, 100 / np.sqrt(2006))


if __name__ == "__main__":
    unittest.main()
