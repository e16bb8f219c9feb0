#include "service/FakeSystem.h"

#include <chrono>
#include <memory>
#include <thread>

#include "platform/Clock.h"
#include "platform/Sleep.h"

namespace service_testing {
namespace {

constexpr std::chrono::minutes limit(1);
constexpr std::int64_t nanosecondsPerSecond = 1000000000;

std::unique_ptr<FakeSystem> theFake;

struct FakeThread : platform::Thread {
    bool ended = false;
    int exitCode = 0;
    std::thread running;
};

}  // namespace

FakeSystem& fake() { return *theFake; }

void renewFake() { theFake = std::make_unique<FakeSystem>(); }

void FakeSystem::passSecond() {
    std::unique_lock<std::mutex> guard(lock);
    ++ticks;
    changed.notify_all();
    changed.wait_for(guard, limit, [&] { return ticks == 0; });
}

void FakeSystem::post(std::uint32_t code) {
    const std::lock_guard<std::mutex> guard(lock);
    controls.push_back(code);
    ++controlsPosted;
    changed.notify_all();
}

void FakeSystem::control(std::uint32_t code) {
    post(code);
    std::unique_lock<std::mutex> guard(lock);
    changed.wait_for(guard, limit, [&] { return controlsHandled == controlsPosted; });
}

bool FakeSystem::alive() { return aliveAsker(); }

bool FakeSystem::sawState(std::uint32_t state, int times) {
    std::unique_lock<std::mutex> guard(lock);
    return changed.wait_for(guard, limit, [&] {
        int seen = 0;
        for (const platform::ServiceStatus& report : reports) seen += report.currentState == state;
        return seen >= times;
    });
}

std::vector<std::uint32_t> FakeSystem::reportedStates() {
    const std::lock_guard<std::mutex> guard(lock);
    std::vector<std::uint32_t> result;
    for (const platform::ServiceStatus& report : reports) result.push_back(report.currentState);
    return result;
}

bool FakeSystem::settled() {
    std::unique_lock<std::mutex> guard(lock);
    return changed.wait_for(guard, limit, [&] { return threadsRunning == 0 && threadHolds == 0; });
}

}  // namespace service_testing

namespace OrvoSupport::platform {

using namespace service_testing;

// --- being a service --------------------------------------------------------------------------------------

bool runServiceDispatcher(const std::string& serviceName, ServiceMain main, ServiceAlive alive) {
    FakeSystem& system = fake();
    std::unique_lock<std::mutex> guard(system.lock);
    ++system.dispatches;
    system.dispatchedName = serviceName;
    if (!system.startedByManager) return false;
    system.aliveAsker = alive;
    system.stopReported = system.mainReturned = false;
    system.handler = nullptr;

    std::vector<char*> argv;
    for (std::string& argument : system.arguments) argv.push_back(&argument[0]);
    std::thread mainThread([&] {
        main(static_cast<std::uint32_t>(argv.size()), argv.data());
        const std::lock_guard<std::mutex> ending(system.lock);
        system.mainReturned = true;
        system.changed.notify_all();
    });
    for (;;) {
        const auto control = [&] { return system.handler && !system.controls.empty(); };
        const auto end = [&] { return system.stopReported || (system.mainReturned && !system.handler); };
        system.changed.wait(guard, [&] { return control() || end(); });
        if (!control()) break;
        const std::uint32_t code = system.controls.front();
        system.controls.pop_front();
        guard.unlock();
        system.handler(code);
        guard.lock();
        ++system.controlsHandled;
        system.changed.notify_all();
    }
    guard.unlock();
    mainThread.join();
    return true;
}

void* registerControlHandler(const std::string& serviceName, ControlHandler handler) {
    FakeSystem& system = fake();
    const std::lock_guard<std::mutex> guard(system.lock);
    system.registeredName = serviceName;
    if (!system.registers) return nullptr;
    system.handler = handler;
    system.changed.notify_all();
    return &system;
}

bool reportServiceStatus(void* statusHandle, const ServiceStatus& status) {
    FakeSystem& system = fake();
    const std::lock_guard<std::mutex> guard(system.lock);
    system.reports.push_back(status);
    system.reportHandles.push_back(statusHandle);
    if (status.currentState == running)
        for (const std::uint32_t code : system.controlsWhenRunning) {
            system.controls.push_back(code);
            ++system.controlsPosted;
        }
    if (status.currentState == stopped) system.stopReported = true;
    system.changed.notify_all();
    return system.takesReports;
}

// --- threads and time -------------------------------------------------------------------------------------

bool startThread(ThreadBody body, void* argument, std::atomic<Thread*>& place) noexcept {
    FakeSystem& system = fake();
    {
        const std::lock_guard<std::mutex> guard(system.lock);
        if (++system.threadsCreated == system.failingThread) return false;
        ++system.threadsRunning;
        ++system.threadHolds;
    }
    FakeThread* const thread = new FakeThread;
    thread->handle = thread;
    place = thread;
    thread->running = std::thread([&system, thread, body, argument] {
        const int exitCode = body(argument);
        const std::lock_guard<std::mutex> guard(system.lock);
        thread->exitCode = exitCode;
        thread->ended = true;
        --system.threadsRunning;
        system.changed.notify_all();
    });
    return true;
}

// The host gives up a thread only when that has ended, so that joining takes no time.
void closeThread(Thread* thread) noexcept {
    if (!thread) return;
    FakeSystem& system = fake();
    FakeThread* const closed = static_cast<FakeThread*>(thread);
    closed->running.join();
    delete closed;
    const std::lock_guard<std::mutex> guard(system.lock);
    --system.threadHolds;
    system.changed.notify_all();
}

bool exitCodeOf(Thread& thread, int& exitCode) noexcept {
    FakeSystem& system = fake();
    const std::lock_guard<std::mutex> guard(system.lock);
    exitCode = system.exitCodeReadable ? static_cast<FakeThread&>(thread).exitCode : 1;
    return system.exitCodeReadable;
}

int waitForOne(WaitHandle handle, int timeoutMs) noexcept {
    FakeSystem& system = fake();
    const FakeThread& thread = *static_cast<FakeThread*>(handle);
    std::unique_lock<std::mutex> guard(system.lock);
    if (timeoutMs == 0) return thread.ended ? 0 : waitTimedOut;
    const bool limited = timeoutMs > 0;
    system.changed.wait(guard, [&] { return thread.ended || (limited && system.ticks > 0); });
    if (thread.ended) return 0;
    --system.ticks;
    system.now += nanosecondsPerSecond;
    system.changed.notify_all();
    return waitTimedOut;
}

std::int64_t monotonicNanoseconds() {
    FakeSystem& system = fake();
    const std::lock_guard<std::mutex> guard(system.lock);
    return system.now;
}

void sleepFor(int milliseconds) {
    FakeSystem& system = fake();
    system.calls.push_back("sleep " + std::to_string(milliseconds));
    if (system.askStateMember) system.stateMembers.push_back(system.askStateMember());
}

// --- the console ------------------------------------------------------------------------------------------

bool setConsoleHandler(ConsoleHandler handler) {
    FakeSystem& system = fake();
    const std::lock_guard<std::mutex> guard(system.lock);
    if (!system.hasConsole) return false;
    ++system.consoleHandlersSet;
    system.console = handler;
    system.changed.notify_all();
    return true;
}

void removeConsoleHandler() {
    FakeSystem& system = fake();
    const std::lock_guard<std::mutex> guard(system.lock);
    system.console = nullptr;
}

// --- administering services -------------------------------------------------------------------------------

namespace {

// Records the call and what it was given.
FakeSystem& called(const std::string& what) {
    fake().calls.push_back(what);
    return fake();
}

int theManager, theService;

}  // namespace

bool executablePath(std::string& path) {
    path = "C:\\Program Files\\host.exe";
    return called("path").pathKnown;
}

ManagerHandle openServiceManager() { return called("open manager").managerOpens ? &theManager : nullptr; }

bool administrationUnsupported() { return called("unsupported?").unsupported; }

ServiceHandle createService(ManagerHandle manager, const ServiceEntry& entry) {
    FakeSystem& system = called(manager == &theManager ? "create" : "create without manager");
    system.entry = entry;
    return system.creates ? &theService : nullptr;
}

bool setServiceDescription(ServiceHandle service, const std::wstring& description) {
    FakeSystem& system = called(service == &theService ? "describe" : "describe nothing");
    system.description = description;
    return system.describes;
}

unsigned long lastAdministrationError() { return called("last error").error; }

ServiceHandle openService(ManagerHandle manager, const std::string& serviceName) {
    FakeSystem& system = called((manager == &theManager ? "open " : "open without manager ") + serviceName);
    return system.opens ? &theService : nullptr;
}

bool stopService(ServiceHandle) { return called("stop").takesStop; }

bool queryServiceState(ServiceHandle, std::uint32_t& state) {
    FakeSystem& system = called("query");
    if (system.askStateMember) system.stateMembers.push_back(system.askStateMember());
    if (system.states.empty()) return false;
    state = system.states.front();
    system.states.pop_front();
    return true;
}

bool deleteService(ServiceHandle) { return called("delete").deletes; }

void closeService(ServiceHandle service) {
    called(service == &theService ? "close service" : "close nothing");
}

void closeServiceManager(ManagerHandle manager) {
    called(manager == &theManager ? "close manager" : "close no manager");
}

}  // namespace OrvoSupport::platform
