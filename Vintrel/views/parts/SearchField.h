#pragma once

#include <QLineEdit>

namespace Vintrel {

class IconButton;

/// A text field with a magnifying glass, and a button that empties it while there is something in it.
class SearchField : public QLineEdit {
    Q_OBJECT

public:
    SearchField(const QString& placeholder, const QString& clearHelp, QWidget* parent);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void arrange();

    IconButton* m_clear = nullptr;
};

} // namespace Vintrel
