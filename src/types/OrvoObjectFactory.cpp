#include "OrvoObjectFactory.h"

#include <memory>
#include <mutex>

namespace OrvoSupport {
namespace {

// Compiled into construct(), which takes the lock for one search.
using Guard = std::unique_lock<OrvoCriticalSectionObject>;

}  // namespace

std::atomic<OrvoObjectFactory*> OrvoObjectFactory::m_pGlobalInstance{nullptr};

OrvoObjectFactoryRegistration::~OrvoObjectFactoryRegistration() = default;

OrvoExemplar::~OrvoExemplar() = default;

OrvoObjectFactory::OrvoObjectFactory() = default;

// The lock is not copied: it would be shared.
OrvoObjectFactory::OrvoObjectFactory(const OrvoObjectFactory& other) : m_names(other.names()) {}

OrvoObjectFactory& OrvoObjectFactory::operator=(const OrvoObjectFactory& other) {
    if (this == &other) return *this;
    Names copy = other.names();
    const Guard guard(m_lock);
    m_names.swap(copy);
    return *this;
}

OrvoObjectFactory::~OrvoObjectFactory() = default;

OrvoObjectFactory& OrvoObjectFactory::getGlobalInstance() {
    OrvoObjectFactory* instance = m_pGlobalInstance.load(std::memory_order_acquire);
    if (instance) return *instance;
    auto made = std::make_unique<OrvoObjectFactory>();
    if (m_pGlobalInstance.compare_exchange_strong(instance, made.get())) return *made.release();
    return *instance;  // another thread was faster
}

void OrvoObjectFactory::deleteGlobalInstance() { delete m_pGlobalInstance.exchange(nullptr); }

void OrvoObjectFactory::add(const string& name, OrvoObjectBase* (*creator)()) {
    if (!creator) return;
    const Guard guard(m_lock);
    Creators& creators = m_names[name];
    if (!creators.function) creators.function = creator;
}

void OrvoObjectFactory::add(const string& name, OrvoObjectFactoryRegistration& registration) {
    const Guard guard(m_lock);
    Creators& creators = m_names[name];
    if (!creators.registration) creators.registration = &registration;
}

void OrvoObjectFactory::remove(const string& name) {
    const Guard guard(m_lock);
    const auto found = m_names.find(name);
    if (found == m_names.end()) return;
    if (found->second.registration && found->second.function)
        found->second.registration = nullptr;
    else
        m_names.erase(found);
}

OrvoSmartPointer<OrvoObjectBase> OrvoObjectFactory::construct(const string& name) {
    Guard guard(m_lock);
    const auto found = m_names.find(name);
    if (found == m_names.end()) return nullptr;
    const Creators creators = found->second;
    guard.unlock();
    return creators.registration ? creators.registration->create() : creators.function();
}

std::vector<string> OrvoObjectFactory::getRegisteredClasses() const {
    const Guard guard(m_lock);
    std::vector<string> classes;
    classes.reserve(m_names.size());
    for (const auto& [name, creators] : m_names)
        if (creators.function) classes.push_back(name);
    for (const auto& [name, creators] : m_names)
        if (creators.registration) classes.push_back(name);
    return classes;
}

OrvoObjectFactory::Names OrvoObjectFactory::names() const {
    const Guard guard(m_lock);
    return m_names;
}

}  // namespace OrvoSupport
