// Asks the running program for search results, one question after another, as GNOME Shell and KRunner ask,
// and prints how long the answers took: one row of a table for each of the two.
//
//     bench_search [QUESTIONS]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QStringList>
#include <QVariantList>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int warmUp = 20;

struct Searcher {
    const char* name;
    const char* path;
    const char* interface;
    const char* method;
    QVariantList arguments;
};

double millisecondsFor(const QDBusConnection& bus, const QDBusMessage& question) {
    const auto begin = Clock::now();
    const QDBusMessage answer = bus.call(question);
    const std::chrono::duration<double, std::milli> taken = Clock::now() - begin;
    if (answer.type() != QDBusMessage::ReplyMessage) {
        std::fprintf(stderr, "bench_search: %s\n", qPrintable(answer.errorMessage()));
        std::exit(EXIT_FAILURE);
    }
    return taken.count();
}

void measure(const QDBusConnection& bus, const Searcher& searcher, int questions) {
    QDBusMessage question =
        QDBusMessage::createMethodCall(QStringLiteral("dev.vintrel.Vintrel"), QLatin1String(searcher.path),
                                       QLatin1String(searcher.interface), QLatin1String(searcher.method));
    question.setArguments(searcher.arguments);
    for (int round = 0; round < warmUp; ++round) {
        millisecondsFor(bus, question);
    }
    std::vector<double> times;
    for (int round = 0; round < questions; ++round) {
        times.push_back(millisecondsFor(bus, question));
    }
    std::ranges::sort(times);
    const auto at = [&times](size_t percent) { return times[(times.size() - 1) * percent / 100]; };
    constexpr double target = 5;
    std::printf("| %s | %.2f ms | %.2f ms | %.2f ms | at most 5 ms | %s |\n", searcher.name, at(50), at(99),
                at(100), at(99) <= target ? "met" : "MISSED");
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const int questions = argc > 1 ? std::max(std::atoi(argv[1]), 1) : 1'000;
    const QDBusConnection bus = QDBusConnection::sessionBus();
    const QStringList terms{QStringLiteral("clean"), QStringLiteral("strays"), QStringLiteral("wi")};
    measure(bus,
            {"GNOME Shell's search",
             "/dev/vintrel/Vintrel/SearchProvider",
             "org.gnome.Shell.SearchProvider2",
             "GetInitialResultSet",
             {terms}},
            questions);
    measure(bus,
            {"KRunner's search",
             "/dev/vintrel/Vintrel/Runner",
             "org.kde.krunner1",
             "Match",
             {terms.join(QLatin1Char(' '))}},
            questions);
}
