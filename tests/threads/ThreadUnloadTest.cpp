// The library is unloaded as soon as its threads have deleted their objects, and before they have ended.
#include <gtest/gtest.h>

#include "support/Plugin.h"

namespace {

using testing_support::isLoaded;
using testing_support::Plugin;
using testing_support::Resources;
using testing_support::resourcesInUse;
using testing_support::resourcesOnceThreadsHaveEnded;

TEST(ThreadUnloadTest, noThreadIsCaughtInALibraryThatGoes) {
    for (int i = 0; i < 200; ++i) {
        {
            const Plugin host("ThreadUser");
            ASSERT_TRUE(host.loaded());
            host.function<void(int)>("useThrowaways")(1 + i % 3);
        }
        ASSERT_FALSE(isLoaded("osupt"));
    }
}

TEST(ThreadUnloadTest, nothingIsLeftOfThreads) {
    const int warmUp = 10;
    const int loads = 30;
    Resources before;
    for (int i = 0; i < warmUp + loads; ++i) {
        if (i == warmUp) before = resourcesInUse();
        const Plugin host("ThreadUser");
        ASSERT_TRUE(host.loaded());
        host.function<void(int)>("useThrowaways")(2);
        ASSERT_EQ(0, host.function<int()>("useThreads")());
    }
    const Resources after = resourcesOnceThreadsHaveEnded(before.threads);
    EXPECT_FALSE(isLoaded("osupt"));
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.handles, before.handles + 4);
}

}  // namespace
