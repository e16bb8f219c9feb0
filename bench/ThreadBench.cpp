// Threads beside those of the standard library and the bare ones of the system.
#include <benchmark/benchmark.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h>

#include <atomic>
#include <thread>

#include "OrvoThread.h"

namespace {

using namespace OrvoSupport;

std::atomic<unsigned> done{0};

class Worker : public OrvoThread {
public:
    using OrvoThread::run;
    int run() override {
        done.fetch_add(1, std::memory_order_relaxed);
        return 0;
    }
};

void startAndJoin(benchmark::State& state) {
    for (auto _ : state) {
        Worker thread;
        thread.start();
        thread.wait(-1);
    }
}

void startAndJoinStandard(benchmark::State& state) {
    for (auto _ : state) std::thread([] { done.fetch_add(1, std::memory_order_relaxed); }).join();
}

void startAndJoinBare(benchmark::State& state) {
    for (auto _ : state) {
        pthread_t thread;
        const auto work = [](void*) -> void* {
            done.fetch_add(1, std::memory_order_relaxed);
            return nullptr;
        };
        ::pthread_create(&thread, nullptr, work, nullptr);
        ::pthread_join(thread, nullptr);
    }
}

/// Threads that nobody waits for; one iteration ends when the work is done.
void startAndForget(benchmark::State& state) {
    for (auto _ : state) {
        const unsigned before = done;
        Worker* const thread = new Worker;
        thread->setMarkForDeath();
        thread->start();
        while (done == before) ::sched_yield();
    }
}

void startAndForgetStandard(benchmark::State& state) {
    for (auto _ : state) {
        const unsigned before = done;
        std::thread([] { done.fetch_add(1, std::memory_order_relaxed); }).detach();
        while (done == before) ::sched_yield();
    }
}

class Counting : public OrvoThread {
public:
    ~Counting() override { kill(); }
    using OrvoThread::run;
    int run() override {
        for (;;) done.fetch_add(1, std::memory_order_relaxed);
    }
};

/// One iteration finds the thread at work and leaves it at work.
void stopAndStart(benchmark::State& state) {
    Counting thread;
    thread.start();
    for (auto _ : state) {
        const unsigned before = done;
        while (done == before) ::sched_yield();
        thread.stop();
        thread.start();
    }
}

void startAndKill(benchmark::State& state) {
    for (auto _ : state) {
        Counting thread;
        thread.start();
    }
}

/// A signal to another thread, and its answer: what stopping can hardly do without.
std::atomic<bool> answered{false};
void signalThread(benchmark::State& state) {
    std::atomic<bool> stop{false};
    ::signal(SIGUSR1, [](int) { answered = true; });
    std::thread thread([&] {
        while (!stop) done.fetch_add(1, std::memory_order_relaxed);
    });
    for (auto _ : state) {
        answered = false;
        ::pthread_kill(thread.native_handle(), SIGUSR1);
        while (!answered) ::sched_yield();
    }
    stop = true;
    thread.join();
}

BENCHMARK(startAndJoin)->Name("start_join/ours")->UseRealTime();
BENCHMARK(startAndJoinStandard)->Name("start_join/peer:std_thread")->UseRealTime();
BENCHMARK(startAndJoinBare)->Name("start_join/floor:pthread")->UseRealTime();
BENCHMARK(startAndForget)->Name("start_forget/ours")->UseRealTime();
BENCHMARK(startAndForgetStandard)->Name("start_forget/peer:std_thread")->UseRealTime();
BENCHMARK(stopAndStart)->Name("stop_start/ours")->UseRealTime();
BENCHMARK(signalThread)->Name("stop_start/floor:signal_and_answer")->UseRealTime();
BENCHMARK(startAndKill)->Name("start_kill/ours")->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
