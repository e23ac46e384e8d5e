#pragma once

#include <optional>

#include <QString>

/// What the status icon says. Functions over plain values; painting it is a matter of its own.
namespace Vintrel::StatusIcon {

/// What is known about the strays.
struct State {
    bool isScanning = false;
    bool hasScanned = true; ///< false before the first scan, when nothing found means nothing yet
    int safe = 0;           ///< how many are safe to clean
    int review = 0;         ///< how many need review
    QString version{};      ///< the program's
};

/// The colour of the number.
enum class Tone { none, red, yellow };

/// How the icon looks, and the words that go with it.
struct Look {
    QString symbolName;
    std::optional<int> number; ///< as large as it is, however little room there is for it
    Tone tone = Tone::none;
    QString title;        ///< a blank and the number, for trays that show text beside the icon; else empty
    QString tooltipTitle; ///< the program and its version
    QString tooltip;      ///< the exact counts, in plain text

    bool operator==(const Look&) const = default;
};

/// A scan under way comes before what is safe, and that before what needs review.
[[nodiscard]] Look look(const State& state);

/// Whether the icon has to draw attention to itself: there are more strays than when it was last drawn.
[[nodiscard]] bool isPulseDue(int lastStrayCount, int strayCount);

} // namespace Vintrel::StatusIcon
