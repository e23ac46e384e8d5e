#pragma once

#include "Vintrel/views/parts/Button.h"

#include <QString>

namespace Vintrel {

/// A borderless button that shows a symbol. Its help text is its tooltip and what a screen reader says.
class IconButton : public Button {
    Q_OBJECT

public:
    enum class Tone { quiet, destructive };

    IconButton(const QString& symbolName, const QString& help, QWidget* parent, Tone tone = Tone::quiet);

    [[nodiscard]] const QString& symbolName() const { return m_symbolName; }

    void setSymbolName(const QString& name);

    /// `shortcut`, if there is one, stands behind the help text in the tooltip.
    void setHelp(const QString& help, const QString& shortcut = {});

    [[nodiscard]] QSize sizeHint() const override;

    /// The edge of every such button, in device-independent pixels.
    static constexpr int edge = 26;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_symbolName;
    Tone m_tone;
};

} // namespace Vintrel
