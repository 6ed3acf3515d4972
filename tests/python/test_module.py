# SPDX-License-Identifier: MIT
"""The package as a whole: its stubs, its page, its example, installed use on a cluster of processes."""

import re
import subprocess
import sys
import unittest

import numpy as np

import kvx
from support import FolderTest, ROOT, noise

try:
    import distributed
except ImportError:
    distributed = None


def run(*arguments, **options):
    return subprocess.run([sys.executable, *map(str, arguments)], check=True, capture_output=True, text=True, timeout=100, **options)


class Package(FolderTest):
    def test_stubs_are_those_of_the_module(self):
        run(ROOT / "scripts" / "python-stubs")

    def test_the_examples_of_the_page_run(self):
        """Python blocks run in their order; a line "# prints: TEXT" below a print says what it prints."""
        page = (ROOT / "docs" / "python.md").read_text()
        source, wanted = [], []
        for block in re.findall(r"^```python\n(.*?)^```$", page, re.S | re.M):
            source.append(block)
            wanted += re.findall(r"^# prints: (.*)$", block, re.M)
        self.path("page.py").write_text("\n".join(source))
        got = run("page.py", cwd=self.folder).stdout.splitlines()
        self.assertEqual(got, wanted)
        self.assertGreater(len(wanted), 5)

    def test_the_page_tells_of_every_function(self):
        page = (ROOT / "docs" / "python.md").read_text()
        missing = [name for name in dir(kvx) if not name.startswith("_") and not re.search(rf"\b{name}\b", page)]
        self.assertEqual(missing, [])

    def folder_of_recordings(self):
        folder = self.path("recordings")
        folder.mkdir()
        for k in range(4):
            kvx.write(folder / f"r{k}.wav", 0.1 * noise(2, 20000, seed=k), rate=2048, names=["a", "b"])
        (folder / "notes.bin").write_bytes(b"\x89PNG no recording")
        return folder

    def test_the_example_gives_the_same_bits_on_any_number_of_processes(self):
        example, folder = ROOT / "python" / "examples" / "folder_psd.py", self.folder_of_recordings()
        one = run(example, folder, self.path("one"), "--workers", 0).stdout
        self.assertIn("4 recordings", one)
        self.assertEqual(len(list(self.path("one").glob("*.png"))), 4)
        if distributed is None:
            self.skipTest("python3-distributed is not installed: the example ran on one process only")
        run(example, folder, self.path("two"), "--workers", 2)
        for path in sorted(self.path("one").iterdir()):
            self.assertEqual(path.read_bytes(), (self.path("two") / path.name).read_bytes(), path.name)


@unittest.skipUnless(distributed, "python3-distributed is not installed")
class Cluster(FolderTest):
    def test_recordings_functions_and_results_travel(self):
        kvx.write(self.path("r.wav"), 0.1 * noise(2, 20000), rate=2048)
        recording = kvx.open(self.path("r.wav"))
        with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None) as cluster, \
                distributed.Client(cluster) as client:
            spectra = client.submit(kvx.Recording.psd, recording, nperseg=512).result(timeout=60)
            self.assertEqual(spectra, recording.psd(nperseg=512))
            parts = client.map(kvx.psd, [noise(4096, seed=k) for k in range(4)])
            for k, (_, density) in enumerate(client.gather(parts)):
                np.testing.assert_array_equal(density, kvx.psd(noise(4096, seed=k))[1])
            failed = client.submit(kvx.open, "/none.wav")
            self.assertRaises(FileNotFoundError, failed.result, timeout=60)


if __name__ == "__main__":
    unittest.main()
