#pragma once

#include "Vintrel/shell/AppDelegate.h"

#include <QObject>

class QSessionManager;

namespace Vintrel {

struct StartRequest;

/// The running application: the delegate, and when the program shows and ends itself unasked.
class VintrelApp : public QObject {
public:
    /// There has to be an application object.
    explicit VintrelApp(AppDelegate::Services services, ScanSources sources = {},
                        ContainerSources containerSources = {});

    [[nodiscard]] AppDelegate& appDelegate() { return m_appDelegate; }

    /// How the program was started decides how it goes on.
    void follow(const StartRequest& request);

private:
    void showWithoutTray();
    void followLastWindow();
    void endWithoutTray();

    AppDelegate m_appDelegate;
    bool m_showsWithoutTray = false; ///< there has to be something to see
    bool m_endsWithWindow = false;   ///< it was started for its window
    bool m_isToEnd = false;          ///< unless there turns out to be a tray
};

} // namespace Vintrel
