#include "Vintrel/engine/TextLists.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Vintrel {

using VintrelCore::CustomRule;
using Texts = std::vector<std::string>;
using Rules = std::vector<CustomRule>;

TEST(TextLists, entriesAreShownOneALine) {
    EXPECT_EQ(TextLists::text(Texts{}), "");
    EXPECT_EQ(TextLists::text(Texts{"node"}), "node");
    EXPECT_EQ(TextLists::text(Texts{"node", "vite @ ~/work", "bun"}), "node\nvite @ ~/work\nbun");
}

TEST(TextLists, entriesAreShownAsTheyStand) {
    EXPECT_EQ(TextLists::text(Texts{" node ", "", "a"}), " node \n\na");
}

TEST(TextLists, linesAreTrimmedAndEmptyOnesDropped) {
    EXPECT_EQ(TextLists::entries("  node  \n\n  vite @ ~/work/shop\t"),
              (Texts{"node", "vite @ ~/work/shop"}));
}

TEST(TextLists, aTextOfNothingHasNoEntries) {
    EXPECT_EQ(TextLists::entries(""), Texts{});
    EXPECT_EQ(TextLists::entries("\n"), Texts{});
    EXPECT_EQ(TextLists::entries(" \t \n  \n\n"), Texts{});
}

TEST(TextLists, theEndOfTheLastLineIsNoEntry) {
    EXPECT_EQ(TextLists::entries("node\n"), Texts{"node"});
    EXPECT_EQ(TextLists::entries("\nnode"), Texts{"node"});
}

TEST(TextLists, linesMayEndAsOnOtherSystems) {
    EXPECT_EQ(TextLists::entries("node\r\nbun\r\n"), (Texts{"node", "bun"}));
}

TEST(TextLists, whatStandsWithinALineStays) {
    EXPECT_EQ(TextLists::entries("my  shop\tx\n~/Läden/日本 語"), (Texts{"my  shop\tx", "~/Läden/日本 語"}));
}

TEST(TextLists, orderAndRepeatsStay) {
    EXPECT_EQ(TextLists::entries("b\na\nb"), (Texts{"b", "a", "b"}));
}

TEST(TextLists, entriesReadBackFromTheirText) {
    const Texts entries{"node", "vite @ ~/work/shop", "a = b", "~/Läden"};
    EXPECT_EQ(TextLists::entries(TextLists::text(entries)), entries);
}

TEST(TextLists, rulesAreShownOneALine) {
    EXPECT_EQ(TextLists::text(Rules{}), "");
    EXPECT_EQ(TextLists::text(Rules{{"agent", "My agent"}, {"bare", "bare"}}),
              "agent = My agent\nbare = bare");
}

TEST(TextLists, linesAreReadAsRules) {
    EXPECT_EQ(TextLists::customRules("agent = My agent\n  x=y  "),
              (Rules{{"agent", "My agent"}, {"x", "y"}}));
}

TEST(TextLists, aLineWithoutASignIsItsOwnLabel) {
    EXPECT_EQ(TextLists::customRules("my daemon"), (Rules{{"my daemon", "my daemon"}}));
}

TEST(TextLists, onlyTheFirstSignParts) {
    EXPECT_EQ(TextLists::customRules("a = b = c"), (Rules{{"a", "b = c"}}));
}

TEST(TextLists, linesThatAreNoRuleAreDropped) {
    EXPECT_EQ(TextLists::customRules("\n   \n = label\n\t=\na = b\n=\n"), (Rules{{"a", "b"}}));
    EXPECT_EQ(TextLists::customRules(""), Rules{});
}

TEST(TextLists, rulesMayEndTheirLinesAsOnOtherSystems) {
    EXPECT_EQ(TextLists::customRules("a = b\r\nc = d\r\n"), (Rules{{"a", "b"}, {"c", "d"}}));
}

TEST(TextLists, rulesReadBackFromTheirText) {
    const Rules rules{{"z", "Last"}, {"a", "b = c"}, {"bare", "bare"}, {"z", "again"}};
    EXPECT_EQ(TextLists::customRules(TextLists::text(rules)), rules);
}

} // namespace Vintrel
