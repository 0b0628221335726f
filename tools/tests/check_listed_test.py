#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Leaves one file at a time out of a small sound tree's listings."""

import unittest

from scratch_tree import ScratchTree

SOUND = {
    "CMakeLists.txt": "add_subdirectory(src)\nadd_subdirectory(tests)\nadd_subdirectory(fuzz)\n",
    "src/CMakeLists.txt": "foreach(folder platform text)\n  add_subdirectory(${folder})\n"
                          "endforeach()\n",
    "src/platform/CMakeLists.txt": "if(WIN32)\n  set(system windows)\nelse()\n"
                                   "  set(system posix)\nendif()\n"
                                   "target_sources(t PRIVATE\n  ${system}/Clock.cpp)\n",
    "src/platform/posix/Clock.cpp": "",
    "src/platform/windows/Clock.cpp": "",
    "src/text/CMakeLists.txt": "target_sources(t PRIVATE String.cpp)\n",
    "src/text/String.cpp": "",
    "tests/CMakeLists.txt": "tavrin_test(all SOURCES text/StringTest.cpp\n"
                            "  ${PROJECT_SOURCE_DIR}/tests/support/Fake.cpp)\n",
    "tests/text/StringTest.cpp": "",
    "tests/support/Fake.cpp": "",
    "tests/consumer/find_package/main.cpp": "",
    "fuzz/CMakeLists.txt": "foreach(target string_find)\n  add_executable(${target} "
                           "${target}.cpp)\nendforeach()\n",
    "fuzz/string_find.cpp": "",
}


class CheckListed(unittest.TestCase):
    def check(self, files):
        with ScratchTree({**SOUND, **files}) as tree:
            return tree.run("check_listed")

    def expect_unlisted(self, name, files=None):
        status, output = self.check({name: "", **(files or {})})
        self.assertEqual(status, 1, output)
        self.assertIn(f"{name}: no CMakeLists.txt lists it", output)

    def test_sound_tree_passes(self):
        status, output = self.check({})
        self.assertEqual(status, 0, output)

    def test_unlisted_source_is_reported(self):
        self.expect_unlisted("src/text/Novel.cpp")
        self.expect_unlisted("tests/text/NovelTest.cpp")
        self.expect_unlisted("fuzz/string_novel.cpp")
        self.expect_unlisted("src/platform/posix/Novel.cpp")

    def test_name_in_a_comment_does_not_count(self):
        self.expect_unlisted("src/text/String.cpp",
                             {"src/text/CMakeLists.txt": "# String.cpp\n"})

    def test_listing_of_another_folder_does_not_count(self):
        self.expect_unlisted("src/platform/posix/String.cpp")

    def test_folder_that_nobody_adds_is_reported(self):
        self.expect_unlisted("src/novelty/CMakeLists.txt")

    def test_empty_tree_is_no_success(self):
        with ScratchTree({}) as tree:
            status, _ = tree.run("check_listed")
        self.assertEqual(status, 1)


if __name__ == "__main__":
    unittest.main()
