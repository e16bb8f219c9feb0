// Notifications, dependents and the round that tells them.
#include "OrvoEvent.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <new>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace OrvoSupport;

// Writes its name when told, then does what the test wants done inside the handler.
class Recorder : public OrvoDependent {
public:
    Recorder(std::string& record, char name, std::function<void(OrvoCollaborator&)> action = {})
        : m_record(record), m_name(name), m_action(std::move(action)) {}

    void handleNotification(OrvoCollaborator& source, const OrvoNotification&) override {
        m_record += m_name;
        if (m_action) m_action(source);
    }

private:
    std::string& m_record;
    char m_name;
    std::function<void(OrvoCollaborator&)> m_action;
};

TEST(OrvoNotificationTest, keepsTheIdItIsGiven) {
    OrvoNotification note(7);
    EXPECT_EQ(7, note.getId());
    note.setId(-8);
    EXPECT_EQ(-8, note.getId());
    EXPECT_EQ(&note, &(note = 9));
    EXPECT_EQ(9, note.getId());
}

TEST(OrvoNotificationTest, copiesTheId) {
    const OrvoNotification seven(7);
    const OrvoNotification copy(seven);
    EXPECT_EQ(7, copy.getId());
    OrvoNotification assigned(1);
    assigned = seven;
    EXPECT_EQ(7, assigned.getId());
    const OrvoNotification& self = assigned;
    EXPECT_EQ(&assigned, &(assigned = self));
    EXPECT_EQ(7, assigned.getId());
}

TEST(OrvoNotificationTest, builtByDefaultTakesAnIdAndCanBeCopiedBefore) {
    OrvoNotification note;
    OrvoNotification copy(note);
    copy = note;
    copy.setId(3);
    note = copy;
    EXPECT_EQ(3, note.getId());
}

TEST(OrvoEventNotificationTest, hasTheIdOne) { EXPECT_EQ(1, OrvoEventNotification().getId()); }

TEST(OrvoEventNotificationTest, copiesTheIdOfItsSource) {
    OrvoEventNotification source;
    source.setId(42);
    const OrvoEventNotification copy(source);
    OrvoEventNotification assigned;
    assigned = source;
    EXPECT_EQ(42, copy.getId());
    EXPECT_EQ(42, assigned.getId());
}

TEST(OrvoDependentTest, doesNothingUnlessOverridden) {
    OrvoDependent dependent;
    OrvoDependent copy(dependent);
    copy = dependent;
    OrvoCollaborator collaborator;
    collaborator.addDependent(copy);
    EXPECT_NO_THROW(collaborator.notify(OrvoNotification(1)));
}

TEST(OrvoCollaboratorTest, tellsDependentsInTheOrderOfRegistration) {
    std::string record;
    Recorder a(record, 'a'), b(record, 'b'), c(record, 'c');
    OrvoCollaborator collaborator;
    for (OrvoDependent* dependent : {&b, &a, &c}) collaborator.addDependent(*dependent);
    collaborator.notify(OrvoNotification(1));
    EXPECT_EQ("bac", record);
}

TEST(OrvoCollaboratorTest, handsItselfAndTheNotificationToTheHandlerOnTheCallingThread) {
    struct Witness : OrvoDependent {
        OrvoCollaborator* source = nullptr;
        const OrvoNotification* note = nullptr;
        std::thread::id thread;
        void handleNotification(OrvoCollaborator& from, const OrvoNotification& what) override {
            source = &from;
            note = &what;
            thread = std::this_thread::get_id();
        }
    } witness;
    OrvoCollaborator collaborator;
    collaborator.addDependent(witness);
    const OrvoNotification note(5);
    collaborator.notify(note);
    EXPECT_EQ(&collaborator, witness.source);
    EXPECT_EQ(&note, witness.note);
    EXPECT_EQ(std::this_thread::get_id(), witness.thread);
}

TEST(OrvoCollaboratorTest, tellsADependentAddedTwiceTwiceAndRemovesBothAtOnce) {
    std::string record;
    Recorder a(record, 'a'), b(record, 'b');
    OrvoCollaborator collaborator;
    for (OrvoDependent* dependent : {&a, &b, &a}) collaborator.addDependent(*dependent);
    collaborator.notify(OrvoNotification(1));
    EXPECT_EQ("aba", record);
    collaborator.removeDependent(a);
    collaborator.notify(OrvoNotification(1));
    EXPECT_EQ("abab", record);
}

TEST(OrvoCollaboratorTest, ignoresTheRemovalOfAStranger) {
    std::string record;
    Recorder a(record, 'a'), stranger(record, 's');
    OrvoCollaborator collaborator;
    collaborator.removeDependent(stranger);
    collaborator.addDependent(a);
    collaborator.removeDependent(stranger);
    collaborator.notify(OrvoNotification(1));
    EXPECT_EQ("a", record);
}

TEST(OrvoCollaboratorTest, keepsTheOrderOfTheRestAfterARemoval) {
    std::string record;
    Recorder a(record, 'a'), b(record, 'b'), c(record, 'c'), d(record, 'd');
    OrvoCollaborator collaborator;
    for (OrvoDependent* dependent : {&a, &b, &c, &b, &d}) collaborator.addDependent(*dependent);
    collaborator.removeDependent(b);
    collaborator.notify(OrvoNotification(1));
    EXPECT_EQ("acd", record);
}

TEST(OrvoCollaboratorTest, tellsOneAddedDuringTheRoundInTheSameRound) {
    std::string record;
    Recorder late(record, 'l');
    Recorder first(record, 'f', [&](OrvoCollaborator& source) { source.addDependent(late); });
    Recorder second(record, 's');
    OrvoCollaborator collaborator;
    collaborator.addDependent(first);
    collaborator.addDependent(second);
    collaborator.notify(OrvoNotification(1));
    EXPECT_EQ("fsl", record);
}

TEST(OrvoCollaboratorTest, missesTheOneThatMovesUpWhenAHandlerRemovesItself) {
    std::string record;
    Recorder* self = nullptr;
    Recorder first(record, 'f', [&](OrvoCollaborator& source) { source.removeDependent(*self); });
    self = &first;
    Recorder second(record, 's'), third(record, 't');
    OrvoCollaborator collaborator;
    for (OrvoDependent* dependent : {&first, &second, &third}) collaborator.addDependent(*dependent);
    collaborator.notify(OrvoNotification(1));
    EXPECT_EQ("ft", record);
    collaborator.notify(OrvoNotification(1));
    EXPECT_EQ("ftst", record);
}

TEST(OrvoCollaboratorTest, endsTheRoundWhenAHandlerRemovesAllThatFollow) {
    std::string record;
    Recorder second(record, 's'), third(record, 't');
    Recorder first(record, 'f', [&](OrvoCollaborator& source) {
        source.removeDependent(second);
        source.removeDependent(third);
    });
    OrvoCollaborator collaborator;
    for (OrvoDependent* dependent : {&first, &second, &third}) collaborator.addDependent(*dependent);
    collaborator.notify(OrvoNotification(1));
    EXPECT_EQ("f", record);
}

TEST(OrvoCollaboratorTest, mayBeNotifiedAgainFromAHandler) {
    std::string record;
    int depth = 0;
    Recorder again(record, 'a', [&](OrvoCollaborator& source) {
        if (++depth < 3) source.notify(OrvoNotification(2));
    });
    Recorder last(record, 'l');
    OrvoCollaborator collaborator;
    collaborator.addDependent(again);
    collaborator.addDependent(last);
    collaborator.notify(OrvoNotification(1));
    EXPECT_EQ("aaalll", record);
}

TEST(OrvoCollaboratorTest, holdsNoLockWhileAHandlerRuns) {
    std::string record;
    Recorder late(record, 'l');
    Recorder waits(record, 'w',
                   [&](OrvoCollaborator& source) { std::thread([&] { source.addDependent(late); }).join(); });
    OrvoCollaborator collaborator;
    collaborator.addDependent(waits);
    collaborator.notify(OrvoNotification(1));
    EXPECT_EQ("wl", record);
}

TEST(OrvoCollaboratorTest, letsAnExceptionOfAHandlerOutAndIsFreeAfterwards) {
    std::string record;
    Recorder throws(record, 't', [](OrvoCollaborator&) { throw 17; });
    Recorder behind(record, 'b');
    OrvoCollaborator collaborator;
    collaborator.addDependent(throws);
    collaborator.addDependent(behind);
    EXPECT_THROW(collaborator.notify(OrvoNotification(1)), int);
    EXPECT_EQ("t", record);
    std::thread([&] { collaborator.removeDependent(throws); }).join();
    collaborator.notify(OrvoNotification(1));
    EXPECT_EQ("tb", record);
}

TEST(OrvoCollaboratorTest, doesNotDeleteItsDependents) {
    std::string record;
    Recorder a(record, 'a');
    { OrvoCollaborator().addDependent(a); }
    OrvoCollaborator other;
    other.addDependent(a);
    other.notify(OrvoNotification(1));
    EXPECT_EQ("a", record);
}

TEST(OrvoCollaboratorTest, servesManyThreadsAtOnce) {
    struct Counter : OrvoDependent {
        std::atomic<int> told{0};
        void handleNotification(OrvoCollaborator&, const OrvoNotification&) override { ++told; }
    } always;
    OrvoCollaborator collaborator;
    collaborator.addDependent(always);
    constexpr int rounds = 500;
    Counter others[4];  // outlive every round that may still know them
    std::vector<std::thread> threads;
    for (Counter& other : others) {
        threads.emplace_back([&] {
            for (int i = 0; i < rounds; ++i) {
                collaborator.addDependent(other);
                collaborator.notify(OrvoNotification(1));
                collaborator.removeDependent(other);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(4 * rounds, always.told);
}

}  // namespace
