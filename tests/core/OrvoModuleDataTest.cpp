#include "OrvoModuleData.h"

#include <gtest/gtest.h>

namespace {

using namespace OrvoSupport;

struct Record : ModuleData {
    explicit Record(bool controls) : ModuleData(controls) {}
    using ModuleData::m_controlsGlobals;
    using ModuleData::m_initCount;
    using ModuleData::m_next;
};

TEST(ModuleDataTest, theListOfRecordsIsEmpty) {
    EXPECT_EQ(nullptr, ModuleData::m_pHead);
    const ModuleData record(false);
    EXPECT_EQ(nullptr, ModuleData::m_pHead);
}

TEST(ModuleDataTest, keepsWhatItWasGivenAndHasInitialisedNothing) {
    for (const bool controls : {false, true}) {
        const Record record(controls);
        EXPECT_EQ(controls, record.m_controlsGlobals);
        EXPECT_EQ(nullptr, record.m_next);
        EXPECT_EQ(0, record.m_initCount);
    }
}

TEST(ModuleDataTest, linksToTheHeadOfTheList) {
    ModuleData first(false);
    ModuleData::m_pHead = &first;
    const Record second(false);
    ModuleData::m_pHead = nullptr;
    EXPECT_EQ(&first, second.m_next);
}

TEST(ModuleDataTest, theHooksDoNothing) {
    ModuleData::entry();
    ModuleData::exit();
    const ModuleDataControl control;
    EXPECT_EQ(nullptr, ModuleData::m_pHead);
}

}  // namespace
