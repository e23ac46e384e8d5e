#pragma once

#include "Vintrel/engine/UserNotifications.h"
#include "Vintrel/shell/Appearance.h"
#include "Vintrel/shell/ApplicationInstance.h"
#include "Vintrel/shell/FileBrowser.h"
#include "Vintrel/shell/LoginItem.h"
#include "Vintrel/shell/StatusItem.h"
#include "Vintrel/views/parts/Theme.h"

#include <memory>

class QWidget;

namespace Vintrel {

class ApplicationRequests;

} // namespace Vintrel

/// What each desktop does in its own way.
namespace Vintrel::Desktop {

[[nodiscard]] std::unique_ptr<UserNotifications> makeUserNotifications();
[[nodiscard]] std::unique_ptr<FileBrowser> makeFileBrowser();
[[nodiscard]] std::unique_ptr<LoginItem> makeLoginItem();
[[nodiscard]] std::unique_ptr<Appearance> makeAppearance();

/// The appearance must outlive it.
[[nodiscard]] std::unique_ptr<StatusItem> makeStatusItem(const Appearance& appearance);

/// What the panel looks like, as far as the desktop and its user's wishes tell.
[[nodiscard]] PanelScheme panelScheme(const AppearanceSettings& settings);

/// Which of the toolkit's plug-ins for desktops is used. To be called before there is an application object.
void choosePlatformTheme();

/// Returns memory that is free for use again to the system: a freed thousand rows leave megabytes in the
/// heap.
void giveMemoryBack();

/// Whether there is a screen to show anything on.
[[nodiscard]] bool hasGraphicalSession();

/// Hands a request to the instance that runs already. Needs no application object, and is quick.
[[nodiscard]] Handover handOver(const StartRequest& request);

/// `requests` must outlive it.
[[nodiscard]] std::unique_ptr<ApplicationInstance> makeApplicationInstance(ApplicationRequests& requests);

/// Whether a program may say where on the screen its windows stand. Where it may not, a popover is a window
/// like any other.
[[nodiscard]] bool canPlaceWindows();

/// Whether windows may have transparent corners.
[[nodiscard]] bool isCompositing();

/// Shows a window, brings it to the front and gives it the keyboard, because of something that the user has
/// done. `activationToken` came with that; it may be empty.
void present(QWidget& window, const QString& activationToken);

} // namespace Vintrel::Desktop
