#!/usr/bin/env python3
import unittest

from tree import CheckTest


class Layering(CheckTest):
    check = "layering"

    def test_acceptsTheOwnFolderAndLowerOnes(self):
        self.assertClean({
            "VintrelCore/command/A.cpp": '#include "VintrelCore/command/A.h"\n'
                                         '#include "VintrelCore/terminate/B.h"\n'
                                         '#include "VintrelCore/log/C.h"\n'
                                         '#include "VintrelCore/scan/D.h"\n'
                                         "#include <string>\n#include <sys/stat.h>\n",
            "VintrelCore/platform/linux/E.cpp": '#include "VintrelCore/base/F.h"\n'
                                                '#include "VintrelCore/platform/G.h"\n',
        })

    def test_namesAnIncludeOfAHigherFolder(self):
        self.assertOffences({"VintrelCore/base/A.h": '#pragma once\n\n#include "VintrelCore/model/B.h"\n',
                             "VintrelCore/scan/C.cpp": '#  include "VintrelCore/command/D.h"\n'},
                            "VintrelCore/base/A.h:3 base/ may not include model/",
                            "VintrelCore/scan/C.cpp:1 scan/ may not include command/")

    def test_namesAnIncludeBetweenSiblings(self):
        self.assertOffences({"VintrelCore/context/A.h": '#include "VintrelCore/docker/B.h"\n',
                             "VintrelCore/docker/B.h": '#include "VintrelCore/context/C.h"\n',
                             "VintrelCore/log/D.h": '#include "VintrelCore/terminate/E.h"\n',
                             "VintrelCore/terminate/E.h": '#include "VintrelCore/log/D.h"\n'},
                            "VintrelCore/context/A.h:1", "VintrelCore/docker/B.h:1", "VintrelCore/log/D.h:1",
                            "VintrelCore/terminate/E.h:1")

    def test_namesWhatIsBuiltOnTheCore(self):
        self.assertOffences({"VintrelCore/scan/A.cpp": '#include "Vintrel/engine/Preferences.h"\n'
                                                       '#include "cli/Interrupt.h"\n#include <Vintrel/B.h>\n'},
                            "VintrelCore/scan/A.cpp:1 knows nothing", "VintrelCore/scan/A.cpp:2 knows nothing",
                            "VintrelCore/scan/A.cpp:3 knows nothing")

    def test_namesAnyOtherForm(self):
        self.assertOffences({"VintrelCore/scan/A.cpp": '#include "A.h"\n#include "scan/A.h"\n'
                                                       "#include <VintrelCore/scan/A.h>\n"
                                                       '#include "VintrelCore/VintrelCore.h"\n'
                                                       '#include "VintrelCore/attic/B.h"\n'},
                            *[f"VintrelCore/scan/A.cpp:{line} the form is" for line in range(1, 6)])

    def test_namesAFileOutsideTheOrder(self):
        self.assertOffences({"VintrelCore/attic/A.h": "", "VintrelCore/B.h": ""},
                            "VintrelCore/attic/A.h:1 stands in no folder", "VintrelCore/B.h:1 stands in no folder")

    def test_leavesThePublicFaceAlone(self):
        self.assertClean({"VintrelCore/VintrelCore.h": '#include "VintrelCore/command/A.h"\n'
                                                       '#include "VintrelCore/base/B.h"\n'})

    def test_namesViewsThatReachForKillsOrTools(self):
        self.assertOffences({"Vintrel/views/A.cpp": '#include "VintrelCore/terminate/KillCore.h"\n'
                                                    '#include "VintrelCore/base/Text.h"\n'
                                                    '#include "VintrelCore/base/Shell.h"\n',
                             "Vintrel/views/strays/B.h": '#include "VintrelCore/terminate/KillCoreSteps.h"\n',
                             "Vintrel/engine/C.cpp": '#include "VintrelCore/terminate/KillCore.h"\n'
                                                     '#include "VintrelCore/base/Shell.h"\n'},
                            "Vintrel/views/A.cpp:1", "Vintrel/views/A.cpp:3", "Vintrel/views/strays/B.h:1")

    def test_doesNotReadComments(self):
        self.assertClean({"VintrelCore/base/A.cpp": '// #include "VintrelCore/model/B.h"\n'
                                                    '/*\n#include "VintrelCore/model/B.h"\n*/\n'})

    def test_leavesOutWhatGitIgnores(self):
        self.assertClean({".gitignore": "/VintrelCore/base/Made.h\n",
                          "VintrelCore/base/Made.h": '#include "VintrelCore/model/B.h"\n'})


if __name__ == "__main__":
    unittest.main()
