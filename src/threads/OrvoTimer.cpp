#include "OrvoTimer.h"

#include "OrvoException.h"
#include "threads/OrvoTimerManager.h"
#include "threads/TimerPeriod.h"

namespace OrvoSupport {
namespace {

/// Calls action(manager); does nothing once there is no manager any more.
template <class Action>
void withManager(const Action& action) {
    try {
        action(OrvoTimerManager::getInstance());
    } catch (const OrvoException&) {
    }
}

}  // namespace

OrvoTimer::OrvoTimer() : OrvoTimer(0, 0, false) {}

OrvoTimer::OrvoTimer(long milliseconds, bool oneShot) : OrvoTimer(0, milliseconds, oneShot) {}

OrvoTimer::OrvoTimer(long seconds, long milliseconds, bool oneShot)
    : m_period(packedPeriod(seconds, milliseconds)), m_oneShot(oneShot) {}

OrvoTimer::~OrvoTimer() { OrvoTimerManager::forget(*this); }

void OrvoTimer::reset() {
    const TimePair period = unpackedPeriod(m_period.load(std::memory_order_relaxed));
    start(static_cast<long>(period.seconds), period.milliseconds, m_oneShot.load(std::memory_order_relaxed));
}

void OrvoTimer::start(long seconds, long milliseconds, bool oneShot) {
    const bool stopped = seconds < 1 && milliseconds < 1;
    withManager([&](OrvoTimerManager& manager) {
        manager.start(*this, packedPeriod(seconds, milliseconds), oneShot, stopped);
    });
}

void OrvoTimer::start(long milliseconds, bool oneShot) { start(0, milliseconds, oneShot); }

void OrvoTimer::stop() {
    if (!m_scheduled.load(std::memory_order_acquire)) return;
    withManager([&](OrvoTimerManager& manager) { manager.remove(*this); });
}

bool OrvoTimer::isOneShot() const { return m_oneShot.load(std::memory_order_relaxed); }

}  // namespace OrvoSupport
