// Windows half of Manager.
#include "../Manager.h"

#include <windows.h>

#include <memory>
#include <type_traits>

namespace dropfolder {
namespace {

struct Close {
    void operator()(SC_HANDLE handle) const { ::CloseServiceHandle(handle); }
};
using Handle = std::unique_ptr<std::remove_pointer_t<SC_HANDLE>, Close>;

const char* nameOf(DWORD state) {
    switch (state) {
        case SERVICE_STOPPED: return "stopped";
        case SERVICE_START_PENDING: return "starting";
        case SERVICE_STOP_PENDING: return "stopping";
        case SERVICE_RUNNING: return "running";
        default: return "in another state";
    }
}

}  // namespace

bool serviceStatus(const std::string& name, std::string& text) {
    const Handle manager(::OpenSCManagerA(nullptr, nullptr, SC_MANAGER_CONNECT));
    const Handle service(manager ? ::OpenServiceA(manager.get(), name.c_str(), SERVICE_QUERY_STATUS)
                                 : nullptr);
    SERVICE_STATUS status;
    if (!service || !::QueryServiceStatus(service.get(), &status)) {
        const DWORD error = ::GetLastError();
        text = error == ERROR_SERVICE_DOES_NOT_EXIST ? "not installed"
                                                     : "cannot be told, error " + std::to_string(error);
        return false;
    }
    text = nameOf(status.dwCurrentState);
    if (status.dwCheckPoint != 0) text += ", check point " + std::to_string(status.dwCheckPoint);
    if (status.dwCurrentState == SERVICE_STOPPED)
        text += ", exit code " + std::to_string(status.dwWin32ExitCode);
    return true;
}

std::string fullPath(const std::string& path) {
    char buffer[MAX_PATH];
    const DWORD length = ::GetFullPathNameA(path.c_str(), sizeof buffer, buffer, nullptr);
    return length > 0 && length < sizeof buffer ? std::string(buffer, length) : path;
}

bool enterFolderOf(const std::string& file) {
    return ::SetCurrentDirectoryA(file.substr(0, file.find_last_of("\\/") + 1).c_str()) != 0;
}

}  // namespace dropfolder
