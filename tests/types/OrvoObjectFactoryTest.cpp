#include "OrvoObjectFactory.h"

#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <vector>

#include "types/VirtualSlots.h"

namespace {

using namespace OrvoSupport;
using testing::ElementsAre;

static_assert(std::has_virtual_destructor_v<OrvoObjectFactory>);
static_assert(std::has_virtual_destructor_v<OrvoExemplar> && !std::is_abstract_v<OrvoExemplar>);
static_assert(std::is_abstract_v<OrvoObjectFactoryRegistration>);

std::atomic<int> alive{0};

struct Thing : OrvoObjectBase {
    explicit Thing(int whoMadeIt) : maker(whoMadeIt) { ++alive; }
    ~Thing() override { --alive; }
    const int maker;
};

template <int Maker>
OrvoObjectBase* make() {
    return new Thing(Maker);
}

/// Creates what its function returns.
struct Registration : OrvoObjectFactoryRegistration {
    explicit Registration(int maker) : work([maker] { return new Thing(maker); }) {}
    explicit Registration(std::function<OrvoSmartPointer<OrvoObjectBase>()> create)
        : work(std::move(create)) {}
    OrvoSmartPointer<OrvoObjectBase> create() override { return work(); }
    std::function<OrvoSmartPointer<OrvoObjectBase>()> work;
};

/// Who made the object of that name; 0 when there is none.
int makerOf(OrvoObjectFactory& factory, const string& name) {
    const OrvoSmartPointer<OrvoObjectBase> object = factory.construct(name);
    return object ? dynamic_cast<Thing&>(*object).maker : 0;
}

TEST(OrvoObjectFactoryTest, knowsNothingAtFirst) {
    OrvoObjectFactory factory;
    EXPECT_TRUE(factory.construct("Thing") == nullptr);
    EXPECT_TRUE(factory.construct("") == nullptr);
    EXPECT_TRUE(factory.getRegisteredClasses().empty());
    factory.remove("Thing");
}

TEST(OrvoObjectFactoryTest, constructsAnObjectThatOnlyItsCallerHolds) {
    OrvoObjectFactory factory;
    factory.add("Thing", make<1>);
    {
        const OrvoSmartPointer<OrvoObjectBase> object = factory.construct("Thing");
        ASSERT_TRUE(object);
        EXPECT_EQ(1u, object->refCount());
        EXPECT_TRUE(factory.construct("Thing") != object);
        EXPECT_EQ(1, alive);
    }
    EXPECT_EQ(0, alive);
}

TEST(OrvoObjectFactoryTest, constructsThroughARegistration) {
    OrvoObjectFactory factory;
    Registration registration(7);
    factory.add("Thing", registration);
    EXPECT_EQ(7, makerOf(factory, "Thing"));
    const OrvoSmartPointer<OrvoObjectBase> object = factory.construct("Thing");
    EXPECT_EQ(1u, object->refCount());
}

TEST(OrvoObjectFactoryTest, aRegistrationHasItsOperationBehindTheDestructor) {
    EXPECT_EQ(2u, testing_support::virtualSlot(&OrvoObjectFactoryRegistration::create));
}

TEST(OrvoObjectFactoryTest, theFirstOfAKindCounts) {
    OrvoObjectFactory factory;
    Registration first(3);
    Registration second(4);
    factory.add("function", make<1>);
    factory.add("function", make<2>);
    factory.add("registration", first);
    factory.add("registration", second);
    EXPECT_EQ(1, makerOf(factory, "function"));
    EXPECT_EQ(3, makerOf(factory, "registration"));
    EXPECT_THAT(factory.getRegisteredClasses(), ElementsAre("function", "registration"));
}

TEST(OrvoObjectFactoryTest, aRegistrationCountsMoreThanAFunctionAndGoesFirst) {
    for (const bool functionFirst : {false, true}) {
        OrvoObjectFactory factory;
        Registration registration(2);
        if (functionFirst) factory.add("Thing", make<1>);
        factory.add("Thing", registration);
        if (!functionFirst) factory.add("Thing", make<1>);
        EXPECT_THAT(factory.getRegisteredClasses(), ElementsAre("Thing", "Thing"));
        EXPECT_EQ(2, makerOf(factory, "Thing"));
        factory.remove("Thing");
        EXPECT_EQ(1, makerOf(factory, "Thing"));
        EXPECT_THAT(factory.getRegisteredClasses(), ElementsAre("Thing"));
        factory.remove("Thing");
        EXPECT_EQ(0, makerOf(factory, "Thing"));
        EXPECT_TRUE(factory.getRegisteredClasses().empty());
    }
}

TEST(OrvoObjectFactoryTest, aRemovedNameCanBeEnteredAnew) {
    OrvoObjectFactory factory;
    Registration registration(5);
    factory.add("Thing", make<1>);
    factory.remove("Thing");
    factory.add("Thing", make<2>);
    EXPECT_EQ(2, makerOf(factory, "Thing"));
    factory.add("Thing", registration);
    factory.remove("Thing");
    factory.add("Thing", registration);
    EXPECT_EQ(5, makerOf(factory, "Thing"));
}

TEST(OrvoObjectFactoryTest, listsFunctionsBeforeRegistrationsInTheOrderOfTheirBytes) {
    OrvoObjectFactory factory;
    Registration registration(1);
    for (const char* name : {"b", "\xE4", "a", "B", "", "ab", "\x7F"}) factory.add(name, make<1>);
    factory.add(string("a\0b", 3), make<1>);
    for (const char* name : {"z", "A", "a"}) factory.add(name, registration);
    EXPECT_THAT(factory.getRegisteredClasses(),
                ElementsAre("", "B", "a", string("a\0b", 3), "ab", "b", "\x7F", "\xE4", "A", "a", "z"));
}

TEST(OrvoObjectFactoryTest, tellsNamesApartByEveryByte) {
    OrvoObjectFactory factory;
    factory.add(string("a\0b", 3), make<1>);
    factory.add("a", make<2>);
    factory.add("A", make<3>);
    factory.add("", make<4>);
    EXPECT_EQ(1, makerOf(factory, string("a\0b", 3)));
    EXPECT_EQ(0, makerOf(factory, string("a\0c", 3)));
    EXPECT_EQ(0, makerOf(factory, string("a\0", 2)));
    EXPECT_EQ(2, makerOf(factory, "a"));
    EXPECT_EQ(3, makerOf(factory, "A"));
    EXPECT_EQ(4, makerOf(factory, ""));
    EXPECT_EQ(0, makerOf(factory, " a"));
}

TEST(OrvoObjectFactoryTest, aCreatorThatMakesNothingGivesNull) {
    OrvoObjectFactory factory;
    Registration registration([] { return nullptr; });
    factory.add("function", []() -> OrvoObjectBase* { return nullptr; });
    factory.add("registration", registration);
    EXPECT_TRUE(factory.construct("function") == nullptr);
    EXPECT_TRUE(factory.construct("registration") == nullptr);
}

TEST(OrvoObjectFactoryTest, ignoresANullFunction) {
    OrvoObjectFactory factory;
    factory.add("Thing", nullptr);
    EXPECT_TRUE(factory.getRegisteredClasses().empty());
    EXPECT_TRUE(factory.construct("Thing") == nullptr);
    factory.add("Thing", make<1>);
    EXPECT_EQ(1, makerOf(factory, "Thing"));
}

TEST(OrvoObjectFactoryTest, passesOnWhatACreatorThrowsAndStaysUsable) {
    OrvoObjectFactory factory;
    Registration registration([]() -> OrvoSmartPointer<OrvoObjectBase> { throw 42; });
    factory.add("function", []() -> OrvoObjectBase* { throw std::runtime_error("no"); });
    factory.add("registration", registration);
    factory.add("Thing", make<1>);
    EXPECT_THROW(factory.construct("function"), std::runtime_error);
    EXPECT_THROW(factory.construct("registration"), int);
    int maker = 0;
    std::thread([&] { maker = makerOf(factory, "Thing"); }).join();  // waits for ever if the lock were held
    EXPECT_EQ(1, maker);
    EXPECT_EQ(3u, factory.getRegisteredClasses().size());
}

TEST(OrvoObjectFactoryTest, aCreatorMayUseTheFactoryOnAnyThread) {
    OrvoObjectFactory factory;
    factory.add("part", make<3>);
    Registration registration([&factory] {
        int maker = 0;
        std::thread([&] { maker = makerOf(factory, "part"); }).join();
        factory.add("other", make<9>);
        return factory.construct("part")->refCount() == 1 ? new Thing(maker + 1) : nullptr;
    });
    factory.add("whole", registration);
    EXPECT_EQ(4, makerOf(factory, "whole"));
    EXPECT_EQ(9, makerOf(factory, "other"));
}

TEST(OrvoObjectFactoryTest, aRegistrationMayRemoveAndEvenReplaceItself) {
    OrvoObjectFactory factory;
    Registration next(2);
    Registration once([&]() -> OrvoSmartPointer<OrvoObjectBase> {
        factory.remove("Thing");
        factory.add("Thing", next);
        return new Thing(1);
    });
    factory.add("Thing", once);
    EXPECT_EQ(1, makerOf(factory, "Thing"));
    EXPECT_EQ(2, makerOf(factory, "Thing"));
}

OrvoObjectBase* makeNested() {
    static thread_local int depth = 0;
    if (++depth == 50) {
        depth = 0;
        return new Thing(50);
    }
    const OrvoSmartPointer<OrvoObjectBase> inner = OrvoObjectFactory::getGlobalInstance().construct("nested");
    return new Thing(dynamic_cast<Thing&>(*inner).maker);
}

TEST(OrvoObjectFactoryTest, aCreatorMayConstructItsOwnName) {
    OrvoObjectFactory::getGlobalInstance().add("nested", makeNested);
    EXPECT_EQ(50, makerOf(OrvoObjectFactory::getGlobalInstance(), "nested"));
    OrvoObjectFactory::deleteGlobalInstance();
    EXPECT_EQ(0, alive);
}

TEST(OrvoObjectFactoryTest, copiesAreIndependent) {
    OrvoObjectFactory factory;
    Registration registration(2);
    factory.add("function", make<1>);
    factory.add("registration", registration);
    OrvoObjectFactory copy(factory);
    OrvoObjectFactory assigned;
    assigned.add("gone", make<9>);
    assigned = factory;
    factory.remove("function");
    factory.add("new", make<3>);
    for (OrvoObjectFactory* each : {&copy, &assigned}) {
        EXPECT_EQ(1, makerOf(*each, "function"));
        EXPECT_EQ(2, makerOf(*each, "registration"));
        EXPECT_THAT(each->getRegisteredClasses(), ElementsAre("function", "registration"));
    }
    OrvoObjectFactory& same = copy;
    copy = same;
    EXPECT_EQ(2u, copy.getRegisteredClasses().size());
}

TEST(OrvoObjectFactoryTest, deletesThroughTheBase) {
    struct Special : OrvoObjectFactory {
        ~Special() override { --alive; }
    };
    ++alive;
    OrvoObjectFactory* factory = new Special;
    delete factory;
    EXPECT_EQ(0, alive);
}

TEST(OrvoObjectFactoryTest, thereIsOneForTheProcessUntilItIsDeleted) {
    OrvoObjectFactory::deleteGlobalInstance();
    OrvoObjectFactory& factory = OrvoObjectFactory::getGlobalInstance();
    EXPECT_EQ(&factory, &OrvoObjectFactory::getGlobalInstance());
    factory.add("Thing", make<1>);
    EXPECT_EQ(1, makerOf(OrvoObjectFactory::getGlobalInstance(), "Thing"));
    OrvoObjectFactory::deleteGlobalInstance();
    EXPECT_TRUE(OrvoObjectFactory::getGlobalInstance().getRegisteredClasses().empty());
    OrvoObjectFactory::deleteGlobalInstance();
    OrvoObjectFactory::deleteGlobalInstance();
}

TEST(OrvoObjectFactoryTest, objectsOutliveTheFactoryAndTheirRegistration) {
    OrvoSmartPointer<OrvoObjectBase> object;
    {
        Registration registration(1);
        OrvoObjectFactory factory;
        factory.add("Thing", registration);
        object = factory.construct("Thing");
    }
    EXPECT_EQ(1u, object->refCount());
    EXPECT_EQ(1, alive);
    object = nullptr;
    EXPECT_EQ(0, alive);
}

TEST(OrvoObjectFactoryTest, aRegistrationMayGoBeforeTheFactory) {
    OrvoObjectFactory factory;
    {
        Registration registration(1);
        factory.add("Thing", registration);
    }
    EXPECT_THAT(factory.getRegisteredClasses(), ElementsAre("Thing"));
}

TEST(OrvoObjectFactoryTest, servesSeveralThreadsWhileNamesComeAndGo) {
    OrvoObjectFactory factory;
    Registration registration(2);
    factory.add("always", make<1>);
    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, own = "own" + std::to_string(t)] {
            for (int i = 0; i < 300; ++i) {
                factory.add(own, make<3>);
                factory.add("shared", registration);
                if (makerOf(factory, "always") != 1 || makerOf(factory, own) != 3) ++wrong;
                const int shared = makerOf(factory, "shared");
                if (shared != 0 && shared != 2) ++wrong;
                factory.remove("shared");
                OrvoObjectFactory copy(factory);
                if (makerOf(copy, "always") != 1) ++wrong;
                factory.remove(own);
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, wrong);
    EXPECT_EQ(0, alive);
    factory.remove("shared");
    EXPECT_THAT(factory.getRegisteredClasses(), ElementsAre("always"));
}

}  // namespace
