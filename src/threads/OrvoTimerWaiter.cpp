// The thread that sleeps until the first timer is due: how it comes, when it goes, and what becomes of the
// manager when the library or the process does.
#include <algorithm>
#include <chrono>
#include <new>
#include <thread>

#include "OrvoException.h"
#include "platform/Fork.h"
#include "platform/ThreadSlot.h"
#include "threads/OrvoTimerManager.h"

namespace OrvoSupport {
namespace {

using platform::WaitableTimer;

// The waiter goes at the second look in a row that finds nothing to wait for, so within twice this time.
constexpr std::int64_t slice = 400'000'000;
// A clock that is being adjusted may be this much behind when the sleep is over. Without regard to that a
// timer would miss its second and wait for one more.
constexpr std::int64_t clockLag = 100;  // milliseconds
constexpr int yields = 1000;
constexpr int longestBeginning = yields + 1000;  // yields, then milliseconds

/// Never destroyed: hosts' static objects destroy their timers after everything of the library's own is gone.
union Storage {
    constexpr Storage() : manager() {}
    ~Storage() {}
    OrvoTimerManager manager;
} storage;

}  // namespace

/// Registered when the library is loaded.
struct ForkHandlers {
    static bool add() noexcept {
        return platform::callAroundFork(OrvoTimerManager::beforeFork, OrvoTimerManager::inParentOfFork,
                                        OrvoTimerManager::inChildOfFork);
    }
};

namespace {

[[maybe_unused]] const bool forkHandled = ForkHandlers::add();

void pauseAfter(int tries) {
    if (tries < yields)
        std::this_thread::yield();
    else
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

}  // namespace

OrvoTimerManager& OrvoTimerManager::instance() noexcept { return storage.manager; }

OrvoTimerManager& OrvoTimerManager::getInstance() {
    if (instance().m_exiting) throw OrvoException("OrvoTimerManager::getInstance: Exiting system");
    return instance();
}

void OrvoTimerManager::deleteInstance() noexcept { instance().tearDown(); }

/// Ends the waiter's life, in whatever way it leaves its work.
class OrvoTimerManager::WaitersLife {
public:
    WaitersLife(OrvoTimerManager& manager, ListLock& lock) : m_manager(manager), m_lock(lock) {
        m_lock.lock();
        m_manager.m_waiterThread = platform::thisThread();
        m_manager.m_waiterBegins = false;
    }
    ~WaitersLife() {
        if (!m_lock.owns_lock()) m_lock.lock();
        platform::announceReturn();
        platform::Thread* const thread = m_manager.m_waiter.exchange(nullptr);
        m_manager.m_sleep.close();
        m_manager.m_wakesAt = awake;
        m_manager.m_waiterThread = nullptr;
        m_manager.m_waiterStands = false;
        // A handler that cancels its thread takes it away from the other timers.
        if (!m_manager.m_exiting && !m_manager.m_schedule.isEmpty()) m_manager.arm(m_manager.m_deadline);
        m_lock.unlock();
        platform::closeThread(thread);
    }
    WaitersLife(const WaitersLife&) = delete;
    WaitersLife& operator=(const WaitersLife&) = delete;

private:
    OrvoTimerManager& m_manager;
    ListLock& m_lock;
};

/// Without a thread nothing fires until the next arm tries again.
void OrvoTimerManager::standWaiter() noexcept {
    if (!m_sleep.open()) return;
    m_waiterBegins = true;
    m_waiterStands = platform::startThread(waiterMain, this, m_waiter);
    if (m_waiterStands) return;
    m_waiterBegins = false;
    m_sleep.close();
}

/// The waiter would honour its deadline anyway; but where threads do not begin while a module is being loaded
/// or unloaded, one that has begun can be ended in an orderly way.
void OrvoTimerManager::awaitBeginning() noexcept {
    for (int tries = 0; m_waiterBegins && tries < yields; ++tries) std::this_thread::yield();
}

int OrvoTimerManager::waiterMain(void* argument) {
    OrvoTimerManager& manager = *static_cast<OrvoTimerManager*>(argument);
    ListLock lock(manager.m_listLock, std::defer_lock);
    const WaitersLife life(manager, lock);
    manager.waitAndFire(lock);
    return 0;
}

void OrvoTimerManager::waitAndFire(ListLock& lock) {
    std::uint64_t arms = m_arms - 1;
    while (!m_exiting && !(m_schedule.isEmpty() && m_arms == arms)) {
        arms = m_arms;
        dropResting();
        if (m_firing)
            endLostPass(lock);
        else if (!m_schedule.isEmpty() && m_deadline <= WaitableTimer::now())
            fireInTime(lock);
        sleep(lock);
    }
}

void OrvoTimerManager::fireInTime(ListLock& lock) {
    const TimePair& due = m_schedule.firstDue();
    const std::int64_t missing = due.seconds * 1000 - WaitableTimer::calendarMilliseconds();
    // A sleep that negative milliseconds make shorter ends before the second has come, by any clock.
    if (missing > 0 && missing <= clockLag && due.milliseconds >= 0)
        m_deadline = WaitableTimer::deadlineIn(missing);
    else
        fire(lock);
}

void OrvoTimerManager::sleep(ListLock& lock) {
    if (m_exiting) return;
    m_wakesAt = std::min(m_deadline, WaitableTimer::now() + slice);
    const std::int64_t until = m_wakesAt;
    lock.unlock();
    m_sleep.wait(until);
    lock.lock();
    m_wakesAt = awake;
}

void OrvoTimerManager::tearDown() noexcept {
    {
        const ListLock lock(m_listLock);
        m_exiting = true;
        m_deadline = never;
        // What threads that are gone have left half done is not touched.
        if (!platform::otherThreadsAreGone()) m_schedule.clear();
        if (m_waiterStands) m_sleep.signal();
    }
    awaitEnd();
    const ListLock lock(m_listLock);
    if (m_atFireLock == 0) m_fireLock = OrvoCriticalSectionObject();
}

/// Not by the thread's handle: where the loader is locked while a module is unloaded, no thread ends, nor
/// does one begin.
void OrvoTimerManager::awaitEnd() noexcept {
    if (platform::otherThreadsAreGone() || m_waiterThread == platform::thisThread()) return;
    for (int tries = 0; m_waiterStands; ++tries) {
        if (m_waiterBegins && tries == longestBeginning) {
            platform::Thread* const thread = m_waiter.exchange(nullptr);
            platform::killThread(*thread);
            platform::closeThread(thread);
            m_sleep.close();
            m_waiterStands = false;
        }
        pauseAfter(tries);
    }
    platform::waitForLeavingThreads();
}

void OrvoTimerManager::beforeFork() { instance().m_listLock.lock(); }

void OrvoTimerManager::inParentOfFork() { instance().m_listLock.unlock(); }

/// The child has the forking thread and no other. Its timers are not started, as those of the system are not.
void OrvoTimerManager::inChildOfFork() {
    OrvoTimerManager& manager = instance();
    manager.m_schedule.clear();
    manager.m_deadline = never;
    const void* const self = platform::thisThread();
    if (manager.m_waiterThread != self) {
        manager.m_waiterThread = nullptr;
        manager.m_waiterStands = false;
        manager.m_waiterBegins = false;
        manager.m_waiter = nullptr;  // what there is of it is the parent's
        manager.m_sleep = WaitableTimer();
        manager.m_wakesAt = awake;
    }
    const bool firing = manager.m_firing && manager.m_firingThread == self;
    if (!firing) {
        // Whoever holds the fire lock is not here, and never gives it back.
        if (manager.m_atFireLock > 0) new (&manager.m_fireLock) OrvoCriticalSectionObject;
        manager.m_firing = false;
        manager.m_fired = nullptr;
        manager.m_schedule.endPass();
    }
    manager.m_atFireLock = firing ? 1 : 0;
    manager.m_listLock.unlock();
}

}  // namespace OrvoSupport
