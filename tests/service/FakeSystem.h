// The system as the service host sees it, played by the test: a control manager, a console, threads and the
// time.
#ifndef TESTS_SERVICE_FAKE_SYSTEM_H
#define TESTS_SERVICE_FAKE_SYSTEM_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "platform/ConsoleControl.h"
#include "platform/ServiceControl.h"
#include "platform/Thread.h"

namespace service_testing {

using namespace OrvoSupport;

constexpr std::uint32_t stopped = 1, startPending = 2, stopPending = 3, running = 4;
constexpr std::uint32_t interrogate = 4;  // a control other than stop

/// The script of one test and what happened. Set the script before the service starts; everything else under
/// the lock or when nothing runs any more.
struct FakeSystem {
    // --- the control manager as the service's parent
    bool startedByManager = true;
    bool registers = true;
    std::atomic<bool> takesReports{true};
    std::vector<std::string> arguments = {"service"};  // argv
    std::vector<std::uint32_t> controlsWhenRunning;    // sent as soon as the service reports running
    std::string dispatchedName, registeredName;
    std::vector<platform::ServiceStatus> reports;
    std::vector<void*> reportHandles;
    int dispatches = 0;

    // --- threads and time
    int failingThread = 0;  // which of the threads to come cannot be created; counted from 1
    bool exitCodeReadable = true;
    int threadsCreated = 0, threadsRunning = 0, threadHolds = 0;
    std::int64_t now = 1;  // nanoseconds

    // --- the console
    bool hasConsole = true;
    platform::ConsoleHandler console = nullptr;
    int consoleHandlersSet = 0;

    // --- administering services
    bool pathKnown = true, managerOpens = true, unsupported = false, creates = true, describes = true;
    bool opens = true, takesStop = true, deletes = true;
    unsigned long error = 0;
    std::deque<std::uint32_t> states;     // what queries tell, one after the other; then they fail
    std::vector<int> stateMembers;        // of the service, at each query and sleep
    std::function<int()> askStateMember;  // how it is asked
    std::vector<std::string> calls;       // in order
    platform::ServiceEntry entry;         // what was created
    std::wstring description;

    // --- what tests do while the service runs
    /// Lets the wait that watches a starting or stopping thread time out once, and returns when it has.
    void passSecond();
    /// Sends a control, which the handler gets on the dispatcher's thread, and returns when it has run.
    void control(std::uint32_t code);
    /// The same without waiting for the handler.
    void post(std::uint32_t code);
    /// Asks what the watchdog asks.
    bool alive();
    /// Returns when the service has reported this state so often; false after a minute without it.
    bool sawState(std::uint32_t state, int times = 1);
    std::vector<std::uint32_t> reportedStates();
    bool settled();  ///< no thread runs any more, within a minute, and every hold is given up

    // --- for the functions of the seam
    std::mutex lock;
    std::condition_variable changed;
    std::deque<std::uint32_t> controls;
    int controlsHandled = 0, controlsPosted = 0;
    int ticks = 0;
    bool stopReported = false, mainReturned = false;
    platform::ControlHandler handler = nullptr;
    platform::ServiceAlive aliveAsker = nullptr;
};

/// The one of the test that runs; made anew for each.
FakeSystem& fake();
void renewFake();

}  // namespace service_testing

#endif
