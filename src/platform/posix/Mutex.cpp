// Linux half of Mutex; contract in src/platform/Mutex.h. One futex for both flavours.
#include "platform/Mutex.h"

#include <errno.h>
#include <linux/futex.h>
#include <sys/single_threaded.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <limits>
#include <new>

#include "platform/posix/LockOwners.h"

namespace OrvoSupport::platform {
namespace {

constexpr std::int64_t microsecond = 1'000;
constexpr std::int64_t millisecond = 1'000'000;
constexpr std::int64_t forEver = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t tryTime = 100 * millisecond;

// A sleep is never long at first: it ends by itself, so that the sleeper can look whether the holder is still
// there, and so that a wake-up that went past it costs no more than that.
constexpr std::int64_t firstSleep = 250 * microsecond;
constexpr std::int64_t longestSleep = 32 * millisecond;
constexpr int spins = 4;

std::int64_t monotonicTime() {
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * (1000 * millisecond) + now.tv_nsec;
}

void pauseBriefly() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#else
    __asm__ volatile("" ::: "memory");
#endif
}

std::uint32_t* address(std::atomic<OwnerId>& word) { return reinterpret_cast<std::uint32_t*>(&word); }

// False when the time ran out; true when it is worth looking again.
bool sleepWhile(std::atomic<OwnerId>& word, OwnerId value, std::int64_t nanoseconds) {
    const timespec limit = {static_cast<time_t>(nanoseconds / (1000 * millisecond)),
                            static_cast<long>(nanoseconds % (1000 * millisecond))};
    return ::syscall(SYS_futex, address(word), FUTEX_WAIT_PRIVATE, value, &limit, nullptr, 0) == 0 ||
           errno != ETIMEDOUT;
}

void wakeOne(std::atomic<OwnerId>& word) {
    ::syscall(SYS_futex, address(word), FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

enum class Outcome { taken, takenFromTheDead, timedOut };

}  // namespace

struct Mutex::State {
    explicit State(bool watch) : watchesHolder(watch) {}

    bool heldByThisThread() const { return holder.load(std::memory_order_relaxed) == ownerIdOfThisThread; }
    bool takeAtOnce();
    Outcome takeWithin(std::int64_t nanoseconds);
    Outcome sleepUntilTaken(std::int64_t deadline);
    void takeAgain();
    void giveUpAll();

    std::atomic<OwnerId> holder{0};
    std::atomic<std::int32_t> moreHolds{0};  // beyond the first; 0 while free; written by the holder only
    std::atomic<std::int32_t> sleepers{0};
    std::atomic<bool> waking{false};  // a sleeper has been woken and has not come yet
    const bool watchesHolder;
};

// Takes the lock if it is free.
inline bool Mutex::State::takeAtOnce() {
    OwnerId self = ownerIdOfThisThread;
    if (__builtin_expect(self == unregistered, 0)) self = registerThisThread();
    OwnerId nobody = 0;
    // An atomic exchange is most of what a free lock costs, and with one thread there is nobody to race with.
    if (__libc_single_threaded) {
        if (holder.load(std::memory_order_acquire) != nobody) return false;
        holder.store(self, std::memory_order_relaxed);
        return true;
    }
    return holder.compare_exchange_strong(nobody, self, std::memory_order_acquire, std::memory_order_relaxed);
}

inline void Mutex::State::takeAgain() {
    moreHolds.store(moreHolds.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

// Nothing of the lock is read after the store that frees it: whoever takes it next may destroy it. A sleeper
// that arrives between the accesses is not woken and looks again when its sleep ends. As long as one that was
// woken is on its way, waking another would only cost the holder time.
inline void Mutex::State::giveUpAll() {
    const bool wake =
        sleepers.load(std::memory_order_relaxed) != 0 && !waking.load(std::memory_order_relaxed);
    if (__builtin_expect(wake, 0)) waking.store(true, std::memory_order_relaxed);
    holder.store(0, std::memory_order_release);
    if (__builtin_expect(wake, 0)) wakeOne(holder);
}

Outcome Mutex::State::takeWithin(std::int64_t nanoseconds) {
    if (takeAtOnce()) return Outcome::taken;
    if (nanoseconds == 0) return Outcome::timedOut;
    return sleepUntilTaken(nanoseconds == forEver ? forEver : monotonicTime() + nanoseconds);
}

Outcome Mutex::State::sleepUntilTaken(std::int64_t deadline) {
    std::int64_t sleep = firstSleep;
    for (;;) {
        for (int i = 0; i < spins; ++i) {
            if (holder.load(std::memory_order_relaxed) == 0 && takeAtOnce()) return Outcome::taken;
            pauseBriefly();
        }
        std::int64_t left = sleep;
        if (deadline != forEver) left = std::min(left, deadline - monotonicTime());
        if (left <= 0) return Outcome::timedOut;

        OwnerId other = holder.load(std::memory_order_relaxed);
        if (other == 0) continue;
        sleepers.fetch_add(1);
        const bool lookAgain = sleepWhile(holder, other, left);
        sleepers.fetch_sub(1);
        waking.store(false, std::memory_order_relaxed);
        if (lookAgain) continue;

        sleep = std::min(2 * sleep, longestSleep);
        if (watchesHolder && hasEnded(other) &&
            holder.compare_exchange_strong(other, ownerIdOfThisThread, std::memory_order_acquire)) {
            moreHolds.store(0, std::memory_order_relaxed);
            return Outcome::takenFromTheDead;
        }
    }
}

Mutex::Mutex(Flavour flavour) noexcept : m_state(new (std::nothrow) State(flavour == Flavour::kernel)) {}

Mutex::~Mutex() {
    if (m_state && m_state->watchesHolder) unwind();
    delete m_state;
}

void Mutex::lock() {
    State& state = *m_state;
    if (state.heldByThisThread())
        state.takeAgain();
    else if (!state.takeAtOnce())
        state.sleepUntilTaken(forEver);
}

void Mutex::unlock() {
    State& state = *m_state;
    if (!state.heldByThisThread()) return;
    const std::int32_t more = state.moreHolds.load(std::memory_order_relaxed);
    if (more > 0)
        state.moreHolds.store(more - 1, std::memory_order_relaxed);
    else
        state.giveUpAll();
}

bool Mutex::tryLock() {
    State& state = *m_state;
    if (state.heldByThisThread()) {
        state.takeAgain();
        return true;
    }
    const Outcome outcome = state.takeWithin(state.watchesHolder ? tryTime : 0);
    if (outcome == Outcome::takenFromTheDead) state.giveUpAll();
    return outcome == Outcome::taken;
}

int Mutex::depth() const {
    const bool held = m_state->holder.load(std::memory_order_relaxed) != 0;
    return held ? 1 + m_state->moreHolds.load(std::memory_order_relaxed) : 0;
}

void Mutex::unwind() {
    State& state = *m_state;
    if (!state.heldByThisThread() && state.takeWithin(state.watchesHolder ? tryTime : 0) == Outcome::timedOut)
        return;
    state.moreHolds.store(0, std::memory_order_relaxed);
    state.giveUpAll();
}

}  // namespace OrvoSupport::platform
