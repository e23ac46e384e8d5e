#include "VintrelCore/model/ReviewReason.h"

#include <algorithm>
#include <set>
#include <string_view>

#include <gtest/gtest.h>

using namespace VintrelCore;

TEST(ReviewReasonTest, hasWordsOfItsOwnAndFewOfThem) {
    constexpr int mostBlanks = 4; // five words
    std::set<std::string_view> texts;
    for (const ReviewReason reason : ReviewReasons::allCases) {
        const std::string_view words = inWords(reason);
        EXPECT_FALSE(words.empty());
        EXPECT_LE(std::ranges::count(words, ' '), mostBlanks) << words;
        EXPECT_TRUE(texts.insert(words).second) << words;
    }
}

TEST(ReviewReasonTest, isSaidInPlainWords) {
    EXPECT_EQ(inWords(ReviewReason::namedOnly), "named only in its arguments");
    EXPECT_EQ(inWords(ReviewReason::scriptMayDoMore), "its script may do more");
    EXPECT_EQ(inWords(ReviewReason::anotherMayFollow), "another script may follow");
    EXPECT_EQ(inWords(ReviewReason::startedOthers), "its runner started others");
    EXPECT_EQ(inWords(ReviewReason::runsUnknownProgram), "runs an unknown program");
    EXPECT_EQ(inWords(ReviewReason::partIsIgnored), "part of it is ignored");
    EXPECT_EQ(inWords(ReviewReason::hostsTerminal), "hosts a terminal");
}
