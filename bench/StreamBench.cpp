// Numbers through the stream operators, and long streams drained in small pieces.
#include <benchmark/benchmark.h>

#include <cstring>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include "OrvoBufferStream.h"
#include "OrvoCriticalSection.h"

namespace {

using OrvoSupport::OrvoBufferStream;
using OrvoSupport::OrvoCriticalSectionObject;

constexpr int many = 100'000;

void lockAndUnlock(benchmark::State& state) {
    OrvoCriticalSectionObject lock;
    for (auto _ : state) {
        lock.lock();
        lock.unlock();
    }
}

void writeOurs(benchmark::State& state) {
    OrvoBufferStream stream(1 << 20);
    int i = 0;
    for (auto _ : state) {
        stream << i;
        if (++i % many == 0) stream.reset();
    }
}

void readOurs(benchmark::State& state) {
    const std::vector<int> numbers(many, 7);
    OrvoBufferStream stream;
    int left = 0;
    for (auto _ : state) {
        if (left-- == 0) {
            stream.write(numbers.data(), sizeof(int), many);
            left = many - 1;
        }
        int value;
        stream >> value;
        benchmark::DoNotOptimize(value);
    }
}

/// A string stream behind a lock is what a program has without the library.
struct StandardStream {
    void write(int value) {
        const std::lock_guard<std::recursive_mutex> guard(mutex);
        stream.write(reinterpret_cast<const char*>(&value), sizeof value);
    }
    void read(int& value) {
        const std::lock_guard<std::recursive_mutex> guard(mutex);
        stream.read(reinterpret_cast<char*>(&value), sizeof value);
    }
    std::recursive_mutex mutex;
    std::stringstream stream;
};

void writeStandard(benchmark::State& state) {
    StandardStream stream;
    int i = 0;
    for (auto _ : state) {
        stream.write(i);
        if (++i % many == 0) stream.stream.seekp(0);
    }
}

void readStandard(benchmark::State& state) {
    StandardStream stream;
    for (int i = 0; i < many; ++i) stream.write(i);
    int left = many;
    for (auto _ : state) {
        if (left-- == 0) {
            stream.stream.seekg(0);
            left = many - 1;
        }
        int value;
        stream.read(value);
        benchmark::DoNotOptimize(value);
    }
}

/// The time of one megabyte, out of as many as the argument says.
void drainOurs(benchmark::State& state) {
    const std::vector<char> megabyte(1'000'000, 'x');
    char piece[64];
    OrvoBufferStream stream(100'000'000);
    for (auto _ : state) {
        if (stream.size() == 0) {
            state.PauseTiming();
            for (int i = 0; i < state.range(0); ++i) stream.write(megabyte.data(), 1, 1'000'000);
            state.ResumeTiming();
        }
        for (int i = 0; i < 1'000'000; i += 64) benchmark::DoNotOptimize(stream.read(piece, 1, sizeof piece));
    }
}

void drainFloor(benchmark::State& state) {
    const std::vector<char> megabyte(1'000'000, 'x');
    char piece[64];
    OrvoCriticalSectionObject lock;
    for (auto _ : state)
        for (int i = 0; i < 1'000'000; i += 64) {
            lock.lock();
            std::memcpy(piece, megabyte.data() + i, sizeof piece);
            benchmark::DoNotOptimize(piece);
            lock.unlock();
        }
}

}  // namespace

BENCHMARK(writeOurs)->Name("write-int/ours");
BENCHMARK(writeStandard)->Name("write-int/peer:std::stringstream+mutex");
BENCHMARK(lockAndUnlock)->Name("write-int/floor:free-lock-and-unlock");
BENCHMARK(readOurs)->Name("read-int/ours");
BENCHMARK(readStandard)->Name("read-int/peer:std::stringstream+mutex");
BENCHMARK(lockAndUnlock)->Name("read-int/floor:free-lock-and-unlock");
BENCHMARK(drainOurs)->Name("drain-MB-of-1/ours")->Arg(1);
BENCHMARK(drainFloor)->Name("drain-MB-of-1/floor:lock+memcpy");
BENCHMARK(drainOurs)->Name("drain-MB-of-100/ours")->Arg(100);
BENCHMARK(drainFloor)->Name("drain-MB-of-100/floor:lock+memcpy");

BENCHMARK_MAIN();
