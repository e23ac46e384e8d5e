#pragma once

#include "VintrelCore/scan/CommandWords.h"

/// What the single commands of a shell's text (`ShellText`) do beside running programs.
namespace VintrelCore::ShellCommands {

/// Whether a command, without its prefixes, prepares, waits or filters, and so says nothing about what runs.
/// No such command runs a text or a file ("trap", "."), nor gives a name another meaning ("alias").
/// `isFed`: it reads what another one writes.
[[nodiscard]] bool runsNothingLasting(CommandWords::Words command, bool isFed);

/// A command without what may come before it, such as variables, "exec" and "then".
[[nodiscard]] CommandWords::Words withoutPrefixes(CommandWords::Words command);

} // namespace VintrelCore::ShellCommands
