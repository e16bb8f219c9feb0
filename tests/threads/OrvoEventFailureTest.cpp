// An event while the system has no events left, and while there is no memory. The event's own sources are
// built into this program, over a platform that fails when it is told to.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <vector>

#include "OrvoEvent.h"
#include "platform/Event.h"
#include "support/FailingMemory.h"

namespace {

using testing_support::allocationsLeft;

bool platformFails = false;
int eventsOpen = 0;
int eventsSet = 0;
int lastAnswer = 0;  // of the platform's waits

}  // namespace

namespace OrvoSupport::platform {

WaitHandle createEvent() noexcept {
    if (platformFails) return nullptr;
    ++eventsOpen;
    return &eventsOpen;
}
void closeEvent(WaitHandle) noexcept { --eventsOpen; }
void setEvent(WaitHandle) noexcept { ++eventsSet; }
void resetEvent(WaitHandle) noexcept {}
void pulseEvent(WaitHandle) noexcept { ++eventsSet; }
int waitForOne(WaitHandle, int) noexcept { return lastAnswer; }
int waitForSeveral(const WaitHandle*, std::size_t, bool, int) noexcept { return lastAnswer; }

}  // namespace OrvoSupport::platform

namespace {

using namespace OrvoSupport;

struct Counter : OrvoDependent {
    int told = 0;
    void handleNotification(OrvoCollaborator&, const OrvoNotification&) override { ++told; }
};

class OrvoEventFailureTest : public testing::Test {
protected:
    void SetUp() override { eventsSet = lastAnswer = 0; }
    void TearDown() override {
        allocationsLeft = -1;
        platformFails = false;
        EXPECT_EQ(0, eventsOpen);
    }
};

void expectAbsent(OrvoEvent& event) {
    struct Told : Counter {
    } counter;
    event.addDependent(counter);
    lastAnswer = platform::waitFailed;
    EXPECT_EQ(nullptr, event.getHandle());
    EXPECT_EQ(0, event.wait(-1));
    event.set();
    event.pulse();
    event.reset();
    EXPECT_EQ(0, counter.told);
    EXPECT_EQ(0, eventsSet);
    event.removeDependent(counter);
}

TEST_F(OrvoEventFailureTest, withoutAHandleNothingHappensAndWaitingSucceeds) {
    platformFails = true;
    OrvoEvent event;
    expectAbsent(event);
}

TEST_F(OrvoEventFailureTest, withoutMemoryForTheCellTheHandleIsClosed) {
    allocationsLeft = 0;
    OrvoEvent event;
    allocationsLeft = -1;
    EXPECT_EQ(0, eventsOpen);
    expectAbsent(event);
}

TEST_F(OrvoEventFailureTest, anEventWithoutHandleFailsAWaitForSeveral) {
    OrvoEvent present;
    platformFails = true;
    OrvoEvent absent;
    std::vector<OrvoEvent*> list{&present, &absent};
    EXPECT_EQ(-1, OrvoEvent::wait(list, false, 0));
    EXPECT_EQ(-1, OrvoEvent::wait(list, true, 0));
}

TEST_F(OrvoEventFailureTest, withoutMemoryForTheHandlesAWaitForSeveralAnswersMinusFour) {
    OrvoEvent events[2];
    std::vector<OrvoEvent*> list{&events[0], &events[1]};
    allocationsLeft = 0;
    const int vectorForm = OrvoEvent::wait(list, false, 0);
    const int countForm = OrvoEvent::wait(2, events, true, 0);
    allocationsLeft = -1;
    EXPECT_EQ(-4, vectorForm);
    EXPECT_EQ(-4, countForm);
}

TEST_F(OrvoEventFailureTest, withoutMemoryForTheNotificationItStillSignals) {
    OrvoEvent event;
    Counter counter;
    event.addDependent(counter);
    event.set();  // the first use of a lock allocates
    EXPECT_EQ(1, counter.told);
    allocationsLeft = 0;
    event.set();
    event.pulse();
    allocationsLeft = -1;
    EXPECT_EQ(1, counter.told);
    EXPECT_EQ(3, eventsSet);
}

TEST_F(OrvoEventFailureTest, translatesTheAnswersOfTheSystem) {
    struct Case {
        int answer, one, any, all;
    };
    const Case cases[] = {{0, 0, 0, 0},     {1, 0, 1, 0},      {128, -3, 128, 0},
                          {129, 0, 129, 0}, {258, -2, -2, -2}, {-1, -1, -1, -1}};
    OrvoEvent events[2];
    std::vector<OrvoEvent*> list{&events[0]};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.answer);
        lastAnswer = c.answer;
        EXPECT_EQ(c.one, events[0].wait(5));
        EXPECT_EQ(c.any, OrvoEvent::wait(list, false, 5));
        EXPECT_EQ(c.all, OrvoEvent::wait(list, true, 5));
    }
}

}  // namespace
