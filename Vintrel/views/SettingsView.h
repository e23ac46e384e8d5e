#pragma once

#include "Vintrel/engine/EngineField.h"
#include "VintrelCore/model/ProcessKind.h"

#include <map>

#include <QWidget>

class QVBoxLayout;

namespace Vintrel {

class ListEditor;
class LoginItem;
class ScanEngine;
class SettingsSection;
class StepperRow;
class TextLabel;
class ToggleRow;

/// The settings, as a form of sections. Every change applies at once.
class SettingsView : public QWidget {
    Q_OBJECT

public:
    /// Both must outlive the view.
    SettingsView(ScanEngine& engine, LoginItem& loginItem, QWidget* parent);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void showEvent(QShowEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    [[nodiscard]] SettingsSection* addSection(const QString& title);
    void addStartup();
    void addNotifications();
    void addAutoScan();
    void addKinds();
    void addIgnored();
    void addProtected();
    void addRules();
    void addVersion();
    void follow(EngineField field);
    void showLoginItem();
    void showKinds();
    void showProblem();
    void showAll();

    ScanEngine& m_engine;
    LoginItem& m_loginItem;
    QVBoxLayout* m_sections = nullptr;
    TextLabel* m_problem = nullptr;
    ToggleRow* m_launchAtLogin = nullptr;
    ToggleRow* m_alerts = nullptr;
    StepperRow* m_interval = nullptr;
    StepperRow* m_threshold = nullptr;
    std::map<VintrelCore::ProcessKind, ToggleRow*> m_kinds;
    ListEditor* m_ignored = nullptr;
    ListEditor* m_protected = nullptr;
    ListEditor* m_rules = nullptr;
};

} // namespace Vintrel
