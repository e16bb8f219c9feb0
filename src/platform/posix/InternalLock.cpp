// Linux half of InternalLock; contract in platform/InternalLock.h.
#include "platform/InternalLock.h"

#include <sched.h>

#include <atomic>

namespace OrvoSupport::platform {

void InternalLock::lock() noexcept {
    while (__atomic_exchange_n(&m_state, this, __ATOMIC_ACQUIRE)) ::sched_yield();
}

void InternalLock::unlock() noexcept { __atomic_store_n(&m_state, nullptr, __ATOMIC_RELEASE); }

}  // namespace OrvoSupport::platform
