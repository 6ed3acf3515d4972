# SPDX-License-Identifier: MIT
"""Whatever a caller hands in, the answer is a result or an exception with a sentence, never a crash."""

import inspect
import os
import pickle
import re
import threading
import unittest
import warnings

import numpy as np

import kvx
from kvx import _kvx, errors
from support import FolderTest, noise


class Ragged:
    """Something that says it is a sequence and is none."""

    def __len__(self):
        return -1

    def __getitem__(self, index):
        raise RuntimeError("no")


HOSTILE = [None, 0, -1, 2**40, 2**70, 1.5, float("nan"), float("inf"), -1e308, "", "hann", "\0", "\udcff", b"\xff", [],
           [[]], [1, [2]], [None, 1.0], (), {}, {"a": [1.0]}, np.zeros(0), np.zeros((0, 5)), np.zeros((5, 0)),
           np.zeros((2, 3, 4)), np.float64(3), np.array(3.0), np.array(["a"]), np.array([object()]),
           np.array([1 + 2j]), np.full(64, np.nan), np.full(64, np.inf), np.full(64, -1.7976931348623157e308),
           np.full(1024, 1e200), np.ma.masked_array([1.0, 2.0], [0, 1]), np.zeros(3, dtype="M8[s]"),
           np.zeros(2, dtype=[("a", float)]), np.arange(64.0), np.arange(1024)[::-1], Ragged(), object(), type, len,
           True, kvx.Unit("g"), np.broadcast_to(1.0, (1, 1 << 12))]

# Every exception of Python that is no sign of a crash.
ALLOWED = (kvx.Error, TypeError, ValueError, OverflowError, IndexError, MemoryError, UnicodeError, OSError, KeyError,
           RuntimeError, AttributeError, StopIteration)


def arguments(function):
    return re.findall(r"(\w+): ", (function.__doc__ or "").split("\n")[0].split(" -> ")[0])


class Hostile(FolderTest):
    def attack(self, name, function):
        """Each argument in turn is hostile, the others are of the usual kind where they have no default."""
        names = [each for each in arguments(function) if each != "self"]
        warnings.simplefilter("ignore")
        for hostile in HOSTILE:
            for at in range(len(names)):
                for usual in (np.arange(64.0) % 7, 1.0, "g"):
                    values = [usual] * (at + 1)
                    values[at] = hostile
                    try:
                        function(*values)
                    except ALLOWED as error:
                        self.assertIsInstance(str(error), str)

    def test_functions_answer(self):
        os.chdir(self.folder)
        self.addCleanup(os.chdir, "/")
        skipped = {"create", "write", "working_threads"}
        for name, function in vars(_kvx).items():
            if inspect.isbuiltin(function) and name not in skipped:
                with self.subTest(name):
                    self.attack(name, function)

    def test_objects_answer(self):
        os.chdir(self.folder)
        self.addCleanup(os.chdir, "/")
        x = noise(2, 4096)
        recording = kvx.recording(x, rate=1000.0, units="g")
        kvx.write("r.vdf2", recording)
        opened = kvx.open("r.vdf2")
        closed = kvx.open("r.vdf2")
        closed.close()
        for each in (recording, opened, closed, recording.runs[0], recording[0], closed[0], recording.psd()[0],
                     recording.transfers()[0], opened.load(), opened.load()[0], kvx.Unit("g2/Hz"), kvx.Profile([1, 2], [3, 4]),
                     kvx.AveragedSpectrum(), kvx.AveragedTransfer(), kvx.SampleStatistics(), kvx.SampleQueue(8),
                     kvx.fir_process([1.0]), kvx.plot(recording), kvx.create("w.vdf2", rate=1.0, samples=5)):
            for name in dir(type(each)):
                if name.startswith("__") and name not in ("__getitem__", "__len__", "__iter__", "__repr__", "__setstate__"):
                    continue
                with self.subTest(f"{type(each).__name__}.{name}"):
                    try:
                        member = getattr(each, name)
                    except ALLOWED:
                        continue
                    if callable(member):
                        self.attack(name, member)
                    unbound = getattr(type(each), name)
                    try:
                        getattr(unbound, "fget", unbound)(None)
                    except ALLOWED:
                        pass

    def test_unmade_objects_answer(self):
        for name, cls in vars(_kvx).items():
            if inspect.isclass(cls):
                for make in (lambda: cls.__new__(cls), cls):
                    try:
                        made = make()
                        repr(made), [getattr(made, each, None) for each in dir(made) if not each.startswith("__")]
                    except ALLOWED:
                        pass
                for hostile in HOSTILE:
                    try:
                        cls.__new__(cls).__setstate__(hostile)
                    except ALLOWED:
                        pass

    def test_files_that_are_cut_or_garbled_answer(self):
        x = noise(2, 300)
        for end in (".vdf2", ".wav", ".mat", ".npz", ".uff", ".csv"):
            kvx.write(self.path("x" + end), x, rate=100.0)
            whole = self.path("x" + end).read_bytes()
            for cut in (0, 1, 3, 100, len(whole) // 2, len(whole) - 1):
                self.path("cut").write_bytes(whole[:cut])
                try:
                    kvx.open(self.path("cut")).read()
                except kvx.Error as error:
                    self.assertTrue(error.sentence)
            for at in range(0, len(whole), max(1, len(whole) // 40)):
                self.path("cut").write_bytes(whole[:at] + b"\xff\x7f" + whole[at + 2:])
                try:
                    kvx.open(self.path("cut")).read()
                except (kvx.Error, MemoryError):
                    pass


class Errors(FolderTest):
    def test_kinds_are_exceptions_of_python(self):
        self.assertRaises(FileNotFoundError, kvx.open, self.path("none.wav"))
        self.assertRaises(ValueError, kvx.psd, [1.0], nperseg=3)
        self.assertRaises(ValueError, kvx.Unit, "furlong")
        self.assertRaises(MemoryError, kvx.random_wave, kvx.Profile([1, 2], [1, 2]), samples=10**14, fs=100.0)
        self.path("damaged.vdf2").write_bytes(b"x")
        self.path("folder").mkdir()
        self.assertRaises(kvx.Error, kvx.open, self.path("folder"))
        self.assertRaises(kvx.Error, kvx.load, self.path("damaged.vdf2"))
        if os.geteuid() != 0:
            self.path("damaged.vdf2").chmod(0)
            self.assertRaises(PermissionError, kvx.open, self.path("damaged.vdf2"))
        if os.path.exists("/dev/full"):
            self.assertRaises(OSError, kvx.write, "/dev/full", [1.0], rate=1.0, format="wav")
        with self.assertRaises(FileNotFoundError) as caught:
            kvx.open(self.path("none.wav"))
        self.assertEqual(caught.exception.filename, str(self.path("none.wav")))
        self.assertEqual(caught.exception.place["path"], str(self.path("none.wav")))

    def test_errors_tell_kind_sentence_and_place(self):
        with self.assertRaises(kvx.UnsupportedError) as caught:
            kvx.psd([1.0, float("nan")], nperseg=2)
        self.assertEqual(caught.exception.sentence, "sample 2 of channel 'x' holds no value")
        self.path("t.csv").write_text("time,a\n0,1\n1,x\n2,3\n")
        with self.assertRaises(kvx.Error) as caught:
            kvx.open(self.path("t.csv")).read()
        again = pickle.loads(pickle.dumps(caught.exception))
        self.assertEqual((type(again), str(again), again.place), (type(caught.exception), str(caught.exception), caught.exception.place))
        for cls in errors._CLASSES:
            self.assertTrue(issubclass(cls, kvx.Error) and cls.__doc__ and cls.kind)

    def test_arrays_of_the_wrong_kind_get_a_sentence(self):
        for wrong, sentence in ((None, "x is None"), (3.0, "x is a single number"), (["a"], "not numbers"), ([[1], [1, 2]], "equally long"),
                                ([1j], "is complex"), (np.ma.masked_array([1.0], [1]), "masked"), ([None], "holds object")):
            with self.assertRaisesRegex(ValueError, sentence):
                kvx.psd(wrong)
        self.assertRaisesRegex(ValueError, "axis 3", kvx.psd, np.zeros((2, 2)), axis=3)
        self.assertRaisesRegex(ValueError, "shape", kvx.transfer, np.zeros((2, 1024)), np.zeros((3, 1024)))

    def test_the_lock_is_released_and_ctrl_c_ends_long_work(self):
        x = noise(1 << 21)
        counted, stop = [0], threading.Event()

        def count():
            while not stop.is_set():
                counted[0] += 1

        thread = threading.Thread(target=count)
        thread.start()
        kvx.psd(x, nperseg=4096)
        during = counted[0]
        kvx.butter_filter(x, 64, 0.1)
        stop.set()
        thread.join()
        self.assertGreater(counted[0], during)

        class Stop(Exception):
            pass

        def handler(*_):
            raise Stop

        import signal
        old = signal.signal(signal.SIGALRM, handler)
        self.addCleanup(signal.signal, signal.SIGALRM, old)
        kvx.write(self.path("long.vdf2"), noise(8, 1 << 20), rate=1000.0)
        recording = kvx.open(self.path("long.vdf2"))
        signal.setitimer(signal.ITIMER_REAL, 0.01)
        with self.assertRaises(Stop):
            for _ in range(1000):
                recording.psd(nperseg=4096)
        signal.setitimer(signal.ITIMER_REAL, 0)

    def test_a_forked_process_works(self):
        x = noise(4, 100000)
        wanted = kvx.psd(x)[1]
        child = os.fork()
        if child == 0:
            os._exit(0 if np.array_equal(kvx.psd(x)[1], wanted) else 1)
        self.assertEqual(os.waitpid(child, 0)[1], 0)


if __name__ == "__main__":
    unittest.main()
