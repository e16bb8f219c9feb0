#include "OrvoObjectBase.h"

#include "platform/TypeName.h"

namespace OrvoSupport {

OrvoObjectBase::OrvoObjectBase(const OrvoObjectBase& /*other*/) noexcept : m_refCount(0) {}

OrvoObjectBase& OrvoObjectBase::operator=(const OrvoObjectBase& other) noexcept {
    if (this != &other) m_refCount.store(0, std::memory_order_relaxed);
    return *this;
}

OrvoObjectBase::~OrvoObjectBase() = default;

unsigned long OrvoObjectBase::addRef() { return m_refCount.fetch_add(1, std::memory_order_relaxed) + 1; }

unsigned long OrvoObjectBase::release() {
    // What the other holders did to the object must be seen by the thread that destroys it.
    const std::uint32_t count = m_refCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (count == 0) delete this;
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
