#include "OrvoTimer.h"

#include "OrvoException.h"
#include "threads/OrvoTimerManager.h"
#include "threads/TimerSetting.h"

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
    : m_setting(packed(seconds, milliseconds, oneShot)) {}

OrvoTimer::~OrvoTimer() { OrvoTimerManager::forget(*this); }

void OrvoTimer::reset() {
    const TimerSetting setting = unpacked(m_setting.load(std::memory_order_relaxed));
    start(static_cast<long>(setting.period.seconds), setting.period.milliseconds, setting.oneShot);
}

void OrvoTimer::start(long seconds, long milliseconds, bool oneShot) {
    const bool stopped = seconds < 1 && milliseconds < 1;
    withManager([&](OrvoTimerManager& manager) {
        manager.start(*this, packed(seconds, milliseconds, oneShot), stopped);
    });
}

void OrvoTimer::start(long milliseconds, bool oneShot) { start(0, milliseconds, oneShot); }

void OrvoTimer::stop() {
    if (!m_scheduled.load(std::memory_order_acquire)) return;
    withManager([&](OrvoTimerManager& manager) { manager.remove(*this); });
}

bool OrvoTimer::isOneShot() const { return unpacked(m_setting.load(std::memory_order_relaxed)).oneShot; }

}  // namespace OrvoSupport
