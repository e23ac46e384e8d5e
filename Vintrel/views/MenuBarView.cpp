#include "Vintrel/views/MenuBarView.h"

#include "Vintrel/engine/ScanEngine.h"
#include "Vintrel/views/CleanedView.h"
#include "Vintrel/views/StraysView.h"
#include "Vintrel/views/parts/IconButton.h"
#include "Vintrel/views/parts/TabPicker.h"
#include "Vintrel/views/parts/TextLabel.h"
#include "Vintrel/views/parts/Theme.h"

#include <utility>

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QShortcut>
#include <QTimer>
#include <QVBoxLayout>

namespace Vintrel {

namespace {

constexpr int margin = 12;

} // namespace

MenuBarView::MenuBarView(ScanEngine& engine, FileBrowser& fileBrowser, std::function<void()> openSettings,
                         ContainerSources containerSources, QWidget* parent)
    : QWidget(parent), m_engine(engine), m_strays(engine, fileBrowser) {
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 10, 0, 0);
    layout->setSpacing(8);
    addHeader(*layout, std::move(openSettings));
    addTabs(*layout, std::move(containerSources));
    selectTab(Tab::processes);
    auto* const find = new QShortcut(QKeySequence::Find, this);
    connect(find, &QShortcut::activated, this, [this] {
        selectTab(Tab::processes);
        m_straysView->focusFilter();
    });
    connect(&m_engine, &ScanEngine::changed, this, [this](EngineField field) {
        if (field == EngineField::isScanning) {
            displayRefreshButton();
        }
    });
}

void MenuBarView::addHeader(QLayout& layout, std::function<void()> openSettings) {
    auto* const header = new QWidget(this);
    auto* const row = new QHBoxLayout(header);
    row->setContentsMargins(0, 0, 0,
                            0); // margins are not mirrored where writing goes to the left; spaces are
    row->setSpacing(0);
    row->addSpacing(margin + 4);
    row->addWidget(
        new TextLabel(tr("Vintrel"), {.size = TextSize::title, .weight = TextWeight::bold}, header), 1);
    m_refresh = new IconButton(QStringLiteral("arrow.clockwise"), {}, header);
    auto* const settings = new IconButton(QStringLiteral("gearshape"), tr("Settings"), header);
    auto* const quit = new IconButton(QStringLiteral("power"), tr("Quit Vintrel"), header);
    for (IconButton* const button : {m_refresh, settings, quit}) {
        row->addWidget(button);
    }
    row->addSpacing(margin - 4);
    connect(m_refresh, &QAbstractButton::clicked, this, &MenuBarView::refreshTab);
    connect(settings, &QAbstractButton::clicked, this, [open = std::move(openSettings)] { open(); });
    connect(quit, &QAbstractButton::clicked, QCoreApplication::instance(), &QCoreApplication::quit);
    layout.addWidget(header);
}

void MenuBarView::addTabs(QLayout& layout, ContainerSources containerSources) {
    m_tabs = new TabPicker({tr("Processes"), tr("Containers"), tr("Cleaned")}, this);
    auto* const track = new QHBoxLayout;
    track->setContentsMargins(margin, 0, margin, 0);
    track->addWidget(m_tabs);
    auto& column = static_cast<QVBoxLayout&>(layout);
    column.addLayout(track);
    m_straysView = new StraysView(m_strays, this);
    m_containersView = new ContainersView(m_engine, std::move(containerSources), this);
    m_cleanedView = new CleanedView(m_engine.cleanLog(), this);
    for (QWidget* const page :
         std::initializer_list<QWidget*>{m_straysView, m_containersView, m_cleanedView}) {
        column.addWidget(page, 1);
    }
    connect(m_tabs, &QTabBar::currentChanged, this,
            [this](int index) { selectTab(static_cast<Tab>(index)); });
}

void MenuBarView::selectTab(Tab tab) {
    m_selectedTab = tab;
    m_tabs->setCurrentIndex(static_cast<int>(tab));
    m_straysView->setVisible(tab == Tab::processes);
    m_containersView->setVisible(tab == Tab::containers);
    m_cleanedView->setVisible(tab == Tab::cleaned);
    displayRefreshButton();
}

void MenuBarView::refreshTab() {
    switch (m_selectedTab) {
    case Tab::processes:
        m_strays.rescan();
        break;
    case Tab::containers:
        m_containersView->setRefreshToken(++m_containerRefreshToken);
        break;
    case Tab::cleaned:
        break;
    }
}

/// It stays where it is and keeps the focus while a scan runs, but looks different and says so.
void MenuBarView::displayRefreshButton() {
    const bool isScanning = m_selectedTab == Tab::processes && m_engine.isScanning();
    m_refresh->setSymbolName(isScanning ? QStringLiteral("arrow.2.circlepath")
                                        : QStringLiteral("arrow.clockwise"));
    m_refresh->setAccessibleDescription(isScanning ? tr("Scanning…") : QString());
    switch (m_selectedTab) {
    case Tab::processes:
        m_refresh->setHelp(tr("Rescan (restores hidden items)"));
        break;
    case Tab::containers:
        m_refresh->setHelp(tr("Refresh containers"));
        break;
    case Tab::cleaned:
        m_refresh->setHelp(tr("Nothing to refresh"));
        break;
    }
}

void MenuBarView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!event->spontaneous()) { // and not when it was only hidden behind something
        // Not yet: the desktop's leave to come to the front is taken up once the window is shown, and goes
        // through the environment, which scans copy.
        QTimer::singleShot(0, this, [this] { m_engine.scan(); });
    }
}

void MenuBarView::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Escape) {
        QWidget::keyPressEvent(event);
    } else if (m_selectedTab != Tab::processes || !m_straysView->clearFilter()) {
        emit closeRequested();
    }
}

void MenuBarView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), Theme::current().background);
}

} // namespace Vintrel
