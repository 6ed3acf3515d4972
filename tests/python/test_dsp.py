# SPDX-License-Identifier: MIT
"""Signal processing against SciPy and NumPy, and against itself where only the layout or the cut differs."""

import pickle
import threading
import unittest

import numpy as np

import kvx
from support import layouts, needs_scipy, noise, scipy

# Transforms of a few thousand numbers in double precision, relative to the largest line.
ROUNDING = 1e-13


def close(test, got, wanted, tolerance=ROUNDING):
    got, wanted = np.asarray(got), np.asarray(wanted)
    test.assertEqual(got.shape, wanted.shape)
    error = np.max(np.abs(got - wanted)) / max(np.max(np.abs(wanted)), 1e-300)
    test.assertLessEqual(error, tolerance)


class Transforms(unittest.TestCase):
    def test_transforms_are_those_of_numpy(self):
        for n in (1, 2, 8, 1024, 131072):
            x = noise(n)
            z = x + 1j * noise(n, seed=2)
            close(self, kvx.rfft(x), np.fft.rfft(x))
            close(self, kvx.fft(z), np.fft.fft(z))
            close(self, kvx.fft(x), np.fft.fft(x))
            close(self, kvx.ifft(z), np.fft.ifft(z))
            if n > 1:
                close(self, kvx.irfft(np.fft.rfft(x)), x)
        x = noise(3, 4, 16)
        close(self, kvx.fft(x, axis=0 - 1), np.fft.fft(x))
        close(self, kvx.rfft(x[:, :, :8], axis=1), np.fft.rfft(x[:, :, :8], axis=1))
        close(self, kvx.irfft(np.fft.rfft(x)[..., :5], n=16), np.fft.irfft(np.fft.rfft(x)[..., :5], n=16))

    @needs_scipy
    def test_windows_are_those_of_scipy(self):
        for name in ("hann", "hamming", "blackman"):
            close(self, kvx.get_window(name, 512), scipy.signal.get_window(name, 512))
        coefficients = [0.35875, 0.48829, 0.14128, 0.01168]
        wanted = scipy.signal.get_window(("general_cosine", coefficients), 64)
        close(self, kvx.get_window(("general_cosine", coefficients), 64), wanted)
        close(self, kvx.get_window("rectangular", 8), np.ones(8))
        close(self, kvx.get_window(("exponential", -0.1), 8), np.exp(-0.1 * np.arange(8)))
        self.assertAlmostEqual(kvx.noise_bandwidth(kvx.get_window("hann", 256)), 1.5)

    def test_the_spectrum_of_a_block_reads_amplitudes(self):
        x = 3.0 * np.cos(2 * np.pi * 5 * np.arange(64) / 64) + 1.0
        lines = kvx.block_spectrum(x, "rectangular")
        self.assertAlmostEqual(lines[5].real, 3.0)
        self.assertAlmostEqual(lines[0].real, 1.0)


class Calls(unittest.TestCase):
    """Functions that take their arguments without the help of pybind11 behave as those that do not."""

    def test_arguments_may_come_in_every_way(self):
        x, made = noise(4096), "".join(("nper", "seg"))
        f, wanted = kvx.psd(x, 100.0, "hamming", 512, 128, 0)
        np.testing.assert_array_equal(f, np.arange(256) * (100.0 / 512))
        ways = [kvx.psd(x, nperseg=512, window="hamming", axis=0, noverlap=128, fs=100),
                kvx.psd(axis=0, noverlap=128, nperseg=512, window="hamming", fs=np.float64(100.0), x=x),
                kvx.psd(x, 100.0, "hamming", noverlap=np.int64(128), **{made: 512}),
                kvx.psd(x, 100.0, kvx.get_window("hamming", 512), noverlap=128)]
        for way in ways:
            np.testing.assert_array_equal(way[1], wanted)
        np.testing.assert_array_equal(kvx.psd(x)[1], kvx.psd(x, 1.0, "hann", 1024, 512)[1])
        np.testing.assert_array_equal(kvx.fir_filter(x=x, b=[0.5, 0.5], ends="held"), kvx.fir_filter([0.5, 0.5], x, -1, "held", 0))
        self.assertIn("psd(x: ArrayLike, fs: float = 1.0", kvx.psd.__doc__)

    def test_wrong_arguments_are_told(self):
        x = noise(4096)
        for arguments, named in (((), {}), ((x,), {"x": x}), ((x,), {"size": 4}), ((x, "a"), {}), ((x,), {"nperseg": 0.5}),
                                 ((x, 1.0, "hann", 1024, 512, -1) + (0,) * 20, {})):
            with self.assertRaisesRegex(TypeError, r"psd\(\): incompatible function arguments") as caught:
                kvx.psd(*arguments, **named)
            for name in named:
                self.assertIn(f"kwargs: {name}=", str(caught.exception))
        for call, kind in ((lambda: kvx.psd(x, nperseg=1000), kvx.BadValueError), (lambda: kvx.psd(x, window="none"), kvx.UnknownNameError),
                           (lambda: kvx.psd(x + 1j), kvx.BadValueError), (lambda: kvx.butter_filter(x * np.nan, 8, 0.1), kvx.UnsupportedError),
                           (lambda: kvx.statistics([[1.0], [1.0, 2.0]]), kvx.BadValueError)):
            self.assertRaises(kind, call)

    def test_a_window_stays_what_it_is(self):
        for _ in range(2):
            for name, size in (("hann", 64), ("hamming", 64), ("hann", 128)):
                window = kvx.get_window(name, size)
                a = 0.5 if name == "hann" else 0.54
                close(self, window, a - (1 - a) * np.cos(2 * np.pi * np.arange(size) / size))
                window[:] = 0.0


class Shocks(unittest.TestCase):
    @needs_scipy
    def test_the_spectrum_is_the_filter_of_the_standard(self):
        x, fs, zeta = noise(2, 4000), 2000.0, 0.05
        frequencies = np.array([20.0, 100.0, 333.0])
        f, levels = kvx.shock_spectrum(x, fs, frequencies, q=10, extreme="primary", peak_error=None)
        close(self, f, frequencies)
        for k, w in enumerate(2 * np.pi * frequencies / fs):
            e, wd = np.exp(-zeta * w), w * np.sqrt(1 - zeta ** 2)
            c, s = e * np.cos(wd), e * np.sin(wd) / wd
            ended = np.concatenate([x, np.zeros((2, 1))], axis=1)
            y = scipy.signal.lfilter([1 - s, 2 * (s - c), e * e - s], [1, -2 * c, e * e], ended)
            close(self, levels[:, k], np.max(np.abs(y), axis=1), 1e-11)
        close(self, kvx.shock_spectrum(x.T, fs, frequencies, extreme="primary", peak_error=None, axis=0)[1], levels.T)

    def test_a_stream_has_the_bits_of_the_whole(self):
        x = noise(20000)
        f, whole = kvx.shock_spectrum(x, 1000.0, response="pseudo-velocity")
        self.assertEqual(len(f), 120)
        stream = kvx.ShockSpectrum(1000.0, response="pseudo-velocity")
        for i in range(0, x.size, 777):
            stream.add(x[i:i + 777])
        self.assertTrue(np.array_equal(stream.levels(), whole))
        self.assertTrue(np.array_equal(stream.frequencies, f))
        close(self, kvx.shock_frequencies(10, 12, step=0.5), [10, 10.5, 11, 11.5, 12])
        with self.assertRaises(kvx.UnknownNameError):
            stream.levels("most")
        with self.assertRaises(kvx.BadValueError):
            kvx.shock_spectrum(x, 1000.0, q=0.5)

    def test_pulses_are_measured_as_they_were_made(self):
        pulse = kvx.shock_pulse("half-sine", 500.0, 0.011, 1e5, compensation="rectangle")
        self.assertAlmostEqual(pulse.velocity_change, 2 / np.pi * 500 * 0.011)
        self.assertLess(abs(np.sum(pulse.samples)), 1e-8)
        self.assertLess(abs(np.sum(pulse.samples * np.arange(pulse.samples.size))), 1e-4)
        self.assertLess(pulse.displacement[0], -0.01)
        figures = kvx.measure_pulse(pulse.samples, 1e5)
        self.assertAlmostEqual(figures.peak, 500.0)
        self.assertAlmostEqual(figures.duration, 0.011 * (1 - 2 * np.arcsin(0.1) / np.pi), 5)
        self.assertAlmostEqual(figures.start * 1e5 - pulse.start, 0.011e5 * np.arcsin(0.1) / np.pi, 1)
        self.assertTrue(figures.is_whole)


@needs_scipy
class Spectra(unittest.TestCase):
    def setUp(self):
        self.x = noise(5, 10000)
        self.y = np.cumsum(self.x, axis=-1) * 0.1 + noise(5, 10000, seed=3)

    def test_densities_are_those_of_scipy(self):
        for window, nperseg, noverlap in (("hann", 1024, None), ("hamming", 256, 0), ("rectangular", 2048, 1500)):
            options = dict(fs=2048.0, nperseg=nperseg, noverlap=noverlap)
            other = scipy.signal.get_window("boxcar" if window == "rectangular" else window, nperseg)
            theirs = dict(options, window=other, detrend=False)
            lines = slice(0, nperseg // 2)
            f, got = kvx.psd(self.x, window=window, **options)
            their_f, wanted = scipy.signal.welch(self.x, **theirs)
            close(self, f, their_f[lines])
            close(self, got, wanted[:, lines])
            _, got = kvx.csd(self.x, self.y, window=window, **options)
            close(self, got, scipy.signal.csd(self.x, self.y, **theirs)[1][:, lines])
            _, got = kvx.coherence(self.x, self.y, window=window, **options)
            close(self, got, scipy.signal.coherence(self.x, self.y, **theirs)[1][:, lines], 1e-11)
            _, got = kvx.transfer(self.x, self.y, window=window, **options)
            cross, power = scipy.signal.csd(self.x, self.y, **theirs)[1], scipy.signal.welch(self.x, **theirs)[1]
            close(self, got, (cross / power)[:, lines], 1e-11)

    def test_averages_are_those_of_scipy(self):
        for detrend in ("constant", "linear", False):
            for scaling in ("density", "spectrum"):
                theirs = scipy.signal.welch(self.x + 3.0, 500.0, "hann", 100, 60, 128, detrend=detrend, scaling=scaling)
                got = kvx.psd(self.x + 3.0, 500.0, "hann", 100, 60, nfft=128, detrend=detrend, scaling=scaling,
                              nyquist=True)
                close(self, got[0], theirs[0])
                close(self, got[1], theirs[1])
        theirs = scipy.signal.csd(self.x, self.y, nperseg=512, detrend="linear", window=scipy.signal.get_window("hann", 512))
        close(self, kvx.csd(self.x, self.y, nperseg=512, detrend="linear")[1], theirs[1][:, :256])
        one = kvx.psd(self.x[0, :2048], nperseg=2048, noverlap=0)[1], kvx.psd(self.x[0, 2048:4096], nperseg=2048)[1]
        for average, wanted in (("peak-hold", np.maximum(*one)), ("minimum", np.minimum(*one)),
                                ("exponential", 0.25 * one[0] + 0.75 * one[1])):
            close(self, kvx.psd(self.x[0, :4096], nperseg=2048, noverlap=0, average=average, weight=0.75)[1], wanted)
        large = noise(2 ** 19)
        close(self, kvx.psd(large, nperseg=2 ** 18, nyquist=True)[1],
              scipy.signal.welch(large, nperseg=2 ** 18, detrend=False)[1])
        stream = kvx.AveragedSpectrum("hann", 64, 0, detrend="mean", average="peak-hold", nyquist=True)
        stream.add(self.x[0, :640])
        self.assertIsNone(stream.degrees_of_freedom)
        self.assertEqual(len(stream.frequencies(2.0)), len(stream.power()))
        for wrong in (dict(detrend=True), dict(detrend="cubic"), dict(average="median"), dict(scaling="rms"),
                      dict(nfft=1000), dict(nperseg=100, nfft=64), dict(average="exponential", weight=2.0)):
            with self.assertRaises(kvx.Error):
                kvx.psd(self.x, **wrong)

    def test_confidence_and_windows_are_those_of_scipy(self):
        self.assertAlmostEqual(kvx.chi_square_quantile(0.95, 17.5) / scipy.stats.chi2.ppf(0.95, 17.5), 1.0, 12)
        lower, upper = kvx.confidence(64.0, 0.9)
        self.assertAlmostEqual(lower, 64.0 / scipy.stats.chi2.ppf(0.95, 64.0))
        self.assertAlmostEqual(upper, 64.0 / scipy.stats.chi2.ppf(0.05, 64.0))
        for name in (("kaiser", 8.6), ("tukey", 0.3), "bartlett", "nuttall", "hann"):
            close(self, kvx.get_window(name, 65), scipy.signal.get_window(name, 65))
        close(self, kvx.get_window("kaiser:5", 64, fftbins=False), scipy.signal.get_window(("kaiser", 5), 64, False))
        self.assertAlmostEqual(kvx.window_figures("hann").noise_bandwidth, 1.5)
        self.assertAlmostEqual(kvx.q_without_decay(40.0, 100.0, kvx.window_decay("exponential:0.01", 4.0)), 46.88, 1)
        self.assertEqual(kvx.block_size_for(2000.0, 1.0), 2048)

    def test_amplitudes_read_a_sine(self):
        t = np.arange(8192) / 1024
        f, amplitudes = kvx.amplitudes(2.5 * np.sin(2 * np.pi * 64 * t), fs=1024.0, nperseg=1024)
        self.assertAlmostEqual(amplitudes[64], 2.5)
        self.assertEqual(f[64], 64.0)

    def test_spectrograms_are_those_of_scipy(self):
        f, t, got = kvx.spectrogram(self.x[0], 1000.0, nperseg=512, noverlap=128)
        theirs = scipy.signal.spectrogram(self.x[0], 1000.0, window=scipy.signal.get_window("hann", 512), nperseg=512,
                                          noverlap=128, detrend=False)
        close(self, f, theirs[0][:256])
        close(self, t, theirs[1])
        close(self, got, theirs[2][:256])
        _, t, fewer = kvx.spectrogram(self.x[0], 1000.0, nperseg=512, noverlap=0, blocks_per_slice=3)
        close(self, fewer[:, 0], kvx.psd(self.x[0, :1536], 1000.0, nperseg=512, noverlap=0)[1])
        self.assertAlmostEqual(t[0], 0.768)

    def test_layouts_and_kinds_of_numbers_make_no_difference(self):
        wanted = kvx.psd(self.x, nperseg=512)[1]
        for name, array, axis in layouts(self.x):
            with self.subTest(name):
                got = np.moveaxis(kvx.psd(array, nperseg=512, axis=axis)[1], axis, -1)
                np.testing.assert_array_equal(got, wanted)
        for kind in (np.float32, np.int16, np.int32, np.int64, np.uint8, np.float16, bool):
            x = (100 * np.abs(self.x)).astype(kind)
            np.testing.assert_array_equal(kvx.psd(x)[1], kvx.psd(x.astype(float))[1])

    def test_streams_have_the_bits_of_the_whole(self):
        x, y = self.x[0], self.y[0]
        for cut in (1, 1000, 10000):
            average, transfer = kvx.AveragedSpectrum("hann", 512), kvx.AveragedTransfer("hann", 512)
            for at in range(0, len(x), cut):
                average.add(x[at:at + cut])
                transfer.add(x[at:at + cut], y[at:at + cut])
            np.testing.assert_array_equal(average.psd(100.0), kvx.psd(x, 100.0, nperseg=512)[1])
            np.testing.assert_array_equal(average.amplitude(), kvx.amplitudes(x, 100.0, nperseg=512)[1])
            np.testing.assert_array_equal(transfer.transfer(), kvx.transfer(x, y, 100.0, nperseg=512)[1])
            np.testing.assert_array_equal(transfer.coherence(), kvx.coherence(x, y, 100.0, nperseg=512)[1])
            self.assertEqual(average.blocks, kvx.count_blocks(len(x), 512))

    def test_one_stream_serves_threads_one_at_a_time(self):
        average = kvx.AveragedSpectrum("hann", 256, 0)
        threads = [threading.Thread(target=lambda: [average.add(self.x[0, :2560]) for _ in range(50)]) for _ in range(8)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(average.blocks, 8 * 50 * 10)

    def test_several_references(self):
        h = noise(2, 3, 40) + 1j * noise(2, 3, 40, seed=5)
        inputs = noise(500, 3, 40, seed=6) + 1j * noise(500, 3, 40, seed=7)
        outputs = np.einsum("mnk,bnk->bmk", h, inputs)
        power = np.einsum("bik,bjk->ijk", inputs, inputs.conj())
        cross = np.einsum("bik,bjk->ijk", outputs, inputs.conj())
        response = np.einsum("bik,bjk->ijk", outputs, outputs.conj())
        close(self, kvx.transfer_matrix(power, cross), h, 1e-10)
        inverse = kvx.inverse_transfer_matrix(h)
        close(self, inverse, np.moveaxis(np.linalg.pinv(np.moveaxis(h, -1, 0)), 0, -1), 1e-10)
        close(self, kvx.partial_coherence(power, response, cross), np.ones((2, 3, 40)), 1e-6)


@needs_scipy
class Filters(unittest.TestCase):
    def setUp(self):
        self.x = noise(3, 5000)

    def test_filters_are_those_of_scipy(self):
        b = scipy.signal.firwin(101, 0.2)
        close(self, kvx.fir_filter(b, self.x), scipy.signal.lfilter(b, 1, self.x))
        centred = kvx.fir_filter(b, self.x, delay=None)
        close(self, centred[:, :-50], scipy.signal.lfilter(b, 1, self.x)[:, 50:])
        for btype in ("low", "high"):
            for order in (1, 4, 9):
                sos = scipy.signal.butter(order, 0.15, btype, output="sos")
                close(self, kvx.butter_filter(self.x, order, 0.15, btype), scipy.signal.sosfilt(sos, self.x), 1e-11)
                got = kvx.butter_filter(self.x.T, order, 150.0, btype, fs=2000.0, axis=0)
                close(self, got.T, scipy.signal.sosfilt(sos, self.x), 1e-11)

    def test_spectral_filters_pass_and_stop(self):
        t = np.arange(20000) / 1000
        x = np.sin(2 * np.pi * 10 * t) + np.sin(2 * np.pi * 200 * t)
        middle = slice(4000, -4000)
        for kind in ("slope", "cut"):
            low = kvx.spectral_filter(x, 1000.0, lowpass=50.0, kind=kind, order=20)
            close(self, low[middle], np.sin(2 * np.pi * 10 * t)[middle], 1e-3)
        # The analogue filter: gain 1/sqrt(2) at the corner.
        at_corner = kvx.spectral_filter(np.sin(2 * np.pi * 50 * t), 1000.0, lowpass=50.0)
        self.assertAlmostEqual(np.std(at_corner[middle]), 0.5, places=3)

    def test_rates_keep_every_event_at_its_time(self):
        fs, t = 1000.0, np.arange(8000) / 1000
        x = np.sin(2 * np.pi * 12 * t + 0.3)
        for new in (250.0, 2000.0, 100.0, 1000.0):
            samples, rate, start, delay, band = kvx.resample(x, fs, new)
            self.assertEqual((rate, delay), (new, delay))
            wanted = np.sin(2 * np.pi * 12 * (start + np.arange(len(samples)) / new) + 0.3)
            middle = slice(len(samples) // 4, -len(samples) // 4)
            close(self, samples[middle], wanted[middle], 2e-3)  # ripple of the filters, 0.1 %
            self.assertLessEqual(band, min(fs, new) / 2)
        close(self, kvx.decimate(x, 4)[500:-500], scipy.signal.resample_poly(x, 1, 4)[500:-500], 5e-3)
        close(self, kvx.interpolate(x, 2)[2000:-2000], scipy.signal.resample_poly(x, 2, 1)[2000:-2000], 5e-3)
        self.assertIn((1, 500), kvx.rate_changes())
        self.assertEqual(kvx.nearest_rates(1000.0, 300.0), [250.0, 500.0])

    def test_processes_have_the_bits_of_the_whole(self):
        x = self.x[0]
        b = kvx.builtin_fir(4)
        cases = ((lambda: kvx.fir_process(b), lambda: kvx.fir_filter(b, x)),
                 (lambda: kvx.butter_process(6, 0.1, "high"), lambda: kvx.butter_filter(x, 6, 0.1, "high")),
                 (lambda: kvx.spectral_process(100.0, lowpass=10.0), lambda: kvx.spectral_filter(x, 100.0, lowpass=10.0)),
                 (lambda: kvx.resample_process(100.0, 25.0, len(x)), lambda: kvx.resample(x, 100.0, 25.0).samples),
                 (lambda: kvx.chain([kvx.fir_process(b), kvx.butter_process(2, 0.1)]),
                  lambda: kvx.butter_filter(kvx.fir_filter(b, x), 2, 0.1)))
        for make, whole in cases:
            for cut in (7, 1024, 5000):
                process = make()
                pieces = [process.feed(x[at:at + cut]) for at in range(0, len(x), cut)]
                np.testing.assert_array_equal(np.concatenate(pieces + [process.finish()]), whole())
                self.assertRaises(kvx.BadValueError, process.feed, x)

    def test_rows_and_layouts_have_the_bits_of_single_signals(self):
        wanted = np.array([kvx.butter_filter(row, 4, 0.3) for row in self.x])
        for name, array, axis in layouts(self.x):
            with self.subTest(name):
                np.testing.assert_array_equal(np.moveaxis(kvx.butter_filter(array, 4, 0.3, axis=axis), axis, -1), wanted)


class Signals(unittest.TestCase):
    def test_sines_are_fitted(self):
        t = np.arange(1000) / 512
        fit = kvx.fit_sine(0.5 + 2.0 * np.cos(2 * np.pi * 33.3 * t - 1.0), 512.0)
        np.testing.assert_allclose(fit[:4], (33.3, 2.0, -1.0, 0.5), rtol=1e-9)
        self.assertLess(fit.residual_rms, 1e-9)

    def test_statistics_pass_over_missing_samples(self):
        x = noise(4, 1000)
        figures = kvx.statistics(x)
        np.testing.assert_allclose((figures.mean, figures.rms), (x.mean(), np.sqrt((x**2).mean())))
        self.assertEqual((figures.min, figures.max, figures.peak), (x.min(), x.max(), np.abs(x).max()))
        self.assertEqual(kvx.statistics(np.append(x, [np.inf, -np.inf]))[:2], (4002, 0))
        x[2, 5:9] = np.nan
        self.assertEqual(kvx.statistics(x)[:2], (3996, 4))
        self.assertEqual(kvx.statistics(x), kvx.statistics(x[~np.isnan(x)])._replace(missing=4))
        self.assertEqual(set(kvx.statistics(x * np.nan)._replace(missing=0)), {0})
        self.assertEqual(kvx.statistics(x * np.nan).missing, 4000)
        self.assertEqual(kvx.statistics(x).max, np.nanmax(x))
        stream = kvx.SampleStatistics()
        for row in x:
            stream.add(row)
        self.assertEqual(stream.figures(), kvx.statistics(x))

    def test_profiles(self):
        profile = kvx.Profile([20, 80, 350, 2000], [0.01, 0.04, 0.04, 0.007], "g")
        self.assertAlmostEqual(profile.rms, 6.058, places=3)
        # Straight on log-log axes.
        f = np.geomspace(20, 2000, 50)
        wanted = np.exp(np.interp(np.log(f), np.log(profile.frequencies), np.log(profile.levels)))
        np.testing.assert_allclose(profile.level_at(f), wanted, rtol=1e-12)
        self.assertEqual(profile.level_at(10.0), 0.0)
        self.assertAlmostEqual(np.sqrt(profile.lines(2.0, 1200).sum() * 2.0), profile.rms)
        self.assertAlmostEqual(profile.with_rms(3.0).rms, 3.0)
        self.assertAlmostEqual(profile.with_level(100, 200, 0.1).level_at(150), 0.1)
        self.assertAlmostEqual(profile.with_level_ratio(100, 200, 0.5).level_at(150), 0.02)
        self.assertAlmostEqual(profile.filtered(200.0).level_at(200.0), 0.02, places=4)
        self.assertEqual(kvx.Profile.parse(profile.text()), profile)
        self.assertEqual(profile.random_rate, 8192.0)

    def test_profiles_are_compared_with_densities(self):
        profile = kvx.Profile([10, 100], [2, 2], "g").with_tolerance(3, -3).with_abort(6, -np.inf, 20, 50)
        self.assertEqual(profile.tolerance, [(3, -3, 0, np.inf)])
        for copy in (kvx.Profile.parse(profile.text()), pickle.loads(pickle.dumps(profile)), profile.with_rms(profile.rms)):
            self.assertEqual(copy.abort, [(6, -np.inf, 20, 50)])
        lines = np.full(120, 2.0)
        lines[30:32] = 5.0
        density = kvx.Spectrum(lines, 1.0, "g", kind="density")
        result = density.compare(profile, edges=[10, 20, 40, 100])
        self.assertEqual((result.verdict, result.lines, result.out_of_tolerance, result.beyond_abort),
                         ("out of tolerance", 89, 2, 0))
        self.assertEqual(result.highest.frequency, 30.0)
        self.assertAlmostEqual(result.highest.difference, 10 * np.log10(2.5))
        self.assertAlmostEqual(result.bands[1].measured, 2.3)
        self.assertEqual(density.compare(profile, judge="bands").verdict, "within")
        # The same in another unit, and twice as much.
        for factor, verdict in ((1, "out of tolerance"), (2, "beyond abort")):
            other = kvx.Spectrum(lines * factor * 9.80665**2, 1.0, "m/s2", kind="density")
            found = other.compare(profile, low=20)
            self.assertAlmostEqual(found.lowest.difference, 10 * np.log10(factor))
            self.assertEqual(found.verdict, verdict)
        self.assertRaises(ValueError, kvx.Spectrum(lines, 1.0, "N", kind="density").compare, profile)
        self.assertRaises(ValueError, kvx.Spectrum(lines, 1.0, "g", kind="amplitude").compare, profile)
        self.assertRaises(ValueError, kvx.Spectrum(lines[:50], 1.0, "g", kind="density").compare, profile)
        # Velocity of a flat density of acceleration.
        self.assertAlmostEqual(profile.rms_of_integral(1), np.sqrt(2 * (1 / 10 - 1 / 100)) / (2 * np.pi))

    @needs_scipy
    def test_random_waves_have_their_density(self):
        profile = kvx.Profile([20, 2000], [0.01, 0.01])
        wave = kvx.random_wave(profile, duration=60.0, seed=7)
        self.assertEqual((wave.rate, wave.samples.size), (8192.0, 60 * 8192))
        f, density = scipy.signal.welch(wave.samples, wave.rate, nperseg=1024)
        np.testing.assert_allclose(density[(f > 50) & (f < 1900)].mean(), 0.01, rtol=0.01)
        np.testing.assert_array_equal(kvx.random_wave(profile, duration=60.0, seed=7).samples, wave.samples)
        self.assertAlmostEqual(kvx.random_wave(profile, samples=8192, rms=2.0).rms, 2.0)

    def test_queues_keep_the_newest(self):
        queue = kvx.SampleQueue(4)
        self.assertTrue(queue.put([1.0, 2.0]))
        self.assertFalse(queue.put([3.0, 4.0, 5.0]))
        self.assertEqual((len(queue), queue.size), (4, 4))
        np.testing.assert_array_equal(queue.take(3), [2.0, 3.0, 4.0])
        np.testing.assert_array_equal(queue.take(), [5.0])


class FilterDesign(unittest.TestCase):
    @needs_scipy
    def test_designs_have_the_responses_of_scipy(self):
        w = np.linspace(0.01, 3.1, 200)
        designs = [("butter", (), {}), ("cheby1", (0.5,), {}), ("cheby2", (60.0,), {}), ("ellip", (0.1, 80.0), {}),
                   ("bessel", (), {}), ("bessel", (), {"norm": "mag"})]
        for name, args, options in designs:
            for order, wn, btype in ((5, 0.3, "low"), (4, 0.4, "highpass"), (3, (0.2, 0.35), "band"),
                                     (6, [0.2, 0.5], "stop")):
                theirs = getattr(scipy.signal, name)(order, *args, wn, btype, output="sos", **options)
                ours = getattr(kvx, name)(order, *args, wn, btype, **options)
                close(self, kvx.sosfreqz(ours, w)[1], scipy.signal.sosfreqz(theirs, w)[1], 1e-11)
                zeros, poles, gain = getattr(kvx, name)(order, *args, wn, btype, output="zpk", **options)
                close(self, scipy.signal.freqz_zpk(zeros, poles, gain, w)[1], kvx.sosfreqz(ours, w)[1], 1e-10)
        for name in ("iirnotch", "iirpeak"):
            close(self, getattr(kvx, name)(50, 20, fs=1000), getattr(scipy.signal, name)(50, 20, fs=1000), 1e-14)
        b = scipy.signal.firwin(31, 0.3)
        close(self, kvx.firwin(51, [0.2, 0.4], beta=7.0), scipy.signal.firwin(51, [0.2, 0.4], window=("kaiser", 7.0)), 1e-13)
        self.assertEqual(kvx.kaiserord(80, 0.05), scipy.signal.kaiserord(80, 0.05))
        close(self, kvx.freqz(b, 64)[1], scipy.signal.freqz(b, worN=64)[1], 1e-12)
        close(self, kvx.group_delay(b + np.arange(31), 50)[1], scipy.signal.group_delay((b + np.arange(31), 1), 50)[1], 1e-8)
        close(self, kvx.remez(32, [0, 0.1, 0.2, 0.5], [1, 0]),
              scipy.signal.remez(32, [0, 0.1, 0.2, 0.5], [1, 0], fs=1, grid_density=64), 1e-5)

    @needs_scipy
    def test_sections_filter_as_those_of_scipy(self):
        x = noise(2, 3000) + 2
        sos = scipy.signal.ellip(7, 0.1, 60, 0.3, output="sos")
        close(self, kvx.sosfilt(sos, x), scipy.signal.sosfilt(sos, x), 1e-12)
        close(self, kvx.sosfilt(sos, x.T, axis=0), scipy.signal.sosfilt(sos, x.T, axis=0), 1e-12)
        close(self, kvx.iir_filter(x, 7, 0.3, family="elliptic", rp=0.1, rs=60), scipy.signal.sosfilt(sos, x), 1e-11)
        close(self, kvx.butter_filter(x, 3, (0.1, 0.2), "band"),
              scipy.signal.sosfilt(scipy.signal.butter(3, (0.1, 0.2), "band", output="sos"), x), 1e-11)
        b = scipy.signal.firwin(31, 0.3)
        for padtype in ("odd", "even", "constant", None):
            close(self, kvx.sosfiltfilt(sos, x, padtype=padtype), scipy.signal.sosfiltfilt(sos, x, padtype=padtype), 1e-11)
            close(self, kvx.filtfilt(b, x, padtype=padtype), scipy.signal.filtfilt(b, 1, x, padtype=padtype), 1e-12)
        stream = kvx.sos_process(sos)
        close(self, np.concatenate([stream.feed(x[0, :7]), stream.feed(x[0, 7:]), stream.finish()]),
              kvx.sosfilt(sos, x[0]), 0)

    def test_any_rate_keeps_a_sine_and_shifts_it(self):
        t = np.arange(4000) / 1000
        for new, shift in ((1600, 0.0), (512, 0.0003), (1000 * np.pi, -0.0123)):
            y, rate, start, delay, band = kvx.resample(np.sin(400 * t), 1000, new, shift=shift)
            self.assertEqual((delay, len(y)), (0.0, int(np.ceil(4000 * new / 1000))))
            at = start + np.arange(len(y)) / rate - shift
            inside = slice(len(y) // 4, -len(y) // 4)
            close(self, y[inside], np.sin(400 * at)[inside], 1e-6)
        self.assertEqual(len(kvx.resample_poly(t, 7, 3)), 9334)
        with self.assertRaisesRegex(kvx.UnsupportedError, "cannot become 1600 Hz by a cascade"):
            kvx.resample(t, 1000, 1600, method="cascade")

    def test_wrong_values_are_refused(self):
        for action, error in ((lambda: kvx.butter(4, [0.1, 0.2]), "one corner"),
                              (lambda: kvx.butter(4, 0.1, "band"), "two corners"),
                              (lambda: kvx.butter(4, 0.1, "middle"), "btype"), (lambda: kvx.ellip(4, 3, 2, 0.1), "attenuation"),
                              (lambda: kvx.butter(4, 0.1, output="ba"), "output"), (lambda: kvx.sosfilt([[1, 2]], [1.0]), "six"),
                              (lambda: kvx.sosfilt([[1, 0, 0, 1, -2, 1]], [1.0]), "unit circle"),
                              (lambda: kvx.remez(31, [0, 0.1], [1, 0]), "two edges"), (lambda: kvx.sosfreqz([1.0]), "six")):
            with self.assertRaisesRegex(kvx.Error, error):
                action()


if __name__ == "__main__":
    unittest.main()
