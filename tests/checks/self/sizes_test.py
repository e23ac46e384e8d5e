#!/usr/bin/env python3
import unittest

from tree import CheckTest


def body(lines):
    """A function's braces and what is between them, so many lines in all."""
    return "{\n" + "    f();\n" * (lines - 2) + "}\n"


class Sizes(CheckTest):
    check = "sizes"

    def test_acceptsFilesUpToTheirLimit(self):
        self.assertClean({"a/A.cpp": "//\n" * 500, "a/A.h": "//\n" * 200})

    def test_namesFilesAboveTheirLimit(self):
        self.assertOffences({"a/A.cpp": "//\n" * 501, "tests/A.h": "//\n" * 201},
                            "a/A.cpp:501 the file has 501 lines", "tests/A.h:201 the file has 201 lines")

    def test_acceptsAFunctionOfSixtyLines(self):
        self.assertClean({"A.cpp": "void f() " + body(60)})

    def test_namesAFunctionOfSixtyOneLines(self):
        self.assertOffences({"A.cpp": "int a;\n\nvoid f() " + body(61)}, "A.cpp:3 f has 61 lines")

    def test_findsFunctionsOfEveryShape(self):
        heads = ["std::vector<int> A::f(const B &b = {}) const noexcept ", "TEST(Suite, name) ",
                 "A::A(int x) : m_x(x), m_y{1}, m_z{} ", "template <typename T>\nT g(T t) requires std::integral<T> ",
                 "auto h() -> std::vector<std::string> ", "bool operator==(const A &, const A &) ",
                 "static constexpr auto k = [](int x) ", "[[nodiscard]] std::function<void()> make(int n) ",
                 "A::~A() ", "A::operator bool() const "]
        for head in heads:
            with self.subTest(head):
                self.assertOffences({"A.cpp": head + body(61).rstrip() + ";\n"}, f"A.cpp:{head.count(chr(10)) + 1}")

    def test_findsFunctionsInsideClassesAndNamespaces(self):
        self.assertOffences({"A.h": "namespace a::b {\nnamespace {\nclass C final : public D<int> {\n    Q_OBJECT\npublic:\n"
                                    "    struct E {\n        int x{1};\n        void f() " + body(61) + "    };\n"
                                    "    enum class G { one, two };\n    C(int x) : m_x{x} " + body(61) + "};\n}\n}\n"
                                    'extern "C" {\nint g() ' + body(61) + "}\n"},
                            "A.h:8 f has 61", "A.h:71 C has 61", "A.h:136 g has 61")

    def test_countsALambdaAsPartOfItsFunction(self):
        self.assertOffences({"A.cpp": "void f() {\n    const auto g = [] " + body(58) + "    g();\n    g();\n}\n"},
                            "A.cpp:1 f has 62 lines")

    def test_doesNotCountClassesNamespacesAndTables(self):
        rows = "    {1, 2},\n" * 70
        self.assertClean({"A.cpp": "namespace a {\n" + "int f() { return 1; }\n" * 70 + "}\n"
                                   "class B {\n" + "    int b() const { return 1; }\n" * 70 + "};\n"
                                   "constexpr auto c = std::to_array<D>({\n" + rows + "});\n"
                                   "const std::array<D, 70> e{\n" + rows + "};\nenum class F {\n" + "    x,\n" * 70 + "};\n"})

    def test_isNotMisledByBracesInText(self):
        self.assertOffences({"A.cpp": 'void f() {\n    g("}", \'}\', R"(}\n}}")(")", 1\'000); // }\n    /* } */\n}\n'
                                      "void h() " + body(61)}, "A.cpp:6 h has 61 lines")

    def test_leavesOutWhatGitIgnores(self):
        self.assertClean({".gitignore": "/build/\n", "build/A.cpp": "//\n" * 501})


if __name__ == "__main__":
    unittest.main()
