#include "Vintrel/shell/Intents.h"

#include "Vintrel/engine/ScanEngine.h"
#include "VintrelCore/base/Text.h"

#include <algorithm>

namespace Vintrel {

namespace Text = VintrelCore::Text;

void ScanNowIntent::perform(ScanEngine& engine, const OnDialog& onDialog) {
    engine.scan();
    onDialog("Rescanning for strays.");
}

void CleanSafeStraysIntent::perform(ScanEngine& engine, const OnDialog& onDialog) {
    engine.cleanAllSafe([&engine, onDialog](const CleanSummary& summary) {
        if (summary.requested > 0) {
            onDialog("Cleaned " + std::to_string(summary.cleaned) + " of " +
                     std::to_string(summary.requested));
            return;
        }
        // Whoever is told that nothing can be cleaned takes it for a fact about the processes.
        const auto reason = engine.reasonNotToClean();
        onDialog(reason ? "Nothing was cleaned: " + *reason : "No unprotected safe-to-clean processes.");
    });
}

namespace {

constexpr auto shortcuts = std::to_array<AppShortcut>({
    {.identifier = "clean-safe-strays",
     .title = CleanSafeStraysIntent::title,
     .phrases = {"Clean safe strays with ", "Clean strays with "},
     .shortTitle = "Clean Safe Strays",
     .symbol = "trash",
     .icon = "user-trash-symbolic",
     .perform = &CleanSafeStraysIntent::perform},
    {.identifier = "scan-now",
     .title = ScanNowIntent::title,
     .phrases = {"Scan now with ", "Rescan with "},
     .shortTitle = "Scan Now",
     .symbol = "arrow.clockwise",
     .icon = "view-refresh-symbolic",
     .perform = &ScanNowIntent::perform},
});

/// In lower case, with one blank between words. The phrases are ASCII, so nothing else can match.
std::string normalised(std::string_view text) {
    std::string words;
    for (const char character : Text::asciiLowered(text)) {
        const bool isBlank = character == ' ' || (character >= '\t' && character <= '\r');
        if (!isBlank) {
            words += character;
        } else if (!words.empty() && words.back() != ' ') {
            words += ' ';
        }
    }
    if (words.ends_with(' ')) {
        words.pop_back();
    }
    return words;
}

VintrelShortcuts::Match matchOf(std::string_view phrase, std::string_view typed) {
    // "scan" and "clean" look for other programs; "rescan" and "clean s" hardly do.
    constexpr size_t shortest = 6;
    if (typed.size() < shortest || !phrase.starts_with(typed)) {
        return VintrelShortcuts::Match::none;
    }
    return typed.size() == phrase.size() ? VintrelShortcuts::Match::whole
                                         : VintrelShortcuts::Match::beginning;
}

} // namespace

std::array<std::string, 2> AppShortcut::spokenPhrases() const {
    std::array<std::string, 2> spoken;
    std::ranges::transform(phrases, spoken.begin(), [](std::string_view phrase) {
        return std::string(phrase) + std::string(VintrelShortcuts::applicationName);
    });
    return spoken;
}

namespace VintrelShortcuts {

std::span<const AppShortcut> appShortcuts() {
    return shortcuts;
}

const AppShortcut* find(std::string_view identifier) {
    const auto* const found = std::ranges::find(shortcuts, identifier, &AppShortcut::identifier);
    return found != shortcuts.end() ? found : nullptr;
}

Match match(const AppShortcut& shortcut, std::string_view typed) {
    const std::string words = normalised(typed);
    Match best = Match::none;
    for (const std::string& phrase : shortcut.spokenPhrases()) {
        best = std::max(best, matchOf(normalised(phrase), words));
    }
    return best;
}

std::optional<std::string> matchingPhrase(const AppShortcut& shortcut, std::string_view typed) {
    const std::string words = normalised(typed);
    for (std::string& phrase : shortcut.spokenPhrases()) {
        if (matchOf(normalised(phrase), words) != Match::none) {
            return std::move(phrase);
        }
    }
    return std::nullopt;
}

} // namespace VintrelShortcuts

} // namespace Vintrel
