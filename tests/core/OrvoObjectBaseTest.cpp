#include "OrvoObjectBase.h"

#include <gmock/gmock.h>

#include <thread>
#include <type_traits>
#include <vector>

#include "OrvoCriticalSection.h"

namespace OrvoSupport {

// Stand in the library's namespace, so that their names look like those of its own classes.
class CountedThing : public OrvoObjectBase {
public:
    explicit CountedThing(int* destroyed = nullptr) : m_destroyed(destroyed) {}
    ~CountedThing() override {
        if (m_destroyed) ++*m_destroyed;
    }
    static string normalized(const string& name) { return normalizeClassName(name); }

private:
    int* m_destroyed;
};

class SpecialThing : public CountedThing {
public:
    using CountedThing::CountedThing;
};

template <class A, class B>
class ThingOf : public OrvoObjectBase {};

struct RenamedThing : OrvoObjectBase {
    string getClassName() override { return "Renamed"; }
};

}  // namespace OrvoSupport

namespace {

using namespace OrvoSupport;

// Offers the two operations that a smart pointer needs, and nothing else.
struct Minimal {
    int count = 0;
    std::vector<std::string>* log = nullptr;
    const char* name = "";
    void addRef() {
        ++count;
        if (log) log->push_back(std::string("+") + name);
    }
    void release() {
        --count;
        if (log) log->push_back(std::string("-") + name);
    }
};

TEST(OrvoObjectBaseTest, countsNoHolderAfterConstruction) {
    CountedThing thing;
    EXPECT_EQ(0u, thing.refCount());
}

TEST(OrvoObjectBaseTest, countsUpAndDownAndReturnsTheNewCount) {
    CountedThing* thing = new CountedThing;
    EXPECT_EQ(1u, thing->addRef());
    EXPECT_EQ(2u, thing->addRef());
    EXPECT_EQ(2u, thing->refCount());
    EXPECT_EQ(1u, thing->release());
    EXPECT_EQ(0u, thing->release());
}

TEST(OrvoObjectBaseTest, lastReleaseDeletesThroughTheVirtualDestructor) {
    int destroyed = 0;
    OrvoObjectBase* thing = new SpecialThing(&destroyed);
    thing->addRef();
    thing->addRef();
    thing->release();
    EXPECT_EQ(0, destroyed);
    thing->release();
    EXPECT_EQ(1, destroyed);
}

TEST(OrvoObjectBaseTest, aReleaseTooManyWrapsTheThirtyTwoBitCount) {
    CountedThing thing;
    EXPECT_EQ(0xFFFFFFFFu, thing.release());
    EXPECT_EQ(0xFFFFFFFFu, thing.refCount());
    EXPECT_EQ(0u, thing.addRef());
}

TEST(OrvoObjectBaseTest, aCopyHasNoHolders) {
    CountedThing thing;
    thing.addRef();
    const CountedThing copy(thing);
    EXPECT_EQ(0u, copy.refCount());
    EXPECT_EQ(1u, thing.refCount());
}

TEST(OrvoObjectBaseTest, assignmentResetsTheCountOfTheTarget) {
    CountedThing from;
    CountedThing to;
    from.addRef();
    to.addRef();
    to.addRef();
    to = from;
    EXPECT_EQ(0u, to.refCount());
    EXPECT_EQ(1u, from.refCount());
}

TEST(OrvoObjectBaseTest, assignmentToItselfKeepsTheCount) {
    CountedThing thing;
    thing.addRef();
    CountedThing& same = thing;
    thing = same;
    EXPECT_EQ(1u, thing.refCount());
}

TEST(OrvoObjectBaseTest, namesTheMostDerivedClassWithItsNamespace) {
    SpecialThing thing;
    OrvoObjectBase& base = thing;
    EXPECT_EQ("OrvoSupport::SpecialThing", base.getClassName());
    OrvoObjectBase plain;
    EXPECT_EQ("OrvoSupport::OrvoObjectBase", plain.getClassName());
}

TEST(OrvoObjectBaseTest, keepsTheWholeNameOfATemplateClass) {
    ThingOf<int, unsigned int> thing;
    EXPECT_EQ("OrvoSupport::ThingOf<int, unsigned int>", thing.getClassName());
}

TEST(OrvoObjectBaseTest, isOnlyWhatItsExactClassNameSays) {
    const SpecialThing thing;
    EXPECT_TRUE(thing.isA("OrvoSupport::SpecialThing"));
    for (const char* other : {"SpecialThing", "OrvoSupport::CountedThing", "OrvoSupport::OrvoObjectBase",
                              "orvosupport::specialthing", "OrvoSupport::SpecialThing ",
                              "class OrvoSupport::SpecialThing", "OrvoSupport::SpecialThin", ""})
        EXPECT_FALSE(thing.isA(other)) << other;
    EXPECT_FALSE(thing.isA(string("OrvoSupport::SpecialThing\0", 26)));
}

TEST(OrvoObjectBaseTest, asksTheClassForItsName) {
    const RenamedThing thing;
    EXPECT_TRUE(thing.isA("Renamed"));
    EXPECT_FALSE(thing.isA("OrvoSupport::RenamedThing"));
}

TEST(OrvoObjectBaseTest, normalizesToWhatFollowsTheFirstBlank) {
    struct Case {
        const char* name;
        const char* expected;
    };
    const Case cases[] = {
        {"class OrvoSupport::OrvoThread", "OrvoSupport::OrvoThread"},
        {"struct X", "X"},
        {"OrvoSupport::OrvoThread", "OrvoSupport::OrvoThread"},
        {"class A<class B>", "A<class B>"},
        {"a  b", " b"},
        {" x", "x"},
        {"x ", ""},
        {"", ""},
    };
    for (const Case& c : cases) EXPECT_EQ(c.expected, CountedThing::normalized(c.name)) << c.name;
}

// Counts and makes a lock on another thread while it is being destroyed.
struct BusyInItsEnd : OrvoObjectBase {
    explicit BusyInItsEnd(OrvoObjectBase& other) : m_other(other) {}
    ~BusyInItsEnd() override {
        std::thread([this] {
            OrvoCriticalSectionObject lock;
            const OrvoCriticalSection guard(lock);
            m_other.addRef();
        }).join();
    }
    OrvoObjectBase& m_other;
};

TEST(OrvoObjectBaseTest, noLockOfTheLibraryIsHeldWhileAnObjectIsDestroyed) {
    CountedThing other;
    OrvoObjectBase* thing = new BusyInItsEnd(other);
    thing->addRef();
    thing->release();
    EXPECT_EQ(1u, other.refCount());
}

TEST(OrvoObjectBaseTest, countsExactlyFromSeveralThreads) {
    CountedThing thing;
    thing.addRef();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&thing] {
            for (int i = 0; i < 20000; ++i) {
                thing.addRef();
                thing.addRef();
                thing.release();
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(80001u, thing.refCount());
}

TEST(OrvoSmartPointerTest, holdsItsObjectAndDeletesItLast) {
    int destroyed = 0;
    {
        OrvoSmartPointer<CountedThing> first(new CountedThing(&destroyed));
        EXPECT_EQ(1u, first->refCount());
        {
            const OrvoSmartPointer<CountedThing> second(first);
            EXPECT_EQ(2u, first->refCount());
        }
        EXPECT_EQ(1u, (*first).refCount());
        EXPECT_EQ(0, destroyed);
    }
    EXPECT_EQ(1, destroyed);
}

TEST(OrvoSmartPointerTest, isNullByDefault) {
    const OrvoSmartPointer<CountedThing> none;
    const OrvoSmartPointer<CountedThing> null = nullptr;
    const OrvoSmartPointer<CountedThing> raw = static_cast<CountedThing*>(nullptr);
    for (const auto* pointer : {&none, &null, &raw}) {
        EXPECT_EQ(nullptr, pointer->get());
        EXPECT_FALSE(static_cast<bool>(*pointer));
        EXPECT_TRUE(!*pointer);
    }
}

TEST(OrvoSmartPointerTest, takesTheNewReferenceBeforeItGivesUpTheOld) {
    std::vector<std::string> log;
    Minimal a{0, &log, "a"};
    Minimal b{0, &log, "b"};
    OrvoSmartPointer<Minimal> pointer(&a);
    const OrvoSmartPointer<Minimal> other(&b);
    log.clear();
    pointer = other;
    EXPECT_THAT(log, testing::ElementsAre("+b", "-a"));
    EXPECT_EQ(0, a.count);
    EXPECT_EQ(2, b.count);
}

TEST(OrvoSmartPointerTest, survivesAssignmentOfItselfAndOfItsOwnObject) {
    int destroyed = 0;
    OrvoSmartPointer<CountedThing> pointer(new CountedThing(&destroyed));
    const OrvoSmartPointer<CountedThing>& same = pointer;
    pointer = same;
    pointer = pointer.get();
    EXPECT_EQ(1u, pointer->refCount());
    EXPECT_EQ(0, destroyed);
}

TEST(OrvoSmartPointerTest, givesUpItsObjectWhenSetToNull) {
    int destroyed = 0;
    OrvoSmartPointer<CountedThing> pointer(new CountedThing(&destroyed));
    pointer = nullptr;
    EXPECT_EQ(1, destroyed);
    EXPECT_TRUE(pointer == nullptr);
}

TEST(OrvoSmartPointerTest, aMovedFromPointerIsNull) {
    OrvoSmartPointer<CountedThing> from(new CountedThing);
    OrvoSmartPointer<CountedThing> to(std::move(from));
    EXPECT_TRUE(!from);  // NOLINT(bugprone-use-after-move): that is the promise
    EXPECT_EQ(1u, to->refCount());
    OrvoSmartPointer<OrvoObjectBase> base;
    base = std::move(to);
    EXPECT_TRUE(!to);  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(1u, base->refCount());
}

TEST(OrvoSmartPointerTest, convertsToAPointerToABaseOnly) {
    const OrvoSmartPointer<SpecialThing> special(new SpecialThing);
    const OrvoSmartPointer<OrvoObjectBase> base = special;
    EXPECT_EQ(2u, base->refCount());
    EXPECT_TRUE(base == special);
    static_assert(std::is_convertible_v<OrvoSmartPointer<SpecialThing>, OrvoSmartPointer<CountedThing>>);
    static_assert(!std::is_constructible_v<OrvoSmartPointer<SpecialThing>, OrvoSmartPointer<CountedThing>>);
    static_assert(!std::is_convertible_v<OrvoSmartPointer<SpecialThing>, bool>);
}

TEST(OrvoSmartPointerTest, comparesByTheObjectItHolds) {
    CountedThing* raw = new CountedThing;
    const OrvoSmartPointer<CountedThing> a(raw);
    const OrvoSmartPointer<CountedThing> same(raw);
    const OrvoSmartPointer<CountedThing> other(new CountedThing);
    EXPECT_TRUE(a == same && a == raw && raw == a);
    EXPECT_FALSE(a != same || a != raw || raw != a);
    EXPECT_TRUE(a != other && a != nullptr && nullptr != a);
    EXPECT_FALSE(a == other || a == nullptr || nullptr == a);
}

class NeverDefined;

TEST(OrvoSmartPointerTest, isUsableAsATypeWhereTheObjectIsNotDefined) {
    OrvoSmartPointer<NeverDefined>* none = nullptr;
    EXPECT_EQ(nullptr, none);
    EXPECT_EQ(sizeof(void*), sizeof(OrvoSmartPointer<NeverDefined>));
}

}  // namespace
