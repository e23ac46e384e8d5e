// What the command line of vintrel-app asks for.
#include "Vintrel/shell/StartRequest.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Vintrel {

using CommandLine::parse;
using CommandLine::Wish;

namespace {

CommandLine::Parsed parsed(const std::vector<std::string_view>& arguments) {
    return parse(arguments);
}

StartRequest request(const std::vector<std::string_view>& arguments) {
    const auto result = parsed(arguments);
    EXPECT_EQ(result.wish, Wish::run);
    return result.request;
}

} // namespace

TEST(CommandLine, withoutArgumentsAsksForNothing) {
    EXPECT_EQ(request({}), StartRequest{});
    EXPECT_TRUE(request({}).isPlain());
}

TEST(CommandLine, withoutEvenANameAsksForNothing) {
    const auto result = parse(std::span<char* const>());
    EXPECT_EQ(result.wish, Wish::run);
    EXPECT_TRUE(result.request.isPlain());
}

TEST(CommandLine, leavesTheNameOut) {
    std::string name = "vintrel-app";
    std::string word = "--show";
    char* const argv[] = {name.data(), word.data()};
    EXPECT_EQ(parse(std::span<char* const>(argv)).request, StartRequest{.isToShow = true});
}

TEST(CommandLine, takesAddressesInTheirOrder) {
    EXPECT_EQ(request({"vintrel://scan", "vintrel:clean", "mailto:x"}),
              (StartRequest{.urls = {"vintrel://scan", "vintrel:clean", "mailto:x"}}));
}

TEST(CommandLine, takesAddressesAmongOptions) {
    EXPECT_EQ(request({"vintrel://scan", "--show"}),
              (StartRequest{.isToShow = true, .urls = {"vintrel://scan"}}));
}

TEST(CommandLine, afterTwoDashesTakesOnlyAddresses) {
    EXPECT_EQ(request({"--", "-x:y"}), StartRequest{.urls = {"-x:y"}});
    EXPECT_EQ(parsed({"--", "--show"}).wish, Wish::unknown);
}

TEST(CommandLine, takesActionsByTheirNames) {
    for (const std::string name : {"scan-now", "clean-safe-strays", "bind-global-shortcuts"}) {
        EXPECT_EQ(request({"--action", name}), StartRequest{.action = name});
    }
}

TEST(CommandLine, doesNotTakeOtherActions) {
    EXPECT_EQ(parsed({"--action", "scan"}).wish, Wish::unknown);
    EXPECT_EQ(parsed({"--action", ""}).wish, Wish::unknown);
    EXPECT_EQ(parsed({"--action"}).wish, Wish::unknown);
    EXPECT_EQ(parsed({"--action", "scan-now", "--action", "scan-now"}).wish, Wish::unknown);
}

TEST(CommandLine, takesTheBusesStartAlone) {
    EXPECT_EQ(request({"--service"}), StartRequest{.isService = true});
    EXPECT_FALSE(request({"--service"}).isPlain());
    EXPECT_EQ(parsed({"--service", "--show"}).wish, Wish::unknown);
    EXPECT_EQ(parsed({"--service", "vintrel://scan"}).wish, Wish::unknown);
    EXPECT_EQ(parsed({"--service", "--action", "scan-now"}).wish, Wish::unknown);
}

TEST(CommandLine, tellsErrandsFromWhatIsToBeSeen) {
    EXPECT_TRUE(request({"--action", "scan-now"}).isErrand());
    EXPECT_TRUE(request({"vintrel:scan"}).isErrand());
    EXPECT_FALSE(request({"--show", "--action", "scan-now"}).isErrand());
    EXPECT_FALSE(request({}).isErrand());
    EXPECT_FALSE(request({"--service"}).isErrand());
}

TEST(CommandLine, knowsHelpAndVersion) {
    EXPECT_EQ(parsed({"--help"}).wish, Wish::help);
    EXPECT_EQ(parsed({"-h"}).wish, Wish::help);
    EXPECT_EQ(parsed({"--show", "--help"}).wish, Wish::help);
    EXPECT_EQ(parsed({"--version"}).wish, Wish::version);
}

TEST(CommandLine, doesNotTakeWhatItDoesNotKnow) {
    EXPECT_EQ(parsed({"--quit"}).wish, Wish::unknown);
    EXPECT_EQ(parsed({"-"}).wish, Wish::unknown);
    EXPECT_EQ(parsed({"scan"}).wish, Wish::unknown) << "no address";
    EXPECT_EQ(parsed({""}).wish, Wish::unknown);
}

TEST(CommandLine, saysHowItIsUsed) {
    for (const char* const word : {"--show", "--action", "--service", "scan-now", "clean-safe-strays",
                                   "bind-global-shortcuts", "vintrel://scan"}) {
        EXPECT_NE(CommandLine::usage().find(word), std::string_view::npos) << word;
    }
}

} // namespace Vintrel
