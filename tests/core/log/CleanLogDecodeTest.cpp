#include "VintrelCore/log/CleanLogFile.h"
#include "tests/core/log/Events.h"

#include <limits>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;
using CleanLogFile::decode;
using CleanLogFile::encode;
using VintrelTests::eventAt;
using VintrelTests::eventsFrom;
using VintrelTests::second;

namespace {

using Events = std::vector<CleanEvent>;

/// A log of one event with this number of kilobytes, as JSON.
std::string withMemory(const std::string& rssKB) {
    return R"([{"kind":"Vite","projectLabel":"shop","rssKB":)" + rssKB +
           R"(,"timestamp":"2025-03-14T09:26:53Z"}])";
}

std::optional<int64_t> memoryIn(const std::string& text) {
    const auto events = decode(text);
    return events && events->size() == 1 ? std::optional(events->front().rssKB) : std::nullopt;
}

const std::string good = withMemory("1024");
const CleanEvent goodEvent = eventAt(1'741'944'413);

} // namespace

TEST(CleanLogDecode, readsEventsInTheOrderOfTheText) {
    const std::string text = R"([
      {
        "kind" : "Vite",
        "projectLabel" : "ledgra",
        "rssKB" : 153600,
        "timestamp" : "2025-03-14T09:26:53Z"
      },
      {"timestamp":"1970-01-01T00:00:01Z","rssKB":-7,"projectLabel":"","kind":""}
    ])";
    EXPECT_EQ(decode(text),
              (Events{eventAt(1'741'944'413, "Vite", "ledgra", 153'600), eventAt(1, "", "", -7)}));
    EXPECT_EQ(decode("[]"), Events{});
    EXPECT_EQ(decode(" \n\t\r[ ] \n"), Events{});
    EXPECT_EQ(decode("\n" + good + "\n\n"), Events{goodEvent});
}

TEST(CleanLogDecode, readsEscapes) {
    const std::string text =
        "[{\"k\\u0069nd\":\"\\u00e4\\/\\\"\\ud83d\\ude00\\u0000\",\"projectLabel\":\"\\n\","
        "\"rssKB\":1,\"timestamp\":\"1970-01-01T00:00:01\\u005a\"}]";
    EXPECT_EQ(decode(text), Events{eventAt(1, std::string("ä/\"😀") + '\0', "\n", 1)});
}

TEST(CleanLogDecode, passesOverKeysThatItDoesNotKnow) {
    const std::string text = R"([{"pid":4242,"kind":"Vite","extra":{"a":[1,null,{}]},"projectLabel":"shop",
        "rssKB":1024,"timestamp":"2025-03-14T09:26:53Z","Kind":"other","zz":null}])";
    EXPECT_EQ(decode(text), Events{goodEvent});
}

TEST(CleanLogDecode, everyKeyIsNeeded) {
    const std::vector<std::string> members{R"("kind":"Vite")", R"("projectLabel":"shop")", R"("rssKB":1024)",
                                           R"("timestamp":"2025-03-14T09:26:53Z")"};
    for (size_t missing = 0; missing <= members.size(); ++missing) {
        std::string object;
        for (size_t place = 0; place < members.size(); ++place) {
            if (place != missing) {
                object += (object.empty() ? "" : ",") + members[place];
            }
        }
        const bool isWhole = missing == members.size();
        EXPECT_EQ(decode("[{" + object + "}]").has_value(), isWhole) << object;
        EXPECT_EQ(decode("[{" + object + "}," + good.substr(1)).has_value(), isWhole) << "spoils the rest";
        EXPECT_EQ(decode(good.substr(0, good.size() - 1) + ",{" + object + "}]").has_value(), isWhole);
    }
    EXPECT_EQ(decode("[{}]"), std::nullopt);
}

TEST(CleanLogDecode, everyValueHasItsType) {
    const std::vector<std::string> keys{"kind", "projectLabel", "rssKB", "timestamp"};
    const std::vector<std::string> values{"null",       "true", "false",    "[]",     "[\"a\"]", "{}",
                                          "1741944413", "1.5",  "\"text\"", "\"12\"", "\"\"",    "{\"a\":1}"};
    for (const std::string& key : keys) {
        for (const std::string& value : values) {
            const auto member = [&](const std::string& name, const std::string& usual) {
                return "\"" + name + "\":" + (name == key ? value : usual);
            };
            const std::string text = "[{" + member("kind", "\"Vite\"") + "," +
                                     member("projectLabel", "\"shop\"") + "," + member("rssKB", "1024") +
                                     "," + member("timestamp", "\"2025-03-14T09:26:53Z\"") + "}]";
            const bool isText = value.starts_with('"');
            const bool fits = key == "rssKB" ? value == "1741944413" : isText && key != "timestamp";
            EXPECT_EQ(decode(text).has_value(), fits) << text;
        }
    }
}

TEST(CleanLogDecode, anEventIsAnObject) {
    for (const std::string other :
         {"null", "1", "\"Vite\"", "[]", "true", R"(["Vite","shop",1,"1970-01-01T00:00:00Z"])"}) {
        EXPECT_EQ(decode("[" + other + "]"), std::nullopt) << other;
        EXPECT_EQ(decode(good.substr(0, good.size() - 1) + "," + other + "]"), std::nullopt) << other;
    }
}

TEST(CleanLogDecode, aLogIsAListAndNothingElse) {
    const std::string object = good.substr(1, good.size() - 2);
    const std::vector<std::string> others{"",
                                          " ",
                                          "\n",
                                          "null",
                                          "true",
                                          "0",
                                          "\"\"",
                                          "\"[]\"",
                                          "{}",
                                          object,
                                          R"({"events":)" + good + "}",
                                          "[" + good + "]",
                                          "no JSON",
                                          "[",
                                          "]",
                                          "[,]",
                                          "[" + object + ",]",
                                          "[" + object + " " + object + "]",
                                          "[" + object,
                                          "<xml/>",
                                          std::string("\0", 1),
                                          std::string(3, '\0')};
    for (const std::string& text : others) {
        EXPECT_EQ(decode(text), std::nullopt) << text;
    }
}

TEST(CleanLogDecode, nothingMayFollowTheList) {
    for (const std::string tail : {"x", "]", ",", "[]", "{}", "null", "0", "\"", "// end", "\n[]", "}"}) {
        EXPECT_EQ(decode(good + tail), std::nullopt) << tail;
        EXPECT_EQ(decode("[]" + tail), std::nullopt) << tail;
    }
    EXPECT_EQ(decode(good + good), std::nullopt);
}

TEST(CleanLogDecode, zerosBehindTheListAreNotOverlooked) { // a power failure may leave them
    const std::vector<std::string> tails{std::string(1, '\0'), std::string(500, '\0'),
                                         std::string("\0 more", 6)};
    for (const std::string& tail : tails) {
        EXPECT_EQ(decode(good + tail), std::nullopt);
        EXPECT_EQ(decode("[]" + tail), std::nullopt);
    }
}

TEST(CleanLogDecode, aLogThatWasCutOffAnywhereIsNone) {
    std::string whole = encode(Events{eventAt(1), eventAt(2, "ä", "\"")}).value();
    whole.resize(whole.rfind(']') + 1);
    for (size_t length = 0; length < whole.size(); ++length) {
        ASSERT_EQ(decode(whole.substr(0, length)), std::nullopt) << whole.substr(0, length);
    }
    EXPECT_TRUE(decode(whole));
}

TEST(CleanLogDecode, readsOnlyJSONOfTheStrictKind) {
    const std::vector<std::string> loose{
        R"([{'kind':"Vite","projectLabel":"shop","rssKB":1,"timestamp":"2025-03-14T09:26:53Z"}])",
        R"([{kind:"Vite","projectLabel":"shop","rssKB":1,"timestamp":"2025-03-14T09:26:53Z"}])",
        R"([{"kind":"Vite","projectLabel":"shop","rssKB":1,"timestamp":"2025-03-14T09:26:53Z",}])",
        R"([/* a comment */{"kind":"Vite","projectLabel":"shop","rssKB":1,"timestamp":"2025-03-14T09:26:53Z"}])",
        "[{\"kind\":\"a\nb\",\"projectLabel\":\"shop\",\"rssKB\":1,\"timestamp\":\"2025-03-14T09:26:53Z\"}]",
        "[{\"kind\":\"\xff\",\"projectLabel\":\"shop\",\"rssKB\":1,\"timestamp\":\"2025-03-14T09:26:53Z\"}]",
        R"([{"kind":"\ud800","projectLabel":"shop","rssKB":1,"timestamp":"2025-03-14T09:26:53Z"}])",
        R"([{"kind":"\x","projectLabel":"shop","rssKB":1,"timestamp":"2025-03-14T09:26:53Z"}])",
    };
    for (const std::string& text : loose) {
        EXPECT_EQ(decode(text), std::nullopt) << text;
    }
}

TEST(CleanLogDecode, nestingWithoutEndIsNoLog) {
    EXPECT_EQ(decode(std::string(100'000, '[')), std::nullopt);
    EXPECT_EQ(decode(std::string(100'000, '[') + std::string(100'000, ']')), std::nullopt);
    std::string objects;
    for (int depth = 0; depth < 100'000; ++depth) {
        objects += "[{\"a\":";
    }
    EXPECT_EQ(decode(objects), std::nullopt);
}

TEST(CleanLogDecodeMemory, isAnIntegerHoweverItIsWritten) {
    EXPECT_EQ(memoryIn(withMemory("0")), 0);
    EXPECT_EQ(memoryIn(withMemory("-0")), 0);
    EXPECT_EQ(memoryIn(withMemory("12.0")), 12);
    EXPECT_EQ(memoryIn(withMemory("-12.000")), -12);
    EXPECT_EQ(memoryIn(withMemory("1.2e1")), 12);
    EXPECT_EQ(memoryIn(withMemory("153600")), 153'600);
    EXPECT_EQ(memoryIn(withMemory("9223372036854775807")), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(memoryIn(withMemory("-9223372036854775808")), std::numeric_limits<int64_t>::min());
}

TEST(CleanLogDecodeMemory, thatIsNoSuchIntegerIsRejected) {
    for (const std::string number : {"12.5",
                                     "0.1",
                                     "-0.5",
                                     "1e-1",
                                     "9223372036854775808",
                                     "-9223372036854775809",
                                     "18446744073709551615",
                                     "18446744073709551616",
                                     "9223372036854775808.0",
                                     "1e19",
                                     "-1e19",
                                     "1e400",
                                     "-1e400",
                                     "NaN",
                                     "Infinity",
                                     "-Infinity",
                                     "0x10",
                                     "012",
                                     "+1",
                                     "1.",
                                     ".5",
                                     "1e",
                                     "--1",
                                     "1_000",
                                     "12,5",
                                     "\"12\"",
                                     "true",
                                     "null",
                                     "[12]"}) {
        EXPECT_EQ(decode(withMemory(number)), std::nullopt) << number;
    }
}
