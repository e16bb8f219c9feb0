// Linux half of Wait; contract in src/platform/Wait.h.
#include "platform/Wait.h"

#include <linux/futex.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <mutex>

#include "platform/InternalLock.h"
#include "platform/Mutex.h"
#include "platform/posix/ForkOrder.h"
#include "platform/posix/ProcessNumber.h"
#include "platform/posix/Uninterrupted.h"
#include "platform/posix/Waitable.h"

namespace OrvoSupport::platform {
namespace {

// The states of a waiter.
constexpr std::uint32_t awake = 0;
constexpr std::uint32_t asleep = 1;
constexpr std::uint32_t released = 2;

// One lock for all queues: a wait for all spans several of them, and it is held for a few steps only.
InternalLock waitLock;
using WaitGuard = std::lock_guard<InternalLock>;

// A child finds the queues between two steps.
__attribute__((constructor(innermostLocks))) void handleForks() {
    ::pthread_atfork([] { waitLock.lock(); }, [] { waitLock.unlock(); }, [] { waitLock.unlock(); });
}

// From the moment in which it joins the queues until its wait is over.
__thread Waiter* waiterOfThisThread __attribute__((tls_model("initial-exec"))) = nullptr;

void setWaiterOfThisThread(Waiter* waiter) {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    waiterOfThisThread = waiter;
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

timespec deadlineAfter(std::uint32_t milliseconds) {
    timespec time;
    ::clock_gettime(CLOCK_MONOTONIC, &time);  // fails for nothing but a clock that does not exist
    time.tv_sec += static_cast<time_t>(milliseconds / 1000);
    time.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000;
    if (time.tv_nsec >= 1000000000) {
        time.tv_nsec -= 1000000000;
        ++time.tv_sec;
    }
    return time;
}

/// Sleeps until the waiter is released or (unless it is null) the deadline has passed.
void sleep(Waiter& waiter, const timespec* deadline) {
    std::uint32_t state = awake;
    waiter.state.compare_exchange_strong(state, asleep, std::memory_order_acquire);
    while (waiter.state.load(std::memory_order_acquire) != released) {
        const long result = ::syscall(SYS_futex, &waiter.state, FUTEX_WAIT_BITSET_PRIVATE, asleep, deadline,
                                      nullptr, FUTEX_BITSET_MATCH_ANY);
        if (result != 0 && errno == ETIMEDOUT) return;
    }
}

/// Wakes all of a chain of waiters. The lock is not needed: they are in no queue any more.
void wake(Waiter* waiter) {
    while (waiter) {
        Waiter* const next = waiter->nextTaken;
        std::atomic<std::uint32_t>* const state = &waiter->state;
        // From here on the waiter may be gone. Waking whoever sleeps at its address now does no harm.
        if (state->exchange(released, std::memory_order_acq_rel) == asleep) {
            ::syscall(SYS_futex, state, FUTEX_WAKE_PRIVATE, 1);
        }
        waiter = next;
    }
}

}  // namespace

Waitable::~Waitable() {
    if (!(m_state.load(std::memory_order_acquire) & watched)) return;
    const WaitGuard lock(waitLock);
    watch();
    while (m_first) {
        WaitPlace& place = *m_first;
        dequeue(place);
        place.waitable = nullptr;
    }
}

bool Waitable::tryTake() {
    std::uint32_t state = signalled;
    const std::uint32_t after = m_release == Release::one ? 0 : signalled;
    return m_state.compare_exchange_strong(state, after, std::memory_order_acquire);
}

void Waitable::signal() {
    std::uint32_t state = 0;
    while (!(state & watched)) {
        // Also when it is signalled already: the waiter shall see what this thread wrote before.
        if (m_state.compare_exchange_weak(state, signalled, std::memory_order_acq_rel)) return;
    }
    Waiter* taken = nullptr;
    const Uninterrupted untilTheyAreAwake;  // they count on it
    {
        const WaitGuard lock(waitLock);
        watch();
        m_state.fetch_or(signalled, std::memory_order_acq_rel);
        taken = releaseWaiters();
        unwatch();
    }
    wake(taken);
}

void Waitable::clear() {
    std::uint32_t state = signalled;
    if (m_state.compare_exchange_strong(state, 0, std::memory_order_acq_rel) || !(state & watched)) return;
    const WaitGuard lock(waitLock);
    m_state.fetch_and(~signalled, std::memory_order_acq_rel);
}

void Waitable::pulse() {
    std::uint32_t state = signalled;
    if (m_state.compare_exchange_strong(state, 0, std::memory_order_acq_rel) || !(state & watched)) return;
    Waiter* taken = nullptr;
    const Uninterrupted untilTheyAreAwake;  // they count on it
    {
        const WaitGuard lock(waitLock);
        watch();
        m_state.fetch_or(signalled, std::memory_order_acq_rel);
        taken = releaseWaiters();
        m_state.fetch_and(~signalled, std::memory_order_acq_rel);
        unwatch();
    }
    wake(taken);
}

void Waitable::watch() {
    m_state.fetch_or(watched, std::memory_order_acq_rel);
    // The waiters of a parent process are not waiting in its child, and their stacks are not theirs there:
    // their places may not even be looked at.
    if (m_process == processNumber) return;
    m_first = m_last = nullptr;
    m_process = processNumber;
}

void Waitable::signalAfterFork() { m_state = signalled; }

void Waitable::unwatch() {
    if (!m_first) m_state.fetch_and(~watched, std::memory_order_acq_rel);
}

void Waitable::enqueue(WaitPlace& place) {
    place.previous = m_last;
    place.next = nullptr;
    (m_last ? m_last->next : m_first) = &place;
    m_last = &place;
}

void Waitable::dequeue(WaitPlace& place) {
    (place.previous ? place.previous->next : m_first) = place.next;
    (place.next ? place.next->previous : m_last) = place.previous;
}

void Waitable::take() {
    if (m_release == Release::one) m_state.fetch_and(~signalled, std::memory_order_acq_rel);
}

/// Hands the signal to the waiters whose waits it ends, the longest waiting first, and returns their chain.
Waiter* Waitable::releaseWaiters() {
    Waiter* taken = nullptr;
    WaitPlace* place = m_first;
    while (place && isSignalled()) {
        Waiter& waiter = *place->waiter;
        if (!waiter.tryTake()) {
            place = place->next;
            continue;
        }
        waiter.leave(this);
        waiter.nextTaken = taken;
        taken = &waiter;
        place = m_first;  // the waiter may have stood in this queue more than once
    }
    return taken;
}

bool Waiter::tryTake() {
    const auto ready = [](const WaitPlace& place) { return place.waitable && place.waitable->isSignalled(); };
    std::size_t found = 0;
    while (found < count && ready(places[found]) == all) ++found;
    if (all != (found == count)) return false;
    if (all) {
        for (std::size_t i = 0; i < count; ++i) places[i].waitable->take();
    } else {
        places[found].waitable->take();
    }
    result = all ? 0 : static_cast<int>(found);
    return true;
}

void Waiter::leave(const Waitable* keep) {
    for (std::size_t i = 0; i < count; ++i) {
        Waitable* const waitable = places[i].waitable;
        if (!waitable) continue;
        waitable->dequeue(places[i]);
        if (waitable != keep) waitable->unwatch();
    }
}

bool Waiter::tryTakeOrEnqueue(bool mayWait) {
    const WaitGuard lock(waitLock);
    for (std::size_t i = 0; i < count; ++i) places[i].waitable->watch();
    const bool taken = tryTake();
    for (std::size_t i = 0; i < count; ++i) {
        if (!taken && mayWait) places[i].waitable->enqueue(places[i]);
        places[i].waitable->unwatch();
    }
    if (!taken && mayWait) setWaiterOfThisThread(this);
    return taken;
}

int Waiter::wait(int timeoutMs, Mutex* held) {
    const bool taken = tryTakeOrEnqueue(timeoutMs != 0);
    if (held) held->unlock();
    if (taken) return result;
    if (timeoutMs == 0) return waitTimedOut;
    const int answer = waitInQueues(timeoutMs);
    setWaiterOfThisThread(nullptr);
    return answer;
}

int Waiter::waitInQueues(int timeoutMs) {
    if (timeoutMs == -1) {
        sleep(*this, nullptr);
        return result;
    }
    const timespec deadline = deadlineAfter(static_cast<std::uint32_t>(timeoutMs));
    sleep(*this, &deadline);
    if (state.load(std::memory_order_acquire) == released) return result;
    {
        const WaitGuard lock(waitLock);
        if (result < 0) {
            leave();
            setWaiterOfThisThread(nullptr);  // in the same step
            return waitTimedOut;
        }
    }
    // A signal came at the last moment, and whoever brought it is about to say so.
    sleep(*this, nullptr);
    return result;
}

void leaveWaitQueues() noexcept {
    Waiter* const waiter = waiterOfThisThread;
    if (!waiter) return;
    {
        const WaitGuard lock(waitLock);
        if (waiter->result < 0) {
            waiter->leave();
            return;
        }
    }
    // A signal was taken for it, which is lost now; whoever brought it is about to say so.
    sleep(*waiter, nullptr);
}

int waitForOne(WaitHandle handle, int timeoutMs) noexcept {
    if (!handle) return waitFailed;
    Waitable& waitable = *static_cast<Waitable*>(handle);
    if (waitable.tryTake()) return 0;
    WaitPlace place;
    Waiter waiter{&place, 1, false};
    place.waitable = &waitable;
    place.waiter = &waiter;
    return waiter.wait(timeoutMs);
}

int waitForSeveral(const WaitHandle* handles, std::size_t count, bool all, int timeoutMs) noexcept {
    if (count == 0 || count > maxWaitHandles) return waitFailed;
    std::array<WaitPlace, maxWaitHandles> places;
    Waiter waiter{places.data(), count, all};
    for (std::size_t i = 0; i < count; ++i) {
        if (!handles[i]) return waitFailed;
        places[i].waitable = static_cast<Waitable*>(handles[i]);
        places[i].waiter = &waiter;
    }
    return waiter.wait(timeoutMs);
}

}  // namespace OrvoSupport::platform
