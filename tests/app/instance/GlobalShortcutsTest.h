#pragma once

#include "Vintrel/shell/linux/GlobalShortcuts.h"
#include "tests/app/instance/PreparedShortcutsPortal.h"
#include "tests/app/instance/Requests.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace VintrelTests {

/// What the user was told: titles and texts.
using Told = std::vector<std::pair<std::string, std::string>>;

/// A test of the shortcuts as global ones, on a bus of their own.
class GlobalShortcutsTest : public AppTest {
public:
    Vintrel::GlobalShortcuts& make() {
        shortcuts.emplace(bus.connect(), requests, mark.string());
        return *shortcuts;
    }

    /// The user has wished them before.
    void setMark() const {
        std::filesystem::create_directories(mark.parent_path());
        std::ofstream(mark) << "wished\n";
    }

    [[nodiscard]] bool isMarked() const { return std::filesystem::exists(mark); }

    [[nodiscard]] bool isBound() {
        return spinUntil([this] { return shortcuts->isBound(); });
    }

    const std::filesystem::path mark = dataFolder() / "Vintrel/global-shortcuts";
    SessionBus bus;
    RecordingRequests requests;
    std::optional<Vintrel::GlobalShortcuts> shortcuts;
};

} // namespace VintrelTests
