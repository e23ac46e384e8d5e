#pragma once

namespace Vintrel {

/// Whether the application starts when the user logs in. The desktop keeps that, not the program's settings,
/// and its user may change it elsewhere: ask again instead of remembering.
class LoginItem {
public:
    LoginItem() = default;
    LoginItem(const LoginItem&) = delete;
    LoginItem& operator=(const LoginItem&) = delete;
    virtual ~LoginItem() = default;

    [[nodiscard]] virtual bool isEnabled() const = 0;

    /// False when it could not be changed; `isEnabled` then tells what holds.
    [[nodiscard]] virtual bool setEnabled(bool isEnabled) = 0;
};

} // namespace Vintrel
