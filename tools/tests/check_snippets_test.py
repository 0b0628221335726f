#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Puts sound and stale blocks into the pages of a small tree; CXX names the compiler."""

import os
import unittest

from scratch_tree import ScratchTree

SOUND = {
    "include/tavrin/Tavrin.h": "#pragma once\nnamespace Tavrin { struct Heap { int blocks; }; }\n",
    "examples/hello/main.cpp": "// SPDX-License-Identifier: MIT\nint main()\n{\n}\n",
    "README.md": "# Title\n\n```cpp examples/hello/main.cpp\nint main()\n{\n}\n```\n",
    "docs/guide.md": "```cpp\nstruct Mine : Tavrin::Heap {};\n```\n\n"
                     "```cpp body\n#include <vector>\nstd::vector<Heap> heaps;\n"
                     "heaps[0].blocks = 1;\n```\n\n```sh\nnot C++\n```\n",
    "engine/include/tvscript/Engine.h": "struct Engine {};\n",
    "examples/hello/CMakeLists.txt": "# SPDX-License-Identifier: MIT\nproject(Hello)\n",
    "docs/more/engine.md": "```cpp\n#include <tvscript/Engine.h>\nEngine engine;\n```\n\n"
                           "```cmake examples/hello/CMakeLists.txt\nproject(Hello)\n```\n",
}


class CheckSnippets(unittest.TestCase):
    def check(self, files):
        with ScratchTree({**SOUND, **files}) as tree:
            return tree.run("check_snippets", "--compiler", os.environ.get("CXX", "c++"))

    def expect_problem(self, name, text, message):
        status, output = self.check({name: text})
        self.assertEqual(status, 1, output)
        self.assertIn(message, output)

    def test_sound_pages_pass(self):
        status, output = self.check({})
        self.assertEqual(status, 0, output)
        self.assertIn("5 blocks, 0 problems", output)

    def test_block_that_does_not_compile_is_reported_with_its_line(self):
        self.expect_problem("docs/guide.md", "text\n\n```cpp body\nHeap heap(1, 2);\n```\n",
                            "docs/guide.md:3: ")
        self.expect_problem("docs/more/page.md", "```cpp\nTavrin::Gone gone;\n```\n", "Gone")

    def test_warning_is_a_problem(self):
        self.expect_problem("docs/guide.md", "```cpp\nbool f(unsigned u) { return u < -1; }\n```\n",
                            "docs/guide.md:1: ")

    def test_block_that_differs_from_its_file_is_reported(self):
        self.expect_problem("examples/hello/main.cpp", "int main() {}\n",
                            "README.md:3: differs from examples/hello/main.cpp")

    def test_block_of_another_language_that_differs_from_its_file_is_reported(self):
        self.expect_problem("examples/hello/CMakeLists.txt", "project(Other)\n",
                            "docs/more/engine.md:6: differs from examples/hello/CMakeLists.txt")

    def test_block_of_a_missing_file_is_reported(self):
        self.expect_problem("docs/guide.md", "```cpp examples/gone.cpp\n```\n", "no such file")

    def test_pages_without_blocks_are_no_success(self):
        status, _ = self.check({"README.md": "\n", "docs/guide.md": "\n",
                                "docs/more/engine.md": "\n"})
        self.assertEqual(status, 1)


if __name__ == "__main__":
    unittest.main()
