#include "OrvoObjectBase.h"

#include "platform/ThreadCount.h"
#include "platform/TypeName.h"

namespace OrvoSupport {

OrvoObjectBase::OrvoObjectBase(const OrvoObjectBase& /*other*/) noexcept : m_refCount(0) {}

OrvoObjectBase& OrvoObjectBase::operator=(const OrvoObjectBase& other) noexcept {
    if (this != &other) m_refCount.store(0, std::memory_order_relaxed);
    return *this;
}

OrvoObjectBase::~OrvoObjectBase() = default;

unsigned long OrvoObjectBase::addRef() { return addToCount(1); }

unsigned long OrvoObjectBase::release() {
    const std::uint32_t count = addToCount(static_cast<std::uint32_t>(-1));
    if (count == 0) delete this;
    return count;
}

// What the other holders did to the object must be seen by the thread that destroys it. Without other threads
// the atomic operation, most of the cost, is spared.
inline std::uint32_t OrvoObjectBase::addToCount(std::uint32_t change) {
    if (!platform::isOnlyThread()) return m_refCount.fetch_add(change, std::memory_order_acq_rel) + change;
    const std::uint32_t count = m_refCount.load(std::memory_order_relaxed) + change;
    m_refCount.store(count, std::memory_order_relaxed);
    return count;
}

unsigned long OrvoObjectBase::refCount() const { return m_refCount.load(std::memory_order_relaxed); }

bool OrvoObjectBase::isA(const string& className) const {
    // Asking for the name changes nothing, but it was never declared const, and classes override it.
    return const_cast<OrvoObjectBase*>(this)->getClassName() == className;
}

string OrvoObjectBase::getClassName() { return normalizeClassName(platform::typeName(typeid(*this))); }

string OrvoObjectBase::normalizeClassName(const string& name) {
    const string::size_type blank = name.find(' ');
    return blank == string::npos ? name : name.substr(blank + 1);
}

template class OrvoSmartPointer<OrvoObjectBase>;

}  // namespace OrvoSupport
