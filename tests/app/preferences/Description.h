#pragma once

#include "Vintrel/engine/Preferences.h"

#include <iomanip>
#include <sstream>
#include <string>

namespace VintrelTests {

/// All values of the settings as text; different ones give different texts.
inline std::string descriptionOf(const Vintrel::Preferences& values) {
    std::ostringstream text;
    text << std::setprecision(17) << "old after " << values.elapsedThreshold << "\nscans every "
         << values.scanInterval << '\n';
    for (const std::string& name : values.ignoredNames) {
        text << "ignores " << std::quoted(name) << '\n';
    }
    for (const std::string& project : values.protectedProjects) {
        text << "protects " << std::quoted(project) << '\n';
    }
    for (const VintrelCore::ProcessKind kind : values.disabledKinds) {
        text << "leaves out " << VintrelCore::rawValue(kind) << '\n';
    }
    for (const VintrelCore::CustomRule& rule : values.customRules) {
        text << "calls " << std::quoted(rule.substring) << ' ' << std::quoted(rule.label) << '\n';
    }
    text << (values.notificationsEnabled ? "announces\n" : "is quiet\n");
    return text.str();
}

} // namespace VintrelTests
