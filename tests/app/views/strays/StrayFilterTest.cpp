// Whose process a row is about, and what the search field finds.
#include "Vintrel/views/StrayList.h"
#include "VintrelCore/VintrelCore.h"
#include "tests/app/support/PreparedSources.h"
#include "tests/support/ScopedEnvironment.h"

#include <cstdlib>
#include <iostream>
#include <string>

#include <gtest/gtest.h>

namespace Vintrel {

using StrayList::Cwds;
using StrayList::Filter;
using StrayList::Item;
using StrayList::Ports;
using VintrelCore::ProcessKind;
using VintrelCore::PortRegistry::PortSet;
using VintrelTests::cwdOf;
using VintrelTests::runnerItem;
using VintrelTests::safeItem;
using VintrelTests::ScopedEnvironment;

namespace {

Item customItem(int32_t pid) {
    Item item = safeItem(pid);
    item.kind = ProcessKind::custom;
    item.customLabel = "My watcher";
    return item;
}

Item commandItem(const std::string& command) {
    Item item = safeItem(7);
    item.command = command;
    return item;
}

bool finds(const std::string& text, const Item& item, const Cwds& cwds = {}, const Ports& ports = {}) {
    return Filter(text).matches(item, cwds, ports);
}

} // namespace

TEST(StrayDescriptor, ofACustomKindIsItsLabel) {
    EXPECT_EQ(StrayList::rowDescriptor(customItem(3), {{3, cwdOf("~/work/shop")}}), "My watcher");
}

TEST(StrayDescriptor, ofACustomKindWithoutALabelIsTheProject) {
    Item item = customItem(3);
    item.customLabel.reset();
    EXPECT_EQ(StrayList::rowDescriptor(item, {{3, cwdOf("~/work/shop")}}), "shop");
}

TEST(StrayDescriptor, aLabelOfAnotherKindDoesNotCount) {
    Item item = safeItem(3);
    item.customLabel = "My watcher";
    EXPECT_EQ(StrayList::rowDescriptor(item, {{3, cwdOf("~/work/shop")}}), "shop");
}

TEST(StrayDescriptor, isTheProjectsLabelAndNotItsFolder) {
    const Cwds cwds{{3, {.label = "shop/web", .fullPath = "~/work/shop/web", .projectRoot = "~/work/shop"}}};
    EXPECT_EQ(StrayList::rowDescriptor(safeItem(3), cwds), "shop/web");
}

TEST(StrayDescriptor, withoutAFolderIsWhatRuns) {
    EXPECT_EQ(StrayList::rowDescriptor(safeItem(3), {{4, cwdOf("~/work/shop")}}), "bin/vite");
    EXPECT_EQ(StrayList::rowDescriptor(commandItem("npm run dev"), {}), "npm");
}

TEST(StrayFilter, ofWhiteSpaceIsEmptyAndMatchesEverything) {
    for (const std::string text : {"", " ", "  \t ", "\n", "\xc2\xa0", "\xe3\x80\x80 "}) {
        EXPECT_TRUE(Filter(text).isEmpty()) << text;
        EXPECT_TRUE(finds(text, safeItem(7))) << text;
        EXPECT_TRUE(finds(text, commandItem(""))) << text;
    }
    EXPECT_FALSE(Filter(" x ").isEmpty());
}

TEST(StrayFilter, disregardsWhiteSpaceAroundTheText) {
    EXPECT_TRUE(finds("  3000 ", safeItem(7), {}, {{7, {3000}}}));
    EXPECT_TRUE(finds("  3000 ", commandItem("node serve --port=3000")));
    EXPECT_TRUE(finds("\tvite\n", safeItem(7)));
}

TEST(StrayFilter, keepsWhiteSpaceInsideTheText) {
    EXPECT_TRUE(finds("vite --port", safeItem(7)));
    EXPECT_FALSE(finds("vite  --port", safeItem(7)));
    EXPECT_FALSE(finds("vite--port", safeItem(7)));
}

TEST(StrayFilter, looksAtTheWholeCommandWhateverTheCase) {
    const Item item = commandItem("/opt/Node/bin/node Server.JS --Watch");
    EXPECT_TRUE(finds("/opt/node/BIN", item));
    EXPECT_TRUE(finds("server.js --WATCH", item));
    EXPECT_FALSE(finds("server.ts", item));
}

TEST(StrayFilter, looksAtTheDescriptorWhateverTheCase) {
    EXPECT_TRUE(finds("LEDG", commandItem("node x"), {{7, cwdOf("~/work/ledgra")}}));
    EXPECT_TRUE(finds("my WATCH", customItem(3)));
    EXPECT_FALSE(finds("ledgra", commandItem("node x"), {{8, cwdOf("~/work/ledgra")}}));
}

TEST(StrayFilter, doesNotLookAtWhatTheRowIsNotCalledBy) {
    const Cwds cwds{{7, {.label = "web", .fullPath = "~/work/shop/web", .projectRoot = "~/work/shop"}}};
    EXPECT_FALSE(finds("shop", commandItem("node x"), cwds)) << "the folder is no part of the descriptor";
    EXPECT_FALSE(finds("vite", commandItem("node x"))) << "nor is the label of the kind";
    EXPECT_FALSE(finds("7", commandItem("node x"))) << "nor the pid";
}

TEST(StrayFilter, foldsCaseBeyondAscii) {
    EXPECT_TRUE(finds("STRASSE", commandItem("node straße.js")));
    EXPECT_TRUE(finds("ÄPFEL", commandItem("node x"), {{7, cwdOf("~/work/äpfel")}}));
    EXPECT_FALSE(finds("apfel", commandItem("node x"), {{7, cwdOf("~/work/äpfel")}}));
}

TEST(StrayFilterDeathTest, goesByTheUsersLanguage) {
    // The locale is read once in the life of a process, so each locale gets a process of its own.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto report = [] {
        const Item item = commandItem("node FILE.js");
        std::cerr << (finds("file", item) ? "dotted " : "") << (finds("fıle", item) ? "dotless" : "");
        std::exit(0);
    };
    {
        const ScopedEnvironment turkish("LC_ALL", "tr_TR.UTF-8");
        EXPECT_EXIT(report(), testing::ExitedWithCode(0), "^dotless$");
    }
    const ScopedEnvironment english("LC_ALL", "en_US.UTF-8");
    EXPECT_EXIT(report(), testing::ExitedWithCode(0), "^dotted $");
}

TEST(StrayFilter, findsAnyPartOfAnyPort) {
    const Ports ports{{7, {3000, 51'730}}};
    const Item item = commandItem("node x");
    for (const std::string text : {"3000", "300", "0", "51730", "1730", "173"}) {
        EXPECT_TRUE(finds(text, item, {}, ports)) << text;
    }
    for (const std::string text : {"3001", "30005", "300051730", "3000 51730", ":3000", "3,000"}) {
        EXPECT_FALSE(finds(text, item, {}, ports)) << text;
    }
}

TEST(StrayFilter, doesNotFindThePortsOfOthers) {
    EXPECT_FALSE(finds("3000", commandItem("node x"), {}, {{8, {3000}}}));
}

TEST(StrayFilter, findsThePortsOfWhatIsFoldedIntoTheRow) {
    const Item item = runnerItem(10, {11, 12});
    EXPECT_TRUE(finds("4321", item, {}, {{12, {4321}}}));
    EXPECT_FALSE(finds("4321", item, {}, {{13, {4321}}}));
}

TEST(StrayPorts, areThoseOfTheRowAndOfWhatIsFoldedIntoIt) {
    const Ports ports{{10, {3000}}, {11, {24'678, 3000}}, {12, {}}, {13, {9}}};
    EXPECT_EQ(StrayList::portsOf(runnerItem(10, {11, 12}), ports), (PortSet{3000, 24'678}));
    EXPECT_EQ(StrayList::portsOf(safeItem(13), ports), PortSet{9});
    EXPECT_EQ(StrayList::portsOf(safeItem(14), ports), PortSet{});
}

} // namespace Vintrel
