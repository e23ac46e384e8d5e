// Ages and shares of the processor.
#include "Vintrel/views/StrayList.h"

#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <QLocale>
#include <gtest/gtest.h>

namespace Vintrel {

using StrayList::ageString;
using StrayList::cpuText;

TEST(StrayAge, hasOneUnit) {
    const std::vector<std::pair<double, std::string>> ages{
        {0, "0s"},
        {1, "1s"},
        {59, "59s"},
        {59.999, "59s"},
        {60, "1m"},
        {119, "1m"},
        {120, "2m"},
        {3'599, "59m"},
        {3'599.9, "59m"},
        {3'600, "1h"},
        {7'199, "1h"},
        {7'200, "2h"},
        {86'399, "23h"},
        {86'399.99, "23h"},
        {86'400, "1d"},
        {172'799, "1d"},
        {172'800, "2d"},
        {8'640'000, "100d"},
        {31'536'000, "365d"},
        {4'294'967'296, "49710d"},
        {864e10, "100000000d"},
    };
    for (const auto& [seconds, text] : ages) {
        EXPECT_EQ(ageString(seconds), text) << seconds;
    }
}

TEST(StrayAge, isTruncatedTowardsZero) {
    EXPECT_EQ(ageString(0.999), "0s");
    EXPECT_EQ(ageString(-0.999), "0s");
}

TEST(StrayAge, ofAClockThatWentBackIsStillInSeconds) {
    for (const double seconds : {-1.0, -59.0, -3'600.0, -86'400.0, -1e300}) {
        EXPECT_TRUE(ageString(seconds).ends_with("s")) << seconds;
    }
}

TEST(StrayAge, ofAnAbsurdNumberIsSomeText) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double seconds : {1e19, 1e300}) {
        EXPECT_TRUE(ageString(seconds).ends_with("d")) << seconds;
        EXPECT_NE(ageString(seconds).front(), '-') << seconds;
    }
    for (const double seconds : {infinity, -infinity, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_GE(ageString(seconds).size(), 2U) << seconds;
    }
}

TEST(StrayCpu, hasOneDecimal) {
    const std::vector<std::pair<double, std::string>> shares{
        {0, "0.0%"},     {0.04, "0.0%"},    {0.06, "0.1%"},       {0.25, "0.2%"},
        {0.3, "0.3%"},   {9.95, "9.9%"},    {12.34, "12.3%"},     {99.96, "100.0%"},
        {100, "100.0%"}, {799.9, "799.9%"}, {1'234.5, "1234.5%"},
    };
    for (const auto& [percent, text] : shares) {
        EXPECT_EQ(cpuText(percent), text) << percent;
    }
}

TEST(StrayCpu, hasADecimalPointInEveryLocale) {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    EXPECT_EQ(cpuText(1'234.5), "1234.5%");
    QLocale::setDefault(before);
}

} // namespace Vintrel
