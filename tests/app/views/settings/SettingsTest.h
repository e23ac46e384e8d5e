#pragma once

#include "Vintrel/engine/ScanEngine.h"
#include "Vintrel/shell/LoginItem.h"
#include "Vintrel/views/SettingsView.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/PreparedSources.h"
#include "tests/app/support/ViewTest.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QAbstractButton>
#include <QApplication>
#include <QPlainTextEdit>
#include <QSettings>
#include <QString>
#include <QTest>
#include <gtest/gtest.h>

namespace Vintrel {

using VintrelTests::spinFor;
using VintrelTests::spinUntil;
using Texts = std::vector<std::string>;

/// A start at login that changes as asked, or refuses.
class PreparedLoginItem : public LoginItem {
public:
    bool isOn = false;
    bool refuses = false;
    std::vector<bool> orders;

    [[nodiscard]] bool isEnabled() const override { return isOn; }

    bool setEnabled(bool isEnabled) override {
        orders.push_back(isEnabled);
        if (!refuses) {
            isOn = isEnabled;
        }
        return !refuses;
    }
};

/// The settings over a real engine, both made when they are first asked for.
class SettingsTest : public VintrelTests::ViewTest {
protected:
    ScanEngine& engine() {
        if (!m_engine) {
            m_engine = std::make_unique<ScanEngine>(notifications, world.sources());
        }
        return *m_engine;
    }

    SettingsView& view() {
        if (!m_view) {
            m_view = std::make_unique<SettingsView>(engine(), loginItem, nullptr);
            m_view->resize(m_view->sizeHint());
        }
        return *m_view;
    }

    /// The same on the screen, with the keyboard.
    SettingsView& shown() {
        view().show();
        view().activateWindow();
        EXPECT_TRUE(spinUntil([this] { return view().isActiveWindow(); }));
        return view();
    }

    /// The one control with this name, as a screen reader finds it.
    template <typename Control = QWidget>
    Control* named(const QString& name) {
        Control* found = nullptr;
        for (Control* const control : view().findChildren<Control*>()) {
            if (control->accessibleName() == name && control->focusPolicy() != Qt::NoFocus) {
                EXPECT_EQ(found, nullptr) << "two of the name " << name.toStdString();
                found = control;
            }
        }
        if (found == nullptr) {
            throw std::runtime_error("no control of the name " + name.toStdString());
        }
        return found;
    }

    QAbstractButton* button(const char* name) { return named<QAbstractButton>(QString::fromUtf8(name)); }

    QPlainTextEdit* editor(const char* name) { return named<QPlainTextEdit>(QString::fromUtf8(name)); }

    /// Whether a text stands somewhere in the view, exactly so and to be seen.
    bool says(const QString& text) {
        for (const QWidget* const widget : view().findChildren<QWidget*>()) {
            if (widget->accessibleName() == text && widget->focusPolicy() == Qt::NoFocus &&
                !widget->isHidden()) {
                return true;
            }
        }
        return false;
    }

    void store(const std::function<void(QSettings&)>& setValues) const { settings().fill(setValues); }

    [[nodiscard]] static Preferences stored() { return Preferences::load().values; }

    VintrelTests::PreparedSources world;
    VintrelTests::RecordingNotifications notifications;
    PreparedLoginItem loginItem;

private:
    std::unique_ptr<ScanEngine> m_engine;
    std::unique_ptr<SettingsView> m_view;
};

} // namespace Vintrel
