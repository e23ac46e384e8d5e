#pragma once

#include "Vintrel/views/parts/TextLabel.h"

#include <QString>
#include <QWidget>

class QVBoxLayout;

namespace Vintrel {

/// A group of settings: a title, a card with a row for each, and perhaps a hint below.
class SettingsSection : public QWidget {
    Q_OBJECT

public:
    SettingsSection(const QString& title, QWidget* parent);

    /// What rows are made as children of.
    [[nodiscard]] QWidget* card() const { return m_card; }

    /// Adds a row below the others, with a hairline between them. It has to be a child of the card.
    void addRow(QWidget* row);

    /// Plain text, on as many lines as it takes.
    void addHint(const QString& text);

private:
    void addText(const QString& text, const TextLabel::Style& style);

    QVBoxLayout* m_parts;
    QWidget* m_card;
    QVBoxLayout* m_rows;
};

} // namespace Vintrel
