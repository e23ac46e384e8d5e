#include "Vintrel/engine/Background.h"

#include "VintrelCore/base/FileDescriptor.h"
#include "VintrelCore/platform/Spawning.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include <QCoreApplication>
#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>

namespace Vintrel {

namespace {

using VintrelCore::FileDescriptor;

/// Work waits for its turn beyond this many threads. Far more than the cores: most of it only waits.
constexpr int mostThreads = 32;

/// How long the end waits for work that was asked to stop. Tools get a fifth of a second to end.
constexpr std::chrono::milliseconds drainTimeout{1'500};

/// A pipe that makes poll return at its reading end. Reading and writing never block.
struct Wake {
    FileDescriptor reading;
    FileDescriptor writing;

    Wake() {
        if (auto ends = VintrelCore::Platform::openPipe()) {
            reading = std::move((*ends)[0]);
            writing = std::move((*ends)[1]);
            ::fcntl(reading.get(), F_SETFL, O_NONBLOCK);
            ::fcntl(writing.get(), F_SETFL, O_NONBLOCK);
        }
    }

    void ring() const {
        [[maybe_unused]] const ssize_t written =
            ::write(writing.get(), "!", 1); // when full, it rings already
    }

    void silence() const {
        std::array<char, 64> bytes{};
        while (::read(reading.get(), bytes.data(), bytes.size()) > 0) {
        }
    }
};

} // namespace

/// What the threads share with the object; outlives both.
class Background::Threads : public std::enable_shared_from_this<Threads> {
public:
    struct Job {
        int number = 0;
        std::function<void(int)> work;
    };

    void add(Job job) {
        std::unique_lock lock(m_mutex);
        m_inbox.push_back(std::move(job));
        if (m_threadCount == mostThreads) {
            return; // one of them takes it
        }
        try {
            // Not to be joined: work that hangs in the kernel must not hold up the end of the program.
            std::thread([self = shared_from_this()] { self->takeJobs(); }).detach();
            ++m_threadCount;
        } catch (const std::system_error&) {
            if (m_threadCount == 0) { // else, those there are will get to it
                ++m_threadCount;
                lock.unlock();
                takeJobs();
            }
        }
    }

    /// The numbers of the jobs that are done.
    std::vector<int> takeDone() {
        done.silence();
        const std::scoped_lock lock(m_mutex);
        return std::exchange(m_done, {});
    }

    void end() {
        ending.ring();
        std::unique_lock lock(m_mutex);
        m_inbox.clear();
        m_idle.wait_for(lock, drainTimeout, [this] { return m_threadCount == 0; });
    }

    const Wake done;
    const Wake ending;

private:
    void takeJobs() {
        std::unique_lock lock(m_mutex);
        while (!m_inbox.empty()) {
            Job job = std::move(m_inbox.front());
            m_inbox.pop_front();
            lock.unlock();
            job.work(ending.reading.get());
            job.work = nullptr; // what it holds must not outlive the delivery
            lock.lock();
            m_done.push_back(job.number);
            done.ring();
        }
        --m_threadCount;
        m_idle.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_idle;
    std::deque<Job> m_inbox;
    std::vector<int> m_done;
    int m_threadCount = 0;
};

Background::Background(QObject* parent)
    : QObject(parent),
      m_threads(std::make_shared<Threads>()),
      m_notifier(new QSocketNotifier(m_threads->done.reading.get(), QSocketNotifier::Read, this)) {
    connect(m_notifier, &QSocketNotifier::activated, this, &Background::deliver);
}

Background::~Background() {
    delete m_notifier; // before what it watches is closed
    m_threads->end();
}

void Background::finish() {
    m_threads->end();
    deliver();
}

Background& Background::shared() {
    QCoreApplication* const application = QCoreApplication::instance();
    auto* background = application->findChild<Background*>(QString(), Qt::FindDirectChildrenOnly);
    return background != nullptr ? *background : *new Background(application);
}

void Background::start(QObject* owner, std::function<void(int)> work, std::function<void()> then) {
    const int number = ++m_lastNumber;
    m_pending.emplace(number, Pending{.owner = owner, .then = std::move(then)});
    m_threads->add({.number = number, .work = std::move(work)});
}

void Background::deliver() {
    const QPointer<Background> self(this);
    for (const int number : m_threads->takeDone()) {
        auto pending = m_pending.extract(number);
        if (pending && pending.mapped().owner) {
            pending.mapped().then();
        }
        if (!self) {
            return; // whoever was called ended the application
        }
    }
}

} // namespace Vintrel
