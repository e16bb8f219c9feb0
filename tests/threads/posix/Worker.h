// Threads with work that a test makes up, and how to watch them. Linux only.
#ifndef TESTS_THREADS_POSIX_WORKER_H
#define TESTS_THREADS_POSIX_WORKER_H

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "OrvoThread.h"
#include "support/Sanitizers.h"

namespace testing_threads {

using testing_support::addressSanitizer;
// Its run-time part keeps everything of threads that end without returning, so there can be fewer of them.
using testing_support::threadSanitizer;

using Clock = std::chrono::steady_clock;
constexpr auto generousLimit = std::chrono::seconds(30);

inline void nap() { std::this_thread::sleep_for(std::chrono::milliseconds(1)); }

/// False when the time ran out.
template <class Condition>
bool waitUntil(const Condition& condition) {
    const auto limit = Clock::now() + generousLimit;
    while (!condition()) {
        if (Clock::now() > limit) return false;
        std::this_thread::yield();
    }
    return true;
}

class Worker : public OrvoSupport::OrvoThread {
public:
    explicit Worker(std::function<int()> work) : m_work(std::move(work)) {}
    /// The work is a member, so its thread has to be gone before that is.
    ~Worker() override {
        if (endInTheEnd)
            kill();
        else if (::gettid() != m_id)
            wait(-1);
    }

    /// The id of the thread that is at work, once it is.
    pid_t id() const { return m_id; }
    /// Waits until the work of this round has begun.
    bool hasBegun() const {
        return waitUntil([this] { return m_id != 0; });
    }
    void startAnew() {
        m_id = 0;
        start();
    }

    using OrvoThread::run;
    int run() override {
        m_id = ::gettid();
        return m_work();
    }

    bool endInTheEnd = false;

private:
    std::function<int()> m_work;
    std::atomic<pid_t> m_id{0};
};

/// The letter that the system has for what a thread does: 'R' runs, 'S' sleeps; 0 when it is gone.
inline char stateOf(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string line;
    if (!std::getline(file, line)) return 0;
    return line[line.rfind(')') + 2];
}

inline bool sleeps(pid_t thread) {
    return waitUntil([=] { return stateOf(thread) == 'S'; });
}

/// A thread that counts for ever, and whether it does.
class Counter {
public:
    int count() {
        for (;;) m_value.fetch_add(1, std::memory_order_relaxed);
    }
    bool goesOn() const {
        const unsigned before = m_value;
        return waitUntil([&] { return m_value != before; });
    }
    bool stands() const {
        const unsigned before = m_value;
        nap();
        return m_value == before;
    }

private:
    std::atomic<unsigned> m_value{0};
};

}  // namespace testing_threads

#endif
