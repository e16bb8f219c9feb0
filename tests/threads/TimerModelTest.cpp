// Timers against a model of them: a list that is walked, and one waiter that each change to the list cancels
// and replaces. What the library does instead to be faster may not show.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "OrvoTimer.h"
#include "support/FakeTime.h"
#include "threads/TimerSchedule.h"

namespace {

using namespace OrvoSupport;
using std::chrono::milliseconds;
using testing_support::FakeTime;

constexpr std::size_t timerCount = 6;

int below(int limit, std::mt19937& random) {
    return static_cast<int>(random() % static_cast<unsigned>(limit));
}

/// Something done to one of the timers.
struct Deed {
    enum Kind { stop, reset, startMilliseconds, start };

    explicit Deed(std::mt19937& random)
        : kind(static_cast<Kind>(below(4, random))),
          timer(random() % timerCount),
          seconds(below(3, random) == 0 ? 0 : below(4, random) - 1),
          rest(below(4, random) == 0 ? 0 : below(5000, random) - 1500),
          oneShot(below(2, random) == 0) {}

    Kind kind;
    std::size_t timer;
    long seconds;
    long rest;
    bool oneShot;
};

/// The timers or the model. Both tell what fires when and on which thread, and their handlers do the same.
class Subject {
public:
    explicit Subject(unsigned seed) : m_seed(seed) {}
    virtual ~Subject() = default;

    void act(const Deed& deed) {
        switch (deed.kind) {
            case Deed::stop: return stop(deed.timer);
            case Deed::reset: return reset(deed.timer);
            case Deed::startMilliseconds: return start(deed.timer, 0, deed.rest, deed.oneShot);
            case Deed::start: return start(deed.timer, deed.seconds, deed.rest, deed.oneShot);
        }
    }

    std::string story;

protected:
    virtual void start(std::size_t timer, long seconds, long rest, bool oneShot) = 0;
    virtual void stop(std::size_t timer) = 0;
    virtual void reset(std::size_t timer) = 0;

    void fires(std::size_t timer, bool onWaiter, std::int64_t now) {
        const unsigned count = ++m_fired[timer];
        story += (onWaiter ? " w" : " c") + std::to_string(timer) + "@" + std::to_string(now);
        std::mt19937 random(m_seed * 7919 + static_cast<unsigned>(timer) * 104729 + count * 31);
        for (int deeds = below(6, random) - 3; deeds > 0; --deeds) act(Deed(random));
        // Timers that repeat without a period would go on for ever.
        if (count % 3 == 0)
            for (std::size_t i = 0; i < timerCount; ++i) start(i, 2, 0, true);
    }

private:
    const unsigned m_seed;
    unsigned m_fired[timerCount] = {};
};

class Model : public Subject {
public:
    Model(unsigned seed, std::int64_t calendar) : Subject(seed), m_calendarAhead(calendar) {}

    void setCalendarForward(std::int64_t time) { m_calendarAhead += time; }
    void advance(std::int64_t time) {
        const std::int64_t end = m_now + time;
        while (m_waits && m_wakesAt <= end) {
            m_now = std::max(m_now, m_wakesAt);
            m_waits = false;
            m_onWaiter = true;
            fire();
            m_onWaiter = false;
        }
        m_now = end;
    }

private:
    struct Timer {
        TimePair period{0, 0};
        bool oneShot = false;
        TimePair due{0, 0};
        bool visited = false;
    };

    std::int64_t calendar() const { return m_now + m_calendarAhead; }
    std::int64_t second() const { return calendar() / 1000; }

    void start(std::size_t timer, long seconds, long rest, bool oneShot) override {
        take(timer);
        arm();
        take(timer);  // a handler may have started it meanwhile
        Timer& it = m_timers[timer];
        it.period = {seconds + rest / 1000, static_cast<std::int32_t>(rest % 1000)};
        it.oneShot = oneShot;
        if (seconds >= 1 || rest >= 1) insert(timer);
        arm();
    }
    void reset(std::size_t timer) override {
        const Timer it = m_timers[timer];
        start(timer, static_cast<long>(it.period.seconds), it.period.milliseconds, it.oneShot);
    }
    void stop(std::size_t timer) override {
        if (std::find(m_list.begin(), m_list.end(), timer) == m_list.end()) return;
        take(timer);
        arm();
    }

    void take(std::size_t timer) {
        m_list.erase(std::remove(m_list.begin(), m_list.end(), timer), m_list.end());
    }
    void insert(std::size_t timer) {
        Timer& it = m_timers[timer];
        it.due = {second() + it.period.seconds, it.period.milliseconds};
        const auto isNotBefore = [&](std::size_t other) { return isNotAfter(it.due, m_timers[other].due); };
        m_list.insert(std::find_if(m_list.begin(), m_list.end(), isNotBefore), timer);
    }
    void arm() {
        if (m_firing) return;
        m_waits = false;
        if (m_list.empty()) return;
        const TimePair& due = m_timers[m_list.front()].due;
        const std::int64_t left = due.seconds - second();
        if (left < 0 || (left == 0 && due.milliseconds == 0)) return fire();
        m_waits = true;
        m_wakesAt = m_now + left * 1000 + due.milliseconds;
    }
    void fire() {
        m_firing = true;
        while (fireNext()) continue;
        for (Timer& it : m_timers) it.visited = false;
        m_firing = false;
        arm();
    }
    bool fireNext() {
        for (const std::size_t timer : m_list) {
            Timer& it = m_timers[timer];
            if (it.visited) continue;
            it.visited = true;
            if (!isNotAfter(it.due, {second(), 0})) continue;
            take(timer);
            if (!it.oneShot) insert(timer);
            fires(timer, m_onWaiter, calendar());
            return true;
        }
        return false;
    }

    std::int64_t m_now = 0;
    std::int64_t m_calendarAhead;
    Timer m_timers[timerCount];
    std::vector<std::size_t> m_list;
    bool m_firing = false;
    bool m_waits = false;
    bool m_onWaiter = false;
    std::int64_t m_wakesAt = 0;
};

class Timers : public Subject {
public:
    explicit Timers(unsigned seed) : Subject(seed) {
        for (Timer& timer : m_timers) timer.owner = this;
    }
    /// One that is destroyed while another fires would find the others' owner gone.
    ~Timers() override {
        for (Timer& timer : m_timers) timer.removeDependent(timer);
    }

private:
    struct Timer : OrvoTimer, OrvoDependent {
        Timer() { addDependent(*this); }
        void handleNotification(OrvoCollaborator&, const OrvoNotification&) override { owner->fires(*this); }
        Timers* owner = nullptr;
    };

    void fires(const Timer& timer) {
        const auto isIt = [&](const Timer& other) { return &other == &timer; };
        const auto place = std::find_if(m_timers.begin(), m_timers.end(), isIt) - m_timers.begin();
        Subject::fires(static_cast<std::size_t>(place), std::this_thread::get_id() != m_caller,
                       FakeTime::calendar().count());
    }
    void start(std::size_t timer, long seconds, long rest, bool oneShot) override {
        m_timers[timer].start(seconds, rest, oneShot);
    }
    void stop(std::size_t timer) override { m_timers[timer].stop(); }
    void reset(std::size_t timer) override { m_timers[timer].reset(); }

    const std::thread::id m_caller = std::this_thread::get_id();
    std::deque<Timer> m_timers{timerCount};
};

void play(unsigned seed) {
    const std::int64_t calendar = 1'700'000'000'000 + seed * 1'000'003;
    FakeTime::setCalendar(milliseconds(calendar));
    Model model(seed, calendar);
    Timers timers(seed);
    std::mt19937 random(seed);
    for (int step = 0; step < 60; ++step) {
        if (below(8, random) == 0) {
            const int forward = below(6000, random);
            model.setCalendarForward(forward);
            FakeTime::setCalendar(FakeTime::calendar() + milliseconds(forward));
        }
        const Deed deed(random);
        model.act(deed);
        timers.act(deed);
        const int time = below(3, random) == 0 ? 0 : below(3000, random);
        model.advance(time);
        FakeTime::advance(milliseconds(time));
        ASSERT_EQ(model.story, timers.story) << "seed " << seed << ", step " << step;
    }
    EXPECT_NE("", timers.story);
}

TEST(TimerModelTest, firesWhatTheModelFiresWhenAndWhereItDoes) {
    for (unsigned seed = 1; seed <= 30; ++seed) ASSERT_NO_FATAL_FAILURE(play(seed));
    FakeTime::advance(milliseconds(2000));
}

}  // namespace
