// Keyed trees: 100,000 nodes under paths of three keys, beside maps of maps that hold a number. Building and
// destroying is timed for the whole tree, looking up for one path.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "OrvoTreeNode.h"

using OrvoSupport::OrvoSmartPointer;
using OrvoSupport::OrvoTreeNode;
using Path = std::vector<std::string>;

namespace {

constexpr int nodes = 100000;

/// The paths in no particular order.
const std::vector<Path>& paths() {
    static const std::vector<Path> all = [] {
        std::vector<Path> made;
        for (int i = 0; i < nodes; ++i)
            made.push_back({"group" + std::to_string(i / 2500), "set" + std::to_string(i / 50 % 50),
                            "item" + std::to_string(i % 50)});
        std::shuffle(made.begin(), made.end(), std::mt19937(1));
        return made;
    }();
    return all;
}

class Node : public OrvoTreeNode {
public:
    explicit Node(int number) : m_number(number) {}
    int number() const { return m_number; }

private:
    int m_number;
};

struct Tree {
    Tree() {
        int number = 0;
        for (Path path : paths()) root.add(new Node(number++), path);
    }
    OrvoTreeNode root;
};

struct Maps {
    Maps() {
        int number = 0;
        for (Path path : paths()) root[std::move(path[0])][std::move(path[1])][std::move(path[2])] = number++;
    }
    std::map<std::string, std::map<std::string, std::map<std::string, int>>> root;
};

/// Looks all paths up in their order; every path is a copy, since a look-up in a tree consumes it.
template <class LookUp>
void measureLookUps(benchmark::State& state, LookUp lookUp) {
    std::size_t next = 0;
    for (auto _ : state) {
        Path path = paths()[next];
        benchmark::DoNotOptimize(lookUp(path) + 0);
        if (++next == paths().size()) next = 0;
    }
}

template <class Made>
void measureBuilding(benchmark::State& state) {
    paths();
    for (auto _ : state) {
        auto made = std::make_unique<Made>();
        benchmark::DoNotOptimize(made.get());
        state.PauseTiming();
        made.reset();
        state.ResumeTiming();
    }
}

void buildOurs(benchmark::State& state) { measureBuilding<Tree>(state); }
BENCHMARK(buildOurs)->Name("buildTree/ours");

void buildMaps(benchmark::State& state) { measureBuilding<Maps>(state); }
BENCHMARK(buildMaps)->Name("buildTree/peer:nested-maps");

void lookUpOurs(benchmark::State& state) {
    const Tree tree;
    measureLookUps(
        state, [&](Path& path) { return static_cast<const Node*>(tree.root.getNode(path).get())->number(); });
}
BENCHMARK(lookUpOurs)->Name("lookUpPath/ours");

void lookUpMaps(benchmark::State& state) {
    const Maps maps;
    measureLookUps(state, [&](Path& path) {
        return maps.root.find(path[0])->second.find(path[1])->second.find(path[2])->second;
    });
}
BENCHMARK(lookUpMaps)->Name("lookUpPath/peer:nested-maps");

/// A hundred thousand children of one node.
void addChildrenOurs(benchmark::State& state) {
    for (auto _ : state) {
        auto root = std::make_unique<OrvoTreeNode>();
        for (const Path& path : paths()) root->add(new OrvoTreeNode(path[2]));
        state.PauseTiming();
        root.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(addChildrenOurs)->Name("addChildren/ours")->Unit(benchmark::kMillisecond);

void addChildrenMap(benchmark::State& state) {
    for (auto _ : state) {
        auto map = std::make_unique<std::multimap<std::string, int>>();
        for (const Path& path : paths()) map->emplace(path[2], 1);
        state.PauseTiming();
        map.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(addChildrenMap)->Name("addChildren/peer:multimap")->Unit(benchmark::kMillisecond);

void destroyOurs(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto tree = std::make_unique<Tree>();
        state.ResumeTiming();
        tree.reset();
    }
}
BENCHMARK(destroyOurs)->Name("destroyTree/ours")->Unit(benchmark::kMillisecond);

void destroyMaps(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto maps = std::make_unique<Maps>();
        state.ResumeTiming();
        maps.reset();
    }
}
BENCHMARK(destroyMaps)->Name("destroyTree/peer:nested-maps")->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
