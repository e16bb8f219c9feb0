// Texts with references to properties: 10,000 in 1 MB, and more of them for how the time grows.
#include <benchmark/benchmark.h>

#include <string>
#include <string_view>

#include "OrvoExpandString.h"

#ifdef OSUPT_BENCH_POCO
#include <Poco/AutoPtr.h>
#include <Poco/Util/MapConfiguration.h>
#endif

namespace {

using OrvoSupport::OrvoProperties;

constexpr int keyCount = 100;

std::string key(int i) { return "setting" + std::to_string(i % keyCount); }
std::string value(int i) { return "the value of number " + std::to_string(i % keyCount); }

// 100 characters a reference.
std::string textWith(int references, const char* open, char close) {
    std::string text;
    for (int i = 0; i < references; ++i) {
        std::string piece = open + key(i) + close;
        piece.resize(100, '.');
        text += piece;
    }
    return text;
}

OrvoProperties<std::string> properties(const char* valueStart) {
    OrvoProperties<std::string> store;
    for (int i = 0; i < keyCount; ++i) store.addProperty(key(i), valueStart + value(i));
    store.addProperty(std::string("empty"), std::string());
    return store;
}

void expand(benchmark::State& state, int references, const char* valueStart) {
    OrvoProperties<std::string> store = properties(valueStart);
    const std::string text = textWith(references, "<", '>');
    for (auto _ : state) benchmark::DoNotOptimize(OrvoSupport::OrvoExpandString(text, store).data());
    state.counters["references/s"] =
        benchmark::Counter(static_cast<double>(references), benchmark::Counter::kIsIterationInvariantRate);
}

// What the best of all expansions cannot do without: copying the text, and looking each name up.
void copyAndLookUp(benchmark::State& state, int references) {
    const OrvoProperties<std::string> store = properties("");
    const std::string text = textWith(references, "<", '>');
    std::string found;
    for (auto _ : state) {
        std::string copy(text);
        for (int i = 0; i < references; ++i) store.getPropertyValue(key(i), found);
        benchmark::DoNotOptimize(copy.data());
    }
}

#ifdef OSUPT_BENCH_POCO
void expandWithPoco(benchmark::State& state, int references) {
    Poco::AutoPtr<Poco::Util::MapConfiguration> store(new Poco::Util::MapConfiguration);
    for (int i = 0; i < keyCount; ++i) store->setString(key(i), value(i));
    const std::string text = textWith(references, "${", '}');
    for (auto _ : state) benchmark::DoNotOptimize(store->expand(text).data());
}
#endif

void registerAll() {
    using benchmark::kMillisecond;
    const auto add = [](const char* name, auto run, auto... arguments) {
        benchmark::RegisterBenchmark(name, run, arguments...)->Unit(kMillisecond);
    };
    add("expand/ours", expand, 10'000, "");
    add("expandTimes2/ours", expand, 20'000, "");
    add("expandTimes10/ours", expand, 100'000, "");
    add("expandNested/ours", expand, 10'000, "<empty>");
    add("expandNestedTimes10/ours", expand, 100'000, "<empty>");
#ifdef OSUPT_BENCH_POCO
    add("expand/peer:POCO", expandWithPoco, 10'000);
    add("expandTimes2/peer:POCO", expandWithPoco, 20'000);
    add("expandTimes10/peer:POCO", expandWithPoco, 100'000);
#endif
    add("expand/floor:copy+find", copyAndLookUp, 10'000);
    add("expandTimes2/floor:copy+find", copyAndLookUp, 20'000);
    add("expandTimes10/floor:copy+find", copyAndLookUp, 100'000);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    registerAll();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
