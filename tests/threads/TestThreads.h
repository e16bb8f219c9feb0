// Threads and onlookers for the tests of threads.
#ifndef TESTS_THREADS_TEST_THREADS_H
#define TESTS_THREADS_TEST_THREADS_H

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

#include "OrvoThread.h"

namespace thread_tests {

using namespace OrvoSupport;

constexpr int ended = 0;
constexpr int failed = -1;
constexpr int timedOut = 258;
constexpr int severalTimedOut = -2;
constexpr int nothingToWaitFor = 128;
constexpr int generousMs = 30000;  // never the expected result

/// Waits until condition() holds; false when it does not within a generous time.
template <class Condition>
bool until(const Condition& condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(generousMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) return false;
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    return true;
}

/// Long enough for a thread that is wrongly at large to show it.
inline void letOthersRun() { std::this_thread::sleep_for(std::chrono::milliseconds(30)); }

using Work = std::function<int()>;

/// A runnable that calls a function.
class WorkRunnable : public OrvoThread::OrvoRunnable {
public:
    explicit WorkRunnable(Work work) : m_work(std::move(work)) {}
    int run() override { return m_work(); }
    int run(OrvoWorkInformation& workInfo) override { return OrvoRunnable::run(workInfo); }

private:
    Work m_work;
};

/// A thread that calls a function. The function lives as long as the base, so that the object may be
/// destroyed while it runs.
class WorkThread : public OrvoThread {
public:
    explicit WorkThread(Work work)
        : OrvoThread(OrvoSmartPointer<OrvoRunnable>(new WorkRunnable(std::move(work)))) {}
    ~WorkThread() override {
        if (m_onDestruction) m_onDestruction(*this);
    }

    /// Called by the destructor, while the base is intact.
    void onDestruction(std::function<void(OrvoThread&)> action) { m_onDestruction = std::move(action); }

private:
    std::function<void(OrvoThread&)> m_onDestruction;
};

/// A door that threads wait at until it is opened, once for all.
class Door {
public:
    ~Door() { open(); }
    void open() {
        m_open = true;
        m_event.set();
    }
    int pass() {
        m_visitors = m_visitors + 1;
        while (!m_open) m_event.wait(1);
        return 0;
    }
    bool hasVisitors(int count = 1) const { return m_visitors >= count; }

private:
    OrvoEvent m_event;
    std::atomic<bool> m_open{false};
    std::atomic<int> m_visitors{0};
};

/// Remembers what it is told, and does something then.
class Onlooker : public OrvoDependent {
public:
    explicit Onlooker(std::function<void()> action = nullptr) : m_action(std::move(action)) {}
    void handleNotification(OrvoCollaborator& source, const OrvoNotification& note) override {
        const auto* done = dynamic_cast<const OrvoThread::ThreadDone*>(&note);
        lastSource = &source;
        lastExitCode = done ? done->exitCode : -12345;
        threadId = OrvoThread::getCurrentThreadId();
        ++told;
        if (m_action) m_action();
    }

    std::atomic<int> told{0};
    std::atomic<int> lastExitCode{0};
    std::atomic<int> threadId{0};
    std::atomic<OrvoCollaborator*> lastSource{nullptr};

private:
    std::function<void()> m_action;
};

/// Computes, without calling anything.
class Counter {
public:
    int count() {
        for (;;) m_steps.store(m_steps.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
    bool runs() const {
        const unsigned now = m_steps;
        return until([&] { return m_steps != now; });
    }
    /// True when no step is made for a while.
    bool stands() const {
        const unsigned now = m_steps;
        letOthersRun();
        return m_steps == now;
    }

private:
    std::atomic<unsigned> m_steps{0};
};

}  // namespace thread_tests

#endif
