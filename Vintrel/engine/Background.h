#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include <QObject>
#include <QPointer>

class QSocketNotifier;

namespace Vintrel {

/// Work off the thread it lives on, whose result comes back there.
///
/// Made of plain threads, an inbox and a pipe: what waits and what is handed over can be checked by the
/// thread sanitizer, which cannot see into Qt's own locks. Threads end when there is nothing left to do, so
/// that an idle program has none.
class Background : public QObject {
    Q_OBJECT

public:
    explicit Background(QObject* parent = nullptr);

    /// Asks work that is under way to stop, and waits for it, though not for long. Nothing comes back.
    ~Background() override;

    /// The application's own: made at first use, on the main thread, and gone with the application.
    [[nodiscard]] static Background& shared();

    /// Calls `work(interrupt)` on another thread, and then `then(result)` on this one, unless `owner` is gone
    /// by then. The descriptor `interrupt` becomes readable when the program wants to end.
    template <typename Work, typename Then>
    void run(QObject* owner, Work work, Then then) {
        using Result = std::invoke_result_t<Work, int>;
        auto result = std::make_shared<std::optional<Result>>();
        start(
            owner, [work = std::move(work), result](int interrupt) { *result = work(interrupt); },
            [then = std::move(then), result] { then(*std::move(*result)); });
    }

    /// For the end of the program: asks work that is under way to stop, waits for it, though not for long,
    /// and delivers what has come of it.
    void finish();

    /// Whether anything is still to come back.
    [[nodiscard]] bool isBusy() const { return !m_pending.empty(); }

private:
    class Threads;

    struct Pending {
        QPointer<QObject> owner;
        std::function<void()> then;
    };

    void start(QObject* owner, std::function<void(int)> work, std::function<void()> then);
    void deliver();

    std::shared_ptr<Threads> m_threads;
    std::unordered_map<int, Pending> m_pending; // only ever touched on this object's thread
    int m_lastNumber = 0;
    QSocketNotifier* m_notifier = nullptr;
};

} // namespace Vintrel
