#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <stdexcept>
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

// Notes what it visits and does something at one key.
template <class S>
struct Doer : Notes<S> {
    Doer(std::string key, std::function<void()> work) : m_key(std::move(key)), m_work(std::move(work)) {}
    void visit(const std::pair<S, std::vector<S>>& entry) override {
        if (bytes(entry.first) == m_key) m_work();
        Notes<S>::visit(entry);
    }

private:
    std::string m_key;
    std::function<void()> m_work;
};

TYPED_TEST(OrvoPropertiesVisitTest, visitsWhatTheVisitorMakesOfTheKeysToCome) {
    using Store = OrvoProperties<TypeParam>;
    const auto add = [](const char* line) {
        return [line](Store& store) { store.addProperty(text<TypeParam>(line), '='); };
    };
    const auto remove = [](const char* key) {
        return [key](Store& store) { store.removeProperty(text<TypeParam>(key)); };
    };
    const auto set = [](const char* key) {
        return [key](Store& store) { store.setProperty(text<TypeParam>(key), text<TypeParam>("set")); };
    };
    struct Case {
        const char* what;
        std::function<void(Store&)> work;  // at the key b
        const char* visited;
        const char* left;
    };
    const Case cases[] = {
        {"adds in front", add("ab=new"), "a=1;b=2;c=3;", "a=1;ab=new;b=2;c=3;"},
        {"adds right behind", add("b!=new"), "a=1;b=2;b!=new;c=3;", "a=1;b=2;b!=new;c=3;"},
        {"adds behind the last", add("d=new"), "a=1;b=2;c=3;d=new;", "a=1;b=2;c=3;d=new;"},
        {"adds a value to the current key", add("b=new"), "a=1;b=2;c=3;", "a=1;b=2,new;c=3;"},
        {"adds a value to the next key", add("c=new"), "a=1;b=2;c=3,new;", "a=1;b=2;c=3,new;"},
        {"sets the current key", set("b"), "a=1;b=2;c=3;", "a=1;b=set;c=3;"},
        {"sets the next key", set("c"), "a=1;b=2;c=set;", "a=1;b=2;c=set;"},
        {"removes an earlier key", remove("a"), "a=1;b=2;c=3;", "b=2;c=3;"},
        {"removes the current key", remove("b"), "a=1;b=2;c=3;", "a=1;c=3;"},
        {"removes the next key", remove("c"), "a=1;b=2;", "a=1;b=2;"},
        {"replaces everything", [](Store& store) { store = Store(false); }, "a=1;b=2;", ""},
        {"reads", [](Store& store) { EXPECT_EQ("a=1;b=2;c=3;", contents(Store(store))); }, "a=1;b=2;c=3;",
         "a=1;b=2;c=3;"},
        {"visits", [](Store& store) { EXPECT_EQ("a=1;b=2;c=3;", contents(store)); }, "a=1;b=2;c=3;",
         "a=1;b=2;c=3;"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Store store;
        for (const char* line : {"c=3", "a=1", "b=2"}) store.addProperty(text<TypeParam>(line), '=');
        Doer<TypeParam> visitor("b", [&] { c.work(store); });
        store.forEach(visitor);
        EXPECT_EQ(c.visited, visitor.all());
        EXPECT_EQ(c.left, contents(store));
    }
}

TYPED_TEST(OrvoPropertiesVisitTest, letsPassWhatTheVisitorThrows) {
    OrvoProperties<TypeParam> store;
    for (const char* line : {"c=3", "a=1", "b=2"}) store.addProperty(text<TypeParam>(line), '=');
    Doer<TypeParam> thrower("b", [] { throw std::runtime_error("enough"); });

    EXPECT_THROW(store.forEach(thrower), std::runtime_error);
    EXPECT_EQ("a=1;", thrower.all());
    std::async(std::launch::async, [&] { store.removeProperty(text<TypeParam>("b")); }).get();
    EXPECT_EQ("a=1;c=3;", contents(store));
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
            OrvoProperties<TypeParam> assigned;
            assigned = readOnly;
            return bytes(readOnly.getProperty(text<TypeParam>("d"), TypeParam())) + contents(assigned) +
                   contents(readOnly) + contents(OrvoProperties<TypeParam>(readOnly));
        }));

    for (auto& result : results) EXPECT_EQ("4a=2;b=1;d=4;a=2;b=1;d=4;a=2;b=1;d=4;", result.get());
}

TEST(OrvoPropertiesManyTest, losesManyKeysWhileTheyAreVisited) {
    OrvoProperties<string> store;
    for (int i = 0; i < 3000; ++i) store.addProperty(std::to_string(i * 7919 % 3000), "value");
    struct Remover : OrvoPropertyIterator<string> {
        explicit Remover(OrvoProperties<string>& emptied) : store(emptied) {}
        void visit(const std::pair<string, std::vector<string>>& entry) override {
            ++visited;
            store.removeProperty(entry.first);
        }
        OrvoProperties<string>& store;
        int visited = 0;
    };
    Remover remover(store);
    store.forEach(remover);

    EXPECT_EQ(3000, remover.visited);
    EXPECT_EQ("", contents(store));
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
