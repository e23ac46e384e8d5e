// The engine's settings: each is written as soon as it changes.
#include "Vintrel/engine/ScanEngine.h"

#include <cmath>
#include <utility>

#include <QPointer>

namespace Vintrel {

using namespace VintrelCore;

namespace {

bool isPeriod(double seconds) {
    return std::isfinite(seconds) && seconds > 0;
}

} // namespace

template <typename Value>
void ScanEngine::setPreference(Value& current, Value value, Preferences::Key key, Field field) {
    if (current == value) {
        return;
    }
    current = std::move(value);
    m_unsavedPreferences.insert(key);
    savePreferences();
    emit changed(field);
}

void ScanEngine::savePreferences() {
    if (m_preferences.save(m_unsavedPreferences)) {
        if (m_unsavedPreferences.contains(Preferences::Key::protectedProjects)) {
            m_settingsProblem.reset(); // what is protected is known again
        }
        m_unsavedPreferences.clear();
    }
    updateProblems();
}

void ScanEngine::setScanInterval(double seconds) {
    if (!isPeriod(seconds) || seconds == m_preferences.scanInterval) {
        return;
    }
    setPreference(m_preferences.scanInterval, seconds, Preferences::Key::scanInterval, Field::scanInterval);
    startTimer();
}

void ScanEngine::setElapsedThreshold(double seconds) {
    if (isPeriod(seconds)) {
        setPreference(m_preferences.elapsedThreshold, seconds, Preferences::Key::elapsedThreshold,
                      Field::elapsedThreshold);
    }
}

void ScanEngine::setIgnoredNames(std::vector<std::string> rules) {
    setPreference(m_preferences.ignoredNames, std::move(rules), Preferences::Key::ignoredNames,
                  Field::ignoredNames);
}

void ScanEngine::setProtectedProjects(std::vector<std::string> folders) {
    if (m_settingsProblem && folders == m_preferences.protectedProjects) { // also nothing is an answer
        m_unsavedPreferences.insert(Preferences::Key::protectedProjects);
        savePreferences();
    }
    m_protectedFolders.setEntries(folders); // what goes by them goes by the new ones at once
    setPreference(m_preferences.protectedProjects, std::move(folders), Preferences::Key::protectedProjects,
                  Field::protectedProjects);
}

void ScanEngine::setDisabledKinds(std::set<ProcessKind> kinds) {
    setPreference(m_preferences.disabledKinds, std::move(kinds), Preferences::Key::disabledKinds,
                  Field::disabledKinds);
}

void ScanEngine::setCustomRules(std::vector<CustomRule> rules) {
    setPreference(m_preferences.customRules, std::move(rules), Preferences::Key::customRules,
                  Field::customRules);
}

void ScanEngine::setNotificationsEnabled(bool isEnabled) {
    const bool isTurnedOn = isEnabled && !m_preferences.notificationsEnabled;
    setPreference(m_preferences.notificationsEnabled, isEnabled, Preferences::Key::notificationsEnabled,
                  Field::notificationsEnabled);
    if (isTurnedOn && m_preferences.notificationsEnabled) {
        requestAuthorization();
    }
}

void ScanEngine::requestAuthorization() {
    m_notifications.requestAuthorization([self = QPointer(this)](bool isGranted) {
        if (self && !isGranted) {
            self->setNotificationsEnabled(false);
        }
    });
}

} // namespace Vintrel
