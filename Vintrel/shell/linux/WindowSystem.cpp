#include "Vintrel/shell/Desktop.h"
#include "Vintrel/shell/linux/ActivationToken.h"

#include <cstdlib>
#include <memory>

#include <QGuiApplication>
#include <QWidget>

#include <xcb/xcb.h>

namespace Vintrel::Desktop {

namespace {

/// What xcb hands out has to be freed by the C library.
struct Freeing {
    void operator()(void* memory) const { std::free(memory); }
};

template <typename Reply>
using Owned = std::unique_ptr<Reply, Freeing>;

/// The connection to the X server; null where there is none.
xcb_connection_t* xServer() {
    auto* const application = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    const auto* const x11 =
        application != nullptr ? application->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 != nullptr ? x11->connection() : nullptr;
}

xcb_atom_t atomOf(xcb_connection_t* server, const QByteArray& name) {
    const auto asked = xcb_intern_atom(server, 0, static_cast<uint16_t>(name.size()), name.constData());
    const Owned<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(server, asked, nullptr));
    return atom ? atom->atom : xcb_atom_t{XCB_ATOM_NONE};
}

/// Asks the window manager in the user's name. The toolkit asks in the program's, which is often refused: its
/// last click or key was long ago, if there was any, as those on the panel are the panel's. Source: Extended
/// Window Manager Hints, "_NET_ACTIVE_WINDOW".
void askForActivation(xcb_connection_t* server, xcb_window_t window) {
    constexpr uint32_t inTheUsersName = 2;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atomOf(server, "_NET_ACTIVE_WINDOW");
    message.data.data32[0] = inTheUsersName;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(server)).data->root;
    xcb_send_event(server, 0, root, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(server);
}

} // namespace

bool canPlaceWindows() {
    return !QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

/// Whoever composites owns a selection. Source: Extended Window Manager Hints, "_NET_WM_CM_Sn".
bool isCompositing() {
    xcb_connection_t* const server = xServer();
    if (server == nullptr) {
        return false;
    }
    const auto asked = xcb_get_selection_owner(server, atomOf(server, "_NET_WM_CM_S0"));
    const Owned<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(server, asked, nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

void present(QWidget& window, const QString& activationToken) {
    const ActivationToken token(activationToken);
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
    if (xcb_connection_t* const server = xServer()) {
        askForActivation(server, static_cast<xcb_window_t>(window.winId()));
    }
}

} // namespace Vintrel::Desktop
