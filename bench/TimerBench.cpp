// Timers beside those of POCO and Boost.Asio: arming and cancelling, and how late they fire.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <numeric>
#include <random>
#include <thread>
#include <vector>

#include "OrvoTimer.h"

#ifdef OSUPT_BENCH_POCO
#include <Poco/Util/Timer.h>
#include <Poco/Util/TimerTask.h>
#endif
#ifdef OSUPT_BENCH_BOOST
#include <boost/asio.hpp>
#endif

namespace {

using namespace OrvoSupport;
using Clock = std::chrono::steady_clock;

constexpr std::size_t many = 10'000;

std::vector<std::size_t> randomOrder(unsigned seed) {
    std::vector<std::size_t> order(many);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::shuffle(order.begin(), order.end(), std::mt19937(seed));
    return order;
}

/// What the logger does for every record.
void armAndCancelOurs(benchmark::State& state) {
    OrvoTimer timer(60000, false);
    for (auto _ : state) {
        timer.reset();
        timer.stop();
    }
}

/// While another timer is due earlier, and the library's thread sleeps until then.
void armAndCancelBehindAnotherOurs(benchmark::State& state) {
    OrvoTimer first;
    first.start(50, 0, false);
    OrvoTimer timer(60000, false);
    for (auto _ : state) {
        timer.reset();
        timer.stop();
    }
}

/// Starts many timers of up to an hour in one random order and stops them in another.
void armAndCancelManyOurs(benchmark::State& state) {
    std::deque<OrvoTimer> timers(many);
    const std::vector<std::size_t> arm = randomOrder(1);
    const std::vector<std::size_t> cancel = randomOrder(2);
    for (auto _ : state) {
        for (const std::size_t i : arm) timers[i].start(60 + static_cast<long>(i % 3600), 0, true);
        for (const std::size_t i : cancel) timers[i].stop();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(many));
}

#ifdef OSUPT_BENCH_POCO
struct Task : Poco::Util::TimerTask {
    void run() override {}
};

void armAndCancelPoco(benchmark::State& state) {
    Poco::Util::Timer timer;
    for (auto _ : state) {
        Poco::Util::TimerTask::Ptr task = new Task;
        timer.schedule(task, 60000, 60000);
        task->cancel();
    }
    timer.cancel(true);
}

void armAndCancelManyPoco(benchmark::State& state) {
    const std::vector<std::size_t> arm = randomOrder(1);
    const std::vector<std::size_t> cancel = randomOrder(2);
    std::vector<Poco::Util::TimerTask::Ptr> tasks(many);
    for (auto _ : state) {
        Poco::Util::Timer timer;
        for (const std::size_t i : arm) {
            tasks[i] = new Task;
            const long delay = 1000 * (60 + static_cast<long>(i % 3600));
            timer.schedule(tasks[i], delay, delay);
        }
        for (const std::size_t i : cancel) tasks[i]->cancel();
        timer.cancel(true);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(many));
}
#endif

#ifdef OSUPT_BENCH_BOOST
/// A running io_context, as a program has one for its timers.
struct Loop {
    boost::asio::io_context context;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work{context.get_executor()};
    std::thread thread{[this] { context.run(); }};
    ~Loop() {
        context.stop();
        thread.join();
    }
};

void armAndCancelAsio(benchmark::State& state) {
    Loop loop;
    boost::asio::steady_timer timer(loop.context);
    for (auto _ : state) {
        timer.expires_after(std::chrono::seconds(60));
        timer.async_wait([](const boost::system::error_code&) {});
        timer.cancel();
    }
}

void armAndCancelManyAsio(benchmark::State& state) {
    Loop loop;
    std::deque<boost::asio::steady_timer> timers;
    for (std::size_t i = 0; i < many; ++i) timers.emplace_back(loop.context);
    const std::vector<std::size_t> arm = randomOrder(1);
    const std::vector<std::size_t> cancel = randomOrder(2);
    for (auto _ : state) {
        for (const std::size_t i : arm) {
            timers[i].expires_after(std::chrono::seconds(60 + i % 3600));
            timers[i].async_wait([](const boost::system::error_code&) {});
        }
        for (const std::size_t i : cancel) timers[i].cancel();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(many));
}
#endif

struct Stamp : OrvoDependent {
    Clock::time_point time;
    void handleNotification(OrvoCollaborator&, const OrvoNotification&) override { time = Clock::now(); }
};

/// 100 one-shot timers of 1 to 3 seconds, started at once: how long after the end of their period they fire.
/// They begin early in a second of the calendar, so that the seconds by which they go together are not torn.
void lateness(benchmark::State& state) {
    std::vector<double> microseconds;
    for (auto _ : state) {
        std::deque<OrvoTimer> timers(100);
        std::deque<Stamp> stamps(timers.size());
        for (std::size_t i = 0; i < timers.size(); ++i) timers[i].addDependent(stamps[i]);
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        const auto intoSecond = now % std::chrono::seconds(1);
        std::this_thread::sleep_for(std::chrono::milliseconds(1100) - intoSecond);
        for (std::size_t i = 0; i < timers.size(); ++i)
            timers[i].start(1 + static_cast<long>(i % 3), 0, true);
        const Clock::time_point started = Clock::now();  // every start begins the sleep anew
        for (OrvoTimer& timer : timers) timer.wait(10000);
        for (std::size_t i = 0; i < timers.size(); ++i) {
            const auto due = started + std::chrono::seconds(1 + i % 3);
            microseconds.push_back(std::chrono::duration<double, std::micro>(stamps[i].time - due).count());
        }
    }
    std::sort(microseconds.begin(), microseconds.end());
    const auto percentile = [&](double share) {
        return microseconds[static_cast<std::size_t>(share * static_cast<double>(microseconds.size() - 1))];
    };
    state.counters["min_us"] = percentile(0);
    state.counters["p50_us"] = percentile(0.5);
    state.counters["p95_us"] = percentile(0.95);
    state.counters["max_us"] = percentile(1);
}

BENCHMARK(armAndCancelOurs)->Name("arm_cancel/ours");
BENCHMARK(armAndCancelBehindAnotherOurs)->Name("arm_cancel_behind/ours");
BENCHMARK(armAndCancelManyOurs)->Name("arm_cancel_10000/ours")->Unit(benchmark::kMicrosecond);
#ifdef OSUPT_BENCH_POCO
// Its queue keeps what was cancelled until it would have been due, so a fixed number of rounds.
BENCHMARK(armAndCancelPoco)->Name("arm_cancel/peer:poco")->Iterations(200000);
BENCHMARK(armAndCancelManyPoco)->Name("arm_cancel_10000/peer:poco")->Unit(benchmark::kMicrosecond);
#endif
#ifdef OSUPT_BENCH_BOOST
BENCHMARK(armAndCancelAsio)->Name("arm_cancel/peer:asio");
BENCHMARK(armAndCancelManyAsio)->Name("arm_cancel_10000/peer:asio")->Unit(benchmark::kMicrosecond);
#endif
BENCHMARK(lateness)->Name("lateness_1_to_3_s/ours")->Iterations(1)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
