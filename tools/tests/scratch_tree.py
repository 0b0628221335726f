# SPDX-License-Identifier: MIT
"""A throw-away source tree for the tests of the tools."""

import subprocess
import sys
import tempfile
from pathlib import Path

TOOLS = Path(__file__).resolve().parent.parent


class ScratchTree:
    """Holds the given files, {path: text}, while the context lasts."""

    def __init__(self, files):
        self.files = files

    def __enter__(self):
        self.folder = tempfile.TemporaryDirectory()
        self.root = Path(self.folder.name)
        for name, text in self.files.items():
            path = self.root / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")
        return self

    def __exit__(self, *_):
        self.folder.cleanup()

    def run(self, tool, *arguments):
        """The exit code and the output of a tool that is pointed at the tree."""
        done = subprocess.run(
            [sys.executable, TOOLS / tool, "--root", self.root, *arguments],
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        return done.returncode, done.stdout
