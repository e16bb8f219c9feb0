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
#include <type_traits>

#include "platform/posix/LockOwners.h"

namespace OrvoSupport::platform {
namespace {

constexpr std::int64_t microsecond = 1'000;
constexpr std::int64_t millisecond = 1'000'000;
constexpr std::int64_t forEver = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t tryTime = 100 * millisecond;

// A sleep is short at first and at most as long as all before it together. It ends by itself, so that the
// sleeper can look whether the holder is still there, and so that a call that went past it costs no more.
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

std::uint32_t* address(std::atomic<std::uint32_t>& word) { return reinterpret_cast<std::uint32_t*>(&word); }

// False when the time ran out; true when it is worth looking again.
bool sleepWhile(std::atomic<std::uint32_t>& word, std::uint32_t value, std::int64_t nanoseconds) {
    const timespec limit = {static_cast<time_t>(nanoseconds / (1000 * millisecond)),
                            static_cast<long>(nanoseconds % (1000 * millisecond))};
    return ::syscall(SYS_futex, address(word), FUTEX_WAIT_PRIVATE, value, &limit, nullptr, 0) == 0 ||
           errno != ETIMEDOUT;
}

void wakeOne(std::atomic<std::uint32_t>& word) {
    ::syscall(SYS_futex, address(word), FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

enum class Outcome { taken, takenFromTheDead, timedOut };

// Calls and answers take turns to count.
constexpr bool isOpen(std::uint32_t call) { return call % 2 != 0; }

}  // namespace

struct Mutex::State {
    explicit State(bool watch) : watchesHolder(watch) {}

    bool heldByThisThread() const { return holder.load(std::memory_order_relaxed) == ownerIdOfThisThread; }
    bool takeAtOnce(OwnerId self);
    bool takeSoon();
    Outcome takeWithin(std::int64_t nanoseconds);
    Outcome sleepUntilTaken(std::int64_t deadline);
    void takeAgain();
    void giveUpAll();
    bool callSleeper();
    void answerCall();

    std::atomic<OwnerId> holder{0};
    std::atomic<std::int32_t> moreHolds{0};  // beyond the first; 0 while free; written by the holder only
    std::atomic<std::int32_t> sleepers{0};   // those killed in their sleep stay counted
    std::atomic<std::uint32_t> calls{0};     // what sleepers sleep on; odd while a call has no answer
    const bool watchesHolder;
};

// Takes the lock if it is free and the thread has a name.
inline bool Mutex::State::takeAtOnce(OwnerId self) {
    if (__builtin_expect(self == unregistered, 0)) return false;
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
// that counts itself only between the accesses is not called, and looks again when its first sleep ends.
inline void Mutex::State::giveUpAll() {
    const bool call = __builtin_expect(sleepers.load(std::memory_order_relaxed) != 0, 0) && callSleeper();
    holder.store(0, std::memory_order_release);
    if (call) wakeOne(calls);
}

// True when a sleeper is to be woken. As long as one that was called has not answered, calling another would
// only cost the holder time.
bool Mutex::State::callSleeper() {
    const std::uint32_t call = calls.load(std::memory_order_relaxed);
    if (isOpen(call)) return false;
    calls.store(call + 1, std::memory_order_relaxed);
    return true;
}

// From here on the next unlock calls again.
void Mutex::State::answerCall() {
    std::uint32_t call = calls.load();
    if (isOpen(call)) calls.compare_exchange_strong(call, call + 1);
}

bool Mutex::State::takeSoon() {
    for (int i = 0; i < spins; ++i) {
        if (holder.load(std::memory_order_relaxed) == 0 && takeAtOnce(ownerIdOfThisThread)) return true;
        pauseBriefly();
    }
    return false;
}

// The way on for those who did not get the lock at once.
Outcome Mutex::State::takeWithin(std::int64_t nanoseconds) {
    if (ownerIdOfThisThread == unregistered && takeAtOnce(registerThisThread())) return Outcome::taken;
    if (nanoseconds == 0) return Outcome::timedOut;
    const std::int64_t deadline = nanoseconds == forEver ? forEver : monotonicTime() + nanoseconds;
    if (takeSoon()) return Outcome::taken;
    sleepers.fetch_add(1);
    Outcome outcome = sleepUntilTaken(deadline);
    answerCall();
    // Whoever leaves without the lock might have been the one who was called.
    if (outcome == Outcome::timedOut && takeAtOnce(ownerIdOfThisThread)) outcome = Outcome::taken;
    sleepers.fetch_sub(1);
    return outcome;
}

// One that was called and came too late does not answer at once, but sleeps for a moment: the holder is busy
// with the lock, and to be called at each of its unlocks would slow both down.
Outcome Mutex::State::sleepUntilTaken(std::int64_t deadline) {
    for (std::int64_t sleep = firstSleep;;) {
        const std::uint32_t call = calls.load();
        if (takeSoon()) return Outcome::taken;
        std::int64_t left = isOpen(call) ? firstSleep : sleep;
        if (deadline != forEver) left = std::min(left, deadline - monotonicTime());
        if (left <= 0) return Outcome::timedOut;
        OwnerId other = holder.load(std::memory_order_relaxed);
        if (other == 0 || sleepWhile(calls, call, left)) continue;

        answerCall();
        sleep = std::min(2 * sleep, longestSleep);
        if (watchesHolder && hasEnded(other) &&
            holder.compare_exchange_strong(other, ownerIdOfThisThread, std::memory_order_acquire)) {
            moreHolds.store(0, std::memory_order_relaxed);
            return Outcome::takenFromTheDead;
        }
    }
}

Mutex::Mutex(Flavour flavour) noexcept {
    static_assert(sizeof(State) <= sizeof m_storage && std::is_trivially_destructible_v<State>);
    new (m_storage) State(flavour == Flavour::kernel);
}

Mutex::~Mutex() {
    if (state().watchesHolder) unwind();
}

bool Mutex::usable() const { return true; }

void Mutex::lock() {
    State& state = this->state();
    const OwnerId self = ownerIdOfThisThread;
    if (state.holder.load(std::memory_order_relaxed) == self)
        state.takeAgain();
    else if (!state.takeAtOnce(self))
        state.takeWithin(forEver);
}

void Mutex::unlock() {
    State& state = this->state();
    if (!state.heldByThisThread()) return;
    const std::int32_t more = state.moreHolds.load(std::memory_order_relaxed);
    if (more > 0)
        state.moreHolds.store(more - 1, std::memory_order_relaxed);
    else
        state.giveUpAll();
}

bool Mutex::tryLock() {
    State& state = this->state();
    const OwnerId self = ownerIdOfThisThread;
    if (state.holder.load(std::memory_order_relaxed) == self) {
        state.takeAgain();
        return true;
    }
    if (state.takeAtOnce(self)) return true;
    const Outcome outcome = state.takeWithin(state.watchesHolder ? tryTime : 0);
    if (outcome == Outcome::takenFromTheDead) state.giveUpAll();
    return outcome == Outcome::taken;
}

int Mutex::depth() const {
    const bool held = state().holder.load(std::memory_order_relaxed) != 0;
    return held ? 1 + state().moreHolds.load(std::memory_order_relaxed) : 0;
}

void Mutex::unwind() {
    State& state = this->state();
    if (!state.heldByThisThread() && !tryLock()) return;
    state.moreHolds.store(0, std::memory_order_relaxed);
    state.giveUpAll();
}

}  // namespace OrvoSupport::platform
