#!/usr/bin/env python3
import unittest

from tree import CheckTest

FILE = "VintrelCore/scan/A.cpp"


class Purity(CheckTest):
    check = "purity"

    def assertLines(self, *statements):
        """Each statement, on a line of its own, is an offence."""
        self.assertOffences({FILE: "\n".join(statements) + "\n"},
                            *[f"{FILE}:{line}" for line in range(1, len(statements) + 1)])

    def test_namesQtHeaders(self):
        self.assertLines("#include <QString>", '#include "QObject"', "#include <QtCore/qglobal.h>",
                         "#include <QtCore>", "#include <qstring.h>")

    def test_acceptsOtherHeaders(self):
        self.assertClean({FILE: "#include <queue>\n#include <quick>\n// #include <QString>\n"})

    def test_namesThreads(self):
        self.assertLines("#include <thread>", "#include <pthread.h>", "void a(std::thread t);",
                         "void b() { std::jthread t(a); }", "auto c() { return std::async(a); }",
                         "void d() { pthread_create(0, 0, 0, 0); }")

    def test_namesVariablesOfANamespace(self):
        self.assertLines("int a = 1;", "static std::string b;", "inline std::map<int, const char *> c{};",
                         'std::string d("x");', "constinit int e = 2;", "const char *f = 0;", "int g[3] = {1, 2, 3};",
                         "extern int h;", "std::function<void(int)> i;", "namespace n { bool j = false; }",
                         "template <typename T> int k = 0;", "struct { int x; } l;", "thread_local const int m = 1;")

    def test_acceptsConstantsOfANamespace(self):
        self.assertClean({FILE: "constexpr int a = 1;\nconst std::string b = \"x\";\nextern const std::set<int *> c;\n"
                                "inline constexpr std::string_view d{\"x\"};\nconst char *const e = 0;\n"
                                "static constexpr const char *f[] = {\"x\"};\nconst std::function<void(int)> g{};\n"
                                "template <typename T = int> constexpr int h = 0;\n"})

    def test_acceptsWhatIsNoVariable(self):
        self.assertClean({FILE: "using A = int;\nclass B;\nstruct C {\n    int x = 0;\n    std::string y{};\n};\n"
                                "enum class D { one };\nstatic_assert(sizeof(int) == 4);\nint f(int x = 1);\n"
                                "static std::vector<int> g();\ntemplate class E<int>;\nB *h();\n"
                                "bool operator==(const C &, const C &) = default;\nnamespace n = std::chrono;\n"
                                "C::C() : m_x(1), m_y{2} {\n    int local = 1;\n}\n"})

    def test_namesStaticVariablesOfFunctions(self):
        self.assertOffences({FILE: "int f() {\n    static int calls = 0;\n    static std::mutex lock;\n"
                                   "    static B b(calls);\n    static const char *name = 0;\n    return ++calls;\n}\n"},
                            *[f"{FILE}:{line}" for line in range(2, 6)])

    def test_acceptsStaticConstantsOfFunctions(self):
        self.assertClean({FILE: "int f() {\n    static const int a = g();\n    static constexpr std::array<B, 2> b{};\n"
                                "    static const auto c = [] { int d = 1; return d; }();\n"
                                "    return static_cast<int>(a);\n}\n"})

    def test_namesStaticMembers(self):
        self.assertOffences({FILE: "class A {\npublic:\n    static int a;\n    inline static B b{1};\n"
                                   "    static constexpr int c = 1;\n    static const B d;\n    static int f(int x);\n"
                                   "    int m_e = 1;\n};\n"}, f"{FILE}:3", f"{FILE}:4")

    def test_acceptsTheEnvironmentInThePlatformFolderOnly(self):
        text = 'extern "C" char **environ;\n'
        self.assertOffences({"VintrelCore/platform/A.cpp": text, "VintrelCore/scan/B.cpp": text},
                            "VintrelCore/scan/B.cpp:1")

    def test_looksAtTheCoreAlone(self):
        self.assertClean({"Vintrel/engine/A.cpp": "#include <QString>\n#include <thread>\nint a = 1;\n"})


if __name__ == "__main__":
    unittest.main()
