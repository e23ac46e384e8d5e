#pragma once

#include "VintrelCore/scan/CustomRule.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Lists of settings as people edit them: one entry a line. No state.
namespace Vintrel::TextLists {

[[nodiscard]] std::string text(std::span<const std::string> entries);

/// Each line without the white space around it; empty lines are dropped.
[[nodiscard]] std::vector<std::string> entries(std::string_view text);

[[nodiscard]] std::string text(std::span<const VintrelCore::CustomRule> rules);

/// Lines that are no rule are dropped.
[[nodiscard]] std::vector<VintrelCore::CustomRule> customRules(std::string_view text);

} // namespace Vintrel::TextLists
