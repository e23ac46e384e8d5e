#pragma once

#include "Vintrel/views/Reasoning.h"

#include <QWidget>

namespace Vintrel {

/// The card below an expanded row: why it is listed, and what it is about.
class ReasoningBlock : public QWidget {
    Q_OBJECT

public:
    explicit ReasoningBlock(QWidget* parent);

    /// Builds its lines anew only if they say something else.
    void display(const Reasoning& reasoning);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void build();

    Reasoning m_reasoning;
    bool m_isBuilt = false;
};

} // namespace Vintrel
