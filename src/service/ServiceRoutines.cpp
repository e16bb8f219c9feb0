#include "service/ServiceRoutines.h"

#include <atomic>
#include <utility>

#include "OrvoException.h"
#include "OrvoService.h"
#include "logging/Trace.h"
#include "platform/Clock.h"
#include "platform/ConsoleControl.h"
#include "platform/ServiceControl.h"
#include "platform/Thread.h"

namespace OrvoSupport {
namespace {

constexpr unsigned long waitHint = 3000;               // milliseconds
constexpr int checkPointInterval = 1000;               // milliseconds
constexpr std::int64_t progressLimit = 3'000'000'000;  // nanoseconds

using Place = std::atomic<platform::Thread*>;

// What the dispatcher runs: one service at a time in a process.
std::atomic<OrvoService*> theService{nullptr};
Place waitThread{nullptr};

string joined(std::uint32_t argc, char** argv) {
    string text;
    for (std::uint32_t i = 1; i < argc; ++i) text.append(argv[i]).append(" ");
    return text;
}

}  // namespace

void ServiceRoutines::serviceMain(std::uint32_t argc, char** argv) {
    OrvoService& service = *OrvoService::getService();
    theService = &service;
    void* const handle = platform::registerControlHandler(service.m_serviceName, handleControl);
    if (!handle) return;
    service.setStatusHandle(static_cast<SERVICE_STATUS_HANDLE>(handle));
    service.ReportStatusToSCMgr(OrvoService::StartPending, 0, waitHint);
    auto arguments = std::make_unique<string>(joined(argc, argv));

    trace(9, "service_main: creating WaitForServiceThread");
    if (!platform::startThread(waitForService, nullptr, waitThread)) {
        trace(9, "service_main: WaitForServiceThread creation failed");
        service.ReportStatusToSCMgr(OrvoService::Stopped, 0, 0);
        return;
    }
    bringUp(service, std::move(arguments));
}

void ServiceRoutines::bringUp(OrvoService& service, std::unique_ptr<string> arguments) {
    trace(9, "service_main: creating ServiceStartThread");
    Place place{nullptr};
    if (!platform::startThread(callStartIt, arguments.get(), place)) {
        trace(9, "service_main: ServiceStartThread creation failed");
        service.m_state = OrvoService::Stopped;
        trace(9, "service_main: signaling WaitForServiceThread to exit");
        giveUp(service);
        return;
    }
    arguments.release();  // the thread's now
    platform::Thread& thread = *place;
    trace(9, "service_main: waiting for ServiceStartThread to exit");
    reportUntilEnded(service, OrvoService::StartPending, thread);
    trace(9, "service_main: ServiceStartThread exited");

    int started = 0;
    const bool known = platform::exitCodeOf(thread, started);
    platform::closeThread(&thread);
    if (known && started) {
        trace(9, "service_main: service has started, signaling SCM");
        service.m_state = OrvoService::Running;
        service.ReportStatusToSCMgr(OrvoService::Running, 0, 0);
        service.m_startEnded.set();
        return;
    }
    trace(9, known ? "service_main: Service start failed, signaling WaitForServiceThread to exit"
                   : "service_main: Unable to get ServiceStartThread exit code, signaling "
                     "WaitForServiceThread to exit");
    service.m_state = OrvoService::Stopped;
    giveUp(service);
}

// The wait thread finds the state stopped and goes.
void ServiceRoutines::giveUp(OrvoService& service) {
    service.m_startEnded.set();
    service.m_event.set();
    service.ReportStatusToSCMgr(OrvoService::Stopped, 0, 0);
}

/// Reports progress to the control manager once a second until the thread has ended.
void ServiceRoutines::reportUntilEnded(OrvoService& service, unsigned long pending,
                                       platform::Thread& thread) {
    do service.ReportStatusToSCMgr(pending, 0, waitHint);
    while (platform::waitForOne(thread.handle, checkPointInterval) == platform::waitTimedOut);
}

// As at the end of every thread, an exception of the library's own type goes no further.
template <class Work>
bool ServiceRoutines::succeeds(const char* what, const Work& work) {
    try {
        return work();
    } catch (const OrvoException& exception) {
        trace(3, what, exception.getFormattedMessages());
        return false;
    }
}

int ServiceRoutines::callStartIt(void* argument) {
    const std::unique_ptr<const string> arguments(static_cast<const string*>(argument));
    trace(9, "ServiceStartThread: calling startIt");
    const bool good = succeeds("ServiceStartThread: startIt has thrown: ",
                               [&] { return OrvoService::getService()->startIt(*arguments); });
    trace(9, "ServiceStartThread: startIt returned with status=", good);
    return good;
}

int ServiceRoutines::callStopIt(void*) {
    trace(9, "ServiceStopThread: calling stopIt");
    const bool good = succeeds("ServiceStopThread: stopIt has thrown: ",
                               [] { return OrvoService::getService()->stopIt(); });
    trace(9, "ServiceStopThread: stopIt returned with status=", good);
    return good;
}

int ServiceRoutines::waitForService(void*) {
    OrvoService& service = *OrvoService::getService();
    trace(9, "WaitForServiceThread: waiting for service to exit");
    service.m_event.wait(-1);
    trace(9, "WaitForServiceThread: enter: service completed");
    service.m_startEnded.wait(-1);  // a stop may have come while the service was still starting
    if (service.m_state == OrvoService::Stopped) return 0;

    trace(9, "WaitForServiceThread: creating ServiceStopThread");
    Place place{nullptr};
    if (platform::startThread(callStopIt, nullptr, place)) {
        trace(9, "WaitForServiceThread: waiting for ServiceStopThread to exit");
        service.m_state = OrvoService::StopPending;
        reportUntilEnded(service, OrvoService::StopPending, *place);
        trace(9, "WaitForServiceThread: ServiceStopThread has exited");
    }
    trace(9, "WaitForServiceThread: stopping service");
    service.m_state = OrvoService::Stopped;
    service.ReportStatusToSCMgr(OrvoService::Stopped, 0, 0);
    platform::closeThread(place);
    return 0;
}

void ServiceRoutines::endRun() {
    platform::Thread* const thread = waitThread.exchange(nullptr);
    if (!thread) return;
    OrvoService& service = *theService;
    if (service.m_state.exchange(OrvoService::Stopped) != OrvoService::Stopped) {
        // The host has reported the end itself, or the control manager is gone.
        service.m_startEnded.set();
        service.m_event.set();
    }
    platform::waitForOne(thread->handle, -1);
    platform::closeThread(thread);
    service.m_startEnded.reset();
    service.m_event.reset();  // from stops that came meanwhile
}

bool ServiceRoutines::isAlive() {
    OrvoService& service = *OrvoService::getService();
    platform::Thread* const thread = waitThread;
    if (!thread || platform::waitForOne(thread->handle, 0) != platform::waitTimedOut) return false;
    const std::uint32_t state = service.m_status.currentState;
    const bool pending = state == OrvoService::StartPending || state == OrvoService::StopPending;
    return !pending || platform::monotonicNanoseconds() - service.m_lastReport < progressLimit;
}

void ServiceRoutines::handleControl(std::uint32_t control) {
    OrvoService& service = *OrvoService::getService();
    if (control == platform::controlStop)
        service.stop();
    else
        service.reportAgain();
}

bool ServiceRoutines::handleConsoleEvent(int event) {
    if (event != platform::consoleInterrupt && event != platform::consoleBreak) return false;
    OrvoService::getService()->stop();
    return true;
}

}  // namespace OrvoSupport
