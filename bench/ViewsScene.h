#pragma once

#include "Vintrel/engine/ScanEngine.h"
#include "Vintrel/shell/FileBrowser.h"
#include "Vintrel/shell/PopoverWindow.h"
#include "Vintrel/views/MenuBarView.h"
#include "Vintrel/views/StrayListView.h"
#include "bench/FrameWatch.h"

#include <cstddef>
#include <memory>
#include <set>
#include <vector>

#include <QLineEdit>
#include <QTemporaryDir>

namespace Bench {

/// A home and settings that nobody else uses. To be made before the application object.
class OwnFolders {
public:
    OwnFolders();

private:
    QTemporaryDir m_folder;
};

/// Nobody is to be told anything here.
class Silence : public Vintrel::UserNotifications {
public:
    void requestAuthorization(std::function<void(bool)> onAnswer) override { onAnswer(false); }

    void readAuthorization(std::function<void(Authorization)> onAnswer) override {
        onAnswer(Authorization::denied);
    }

    void add(const Vintrel::UserNotification& /*notification*/) override {}
};

class NoFileBrowser : public Vintrel::FileBrowser {
public:
    [[nodiscard]] QString revealLabel() const override { return QStringLiteral("Reveal"); }

    void reveal(const std::string& /*folder*/) override {}
};

/// The popover over an engine with prepared answers: 1,000 candidates of 12 kinds, half of them safe. All
/// kinds are collapsed at first, and the window is hidden.
class ViewsScene {
public:
    static constexpr size_t candidates = 1'000;
    static constexpr size_t rowsOfFew = 200; ///< what `expandFew` shows

    explicit ViewsScene(FrameWatch& frames);

    [[nodiscard]] FrameWatch& frames() { return m_frames; }

    [[nodiscard]] Vintrel::PopoverWindow& popover() { return *m_popover; }

    [[nodiscard]] Vintrel::StrayListView& list() { return *m_list; }

    [[nodiscard]] QLineEdit& filter() { return *m_filter; }

    void expandFew();
    void expandAll();

    /// Scans, and waits for all that follows from it.
    void scan();

    /// Opens the popover and waits for all that follows from it.
    void open();

    void close();

    /// Gives the rows' memory back, as the closed popover does after a while.
    void freeRows();

    /// Waits until nothing happens any more.
    void settle();

    /// Waits as long as somebody who stops typing, and until nothing happens any more.
    void pause();

    /// Scrolls down until every row is built.
    void buildAllRows();

    /// Rows that are built and shown, on or off the screen.
    [[nodiscard]] size_t shownRows() const;

    /// Rows of which something can be seen.
    [[nodiscard]] size_t rowsOnScreen() const;

    /// Lets the next scans find another memory figure for one of the rows on the screen.
    void changeOneRow();

private:
    struct World;

    void setCollapsed(const std::set<VintrelCore::ProcessKind>& kinds);

    FrameWatch& m_frames;
    Silence m_silence;
    NoFileBrowser m_fileBrowser;
    std::shared_ptr<World> m_world;
    std::unique_ptr<Vintrel::ScanEngine> m_engine;
    std::unique_ptr<Vintrel::PopoverWindow> m_popover;
    Vintrel::MenuBarView* m_content = nullptr;
    Vintrel::StrayListView* m_list = nullptr;
    QLineEdit* m_filter = nullptr;
};

} // namespace Bench
