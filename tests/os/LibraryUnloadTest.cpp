// A host that loads modules comes and goes, and leaves nothing of them behind.
#include <gtest/gtest.h>

#include "os/SystemProbe.h"
#include "support/Plugin.h"

namespace {

using testing_support::isLoaded;
using testing_support::Plugin;
using testing_support::Resources;
using testing_support::resourcesInUse;

TEST(LibraryUnloadTest, keepsNothingOfAHostThatLoadedModules) {
    const int warmUp = 20;
    const int loads = 300;
    Resources before;
    for (int i = 0; i < warmUp + loads; ++i) {
        if (i == warmUp) before = resourcesInUse();
        const Plugin host("LibraryUser");
        ASSERT_TRUE(host.loaded());
        ASSERT_EQ(0, host.function<int(const char*)>("useLibraries")(OSUPT_TEST_MODULE));
        ASSERT_FALSE(system_probe::isLoaded(OSUPT_TEST_MODULE));
    }
    const Resources after = resourcesInUse();

    EXPECT_FALSE(isLoaded("osupt"));
    EXPECT_LE(after.handles, before.handles + 4);
    // Less than the smallest block for each load; what the C library keeps once and for all is no leak.
    EXPECT_LE(after.heapBytes, before.heapBytes + 10 * loads);
}

}  // namespace
