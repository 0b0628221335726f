#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares the exports of small libraries that the compiler of the environment, CXX, makes."""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOOL = Path(__file__).resolve().parent.parent / "exported_symbols"

# A stand-in for the standard library's templates, whose instances are weak.
SOUND = """
namespace std {
template <class T> struct box { virtual ~box() {} T get() const { return T(); } };
template <class T> decltype(T() + 1) next(box<T> b) { return b.get() + 1; }
}
namespace Tavrin {
struct Heap { virtual ~Heap(); static void flush(int); };
Heap::~Heap() {}
void Heap::flush(int) {}
static int inner() { return 1; }
}
int usesInstance(std::box<int> box) { return Tavrin::inner() + std::next(box); }
template struct std::box<char32_t>;
"""
LISTED = ["Tavrin::Heap::flush(int)", "Tavrin::Heap::~Heap()", "typeinfo for Tavrin::Heap",
          "typeinfo name for Tavrin::Heap", "usesInstance(std::box<int>)",
          "vtable for Tavrin::Heap"]


class ExportedSymbols(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.list = self.folder / "list.txt"

    def compare(self, text, listed, mode="--check"):
        source, library = self.folder / "source.cpp", self.folder / "library.so"
        source.write_text(text, encoding="utf-8")
        subprocess.run([os.environ.get("CXX", "c++"), "-std=c++20", "-shared", "-fPIC",
                        source, "-o", library], check=True)
        self.list.write_text("".join(f"{name}\n" for name in listed), encoding="utf-8")
        done = subprocess.run([sys.executable, TOOL, mode, library, "--list", self.list],
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              check=False)
        return done.returncode, done.stdout

    def test_equal_lists_pass_without_weak_standard_names(self):
        status, output = self.compare(SOUND, LISTED)
        self.assertEqual(status, 0, output)

    def test_new_and_gone_names_are_shown(self):
        listed = [name for name in LISTED if "flush" not in name] + ["Tavrin::Gone()"]
        status, output = self.compare(SOUND, listed)
        self.assertEqual(status, 1)
        self.assertIn("+Tavrin::Heap::flush(int)", output)
        self.assertIn("-Tavrin::Gone()", output)

    def test_update_writes_the_list_that_check_accepts(self):
        status, output = self.compare(SOUND, [], "--update")
        self.assertEqual(status, 0, output)
        self.assertEqual(self.list.read_text(encoding="utf-8").splitlines(), sorted(LISTED))

    def test_dependency_never_passes(self):
        source = SOUND + 'extern "C" void XML_ParserCreate() {}\n'
        for mode in ("--check", "--update"):
            status, output = self.compare(source, LISTED + ["XML_ParserCreate"], mode)
            self.assertEqual(status, 1)
            self.assertIn("must not leave the library: XML_ParserCreate", output)

    def test_strong_standard_name_never_passes(self):
        status, output = self.compare(SOUND + "namespace std { int ours() { return 0; } }\n",
                                      LISTED + ["std::ours()"])
        self.assertEqual(status, 1)
        self.assertIn("must not leave the library: std::ours()", output)

    def test_library_without_exports_is_no_success(self):
        status, _ = self.compare("static int hidden;\n", [])
        self.assertEqual(status, 1)


if __name__ == "__main__":
    unittest.main()
