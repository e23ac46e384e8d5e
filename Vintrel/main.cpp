#include "Vintrel/engine/Background.h"
#include "Vintrel/shell/AppDelegate.h"
#include "Vintrel/shell/Desktop.h"
#include "Vintrel/startup/Interrupt.h"
#include "Vintrel/startup/ProcessState.h"
#include "Vintrel/views/parts/AppPalette.h"

#include <cstdio>
#include <span>
#include <string_view>

#include <QApplication>
#include <QSocketNotifier>
#include <QStyleFactory>

namespace {

constexpr int usageError = 2;

enum class Wish { run, show, help, version, unknown };

/// What the arguments ask for.
Wish wishOf(std::span<char* const> arguments) {
    if (arguments.size() < 2) {
        return Wish::run;
    }
    const std::string_view word = arguments[1];
    if (arguments.size() > 2) {
        return Wish::unknown;
    }
    if (word == "--show") {
        return Wish::show;
    }
    if (word == "--help" || word == "-h") {
        return Wish::help;
    }
    return word == "--version" ? Wish::version : Wish::unknown;
}

constexpr const char* usage = "usage: vintrel-app [--show]\n"
                              "\n"
                              "  --show      open the list of stray processes as a window\n"
                              "  --version   print the version\n"
                              "  --help      print this\n";

int run(int& argc, char** argv, const Interrupt& interrupt, Wish wish) {
    Vintrel::Desktop::choosePlatformTheme();
    const QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vintrel"));
    QApplication::setApplicationVersion(QStringLiteral(VINTREL_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("dev.vintrel.Vintrel"));
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setQuitOnLastWindowClosed(wish == Wish::show);
    // NOLINTNEXTLINE(misc-const-correctness): the event loop changes it
    QSocketNotifier onInterrupt(interrupt.descriptor(), QSocketNotifier::Read);
    QObject::connect(&onInterrupt, &QSocketNotifier::activated, &application, &QApplication::quit);

    const auto appearance = Vintrel::Desktop::makeAppearance();
    const auto dress = [&appearance] { Vintrel::AppPalette::apply(appearance->settings()); };
    QObject::connect(appearance.get(), &Vintrel::Appearance::changed, &application, dress);
    dress();
    const auto notifications = Vintrel::Desktop::makeUserNotifications();
    const auto fileBrowser = Vintrel::Desktop::makeFileBrowser();
    const auto loginItem = Vintrel::Desktop::makeLoginItem();
    Vintrel::AppDelegate delegate(
        {.notifications = *notifications,
         .fileBrowser = *fileBrowser,
         .loginItem = *loginItem,
         .appearance = *appearance,
         .makeStatusItem = [&appearance] { return Vintrel::Desktop::makeStatusItem(*appearance); }});
    delegate.applicationDidFinishLaunching();
    // The program ends with the window that was asked for, unless it can be opened again from a tray.
    const Vintrel::StatusItem& statusItem = delegate.statusItem();
    QObject::connect(&statusItem, &Vintrel::StatusItem::shownChanged, &application, [&statusItem, wish] {
        QApplication::setQuitOnLastWindowClosed(wish == Wish::show && !statusItem.isShown());
    });
    if (wish == Wish::show) {
        delegate.showPopover();
    }
    const int status = QApplication::exec();
    Vintrel::Background::shared().finish(); // what was being ended is recorded as long as there is an engine
    return status;
}

} // namespace

int main(int argc, char** argv) {
    prepareProcess();
    const Wish wish = wishOf({argv, static_cast<size_t>(argc)});
    switch (wish) {
    case Wish::help:
        return std::fputs(usage, stdout) < 0 ? 1 : 0;
    case Wish::version:
        return std::puts("vintrel-app " VINTREL_VERSION) < 0 ? 1 : 0;
    case Wish::unknown:
        std::fputs(usage, stderr);
        return usageError;
    default:
        break;
    }
    if (!Vintrel::Desktop::hasGraphicalSession()) {
        std::fputs("vintrel-app: there is no graphical session here; the command line tool is vintrel\n",
                   stderr);
        return 1;
    }
    int status = 0;
    {
        const Interrupt interrupt;
        status = run(argc, argv, interrupt, wish);
    }
    Interrupt::endProgramIfOneCame();
    return status;
}
