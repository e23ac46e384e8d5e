#include "Vintrel/shell/StatusIcon.h"

#include <QStringList>

namespace Vintrel::StatusIcon {

namespace {

QString tooltip(const State& state) {
    QStringList counts;
    if (state.safe > 0) {
        counts += QStringLiteral("%1 safe to clean").arg(state.safe);
    }
    if (state.review > 0) {
        const auto words =
            state.review == 1 ? QStringLiteral("%1 needs review") : QStringLiteral("%1 need review");
        counts += words.arg(state.review);
    }
    if (state.isScanning) {
        counts += QStringLiteral("scanning…");
    } else if (counts.empty()) {
        counts += state.hasScanned ? QStringLiteral("no stray processes") : QStringLiteral("not scanned yet");
    }
    QString sentence = counts.join(QStringLiteral(", "));
    sentence[0] = sentence[0].toUpper();
    return sentence;
}

} // namespace

Look look(const State& state) {
    Look look{.symbolName = QStringLiteral("cpu"),
              .number = std::nullopt,
              .tone = Tone::none,
              .title = {},
              .tooltipTitle = state.version.isEmpty() ? QStringLiteral("Vintrel")
                                                      : QStringLiteral("Vintrel %1").arg(state.version),
              .tooltip = tooltip(state)};
    if (state.isScanning) {
        look.symbolName = QStringLiteral("arrow.2.circlepath");
    } else if (state.safe > 0 || state.review > 0) {
        const bool isSafe = state.safe > 0;
        const int number = isSafe ? state.safe : state.review;
        look.symbolName = QStringLiteral("cpu.fill");
        look.number = number;
        look.tone = isSafe ? Tone::red : Tone::yellow;
        look.title = QStringLiteral(" %1").arg(number);
    }
    return look;
}

bool isPulseDue(int lastStrayCount, int strayCount) {
    return lastStrayCount < strayCount;
}

} // namespace Vintrel::StatusIcon
