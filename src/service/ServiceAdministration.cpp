// Installing a service and removing it.
#include "OrvoService.h"
#include "logging/Trace.h"
#include "platform/ServiceControl.h"
#include "platform/Sleep.h"

namespace OrvoSupport {
namespace {

constexpr int pollMilliseconds = 1000;

struct Manager {
    Manager() : handle(platform::openServiceManager()) {}
    Manager(const Manager&) = delete;
    Manager& operator=(const Manager&) = delete;
    ~Manager() {
        if (handle) platform::closeServiceManager(handle);
    }

    const platform::ManagerHandle handle;
};

struct Service {
    explicit Service(platform::ServiceHandle service) : handle(service) {}
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;
    ~Service() {
        if (handle) platform::closeService(handle);
    }

    const platform::ServiceHandle handle;
};

}  // namespace

bool OrvoService::install() {
    using namespace platform;
    ServiceEntry entry{
        m_serviceName,  m_displayName,      ownProcess | (m_interactive ? interactiveProcess : 0),
        automaticStart, normalErrorControl, string(),
        m_arguments,    m_dependencies};
    // A system without services is content, so that an installer need not ask which one it runs on.
    if (!executablePath(entry.executable)) return administrationUnsupported();
    const Manager manager;
    if (!manager.handle) return administrationUnsupported();
    const Service service(createService(manager.handle, entry));
    if (!service.handle) return false;

    if (m_description.empty()) return true;
    trace(4, "OrvoService::install: adding service description");
    if (!setServiceDescription(service.handle, m_description))
        trace(3, "OrvoService::install: failed to set service description (", lastAdministrationError(), ")");
    return true;
}

bool OrvoService::remove() {
    const Manager manager;
    if (!manager.handle) return platform::administrationUnsupported();
    const Service service(platform::openService(manager.handle, m_serviceName));
    if (!service.handle) return false;

    if (platform::stopService(service.handle)) {
        platform::sleepFor(pollMilliseconds);
        for (std::uint32_t now = 0; platform::queryServiceState(service.handle, now);) {
            m_state = now == StopPending ? StopPending : Stopped;
            if (now != StopPending) break;
            platform::sleepFor(pollMilliseconds);
        }
    }
    return platform::deleteService(service.handle);
}

}  // namespace OrvoSupport
