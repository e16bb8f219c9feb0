// Objects created by name, out of few and of many names.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "OrvoObjectFactory.h"

namespace {

using OrvoSupport::OrvoObjectBase;
using OrvoSupport::OrvoObjectFactory;
using OrvoSupport::OrvoSmartPointer;

OrvoObjectBase* make() { return new OrvoObjectBase; }

struct Registration : OrvoSupport::OrvoObjectFactoryRegistration {
    OrvoSmartPointer<OrvoObjectBase> create() override { return make(); }
};

/// Names as classes have them, in no order.
std::vector<std::string> names(int count) {
    std::vector<std::string> all;
    for (int i = 0; i < count; ++i) all.push_back("Application::Objects::Class" + std::to_string(i * 7919));
    std::shuffle(all.begin(), all.end(), std::mt19937(1));
    return all;
}

template <class Factory>
void construct(benchmark::State& state) {
    const std::vector<std::string> all = names(static_cast<int>(state.range(0)));
    Factory factory(all);
    std::size_t next = 0;
    for (auto _ : state) {
        OrvoSmartPointer<OrvoObjectBase> object = factory.construct(all[next]);
        benchmark::DoNotOptimize(object);
        if (++next == all.size()) next = 0;
    }
}

/// Functions, registrations, or every second name either way.
template <int Functions, int Registrations>
struct Ours {
    explicit Ours(const std::vector<std::string>& all) {
        for (std::size_t i = 0; i < all.size(); ++i)
            if (static_cast<int>(i % (Functions + Registrations)) < Functions)
                factory.add(all[i], make);
            else
                factory.add(all[i], registration);
    }
    OrvoSmartPointer<OrvoObjectBase> construct(const std::string& name) { return factory.construct(name); }
    Registration registration;
    OrvoObjectFactory factory;
};

struct Map {
    explicit Map(const std::vector<std::string>& all) {
        for (const std::string& name : all) creators.emplace(name, make);
    }
    OrvoSmartPointer<OrvoObjectBase> construct(const std::string& name) {
        std::unique_lock<std::mutex> lock(mutex);
        const auto found = creators.find(name);
        if (found == creators.end()) return nullptr;
        OrvoObjectBase* (*const creator)() = found->second;
        lock.unlock();
        return creator();
    }
    std::mutex mutex;
    std::map<std::string, OrvoObjectBase* (*)()> creators;
};

struct Direct {
    explicit Direct(const std::vector<std::string>&) {}
    OrvoSmartPointer<OrvoObjectBase> construct(const std::string&) { return make(); }
};

}  // namespace

BENCHMARK(construct<Ours<1, 0>>)->Name("create-of-10/ours")->Arg(10);
BENCHMARK(construct<Map>)->Name("create-of-10/peer:std::map+std::mutex")->Arg(10);
BENCHMARK(construct<Direct>)->Name("create-of-10/floor:new")->Arg(10);
BENCHMARK(construct<Ours<1, 0>>)->Name("create-of-1000/ours")->Arg(1000);
BENCHMARK(construct<Map>)->Name("create-of-1000/peer:std::map+std::mutex")->Arg(1000);
BENCHMARK(construct<Direct>)->Name("create-of-1000/floor:new")->Arg(1000);
BENCHMARK(construct<Ours<1, 1>>)->Name("create-of-1000-both-kinds/ours")->Arg(1000);
BENCHMARK(construct<Map>)->Name("create-of-1000-both-kinds/peer:std::map+std::mutex")->Arg(1000);

BENCHMARK_MAIN();
