#pragma once

#include "Vintrel/views/parts/Button.h"

#include <QString>

namespace Vintrel {

/// The header of the rows of one kind: a click collapses or expands them.
class GroupHeader : public Button {
    Q_OBJECT

public:
    GroupHeader(const QString& label, QWidget* parent);

    void display(size_t count, bool isCollapsed);

    [[nodiscard]] bool isCollapsed() const { return m_isCollapsed; }

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_label;
    size_t m_count = 0;
    bool m_isCollapsed = false;
};

} // namespace Vintrel
