// Win32 half of ServiceControl, being a service; contract in platform/ServiceControl.h.
#include "platform/ServiceControl.h"

#include <windows.h>

#include <atomic>

namespace OrvoSupport::platform {
namespace {

static_assert(ownProcess == SERVICE_WIN32_OWN_PROCESS && interactiveProcess == SERVICE_INTERACTIVE_PROCESS);
static_assert(automaticStart == SERVICE_AUTO_START && normalErrorControl == SERVICE_ERROR_NORMAL);
static_assert(acceptStop == SERVICE_ACCEPT_STOP && controlStop == SERVICE_CONTROL_STOP);

// The control manager runs one service in a process of this kind, so one of each will do.
std::atomic<ServiceMain> theMain{nullptr};
std::atomic<ControlHandler> theHandler{nullptr};
std::atomic<HANDLE> theMainThread{nullptr};

void WINAPI runMain(DWORD argc, char** argv) {
    HANDLE thread = nullptr;
    ::DuplicateHandle(::GetCurrentProcess(), ::GetCurrentThread(), ::GetCurrentProcess(), &thread,
                      SYNCHRONIZE, FALSE, 0);
    theMainThread = thread;
    theMain.load()(argc, argv);
}

// The control manager is content with the report that the service stopped, which the main routine itself may
// have sent and is still about to return from.
void waitForMain() {
    const HANDLE thread = theMainThread.exchange(nullptr);
    if (!thread) return;
    ::WaitForSingleObject(thread, INFINITE);
    ::CloseHandle(thread);
}

void WINAPI control(DWORD code) { theHandler.load()(code); }

}  // namespace

bool runServiceDispatcher(const std::string& serviceName, ServiceMain main, ServiceAlive) {
    theMain = main;
    std::string name = serviceName;
    SERVICE_TABLE_ENTRYA table[] = {{&name[0], runMain}, {nullptr, nullptr}};
    const bool ran = ::StartServiceCtrlDispatcherA(table) != 0;
    waitForMain();
    return ran;
}

void* registerControlHandler(const std::string& serviceName, ControlHandler handler) {
    theHandler = handler;
    return ::RegisterServiceCtrlHandlerA(serviceName.c_str(), control);
}

bool reportServiceStatus(void* statusHandle, const ServiceStatus& status) {
    SERVICE_STATUS record = {status.serviceType,
                             status.currentState,
                             status.controlsAccepted,
                             status.win32ExitCode,
                             status.serviceSpecificExitCode,
                             status.checkPoint,
                             status.waitHint};
    return ::SetServiceStatus(static_cast<SERVICE_STATUS_HANDLE>(statusHandle), &record) != 0;
}

}  // namespace OrvoSupport::platform
