// The recursive lock and reference counting beside std::recursive_mutex. Each case also runs with a second
// thread alive, because the C library's locks skip their atomic operations while a process has only one.
#include <benchmark/benchmark.h>

#include <future>
#include <mutex>
#include <thread>

#include "OrvoCriticalSection.h"
#include "OrvoModuleData.h"
#include "OrvoObjectBase.h"

namespace {

using OrvoSupport::OrvoCriticalSectionObject;
using OrvoSupport::OrvoObjectBase;

struct StandardLock {
    void lock() { mutex.lock(); }
    void unlock() { mutex.unlock(); }
    std::recursive_mutex mutex;
};

struct MutexLock : OrvoCriticalSectionObject {
    MutexLock() : OrvoCriticalSectionObject(false) {}
};

struct SectionLock : OrvoCriticalSectionObject {
    SectionLock() : OrvoCriticalSectionObject(true) {}
};

/// A thread that only exists while the benchmark runs.
class Bystander {
public:
    Bystander() : m_thread([this] { m_end.get_future().wait(); }) {}
    ~Bystander() {
        m_end.set_value();
        m_thread.join();
    }

private:
    std::promise<void> m_end;
    std::thread m_thread;
};

struct Nobody {};

template <class Lock, class Company>
void once(benchmark::State& state) {
    [[maybe_unused]] const Company company;
    Lock lock;
    for (auto _ : state) {
        lock.lock();
        lock.unlock();
    }
}

template <class Lock, class Company>
void threeDeep(benchmark::State& state) {
    [[maybe_unused]] const Company company;
    Lock lock;
    for (auto _ : state) {
        lock.lock();
        lock.lock();
        lock.lock();
        lock.unlock();
        lock.unlock();
        lock.unlock();
    }
}

/// What calling into the library costs by itself.
template <int Calls>
void emptyCalls(benchmark::State& state) {
    for (auto _ : state)
        for (int i = 0; i < Calls; ++i) OrvoSupport::ModuleData::entry();
}

template <class Company>
void count(benchmark::State& state) {
    [[maybe_unused]] const Company company;
    OrvoObjectBase object;
    object.addRef();
    OrvoObjectBase* volatile opaque = &object;  // else the calls are not virtual
    for (auto _ : state) {
        opaque->addRef();
        opaque->release();
    }
}

template <class Lock>
void contended(benchmark::State& state) {
    static Lock lock;
    static long shared = 0;
    for (auto _ : state) {
        lock.lock();
        ++shared;
        lock.unlock();
    }
}

}  // namespace

// The order matters: once a second thread has existed, the C library never takes the short cut again.
BENCHMARK(once<MutexLock, Nobody>)->Name("free/ours");
BENCHMARK(once<SectionLock, Nobody>)->Name("free-section/ours");
BENCHMARK(once<StandardLock, Nobody>)->Name("free/peer:std::recursive_mutex");
BENCHMARK(emptyCalls<2>)->Name("free/floor:two-empty-calls");
BENCHMARK(threeDeep<MutexLock, Nobody>)->Name("three-deep/ours");
BENCHMARK(threeDeep<StandardLock, Nobody>)->Name("three-deep/peer:std::recursive_mutex");
BENCHMARK(emptyCalls<6>)->Name("three-deep/floor:six-empty-calls");
BENCHMARK(count<Nobody>)->Name("count/ours");
BENCHMARK(once<StandardLock, Nobody>)->Name("count/floor:lock-alone");

BENCHMARK(once<MutexLock, Bystander>)->Name("free-2nd-thread/ours");
BENCHMARK(once<SectionLock, Bystander>)->Name("free-section-2nd-thread/ours");
BENCHMARK(once<StandardLock, Bystander>)->Name("free-2nd-thread/peer:std::recursive_mutex");
BENCHMARK(threeDeep<MutexLock, Bystander>)->Name("three-deep-2nd-thread/ours");
BENCHMARK(threeDeep<StandardLock, Bystander>)->Name("three-deep-2nd-thread/peer:std::recursive_mutex");
BENCHMARK(count<Bystander>)->Name("count-2nd-thread/ours");
BENCHMARK(once<StandardLock, Bystander>)->Name("count-2nd-thread/floor:lock-alone");

BENCHMARK(contended<MutexLock>)->Name("contended/ours")->Threads(2)->Threads(4)->UseRealTime();
BENCHMARK(contended<SectionLock>)->Name("contended-section/ours")->Threads(2)->Threads(4)->UseRealTime();
BENCHMARK(contended<StandardLock>)
    ->Name("contended/peer:std::recursive_mutex")
    ->Threads(2)
    ->Threads(4)
    ->UseRealTime();

BENCHMARK_MAIN();
