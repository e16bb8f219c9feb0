#include "service/win32/Manager.h"

#include <chrono>

namespace service_testing {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::minutes limit(1);
constexpr DWORD pollMilliseconds = 20;

struct Handle {
    ~Handle() {
        if (service) ::CloseServiceHandle(service);
    }
    const SC_HANDLE service;
};

}  // namespace

// Under Wine the control manager is a program like others, and on a machine that has much to do it may not
// answer at once.
ManagedService::ManagedService(const std::string& name) : m_name(name) {
    const Clock::time_point end = Clock::now() + limit;
    do m_manager = ::OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    while (!m_manager && Clock::now() < end);
}

ManagedService::~ManagedService() {
    const Handle handle{open()};
    if (handle.service) {
        SERVICE_STATUS status;
        ::ControlService(handle.service, SERVICE_CONTROL_STOP, &status);
        ::DeleteService(handle.service);
    }
    if (m_process) {
        ::TerminateProcess(m_process, 137);
        ::CloseHandle(m_process);
    }
    ::CloseServiceHandle(m_manager);
}

SC_HANDLE ManagedService::open() const {
    const Clock::time_point end = Clock::now() + limit;
    SC_HANDLE service;
    do service = ::OpenServiceA(m_manager, m_name.c_str(), SERVICE_ALL_ACCESS);
    while (!service && ::GetLastError() != ERROR_SERVICE_DOES_NOT_EXIST && Clock::now() < end);
    return service;
}

bool ManagedService::exists() const {
    const Handle handle{open()};
    return handle.service != nullptr;
}

Installed ManagedService::installed() const {
    const Handle handle{open()};
    Installed result;
    DWORD needed = 0;
    alignas(void*) char buffer[8192];
    auto* const config = reinterpret_cast<QUERY_SERVICE_CONFIGA*>(buffer);
    if (::QueryServiceConfigA(handle.service, config, sizeof buffer, &needed)) {
        result.type = config->dwServiceType;
        result.startType = config->dwStartType;
        result.errorControl = config->dwErrorControl;
        result.commandLine = config->lpBinaryPathName;
        result.displayName = config->lpDisplayName;
        result.account = config->lpServiceStartName ? config->lpServiceStartName : "";
    }
    auto* const description = reinterpret_cast<SERVICE_DESCRIPTIONW*>(buffer);
    if (::QueryServiceConfig2W(handle.service, SERVICE_CONFIG_DESCRIPTION, reinterpret_cast<BYTE*>(buffer),
                               sizeof buffer, &needed) &&
        description->lpDescription)
        result.description = description->lpDescription;
    return result;
}

bool ManagedService::start(const std::vector<std::string>& arguments) const {
    const Handle handle{open()};
    std::vector<const char*> argv;
    for (const std::string& argument : arguments) argv.push_back(argument.c_str());
    bool started = false;
    DWORD reason = 0;
    // A program that comes up too slowly is given up, after 10 seconds under Wine.
    for (int i = 0; i < 5 && !started && (i == 0 || reason == ERROR_SERVICE_REQUEST_TIMEOUT); ++i) {
        started = ::StartServiceA(handle.service, static_cast<DWORD>(argv.size()),
                                  argv.empty() ? nullptr : argv.data());
        reason = ::GetLastError();
    }
    SERVICE_STATUS_PROCESS status = {};
    DWORD needed = 0;
    if (started && ::QueryServiceStatusEx(handle.service, SC_STATUS_PROCESS_INFO,
                                          reinterpret_cast<BYTE*>(&status), sizeof status, &needed)) {
        if (m_process) ::CloseHandle(m_process);
        m_process = ::OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, status.dwProcessId);
    }
    ::SetLastError(reason);
    return started;
}

DWORD ManagedService::control(DWORD code) const {
    const Handle handle{open()};
    SERVICE_STATUS status;
    return ::ControlService(handle.service, code, &status) ? 0 : ::GetLastError();
}

SERVICE_STATUS ManagedService::status() const {
    const Handle handle{open()};
    SERVICE_STATUS status = {};
    ::QueryServiceStatus(handle.service, &status);
    return status;
}

bool ManagedService::reaches(DWORD state) const {
    const Clock::time_point end = Clock::now() + limit;
    while (status().dwCurrentState != state) {
        if (Clock::now() > end) return false;
        ::Sleep(pollMilliseconds);
    }
    return true;
}

std::vector<DWORD> ManagedService::checkPoints(DWORD state, std::size_t count) const {
    const Clock::time_point end = Clock::now() + limit;
    std::vector<DWORD> points;
    while (points.size() < count && Clock::now() < end) {
        const SERVICE_STATUS now = status();
        if (now.dwCurrentState == state && (points.empty() || points.back() != now.dwCheckPoint))
            points.push_back(now.dwCheckPoint);
        ::Sleep(pollMilliseconds);
    }
    return points;
}

bool ManagedService::processEnds() const {
    if (m_process && ::WaitForSingleObject(m_process, 60000) != WAIT_OBJECT_0) return false;
    if (m_process) ::CloseHandle(m_process);
    m_process = nullptr;
    return true;
}

}  // namespace service_testing
