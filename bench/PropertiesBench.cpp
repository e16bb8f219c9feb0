// Property files of 100,000 lines and 8 MB: loading, looking keys up, saving.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "OrvoProperties.h"
#include "PropertiesPeers.h"

namespace {

using OrvoSupport::OrvoProperties;

struct Lines {
    std::vector<std::string> keys;
    std::vector<std::string> values;
};

// Keys that share their beginnings, as settings do; values of some fifty characters.
const Lines& lines() {
    static const Lines all = [] {
        Lines made;
        std::mt19937 random(1);
        for (int i = 0; i < 100000; ++i) {
            char key[64];
            std::snprintf(key, sizeof key, "service.module%03d.setting%05d", i % 997, i);
            made.keys.emplace_back(key);
            std::string value(40 + random() % 20, ' ');
            for (char& c : value) c = static_cast<char>('a' + random() % 26);
            made.values.push_back(value);
        }
        std::shuffle(made.keys.begin(), made.keys.end(), random);
        return made;
    }();
    return all;
}

std::vector<std::string> sortedKeys() {
    std::vector<std::string> keys = lines().keys;
    std::sort(keys.begin(), keys.end());
    return keys;
}

// The file gone again at the end of the program; `header` is what a peer wants to see first.
class BenchFile {
public:
    BenchFile(const std::string& name, const std::vector<std::string>& keys, const char* header)
        : m_name(name) {
        std::ofstream file(m_name, std::ios::binary);
        file << header;
        for (std::size_t i = 0; i < keys.size(); ++i) file << keys[i] << '=' << lines().values[i] << '\n';
    }
    ~BenchFile() { std::remove(m_name.c_str()); }
    const std::string& name() const { return m_name; }

private:
    std::string m_name;
};

const std::string& unsortedFile() {
    static const BenchFile file("PropertiesBench.unsorted", lines().keys, "");
    return file.name();
}

const std::string& sortedFile() {
    static const BenchFile file("PropertiesBench.sorted", sortedKeys(), "");
    return file.name();
}

const std::string& fileWithGroup() {
    static const BenchFile file("PropertiesBench.group", lines().keys, "[group]\n");
    return file.name();
}

// Times loading and not the end of what was loaded.
template <class Load>
void timeLoading(benchmark::State& state, const std::string& file, Load load) {
    for (auto _ : state) {
        auto loaded = load(file);
        state.PauseTiming();
        if (!loaded) state.SkipWithError("not loaded");
        loaded.reset();
        state.ResumeTiming();
    }
}

std::unique_ptr<OrvoProperties<std::string>> loadOurs(const std::string& file) {
    auto store = std::make_unique<OrvoProperties<std::string>>();
    return store->loadProperties(file) ? std::move(store) : nullptr;
}

std::unique_ptr<std::string> readBytes(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    auto bytes = std::make_unique<std::string>(10'000'000, '\0');
    file.read(bytes->data(), static_cast<std::streamsize>(bytes->size()));
    return bytes;
}

// Looks the keys up in another random order than they were loaded in.
template <class Find>
void timeLookUps(benchmark::State& state, Find find) {
    std::vector<std::string> keys = lines().keys;
    std::shuffle(keys.begin(), keys.end(), std::mt19937(2));
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(find(keys[next]));
        if (++next == keys.size()) next = 0;
    }
}

void lookUpOurs(benchmark::State& state) {
    const auto store = loadOurs(unsortedFile());
    const std::string none;
    timeLookUps(state, [&](const std::string& key) { return store->getProperty(key, none).size(); });
}

void copyOurs(benchmark::State& state) {
    const auto store = loadOurs(unsortedFile());
    std::string value;
    timeLookUps(state, [&](const std::string& key) { return store->getPropertyValue(key, value); });
}

void lookUpMap(benchmark::State& state) {
    std::map<std::string, std::string> map;
    for (std::size_t i = 0; i < lines().keys.size(); ++i) map[lines().keys[i]] = lines().values[i];
    timeLookUps(state, [&](const std::string& key) { return map.find(key)->second.size(); });
}

void saveOurs(benchmark::State& state, const std::string& file) {
    const auto store = loadOurs(file);
    const BenchFile target("PropertiesBench.saved", {}, "");
    for (auto _ : state)
        if (!store->saveProperties(target.name())) state.SkipWithError("not saved");
}

// What a host waits for that saves once: the order is made here and not before.
void saveOursFirst(benchmark::State& state) {
    const BenchFile target("PropertiesBench.saved", {}, "");
    for (auto _ : state) {
        state.PauseTiming();
        auto store = loadOurs(unsortedFile());
        state.ResumeTiming();
        if (!store->saveProperties(target.name())) state.SkipWithError("not saved");
        state.PauseTiming();
        store.reset();
        state.ResumeTiming();
    }
}

void writeBytes(benchmark::State& state) {
    const auto bytes = readBytes(sortedFile());
    const BenchFile target("PropertiesBench.saved", {}, "");
    for (auto _ : state) {
        std::ofstream file(target.name(), std::ios::binary);
        file.write(bytes->data(), static_cast<std::streamsize>(bytes->size()));
    }
}

void registerAll() {
    using benchmark::kMillisecond;
    const auto loading = [](const char* name, const std::string& file, auto load) {
        benchmark::RegisterBenchmark(name, [=](benchmark::State& state) {
            timeLoading(state, file, load);
        })->Unit(kMillisecond);
    };
    loading("load/ours", unsortedFile(), loadOurs);
    loading("loadSorted/ours", sortedFile(), loadOurs);
    for (const PropertiesPeer& peer : propertiesPeers())
        loading(("load/peer:" + peer.name).c_str(), peer.wantsGroup ? fileWithGroup() : unsortedFile(),
                peer.load);
    loading("load/floor:read", unsortedFile(), readBytes);

    benchmark::RegisterBenchmark("lookUp/ours", lookUpOurs);
    benchmark::RegisterBenchmark("lookUpCopy/ours", copyOurs);
    benchmark::RegisterBenchmark("lookUp/peer:std::map", lookUpMap);

    const auto saving = [](const char* name, const std::string& file) {
        benchmark::RegisterBenchmark(name, saveOurs, file)->Unit(kMillisecond);
    };
    saving("save/ours", unsortedFile());
    saving("saveSorted/ours", sortedFile());
    benchmark::RegisterBenchmark("saveFirst/ours", saveOursFirst)->Unit(kMillisecond);
    benchmark::RegisterBenchmark("save/floor:write", writeBytes)->Unit(kMillisecond);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    registerAll();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
