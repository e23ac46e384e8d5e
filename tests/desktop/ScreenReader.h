#pragma once

#include "tests/app/support/SessionBus.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

class QJsonObject;

namespace VintrelTests {

/// A control as a screen reader knows it.
struct Control {
    std::string window{};      ///< the title of the one that it is in
    std::string row{};         ///< the name of the list's row that it is in; empty outside of rows
    std::string role{};        ///< "push button", "list item", ...
    std::string name{};        ///< what is read out
    std::string description{}; ///< and what more is said of it
    std::string text{};        ///< what has been typed into it
    std::set<std::string> states{};
    int x = 0; ///< of its middle, on the screen
    int y = 0;

    bool operator==(const Control&) const = default;

    [[nodiscard]] bool is(const std::string& state) const { return states.contains(state); }
};

using Controls = std::vector<Control>;
using Which = std::function<bool(const Control&)>;

[[nodiscard]] Which named(const std::string& name);
[[nodiscard]] Which ofRole(const std::string& role);
/// Of that name, in the row whose sentence begins like this.
[[nodiscard]] Which inRow(const std::string& beginning, const std::string& name);
/// The row whose sentence begins like this.
[[nodiscard]] Which row(const std::string& beginning);
[[nodiscard]] Which both(const Which& one, const Which& other);

/// A screen reader's view of one program, over an accessibility bus of its own.
class ScreenReader {
public:
    /// `environment` is that of the program, with its screen and its session bus.
    ScreenReader(SessionBus& bus, const std::string& application,
                 const std::map<std::string, std::string>& environment);
    ScreenReader(const ScreenReader&) = delete;
    ScreenReader& operator=(const ScreenReader&) = delete;
    ~ScreenReader();

    /// All controls of the program, from top to bottom. None when it does not run.
    [[nodiscard]] Controls controls();

    /// The one that has the keyboard.
    [[nodiscard]] std::optional<Control> focused();

private:
    std::string ask(const std::string& command);

    TemporaryFolder m_folder;
    std::optional<Process> m_accessibilityBus;
    std::optional<Process> m_script;
    VintrelCore::FileDescriptor m_commands;
};

} // namespace VintrelTests
