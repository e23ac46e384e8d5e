#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

/// Formats the kernel's records as ps does (procps 4, in a UTF-8 locale), so that a list reads the same
/// whether or not ps was run.
namespace VintrelCore::ProcText {

/// Whether a character of more than one byte can be printed.
using Printable = std::function<bool(char32_t character)>;

/// The arguments in "cmdline" as one line, separated by blanks. Line breaks become blanks, unprintable
/// characters and invalid UTF-8 become question marks, and blanks at both ends are removed. A single question
/// mark when all arguments are empty.
[[nodiscard]] std::string commandLine(std::string_view cmdline, const Printable& isPrintable);

/// A program's short name, made printable in the same way, except that line breaks become question marks.
[[nodiscard]] std::string name(std::string_view bytes, const Printable& isPrintable);

/// Seconds as [[days-]hours:]minutes:seconds.
[[nodiscard]] std::string elapsed(int64_t seconds);

/// The share of the processor over a lifetime, in percent with one decimal.
[[nodiscard]] std::string cpuPercent(double usedSeconds, double lifetimeSeconds);

} // namespace VintrelCore::ProcText
