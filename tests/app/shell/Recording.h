#pragma once

#include "Vintrel/shell/Appearance.h"
#include "Vintrel/shell/FileBrowser.h"
#include "Vintrel/shell/LoginItem.h"
#include "Vintrel/shell/StatusItem.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Vintrel {

/// A status item that nobody sees.
class RecordingStatusItem : public StatusItem {
public:
    std::vector<StatusIcon::Look> looks;
    int pulses = 0;
    std::optional<QRect> place;

    /// As if that tray had come or gone.
    void setPresence(Presence presence) {
        m_presence = presence;
        emit presenceChanged();
    }

    void setLook(const StatusIcon::Look& look) override {
        if (looks.empty() || looks.back() != look) {
            looks.push_back(look);
        }
    }

    void pulse() override { ++pulses; }

    [[nodiscard]] std::optional<QRect> geometry() const override { return place; }

    [[nodiscard]] Presence presence() const override { return m_presence; }

private:
    Presence m_presence = Presence::shown;
};

/// Wishes that the test changes.
class PreparedAppearance : public Appearance {
public:
    [[nodiscard]] const AppearanceSettings& settings() const override { return m_settings; }

    void change(AppearanceSettings settings) {
        m_settings = std::move(settings);
        emit changed();
    }

private:
    AppearanceSettings m_settings;
};

class NoFileBrowser : public FileBrowser {
public:
    [[nodiscard]] QString revealLabel() const override { return QStringLiteral("Reveal"); }

    void reveal(const std::string& /*folder*/) override {}
};

class NoLoginItem : public LoginItem {
public:
    [[nodiscard]] bool isEnabled() const override { return false; }

    bool setEnabled(bool /*isEnabled*/) override { return false; }
};

} // namespace Vintrel
