// What the program says to its arguments.
#include "tests/cli/VintrelRun.h"

#include <filesystem>

#include <gtest/gtest.h>

using namespace VintrelTests;

namespace {

const std::string usage = R"(usage: vintrel <command>

  list [--safe]   Scan and print stray candidates (--safe: safe bucket only)
  clean           Kill what the app's "Clean all" would sweep
                  (safe bucket minus protected projects)
  kill <pid>      Kill one scanned candidate by PID (any bucket)
  help            Show this help

Settings (threshold, ignores, custom rules, protected projects) are read
from the Vintrel app's preferences for full rule parity. Nothing is ever
killed without an explicit clean/kill invocation.
)";

} // namespace

TEST(CommandLine, helpPrintsTheUsage) {
    const VintrelHome home;
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{}, {"help"}, {"--help"}, {"-h", "whatever"}}) {
        const auto outcome = home.run(arguments);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.output, usage);
        EXPECT_EQ(outcome.errors, "");
    }
}

TEST(CommandLine, tellsItsVersionWhenThatIsAllThatIsAsked) {
    const VintrelHome home;
    const auto outcome = home.run({"--version"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "vintrel " VINTREL_VERSION "\n");
    EXPECT_EQ(outcome.errors, "");
    EXPECT_TRUE(home.run({"--version", "list"}).errors.starts_with("unknown command '--version'\n"));
}

TEST(CommandLine, aParseErrorGoesToStandardErrorWithTheUsageAfterABlankLine) {
    const VintrelHome home;
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
        {{"Kill", "42"}, "unknown command 'Kill'"},
        {{"list", "-s"}, "unexpected argument '-s'"},
        {{"list", "--safe", "--safe"}, "unexpected argument '--safe'"},
        {{"kill"}, "kill requires a <pid> argument"},
        {{"kill", "99999999999"}, "'99999999999' is not a valid PID"},
    };
    for (const auto& [arguments, message] : cases) {
        const auto outcome = home.run(arguments);
        EXPECT_EQ(outcome.status, 2) << message;
        EXPECT_EQ(outcome.output, "") << message;
        EXPECT_EQ(outcome.errors, message + "\n\n" + usage);
    }
}

TEST(CommandLine, outputThatCannotBeWrittenIsAFailure) {
    const VintrelHome home;
    for (const char* command : {"help", "list"}) {
        const auto outcome = home.run({command}, {"/bin/sh", "-c", "exec \"$@\" >/dev/full", "sh"});
        EXPECT_EQ(outcome.status, 1) << command;
        EXPECT_EQ(outcome.errors, "vintrel: the output could not be written\n") << command;
    }
}

TEST(CommandLine, aClosedOutputIsAFailureToo) {
    const VintrelHome home;
    for (const char* command : {"help", "list", "--version"}) {
        const auto outcome = home.run({command}, {"/bin/sh", "-c", "exec \"$@\" >&-", "sh"});
        EXPECT_EQ(outcome.status, 1) << command;
        EXPECT_EQ(outcome.errors, "vintrel: the output could not be written\n") << command;
    }
}

TEST(CommandLine, worksWithItsOtherStandardDescriptorsClosed) {
    const VintrelHome home;
    const auto outcome = home.run({"list"}, {"/bin/sh", "-c", "exec \"$@\" <&- 2>&-", "sh"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.output.starts_with("PID ")) << outcome.output;
}

TEST(CommandLine, listLeavesNothingBehind) {
    const VintrelHome home;
    EXPECT_EQ(home.run({"list"}).status, 0);
    EXPECT_TRUE(std::filesystem::is_empty(home.path()));
}
