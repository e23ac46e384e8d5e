#pragma once

#include <memory>
#include <optional>
#include <string>

#include <QColor>
#include <QRect>

namespace VintrelTests {

/// Where on the screen that colour is to be seen: the rectangle around it. `display` is what DISPLAY has to
/// be. Absent when it is nowhere.
[[nodiscard]] std::optional<QRect> findColor(const std::string& display, const QColor& color);

struct XServer;

/// A window of another program, until the end of the scope.
class OtherWindow {
public:
    OtherWindow(const std::string& display, const QRect& place);
    OtherWindow(const OtherWindow&) = delete;
    OtherWindow& operator=(const OtherWindow&) = delete;
    ~OtherWindow();

private:
    std::unique_ptr<XServer> m_server;
};

} // namespace VintrelTests
