#pragma once

#include "VintrelCore/scan/CommandWords.h"

#include <functional>
#include <string_view>

/// What the single commands of a shell's text (`ShellText`) do beside running programs.
namespace VintrelCore::ShellCommands {

/// Whether a command, without its prefixes, prepares, waits or filters, and so says nothing about what runs.
/// No such command runs a text or a file ("trap", "."), nor gives a name another meaning ("alias").
/// `isFed`: it reads what another one writes.
[[nodiscard]] bool runsNothingLasting(CommandWords::Words command, bool isFed);

/// A command without what may come before it, such as variables, "exec" and "then".
[[nodiscard]] CommandWords::Words withoutPrefixes(CommandWords::Words command);

/// Receives a long-running command and the number of levels left.
using Look = std::function<void(CommandWords::Words command, int depth)>;

/// Calls `look` with each command of a shell's text that lasts. Commands in texts that it evaluates, or keeps
/// for a signal, are its own, down to `depth` levels. False when it may hide others.
[[nodiscard]] bool visitLasting(std::string_view text, int depth, const Look& look);

} // namespace VintrelCore::ShellCommands
