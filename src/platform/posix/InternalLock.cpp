// Linux half of InternalLock; contract in platform/InternalLock.h. A futex: 0 is free, and otherwise the
// number of the process is in there, so that a lock that a thread of a parent process holds counts as free in
// its child.
#include "platform/InternalLock.h"

#include <linux/futex.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>

#include "platform/posix/ForkOrder.h"
#include "platform/posix/ProcessNumber.h"
#include "platform/posix/Uninterrupted.h"

namespace OrvoSupport::platform {

__thread Interruptibility interruptibility = {0, nullptr};

std::uint32_t processNumber = 0;

namespace {

__attribute__((constructor(innermostLocks))) void handleForks() {
    ::pthread_atfork(nullptr, nullptr, [] { ++processNumber; });
}

constexpr std::uint32_t held = 1;
constexpr std::uint32_t awaited = 2;  // held, and somebody sleeps until it is free
constexpr int numberShift = 2;
constexpr int spins = 20;

std::uint32_t* address(void*& state) { return reinterpret_cast<std::uint32_t*>(&state); }

std::uint32_t here(std::uint32_t how) { return processNumber << numberShift | how; }

bool take(std::uint32_t* word, std::uint32_t how) {
    std::uint32_t seen = __atomic_load_n(word, __ATOMIC_RELAXED);
    if (seen == here(held) || seen == here(awaited)) return false;
    return __atomic_compare_exchange_n(word, &seen, here(how), false, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED);
}

}  // namespace

void InternalLock::lock() noexcept {
    beginUninterrupted();
    std::uint32_t* const word = address(m_state);
    for (int i = 0; i < spins; ++i)
        if (take(word, held)) return;
    // Whoever has slept cannot know whether others still do, so it says they do.
    while (!take(word, awaited)) {
        std::uint32_t seen = here(held);
        if (__atomic_compare_exchange_n(word, &seen, here(awaited), false, __ATOMIC_RELAXED,
                                        __ATOMIC_RELAXED) ||
            seen == here(awaited))
            ::syscall(SYS_futex, word, FUTEX_WAIT_PRIVATE, here(awaited), nullptr);
    }
}

void InternalLock::unlock() noexcept {
    std::uint32_t* const word = address(m_state);
    if (__atomic_exchange_n(word, 0, __ATOMIC_RELEASE) & awaited)
        ::syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, 1);
    endUninterrupted();
}

}  // namespace OrvoSupport::platform
