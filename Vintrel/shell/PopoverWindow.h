#pragma once

#include <QWidget>

namespace Vintrel {

class MenuBarView;

/// The window around the popover's content: of one width, and as tall as the content as long as that fits.
class PopoverWindow : public QWidget {
    Q_OBJECT

public:
    /// Takes the content over.
    explicit PopoverWindow(MenuBarView* content);

    /// Shows it and brings it to the front.
    void present();

protected:
    bool event(QEvent* event) override;

private:
    void fit();

    MenuBarView* m_content;
};

} // namespace Vintrel
