#include "tests/desktop/tray/Pixels.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

#include <xcb/xcb.h>

namespace VintrelTests {

/// A connection to a screen.
struct XServer {
    explicit XServer(const std::string& display) : connection(xcb_connect(display.c_str(), nullptr)) {
        if (xcb_connection_has_error(connection) != 0) {
            throw std::runtime_error("no screen at " + display);
        }
    }

    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    ~XServer() { xcb_disconnect(connection); }

    [[nodiscard]] const xcb_screen_t& screen() const {
        return *xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    }

    xcb_connection_t* connection;
};

namespace {

struct Freeing {
    void operator()(void* memory) const { std::free(memory); }
};

} // namespace

std::optional<QRect> findColor(const std::string& display, const QColor& color) {
    const XServer server(display);
    const xcb_screen_t& screen = server.screen();
    const auto asked = xcb_get_image(server.connection, XCB_IMAGE_FORMAT_Z_PIXMAP, screen.root, 0, 0,
                                     screen.width_in_pixels, screen.height_in_pixels, ~uint32_t{0});
    const std::unique_ptr<xcb_get_image_reply_t, Freeing> image(
        xcb_get_image_reply(server.connection, asked, nullptr));
    if (!image || xcb_get_image_data_length(image.get()) !=
                      4 * int{screen.width_in_pixels} * int{screen.height_in_pixels}) {
        throw std::runtime_error("no picture of the screen");
    }
    const uint8_t* pixel = xcb_get_image_data(image.get());
    const uint32_t wanted = color.rgb() & 0xffffffU;
    QRect found;
    for (int y = 0; y < screen.height_in_pixels; ++y) {
        for (int x = 0; x < screen.width_in_pixels; ++x, pixel += 4) {
            uint32_t value = 0;
            std::memcpy(&value, pixel, sizeof value);
            if ((value & 0xffffffU) == wanted) {
                found |= QRect(x, y, 1, 1);
            }
        }
    }
    return found.isEmpty() ? std::nullopt : std::optional(found);
}

OtherWindow::OtherWindow(const std::string& display, const QRect& place)
    : m_server(std::make_unique<XServer>(display)) {
    const xcb_screen_t& screen = m_server->screen();
    const xcb_window_t window = xcb_generate_id(m_server->connection);
    xcb_create_window(m_server->connection, XCB_COPY_FROM_PARENT, window, screen.root,
                      static_cast<int16_t>(place.x()), static_cast<int16_t>(place.y()),
                      static_cast<uint16_t>(place.width()), static_cast<uint16_t>(place.height()), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual, 0, nullptr);
    xcb_map_window(m_server->connection, window);
    xcb_flush(m_server->connection);
}

OtherWindow::~OtherWindow() = default;

} // namespace VintrelTests
