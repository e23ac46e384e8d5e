#pragma once

#include "Vintrel/engine/CleanLogStore.h"
#include "tests/app/support/AppTest.h"
#include "tests/core/log/LogFolder.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace VintrelTests {

/// How soon a view has to show what another process wrote.
constexpr std::chrono::milliseconds soon{2'000};

/// Adds to a log as another process does; whether it was saved.
inline bool appendElsewhere(const std::string& url, const Events& events) {
    return inChild([&] {
               return VintrelCore::CleanLogFile::append(events, url, retentionCap).isSaved ? 0 : 1;
           }) == 0;
}

/// Counts what a store tells its observers, and what it held at those moments.
class Observer {
public:
    explicit Observer(const Vintrel::CleanLogStore& store) {
        QObject::connect(&store, &Vintrel::CleanLogStore::eventsChanged, &m_context,
                         [this, &store] { m_seen.push_back(store.events()); });
    }

    [[nodiscard]] size_t changes() const { return m_seen.size(); }

    [[nodiscard]] const std::vector<Events>& seen() const { return m_seen; }

private:
    std::vector<Events> m_seen;
    QObject m_context;
};

/// A clean log in a folder of the test's own.
class StoreTest : public AppTest {
public:
    using Store = Vintrel::CleanLogStore;

    [[nodiscard]] std::filesystem::path log() const { return cleanLogFile(); }

    [[nodiscard]] std::string url() const { return log().string(); }

    [[nodiscard]] std::filesystem::path folder() const { return log().parent_path(); }

    [[nodiscard]] std::unique_ptr<Store> makeStore(int64_t cap = retentionCap) const {
        return std::make_unique<Store>(url(), cap);
    }

    void writeBytes(std::string_view bytes) const {
        std::filesystem::create_directories(folder());
        std::ofstream(log(), std::ios::binary) << bytes;
    }

    void writeLog(const Events& events) const {
        writeBytes(VintrelCore::CleanLogFile::encode(events).value());
    }
};

} // namespace VintrelTests
