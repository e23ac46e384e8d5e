#pragma once

#include "VintrelCore/base/UnicodeText.h"
#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/context/PortRegistry.h"
#include "VintrelCore/model/ProcessItem.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// What the list of strays shows of candidates, and in which order. No state.
namespace Vintrel::StrayList {

using Item = VintrelCore::ProcessItem;
using Items = std::vector<Item>;
using Ports = std::unordered_map<int32_t, VintrelCore::PortRegistry::PortSet>;
using Cwds = VintrelCore::CwdResolver::CwdMap;

/// Whose process it is: the user's own label, or else the project, or else what runs.
[[nodiscard]] std::string rowDescriptor(const Item& item, const Cwds& cwds);

/// The ports of a row: the process's own and those of what is folded into it.
[[nodiscard]] VintrelCore::PortRegistry::PortSet portsOf(const Item& item, const Ports& listeningPorts);

/// A search text, prepared once. White space around it does not count.
class Filter {
public:
    explicit Filter(std::string_view text);

    /// Whether there is nothing to look for; every item matches then.
    [[nodiscard]] bool isEmpty() const { return m_text.empty(); }

    /// Whether the item's command or descriptor contains the text, case disregarded, or one of its ports
    /// does.
    [[nodiscard]] bool matches(const Item& item, const Cwds& cwds, const Ports& listeningPorts) const;

private:
    std::string m_text;
    VintrelCore::UnicodeText::Needle m_needle;
};

/// The items of one kind; never none.
struct Group {
    VintrelCore::ProcessKind kind = VintrelCore::ProcessKind::custom;
    Items items{};
};

/// Groups in the order in which kinds are declared; in each, items by descriptor, as the user's locale orders
/// texts with case disregarded, and then by pid.
[[nodiscard]] std::vector<Group> grouped(std::span<const Item> items, const Cwds& cwds);

/// Whether a group starts collapsed: something in it is risky to end.
[[nodiscard]] bool startsCollapsed(const Group& group);

/// An age in its largest unit: "59s", "59m", "23h", "1d".
[[nodiscard]] std::string ageString(double seconds);

/// A share of a processor: "0.3%".
[[nodiscard]] std::string cpuText(double percent);

} // namespace Vintrel::StrayList
