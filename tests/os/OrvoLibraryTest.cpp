// Modules loaded at run time.
#include "OrvoLibrary.h"

#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <thread>
#include <type_traits>
#include <vector>

#include "OrvoException.h"
#include "os/SystemProbe.h"
#include "support/ChildProcess.h"

using namespace OrvoSupport;
using system_probe::isLoaded;

namespace {

string modulePath() {
    const string& program = testing_support::programPath();
    return program.substr(0, program.find_last_of("\\/") + 1) + OSUPT_TEST_MODULE;
}

int answerOf(OrvoLibrary& library) {
    void* const address = library.getProcAddr("osuptTestAnswer");
    return address ? reinterpret_cast<int (*)()>(address)() : -1;
}

string failureOf(const string& name) {
    try {
        const OrvoLibrary library(name);
        return "loaded";
    } catch (const OrvoException& e) {
        EXPECT_EQ(0, e.getCode());
        return e.getText();
    }
}

}  // namespace

TEST(OrvoLibrary, findsWhatTheModuleExports) {
    OrvoLibrary library(modulePath());
    EXPECT_EQ(42, answerOf(library));
    ASSERT_NE(nullptr, library.getProcAddr("osuptTestValue"));
    EXPECT_EQ(7, *static_cast<int*>(library.getProcAddr("osuptTestValue")));
}

TEST(OrvoLibrary, answersNullForWhatTheModuleDoesNotExport) {
    OrvoLibrary library(modulePath());
    EXPECT_EQ(nullptr, library.getProcAddr("osuptNoSuchSymbol"));
    EXPECT_EQ(nullptr, library.getProcAddr(""));
}

TEST(OrvoLibrary, saysWhyAModuleCannotBeLoaded) {
    const string name = "osupt-no-such-module.bin";
    EXPECT_EQ(
        "OrvoLibrary::OrvoLibrary: failed to load: " + name + ".  " + system_probe::missingModuleText(name),
        failureOf(name));
}

TEST(OrvoLibrary, refusesAnEmptyName) {
    const string beginning = "OrvoLibrary::OrvoLibrary: failed to load: .  ";
    EXPECT_THAT(failureOf(""), testing::StartsWith(beginning));
    EXPECT_GT(failureOf("").size(), beginning.size());
    EXPECT_THROW(OrvoLibrary(string("\0a", 2)), OrvoException);
}

TEST(OrvoLibrary, refusesAFileThatIsNoModule) { EXPECT_THROW(OrvoLibrary("."), OrvoException); }

TEST(OrvoLibrary, unloadsTheModuleWhenItGoes) {
    {
        const OrvoLibrary library(modulePath());
        EXPECT_TRUE(isLoaded(modulePath()));
    }
    EXPECT_FALSE(isLoaded(modulePath()));
}

TEST(OrvoLibrary, unloadsTheModuleHoweverOftenItWasLoaded) {
    for (int i = 0; i < 5; ++i) ASSERT_NE(nullptr, system_probe::load(modulePath()));
    { const OrvoLibrary library(modulePath()); }
    EXPECT_FALSE(isLoaded(modulePath()));
}

TEST(OrvoLibrary, canBeLoadedAgainAfterwards) {
    for (int i = 0; i < 100; ++i) {
        OrvoLibrary library(modulePath());
        ASSERT_EQ(42, answerOf(library));
    }
    EXPECT_FALSE(isLoaded(modulePath()));
}

TEST(OrvoLibrary, sharesTheModuleWithItsCopies) {
    auto first = std::make_unique<OrvoLibrary>(modulePath());
    OrvoLibrary copy(*first);
    EXPECT_EQ(first->getProcAddr("osuptTestValue"), copy.getProcAddr("osuptTestValue"));
    EXPECT_EQ(42, answerOf(copy));

    first.reset();

    EXPECT_FALSE(isLoaded(modulePath()));
    EXPECT_EQ(nullptr, copy.getProcAddr("osuptTestAnswer"));
}

TEST(OrvoLibrary, letsCopiesGoInAnyOrder) {
    for (const bool originalFirst : {false, true}) {
        auto original = std::make_unique<OrvoLibrary>(modulePath());
        auto copy = std::make_unique<OrvoLibrary>(*original);
        (originalFirst ? original : copy).reset();
        EXPECT_FALSE(isLoaded(modulePath()));
        (originalFirst ? copy : original).reset();
    }
}

TEST(OrvoLibrary, leavesALaterLoadingAloneWhenALateCopyGoes) {
    auto original = std::make_unique<OrvoLibrary>(modulePath());
    auto late = std::make_unique<OrvoLibrary>(*original);
    original.reset();
    OrvoLibrary again(modulePath());  // quite likely at the same address

    EXPECT_EQ(nullptr, late->getProcAddr("osuptTestAnswer"));
    late.reset();

    EXPECT_EQ(42, answerOf(again));
}

TEST(OrvoLibrary, leavesOtherObjectsOfTheModuleWithoutOne) {
    auto first = std::make_unique<OrvoLibrary>(modulePath());
    auto second = std::make_unique<OrvoLibrary>(modulePath());
    first.reset();
    EXPECT_FALSE(isLoaded(modulePath()));
    EXPECT_EQ(nullptr, second->getProcAddr("osuptTestAnswer"));
    second.reset();
}

TEST(OrvoLibrary, keepsTheModuleItStoodForWhenAssigned) {
    OrvoLibrary permanent(system_probe::permanentModule);
    auto library = std::make_unique<OrvoLibrary>(modulePath());
    *library = permanent;
    EXPECT_EQ(permanent.getProcAddr(system_probe::permanentSymbol),
              library->getProcAddr(system_probe::permanentSymbol));
    EXPECT_TRUE(isLoaded(modulePath()));
    { const OrvoLibrary cleanUp(modulePath()); }
    EXPECT_FALSE(isLoaded(modulePath()));
}

TEST(OrvoLibrary, survivesAssignmentToItself) {
    OrvoLibrary library(modulePath());
    const OrvoLibrary& same = library;
    library = same;
    EXPECT_EQ(42, answerOf(library));
}

TEST(OrvoLibrary, endsWithAModuleThatTheSystemNeverLetsGo) {
    for (int i = 0; i < 2; ++i) {
        OrvoLibrary library(system_probe::permanentModule);
        EXPECT_NE(nullptr, library.getProcAddr(system_probe::permanentSymbol));
    }
    EXPECT_TRUE(isLoaded(system_probe::permanentModule));
}

TEST(OrvoLibrary, isSafeWhereThreadsLoadAndUnloadOneModule) {
    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&wrong] {
            for (int i = 0; i < 200; ++i) {
                OrvoLibrary library(modulePath());
                OrvoLibrary copy(library);
                library.getProcAddr("osuptTestAnswer");  // there, or null when another thread was faster
                if (copy.getProcAddr("osuptNoSuchSymbol")) ++wrong;
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, wrong);
    EXPECT_FALSE(isLoaded(modulePath()));
}

TEST(OrvoLibrary, isAReferenceCountedObject) {
    static_assert(std::has_virtual_destructor_v<OrvoLibrary>);
    {
        const OrvoSmartPointer<OrvoLibrary> library(new OrvoLibrary(modulePath()));
        EXPECT_EQ("OrvoSupport::OrvoLibrary", library->getClassName());
        EXPECT_TRUE(library->isA("OrvoSupport::OrvoLibrary"));
    }
    EXPECT_FALSE(isLoaded(modulePath()));
}
