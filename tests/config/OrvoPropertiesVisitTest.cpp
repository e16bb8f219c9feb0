#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "config/PropertyTexts.h"

using namespace std::chrono_literals;

namespace OrvoSupport {
namespace {

template <class S>
class OrvoPropertiesVisitTest : public testing::Test {};
TYPED_TEST_SUITE(OrvoPropertiesVisitTest, AllStrings, StringName);

TYPED_TEST(OrvoPropertiesVisitTest, visitsInKeyOrderOnceAKey) {
    OrvoProperties<TypeParam> store;
    for (const char* line : {"b=1", "ab=2", "a=3", "aa=4", "b=5"})
        store.addProperty(text<TypeParam>(line), '=');

    EXPECT_EQ("a=3;aa=4;ab=2;b=1,5;", contents(store));
}

TYPED_TEST(OrvoPropertiesVisitTest, visitsNothingWithABaseVisitor) {
    OrvoProperties<TypeParam> store;
    store.addProperty(text<TypeParam>("a"), text<TypeParam>("1"));
    OrvoPropertyIterator<TypeParam> visitor;
    store.forEach(visitor);

    EXPECT_EQ("a=1;", contents(store));
}

template <class S>
struct Changer : Notes<S> {
    explicit Changer(OrvoProperties<S>& changed) : store(changed) {}
    void visit(const std::pair<S, std::vector<S>>& entry) override {
        Notes<S>::visit(entry);
        if (bytes(entry.first) == "a") store.addProperty(text<S>("d"), text<S>("new"));
        if (bytes(entry.first) == "b") store.removeProperty(text<S>("c"));
        store.removeProperty(entry.first);
    }
    OrvoProperties<S>& store;
};

TYPED_TEST(OrvoPropertiesVisitTest, letsTheVisitorChangeTheStore) {
    OrvoProperties<TypeParam> store;
    for (const char* line : {"a=1", "b=2", "c=3"}) store.addProperty(text<TypeParam>(line), '=');
    Changer<TypeParam> changer(store);
    store.forEach(changer);

    EXPECT_EQ("a=1;b=2;d=new;", changer.all());
    EXPECT_EQ("", contents(store));
}

template <class S>
struct Replacer : OrvoPropertyIterator<S> {
    explicit Replacer(OrvoProperties<S>& changed) : store(changed) {}
    void visit(const std::pair<S, std::vector<S>>& entry) override {
        ++visited;
        store.removeProperty(entry.first);
        // In front of the current key: not visited.
        store.addProperty(text<S>("!") + entry.first, entry.second.front());
    }
    OrvoProperties<S>& store;
    int visited = 0;
};

TYPED_TEST(OrvoPropertiesVisitTest, letsTheVisitorRenameManyKeys) {
    OrvoProperties<TypeParam> store;
    for (int i = 0; i < 600; ++i) {
        const std::string number = std::to_string(i * 7919 % 600);
        store.addProperty(text<TypeParam>("key" + number), text<TypeParam>(number));
    }
    const std::string before = contents(store);
    Replacer<TypeParam> replacer(store);
    store.forEach(replacer);

    EXPECT_EQ(600, replacer.visited);
    std::string after = contents(store);
    after.erase(std::remove(after.begin(), after.end(), '!'), after.end());
    EXPECT_TRUE(before == after);
}

TYPED_TEST(OrvoPropertiesVisitTest, visitsOnManyThreadsAtOnce) {
    OrvoProperties<TypeParam> store;
    for (const char* line : {"b=1", "a=2", "c=3", "d=4"}) store.addProperty(text<TypeParam>(line), '=');
    store.removeProperty(text<TypeParam>("c"));
    const OrvoProperties<TypeParam>& readOnly = store;
    std::vector<std::future<std::string>> results;
    for (int i = 0; i < 4; ++i)
        results.push_back(std::async(std::launch::async, [&] {
            return contents(readOnly) + contents(OrvoProperties<TypeParam>(readOnly));
        }));

    for (auto& result : results) EXPECT_EQ("a=2;b=1;d=4;a=2;b=1;d=4;", result.get());
}

template <class S>
struct OtherThreadReader : OrvoPropertyIterator<S> {
    explicit OtherThreadReader(OrvoProperties<S>& read) : store(read) {}
    void visit(const std::pair<S, std::vector<S>>& entry) override {
        std::packaged_task<S()> task([&] { return store.getProperty(entry.first, S()); });
        std::future<S> value = task.get_future();
        std::thread reader(std::move(task));
        if (value.wait_for(30s) == std::future_status::ready) found = bytes(value.get());
        reader.detach();
    }
    OrvoProperties<S>& store;
    std::string found;
};

TYPED_TEST(OrvoPropertiesVisitTest, holdsNoLockWhileItVisits) {
    OrvoProperties<TypeParam> store;
    store.addProperty(text<TypeParam>("a"), text<TypeParam>("1"));
    OtherThreadReader<TypeParam> reader(store);
    store.forEach(reader);

    EXPECT_EQ("1", reader.found);
}

TYPED_TEST(OrvoPropertiesVisitTest, standsReadersAndWritersOnManyThreads) {
    OrvoProperties<TypeParam> store;
    const OrvoProperties<TypeParam> source;
    std::atomic<bool> wrong{false};
    const auto work = [&](int seed) {
        for (int i = 0; i < 150; ++i) {
            const TypeParam key = text<TypeParam>("key" + std::to_string((i * 7 + seed) % 50));
            TypeParam value;
            store.addProperty(key, text<TypeParam>("a value that lives on the heap"));
            store.addProperty(text<TypeParam>("line=" + std::to_string(seed)), '=');
            store.setProperty(key, text<TypeParam>("another value on the heap"));
            if (store.getPropertyValue(key, value) && value.size() < 24) wrong = true;
            for (const TypeParam& each : store.getPropertyValues(key))
                if (each.size() < 24) wrong = true;
            store.getProperty(text<TypeParam>("never there"), value);
            if (i % 3 == 0) store.removeProperty(key);
            if (i % 50 == 49) store = source;
        }
    };
    std::vector<std::thread> threads;
    for (int seed = 0; seed < 4; ++seed) threads.emplace_back(work, seed);
    for (std::thread& thread : threads) thread.join();

    EXPECT_FALSE(wrong);
}

}  // namespace
}  // namespace OrvoSupport
