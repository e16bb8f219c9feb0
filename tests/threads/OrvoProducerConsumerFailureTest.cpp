// A producer/consumer while the system has no mutex or event left, and while there is no memory. Its own
// source is built into this program, over a platform that fails when it is told to.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>

#include "platform/Event.h"
#include "platform/SyncMutex.h"
#include "threads/Exchange.h"

namespace {

bool noMutex = false;
bool noEvent = false;
bool noMemory = false;
std::string calls;  // what the platform was asked to do
int theMutex = 0;
int theEvent = 0;

void* allocateOrThrow(std::size_t size) {
    if (void* const block = std::malloc(size ? size : 1)) return block;
    throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) { return allocateOrThrow(size); }
void* operator new[](std::size_t size) { return allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return noMemory ? nullptr : std::malloc(size ? size : 1);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }

namespace OrvoSupport::platform {
namespace {

bool isTheMutex(MutexHandle handle) { return handle == &theMutex; }
bool isTheEvent(WaitHandle handle) { return handle == &theEvent; }
void note(const char* call, bool right) {
    calls += std::string(call) + (right ? " " : " of something else ");
}

}  // namespace

MutexHandle createMutex() noexcept {
    note("createMutex", true);
    return noMutex ? nullptr : &theMutex;
}
WaitHandle createManualResetEvent() noexcept {
    note("createEvent", true);
    return noEvent ? nullptr : &theEvent;
}
void closeMutex(MutexHandle mutex) noexcept {
    if (mutex) note("closeMutex", isTheMutex(mutex));
}
void closeEvent(WaitHandle event) noexcept {
    if (event) note("closeEvent", isTheEvent(event));
}
void lockMutex(MutexHandle mutex) noexcept { note("lock", isTheMutex(mutex)); }
void unlockMutex(MutexHandle mutex) noexcept { note("unlock", isTheMutex(mutex)); }
void unlockMutexAndWait(MutexHandle mutex, WaitHandle event) noexcept {
    note("unlockAndWait", isTheMutex(mutex) && isTheEvent(event));
}
void setEvent(WaitHandle event) noexcept { note("set", isTheEvent(event)); }
void resetEvent(WaitHandle event) noexcept { note("reset", isTheEvent(event)); }

}  // namespace OrvoSupport::platform

namespace {

class OrvoProducerConsumerFailureTest : public testing::Test {
protected:
    void SetUp() override { calls.clear(); }
    void TearDown() override { noMutex = noEvent = noMemory = false; }

    // What an object without mutex and event asks of the system.
    std::string callsOfUse() {
        calls.clear();
        {
            Exchange exchange(queue);
            calls.clear();
            exchange.lockSyncMutex();
            exchange.waitForSyncEvent();
            exchange.setSyncEvent();
            exchange.unlockSyncMutex();
            exchange.produceSentinel(true);
            EXPECT_TRUE(exchange.m_sentinel);
        }
        return calls;
    }

    NumberQueue queue;
};

TEST_F(OrvoProducerConsumerFailureTest, createsTheMutexBeforeTheEventAndClosesTheEventBeforeTheMutex) {
    { Exchange exchange(queue); }
    EXPECT_EQ("createMutex createEvent closeEvent closeMutex ", calls);
}

TEST_F(OrvoProducerConsumerFailureTest, withoutAMutexThereIsNothing) {
    noMutex = true;
    { Exchange exchange(queue); }
    EXPECT_EQ("createMutex ", calls);
    EXPECT_EQ("", callsOfUse());
}

TEST_F(OrvoProducerConsumerFailureTest, withoutAnEventTheMutexIsClosed) {
    noEvent = true;
    { Exchange exchange(queue); }
    EXPECT_EQ("createMutex createEvent closeMutex ", calls);
    EXPECT_EQ("", callsOfUse());
}

TEST_F(OrvoProducerConsumerFailureTest, withoutMemoryForThePairBothAreClosed) {
    noMemory = true;
    { Exchange exchange(queue); }
    EXPECT_EQ("createMutex createEvent closeEvent closeMutex ", calls);
    EXPECT_EQ("", callsOfUse());
}

TEST_F(OrvoProducerConsumerFailureTest, eachOperationIsTheOneCallOfTheSystemThatItSays) {
    Exchange exchange(queue);
    calls.clear();
    exchange.lockSyncMutex();
    exchange.setSyncEvent();
    exchange.waitForSyncEvent();
    exchange.unlockSyncMutex();
    EXPECT_EQ("lock set unlockAndWait lock reset unlock ", calls);
}

TEST_F(OrvoProducerConsumerFailureTest, aSentinelSetsTheEventBeforeItGivesUpTheMutex) {
    Exchange exchange(queue);
    calls.clear();
    queue.onClear = [] { calls += "clear "; };
    exchange.produceSentinel(false);
    EXPECT_EQ("lock set unlock ", calls);
    calls.clear();
    exchange.produceSentinel(true);
    EXPECT_EQ("lock clear set unlock ", calls);
}

}  // namespace
