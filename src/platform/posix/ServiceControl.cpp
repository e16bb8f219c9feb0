// Linux half of ServiceControl, being a service; contract in platform/ServiceControl.h. The control manager
// is systemd: controls come as signals, and reports go to its notification socket.
#include "platform/ServiceControl.h"

#include <signal.h>
#include <stdlib.h>

#include <atomic>
#include <mutex>
#include <sstream>
#include <utility>
#include <vector>

#include "platform/Clock.h"
#include "platform/Thread.h"
#include "platform/posix/Notify.h"
#include "platform/posix/SignalRelay.h"

namespace OrvoSupport::platform {
namespace {

constexpr std::uint32_t stopped = 1;
constexpr std::uint32_t startPending = 2;
constexpr std::uint32_t stopPending = 3;
constexpr std::uint32_t controlInterrogate = 4;
constexpr int nanosecondsPerMillisecond = 1000000;

/// What runs and who listens. It outlives the dispatcher, since a thread that reports late may too.
struct Dispatch {
    ServiceMain main = nullptr;
    std::string serviceName;
    std::atomic<ControlHandler> handler{nullptr};
    std::atomic<bool> ended{true};
    std::mutex reporting;  // between reports and the closing of what follows
    NotifySocket socket;
    SignalRelay relay;

    bool report(const std::string& lines, bool isLast) {
        const std::lock_guard<std::mutex> guard(reporting);
        if (ended) return false;
        const bool taken = lines.empty() || socket.send(lines);
        ended = isLast;
        if (isLast) relay.wake();
        return taken;
    }
    void close() {
        const std::lock_guard<std::mutex> guard(reporting);
        ended = true;
        socket.close();
        relay.close();
    }
};

Dispatch& theDispatch() {
    static Dispatch* const dispatch = new Dispatch;
    return *dispatch;
}

// The arguments that the control manager has for the service: words of a variable, split at blanks.
std::vector<std::string> argumentsOf(const std::string& serviceName) {
    std::vector<std::string> arguments = {serviceName};
    const char* const variable = ::getenv("OSUPT_SERVICE_ARGUMENTS");
    std::istringstream words(variable ? variable : "");
    for (std::string word; std::getline(words, word, ' ');)
        if (!word.empty()) arguments.push_back(word);
    return arguments;
}

int runMain(void*) {
    Dispatch& dispatch = theDispatch();
    std::vector<std::string> arguments = argumentsOf(dispatch.serviceName);
    std::vector<char*> argv;
    for (std::string& text : arguments) argv.push_back(text.data());
    dispatch.main(static_cast<std::uint32_t>(argv.size()), argv.data());
    // One that has not even registered cannot say that it stopped.
    if (!dispatch.handler) dispatch.report("", true);
    return 0;
}

/// When systemd's watchdog, if it has one for this process, is due to hear that the service is alive.
class Watchdog {
public:
    Watchdog() : m_interval(watchdogInterval() / 2) {}

    /// Milliseconds until the next answer is due, -1 for never.
    int untilNext() const {
        if (m_interval == 0) return -1;
        const std::int64_t left = m_last + m_interval - monotonicNanoseconds();
        return left <= 0 ? 0 : static_cast<int>(left / nanosecondsPerMillisecond) + 1;
    }
    bool isDue() {
        if (untilNext() != 0) return false;
        m_last = monotonicNanoseconds();
        return true;
    }

private:
    const std::int64_t m_interval;  // nanoseconds; half of what systemd waits, 0 without a watchdog
    std::int64_t m_last = 0;
};

void passControlsUntilEnded(Dispatch& dispatch, ServiceAlive alive) {
    const SignalRelay::Reception reception(dispatch.relay);
    Watchdog watchdog;
    bool stopWanted = false;
    while (!dispatch.ended) {
        if (watchdog.isDue() && alive()) dispatch.report("WATCHDOG=1", false);
        const int signal = dispatch.relay.take(watchdog.untilNext());
        const ControlHandler handler = dispatch.handler;
        stopWanted = stopWanted || signal == SIGTERM;
        if (!handler) continue;  // whoever registers one wakes us
        if (stopWanted) handler(controlStop);
        stopWanted = false;
        if (signal == SIGHUP) handler(controlInterrogate);
    }
}

std::string notificationOf(const ServiceStatus& status) {
    const std::string extension =
        status.waitHint == 0
            ? ""
            : "EXTEND_TIMEOUT_USEC=" + std::to_string(std::uint64_t{status.waitHint} * 1000) + "\n";
    const std::string point = "check point " + std::to_string(status.checkPoint);
    switch (status.currentState) {
        case stopped: return "STATUS=Stopped";
        case startPending: return extension + "STATUS=Starting, " + point;
        case stopPending: return "STOPPING=1\n" + extension + "STATUS=Stopping, " + point;
        default: return "READY=1\nSTATUS=Running";
    }
}

}  // namespace

bool runServiceDispatcher(const std::string& serviceName, ServiceMain main, ServiceAlive alive) {
    Dispatch& dispatch = theDispatch();
    NotifySocket socket;
    if (!socket.open()) return false;
    if (!dispatch.relay.open({SIGTERM, SIGHUP})) return false;  // as while another one runs
    dispatch.socket = std::move(socket);
    dispatch.main = main;
    dispatch.serviceName = serviceName;
    dispatch.handler = nullptr;
    dispatch.ended = false;

    // Started first: what the host starts from there has the signals that the host wants.
    std::atomic<Thread*> thread{nullptr};
    const bool started = startThread(runMain, nullptr, thread);
    if (started) {
        passControlsUntilEnded(dispatch, alive);
        waitForOne(thread.load()->handle, -1);
        closeThread(thread);
    }
    dispatch.close();
    return started;
}

void* registerControlHandler(const std::string&, ControlHandler handler) {
    Dispatch& dispatch = theDispatch();
    if (dispatch.ended) return nullptr;
    dispatch.handler = handler;
    dispatch.relay.wake();
    return &dispatch;
}

bool reportServiceStatus(void* statusHandle, const ServiceStatus& status) {
    Dispatch& dispatch = theDispatch();
    return statusHandle == &dispatch &&
           dispatch.report(notificationOf(status), status.currentState == stopped);
}

}  // namespace OrvoSupport::platform
