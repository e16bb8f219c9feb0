// Linux half of ConsoleControl; contract in platform/ConsoleControl.h. Ctrl+C is SIGINT; Ctrl+Break is
// SIGQUIT, and SIGTERM, by which everybody but the user asks a program to end.
#include "platform/ConsoleControl.h"

#include <signal.h>

#include <atomic>
#include <mutex>

#include "platform/Thread.h"
#include "platform/posix/SignalRelay.h"

namespace OrvoSupport::platform {
namespace {

struct Watch {
    std::mutex change;
    SignalRelay relay;
    std::atomic<Thread*> thread{nullptr};
    std::atomic<ConsoleHandler> handler{nullptr};
};

// Made at the first use and kept: a signal may come late.
Watch& watch() {
    static Watch* const theWatch = new Watch;
    return *theWatch;
}

int relayToHandler(void*) {
    Watch& console = watch();
    const SignalRelay::Reception reception(console.relay);
    while (const ConsoleHandler handler = console.handler) {
        const int signal = console.relay.take(-1);
        if (signal != SignalRelay::none) handler(signal == SIGINT ? consoleInterrupt : consoleBreak);
    }
    return 0;
}

}  // namespace

bool setConsoleHandler(ConsoleHandler handler) {
    Watch& console = watch();
    const std::lock_guard<std::mutex> guard(console.change);
    if (console.handler.exchange(handler)) return true;
    if (console.relay.open({SIGINT, SIGQUIT, SIGTERM})) {
        if (startThread(relayToHandler, nullptr, console.thread)) return true;
        console.relay.close();
    }
    console.handler = nullptr;
    return false;
}

void removeConsoleHandler() {
    Watch& console = watch();
    const std::lock_guard<std::mutex> guard(console.change);
    if (!console.handler.exchange(nullptr)) return;
    console.relay.wake();
    Thread* const thread = console.thread.exchange(nullptr);
    waitForOne(thread->handle, -1);
    closeThread(thread);
    console.relay.close();
}

}  // namespace OrvoSupport::platform
