# SPDX-License-Identifier: MIT
"""Pictures: what they are files of, that they show what was asked for, and what is refused."""

import unittest

import numpy as np

import kvx
from support import FolderTest, noise

STARTS = {"png": b"\x89PNG", "svg": b"<?xml", "pdf": b"%PDF", "jpeg": b"\xff\xd8\xff"}


class Pictures(FolderTest):
    def setUp(self):
        super().setUp()
        self.recording = kvx.recording({"top": noise(8192), "base": noise(8192, seed=2)}, rate=1024.0, units="g", text="Title")

    def test_notebooks_and_files_get_pictures(self):
        graph = kvx.plot(self.recording, size=(400, 300))
        self.assertTrue(graph._repr_png_().startswith(STARTS["png"]))
        self.assertIn("<svg", graph._repr_svg_())
        for kind, start in STARTS.items():
            self.assertTrue(graph.bytes(kind).startswith(start))
            graph.save(self.path("g." + kind), size="600x400", dpi=144)
            self.assertTrue(self.path("g." + kind).read_bytes().startswith(start))
        # A PNG states its size in bytes 16 to 23.
        self.assertEqual(np.frombuffer(graph.bytes("png")[16:24], ">u4").tolist(), [400, 300])
        self.assertEqual(graph.bytes("png"), kvx.plot(self.recording, size="400x300").bytes("png"))

    def test_everything_is_drawn(self):
        spectra = self.recording.psd()
        profile = kvx.Profile([20, 400], [0.001, 0.002], "g")
        pictures = {kvx.plot(each, **options).bytes("svg") for each, options in (
            (self.recording, {}), (self.recording, {"panes": "channel"}), (self.recording, {"channels": "top", "x": (1, 2)}),
            (self.recording, {"unit": "m/s2"}), (spectra, {}), (spectra, {"profile": profile}), (spectra[0], {"y": (1e-5, 1)}),
            (spectra, {"x_scale": "linear", "scheme": "black"}), (self.recording.transfers(), {}),
            (self.recording.transfers()[0].transfer, {"show": "nyquist"}), (self.recording.load(), {"title": "File"}),
            (kvx.Record(np.arange(10.0), spacing=1.0), {}), (noise(100), {"rate": 10.0, "units": "V"}))}
        self.assertEqual(len(pictures), 13)
        maps = {kvx.plot_spectrogram(self.recording, nperseg=256, waterfall=each).bytes("svg") for each in (False, True)}
        self.assertEqual(len(maps), 2)
        self.assertEqual(len(kvx.plot(self.recording, panes="channel")), 2)

    def test_graphs_outlive_what_they_show(self):
        graph = kvx.plot(kvx.load(self.stored()))
        self.assertTrue(graph._repr_png_().startswith(STARTS["png"]))

    def stored(self):
        kvx.write(self.path("r.vdf2"), self.recording)
        return self.path("r.vdf2")

    def test_what_cannot_be_drawn_is_refused(self):
        for options in ({"unit": "V"}, {"x": (2, 1)}, {"y": (1, None)}, {"size": (0, 10)}, {"size": (1e9, 1e9)}, {"size": "huge"},
                        {"scheme": "pink"}, {"show": "pie"}, {"panes": "many"}, {"suffix": "odd"}, {"x_scale": "odd"}, {"dpi": -1.0},
                        {"channels": "side"}, {"profile": kvx.Profile([1, 2], [1, 2], "V")}, {"x": (1e9, 2e9)}):
            with self.subTest(options), self.assertRaises(kvx.Error):
                kvx.plot(self.recording, **options).bytes("png")
        graph = kvx.plot(self.recording)
        self.assertRaises(kvx.UnknownNameError, graph.save, self.path("g.gif"))
        self.assertRaises(kvx.Error, graph.save, self.path("none/g.png"))
        self.assertRaises(kvx.Error, graph.bytes, "gif")


if __name__ == "__main__":
    unittest.main()
