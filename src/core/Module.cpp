#include "core/Module.h"

#include <atomic>
#include <new>

#include "OrvoCriticalSection.h"
#include "OrvoObjectFactory.h"
#include "core/ObjectLock.h"
#include "platform/Thread.h"
#include "threads/OrvoTimerManager.h"

namespace {

std::atomic<OrvoSupport::OrvoCriticalSectionObject*> theObjectLock{nullptr};

Module theModule(true);

}  // namespace

OrvoSupport::OrvoCriticalSectionObject* OrvoSupport::objectLock() {
    return theObjectLock.load(std::memory_order_acquire);
}

Module::Module(bool controlsGlobals) : ModuleData(controlsGlobals) { Module::initGlobals(); }

Module::~Module() { Module::termGlobals(); }

void Module::initGlobals() {
    if (!m_controlsGlobals) return;
    if (m_initCount == 0) {
        theObjectLock.store(new (std::nothrow) OrvoSupport::OrvoCriticalSectionObject);
        entry();
        entry();
        entry();
        entry();
    }
    ++m_initCount;
}

void Module::termGlobals() {
    if (!m_controlsGlobals || m_initCount <= 0 || --m_initCount > 0) return;
    // Whatever still releases counted objects or creates locks while it is destroyed goes before the lock.
    OrvoSupport::OrvoObjectFactory::deleteGlobalInstance();
    exit();
    OrvoSupport::OrvoTimerManager::deleteInstance();
    exit();
    exit();
    OrvoSupport::platform::waitForLeavingThreads();
    delete theObjectLock.exchange(nullptr);
}
