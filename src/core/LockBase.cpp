#include "core/LockImplementation.h"

using OrvoSupport::platform::Mutex;

LockBase::LockBase(const LockBase& other) noexcept = default;

LockBase& LockBase::operator=(const LockBase& other) noexcept = default;

LockBase::~LockBase() = default;

unsigned long LockBase::addRef() {
    const std::uint32_t count = m_refCount.load(std::memory_order_relaxed) + 1;
    m_refCount.store(count, std::memory_order_relaxed);
    return count;
}

unsigned long LockBase::release() {
    const std::uint32_t count = m_refCount.load(std::memory_order_relaxed) - 1;
    m_refCount.store(count, std::memory_order_relaxed);
    if (count == 0) delete this;
    return count;
}

LockImplementation::LockImplementation(bool useCriticalSection)
    : m_mutex(useCriticalSection ? Mutex::Flavour::criticalSection : Mutex::Flavour::kernel) {}

LockImplementation::~LockImplementation() = default;

template class OrvoSupport::OrvoSmartPointer<LockImplementation>;
