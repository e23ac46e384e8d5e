// What shells were told by "-c" to run.
#include "VintrelCore/scan/ToldText.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore::ToldText;

namespace {

using Arguments = std::vector<std::string>;

bool isOneThing(const std::string& text) {
    return isToldOneThing(Arguments{"sh", "-c", text});
}

} // namespace

TEST(ToldText, ofAShellComesAfterItsOptions) {
    for (const char* command : {"sh -c vite --port 1", "/bin/dash -c  'vite'", "bash -lc vite", "sh -ec vite",
                                "bash -o pipefail -c vite", "bash --norc -c vite",
                                "bash --rcfile /x/rc -c vite", "sh -c -e vite", "sh -ce vite"}) {
        EXPECT_TRUE(isToldText(command)) << command;
    }
    for (const char* command : {"bash --norc -i", "zsh -c vite", "sh x.sh -c", "sh", "bash -o -c",
                                "/x/csh -c vite", "bash --rcfile -c", "bash -- -c vite", ""}) {
        EXPECT_FALSE(isToldText(command)) << command;
    }
}

TEST(ToldText, isOfOneProgramWhenNothingSeparatesCommands) {
    EXPECT_EQ(textOfOneProgram(Arguments{"sh", "-c", "vite --port 1"}), "vite --port 1");
    EXPECT_EQ(textOfOneProgram(Arguments{"/bin/bash", "-o", "pipefail", "-lc", "vite"}), "vite");
    EXPECT_EQ(textOfOneProgram(Arguments{"sh", "-c", "vite", "name"}), "vite");
    for (const char* text : {"vite\npython3 x.py", "vite; x", "vite && x", "vite | x", "vite & x",
                             "$(x) vite", "vite `x`", "(vite)", "vite <(x)"}) {
        EXPECT_EQ(textOfOneProgram(Arguments{"sh", "-c", text}), std::nullopt) << text;
    }
    EXPECT_EQ(textOfOneProgram(Arguments{"sh", "-c"}), std::nullopt);
    EXPECT_EQ(textOfOneProgram(Arguments{"sh", "vite"}), std::nullopt);
    EXPECT_EQ(textOfOneProgram(Arguments{"zsh", "-c", "vite"}), std::nullopt);
    EXPECT_EQ(textOfOneProgram(Arguments{}), std::nullopt);
}

TEST(ToldText, isOneThingWhenOneCommandLasts) {
    for (const char* text : {"vitest", "vitest --watch", "exec vitest", "CI=1 vitest", "A=1 B=$C exec vitest",
                             "vitest &", "vitest & wait", "cd app && vitest", "vitest; exit $?",
                             "while :; do vitest; done", "(cd app; vitest)", "eval vitest", "sleep 5"}) {
        EXPECT_TRUE(isOneThing(text)) << text;
    }
}

TEST(ToldText, isNotOneThingWhenSeveralCommandsLast) {
    for (const char* text :
         {"vitest; deploy", "vitest && deploy", "vitest || deploy", "vitest | deploy", "vitest & deploy",
          "vitest\ndeploy", "vitest;deploy", "exec vitest; deploy", "CI=1 vitest; deploy", "(vitest; deploy)",
          "if vitest; then deploy; fi", "eval 'vitest; deploy'", "trap deploy EXIT; vitest"}) {
        EXPECT_FALSE(isOneThing(text)) << text;
    }
}

TEST(ToldText, isOneThingWhenWhatSeparatesCommandsIsQuoted) {
    for (const char* text : {"vitest 'a; b'", "vitest \"a && b\"", "vitest a\\;b", "'vitest' -t 'x | y'"}) {
        EXPECT_TRUE(isOneThing(text)) << text;
    }
    EXPECT_FALSE(isOneThing("vitest 'a; b'; deploy"));
    EXPECT_FALSE(isOneThing("vitest it's; deploy")) << "never closed";
}

TEST(ToldText, isNotOneThingWhenItSubstitutes) {
    for (const char* text :
         {"vitest $(deploy)", "vitest `deploy`", "vitest \"$(deploy)\"", "vitest \"`deploy`\"",
          "CI=$(deploy) vitest", "CI=\"$(deploy)\" vitest", "vitest <(deploy)", "vitest > >(deploy)",
          "vitest $MORE", "for t in vitest deploy; do $t; done"}) {
        EXPECT_FALSE(isOneThing(text)) << text;
    }
    EXPECT_FALSE(isOneThing("vitest '$(deploy)'")) << "what begins like a variable is taken for one";
}

TEST(ToldText, isOneThingWhereverItsOutputGoes) {
    for (const char* text : {"vitest >log 2>&1 </dev/null", "vitest &>log", "vitest >>'a; b'"}) {
        EXPECT_TRUE(isOneThing(text)) << text;
    }
    EXPECT_TRUE(isOneThing("vitest | tee log")) << "which ends with what feeds it";
    EXPECT_FALSE(isOneThing("vitest >log; deploy"));
    EXPECT_FALSE(isOneThing("vitest <<EOF\n$(deploy)\nEOF"));
}

TEST(ToldText, isOneThingWhateverACommentSays) {
    EXPECT_TRUE(isOneThing("vitest # && deploy"));
    EXPECT_TRUE(isOneThing("# deploy\nvitest"));
    EXPECT_FALSE(isOneThing("vitest # first\ndeploy"));
    EXPECT_FALSE(isOneThing("vitest a#b; deploy")) << "within a word it begins none";
}

TEST(ToldText, isOneThingOnlyForAShellThatWasToldAText) {
    EXPECT_TRUE(isToldOneThing(Arguments{"/bin/bash", "-o", "pipefail", "-lc", "vitest", "name"}));
    EXPECT_FALSE(isToldOneThing(Arguments{"sh", "vitest"}));
    EXPECT_FALSE(isToldOneThing(Arguments{"sh", "-c"}));
    EXPECT_FALSE(isToldOneThing(Arguments{"sh", "-c", ""}));
    EXPECT_FALSE(isToldOneThing(Arguments{"sh", "-c", "+e", "vitest; deploy"}));
    EXPECT_FALSE(isToldOneThing(Arguments{"node", "-c", "vitest"}));
    EXPECT_FALSE(isToldOneThing(Arguments{"vitest"}));
    EXPECT_FALSE(isToldOneThing(Arguments{}));
}
