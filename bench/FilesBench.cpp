// Listing a folder and removing a tree, beside the system's and the standard library's own ways.
#include <OrvoFindFile.h>
#include <benchmark/benchmark.h>
#include <dirent.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int entryCount = 10000;
constexpr int entriesPerFolder = 100;

/// A folder of the benchmark's own, removed at the end.
class Folder {
public:
    Folder()
        : m_path((std::filesystem::temp_directory_path() /
                  ("osupt-bench-" + std::to_string(std::random_device()())))
                     .string()) {
        std::filesystem::create_directory(m_path);
    }
    ~Folder() { std::filesystem::remove_all(m_path); }
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

void fill(const std::string& folder, int first, int count) {
    std::filesystem::create_directories(folder);
    for (int i = first; i < first + count; ++i)
        std::ofstream(folder + "/entry-" + std::to_string(i) + ".txt");
}

const std::string& listedFolder() {
    static const Folder folder;
    static const std::string path = [] {
        fill(folder.file("list"), 0, entryCount);
        return folder.file("list");
    }();
    return path;
}

void listOurs(benchmark::State& state) {
    const std::string pattern = listedFolder() + "/*";
    std::size_t bytes = 0;
    for (auto _ : state)
        for (OrvoSupport::OrvoFindFile files(pattern); files.hasMore();) bytes += files.next().size();
    benchmark::DoNotOptimize(bytes + 0);
}
BENCHMARK(listOurs)->Name("list_10000/ours")->Unit(benchmark::kMillisecond);

void listFloor(benchmark::State& state) {
    const std::string path = listedFolder();
    std::size_t bytes = 0;
    for (auto _ : state) {
        DIR* directory = ::opendir(path.c_str());
        while (const dirent* entry = ::readdir(directory))
            bytes += static_cast<unsigned char>(entry->d_name[0]);
        ::closedir(directory);
    }
    benchmark::DoNotOptimize(bytes + 0);
}
BENCHMARK(listFloor)->Name("list_10000/floor:readdir")->Unit(benchmark::kMillisecond);

void listPeer(benchmark::State& state) {
    const std::string path = listedFolder();
    std::size_t bytes = 0;
    for (auto _ : state)
        for (const auto& entry : std::filesystem::directory_iterator(path))
            bytes += entry.path().native().size();
    benchmark::DoNotOptimize(bytes + 0);
}
BENCHMARK(listPeer)->Name("list_10000/peer:std_filesystem")->Unit(benchmark::kMillisecond);

/// Removes the same tree again and again; only the removal is timed.
template <class Remove>
void removeTree(benchmark::State& state, Remove remove) {
    const Folder folder;
    const std::string tree = folder.file("tree");
    for (auto _ : state) {
        for (int first = 0; first < entryCount; first += entriesPerFolder)
            fill(tree + "/folder-" + std::to_string(first), first, entriesPerFolder);
        const auto start = Clock::now();
        remove(tree);
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    }
}

void removeOurs(benchmark::State& state) {
    removeTree(state, [](const std::string& tree) { OrvoSupport::OrvoRemoveDirectory(tree, true); });
}
BENCHMARK(removeOurs)
    ->Name("remove_10000/ours")
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);

void removePeer(benchmark::State& state) {
    removeTree(state, [](const std::string& tree) { std::filesystem::remove_all(tree); });
}
BENCHMARK(removePeer)
    ->Name("remove_10000/peer:std_filesystem")
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
