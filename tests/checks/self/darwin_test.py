#!/usr/bin/env python3
"""Arguments: the compiler or its folder, and a folder for its cache."""

import sys
import unittest
from pathlib import Path

import tree

import darwin
import sources

COMPILER, WORK = sys.argv[1], Path(sys.argv[2])


class Darwin(tree.CheckTest):
    check = "darwin"

    def outcome(self):
        offences = list(darwin.check(self.root, COMPILER, WORK))
        return sources.report(offences), [f"{name}:{line}: {what}" for name, line, what in sorted(set(offences))]

    def test_acceptsWhatCompiles(self):
        self.assertClean({"VintrelCore/platform/darwin/A.cpp": "#include <sys/event.h>\n#include <expected>\n"
                                                               "#include <unicode/utypes.h>\n"
                                                               "static_assert(sizeof(struct kevent) == 32);\n",
                          "VintrelCore/platform/linux/B.cpp": "#include <sys/prctl.h>\n"})

    def test_namesWhatDoesNotForEachArchitecture(self):
        self.assertOffences({"VintrelCore/scan/A.cpp": "\n#include <sys/prctl.h>\n",
                             "VintrelCore/scan/B.cpp": "int f(int unused) {\n    return 1;\n}\n",
                             "VintrelCore/scan/C.cpp": "#if defined(__aarch64__)\n#error one of two\n#endif\n"},
                            "VintrelCore/scan/A.cpp:2 (aarch64-macos)", "VintrelCore/scan/A.cpp:2 (x86_64-macos)",
                            "VintrelCore/scan/B.cpp:1 unused", "VintrelCore/scan/B.cpp:1 unused",
                            "VintrelCore/scan/C.cpp:2 one of two (aarch64-macos)")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
