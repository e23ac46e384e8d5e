#pragma once

#include "Vintrel/shell/LoginItem.h"
#include "Vintrel/shell/linux/DesktopEntry.h"

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Vintrel {

/// The start at login by an entry in the desktop's autostart folders. The environment and the files are read
/// again for every question.
///
/// The user's own entry counts before one for all users. What others have put into it stays.
class Autostart : public LoginItem {
public:
    static constexpr std::string_view fileName = "dev.vintrel.Vintrel.desktop";

    /// The absolute path of what is to be started.
    explicit Autostart(std::string program);

    [[nodiscard]] bool isEnabled() const override;

    /// False, with nothing changed, when a file cannot be read or written, when the program is not there, and
    /// when somebody's conditions in the entry keep it from this desktop.
    bool setEnabled(bool isEnabled) override;

    /// What decides whether an entry is in effect.
    struct Surroundings {
        std::vector<std::string> desktops; ///< the names of the present desktop, best first
        std::vector<std::string> programs; ///< the folders that programs are looked for in

        [[nodiscard]] static Surroundings present();
    };

    /// Whether a desktop would start what the entry names.
    [[nodiscard]] static bool isInEffect(const DesktopEntry& entry, const Surroundings& surroundings);

    /// The user's entry that starts the program, made from what is there now; "" for none yet. Absent for a
    /// program that no entry can name.
    [[nodiscard]] static std::optional<std::string> enabling(std::string_view entry,
                                                             std::string_view program);

    /// The user's entry that starts nothing; absent where none is needed at all. `hidesAnother`: there is one
    /// for all users.
    [[nodiscard]] static std::optional<std::string> disabling(std::string_view entry,
                                                              std::string_view program, bool hidesAnother);

private:
    std::string m_program;
};

} // namespace Vintrel
