// Win32 half of ServiceControl, administering services; contract in platform/ServiceControl.h.
#include <windows.h>

#include "platform/ServiceControl.h"

namespace OrvoSupport::platform {
namespace {

constexpr DWORD longestPath = 512;

SC_HANDLE handleOf(void* handle) { return static_cast<SC_HANDLE>(handle); }

}  // namespace

bool executablePath(std::string& path) {
    char buffer[longestPath];
    const DWORD length = ::GetModuleFileNameA(nullptr, buffer, longestPath);
    if (length == 0 || length == longestPath) return false;  // the latter is one that was cut
    path.assign(buffer, length);
    return true;
}

bool administrationUnsupported() { return ::GetLastError() == ERROR_CALL_NOT_IMPLEMENTED; }

unsigned long lastAdministrationError() { return ::GetLastError(); }

ManagerHandle openServiceManager() { return ::OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS); }

ServiceHandle createService(ManagerHandle manager, const ServiceEntry& entry) {
    std::string commandLine = entry.executable;
    if (!entry.arguments.empty()) commandLine += " " + entry.arguments;
    // The list ends in an empty name, whether or not the last name brought its NUL along.
    const std::string dependencies = entry.dependencies + '\0';
    return ::CreateServiceA(handleOf(manager), entry.serviceName.c_str(), entry.displayName.c_str(),
                            SERVICE_ALL_ACCESS, entry.serviceType, entry.startType, entry.errorControl,
                            commandLine.c_str(), nullptr, nullptr, dependencies.c_str(), nullptr, nullptr);
}

bool setServiceDescription(ServiceHandle service, const std::wstring& description) {
    SERVICE_DESCRIPTIONW record = {const_cast<wchar_t*>(description.c_str())};  // which is only read
    return ::ChangeServiceConfig2W(handleOf(service), SERVICE_CONFIG_DESCRIPTION, &record) != 0;
}

ServiceHandle openService(ManagerHandle manager, const std::string& serviceName) {
    return ::OpenServiceA(handleOf(manager), serviceName.c_str(), SERVICE_ALL_ACCESS);
}

bool stopService(ServiceHandle service) {
    SERVICE_STATUS status;
    return ::ControlService(handleOf(service), SERVICE_CONTROL_STOP, &status) != 0;
}

bool queryServiceState(ServiceHandle service, std::uint32_t& state) {
    SERVICE_STATUS status;
    if (!::QueryServiceStatus(handleOf(service), &status)) return false;
    state = status.dwCurrentState;
    return true;
}

bool deleteService(ServiceHandle service) { return ::DeleteService(handleOf(service)) != 0; }

void closeService(ServiceHandle service) { ::CloseServiceHandle(handleOf(service)); }

void closeServiceManager(ManagerHandle manager) { ::CloseServiceHandle(handleOf(manager)); }

}  // namespace OrvoSupport::platform
