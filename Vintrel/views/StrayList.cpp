#include "Vintrel/views/StrayList.h"

#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <system_error>
#include <utility>

#include <QCollator>
#include <QLocale>
#include <QString>

namespace Vintrel::StrayList {

namespace {

using VintrelCore::ProcessKind;

/// An item and the place of its descriptor in the user's order.
struct Sortable {
    QCollatorSortKey key;
    const Item* item;
};

QCollator userOrder() {
    const QLocale user;
    // Without a language, order by English rather than by the numbers of characters.
    QCollator collator(user.language() == QLocale::C ? QLocale(QLocale::English) : user);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

bool isBefore(const Sortable& one, const Sortable& other) {
    const int order = one.key.compare(other.key);
    return order != 0 ? order < 0 : one.item->pid < other.item->pid;
}

} // namespace

std::string rowDescriptor(const Item& item, const Cwds& cwds) {
    if (item.kind == ProcessKind::custom && item.customLabel) {
        return *item.customLabel;
    }
    const auto cwd = cwds.find(item.pid);
    return cwd != cwds.end() ? cwd->second.label : item.displayPath();
}

VintrelCore::PortRegistry::PortSet portsOf(const Item& item, const Ports& listeningPorts) {
    VintrelCore::PortRegistry::PortSet ports;
    const auto add = [&](int32_t pid) {
        const auto found = listeningPorts.find(pid);
        if (found != listeningPorts.end()) {
            ports.insert(found->second.begin(), found->second.end());
        }
    };
    add(item.pid);
    for (const auto& process : item.folded) {
        add(process.pid);
    }
    return ports;
}

Filter::Filter(std::string_view text) : m_text(VintrelCore::Text::trimmed(text)), m_needle(m_text) {}

bool Filter::matches(const Item& item, const Cwds& cwds, const Ports& listeningPorts) const {
    if (isEmpty() || m_needle.isIn(item.command) || m_needle.isIn(rowDescriptor(item, cwds))) {
        return true;
    }
    return std::ranges::any_of(portsOf(item, listeningPorts),
                               [this](int port) { return std::to_string(port).contains(m_text); });
}

std::vector<Group> grouped(std::span<const Item> items, const Cwds& cwds) {
    const QCollator order = userOrder();
    std::array<std::vector<Sortable>, VintrelCore::ProcessKinds::allCases.size()> byKind;
    for (const Item& item : items) {
        const QString descriptor = QString::fromStdString(rowDescriptor(item, cwds));
        byKind.at(static_cast<size_t>(item.kind)).push_back({order.sortKey(descriptor), &item});
    }
    std::vector<Group> groups;
    for (const ProcessKind kind : VintrelCore::ProcessKinds::allCases) {
        auto& ofKind = byKind.at(static_cast<size_t>(kind));
        if (ofKind.empty()) {
            continue;
        }
        std::ranges::sort(ofKind, isBefore);
        Group group{.kind = kind};
        for (const Sortable& sortable : ofKind) {
            group.items.push_back(*sortable.item);
        }
        groups.push_back(std::move(group));
    }
    return groups;
}

bool startsCollapsed(const Group& group) {
    return std::ranges::any_of(group.items,
                               [](const Item& item) { return item.riskTier == VintrelCore::RiskTier::high; });
}

std::string ageString(double seconds) {
    constexpr int64_t minute = 60;
    constexpr int64_t hour = 60 * minute;
    constexpr int64_t day = 24 * hour;
    constexpr double most = 1e15; // beyond it the text means nothing, and the cast little
    const auto whole = static_cast<int64_t>(std::isfinite(seconds) ? std::clamp(seconds, 0.0, most) : 0.0);
    if (whole < minute) {
        return std::to_string(whole) + "s";
    }
    if (whole < hour) {
        return std::to_string(whole / minute) + "m";
    }
    if (whole >= day) {
        return std::to_string(whole / day) + "d";
    }
    return std::to_string(whole / hour) + "h";
}

std::string cpuText(double percent) {
    std::array<char, 400> digits{}; // the largest number has 309 before the point
    const auto [end, error] =
        std::to_chars(digits.data(), digits.data() + digits.size(), percent, std::chars_format::fixed, 1);
    return (error == std::errc() ? std::string(digits.data(), end) : std::string()) + "%";
}

} // namespace Vintrel::StrayList
