#pragma once

#include <QTabBar>

namespace Vintrel {

/// A row of tabs of equal width in one track, the chosen one raised.
class TabPicker : public QTabBar {
    Q_OBJECT

public:
    TabPicker(const QStringList& names, QWidget* parent);

    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    [[nodiscard]] QSize tabSizeHint(int index) const override;
    [[nodiscard]] QSize minimumTabSizeHint(int index) const override;
    void paintEvent(QPaintEvent* event) override;
};

} // namespace Vintrel
