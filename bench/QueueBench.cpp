// Handing over items through a guarded queue, beside a standard mutex with a condition variable.
#include <benchmark/benchmark.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "OrvoThread.h"

namespace {

using namespace OrvoSupport;

/// The queue that both sides of the comparison use; only whoever holds the exchange's mutex touches it.
class Numbers : public OrvoBaseSynchronizedQueue {
public:
    void clear() override { numbers.clear(); }
    std::deque<int> numbers;
};

class OurExchange : public OrvoBaseProducerConsumer {
public:
    OurExchange() : OrvoBaseProducerConsumer(m_numbers) {}

    void produce(int number) {
        lockSyncMutex();
        m_numbers.numbers.push_back(number);
        setSyncEvent();
        unlockSyncMutex();
    }
    bool consume(int& number) {
        lockSyncMutex();
        while (m_numbers.numbers.empty() && !m_sentinel) waitForSyncEvent();
        const bool found = !m_numbers.numbers.empty();
        if (found) {
            number = m_numbers.numbers.front();
            m_numbers.numbers.pop_front();
        }
        unlockSyncMutex();
        return found;
    }
    void finish() { produceSentinel(false); }

private:
    Numbers m_numbers;
};

class StandardExchange {
public:
    void produce(int number) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_numbers.push_back(number);
        m_changed.notify_all();
    }
    bool consume(int& number) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return !m_numbers.empty() || m_finished; });
        if (m_numbers.empty()) return false;
        number = m_numbers.front();
        m_numbers.pop_front();
        return true;
    }
    void finish() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_finished = true;
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<int> m_numbers;
    bool m_finished = false;
};

/// What the mechanism costs when nobody waits.
template <class Exchange>
void onOneThread(benchmark::State& state) {
    Exchange exchange;
    int number = 0;
    for (auto _ : state) {
        exchange.produce(1);
        exchange.consume(number);
    }
}

/// Items that one producer hands to as many consumers as the argument says, as fast as it can.
template <class Exchange>
void stream(benchmark::State& state) {
    constexpr int batch = 10000;
    for (auto _ : state) {
        Exchange exchange;
        std::vector<std::thread> consumers;
        for (int i = 0; i < state.range(0); ++i) {
            consumers.emplace_back([&] {
                for (int number = 0; exchange.consume(number);) benchmark::DoNotOptimize(number);
            });
        }
        for (int i = 0; i < batch; ++i) exchange.produce(i);
        exchange.finish();
        for (std::thread& thread : consumers) thread.join();
    }
    state.SetItemsProcessed(state.iterations() * batch);
}

/// One iteration is an item there and an item back, each to a thread that waits for it.
template <class Exchange>
void pingPong(benchmark::State& state) {
    Exchange there;
    Exchange back;
    std::thread partner([&] {
        for (int number = 0; there.consume(number);) back.produce(number);
    });
    int number = 0;
    for (auto _ : state) {
        there.produce(1);
        back.consume(number);
    }
    there.finish();
    partner.join();
}

BENCHMARK(onOneThread<OurExchange>)->Name("hand_over_alone/ours");
BENCHMARK(onOneThread<StandardExchange>)->Name("hand_over_alone/peer:mutex_condvar");
BENCHMARK(pingPong<OurExchange>)->Name("hand_over_ping_pong/ours")->UseRealTime();
BENCHMARK(pingPong<StandardExchange>)->Name("hand_over_ping_pong/peer:mutex_condvar")->UseRealTime();
BENCHMARK(stream<OurExchange>)->Name("hand_over_10000_to_1/ours")->Arg(1)->UseRealTime();
BENCHMARK(stream<StandardExchange>)->Name("hand_over_10000_to_1/peer:mutex_condvar")->Arg(1)->UseRealTime();
BENCHMARK(stream<OurExchange>)->Name("hand_over_10000_to_4/ours")->Arg(4)->UseRealTime();
BENCHMARK(stream<StandardExchange>)->Name("hand_over_10000_to_4/peer:mutex_condvar")->Arg(4)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
