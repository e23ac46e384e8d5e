#include "Vintrel/shell/LoginItem.h"

#include "Vintrel/shell/Desktop.h"

#include <memory>

namespace Vintrel::Desktop {

namespace {

/// Registering takes this system's own framework, which nothing here calls: it can never be enabled.
class NoLoginItem : public LoginItem {
public:
    [[nodiscard]] bool isEnabled() const override { return false; }

    bool setEnabled(bool /*isEnabled*/) override { return false; }
};

} // namespace

std::unique_ptr<LoginItem> makeLoginItem() {
    return std::make_unique<NoLoginItem>();
}

} // namespace Vintrel::Desktop
