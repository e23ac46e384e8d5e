#include "Vintrel/engine/Background.h"
#include "Vintrel/shell/DelegateRequests.h"
#include "Vintrel/shell/Desktop.h"
#include "Vintrel/shell/StartRequest.h"
#include "Vintrel/shell/VintrelApp.h"
#include "Vintrel/startup/Interrupt.h"
#include "Vintrel/startup/ProcessState.h"
#include "Vintrel/views/parts/AppPalette.h"

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>

#include <QApplication>
#include <QSocketNotifier>
#include <QStyleFactory>

namespace {

using Vintrel::Handover;
using Vintrel::CommandLine::Wish;

constexpr int usageError = 2;

int print(std::FILE* stream, std::string_view text) {
    const bool isWritten = std::fwrite(text.data(), 1, text.size(), stream) == text.size();
    return isWritten && std::fflush(stream) == 0 ? 0 : 1;
}

/// The exit status when another instance has to do with the request; absent when it is for this one.
std::optional<int> statusAfter(Handover handover) {
    switch (handover) {
    case Handover::delivered:
        return 0;
    case Handover::refused:
        std::fputs(
            "vintrel-app: the program that runs already is of another version and does not know this\n",
            stderr);
        return 1;
    case Handover::failed:
        std::fputs("vintrel-app: the program runs already, but does not answer\n", stderr);
        return 1;
    default:
        return std::nullopt;
    }
}

/// Becomes the one instance; absent when this is it, else the exit status.
std::optional<int> statusAfterClaim(Vintrel::ApplicationInstance& instance,
                                    const Vintrel::StartRequest& request) {
    using Claim = Vintrel::ApplicationInstance::Claim;
    constexpr int mostTries = 3; // each time another one was quicker, and has ended since
    for (int tries = 0; tries < mostTries; ++tries) {
        const Claim claim = instance.claim();
        if (claim == Claim::unenforceable) {
            std::fputs("vintrel-app: there is no session bus: links and notifications will not work\n",
                       stderr);
        }
        if (claim != Claim::taken) {
            return std::nullopt;
        }
        if (const auto status = statusAfter(Vintrel::Desktop::handOver(request))) {
            return status;
        }
    }
    return statusAfter(Handover::failed);
}

int run(int& argc, char** argv, const Interrupt& interrupt, const Vintrel::StartRequest& request) {
    Vintrel::Desktop::choosePlatformTheme();
    const QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vintrel"));
    QApplication::setApplicationVersion(QStringLiteral(VINTREL_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("dev.vintrel.Vintrel"));
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    // NOLINTNEXTLINE(misc-const-correctness): the event loop changes it
    QSocketNotifier onInterrupt(interrupt.descriptor(), QSocketNotifier::Read);
    QObject::connect(&onInterrupt, &QSocketNotifier::activated, &application, &QApplication::quit);

    const auto appearance = Vintrel::Desktop::makeAppearance();
    const auto dress = [&appearance] { Vintrel::AppPalette::apply(appearance->settings()); };
    QObject::connect(appearance.get(), &Vintrel::Appearance::changed, &application, dress);
    dress();
    const auto notifications = Vintrel::Desktop::makeUserNotifications();
    Vintrel::DelegateRequests requests(*notifications);
    auto instance = Vintrel::Desktop::makeApplicationInstance(requests);
    if (const auto status = statusAfterClaim(*instance, request)) {
        return *status;
    }
    const auto fileBrowser = Vintrel::Desktop::makeFileBrowser();
    const auto loginItem = Vintrel::Desktop::makeLoginItem();
    Vintrel::VintrelApp app(
        {.notifications = *notifications,
         .fileBrowser = *fileBrowser,
         .loginItem = *loginItem,
         .appearance = *appearance,
         .makeStatusItem = [&appearance] { return Vintrel::Desktop::makeStatusItem(*appearance); }});
    requests.serve(app.appDelegate());
    requests.carryOut(request, *instance);
    app.follow(request);
    const int status = QApplication::exec();
    instance.reset();                       // from now on another start is the one that runs
    Vintrel::Background::shared().finish(); // what was being ended is recorded as long as there is an engine
    return status;
}

} // namespace

int main(int argc, char** argv) {
    prepareProcess();
    const auto [wish, request] = Vintrel::CommandLine::parse({argv, static_cast<size_t>(argc)});
    switch (wish) {
    case Wish::help:
        return print(stdout, Vintrel::CommandLine::usage());
    case Wish::version:
        return print(stdout, "vintrel-app " VINTREL_VERSION "\n");
    case Wish::unknown:
        print(stderr, Vintrel::CommandLine::usage());
        return usageError;
    default:
        break;
    }
    // At once, because Qt's thread for the bus is still at work and complains when the program is taken
    // apart.
    if (const auto status = statusAfter(Vintrel::Desktop::handOver(request))) {
        std::_Exit(*status);
    }
    if (!Vintrel::Desktop::hasGraphicalSession()) {
        std::fputs("vintrel-app: there is no graphical session here; the command line tool is vintrel\n",
                   stderr);
        std::_Exit(1);
    }
    int status = 0;
    {
        const Interrupt interrupt;
        status = run(argc, argv, interrupt, request);
    }
    Interrupt::endProgramIfOneCame();
    return status;
}
