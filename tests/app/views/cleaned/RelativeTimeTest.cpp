// How long ago something was, in words.
#include "Vintrel/views/RelativeTime.h"

#include "tests/core/log/Events.h"
#include "tests/support/ScopedEnvironment.h"

#include <chrono>
#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace Vintrel {

namespace {

using namespace std::chrono_literals;
using VintrelCore::Instant;

const Instant now = VintrelTests::second(1'700'000'000);

std::string ago(std::chrono::microseconds time, const std::string& locale = "en_US") {
    return RelativeTime(locale).text(now - time, now);
}

} // namespace

TEST(RelativeTimeTest, lessThanASecondAgoIsNow) {
    EXPECT_EQ(ago(0s), "now");
    EXPECT_EQ(ago(1us), "now");
    EXPECT_EQ(ago(999'999us), "now");
}

TEST(RelativeTimeTest, whatIsYetToComeIsNow) {
    EXPECT_EQ(ago(-1us), "now");
    EXPECT_EQ(ago(-1h), "now");
    EXPECT_EQ(ago(-std::chrono::years(3)), "now");
}

TEST(RelativeTimeTest, takesTheLargestWholeUnit) {
    EXPECT_EQ(ago(1s), "1 sec. ago");
    EXPECT_EQ(ago(59s + 999'999us), "59 sec. ago");
    EXPECT_EQ(ago(1min), "1 min. ago");
    EXPECT_EQ(ago(5min + 59s), "5 min. ago");
    EXPECT_EQ(ago(1h - 1us), "59 min. ago");
    EXPECT_EQ(ago(1h), "1 hr. ago");
    EXPECT_EQ(ago(2h + 59min), "2 hr. ago");
    EXPECT_EQ(ago(24h - 1us), "23 hr. ago");
    EXPECT_EQ(ago(48h), "2 days ago");
    EXPECT_EQ(ago(7 * 24h - 1us), "6 days ago");
    EXPECT_EQ(ago(14 * 24h), "2 wk. ago");
    EXPECT_EQ(ago(30 * 24h), "4 wk. ago");
    EXPECT_EQ(ago(61 * 24h), "2 mo. ago");
    EXPECT_EQ(ago(365 * 24h), "11 mo. ago");
    EXPECT_EQ(ago(2 * 366 * 24h), "2 yr. ago");
}

TEST(RelativeTimeTest, oneOfALargeUnitHasAWordOfItsOwn) {
    EXPECT_EQ(ago(24h), "yesterday");
    EXPECT_EQ(ago(48h - 1us), "yesterday");
    EXPECT_EQ(ago(7 * 24h), "last wk.");
    EXPECT_EQ(ago(31 * 24h), "last mo.");
    EXPECT_EQ(ago(366 * 24h), "last yr.");
}

TEST(RelativeTimeTest, theEndsOfTimeAreAPart) {
    const Instant first{std::chrono::microseconds(std::numeric_limits<int64_t>::min())};
    const Instant last{std::chrono::microseconds(std::numeric_limits<int64_t>::max())};
    EXPECT_EQ(RelativeTime("en").text(first, last), "584,554 yr. ago");
    EXPECT_EQ(RelativeTime("en").text(last, first), "now");
}

TEST(RelativeTimeTest, speaksTheLanguage) {
    EXPECT_EQ(ago(5min, "de_DE"), "vor 5 Min.");
    EXPECT_EQ(ago(24h, "de_DE"), "gestern");
    EXPECT_EQ(ago(5min, "fr_FR"), "il y a 5\u00a0min");
    EXPECT_EQ(ago(0s, "ja_JP"), "今");
}

TEST(RelativeTimeTest, usesTheDigitsOfTheLocale) {
    EXPECT_NE(ago(5min, "fa_IR").find("۵"), std::string::npos) << ago(5min, "fa_IR");
}

TEST(RelativeTimeTest, thePlainLocaleSpeaksEnglish) {
    EXPECT_EQ(ago(5min, "en_US_POSIX"), "5 min. ago");
    EXPECT_EQ(ago(5min, "root"), "5 min. ago");
}

/// Runs within a process of its own: the library looks at the environment only once.
void sayFiveMinutes(const char* locale) {
    for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        ::setenv(name, locale, 1);
    }
    const std::string text = RelativeTime().text(now - 5min, now);
    (void)std::fprintf(stderr, "%s\n", text.c_str());
    std::_Exit(text.empty() ? 1 : 0);
}

TEST(RelativeTimeDeathTest, withoutANameItIsTheUsersLocale) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(sayFiveMinutes("de_DE.UTF-8"), testing::ExitedWithCode(0), "^vor 5 Min\\.\n$");
}

TEST(RelativeTimeDeathTest, theUsersPlainLocaleSpeaksEnglish) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(sayFiveMinutes("C"), testing::ExitedWithCode(0), "^5 min\\. ago\n$");
    EXPECT_EXIT(sayFiveMinutes("C.UTF-8"), testing::ExitedWithCode(0), "^5 min\\. ago\n$");
    EXPECT_EXIT(sayFiveMinutes("POSIX"), testing::ExitedWithCode(0), "^5 min\\. ago\n$");
}

} // namespace Vintrel
