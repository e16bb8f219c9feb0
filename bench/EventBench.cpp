// Events and notifications beside a mutex with a condition variable and a bare futex.
#include <benchmark/benchmark.h>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "OrvoEvent.h"

namespace {

using namespace OrvoSupport;

/// An auto-reset event as one writes it with the standard library.
class StandardEvent {
public:
    void set() {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_signalled = true;
        }
        m_changed.notify_one();
    }
    void wait(int) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_signalled; });
        m_signalled = false;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_signalled = false;
};

/// The least that two threads can do to hand over a signal.
class FutexEvent {
public:
    void set() {
        m_signalled.store(1, std::memory_order_release);
        ::syscall(SYS_futex, &m_signalled, FUTEX_WAKE_PRIVATE, 1);
    }
    void wait(int) {
        while (!m_signalled.exchange(0, std::memory_order_acquire)) {
            ::syscall(SYS_futex, &m_signalled, FUTEX_WAIT_PRIVATE, 0, nullptr);
        }
    }

private:
    std::atomic<int> m_signalled{0};
};

template <class Event>
void setAndWait(benchmark::State& state) {
    Event event;
    for (auto _ : state) {
        event.set();
        event.wait(-1);
    }
}

/// One iteration is a signal there and one back.
template <class Event>
void pingPong(benchmark::State& state) {
    Event there;
    Event back;
    std::atomic<bool> stop{false};
    std::thread partner([&] {
        for (;;) {
            there.wait(-1);
            if (stop) return;
            back.set();
        }
    });
    for (auto _ : state) {
        there.set();
        back.wait(-1);
    }
    stop = true;
    there.set();
    partner.join();
}

volatile int told;

struct Listener : OrvoDependent {
    void handleNotification(OrvoCollaborator&, const OrvoNotification& note) override { told = note.getId(); }
};

void notifyTen(benchmark::State& state) {
    std::array<Listener, 10> listeners;
    OrvoCollaborator collaborator;
    for (Listener& listener : listeners) collaborator.addDependent(listener);
    const OrvoNotification note(1);
    for (auto _ : state) collaborator.notify(note);
}

/// What ten calls cost when a standard recursive mutex is given up around each.
void notifyTenByHand(benchmark::State& state) {
    std::array<Listener, 10> listeners;
    std::recursive_mutex mutex;
    OrvoCollaborator source;
    const OrvoNotification note(1);
    for (auto _ : state) {
        std::unique_lock<std::recursive_mutex> lock(mutex);
        for (OrvoDependent& listener : listeners) {
            lock.unlock();
            listener.handleNotification(source, note);
            lock.lock();
        }
    }
}

void waitForTheSecondOf2(benchmark::State& state) {
    std::array<OrvoEvent, 2> events;
    for (auto _ : state) {
        events[1].set();
        OrvoEvent::wait(2, events.data(), false, -1);
    }
}

void waitForTheLastOf64(benchmark::State& state) {
    std::array<OrvoEvent, 64> events;
    for (auto _ : state) {
        events[63].set();
        OrvoEvent::wait(64, events.data(), false, -1);
    }
}

void waitForAllOf8(benchmark::State& state) {
    std::array<OrvoEvent, 8> events;
    for (auto _ : state) {
        for (OrvoEvent& event : events) event.set();
        OrvoEvent::wait(8, events.data(), true, -1);
    }
}

BENCHMARK(setAndWait<OrvoEvent>)->Name("set_wait/ours");
BENCHMARK(setAndWait<StandardEvent>)->Name("set_wait/peer:mutex_condvar");
BENCHMARK(pingPong<OrvoEvent>)->Name("ping_pong/ours")->UseRealTime();
BENCHMARK(pingPong<StandardEvent>)->Name("ping_pong/peer:mutex_condvar")->UseRealTime();
BENCHMARK(pingPong<FutexEvent>)->Name("ping_pong/floor:futex")->UseRealTime();
BENCHMARK(notifyTen)->Name("notify_ten/ours");
BENCHMARK(notifyTenByHand)->Name("notify_ten/floor:recursive_mutex_by_hand");
BENCHMARK(waitForTheSecondOf2)->Name("wait_any_of_2/ours");
BENCHMARK(waitForTheLastOf64)->Name("wait_any_of_64/ours");
BENCHMARK(waitForAllOf8)->Name("wait_all_of_8/ours");

}  // namespace

BENCHMARK_MAIN();
