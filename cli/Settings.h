#pragma once

#include "VintrelCore/scan/ScanRules.h"

#include <optional>
#include <string>

/// The user's settings, as far as the command line goes by them.
struct Settings {
    VintrelCore::ScanRules rules{};
    /// Why the stored ones could not be had, in a sentence for people; the rules are then the defaults.
    std::optional<std::string> problem{};

    [[nodiscard]] static Settings load();

    /// Says on standard error when defaults stand in for what is stored.
    void complainAboutDefaults() const;
};
