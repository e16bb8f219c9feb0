// The system's service control manager: the Windows one, or systemd.
#ifndef OSUPT_PLATFORM_SERVICE_CONTROL_H
#define OSUPT_PLATFORM_SERVICE_CONTROL_H

#include <cstdint>
#include <string>

namespace OrvoSupport::platform {

/// The control manager's record of a service, field by field as Windows lays it out.
struct ServiceStatus {
    std::uint32_t serviceType;
    std::uint32_t currentState;  // 1 stopped, 2 start pending, 3 stop pending, 4 running
    std::uint32_t controlsAccepted;
    std::uint32_t win32ExitCode;
    std::uint32_t serviceSpecificExitCode;
    std::uint32_t checkPoint;
    std::uint32_t waitHint;  // milliseconds
};

constexpr std::uint32_t ownProcess = 16;
constexpr std::uint32_t interactiveProcess = 256;  // joined with ownProcess
constexpr std::uint32_t automaticStart = 2;
constexpr std::uint32_t normalErrorControl = 1;
constexpr std::uint32_t acceptStop = 1;
constexpr std::uint32_t controlStop = 1;

// --- being a service --------------------------------------------------------------------------------------

/// What the control manager runs, on a thread of its own: argv[0] is the service's name.
using ServiceMain = void (*)(std::uint32_t argc, char** argv);
/// Called on the thread that runs the dispatcher, never in the middle of other code.
using ControlHandler = void (*)(std::uint32_t control);
/// Whether the service is well, for a control manager that asks from time to time.
using ServiceAlive = bool (*)();

/// Runs `main` under the control manager and returns when the service has reported that it stopped and `main`
/// has returned. False, at once, when no control manager started this process.
bool runServiceDispatcher(const std::string& serviceName, ServiceMain main, ServiceAlive alive);

/// From within the service's main routine. Null when the control manager refuses.
void* registerControlHandler(const std::string& serviceName, ControlHandler handler);

/// False when the control manager did not take it.
bool reportServiceStatus(void* statusHandle, const ServiceStatus& status);

// --- administering services -------------------------------------------------------------------------------

/// What to install.
struct ServiceEntry {
    std::string serviceName;
    std::string displayName;
    std::uint32_t serviceType;
    std::uint32_t startType;
    std::uint32_t errorControl;
    std::string executable;
    std::string arguments;     // as one stretch of command line; may be empty
    std::string dependencies;  // each name ends in a NUL
};

/// Null is none; each must be closed.
using ManagerHandle = void*;
using ServiceHandle = void*;

/// The full path of this program. False when it cannot be told; then administrationUnsupported() may be
/// asked.
bool executablePath(std::string& path);

/// Opens the control manager with every right; null when that fails.
ManagerHandle openServiceManager();
/// Whether what failed last on this thread failed because this system has no such call.
bool administrationUnsupported();

/// Null when the name exists already, or is one the system cannot take.
ServiceHandle createService(ManagerHandle manager, const ServiceEntry& entry);
/// False leaves the system's code in lastAdministrationError().
bool setServiceDescription(ServiceHandle service, const std::wstring& description);
unsigned long lastAdministrationError();

/// Null when there is none of that name.
ServiceHandle openService(ManagerHandle manager, const std::string& serviceName);
/// Asks it to stop; false when that was not accepted, for instance since it does not run.
bool stopService(ServiceHandle service);
/// Its current state; false when it cannot be told.
bool queryServiceState(ServiceHandle service, std::uint32_t& state);
bool deleteService(ServiceHandle service);

void closeService(ServiceHandle service);
void closeServiceManager(ManagerHandle manager);

}  // namespace OrvoSupport::platform

#endif
