// Win32 half of InternalLock; contract in platform/InternalLock.h.
#include "platform/InternalLock.h"

#include <windows.h>

#include "platform/Thread.h"
#include "platform/win32/Uninterrupted.h"

namespace OrvoSupport::platform {
namespace {

// A lock is held for a few steps, so that spinning is worth while; a holder that was preempted needs the
// processor, and one of lower priority gets it only while others sleep.
constexpr int spins = 64;
constexpr int yields = 256;

void pause(int round) {
    if (round < spins)
        YieldProcessor();
    else if (round < yields)
        ::SwitchToThread();
    else
        ::Sleep(1);
}

}  // namespace

// No lock of the system is used: they keep lists of those who wait, which a killed thread would stay in.
void InternalLock::lock() noexcept {
    std::atomic<int>* const locks = internalLocksOfThisThread();
    for (int round = 0;; ++round) {
        if (locks) ++*locks;
        if (!::InterlockedExchangePointer(&m_state, this) || otherThreadsAreGone()) return;
        if (locks) --*locks;
        pause(round);
    }
}

void InternalLock::unlock() noexcept {
    ::InterlockedExchangePointer(&m_state, nullptr);
    if (std::atomic<int>* const locks = internalLocksOfThisThread()) --*locks;
}

}  // namespace OrvoSupport::platform
