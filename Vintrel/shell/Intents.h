#pragma once

#include <array>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Vintrel {

class ScanEngine;

/// Hears what an intent answers, in words: once, and not at all when the engine is gone before.
using OnDialog = std::function<void(const std::string& dialog)>;

/// Looks for strays again. Answers at once; the results come later.
struct ScanNowIntent {
    static constexpr std::string_view title = "Scan Now";
    static void perform(ScanEngine& engine, const OnDialog& onDialog);
};

/// Ends what "Clean all" ends, and answers when that is done.
struct CleanSafeStraysIntent {
    static constexpr std::string_view title = "Clean Safe Strays";
    static void perform(ScanEngine& engine, const OnDialog& onDialog);
};

/// An intent as the desktop offers it.
struct AppShortcut {
    std::string_view identifier; ///< what machines call it by: desktop actions, search results, shortcuts
    std::string_view title;
    std::array<std::string_view, 2> phrases; ///< each without the application's name at its end
    std::string_view shortTitle;
    std::string_view symbol; ///< one of this program's
    std::string_view icon;   ///< the desktop's icon that is nearest to the symbol
    void (*perform)(ScanEngine& engine, const OnDialog& onDialog);

    /// The phrases in full.
    [[nodiscard]] std::array<std::string, 2> spokenPhrases() const;
};

/// The shortcuts, and how they are found.
namespace VintrelShortcuts {

inline constexpr std::string_view applicationName = "Vintrel";

/// In the order in which they are offered.
[[nodiscard]] std::span<const AppShortcut> appShortcuts();

/// nullptr when there is none of that identifier.
[[nodiscard]] const AppShortcut* find(std::string_view identifier);

/// How well a typed text fits.
enum class Match { none, beginning, whole };

/// Whether the text is one of the shortcut's phrases, or the beginning of one that is too long to be just any
/// word. Letter case and the amount of white space do not matter.
[[nodiscard]] Match match(const AppShortcut& shortcut, std::string_view typed);

/// The phrase that the text fits; absent when it fits none.
[[nodiscard]] std::optional<std::string> matchingPhrase(const AppShortcut& shortcut, std::string_view typed);

} // namespace VintrelShortcuts

} // namespace Vintrel
