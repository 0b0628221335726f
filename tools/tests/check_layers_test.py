#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Seeds one violation at a time into a small sound tree; check_layers must name each."""

import unittest

from scratch_tree import ScratchTree

SOUND = {
    "include/tavrin/Export.h": "#pragma once\n#if defined(__ELF__)\n#endif\n",
    "include/tavrin/Heap.h": "#include <cstddef>\n#include <tavrin/Export.h>\n",
    "include/tavrin/SimpleArray.h": "#include <tavrin/Heap.h>\n",
    "include/tavrin/String.h": "#include <tavrin/Heap.h>\n",
    "include/tavrin/Array.h": "#include <tavrin/String.h>\n",
    "include/tavrin/Encoder.h": "#include <tavrin/Heap.h>\n",
    "include/tavrin/Tavrin.h": "#include <tavrin/Array.h>\n#include <tavrin/Heap.h>\n",
    "src/platform/Threads.h": "unsigned currentThreadId();\n",
    "src/platform/posix/Threads.cpp": '#include "platform/Threads.h"\n#include <unistd.h>\n'
                                      "#ifdef __linux__\n#endif\n",
    "src/runtime/Heap.cpp": '#include <tavrin/Heap.h>\n#include "platform/Threads.h"\n',
    "src/runtime/ExitHandlers.cpp": "#include <tavrin/SimpleArray.h>\n",
    "src/containers/SimpleArray.cpp": "#include <tavrin/SimpleArray.h>\n",
    "src/text/String.cpp": "#include <tavrin/String.h>\n",
    "src/text/StringEncoding.cpp": "#include <tavrin/Encoder.h> // the encoder does the work\n",
    "engine/Console.cpp": "#include <tavrin/Tavrin.h>\n#include <readline/readline.h>\n",
}


class CheckLayers(unittest.TestCase):
    def check(self, **changes):
        with ScratchTree({**SOUND, **changes.get("files", {})}) as tree:
            return tree.run("check_layers")

    def expect_problem(self, source, text, message):
        status, output = self.check(files={source: text})
        self.assertEqual(status, 1, output)
        self.assertRegex(output, rf"{source}:\d+: .*{message}")

    def test_sound_tree_passes(self):
        status, output = self.check()
        self.assertEqual(status, 0, output)
        self.assertIn("15 files, 0 problems", output)

    def test_source_may_not_include_upward(self):
        self.expect_problem("src/runtime/Heap.cpp", "#include <tavrin/String.h>\n",
                            "runtime includes upward")

    def test_public_header_may_not_include_upward(self):
        self.expect_problem("include/tavrin/Heap.h", "#include <tavrin/Array.h>\n",
                            "runtime includes upward")

    def test_platform_may_not_include_the_runtime(self):
        self.expect_problem("src/platform/Threads.h", "#include <tavrin/Heap.h>\n",
                            "platform includes upward")

    def test_raw_slot_containers_may_not_use_text(self):
        self.expect_problem("src/containers/SimpleArray.cpp", "#include <tavrin/String.h>\n",
                            "runtime includes upward")

    def test_door_leads_only_where_the_table_says(self):
        self.expect_problem("src/text/StringEncoding.cpp", "#include <tavrin/Array.h> // why\n",
                            "text includes upward")

    def test_door_needs_a_reason(self):
        self.expect_problem("src/text/StringEncoding.cpp", "#include <tavrin/Encoder.h>\n",
                            "door without a comment")

    def test_reason_may_stand_above_the_include(self):
        status, output = self.check(files={
            "src/runtime/ContextState.h": "// The cache is a field.\n#include <tavrin/Array.h>\n"})
        self.assertEqual(status, 0, output)

    def test_circle_of_headers_is_named(self):
        status, output = self.check(files={
            "src/text/A.h": '#include "text/B.h"\n', "src/text/B.h": '#include "A.h"\n'})
        self.assertEqual(status, 1)
        self.assertIn("circle: src/text/A.h -> src/text/B.h -> src/text/A.h", output)

    def test_system_header_stays_in_a_systems_folder(self):
        for header in ("pthread.h", "sys/mman.h", "windows.h", "time.h"):
            self.expect_problem("src/runtime/Heap.cpp", f"#include <{header}>\n", "src/platform")
        self.expect_problem("src/platform/Threads.h", "#include <pthread.h>\n", "src/platform")

    def test_system_conditional_stays_in_platform(self):
        for source in ("include/tavrin/Export.h", "src/text/String.cpp", "engine/Console.cpp",
                       "tests/text/StringTest.cpp", "tests/support/Slot.h",
                       "bench/text/StringBench.cpp", "fuzz/StringFuzz.cpp",
                       "examples/hello/main.cpp"):
            self.expect_problem(source, "#ifdef __linux__\n#endif\n", "conditional")

    def test_every_form_of_a_system_conditional_counts(self):
        for text in ("#if defined(_WIN32)\n#endif\n", "#ifndef __APPLE__\n#endif\n",
                     "#if defined(A)\n#elif __unix__\n#endif\n", "# if _WIN64\n# endif\n",
                     "#if defined(A) && \\\n    defined(__linux__)\n#endif\n",
                     "#ifdef __FreeBSD__ // why\n#endif\n"):
            self.expect_problem("src/text/String.cpp", text, "conditional")

    def test_a_comment_may_name_a_system(self):
        status, output = self.check(files={"src/text/String.cpp": "// as with __linux__\n"})
        self.assertEqual(status, 0, output)

    def test_dependency_belongs_to_its_subsystem(self):
        status, output = self.check(files={"src/xml/Parser.cpp": "#include <expat.h>\n"})
        self.assertEqual(status, 0, output)
        self.expect_problem("src/text/String.cpp", "#include <expat.h>\n", "src/platform")

    def test_engine_may_not_reach_into_the_library(self):
        self.expect_problem("engine/Console.cpp", '#include "platform/Threads.h"\n',
                            "engine/ uses only include/")

    def test_library_may_not_know_the_engine(self):
        tree = {"engine/Adapter.h": "", "src/text/String.cpp": '#include "engine/Adapter.h"\n'}
        status, output = self.check(files=tree)
        self.assertEqual(status, 1)
        self.assertIn("the library knows nothing of engine/Adapter.h", output)

    def test_library_may_not_use_the_umbrella(self):
        self.expect_problem("src/text/String.cpp", "#include <tavrin/Tavrin.h>\n", "umbrella")

    def test_public_header_may_not_include_a_private_one(self):
        self.expect_problem("include/tavrin/Heap.h", '#include "platform/Threads.h"\n', "private")

    def test_unknown_header_and_folder_are_reported(self):
        self.expect_problem("src/text/String.cpp", '#include "text/Gone.h"\n', "no such header")
        self.expect_problem("include/tavrin/Novel.h", "\n", "not in the table")
        self.expect_problem("src/novelty/Novel.cpp", "\n", "not in the table")

    def test_empty_tree_is_no_success(self):
        with ScratchTree({}) as tree:
            status, _ = tree.run("check_layers")
        self.assertEqual(status, 1)


if __name__ == "__main__":
    unittest.main()
