#pragma once

#include "Vintrel/views/ContainersView.h"
#include "Vintrel/views/StraysModel.h"

#include <array>
#include <functional>

#include <QWidget>

namespace Vintrel {

class CleanedView;
class FileBrowser;
class IconButton;
class ScanEngine;
class StraysView;
class TabPicker;

/// The content of the popover: a header, three tabs, and the chosen one of them.
class MenuBarView : public QWidget {
    Q_OBJECT

public:
    enum class Tab { processes, containers, cleaned };

    /// Engine and file browser must outlive the view. `openSettings` shows the settings.
    MenuBarView(ScanEngine& engine, FileBrowser& fileBrowser, std::function<void()> openSettings,
                ContainerSources containerSources = {}, QWidget* parent = nullptr);

    [[nodiscard]] Tab selectedTab() const { return m_selectedTab; }

    void selectTab(Tab tab);

    /// Each other value makes the containers tab ask again.
    [[nodiscard]] int containerRefreshToken() const { return m_containerRefreshToken; }

    [[nodiscard]] StraysModel& strays() { return m_strays; }

signals:
    /// The user wants it to go away.
    void closeRequested();

protected:
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void addHeader(QLayout& layout, std::function<void()> openSettings);
    void addTabs(QLayout& layout, ContainerSources containerSources);
    void refreshTab();
    void displayRefreshButton();

    ScanEngine& m_engine;
    StraysModel m_strays;
    Tab m_selectedTab = Tab::processes;
    int m_containerRefreshToken = 0;
    IconButton* m_refresh = nullptr;
    TabPicker* m_tabs = nullptr;
    StraysView* m_straysView = nullptr;
    ContainersView* m_containersView = nullptr;
    CleanedView* m_cleanedView = nullptr;
};

} // namespace Vintrel
