#include "cli/Settings.h"

#include "Vintrel/engine/Preferences.h"
#include "cli/Output.h"

#include <utility>

Settings Settings::load() {
    auto [values, problem] = Vintrel::Preferences::load();
    return {.rules = {.elapsedThreshold = values.elapsedThreshold,
                      .ignoredNames = std::move(values.ignoredNames),
                      .protectedProjects = std::move(values.protectedProjects),
                      .disabledKinds = std::move(values.disabledKinds),
                      .customRules = std::move(values.customRules)},
            .problem = std::move(problem)};
}

void Settings::complainAboutDefaults() const {
    if (problem) {
        Output::complain(*problem + "; using defaults");
    }
}
