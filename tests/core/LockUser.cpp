// A host in a shared library of its own: it brings the library with it when it is loaded, and takes it away
// again when it is unloaded.
#include "OrvoCriticalSection.h"
#include "OrvoLogging.h"
#include "OrvoObjectBase.h"
#include "OrvoObjectFactory.h"
#include "OrvoTimer.h"

namespace {

OrvoSupport::OrvoCriticalSectionObject sharedLock;
long guarded = 0;

struct Registration : OrvoSupport::OrvoObjectFactoryRegistration {
    OrvoSupport::OrvoSmartPointer<OrvoSupport::OrvoObjectBase> create() override {
        return new OrvoSupport::OrvoObjectBase;
    }
} registration;

OrvoSupport::OrvoTimer longTimer;
OrvoSupport::OrvoTimer shortTimer;

}  // namespace

/// Uses both kinds of lock and counts references; returns 0 when everything was as expected.
extern "C" int useLocks() {
    using namespace OrvoSupport;
    OrvoCriticalSectionObject section(true);
    const OrvoCriticalSection inner(section);
    const OrvoSmartPointer<OrvoObjectBase> object(new OrvoObjectBase);
    for (int i = 0; i < 10; ++i) {
        const OrvoCriticalSection outer(sharedLock);
        const OrvoSmartPointer<OrvoObjectBase> again(object);
        ++guarded;
    }
    return section.lockCount() == 1 && object->refCount() == 1 ? 0 : 1;
}

/// Leaves names in the factory of the process, some of an object that goes before the library does; returns 0
/// when the factory was new.
extern "C" int useFactory() {
    using namespace OrvoSupport;
    OrvoObjectFactory& factory = OrvoObjectFactory::getGlobalInstance();
    if (!factory.getRegisteredClasses().empty()) return 1;
    factory.add("function", []() -> OrvoObjectBase* { return new OrvoObjectBase; });
    factory.add("registration", registration);
    return factory.construct("function") && factory.construct("registration") ? 0 : 1;
}

/// Writes records with a logger whose time-outs come meanwhile; when it returns, the logger is gone, and
/// threads of the library are on their way home.
extern "C" void useLogger() {
    using namespace OrvoSupport;
    struct Logger : OrvoLogging {
        Logger() : OrvoLogging("unused", 0, 9) {}
        void expire() {
            OrvoCollaborator timer;
            handleNotification(timer, OrvoEventNotification());
        }
    } logger;
    OrvoLogging::setInstance(logger);
    for (int i = 0; i < 3; ++i) {
        logger << "record " << i << endrecord;
        logger.expire();
    }
}

/// Leaves timers started, and the thread that serves them; returns 0 when one has fired.
extern "C" int useTimers() {
    longTimer.start(3600, 0, false);
    shortTimer.start(1, false);
    return shortTimer.wait(60000);
}

/// Ends up holding a lock that another thread may find abandoned.
extern "C" void keepLock() { sharedLock.lock(); }
