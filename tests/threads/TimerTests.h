// What the tests of timers by the system's clocks share.
#ifndef TESTS_THREADS_TIMER_TESTS_H
#define TESTS_THREADS_TIMER_TESTS_H

#include <functional>
#include <utility>

#include "OrvoTimer.h"

namespace timer_tests {

using namespace OrvoSupport;

constexpr int limit = 60'000;  // milliseconds, of whatever should come at once

struct Acting : OrvoDependent {
    explicit Acting(std::function<void()> action_) : action(std::move(action_)) {}
    void handleNotification(OrvoCollaborator&, const OrvoNotification&) override { action(); }
    std::function<void()> action;
};

/// Stops the timer and takes its signal, also that of a firing which is under way meanwhile: that is over
/// when another timer has fired.
inline void stopForGood(OrvoTimer& timer) {
    timer.stop();
    OrvoTimer next;
    next.start(-1, 1, true);
    next.wait(limit);
    timer.wait(0);
}

}  // namespace timer_tests

#endif
