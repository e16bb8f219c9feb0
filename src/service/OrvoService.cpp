// The service as its host sees it. ServiceRoutines.cpp holds what runs on the service's own threads, and
// ServiceAdministration.cpp installing and removing.
#include "OrvoService.h"

#include "logging/Trace.h"
#include "platform/Clock.h"
#include "platform/ConsoleControl.h"
#include "platform/ServiceControl.h"
#include "service/ServiceRoutines.h"

namespace OrvoSupport {
namespace {

// One for the whole process, so that no two reports of a pending state ever look alike to the manager.
std::atomic<std::uint32_t> nextCheckPoint{1};

// Takes the console's interrupts for as long as it lives.
struct ConsoleHold {
    ConsoleHold() { platform::setConsoleHandler(ServiceRoutines::handleConsoleEvent); }
    ConsoleHold(const ConsoleHold&) = delete;
    ConsoleHold& operator=(const ConsoleHold&) = delete;
    ~ConsoleHold() { platform::removeConsoleHandler(); }
};

}  // namespace

std::atomic<OrvoService*> OrvoService::m_pThis{nullptr};

OrvoService::OrvoService(const string& name, const string& serviceName, const string& displayName,
                         const string& dependencies, bool interactive)
    : m_name(name),
      m_serviceName(serviceName),
      m_displayName(displayName),
      m_dependencies(dependencies),
      m_runsAsService(false),
      m_interactive(interactive),
      m_status{platform::ownProcess, Stopped, 0, 0, 0, 0, 0},
      m_statusHandle(nullptr),
      m_state(Stopped) {
    m_pThis = this;
}

// Does not say whether the service is interactive; nothing reads that but install().
OrvoService::OrvoService()
    : m_runsAsService(false),
      m_status{platform::ownProcess, Stopped, 0, 0, 0, 0, 0},
      m_statusHandle(nullptr),
      m_state(Stopped) {
    m_pThis = this;
}

OrvoService::OrvoService(bool interactive, const string& dependencies)
    : OrvoService(string(), string(), string(), dependencies, interactive) {}

OrvoService::~OrvoService() = default;

bool OrvoService::start(const string& arguments, bool asService) {
    if (m_state == Running) return true;
    bool good = true;
    if (asService)
        runUnderManager();
    else
        good = runInConsole(arguments);
    trace(9, "OrvoService::start: exiting");
    return good;
}

void OrvoService::runUnderManager() {
    m_runsAsService = true;
    trace(9, "OrvoService::start: calling StartServiceCtrlDispatcher");
    setStates(Running);
    m_lastReport = 0;
    platform::runServiceDispatcher(m_serviceName, ServiceRoutines::serviceMain, ServiceRoutines::isAlive);
    trace(9, "OrvoService::start: StartServiceCtrlDispatcher returned, exiting");
    ServiceRoutines::endRun();
    setStates(Stopped);
}

bool OrvoService::runInConsole(const string& arguments) {
    if (!startIt(arguments)) return false;
    m_state = Running;
    const ConsoleHold hold;  // until the end: a second interrupt does not end the process while it stops
    setStatusState(Running);
    trace(9, "OrvoService::start: waiting for service to exit");
    m_event.wait(-1);
    trace(9, "OrvoService::start: service completed.");
    stopIt();
    m_event.reset();  // from stops that came meanwhile
    setStates(Stopped);
    return true;
}

bool OrvoService::stop() {
    trace(9, "OrvoService::stop: entering");
    m_state = StopPending;
    m_event.set();
    trace(9, "OrvoService::stop: exiting");
    return true;
}

OrvoService::tState OrvoService::state() { return m_state; }

const string& OrvoService::serviceName() { return m_serviceName; }

OrvoService* OrvoService::getService() { return m_pThis; }

bool OrvoService::ReportStatusToSCMgr(unsigned long state, unsigned long win32ExitCode,
                                      unsigned long waitHintMs) {
    if (!m_runsAsService) return true;
    trace(9, "OrvoService::ReportStatusToSCMgr: state=", state);
    OrvoCriticalSection guard(m_statusLock);
    return send(state, win32ExitCode, waitHintMs);
}

// For a control that asks. When another report went out meanwhile, that was the answer.
void OrvoService::reportAgain() {
    if (!m_runsAsService || m_lastReport == 0) return;
    const std::uint32_t state = m_status.currentState;
    trace(9, "OrvoService::ReportStatusToSCMgr: state=", state);
    OrvoCriticalSection guard(m_statusLock);
    if (m_status.currentState == state) send(state, 0, 0);
}

bool OrvoService::send(unsigned long state, unsigned long win32ExitCode, unsigned long waitHintMs) {
    const bool pending = state != Running && state != Stopped;
    m_status.controlsAccepted = state == StartPending ? 0 : platform::acceptStop;
    m_status.win32ExitCode = static_cast<std::uint32_t>(win32ExitCode);
    m_status.currentState = static_cast<std::uint32_t>(state);
    m_status.waitHint = static_cast<std::uint32_t>(waitHintMs);
    m_status.checkPoint = pending ? nextCheckPoint++ : 0;
    m_lastReport = platform::monotonicNanoseconds();
    const platform::ServiceStatus status{m_status.serviceType,
                                         m_status.currentState,
                                         m_status.controlsAccepted,
                                         m_status.win32ExitCode,
                                         m_status.serviceSpecificExitCode,
                                         m_status.checkPoint,
                                         m_status.waitHint};
    return platform::reportServiceStatus(m_statusHandle, status);
}

void OrvoService::AddToMessageLog(const string&) {}

OrvoEvent& OrvoService::getEventObject() { return m_event; }

SERVICE_STATUS_HANDLE OrvoService::getStatusHandle() { return m_statusHandle; }

void OrvoService::setStatusHandle(SERVICE_STATUS_HANDLE handle) { m_statusHandle = handle; }

void OrvoService::setStates(tState state) {
    setStatusState(state);
    m_state = state;
}

void OrvoService::setStatusState(tState state) {
    OrvoCriticalSection guard(m_statusLock);
    m_status.currentState = static_cast<std::uint32_t>(state);
}

}  // namespace OrvoSupport
