#!/usr/bin/env python3
import unittest

from tree import CheckTest


class PlatformMacros(CheckTest):
    check = "platform_macros"

    def test_namesEveryKindOfCondition(self):
        self.assertOffences({"VintrelCore/scan/A.cpp": "#ifdef __linux__\n#endif\n"
                                                       "#ifndef _WIN32\n#endif\n"
                                                       "#if defined(__APPLE__)\n#elif defined Q_OS_UNIX\n#endif\n"
                                                       "  #  if X && __unix__\n#endif\n"
                                                       "#if X || \\\n    TARGET_OS_IPHONE\n#endif\n"},
                            "VintrelCore/scan/A.cpp:1 __linux__", "VintrelCore/scan/A.cpp:3 _WIN32",
                            "VintrelCore/scan/A.cpp:5 __APPLE__", "VintrelCore/scan/A.cpp:6 Q_OS_UNIX",
                            "VintrelCore/scan/A.cpp:8 __unix__", "VintrelCore/scan/A.cpp:11 TARGET_OS_IPHONE")

    def test_namesThemInEveryFolderOfTheProject(self):
        self.assertOffences({"tests/core/A.cpp": "#ifdef __linux__\n#endif\n", "cli/B.h": "#ifdef __linux__\n#endif\n",
                             "Vintrel/shell/C.cpp": "#ifdef Q_OS_LINUX\n#endif\n",
                             "Vintrel/shell/darwin.cpp": "#ifdef Q_OS_MACOS\n#endif\n"},
                            "Vintrel/shell/C.cpp:1", "Vintrel/shell/darwin.cpp:1", "cli/B.h:1", "tests/core/A.cpp:1")

    def test_leavesThePlatformFoldersAlone(self):
        condition = "#ifdef __linux__\n#endif\n"
        self.assertClean({"VintrelCore/platform/A.cpp": condition, "VintrelCore/platform/linux/B.cpp": condition,
                          "Vintrel/shell/linux/C.cpp": condition, "Vintrel/shell/darwin/D.mm": condition})

    def test_acceptsOtherConditions(self):
        self.assertClean({"VintrelCore/base/A.h": "#if __has_include(<xlocale.h>) // not with linux\n#endif\n"
                                                  "#if __cplusplus > 202002L\n#endif\n#ifdef NDEBUG\n#endif\n"
                                                  "const bool linux = true;\n// #ifdef __linux__\n"})


if __name__ == "__main__":
    unittest.main()
