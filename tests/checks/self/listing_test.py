#!/usr/bin/env python3
import os
import shutil
import unittest
from unittest import mock

from tree import CheckTest


class Listing(CheckTest):
    check = "listing"

    def test_acceptsFilesThatAreNamed(self):
        self.assertClean({"VintrelCore/CMakeLists.txt": "target_sources(Core PRIVATE scan/A.cpp\n  FILES A.h)\n",
                          "VintrelCore/scan/A.cpp": "", "VintrelCore/A.h": "",
                          "Vintrel/views/CMakeLists.txt": "add_library(v ${CMAKE_CURRENT_SOURCE_DIR}/B.cpp\n"
                                                          '  "${PROJECT_SOURCE_DIR}/Vintrel/views/B.h")\n',
                          "Vintrel/views/B.cpp": "", "Vintrel/views/B.h": ""})

    def test_namesFilesThatAreNot(self):
        self.assertOffences({"VintrelCore/CMakeLists.txt": "target_sources(Core PRIVATE scan/A.cpp)\n# B.h\n",
                             "VintrelCore/scan/A.cpp": "", "VintrelCore/A.cpp": "", "VintrelCore/B.h": "",
                             "cli/main.cpp": "", "Vintrel/C.h": ""},
                            "Vintrel/C.h:1", "VintrelCore/A.cpp:1", "VintrelCore/B.h:1", "cli/main.cpp:1")

    def test_doesNotTakeAnEndingForTheFile(self):
        self.assertOffences({"cli/CMakeLists.txt": "add_executable(x tmain.cpp)\n", "cli/tmain.cpp": "",
                             "cli/main.cpp": ""}, "cli/main.cpp:1")

    def test_knowsTheFilesOfBothSystems(self):
        self.assertClean({"VintrelCore/CMakeLists.txt": "add_library(c platform/${platform}/P.cpp)\n",
                          "VintrelCore/platform/linux/P.cpp": "", "VintrelCore/platform/darwin/P.cpp": ""})

    def test_namesAFileThatOneSystemLacks(self):
        self.assertOffences({"VintrelCore/CMakeLists.txt": "add_library(c\n  platform/${platform}/P.cpp)\n",
                             "VintrelCore/platform/linux/P.cpp": ""},
                            "VintrelCore/CMakeLists.txt:2 VintrelCore/platform/darwin/P.cpp does not exist")

    def test_namesPatterns(self):
        self.assertOffences({"CMakeLists.txt": "# file(GLOB x)\nfile(GLOB a *.cpp)\n",
                             "cmake/Find.cmake": "FILE( glob_recurse b *.cpp)\naux_source_directory(. c)\n"},
                            "CMakeLists.txt:2", "cmake/Find.cmake:1", "cmake/Find.cmake:2")

    def test_leavesOtherRoomsAlone(self):
        self.assertClean({"tests/core/A.cpp": "", "fuzz/B.cpp": ""})

    def test_worksWithoutGit(self):
        shutil.rmtree(self.root / ".git")
        with mock.patch.dict(os.environ, GIT_CEILING_DIRECTORIES=str(self.root.parent)):
            self.assertOffences({"cli/main.cpp": "", "build/cli/made.cpp": "", "cli/build/made.cpp": ""},
                                "cli/main.cpp:1")


if __name__ == "__main__":
    unittest.main()
