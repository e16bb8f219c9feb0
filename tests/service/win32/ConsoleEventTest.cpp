// A service as a console program that gets real events of its console. Where this program has none, as under
// Wine without a terminal, there is nothing to get.
#include <OrvoLogging.h>
#include <OrvoService.h>
#include <gmock/gmock.h>
#include <windows.h>

#include <atomic>
#include <thread>

#include "support/TempFolder.h"

namespace {

using namespace OrvoSupport;

bool hasConsole() {
    const HANDLE console = ::CreateFileA("CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_WRITE, nullptr,
                                         OPEN_EXISTING, 0, nullptr);
    if (console == INVALID_HANDLE_VALUE) return false;
    ::CloseHandle(console);
    return true;
}

class ConsoleService : public OrvoService {
public:
    ConsoleService() : OrvoService("console", "console", "Console service", "", false) {}

    bool startIt(const string&) override { return true; }
    bool stopIt() override {
        ++stops;
        stopThread = std::this_thread::get_id();
        if (interruptAgain) {
            ::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
            // Handled when the event is set again; a process without a handler would have ended.
            arrived = getEventObject().wait(60000) == 0;
        }
        return true;
    }

    bool interruptAgain = false, arrived = false;
    std::atomic<int> stops{0};
    std::thread::id stopThread;
};

class ConsoleEventTest : public testing::Test {
protected:
    void SetUp() override {
        if (!hasConsole()) GTEST_SKIP() << "this program has no console";
        OrvoLogging::setInstance(m_logger);
        ::SetConsoleCtrlHandler(nullptr, FALSE);  // whoever started it may have it ignore Ctrl+C
    }

    /// Starts the service, sends a Ctrl+C as soon as it runs, and returns what start() returned.
    bool runUntilControlC() {
        std::thread user([&] {
            while (!listens()) ::Sleep(10);
            EXPECT_TRUE(::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0));
            for (int i = 0; i < 600 && service.state() == OrvoService::Running; ++i) ::Sleep(100);
            if (service.state() != OrvoService::Running) return;
            ADD_FAILURE() << "the event has not come";
            service.stop();
        });
        const bool result = service.start("", false);
        user.join();
        return result;
    }

    /// Whether the service has come as far as waiting, so that its handler is in place.
    bool listens() const {
        const std::string text = testing_support::readFile(m_folder.file("log.log"));
        return text.find("waiting for service to exit") != std::string::npos;
    }

    const testing_support::TempFolder m_folder;
    OrvoLogging m_logger{m_folder.file("log"), OrvoLogging::fileTarget, 9};
    ConsoleService service;
};

TEST_F(ConsoleEventTest, controlCStopsItOnTheThreadThatStartedIt) {
    EXPECT_TRUE(runUntilControlC());
    EXPECT_EQ(1, service.stops);
    EXPECT_EQ(std::this_thread::get_id(), service.stopThread);
}

TEST_F(ConsoleEventTest, aSecondControlCWhileItStopsDoesNotEndTheProcess) {
    service.interruptAgain = true;
    EXPECT_TRUE(runUntilControlC());
    EXPECT_TRUE(service.arrived);
    EXPECT_EQ(1, service.stops);
}

}  // namespace
