#pragma once

#include "tests/app/preferences/KilledBeforeCall.h"
#include "tests/app/preferences/StoredPreferences.h"
#include "tests/app/support/SettingsStore.h"
#include "tests/core/base/FolderContent.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace VintrelTests {

/// A store with settings, in which nothing may be left behind.
class WritersTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_old.save(allKeys));
        m_usual = names();
    }

    [[nodiscard]] std::vector<std::string> names() const { return namesIn(m_store.file().parent_path()); }

    [[nodiscard]] bool hasLeftovers() const { return names() != m_usual; }

    /// Kills writers, each a little later than the one before, until one leaves something in the folder.
    void leaveSomethingBehind(const std::filesystem::path& folder) const {
        const auto usual = namesIn(folder);
        for (int call = 1; namesIn(folder) == usual; ++call) {
            ASSERT_TRUE(killedBeforeCall(call, [this] { return m_new.save(allKeys) ? 0 : 1; }));
        }
    }

    /// Either all of the old or all of the new settings are there.
    void expectWhole() const {
        const auto [read, problem] = Vintrel::Preferences::load();
        ASSERT_EQ(problem, std::nullopt);
        ASSERT_TRUE(read == m_old || read == m_new) << described(read);
        ASSERT_EQ(modeOf(std::filesystem::canonical(m_store.file())), 0600);
    }

    const Vintrel::Preferences m_old = manyEntries(20, "old");
    const Vintrel::Preferences m_new = manyEntries(200, "new");
    const SettingsStore m_store;
    std::vector<std::string> m_usual;
};

} // namespace VintrelTests
