#pragma once

#include "VintrelCore/base/Shell.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// How lsof is run, whatever it is asked for.
namespace VintrelCore::Lsof {

/// The first of the places where lsof may stand that has one; where none has, the first of all, which fails
/// to start.
[[nodiscard]] std::string path();

struct Answer {
    std::string output;
    Shell::Fault fault =
        Shell::Fault::none; ///< it missed both of its deadlines; its exit status says nothing
    bool metDeadMount =
        false; ///< it hung until it was told to avoid whatever can block, as files there would
    bool interrupted = false;
};

/// A question under way, so that it can overlap with others.
///
/// A mount that does not answer makes lsof hang. When it misses its deadline, it is asked once more in a way
/// that avoids every blocking call; it then names what it can.
class Query {
public:
    explicit Query(std::vector<std::string> arguments, const std::string& lsof = path());

    /// For `Shell::await`.
    [[nodiscard]] Shell::Run& run() { return m_run; }

    /// Waits for what is still to come.
    [[nodiscard]] Answer finish(int interrupt = -1);

private:
    Shell::Command m_command;
    Shell::Run m_run;
};

/// Pids in the form of the option -p.
[[nodiscard]] std::string list(std::span<const int32_t> pids);

/// Asks and waits.
[[nodiscard]] Answer ask(std::vector<std::string> arguments);

/// A name as it is: lsof doubles backslashes, and writes what it will not print as escapes like "\\xed".
/// ("^A" may stand for a control character, but also for itself, and stays.)
[[nodiscard]] std::string unescaped(std::string_view name);

} // namespace VintrelCore::Lsof
