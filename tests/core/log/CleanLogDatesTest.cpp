// The dates of a log's text.
#include "VintrelCore/log/CleanLogFile.h"

#include <cstdint>
#include <optional>
#include <string>

#include <gtest/gtest.h>

using namespace VintrelCore;
using CleanLogFile::decode;

namespace {

/// A log of one event at this date.
std::string withDate(const std::string& date) {
    return R"([{"kind":"Vite","projectLabel":"shop","rssKB":1024,"timestamp":")" + date + R"("}])";
}

/// Seconds since 1970.
std::optional<int64_t> dateIn(const std::string& text) {
    const auto events = decode(text);
    return events && events->size() == 1
               ? std::optional(events->front().timestamp.time_since_epoch().count() / 1'000'000)
               : std::nullopt;
}

} // namespace

TEST(CleanLogDecodeDate, isAMomentInUTC) {
    EXPECT_EQ(dateIn(withDate("2025-03-14T09:26:53Z")), 1'741'944'413);
    EXPECT_EQ(dateIn(withDate("1970-01-01T00:00:00Z")), 0);
    EXPECT_EQ(dateIn(withDate("1969-12-31T23:59:59Z")), -1);
    EXPECT_EQ(dateIn(withDate("2038-01-19T03:14:08Z")), 2'147'483'648);
    EXPECT_EQ(dateIn(withDate("9999-12-31T23:59:59Z")), 253'402'300'799);
    EXPECT_EQ(dateIn(withDate("0001-01-01T00:00:00Z")), -62'135'596'800);
}

TEST(CleanLogDecodeDate, leapYearsHaveOneDayMore) {
    EXPECT_EQ(dateIn(withDate("2024-02-29T00:00:00Z")), 1'709'164'800);
    EXPECT_EQ(dateIn(withDate("2000-02-29T00:00:00Z")), 951'782'400);
    for (const std::string date : {"2023-02-29T00:00:00Z", "1900-02-29T00:00:00Z", "2100-02-29T00:00:00Z"}) {
        EXPECT_EQ(decode(withDate(date)), std::nullopt) << date;
    }
}

TEST(CleanLogDecodeDate, thatDoesNotExistIsRejected) {
    for (const std::string date :
         {"2025-02-30T00:00:00Z", "2025-04-31T00:00:00Z", "2025-13-01T00:00:00Z", "2025-00-10T00:00:00Z",
          "2025-03-00T00:00:00Z", "2025-03-32T00:00:00Z", "2025-03-14T24:00:00Z", "2025-03-14T25:00:00Z",
          "2025-03-14T09:60:00Z", "2025-03-14T09:26:60Z", "2025-03-14T09:26:61Z", "2016-12-31T23:59:60Z"}) {
        EXPECT_EQ(decode(withDate(date)), std::nullopt) << date;
    }
}

TEST(CleanLogDecodeDate, inAnyOtherFormIsRejected) {
    for (const std::string date : {"",
                                   "Z",
                                   "2025-03-14",
                                   "2025-03-14T",
                                   "09:26:53Z",
                                   "2025-03-14T09:26:53",
                                   "2025-03-14T09:26Z",
                                   "2025-03-14T09Z",
                                   "2025-03-14T09:26:53.5Z",
                                   "2025-03-14T09:26:53.000Z",
                                   "2025-03-14T09:26:53,0Z",
                                   "2025-03-14T09:26:53+00:00",
                                   "2025-03-14T10:26:53+01:00",
                                   "2025-03-14T09:26:53-00:00",
                                   "2025-03-14T09:26:53+0000",
                                   "2025-03-14T09:26:53ZZ",
                                   "2025-03-14T09:26:53Z+00:00",
                                   "2025-03-14T09:26:53 Z",
                                   " 2025-03-14T09:26:53Z",
                                   "2025-03-14T09:26:53Z ",
                                   "2025-03-14T09:26:53Z\\n",
                                   "2025-03-14T09:26:53Z\\u0000",
                                   "2025-03-14 09:26:53Z",
                                   "20250314T092653Z",
                                   "2025/03/14T09:26:53Z",
                                   "2025-03-14T09.26.53Z",
                                   "25-03-14T09:26:53Z",
                                   "2025-3-14T09:26:53Z",
                                   "2025-03-14T9:26:53Z",
                                   "2025-03-14T09:26:5Z",
                                   "2025-073T09:26:53Z",
                                   "2025-W11-5T09:26:53Z",
                                   "+2025-03-14T09:26:53Z",
                                   "-2025-03-14T09:26:53Z",
                                   "12025-03-14T09:26:53Z",
                                   "+025-03-14T09:26:53Z",
                                   "2025-+3-14T09:26:53Z",
                                   "2025-03- 4T09:26:53Z",
                                   "2025-03-14T+9:26:53Z",
                                   "2025-03-14T09:26:-3Z",
                                   "2O25-03-14T09:26:53Z",
                                   "２０２５-03-14T09:26:53Z",
                                   "1741944413",
                                   "now"}) {
        EXPECT_EQ(decode(withDate(date)), std::nullopt) << date;
    }
}
