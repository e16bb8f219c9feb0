// Collaborators and events that are destroyed by those whom they tell.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "OrvoEvent.h"

namespace {

using namespace OrvoSupport;

struct Acting : OrvoDependent {
    explicit Acting(std::function<void()> action_ = {}) : action(std::move(action_)) {}
    void handleNotification(OrvoCollaborator&, const OrvoNotification& note) override {
        ++told;
        EXPECT_EQ(1, note.getId());
        if (action) action();
        EXPECT_EQ(1, note.getId());  // it lives until the handler returns, whatever that does
    }
    std::function<void()> action;
    int told = 0;
};

TEST(DestroyedSourceTest, endsTheRoundOfACollaborator) {
    auto source = std::make_unique<OrvoCollaborator>();
    Acting before, after, destroyer([&] { source.reset(); });
    for (Acting* dependent : {&before, &destroyer, &after}) source->addDependent(*dependent);
    source->notify(OrvoNotification(1));
    EXPECT_EQ(1, before.told);
    EXPECT_EQ(1, destroyer.told);
    EXPECT_EQ(0, after.told);
}

TEST(DestroyedSourceTest, endsAllRoundsOfTheThreadForItButNoOthers) {
    auto inner = std::make_unique<OrvoCollaborator>();
    OrvoCollaborator outer;
    int depth = 0;
    Acting destroyer([&] {
        if (++depth < 3)
            inner->notify(OrvoNotification(1));
        else
            inner.reset();
    });
    Acting caller([&] { inner->notify(OrvoNotification(1)); });
    Acting last;
    inner->addDependent(destroyer);
    inner->addDependent(last);
    outer.addDependent(caller);
    outer.addDependent(last);
    outer.notify(OrvoNotification(1));
    EXPECT_EQ(3, destroyer.told);
    EXPECT_EQ(1, last.told);  // by the outer one
}

TEST(DestroyedSourceTest, letsOtherRoundsGoOn) {
    OrvoCollaborator source;
    auto other = std::make_unique<OrvoCollaborator>();
    Acting destroyer([&] { other.reset(); });
    Acting last;
    source.addDependent(destroyer);
    source.addDependent(last);
    source.notify(OrvoNotification(1));
    EXPECT_EQ(1, last.told);
}

TEST(DestroyedSourceTest, mayHaveASuccessorInTheSamePlace) {
    std::optional<OrvoCollaborator> source(std::in_place);
    Acting last;
    Acting renewer([&] {
        source.emplace();
        source->addDependent(last);
    });
    source->addDependent(renewer);
    source->addDependent(last);
    source->notify(OrvoNotification(1));
    EXPECT_EQ(0, last.told);
    source->notify(OrvoNotification(1));
    EXPECT_EQ(1, last.told);
}

TEST(DestroyedSourceTest, endsTheSettingAndPulsingOfAnEvent) {
    for (const bool pulse : {false, true}) {
        auto event = std::make_unique<OrvoEvent>();
        Acting destroyer([&] { event.reset(); });
        Acting last;
        event->addDependent(destroyer);
        event->addDependent(last);
        pulse ? event->pulse() : event->set();
        EXPECT_EQ(1, destroyer.told);
        EXPECT_EQ(0, last.told);
    }
}

TEST(DestroyedSourceTest, passesTheExceptionOfTheOneThatDestroyedIt) {
    auto event = std::make_unique<OrvoEvent>();
    Acting destroyer([&] {
        event.reset();
        throw std::runtime_error("gone");
    });
    event->addDependent(destroyer);
    EXPECT_THROW(event->set(), std::runtime_error);
}

int counted = 0;

struct Counted : OrvoEventNotification {
    Counted() { ++counted; }
    ~Counted() override { --counted; }
};

struct OwnKind : OrvoEvent {
    explicit OwnKind(int& destroyed_) : destroyed(destroyed_) {}
    OrvoNotification* createNotification() override { return new Counted; }
    void destroyNotification(OrvoNotification* note) override {
        ++destroyed;
        delete note;
    }
    int& destroyed;
};

TEST(DestroyedSourceTest, isNotAskedToDestroyItsNotification) {
    int destroyed = 0;
    auto event = std::make_unique<OwnKind>(destroyed);
    Acting destroyer;
    event->addDependent(destroyer);
    event->set();
    EXPECT_EQ(1, destroyed);
    destroyer.action = [&] { event.reset(); };
    event->set();
    EXPECT_EQ(1, destroyed);
    EXPECT_EQ(0, counted);  // deleted all the same
}

}  // namespace
