#include "VintrelCore/base/Text.h"
#include "VintrelCore/log/CleanLogFile.h"
#include "tests/core/log/Events.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;
using namespace std::chrono_literals;
using CleanLogFile::decode;
using CleanLogFile::encode;
using VintrelTests::eventAt;
using VintrelTests::eventsFrom;
using VintrelTests::second;

namespace {

using Events = std::vector<CleanEvent>;

constexpr int64_t most = std::numeric_limits<int64_t>::max();
constexpr int64_t least = std::numeric_limits<int64_t>::min();

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    for (size_t place = 0; (place = text.find(what, place)) != std::string::npos; place += by.size()) {
        text.replace(place, what.size(), by);
    }
    return text;
}

/// The text with one space behind each colon and none before, and no line break at its end.
std::string evened(const std::string& text) {
    std::string even = replaced(text, "\" :", "\":");
    while (even.ends_with('\n')) {
        even.pop_back();
    }
    return even;
}

/// The date as it is written.
std::string written(Instant moment) {
    const auto text = encode(Events{{.kind = "k", .projectLabel = "p", .rssKB = 1, .timestamp = moment}});
    if (!text) {
        return "none";
    }
    const std::string even = evened(*text);
    const auto start = even.find("\"timestamp\": \"") + 14;
    return even.substr(start, even.find('"', start) - start);
}

/// What comes back after it was written.
Events again(const Events& events) {
    const auto text = encode(events);
    if (!text) {
        ADD_FAILURE() << "these have no form";
        return {};
    }
    EXPECT_TRUE(Text::isValidUTF8(*text));
    const auto decoded = decode(*text);
    EXPECT_TRUE(decoded) << *text;
    return decoded.value_or(Events{});
}

} // namespace

TEST(CleanLogEncode, writesKeysInOrderOneToALine) {
    const Events events{eventAt(1'741'944'413, "Vite", "ledgra", 153'600), eventAt(0, "Jest", "—", -1)};
    const auto text = encode(events);
    ASSERT_TRUE(text);
    EXPECT_EQ(evened(*text), "[\n"
                             "  {\n"
                             "    \"kind\": \"Vite\",\n"
                             "    \"projectLabel\": \"ledgra\",\n"
                             "    \"rssKB\": 153600,\n"
                             "    \"timestamp\": \"2025-03-14T09:26:53Z\"\n"
                             "  },\n"
                             "  {\n"
                             "    \"kind\": \"Jest\",\n"
                             "    \"projectLabel\": \"—\",\n"
                             "    \"rssKB\": -1,\n"
                             "    \"timestamp\": \"1970-01-01T00:00:00Z\"\n"
                             "  }\n"
                             "]");
}

TEST(CleanLogEncode, aLogWithoutEventsIsAnEmptyList) {
    const auto text = encode({});
    ASSERT_TRUE(text);
    EXPECT_EQ(replaced(evened(*text), "\n", ""), "[]");
    EXPECT_EQ(decode(*text), Events{});
}

TEST(CleanLogEncode, datesAreInUTCWithoutFractions) {
    EXPECT_EQ(written(second(1'709'209'845)), "2024-02-29T12:30:45Z");
    EXPECT_EQ(written(second(1'709'209'845) + 999'999us), "2024-02-29T12:30:45Z");
    EXPECT_EQ(written(second(951'782'399)), "2000-02-28T23:59:59Z");
    EXPECT_EQ(written(second(4'107'542'400)), "2100-03-01T00:00:00Z");
    EXPECT_EQ(written(second(-1)), "1969-12-31T23:59:59Z");
    EXPECT_EQ(written(second(0) - 1us), "1969-12-31T23:59:59Z");
    EXPECT_EQ(written(second(-62'135'596'800)), "0001-01-01T00:00:00Z");
    EXPECT_EQ(written(second(253'402'300'799) + 999'999us), "9999-12-31T23:59:59Z");
}

TEST(CleanLogEncode, aYearOfMoreThanFourDigitsHasNoForm) {
    for (const Instant moment :
         {second(253'402'300'800), second(-62'167'219'201), Instant::max(), Instant::min()}) {
        EXPECT_EQ(encode(Events{eventAt(1), {.timestamp = moment}, eventAt(2)}), std::nullopt)
            << moment.time_since_epoch().count();
    }
}

TEST(CleanLogFormat, eventsComeBackAsTheyWere) {
    const Events events{eventAt(1'741'944'413, "Vite", "ledgra", 153'600), eventAt(1, "", "", 0),
                        eventAt(-1, "a", "b", most), eventAt(1'741'944'413, "Vite", "ledgra", least),
                        eventAt(3, "A ~/src/shop (dev) <&'>", "\\n \\u0041 // /* */")};
    EXPECT_EQ(again(events), events);
    EXPECT_EQ(again(eventsFrom(1, 1'000)), eventsFrom(1, 1'000));
}

TEST(CleanLogFormat, theFractionOfASecondIsLost) {
    CleanEvent event = eventAt(1'741'944'413);
    event.timestamp += 999'999us;
    EXPECT_EQ(again({event}), Events{eventAt(1'741'944'413)});
}

TEST(CleanLogFormat, anyTextComesBackAsItWas) {
    std::string controls;
    for (char byte = 0; byte < 0x20; ++byte) {
        controls += byte;
    }
    const std::vector<std::string> texts{"\"",
                                         "\\",
                                         "\"}]",
                                         "\\\"",
                                         controls,
                                         "\x7f",
                                         std::string("a\0b", 3),
                                         "ä ß é e\u0301",
                                         "店 🦊 👩‍👩‍👧",
                                         "\u2028\u2029\ufeff\u202e",
                                         "\xEF\xBF\xBF\xF4\x8F\xBF\xBF",
                                         "😀\n\"😀\"",
                                         std::string(100'000, 'x')};
    Events events;
    for (const std::string& text : texts) {
        EXPECT_EQ(again({eventAt(5, text, "p")}), Events{eventAt(5, text, "p")}) << text.substr(0, 50);
        EXPECT_EQ(again({eventAt(5, "k", text)}), Events{eventAt(5, "k", text)}) << text.substr(0, 50);
        events.push_back(eventAt(6, text, text));
    }
    EXPECT_EQ(again(events), events);
}

TEST(CleanLogFormat, bytesThatAreNoTextDoNotLoseTheEvent) {
    const std::vector<std::string> broken{
        "\xff",         "a\xffz",       "cut \xE2\x82",         "\xC0\x80",
        "\xED\xA0\x80", "\x80\x80\x80", "\xF5\x80\x80\x80 end", "\xE2\x82\"\\"};
    for (const std::string& name : broken) {
        for (const bool inKind : {true, false}) {
            CleanEvent odd = eventAt(7, inKind ? name : "Vite", inKind ? "shop" : name, 77);
            const Events back = again({eventAt(1), odd, eventAt(9)});
            ASSERT_EQ(back.size(), 3U);
            EXPECT_EQ(back[0], eventAt(1));
            EXPECT_EQ(back[2], eventAt(9));
            EXPECT_EQ(back[1].rssKB, 77);
            EXPECT_EQ(back[1].timestamp, second(7));
            EXPECT_EQ(inKind ? back[1].projectLabel : back[1].kind, inKind ? "shop" : "Vite");
            EXPECT_TRUE(Text::isValidUTF8(inKind ? back[1].kind : back[1].projectLabel));
        }
    }
    EXPECT_TRUE(again({eventAt(7, "a\xffz")}).front().kind.starts_with('a'));
    EXPECT_TRUE(again({eventAt(7, "a\xffz")}).front().kind.ends_with('z'));
}
