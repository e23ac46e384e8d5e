#pragma once

#include <functional>

#include <QCheckBox>
#include <QString>

namespace Vintrel {

/// A setting that is on or off: its label, and a switch at the end of the row. All of the row can be clicked.
class ToggleRow : public QCheckBox {
    Q_OBJECT

public:
    /// `onChoice` gets what the user chose, and not what the row was told to show.
    ToggleRow(const QString& label, std::function<void(bool isOn)> onChoice, QWidget* parent);

    /// Shows the value that holds.
    void setShown(bool isOn);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

    [[nodiscard]] bool hasHeightForWidth() const override { return true; }

    [[nodiscard]] int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    [[nodiscard]] bool hitButton(const QPoint& position) const override;

private:
    void paintSwitch(QPainter& painter, const QRect& track) const;

    QString m_label;
    bool m_isToldToShow = false;
};

} // namespace Vintrel
