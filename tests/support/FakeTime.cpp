#include "support/FakeTime.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>

#include "platform/WaitableTimer.h"

namespace testing_support {
namespace {

using OrvoSupport::platform::WaitableTimer;

constexpr std::int64_t perMillisecond = 1'000'000;

struct World {
    std::mutex mutex;
    std::condition_variable changed;
    std::int64_t now = 1000 * perMillisecond;
    std::int64_t calendarAhead = 1'000'000'000'000 - 1000;  // milliseconds
    std::map<const void*, std::int64_t> sleepers;
    std::map<const void*, bool> open;  // and whether a signal waits
    bool refuses = false;
    int made = 0;
    int wakeUps = 0;

    bool everybodySleeps() const { return sleepers.size() == open.size(); }
};

/// Never destroyed: the library is torn down after the test's static objects.
World& world() {
    static World& theWorld = *new World;
    return theWorld;
}

}  // namespace

void FakeTime::advance(std::chrono::milliseconds time) {
    World& w = world();
    std::unique_lock<std::mutex> lock(w.mutex);
    const std::int64_t end = w.now + time.count() * perMillisecond;
    for (;;) {
        if (!w.changed.wait_for(lock, std::chrono::minutes(1), [&] { return w.everybodySleeps(); })) {
            std::fprintf(stderr, "FakeTime: the thread of the timers does not come back\n");
            std::abort();
        }
        const auto first = std::min_element(w.sleepers.begin(), w.sleepers.end(),
                                            [](const auto& a, const auto& b) { return a.second < b.second; });
        if (first == w.sleepers.end() || first->second > end) break;
        w.now = std::max(w.now, first->second);
        w.sleepers.erase(first);
        w.changed.notify_all();
    }
    w.now = end;
}

void FakeTime::setCalendar(std::chrono::milliseconds since1970) {
    World& w = world();
    const std::lock_guard<std::mutex> lock(w.mutex);
    w.calendarAhead = since1970.count() - w.now / perMillisecond;
}

std::chrono::milliseconds FakeTime::calendar() {
    return std::chrono::milliseconds(WaitableTimer::calendarMilliseconds());
}

void FakeTime::refuseWaiters(bool refuse) {
    World& w = world();
    const std::lock_guard<std::mutex> lock(w.mutex);
    w.refuses = refuse;
}

bool FakeTime::hasWaiter() {
    World& w = world();
    const std::lock_guard<std::mutex> lock(w.mutex);
    return !w.open.empty();
}

int FakeTime::waitersMade() {
    World& w = world();
    const std::lock_guard<std::mutex> lock(w.mutex);
    return w.made;
}

int FakeTime::wakeUps() {
    World& w = world();
    const std::lock_guard<std::mutex> lock(w.mutex);
    return w.wakeUps;
}

}  // namespace testing_support

namespace OrvoSupport::platform {

using testing_support::perMillisecond;
using testing_support::World;
using testing_support::world;

bool WaitableTimer::open() noexcept {
    World& w = world();
    const std::lock_guard<std::mutex> lock(w.mutex);
    if (w.refuses) return false;
    w.open[this] = false;
    ++w.made;
    return true;
}

void WaitableTimer::close() noexcept {
    World& w = world();
    const std::lock_guard<std::mutex> lock(w.mutex);
    w.open.erase(this);
    w.changed.notify_all();
}

void WaitableTimer::wait(std::int64_t deadline) noexcept {
    World& w = world();
    std::unique_lock<std::mutex> lock(w.mutex);
    if (!w.open[this] && deadline > w.now) {
        w.sleepers[this] = deadline;
        w.changed.notify_all();
        w.changed.wait(lock, [&] { return w.sleepers.count(this) == 0; });
    }
    w.open[this] = false;
}

void WaitableTimer::signal() noexcept {
    World& w = world();
    const std::lock_guard<std::mutex> lock(w.mutex);
    w.open[this] = true;
    w.wakeUps += static_cast<int>(w.sleepers.erase(this));
    w.changed.notify_all();
}

std::int64_t WaitableTimer::calendarSeconds() noexcept { return calendarMilliseconds() / 1000; }

std::int64_t WaitableTimer::calendarMilliseconds() noexcept {
    World& w = world();
    const std::lock_guard<std::mutex> lock(w.mutex);
    return w.now / perMillisecond + w.calendarAhead;
}

std::int64_t WaitableTimer::now() noexcept {
    World& w = world();
    const std::lock_guard<std::mutex> lock(w.mutex);
    return w.now;
}

std::int64_t WaitableTimer::deadlineIn(std::int64_t milliseconds) noexcept {
    return now() + milliseconds * perMillisecond;
}

}  // namespace OrvoSupport::platform
