#include "VintrelCore/scan/ShellText.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Commands = std::vector<std::vector<std::string>>;

/// Without the commands of no words between two separators.
Commands commandsOf(std::string_view text) {
    Commands commands;
    VintrelCore::ShellText shell(text);
    while (auto command = shell.nextCommand()) {
        if (!command->empty()) {
            commands.push_back(*command);
        }
    }
    return commands;
}

bool mayHideCommands(std::string_view text) {
    VintrelCore::ShellText shell(text);
    while (shell.nextCommand()) {
    }
    return shell.mayHideCommands();
}

} // namespace

TEST(ShellText, isTakenApartAtWhatSeparatesCommands) {
    EXPECT_EQ(commandsOf("a b; c && d || e | f & g\nh"),
              (Commands{{"a", "b"}, {"c"}, {"d"}, {"e"}, {"f"}, {"g"}, {"h"}}));
    EXPECT_EQ(commandsOf("(cd x; a)"), (Commands{{"cd", "x"}, {"a"}}));
    EXPECT_EQ(commandsOf(" \t "), Commands{});
    EXPECT_EQ(commandsOf(""), Commands{});
}

TEST(ShellText, takesQuotesOffWords) {
    EXPECT_EQ(commandsOf("'vitest' \"run it\" a'b'\"c\" ''"), (Commands{{"vitest", "run it", "abc", ""}}));
    EXPECT_EQ(commandsOf("'a; b' \"c && d\""), (Commands{{"a; b", "c && d"}}));
    EXPECT_EQ(commandsOf(R"(a\ b "c\"d" 'e\f' g\\)"), (Commands{{"a b", "c\"d", "e\\f", "g\\"}}));
    EXPECT_EQ(commandsOf("a\\\nb"), (Commands{{"ab"}}));
    EXPECT_EQ(commandsOf("it's never closed; x"), (Commands{{"its never closed; x"}}));
    EXPECT_EQ(commandsOf("a\\"), (Commands{{"a"}}));
}

TEST(ShellText, leavesRedirectionsOut) {
    EXPECT_EQ(commandsOf("a > log 2>&1 < /dev/null b"), (Commands{{"a", "b"}}));
    EXPECT_EQ(commandsOf("a &> log; b >| c"), (Commands{{"a"}, {"b"}}));
    EXPECT_EQ(commandsOf("a 2 >x"), (Commands{{"a", "2"}}));
    EXPECT_EQ(commandsOf("a >"), (Commands{{"a"}}));
}

TEST(ShellText, showsWhatIsSubstitutedAsCommandsOfTheirOwn) {
    EXPECT_EQ(commandsOf("a $(b c)"), (Commands{{"a", "$"}, {"b", "c"}}));
    EXPECT_EQ(commandsOf("a `b`"), (Commands{{"a"}, {"b"}}));
    EXPECT_EQ(commandsOf("a < <(b)"), (Commands{{"a", "<"}, {"b"}}));
}

TEST(ShellText, leavesCommentsOut) {
    EXPECT_EQ(commandsOf("a # b; c\nd#e"), (Commands{{"a"}, {"d#e"}}));
}

TEST(ShellText, saysWhatReadsWhatAnotherCommandWrites) {
    VintrelCore::ShellText shell("a | b || c |& d > >(e; f)");
    std::vector<std::string> fed;
    while (const auto command = shell.nextCommand()) {
        if (!command->empty() && shell.isFed()) {
            fed.push_back(command->front());
        }
    }
    EXPECT_EQ(fed, (std::vector<std::string>{"b", "e"})); // of "|&" it is not known
}

TEST(ShellText, saysWhenItMayHideCommands) {
    for (const std::string_view text :
         {"a \"$(b)\"", "a \"`b`\"", "a <<EOF\nb\nEOF", "a() { b; }", "a () { b; }", "a $'b\\'c'", "a 'b\\'",
          "it's never closed", "\"nor this"}) {
        EXPECT_TRUE(mayHideCommands(text)) << text;
    }
    for (const std::string_view text : {"a $(b)", "a `b`", "a <<< b", "a < <(b)", "a > >(b)", "(a)",
                                        "a '$(b)'", "a \"$b\"", "a \"\\`b\\`\"", "a \"${b}\" 'c' d\\'e"}) {
        EXPECT_FALSE(mayHideCommands(text)) << text;
    }
}
