#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

/// What ps makes of the kernel's records (procps 4, in a UTF-8 locale): the same facts read without ps are
/// shown in the same words.
namespace VintrelCore::ProcText {

/// Whether a character of more than one byte can be printed.
using Printable = std::function<bool(char32_t character)>;

/// The arguments of "cmdline" in a line: a blank behind each, also in place of line breaks; what cannot be
/// printed, or is no UTF-8, as question marks; without blanks at its ends. One question mark where all of
/// them are empty.
[[nodiscard]] std::string commandLine(std::string_view cmdline, const Printable& isPrintable);

/// A program's short name, printable in the same way. Line breaks are question marks here.
[[nodiscard]] std::string name(std::string_view bytes, const Printable& isPrintable);

/// Seconds as [[days-]hours:]minutes:seconds.
[[nodiscard]] std::string elapsed(int64_t seconds);

/// The share of the processor over a lifetime, in percent with one decimal.
[[nodiscard]] std::string cpuPercent(double usedSeconds, double lifetimeSeconds);

} // namespace VintrelCore::ProcText
