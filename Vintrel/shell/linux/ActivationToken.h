#pragma once

#include <QString>

namespace Vintrel {

/// The desktop's leave to bring a window to the front, which came with a click or a key press elsewhere.
/// While it lives, a window that is shown makes use of it. Matters under Wayland alone.
class ActivationToken {
public:
    explicit ActivationToken(const QString& token);
    ActivationToken(const ActivationToken&) = delete;
    ActivationToken& operator=(const ActivationToken&) = delete;
    ~ActivationToken();

private:
    bool m_isSet = false;
};

} // namespace Vintrel
