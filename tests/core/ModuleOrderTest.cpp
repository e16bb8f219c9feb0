// What the library's module record does when it comes and when it goes, and in which order: the record alone,
// over stand-ins that note that they were called.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "OrvoCriticalSection.h"
#include "OrvoObjectFactory.h"
#include "core/Module.h"
#include "core/ObjectLock.h"
#include "platform/Thread.h"
#include "threads/OrvoTimerManager.h"

namespace {

/// The library's own record notes its steps before main().
std::vector<std::string>& steps() {
    static std::vector<std::string> all;
    return all;
}

void note(const std::string& step) {
    steps().push_back(OrvoSupport::objectLock() ? step + ", locked" : step);
}

}  // namespace

namespace OrvoSupport {

ModuleData* ModuleData::m_pHead = nullptr;
ModuleData::ModuleData(bool controlsGlobals) : m_controlsGlobals(controlsGlobals), m_next(m_pHead) {}
ModuleData::~ModuleData() { note("record"); }
void ModuleData::entry() { note("entry"); }
void ModuleData::exit() { note("exit"); }

OrvoCriticalSectionObject::~OrvoCriticalSectionObject() { note("lock"); }
void OrvoObjectFactory::deleteGlobalInstance() { note("factory"); }
void OrvoTimerManager::deleteInstance() noexcept { note("timers"); }
void platform::waitForLeavingThreads() noexcept { note("threads"); }

}  // namespace OrvoSupport

namespace {

using testing::ElementsAre;

TEST(ModuleOrderTest, theLibrarysRecordHasMadeTheLockFirst) {
    EXPECT_NE(nullptr, OrvoSupport::objectLock());
    EXPECT_THAT(steps(), ElementsAre("entry, locked", "entry, locked", "entry, locked", "entry, locked"));
}

TEST(ModuleOrderTest, theLockGoesLast) {
    static OrvoSupport::OrvoCriticalSectionObject* const first = OrvoSupport::objectLock();
    steps().clear();
    {
        const Module another(true);
        EXPECT_NE(first, OrvoSupport::objectLock());
        steps().clear();
    }
    EXPECT_THAT(steps(), ElementsAre("factory, locked", "exit, locked", "timers, locked", "exit, locked",
                                     "exit, locked", "threads, locked", "lock", "record"));
}

TEST(ModuleOrderTest, aRecordThatControlsNothingDoesNothing) {
    steps().clear();
    { const Module another(false); }
    EXPECT_THAT(steps(), ElementsAre("record"));
}

}  // namespace
