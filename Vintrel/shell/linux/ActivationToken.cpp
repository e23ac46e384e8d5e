#include "Vintrel/shell/linux/ActivationToken.h"

#include "Vintrel/engine/Background.h"

#include <QGuiApplication>

namespace Vintrel {

namespace {

/// Where Qt's Wayland plugin looks for a token.
constexpr const char* variable = "XDG_ACTIVATION_TOKEN";

} // namespace

ActivationToken::ActivationToken(const QString& token) {
    const bool isUsed = QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
    // Other threads copy the environment for the tools that they start, so it must not change beneath them.
    if (isUsed && !token.isEmpty() && !Background::shared().isBusy()) {
        m_isSet = qputenv(variable, token.toUtf8());
    }
}

ActivationToken::~ActivationToken() {
    if (m_isSet && !Background::shared().isBusy()) {
        qunsetenv(variable);
    }
}

} // namespace Vintrel
