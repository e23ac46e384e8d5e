#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Vintrel {

/// What one start of the program asks for. It is carried out by the instance that runs already, if there is
/// one.
struct StartRequest {
    bool isToShow = false; ///< the popover is to open
    /// Nobody is to see anything: at login, or because the message bus starts it, whose calls follow.
    bool isService = false;
    std::vector<std::string> urls; ///< the addresses, in order
    std::string action;            ///< the name of an action; "" for none

    /// Whether nothing more is asked than that the program be there.
    [[nodiscard]] bool isPlain() const { return !isToShow && !isService && !isErrand(); }

    /// Whether something is to be done, and nothing to be seen by who asks: a start need not stay for it.
    [[nodiscard]] bool isErrand() const { return !isToShow && !(urls.empty() && action.empty()); }

    bool operator==(const StartRequest&) const = default;
};

/// The command line of the program.
namespace CommandLine {

enum class Wish { run, help, version, unknown };

struct Parsed {
    Wish wish = Wish::unknown;
    StartRequest request{};
};

/// `arguments` are those that follow the program's name.
[[nodiscard]] Parsed parse(std::span<const std::string_view> arguments);

[[nodiscard]] Parsed parse(std::span<char* const> argv);

/// What "--help" prints.
[[nodiscard]] std::string_view usage();

} // namespace CommandLine

} // namespace Vintrel
