# SPDX-License-Identifier: MIT
"""Each example prints what the text at its head says."""

import inspect
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

EXAMPLES = Path(__file__).resolve().parents[2] / "python" / "examples"


def printed_by(source):
    """What the head of an example says that it prints; None where it takes arguments."""
    head = source.split('"""')[1]
    before, mark, after = head.partition("It prints:\n")
    return inspect.cleandoc(after) if mark else None


class Examples(unittest.TestCase):
    def test_print_what_their_heads_say(self):
        tried = 0
        for path in sorted(EXAMPLES.glob("*.py")):
            expected = printed_by(path.read_text(encoding="utf-8"))
            if expected is None:
                continue
            with self.subTest(path.name), tempfile.TemporaryDirectory() as folder:
                run = subprocess.run([sys.executable, path], cwd=folder, capture_output=True, text=True, check=False)
                self.assertEqual((run.stdout.strip(), run.stderr, run.returncode), (expected, "", 0))
                tried += 1
        self.assertGreaterEqual(tried, 9)


if __name__ == "__main__":
    unittest.main()
