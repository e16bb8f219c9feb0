// The event as a host uses it: signalling, waiting for one and for several, and telling dependents.
#include "OrvoEvent.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace OrvoSupport;

constexpr int signalled = 0;
constexpr int failed = -1;
constexpr int timedOut = -2;
constexpr int generousMs = 20000;  // never the expected result

using Events = std::vector<OrvoEvent*>;

// Many events and the list of them.
struct Crowd {
    explicit Crowd(std::size_t count) : events(new OrvoEvent[count]) {
        for (std::size_t i = 0; i < count; ++i) list.push_back(&events[i]);
    }
    std::unique_ptr<OrvoEvent[]> events;
    Events list;
};

// Pulses until `done`: a pulse that comes before the other thread waits must be lost.
bool pulseUntil(OrvoEvent& event, const std::atomic<bool>& done) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!done && std::chrono::steady_clock::now() < limit) {
        event.pulse();
        std::this_thread::yield();
    }
    return done;
}

TEST(OrvoEventTest, isNotSignalledWhenNew) {
    OrvoEvent event;
    EXPECT_EQ(timedOut, event.wait(0));
    EXPECT_EQ(timedOut, event.wait(1));
}

TEST(OrvoEventTest, setStaysUntilOneWaiterIsReleased) {
    OrvoEvent event;
    event.set();
    EXPECT_EQ(signalled, event.wait(0));
    EXPECT_EQ(timedOut, event.wait(0));
}

TEST(OrvoEventTest, setTwiceReleasesOneWaiter) {
    OrvoEvent event;
    event.set();
    event.set();
    EXPECT_EQ(signalled, event.wait(-1));
    EXPECT_EQ(timedOut, event.wait(0));
}

TEST(OrvoEventTest, resetForgetsTheSignal) {
    OrvoEvent event;
    event.reset();
    event.set();
    event.reset();
    EXPECT_EQ(timedOut, event.wait(0));
}

TEST(OrvoEventTest, pulseWithoutWaiterDoesNothingAndClearsASignal) {
    OrvoEvent event;
    event.pulse();
    EXPECT_EQ(timedOut, event.wait(0));
    event.set();
    event.pulse();
    EXPECT_EQ(timedOut, event.wait(0));
}

TEST(OrvoEventTest, takesNegativeTimesOtherThanMinusOneForLongOnes) {
    for (const int timeoutMs : {-2, -1000000, -2147483647 - 1}) {
        SCOPED_TRACE(timeoutMs);
        OrvoEvent event;
        std::thread setter([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            event.set();
        });
        EXPECT_EQ(signalled, event.wait(timeoutMs));
        setter.join();
    }
}

TEST(OrvoEventTest, waitsAtLeastTheGivenTime) {
    OrvoEvent event;
    OrvoEvent other;
    Events both{&event, &other};
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(timedOut, event.wait(30));
    EXPECT_EQ(timedOut, OrvoEvent::wait(both, false, 30));
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(55));
}

TEST(OrvoEventTest, setReleasesExactlyOneOfSeveralWaiters) {
    OrvoEvent event;
    OrvoEvent reported;
    std::atomic<int> released{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            EXPECT_EQ(signalled, event.wait(generousMs));
            ++released;
            reported.set();
        });
    }
    for (int i = 1; i <= 4; ++i) {
        event.set();
        EXPECT_EQ(signalled, reported.wait(generousMs));
        EXPECT_EQ(i, released);
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(timedOut, event.wait(0));
}

TEST(OrvoEventTest, pulseReleasesAWaiterAndLeavesTheEventNotSignalled) {
    OrvoEvent event;
    std::atomic<bool> released{false};
    std::thread waiter([&] {
        EXPECT_EQ(signalled, event.wait(generousMs));
        released = true;
    });
    EXPECT_TRUE(pulseUntil(event, released));
    EXPECT_EQ(timedOut, event.wait(0));
    waiter.join();
}

TEST(OrvoEventTest, makesTheWritesBeforeItVisibleToTheWaiter) {
    OrvoEvent there;
    OrvoEvent back;
    int value = 0;
    std::thread partner([&] {
        for (int i = 0; i < 1000; ++i) {
            if (there.wait(generousMs) != signalled) return;
            value = value * 2 % 1000 + i;
            back.set();
        }
    });
    int expected = 0;
    for (int i = 0; i < 1000; ++i) {
        expected = expected * 2 % 1000 + i;
        there.set();
        ASSERT_EQ(signalled, back.wait(generousMs));
        ASSERT_EQ(expected, value);
    }
    partner.join();
}

TEST(OrvoEventTest, mayBeDestroyedByTheThreadItReleases) {
    OrvoEvent posted;
    OrvoEvent taken;
    std::atomic<OrvoEvent*> mailbox{nullptr};
    constexpr int rounds = 500;
    std::thread waiter([&] {
        for (int i = 0; i < rounds; ++i) {
            posted.wait(-1);
            std::unique_ptr<OrvoEvent> event(mailbox.load());
            taken.set();
            EXPECT_EQ(signalled, event->wait(generousMs));
        }
    });
    for (int i = 0; i < rounds; ++i) {
        auto* event = new OrvoEvent;
        mailbox = event;
        posted.set();
        taken.wait(-1);
        event->set();
    }
    waiter.join();
}

TEST(OrvoEventTest, hasAHandleThatStaysTheSame) {
    OrvoEvent event;
    void* const cell = event.getHandle();
    ASSERT_NE(nullptr, cell);
    void* const handle = *static_cast<void**>(cell);
    EXPECT_NE(nullptr, handle);
    event.set();
    EXPECT_EQ(cell, event.getHandle());
    EXPECT_EQ(handle, *static_cast<void**>(cell));
}

// ---- Several events

TEST(OrvoEventWaitTest, failsForAListThatCannotBeWaitedFor) {
    Events none;
    Crowd tooMany(65);
    OrvoEvent event;
    Events hole{&event, nullptr};
    for (const bool all : {false, true}) {
        SCOPED_TRACE(all);
        EXPECT_EQ(failed, OrvoEvent::wait(none, all, 0));
        EXPECT_EQ(failed, OrvoEvent::wait(0, &event, all, 0));
        EXPECT_EQ(failed, OrvoEvent::wait(-1, &event, all, 0));
        EXPECT_EQ(failed, OrvoEvent::wait(0, nullptr, all, -1));
        EXPECT_EQ(failed, OrvoEvent::wait(tooMany.list, all, 0));
        EXPECT_EQ(failed, OrvoEvent::wait(65, tooMany.events.get(), all, 0));
        EXPECT_EQ(failed, OrvoEvent::wait(hole, all, 0));
    }
}

TEST(OrvoEventWaitTest, timesOutWithMinusTwo) {
    Crowd two(2);
    for (const bool all : {false, true}) {
        for (const int timeoutMs : {0, 1}) {
            EXPECT_EQ(timedOut, OrvoEvent::wait(two.list, all, timeoutMs));
            EXPECT_EQ(timedOut, OrvoEvent::wait(2, two.events.get(), all, timeoutMs));
        }
    }
}

TEST(OrvoEventWaitTest, waitsForUpToSixtyFour) {
    Crowd crowd(64);
    for (OrvoEvent* event : crowd.list) event->set();
    EXPECT_EQ(0, OrvoEvent::wait(crowd.list, true, 0));
    for (OrvoEvent* event : crowd.list) EXPECT_EQ(timedOut, event->wait(0));
    crowd.list[63]->set();
    EXPECT_EQ(63, OrvoEvent::wait(64, crowd.events.get(), false, 0));
}

TEST(OrvoEventWaitTest, answersTheFirstSignalledInListOrderAndTakesOnlyThat) {
    Crowd crowd(64);
    for (const std::size_t i : {63u, 17u, 40u}) crowd.list[i]->set();
    for (const int expected : {17, 40, 63, timedOut}) {
        EXPECT_EQ(expected, OrvoEvent::wait(crowd.list, false, 0));
    }
}

TEST(OrvoEventWaitTest, allTakesNothingUntilItCanTakeEverything) {
    Crowd two(2);
    two.list[1]->set();
    EXPECT_EQ(timedOut, OrvoEvent::wait(two.list, true, 0));
    EXPECT_EQ(timedOut, OrvoEvent::wait(two.list, true, 1));
    EXPECT_EQ(signalled, two.list[1]->wait(0));
    for (OrvoEvent* event : two.list) event->set();
    EXPECT_EQ(0, OrvoEvent::wait(two.list, true, 0));
    for (OrvoEvent* event : two.list) EXPECT_EQ(timedOut, event->wait(0));
}

TEST(OrvoEventWaitTest, aWaiterForAllLeavesSignalsToOthersMeanwhile) {
    OrvoEvent a, b;
    std::thread waiter([&] {
        Events both{&a, &b};
        EXPECT_EQ(0, OrvoEvent::wait(both, true, generousMs));
    });
    for (int i = 0; i < 200; ++i) {
        a.set();
        EXPECT_EQ(signalled, a.wait(0));
        b.set();
        EXPECT_EQ(signalled, b.wait(0));
    }
    a.set();
    b.set();
    waiter.join();
    EXPECT_EQ(timedOut, a.wait(0));
    EXPECT_EQ(timedOut, b.wait(0));
}

TEST(OrvoEventWaitTest, resetTakesASignalFromAWaiterForAll) {
    OrvoEvent a, b;
    std::atomic<bool> released{false};
    std::thread waiter([&] {
        Events both{&a, &b};
        EXPECT_EQ(0, OrvoEvent::wait(both, true, generousMs));
        released = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    a.set();
    a.reset();
    b.set();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_FALSE(released);
    a.set();
    waiter.join();
}

TEST(OrvoEventWaitTest, pulseReleasesAWaiterForAllOnlyWhenTheRestIsSignalled) {
    OrvoEvent a, b;
    std::atomic<bool> released{false};
    std::thread waiter([&] {
        Events both{&a, &b};
        EXPECT_EQ(0, OrvoEvent::wait(both, true, generousMs));
        released = true;
    });
    for (int i = 0; i < 200; ++i) b.pulse();
    EXPECT_FALSE(released);
    a.set();
    EXPECT_TRUE(pulseUntil(b, released));
    waiter.join();
    EXPECT_EQ(timedOut, a.wait(0));
    EXPECT_EQ(timedOut, b.wait(0));
}

TEST(OrvoEventWaitTest, refusesTheSameEventTwiceWhereAllAreWanted) {
    OrvoEvent a, b;
    Events twice{&a, &b, &a};
    a.set();
    b.set();
    EXPECT_EQ(failed, OrvoEvent::wait(twice, true, 0));
    EXPECT_EQ(0, OrvoEvent::wait(twice, false, 0));
    EXPECT_EQ(1, OrvoEvent::wait(twice, false, 0));
    EXPECT_EQ(timedOut, OrvoEvent::wait(twice, false, 0));
}

TEST(OrvoEventWaitTest, anyMayNameAnEventTwiceWhileItSleeps) {
    OrvoEvent a, b;
    Events twice{&b, &a, &a};
    for (int i = 0; i < 50; ++i) {
        std::thread setter([&] { a.set(); });
        EXPECT_EQ(1, OrvoEvent::wait(twice, false, generousMs));
        setter.join();
    }
    EXPECT_EQ(timedOut, a.wait(0));
}

TEST(OrvoEventWaitTest, opposedWaitersForAllNeitherStealNorBlock) {
    OrvoEvent a, b, done;
    std::atomic<int> served{0};
    std::atomic<bool> stop{false};
    constexpr int rounds = 1000;
    const auto serve = [&](Events list) {
        for (;;) {
            EXPECT_EQ(0, OrvoEvent::wait(list, true, generousMs));
            if (stop) return;
            ++served;
            done.set();
        }
    };
    std::thread forward(serve, Events{&a, &b});
    std::thread backward(serve, Events{&b, &a});
    for (int i = 1; i <= rounds; ++i) {
        a.set();
        b.set();
        ASSERT_EQ(signalled, done.wait(generousMs));
        ASSERT_EQ(i, served);
        ASSERT_EQ(timedOut, a.wait(0));
        ASSERT_EQ(timedOut, b.wait(0));
    }
    stop = true;
    a.set();
    b.set();
    // Whichever thread took the pair is gone; its end is seen by the pair being taken.
    while (a.wait(0) == signalled) a.set();
    a.set();
    b.set();
    forward.join();
    backward.join();
}

TEST(OrvoEventWaitTest, losesNoSignalUnderLoad) {
    constexpr int pairs = 4;  // two threads each, and all wait for any of all events of one side
    constexpr int rounds = 1500;
    Crowd requests(pairs);
    Crowd answers(pairs);
    std::atomic<int> served{0};
    std::atomic<bool> stop{false};
    std::vector<std::thread> servers;
    for (int s = 0; s < pairs; ++s) {
        servers.emplace_back([&] {
            while (!stop) {
                const int i = OrvoEvent::wait(requests.list, false, 50);
                if (i < 0) continue;
                ++served;
                answers.list[static_cast<std::size_t>(i)]->set();
            }
        });
    }
    std::vector<std::thread> clients;
    for (std::size_t c = 0; c < pairs; ++c) {
        clients.emplace_back([&, c] {
            for (int i = 0; i < rounds; ++i) {
                requests.list[c]->set();
                ASSERT_EQ(signalled, answers.list[c]->wait(generousMs));
            }
        });
    }
    for (std::thread& client : clients) client.join();
    stop = true;
    for (std::thread& server : servers) server.join();
    EXPECT_EQ(pairs * rounds, served);
}

TEST(OrvoEventWaitTest, survivesTimeOutsThatMeetSignals) {
    OrvoEvent event;
    OrvoEvent other;
    std::atomic<int> taken{0};
    std::atomic<bool> stop{false};
    std::vector<std::thread> takers;
    for (int t = 0; t < 3; ++t) {
        takers.emplace_back([&, t] {
            Events list{&other, &event};
            while (!stop) {
                const int result = t == 0 ? event.wait(1) : OrvoEvent::wait(list, false, 1);
                if (result >= 0) ++taken;
            }
        });
    }
    int set = 0;
    const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    while (std::chrono::steady_clock::now() < limit) {
        const int before = taken;
        event.set();
        ++set;
        while (taken == before) std::this_thread::yield();
    }
    stop = true;
    for (std::thread& taker : takers) taker.join();
    EXPECT_EQ(set, taken);
}

// ---- Dependents

// What an event does, in order: c(reate), the dependent's t(old), d(estroy); and whether it was signalled
// then.
class TracedEvent : public OrvoEvent, public OrvoDependent {
public:
    TracedEvent() { addDependent(*this); }

    void handleNotification(OrvoCollaborator&, const OrvoNotification& note) override {
        record += 't';
        id = note.getId();
        thread = std::this_thread::get_id();
        signalledWhenTold = OrvoEvent::wait(0) == signalled;
        if (throws) throw 17;
    }

    std::string record;
    int id = 0;
    std::thread::id thread;
    bool signalledWhenTold = false;
    bool throws = false;

protected:
    OrvoNotification* createNotification() override {
        record += 'c';
        return new OrvoNotification(77);
    }
    void destroyNotification(OrvoNotification* notification) override {
        record += 'd';
        delete notification;
    }
};

TEST(OrvoEventTest, tellsItsDependentsBeforeItSignals) {
    for (const bool pulse : {false, true}) {
        TracedEvent event;
        pulse ? event.pulse() : event.set();
        EXPECT_EQ("ctd", event.record);
        EXPECT_EQ(77, event.id);
        EXPECT_EQ(std::this_thread::get_id(), event.thread);
        EXPECT_FALSE(event.signalledWhenTold);
        EXPECT_EQ(pulse ? timedOut : signalled, event.wait(0));
    }
}

TEST(OrvoEventTest, resetAndWaitTellNobody) {
    TracedEvent event;
    event.reset();
    EXPECT_EQ(timedOut, event.wait(0));
    EXPECT_EQ("", event.record);
}

TEST(OrvoEventTest, aHandlerThatThrowsLeavesItNotSignalled) {
    for (const bool pulse : {false, true}) {
        TracedEvent event;
        event.throws = true;
        EXPECT_THROW(pulse ? event.pulse() : event.set(), int);
        EXPECT_EQ("ctd", event.record);
        EXPECT_EQ(timedOut, event.wait(0));
        event.throws = false;
        event.set();
        EXPECT_EQ(signalled, event.wait(0));
    }
}

TEST(OrvoEventTest, tellsWithTheIdOneAndMayHaveItsDependentsRemoved) {
    struct Counter : OrvoDependent {
        int told = 0;
        int id = 0;
        void handleNotification(OrvoCollaborator&, const OrvoNotification& note) override {
            ++told;
            id = note.getId();
            EXPECT_NE(nullptr, dynamic_cast<const OrvoEventNotification*>(&note));
        }
    } counter;
    OrvoEvent event;
    event.addDependent(counter);
    event.addDependent(counter);
    event.set();
    event.pulse();
    EXPECT_EQ(4, counter.told);
    EXPECT_EQ(1, counter.id);
    event.removeDependent(counter);
    event.set();
    EXPECT_EQ(4, counter.told);
}

TEST(OrvoEventTest, aHandlerMaySetTheSameEventAgain) {
    struct Again : OrvoDependent {
        OrvoEvent event;
        int told = 0;
        Again() { event.addDependent(*this); }
        void handleNotification(OrvoCollaborator&, const OrvoNotification&) override {
            if (++told < 3) event.set();
        }
    } again;
    again.event.set();
    EXPECT_EQ(3, again.told);
    EXPECT_EQ(signalled, again.event.wait(0));
    EXPECT_EQ(timedOut, again.event.wait(0));
}

// ---- The order of virtual operations, on which hosts built earlier rely

struct Slots : OrvoEvent {
    // A pointer to a virtual member starts with one plus the offset of its slot.
    template <class Member>
    static std::ptrdiff_t of(Member member) {
        std::ptrdiff_t offset = 0;
        std::memcpy(&offset, &member, sizeof offset);
        return (offset - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
    }
    static std::vector<std::ptrdiff_t> all() {
        using WaitOne = int (OrvoEvent::*)(int);
        return {of(&OrvoEvent::set),
                of(&OrvoEvent::reset),
                of(&OrvoEvent::pulse),
                of(static_cast<WaitOne>(&OrvoEvent::wait)),
                of(&OrvoEvent::getHandle),
                of(&Slots::createNotification),
                of(&Slots::destroyNotification)};
    }
};

TEST(OrvoEventTest, keepsItsVirtualOperationsInOrderBehindTheDestructor) {
    const std::vector<std::ptrdiff_t> slots = Slots::all();
    for (std::size_t i = 0; i < slots.size(); ++i) EXPECT_EQ(static_cast<std::ptrdiff_t>(i) + 2, slots[i]);
    EXPECT_EQ(2, Slots::of(&OrvoCollaborator::notify));
    EXPECT_EQ(2, Slots::of(&OrvoDependent::handleNotification));
}

}  // namespace
