#include "VintrelCore/log/CleanLogFile.h"

#include "tests/core/base/FolderContent.h"
#include "tests/core/log/Events.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;
using namespace VintrelTests;
using CleanLogFile::append;
using CleanLogFile::decode;
using CleanLogFile::encode;
using CleanLogFile::load;
using CleanLogFile::save;

namespace fs = std::filesystem;

namespace {

using Events = std::vector<CleanEvent>;

constexpr int64_t cap = CleanLogFile::retentionCap;

/// A log in a folder of its own.
class CleanLogFileTest : public ::testing::Test {
protected:
    [[nodiscard]] fs::path folder() const { return m_folder.path() / "Vintrel"; }

    [[nodiscard]] std::string url() const { return folder() / "clean-log.json"; }

    void write(std::string_view bytes) const { m_folder.write("Vintrel/clean-log.json", bytes); }

    void writeEvents(const Events& events) const { write(encode(events).value()); }

    [[nodiscard]] std::optional<Events> onDisk() const {
        const auto bytes = bytesOf(url());
        return bytes ? decode(*bytes) : std::nullopt;
    }

    [[nodiscard]] const TemporaryFolder& root() const { return m_folder; }

private:
    TemporaryFolder m_folder;
};

} // namespace

TEST(CleanLogURL, standsInTheDataFolder) {
    const ScopedEnvironment home("HOME", "/home/dev");
    const ScopedEnvironment data("XDG_DATA_HOME", "/data");
    EXPECT_EQ(CleanLogFile::defaultURL(), "/data/Vintrel/clean-log.json");
    const ScopedEnvironment other("XDG_DATA_HOME", "/other/");
    EXPECT_EQ(CleanLogFile::defaultURL(), "/other/Vintrel/clean-log.json");
}

TEST(CleanLogURL, standsBelowHomeWhereThereIsNoDataFolder) {
    const ScopedEnvironment home("HOME", "/home/dev");
    for (const auto& none : {std::optional<std::string>(), std::optional<std::string>("")}) {
        const ScopedEnvironment data("XDG_DATA_HOME", none);
        EXPECT_EQ(CleanLogFile::defaultURL(), "/home/dev/.local/share/Vintrel/clean-log.json");
    }
}

TEST(CleanLogURL, standsInTheAccountsHomeWithoutAnyVariable) {
    const ScopedEnvironment home("HOME", std::nullopt);
    const ScopedEnvironment data("XDG_DATA_HOME", std::nullopt);
    const std::string url = CleanLogFile::defaultURL();
    EXPECT_TRUE(url.starts_with('/') && url.ends_with("/.local/share/Vintrel/clean-log.json")) << url;
}

TEST_F(CleanLogFileTest, keepsAThousandEvents) {
    EXPECT_EQ(CleanLogFile::retentionCap, 1'000);
}

TEST_F(CleanLogFileTest, aLogThatIsNotThereIsEmpty) {
    EXPECT_EQ(load(url(), cap), Events{});
    EXPECT_FALSE(fs::exists(folder())) << "reading makes nothing";
}

TEST_F(CleanLogFileTest, loadsTheNewestEventsSorted) {
    Events events = eventsFrom(1, 1'005);
    std::ranges::reverse(events);
    writeEvents(events);
    EXPECT_EQ(load(url(), cap), eventsFrom(6, 1'005));
    EXPECT_EQ(load(url(), 2), eventsFrom(1'004, 1'005));
    EXPECT_EQ(load(url(), 5'000), eventsFrom(1, 1'005));
    EXPECT_EQ(load(url(), 0), Events{});
    EXPECT_EQ(load(url(), -1), Events{});
    EXPECT_EQ(onDisk(), events) << "reading leaves the file alone";
}

TEST_F(CleanLogFileTest, loadsLongNames) {
    Events events;
    for (int64_t at = 0; at < 1'000; ++at) {
        events.push_back(eventAt(at, "Vite", std::string(4'000, 'p')));
    }
    writeEvents(events);
    EXPECT_EQ(load(url(), cap), events);
}

TEST_F(CleanLogFileTest, aDamagedLogIsEmpty) {
    const std::string good = encode(eventsFrom(1, 3)).value();
    for (const std::string& damaged :
         {std::string(), std::string("no JSON"), good + "x", good.substr(0, good.size() / 2),
          std::string(R"([{"kind":"Vite","projectLabel":"shop","timestamp":"2025-03-14T09:26:53Z"}])")}) {
        write(damaged);
        EXPECT_EQ(load(url(), cap), Events{});
        EXPECT_EQ(bytesOf(url()), damaged) << "reading leaves the file alone";
        EXPECT_EQ(namesIn(folder()), std::vector<std::string>{"clean-log.json"});
    }
}

TEST_F(CleanLogFileTest, saveWritesTheEncodedEvents) {
    ASSERT_TRUE(save(eventsFrom(1, 3), url()));
    EXPECT_EQ(bytesOf(url()), encode(eventsFrom(1, 3)));
    EXPECT_EQ(load(url(), cap), eventsFrom(1, 3));
    ASSERT_TRUE(save(eventsFrom(7, 7), url()));
    EXPECT_EQ(bytesOf(url()), encode(eventsFrom(7, 7))) << "it replaces, and does not add";
    ASSERT_TRUE(save({}, url()));
    EXPECT_EQ(onDisk(), Events{});
}

TEST_F(CleanLogFileTest, saveKeepsTheOrderAndNumberItIsGiven) {
    Events events = eventsFrom(1, 1'200);
    std::ranges::reverse(events);
    ASSERT_TRUE(save(events, url()));
    EXPECT_EQ(onDisk(), events);
}

TEST_F(CleanLogFileTest, eventsWithoutAFormAreNotSaved) {
    const Events impossible{eventAt(1), {.timestamp = Instant::max()}};
    EXPECT_FALSE(save(impossible, url()));
    EXPECT_FALSE(fs::exists(url()));
    writeEvents(eventsFrom(1, 2));
    const auto before = bytesOf(url());
    EXPECT_FALSE(save(impossible, url()));
    EXPECT_FALSE(append(impossible, url(), cap).isSaved);
    EXPECT_EQ(bytesOf(url()), before);
}

TEST_F(CleanLogFileTest, appendMakesTheLog) {
    const auto appended = append(Events{eventAt(5)}, url(), cap);
    EXPECT_TRUE(appended.isSaved);
    EXPECT_EQ(appended.events, Events{eventAt(5)});
    EXPECT_EQ(bytesOf(url()), encode(Events{eventAt(5)}));
}

TEST_F(CleanLogFileTest, appendAddsToWhatTheFileHolds) {
    writeEvents(eventsFrom(1, 3));
    const auto appended = append(eventsFrom(4, 6), url(), cap);
    EXPECT_TRUE(appended.isSaved);
    EXPECT_EQ(appended.events, eventsFrom(1, 6));
    EXPECT_EQ(onDisk(), eventsFrom(1, 6));
}

TEST_F(CleanLogFileTest, appendSortsOldAndNew) {
    writeEvents({eventAt(9), eventAt(2), eventAt(5, "old")});
    const auto appended = append(Events{eventAt(7), eventAt(5, "new"), eventAt(1)}, url(), cap);
    const Events expected{eventAt(1),        eventAt(2), eventAt(5, "old"),
                          eventAt(5, "new"), eventAt(7), eventAt(9)};
    EXPECT_EQ(appended.events, expected);
    EXPECT_EQ(onDisk(), expected);
}

TEST_F(CleanLogFileTest, appendKeepsTheNewest) {
    writeEvents(eventsFrom(1, 1'005));
    EXPECT_EQ(append(Events{eventAt(1'006)}, url(), cap).events, eventsFrom(7, 1'006));
    EXPECT_EQ(onDisk(), eventsFrom(7, 1'006));
    EXPECT_EQ(append(Events{eventAt(0)}, url(), cap).events, eventsFrom(7, 1'006)) << "older than all";
    EXPECT_EQ(append(eventsFrom(1'007, 1'009), url(), 2).events, eventsFrom(1'008, 1'009));
    EXPECT_EQ(append(eventsFrom(1'010, 1'011), url(), 0).events, Events{});
    EXPECT_EQ(onDisk(), Events{});
}

TEST_F(CleanLogFileTest, appendingNothingSortsAndCapsWhatIsThere) {
    writeEvents({eventAt(9), eventAt(2), eventAt(5)});
    EXPECT_EQ(append({}, url(), 2).events, (Events{eventAt(5), eventAt(9)}));
    EXPECT_EQ(onDisk(), (Events{eventAt(5), eventAt(9)}));
}

TEST_F(CleanLogFileTest, aDamagedLogIsKeptBesideTheNewOne) {
    const std::string damaged("[{\"kind\":\0\xff\n", 11); // even what is no text
    write(damaged);
    const auto appended = append(Events{eventAt(5)}, url(), cap);
    EXPECT_TRUE(appended.isSaved);
    EXPECT_EQ(appended.events, Events{eventAt(5)});
    EXPECT_EQ(onDisk(), Events{eventAt(5)});
    EXPECT_EQ(bytesOf(url() + ".damaged"), damaged);
}

TEST_F(CleanLogFileTest, noDamagedLogTakesThePlaceOfAnother) {
    const std::vector<std::string> all{"first", "second", "third", "fourth"};
    for (const std::string& damaged : all) {
        write(damaged);
        ASSERT_TRUE(append(Events{eventAt(5)}, url(), cap).isSaved);
        EXPECT_EQ(onDisk(), Events{eventAt(5)});
    }
    EXPECT_EQ(bytesOf(url() + ".damaged"), "first");
    std::vector<std::string> kept;
    const std::regex numbered(R"(clean-log\.json\.damaged(\D?\d+)?)");
    for (const std::string& name : namesIn(folder())) {
        if (std::regex_match(name, numbered)) {
            kept.push_back(bytesOf(folder() / name).value());
        }
    }
    EXPECT_TRUE(std::ranges::is_permutation(kept, all)) << kept.size() << " are kept";
}

TEST_F(CleanLogFileTest, saveKeepsADamagedLogToo) {
    write("damaged");
    ASSERT_TRUE(save(eventsFrom(1, 2), url()));
    EXPECT_EQ(onDisk(), eventsFrom(1, 2));
    EXPECT_EQ(bytesOf(url() + ".damaged"), "damaged");
}

TEST_F(CleanLogFileTest, aGoodLogIsNotKeptAside) {
    writeEvents(eventsFrom(1, 3));
    ASSERT_TRUE(append(Events{eventAt(4)}, url(), cap).isSaved);
    ASSERT_TRUE(append(Events{eventAt(5)}, url(), cap).isSaved);
    ASSERT_TRUE(save({}, url()));
    for (const std::string& name : namesIn(folder())) {
        EXPECT_FALSE(name.contains("damaged")) << name;
    }
}

TEST_F(CleanLogFileTest, isTheUsersAlone) {
    const ScopedUmask open(0);
    ASSERT_TRUE(append(Events{eventAt(1)}, root().path() / "a/b/Vintrel/clean-log.json", cap).isSaved);
    for (const std::string made : {"a", "a/b", "a/b/Vintrel"}) {
        EXPECT_EQ(modeOf(root().path() / made), 0700) << made;
    }
    for (const std::string& name : namesIn(root().path() / "a/b/Vintrel")) {
        EXPECT_EQ(modeOf(root().path() / "a/b/Vintrel" / name), 0600) << name;
    }
    ASSERT_TRUE(save({}, root().path() / "c/clean-log.json"));
    EXPECT_EQ(modeOf(root().path() / "c"), 0700);
    EXPECT_EQ(modeOf(root().path() / "c/clean-log.json"), 0600);
}

TEST_F(CleanLogFileTest, foldersThatWereThereKeepTheirModes) {
    write("[]");
    fs::permissions(folder(), fs::perms(0755));
    fs::permissions(url(), fs::perms(0644));
    ASSERT_TRUE(append(Events{eventAt(1)}, url(), cap).isSaved);
    EXPECT_EQ(modeOf(folder()), 0755);
    EXPECT_EQ(modeOf(url()), 0600);
}

TEST_F(CleanLogFileTest, otherFilesBesideItStayAsTheyAre) {
    const std::vector<std::string> others{"ports.json",          "clean-log.json.bak", "clean-log.json~",
                                          "clean-log.json.copy", "clean-log",          ".clean-log.json.swp",
                                          "my clean-log.json"};
    for (const std::string& name : others) {
        root().write("Vintrel/" + name, "mine");
    }
    ASSERT_TRUE(append(Events{eventAt(1)}, url(), cap).isSaved);
    ASSERT_TRUE(append(Events{eventAt(2)}, url(), cap).isSaved);
    for (const std::string& name : others) {
        EXPECT_EQ(bytesOf(folder() / name), "mine") << name;
    }
    EXPECT_EQ(namesIn(folder()).size(), others.size() + 2) << "the log and its lock";
}

TEST_F(CleanLogFileTest, withoutAPlaceNothingIsSaved) {
    const fs::path before = fs::current_path();
    fs::current_path(root().path());
    EXPECT_EQ(load("", cap), Events{});
    EXPECT_FALSE(save(eventsFrom(1, 1), ""));
    const auto appended = append(eventsFrom(1, 2), "", cap);
    fs::current_path(before);
    EXPECT_FALSE(appended.isSaved);
    EXPECT_EQ(appended.events, eventsFrom(1, 2));
    EXPECT_TRUE(fs::is_empty(root().path())) << "and nothing is left in the current folder";
}
