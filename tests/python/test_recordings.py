# SPDX-License-Identifier: MIT
"""Recordings and data files: reading, writing, parts, memory, threads, pickles."""

import gc
import pickle
import threading
import unittest

import numpy as np

import kvx
from support import FolderTest, RECORDINGS, needs_recordings, needs_scipy, noise, scipy


class Files(FolderTest):
    def table(self, samples=4000, rate=1024.0):
        """A text table of two channels, and its numbers."""
        x = np.round(noise(2, samples), 6)
        rows = [f"{i / rate:.10f},{a:.6f},{b:.6f}" for i, (a, b) in enumerate(x.T)]
        self.path("t.csv").write_text("\n".join(["time,top [g],base [m/s2]"] + rows))
        return self.path("t.csv"), x

    def test_a_recording_says_what_it_holds(self):
        path, x = self.table()
        with kvx.open(path) as recording:
            self.assertEqual(recording.names, ["top", "base"])
            self.assertEqual((recording.rate, len(recording), recording.path), (1024.0, 2, str(path)))
            top = recording["top"]
            self.assertEqual((top.unit, top.rate, top.start, len(top), top.number), (kvx.Unit("g"), 1024.0, 0.0, 4000, 1))
            np.testing.assert_allclose(top.samples, x[0], rtol=1e-15)
            np.testing.assert_allclose(recording.read(), x, rtol=1e-15)
            np.testing.assert_array_equal(np.asarray(recording[-1]), recording.read()[1])
            np.testing.assert_allclose(recording.axis(), np.arange(4000) / 1024)
            self.assertEqual([channel.name for channel in recording], recording.names)
            self.assertTrue(recording.runs[0].is_waveform)
            self.assertIsNone(recording.runs[0].started)
            with self.assertRaisesRegex(kvx.UnknownNameError, "top"):
                recording["tops"]
            with self.assertRaisesRegex(kvx.UnknownNameError, "there is no channel 'left', only 'top', 'base'"):
                recording["left"]
            self.assertRaises(IndexError, lambda: recording[2])
        self.assertTrue(recording.closed)
        self.assertRaisesRegex(kvx.BadValueError, "closed", recording.read)
        self.assertRaises(kvx.BadValueError, lambda: top.samples)

    def test_the_start_of_stamps_is_kept(self):
        self.path("s.csv").write_text("time,a [g]\n2024-03-01T12:30:05.5,1\n2024-03-01T12:30:06,2\n2024-03-01T12:30:06.5,3\n")
        self.assertEqual(kvx.open(self.path("s.csv")).runs[0].started, "2024-03-01T12:30:05.5")
        self.assertEqual(kvx.open(self.path("s.csv"), start=0.5).runs[0].started, "2024-03-01T12:30:06")

    def test_blocks_are_the_whole(self):
        path, _ = self.table()
        recording = kvx.open(path)
        whole = recording.read()
        for size in (1, 999, 4000, 1 << 39):
            blocks = list(recording.blocks(size)) if size > 1 else list(recording.part(end=0.1).blocks(1))
            np.testing.assert_array_equal(np.concatenate(blocks, axis=1), whole[:, :sum(b.shape[1] for b in blocks)])
        overlapping = list(recording.blocks(1000, overlap=250))
        for k, block in enumerate(overlapping):
            np.testing.assert_array_equal(block, whole[:, 750 * k:750 * k + block.shape[1]])
        self.assertEqual(overlapping[-1][0, -1], whole[0, -1])

    def test_parts_and_choices(self):
        path, x = self.table()
        part = kvx.open(path, channels=["base", 1], start=1.0, end=2.0)
        self.assertEqual((part.names, part.runs[0].samples, part["top"].start), (["base", "top"], 1024, 1.0))
        np.testing.assert_allclose(part.read(), x[::-1, 1024:2048], rtol=1e-15)
        stated = kvx.open(path, rate=2000.0, units=["V", "psi"], names=["a", "b"])
        self.assertEqual((stated.rate, stated.names, stated[0].unit.name), (2000.0, ["a", "b"], "V"))
        self.assertRaisesRegex(TypeError, "rates", kvx.open, path, rates=3)
        self.assertRaises(TypeError, kvx.open, path, rate="fast")
        self.assertRaises(kvx.UnknownNameError, kvx.open, path, channels="side")
        self.assertRaises(kvx.BadValueError, kvx.open, path, start=2.0, end=1.0)

    def test_every_written_format_reads_back(self):
        x = noise(2, 3000) * 0.1
        recording = kvx.recording({"top": x[0], "base": x[1]}, rate=2048.0, units=["m/s2", "N"])
        written = [each for each in kvx.formats() if each.is_written]
        self.assertGreaterEqual(len(written), 8)
        for each in written:
            with self.subTest(each.name):
                path = self.path("x" + each.ends[0])
                single = each.ends[0] == ".sac"
                samples = "pcm24" if each.ends[0] == ".flac" else "float"
                kvx.write(path, kvx.recording(x[0], rate=2048.0, units="m/s2") if single else recording, samples=samples)
                self.assertEqual(kvx.recognize(path), (each.name, True))
                again = kvx.open(path, **({"rate": 2048.0} if each.ends[0] == ".npy" else {}))
                self.assertAlmostEqual(again.rate, 2048.0, places=2)
                got = np.concatenate([run.read() for run in again.runs])
                np.testing.assert_allclose(got, x[:1] if single else x, atol=1e-5)

    @needs_scipy
    def test_files_are_those_of_others(self):
        x = noise(2, 500) * 0.1
        kvx.write(self.path("x.wav"), x, rate=8000)
        rate, samples = scipy.io.wavfile.read(self.path("x.wav"))
        self.assertEqual(rate, 8000)
        np.testing.assert_array_equal(samples.T, x.astype(np.float32))
        np.save(self.path("theirs.npy"), x.T)
        np.testing.assert_array_equal(kvx.open(self.path("theirs.npy"), rate=10).read(), x)
        scipy.io.savemat(self.path("theirs.mat"), {"x": x.T, "fs": 100.0})
        np.testing.assert_array_equal(kvx.open(self.path("theirs.mat"), rate=100).read(), x)

    def test_complex_lines_missing_samples_and_listed_places(self):
        lines = noise(2, 64) + 1j * noise(2, 64, seed=2)
        kvx.write(self.path("l.vdf2"), lines, spacing=2.0, axis="frequency", units="N", names=["a", "b"])
        again = kvx.open(self.path("l.vdf2"))
        np.testing.assert_array_equal(again.read(), lines)
        self.assertEqual((again.rate, again.runs[0].spacing), (None, 2.0))
        np.testing.assert_array_equal(np.concatenate(list(again.blocks(10)), axis=1), lines)
        x = noise(1, 50)
        x[0, 7] = np.nan
        kvx.write(self.path("m.vdf2"), x, rate=10.0)
        np.testing.assert_array_equal(kvx.open(self.path("m.vdf2")).read(), x)
        self.assertEqual(kvx.open(self.path("m.vdf2")).statistics()[0].channels[0].missing, 1)
        self.assertRaises(kvx.UnsupportedError, kvx.open(self.path("m.vdf2")).psd, nperseg=32)
        self.assertRaises(kvx.UnsupportedError, kvx.recording(x, rate=10.0).psd, nperseg=32)
        places = np.geomspace(1, 100, 50)
        kvx.write(self.path("p.vdf2"), noise(50), places=places, axis="frequency")
        np.testing.assert_array_equal(kvx.open(self.path("p.vdf2")).axis(), places)

    def test_files_are_written_block_by_block(self):
        x = noise(2, 10000)
        with kvx.create(self.path("b.vdf2"), rate=100.0, samples=10000, names=["a", "b"], units="g") as writer:
            for at in range(0, 10000, 999):
                writer.write(x[:, at:at + 999])
        np.testing.assert_allclose(kvx.open(self.path("b.vdf2")).read(), x, rtol=1e-15)
        with self.assertRaises(kvx.BadValueError):
            with kvx.create(self.path("b.vdf2"), rate=100.0, samples=10, names=["a"]) as writer:
                writer.write([1.0])
        with self.assertRaises(KeyError):
            with kvx.create(self.path("b.vdf2"), rate=1.0, samples=1, names=["a"]) as writer:
                raise KeyError
        self.assertEqual(kvx.open(self.path("b.vdf2")).runs[0].samples, 10000)
        self.assertRaises(kvx.BadValueError, writer.write, [1.0])

    def test_several_become_one(self):
        a = kvx.recording({"a": np.arange(4.0)}, rate=1.0)
        b = kvx.recording({"b": np.arange(4.0, 8.0)}, rate=1.0)
        self.assertEqual(kvx.merge([a, b]).names, ["a", "b"])
        np.testing.assert_array_equal(kvx.join([a, b]).read(), [np.arange(8.0)])
        np.testing.assert_array_equal(a.edit(scale=2.0, offset=1.0, names="x").read(), [2 * np.arange(4.0) + 1])
        self.assertEqual(a.edit(units="V", to_units="mV").read()[0, 1], 1000.0)
        self.assertRaises(kvx.Error, kvx.merge, [a, kvx.recording([1.0], rate=1.0)])
        self.assertRaises((kvx.Error, TypeError), kvx.merge, [a, None])
        self.assertRaises(kvx.Error, kvx.join, [])

    def test_analyses_are_those_of_the_arrays(self):
        path, x = self.table()
        recording = kvx.open(path)
        for got, row in zip(recording.psd(nperseg=512), recording.read()):
            f, wanted = kvx.psd(row, 1024.0, nperseg=512)
            np.testing.assert_array_equal(got.frequencies, f)
            np.testing.assert_allclose(got.values, wanted, rtol=1e-12)
        top = recording.psd(nperseg=512)[0]
        self.assertEqual((top.unit, top.name, top.kind, len(top)), (kvx.Unit("g2/Hz"), "top", "density", 256))
        # A Hann window takes nothing of the power of noise, on average: 14 blocks, 2 %.
        self.assertAlmostEqual(top.rms(), np.std(x[0]), delta=0.05)
        self.assertAlmostEqual(top.motion().acceleration, 9.80665 * top.rms(2.0), places=6)
        self.assertEqual(top.peaks(2)[0].level, top.highest()[1])
        transfer, = recording.transfers("base", nperseg=256)
        np.testing.assert_allclose(transfer.transfer.values, kvx.transfer(*recording.read()[::-1], nperseg=256)[1], rtol=1e-9)
        self.assertEqual((transfer.name, transfer.reference), ("top", "base"))
        self.assertAlmostEqual(transfer.at([100.0])[0].frequency, 100.0)
        record, start, interval = recording.spectrogram(nperseg=256)[0]
        np.testing.assert_allclose(record.samples(0), kvx.amplitudes(recording.read()[0, :256], nperseg=256)[1], rtol=1e-12)
        self.assertEqual((start, interval), (255 / 2 / 1024, 0.125))
        block = recording.block_spectrum("rectangular", 1024, start=1.0)[1]
        np.testing.assert_allclose(block.values, kvx.block_spectrum(recording.read()[1, 1024:2048], "rectangular"), atol=1e-12)

    def test_a_reference_may_be_in_another_recording(self):
        path, x = self.table()
        responses, force = kvx.open(path), kvx.recording({"time": x[1], "push": x[0]}, rate=1024.0, units="N")
        found = responses.transfers("push", nperseg=256, reference_recording=force)
        self.assertEqual([(each.name, each.reference, each.transfer.unit) for each in found],
                         [("top", "push", kvx.Unit("g").over("N")), ("base", "push", kvx.Unit("m/s2").over("N"))])
        for got, row in zip(found, responses.read()):
            np.testing.assert_allclose(got.transfer.values, kvx.transfer(x[0], row, nperseg=256)[1], rtol=1e-9, atol=1e-12)
        only, = responses.transfers(2, "base", nperseg=256, reference_recording=force)
        np.testing.assert_array_equal(only.transfer.values, found[1].transfer.values)
        kvx.write(self.path("force.csv"), force)
        late = kvx.open(self.path("force.csv"), start=0.5)
        for reference, other, told in (("pull", late, "no channel 'pull'"), (1, late, "not sampled together with the reference")):
            with self.assertRaisesRegex(kvx.Error, told):
                responses.transfers(reference, nperseg=256, reference_recording=other)
        self.path("force.csv").unlink()
        with self.assertRaises(FileNotFoundError) as caught:
            responses.transfers(nperseg=256, reference_recording=late)
        self.assertEqual(caught.exception.place["path"], str(self.path("force.csv")))
        self.assertRaises(TypeError, responses.transfers, reference_recording="force.csv")

    def test_a_calibrator_tells_sensitivities(self):
        t = np.arange(8192) / 2048
        tone = kvx.recording({"u": 0.1 * np.sqrt(2) * np.sin(2 * np.pi * 159.2 * t)}, rate=2048.0, units="V")
        found, = tone.calibrations(1.0, "g")
        self.assertAlmostEqual(found.sensitivity.value * kvx.convert(1, found.sensitivity.electrical, "mV"), 100.0, places=6)
        self.assertTrue(found.is_clean)
        self.assertEqual(kvx.parse_sensitivity(kvx.sensitivity_text(found.sensitivity)), found.sensitivity)
        kvx.write(self.path("u.csv"), tone)
        in_g = kvx.open(self.path("u.csv"), sensitivities=found.sensitivity)
        self.assertEqual(in_g[0].unit.dimension, "acceleration")
        self.assertAlmostEqual(in_g.statistics()[0].channels[0].rms, 1.0, places=3)

    def test_shocks_are_those_of_the_arrays(self):
        path, x = self.table()
        recording = kvx.open(path)
        records = recording.shock_spectra([10, 100, 400], q=20, extremes=["positive", "negative"], response="pseudo-velocity")
        self.assertEqual([record.rows for record in records], [["top positive", "top negative"], ["base positive", "base negative"]])
        wanted = kvx.shock_spectrum(x[1], 1024.0, [10, 100, 400], q=20, extreme="negative", response="pseudo-velocity")[1]
        np.testing.assert_allclose(records[1].samples(1), wanted, rtol=1e-12)
        kvx.write(self.path("s.csv"), records[0])
        self.assertTrue(self.path("s.csv").read_text().startswith("frequency [Hz],top positive [m/s]"))
        (name, unit, top), (_, _, base) = recording.pulses(threshold=0.2)
        self.assertEqual((name, unit), ("top", kvx.Unit("g")))
        self.assertEqual(base, kvx.measure_pulse(x[1], 1024.0, threshold=0.2))
        self.assertAlmostEqual(top.velocity_change, 9.80665 * kvx.measure_pulse(x[0], 1024.0, 0.2).velocity_change)

    def test_results_go_to_files(self):
        path, _ = self.table()
        recording = kvx.open(path)
        spectra = recording.psd(nperseg=512)
        for name in ("s.vdf2", "s.csv", "s.npz", "s.mat", "s.uff"):
            kvx.write(self.path(name), spectra if name != "s.csv" else spectra[0])
            again = kvx.open(self.path(name))
            np.testing.assert_allclose(again[0].samples, spectra[0].values, rtol=1e-6)
        kvx.write(self.path("t.vdf2"), recording.transfers(nperseg=256))
        self.assertEqual(len(kvx.open(self.path("t.vdf2"))), 2)

    def test_everything_pickles(self):
        path, x = self.table()
        recording = kvx.open(path, channels="top", start=0.5, units="V")
        arrays = kvx.recording(x, rate=1024.0, names=["a", "b"])
        every = [recording, arrays, recording.part(end=1.0), kvx.merge([arrays, arrays.edit(names=["c", "d"])]),
                 kvx.join([arrays, arrays])]
        for each in every:
            again = pickle.loads(pickle.dumps(each))
            np.testing.assert_array_equal(again.read(), each.read())
            self.assertEqual(again.names, each.names)
        for value in [*arrays.psd(nperseg=256), arrays.statistics(), kvx.formats(), kvx.parse_sensitivity("3 mV/g"),
                      kvx.fit_sine(np.sin(np.arange(100)), 1.0)]:
            self.assertEqual(pickle.loads(pickle.dumps(value)), value)
        transfer = pickle.loads(pickle.dumps(arrays.transfers(nperseg=256)[0]))
        self.assertEqual(transfer.transfer, arrays.transfers(nperseg=256)[0].transfer)
        self.assertIs(pickle.loads(pickle.dumps(kvx.psd)), kvx.psd)
        self.assertIs(pickle.loads(pickle.dumps(len)), len)
        self.assertEqual(pickle.loads(pickle.dumps(kvx.Recording.psd))(arrays), arrays.psd())
        self.assertEqual(pickle.loads(pickle.dumps(recording.psd))()[0].values.size, 512)

    def test_threads_share_a_recording(self):
        path, _ = self.table()
        recording = kvx.open(path)
        wanted, results = recording.read(), []

        def read():
            for _ in range(5):
                results.append(np.array_equal(recording.read(), wanted))
                results.append(np.array_equal(np.concatenate(list(recording.blocks(777)), axis=1), wanted))

        blocks, pieces = recording.blocks(10), []
        threads = [threading.Thread(target=read) for _ in range(4)]
        threads += [threading.Thread(target=lambda: pieces.extend(b.shape[1] for b in blocks)) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual((len(results), all(results), sum(pieces)), (40, True, 4000))

    def test_a_file_that_changes_is_told_of(self):
        path, _ = self.table()
        recording = kvx.open(path)
        recording.read()
        self.table(samples=100)
        self.assertRaisesRegex(kvx.DamagedError, "changed", recording.read)
        path.unlink()
        self.assertRaises(FileNotFoundError, recording.read)

    @needs_recordings
    def test_measured_recordings(self):
        for path in sorted(RECORDINGS.iterdir()):
            if path.suffix == ".md" or path.name.startswith("bridge"):
                continue
            with self.subTest(path.name):
                try:
                    recording = kvx.open(path)
                except kvx.BadValueError as error:
                    self.assertIn("with rate", error.sentence)
                    recording = kvx.open(path, rate=1024.0)
                self.assertEqual(recording.read().shape, (len(recording.runs[0]), recording.runs[0].samples))
                self.assertEqual(len(recording.statistics()), len(recording.runs))


class Records(FolderTest):
    def test_views_are_the_memory_of_the_record(self):
        record = kvx.Record(noise(3, 100), spacing=0.01, unit="g", names=["a", "b", "c"])
        view = record.view(1)
        self.assertFalse(view.flags.owndata)
        self.assertIs(view.base, record)
        self.assertEqual(view.__array_interface__["data"], record.view(1).__array_interface__["data"])
        view[:] = 9.80665
        np.testing.assert_allclose(record.samples(1), np.ones(100))
        np.testing.assert_allclose(record.samples(2) * 9.80665, record.view(2))

    def test_views_keep_what_they_show(self):
        kvx.DataFile([kvx.Record(np.arange(1000.0), spacing=1.0)], "text").store(self.path("v.vdf2"))
        view = kvx.load(self.path("v.vdf2")).records[0].view()
        places = kvx.Record(np.arange(500.0), places=np.arange(500.0)).axis
        waste = [np.zeros(1000) for _ in range(100)]
        del waste
        gc.collect()
        np.testing.assert_array_equal(view, np.arange(1000.0))
        np.testing.assert_array_equal(places, np.arange(500.0))
        profile_view = kvx.Profile([1, 2, 3], [1, 2, 3]).levels
        values = kvx.Spectrum([1.0, 2.0], 1.0).values
        gc.collect()
        np.testing.assert_array_equal(profile_view, [1, 2, 3])
        np.testing.assert_array_equal(values, [1, 2])
        self.assertRaises(ValueError, values.__setitem__, 0, 3.0)
        self.assertRaises(ValueError, profile_view.__setitem__, 0, 3.0)

    def test_arrays_are_read_where_they_are(self):
        x = np.zeros((1, 1000))
        recording = kvx.recording(x, rate=1.0)
        x[0, 3] = 5.0
        self.assertEqual(recording.read()[0, 3], 5.0)

    def test_records_tell_and_refuse(self):
        lines = kvx.Record(np.arange(4) * 1j, spacing=2.0, axis="frequency", unit="N", offset=1)
        self.assertEqual((lines.kind, lines.is_complex, len(lines), lines.rows, lines.columns),
                         ("complex spectrum", True, 4, ["Data-Row-001"], ["Data-Col-001"]))
        np.testing.assert_array_equal(lines.axis, [2, 4, 6, 8])
        np.testing.assert_array_equal(lines.imaginary_view(), [0, 1, 2, 3])
        for wrong in (lambda: lines.view(1), lambda: lines.view(-1), lambda: lines.view(0, 9), lambda: lines.samples(2**40),
                      lambda: kvx.Record([], spacing=1.0), lambda: kvx.Record([1.0]), lambda: kvx.Record([1.0], spacing=-1.0),
                      lambda: kvx.Record([1.0, 2.0], places=[1.0]), lambda: kvx.Record([1.0], spacing=1.0).imaginary_view()):
            self.assertRaises(kvx.BadValueError, wrong)
        self.assertRaises(IndexError, lambda: kvx.DataFile([lines])[1])
        self.assertRaises(kvx.Error, kvx.DataFile([]).store, self.path("e.vdf2"))


if __name__ == "__main__":
    unittest.main()
