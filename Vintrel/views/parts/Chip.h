#pragma once

#include <QString>
#include <QWidget>

namespace Vintrel {

/// A short text on a lightly tinted ground. Too long a text takes several lines.
class Chip : public QWidget {
    Q_OBJECT

public:
    enum class Tint {
        neutral,
        accent, ///< the accent at an opacity of 12 %
    };

    Chip(const QString& text, Tint tint, QWidget* parent);

    [[nodiscard]] const QString& text() const { return m_text; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

    [[nodiscard]] bool hasHeightForWidth() const override { return true; }

    [[nodiscard]] int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_text;
    Tint m_tint;
};

} // namespace Vintrel
