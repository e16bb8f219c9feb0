// Rounds of notifications beside the plainest way to make one: by index, with a look at the list for every
// step.
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "OrvoEvent.h"

namespace {

using namespace OrvoSupport;

/// What happens while one dependent is told.
struct Change {
    enum Kind { nothing, add, remove, again } kind;
    int who;
};

/// A round over a list of numbers, told nothing but the rules.
class PlainRound {
public:
    explicit PlainRound(std::vector<Change> script) : m_script(std::move(script)) {}

    void add(int who) { m_list.push_back(who); }
    void remove(int who) {
        std::vector<int> rest;
        for (const int other : m_list)
            if (other != who) rest.push_back(other);
        m_list = rest;
    }
    void notify() {
        for (std::size_t i = 0; i < m_list.size(); ++i) {
            told.push_back(m_list[i]);
            if (told.size() > m_script.size()) continue;
            const Change change = m_script[told.size() - 1];
            if (change.kind == Change::add) add(change.who);
            if (change.kind == Change::remove) remove(change.who);
            if (change.kind == Change::again) notify();
        }
    }

    std::vector<int> told;

private:
    std::vector<int> m_list;
    std::vector<Change> m_script;
};

/// The same with a collaborator and its dependents.
class RealRound {
public:
    RealRound(int size, std::vector<Change> script) : m_script(std::move(script)) {
        for (int i = 0; i < size; ++i) m_members.push_back(std::make_unique<Member>(*this, i));
    }

    void add(int who) { m_collaborator.addDependent(member(who)); }
    void remove(int who) { m_collaborator.removeDependent(member(who)); }
    void notify() { m_collaborator.notify(OrvoNotification(1)); }

    std::vector<int> told;

private:
    struct Member : OrvoDependent {
        Member(RealRound& owner, int index) : round(owner), number(index) {}
        void handleNotification(OrvoCollaborator&, const OrvoNotification&) override { round.tell(number); }
        RealRound& round;
        const int number;
    };

    OrvoDependent& member(int who) { return *m_members[static_cast<std::size_t>(who)]; }

    void tell(int who) {
        told.push_back(who);
        if (told.size() > m_script.size()) return;
        const Change change = m_script[told.size() - 1];
        if (change.kind == Change::add) add(change.who);
        if (change.kind == Change::remove) remove(change.who);
        if (change.kind == Change::again) notify();
    }

    std::vector<std::unique_ptr<Member>> m_members;
    OrvoCollaborator m_collaborator;
    std::vector<Change> m_script;
};

TEST(NotificationRoundTest, ofAnyLengthTellsEachOnceAndInOrder) {
    for (const int size : {0, 1, 2, 15, 16, 17, 31, 32, 33, 64, 1000}) {
        SCOPED_TRACE(size);
        RealRound round(size, {});
        std::vector<int> expected;
        for (int i = 0; i < size; ++i) {
            round.add(i);
            expected.push_back(i);
        }
        round.notify();
        EXPECT_EQ(expected, round.told);
    }
}

TEST(NotificationRoundTest, seesWhatItsHandlersAddAndRemove) {
    std::mt19937 random(20240131);
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    for (int run = 0; run < 2000; ++run) {
        const int size = 1 + below(40);
        std::vector<Change> script(static_cast<std::size_t>(below(60)));
        for (Change& change : script) {
            const int kind = below(16);  // few begin another round: they multiply
            change = {kind == 0  ? Change::again
                      : kind < 4 ? Change::add
                      : kind < 8 ? Change::remove
                                 : Change::nothing,
                      below(size)};
        }
        PlainRound plain(script);
        RealRound real(size, script);
        for (int i = below(2 * size); i >= 0; --i) {
            const int who = below(size);
            plain.add(who);
            real.add(who);
        }
        plain.notify();
        real.notify();
        ASSERT_EQ(plain.told, real.told) << "run " << run;
    }
}

TEST(NotificationRoundTest, goesOnAfterOneThatThrewAsIfItHadNotBeen) {
    struct Thrower : OrvoDependent {
        int told = 0;
        void handleNotification(OrvoCollaborator&, const OrvoNotification&) override {
            if (++told == 20) throw 17;
        }
    } thrower;
    OrvoCollaborator collaborator;
    for (int i = 0; i < 30; ++i) collaborator.addDependent(thrower);
    EXPECT_THROW(collaborator.notify(OrvoNotification(1)), int);
    EXPECT_EQ(20, thrower.told);
    collaborator.notify(OrvoNotification(1));
    EXPECT_EQ(50, thrower.told);
}

TEST(NotificationRoundTest, tellsNobodyWhomAnotherThreadHasRemovedBefore) {
    struct Removed : OrvoDependent {
        bool told = false;
        void handleNotification(OrvoCollaborator&, const OrvoNotification&) override { told = true; }
    };
    struct Remover : OrvoDependent {
        Removed* victim = nullptr;
        void handleNotification(OrvoCollaborator& source, const OrvoNotification&) override {
            std::thread([&] { source.removeDependent(*victim); }).join();
        }
    };
    std::vector<Removed> crowd(20);
    for (Removed& victim : crowd) {
        OrvoCollaborator collaborator;
        Remover remover;
        remover.victim = &victim;
        collaborator.addDependent(remover);
        for (Removed& other : crowd) collaborator.addDependent(other);
        collaborator.notify(OrvoNotification(1));
        EXPECT_FALSE(victim.told);
        for (Removed& other : crowd) other.told = false;
    }
}

// One thread adds and removes while another goes round: no step may wait for the list to come to rest.
TEST(NotificationRoundTest, comesToItsEndWhileTheListChangesAllTheTime) {
    struct Counter : OrvoDependent {
        std::atomic<int> told{0};
        void handleNotification(OrvoCollaborator&, const OrvoNotification&) override { ++told; }
    } always, sometimes;
    OrvoCollaborator collaborator;
    for (int i = 0; i < 20; ++i) collaborator.addDependent(always);
    std::atomic<bool> stop{false};
    std::thread changer([&] {
        while (!stop) {
            collaborator.addDependent(sometimes);
            collaborator.removeDependent(sometimes);
        }
    });
    for (int i = 0; i < 300; ++i) collaborator.notify(OrvoNotification(1));
    stop = true;
    changer.join();
    EXPECT_EQ(300 * 20, always.told);
}

// ---- What an event makes of it

class CountedEvent : public OrvoEvent {
public:
    using OrvoEvent::createNotification;
    using OrvoEvent::destroyNotification;
};

class OwnNotificationEvent : public OrvoEvent {
public:
    std::string calls;
    OrvoNotification* next = nullptr;

protected:
    OrvoNotification* createNotification() override {
        calls += 'c';
        return next;
    }
    void destroyNotification(OrvoNotification* notification) override {
        calls += notification == next ? 'd' : '?';
    }
};

TEST(EventNotificationTest, isMadeAndDestroyedForASubclassThoughNobodyListens) {
    OwnNotificationEvent event;
    OrvoNotification note(5);
    event.next = &note;
    event.set();
    EXPECT_EQ("cd", event.calls);
    event.pulse();
    EXPECT_EQ("cdcd", event.calls);
}

TEST(EventNotificationTest, thatCannotBeMadeIsDoneWithout) {
    struct Counter : OrvoDependent {
        int told = 0;
        void handleNotification(OrvoCollaborator&, const OrvoNotification&) override { ++told; }
    } counter;
    OwnNotificationEvent event;
    event.addDependent(counter);
    event.set();
    EXPECT_EQ("cd", event.calls);
    EXPECT_EQ(0, counter.told);
    EXPECT_EQ(0, event.wait(0));
}

TEST(EventNotificationTest, isANewOneEachTimeAndDestroyedAsWhatItIs) {
    struct Traced : OrvoNotification {
        bool& gone;
        explicit Traced(bool& flag) : gone(flag) {}
        ~Traced() override { gone = true; }
    };
    CountedEvent event;
    OrvoNotification* const first = event.createNotification();
    OrvoNotification* const second = event.createNotification();
    ASSERT_NE(nullptr, first);
    EXPECT_NE(first, second);
    EXPECT_EQ(1, first->getId());
    EXPECT_NE(nullptr, dynamic_cast<OrvoEventNotification*>(second));
    event.destroyNotification(first);
    event.destroyNotification(second);
    event.destroyNotification(nullptr);

    bool gone = false;
    event.destroyNotification(new Traced(gone));
    EXPECT_TRUE(gone);
}

TEST(EventNotificationTest, reachesADependentAddedJustBeforeAndNoneRemoved) {
    struct Counter : OrvoDependent {
        int told = 0;
        void handleNotification(OrvoCollaborator&, const OrvoNotification&) override { ++told; }
    } counter;
    OrvoEvent event;
    for (int i = 1; i <= 3; ++i) {
        event.set();
        event.addDependent(counter);
        event.set();
        event.pulse();
        event.removeDependent(counter);
        event.pulse();
        EXPECT_EQ(2 * i, counter.told);
    }
}

}  // namespace
