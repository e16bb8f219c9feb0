#include "OrvoCriticalSection.h"

#include <new>

#include "core/LockImplementation.h"
#include "core/ObjectLock.h"

namespace OrvoSupport {
namespace {

/// Makes a lock unless somebody else has been faster; null when the system has none left.
LockImplementation* publish(std::atomic<LockImplementation*>& place, bool useCriticalSection) {
    LockImplementation* const made = new (std::nothrow) LockImplementation(useCriticalSection);
    if (!made) return nullptr;
    made->addRef();
    LockImplementation* impl = nullptr;
    if (made->mutex().usable() && place.compare_exchange_strong(impl, made, std::memory_order_acq_rel))
        return made;
    made->release();
    return impl;
}

}  // namespace

OrvoCriticalSectionObject::OrvoCriticalSectionObject(const OrvoCriticalSectionObject& other)
    : m_impl(other.m_impl.load(std::memory_order_acquire)), m_useCriticalSection(other.m_useCriticalSection) {
    if (LockImplementation* impl = m_impl.load(std::memory_order_relaxed)) impl->addRef();
}

OrvoCriticalSectionObject& OrvoCriticalSectionObject::operator=(const OrvoCriticalSectionObject& other) {
    if (this == &other) return *this;
    LockImplementation* shared = other.m_impl.load(std::memory_order_acquire);
    if (shared) shared->addRef();
    if (LockImplementation* own = m_impl.exchange(shared, std::memory_order_acq_rel)) own->release();
    m_useCriticalSection = other.m_useCriticalSection;
    return *this;
}

OrvoCriticalSectionObject::~OrvoCriticalSectionObject() {
    if (LockImplementation* impl = m_impl.load(std::memory_order_acquire)) impl->release();
}

void OrvoCriticalSectionObject::lock() {
    if (LockImplementation* impl = init()) impl->mutex().lock();
}

void OrvoCriticalSectionObject::unlock() {
    if (LockImplementation* impl = init()) impl->mutex().unlock();
}

bool OrvoCriticalSectionObject::testAndSet() {
    LockImplementation* impl = init();
    return impl && impl->mutex().tryLock();
}

int OrvoCriticalSectionObject::lockCount() {
    LockImplementation* impl = init();
    return impl ? impl->mutex().depth() : 0;
}

void OrvoCriticalSectionObject::unwind() {
    if (LockImplementation* impl = init()) impl->mutex().unwind();
}

inline LockImplementation* OrvoCriticalSectionObject::init() {
    LockImplementation* impl = m_impl.load(std::memory_order_acquire);
    return impl ? impl : create();
}

LockImplementation* OrvoCriticalSectionObject::create() {
    // The object lock spares threads that come at the same time the making of spare ones. It creates its own
    // without a lock, and so does everybody before it exists; what decides then is who publishes first.
    OrvoCriticalSectionObject* creation = objectLock();
    if (creation == this) creation = nullptr;
    if (creation) creation->lock();
    LockImplementation* impl = m_impl.load(std::memory_order_acquire);
    if (!impl) impl = publish(m_impl, m_useCriticalSection);
    if (creation) creation->unlock();
    return impl;
}

OrvoCriticalSection::OrvoCriticalSection(OrvoCriticalSectionObject& lock, bool lockNow) : m_lock(lock) {
    if (lockNow) this->lock();
}

OrvoCriticalSection::~OrvoCriticalSection() { unlock(); }

void OrvoCriticalSection::lock() {
    m_lock.lock();
    m_held = true;
}

void OrvoCriticalSection::unlock() {
    if (!m_held) return;
    m_held = false;
    m_lock.unlock();
}

bool OrvoCriticalSection::testAndSet() {
    m_held = m_lock.testAndSet();
    return m_held;
}

}  // namespace OrvoSupport
