// A service under the control manager of Windows: installed, started, watched, stopped and removed. The
// service is this very program, started by the control manager at an entry of its own; what the tests see of
// it is what the control manager tells any program.
#include <OrvoLogging.h>
#include <OrvoService.h>
#include <gmock/gmock.h>

#include <sstream>

#include "service/win32/Manager.h"
#include "support/ChildProcess.h"
#include "support/Plugin.h"
#include "support/TempFolder.h"

namespace {

using namespace OrvoSupport;
using service_testing::Installed;
using service_testing::ManagedService;
using testing::ElementsAreArray;
using testing_support::ChildProcess;
using testing_support::Resources;
using testing_support::resourcesInUse;
using testing_support::resourcesOnceThreadsHaveEnded;
using testing_support::TempFolder;

bool fileExists(const std::string& path) {
    return ::GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

/// Words of its start arguments: `slow-start` and `slow-stop` last until the test makes a file of that name,
/// `fail` makes the start fail, `give-up` stops it from within while it starts.
class TestService : public OrvoService {
public:
    TestService(const string& name, const string& folder, bool interactive = false)
        : OrvoService("test", name, name + " shown", "", interactive), m_folder(folder) {
        m_arguments = "--osupt-child=service " + name + " " + folder;
    }
    using OrvoService::m_arguments;
    using OrvoService::m_description;

    bool startIt(const string& arguments) override {
        testing_support::writeFile(m_folder + "/arguments", "[" + arguments + "]");
        m_words = arguments;
        awaitWhen("slow-start ");
        if (says("give-up ")) stop();
        return !says("fail ");
    }
    bool stopIt() override {
        awaitWhen("slow-stop ");
        return true;
    }

private:
    bool says(const char* word) const { return m_words.find(word) != string::npos; }
    void awaitWhen(const string& word) const {
        if (!says(word.c_str())) return;
        const string go = m_folder + "/" + word.substr(0, word.size() - 1);
        for (int i = 0; i < 6000 && !fileExists(go); ++i) ::Sleep(20);
    }

    const string m_folder;
    string m_words;
};

/// What a process has in use more than before once it has been a service: threads, as soon as there are no
/// more than these, and handles.
void noteWhatIsLeft(const std::string& folder, const Resources& before, long threads) {
    const Resources after = resourcesOnceThreadsHaveEnded(before.threads + threads);
    testing_support::writeFile(folder + "/left", std::to_string(after.threads - before.threads) + " " +
                                                     std::to_string(after.handles - before.handles));
}

OSUPT_CHILD(service) {
    OrvoLogging logger(arguments.at(1) + "/service", OrvoLogging::fileTarget, 9);
    logger.enableRecordData(false);
    OrvoLogging::setInstance(logger);
    const Resources before = resourcesInUse();
    bool served;
    {
        TestService service(arguments.at(0), arguments.at(1));
        served = service.start("", true);
    }
    if (arguments.size() > 2) noteWhatIsLeft(arguments[1], before, std::stol(arguments[2]));
    return served ? 0 : 1;
}

SERVICE_STATUS_HANDLE bareService = nullptr;
HANDLE bareServiceStops = nullptr;

void showBareState(DWORD state) {
    SERVICE_STATUS status = {SERVICE_WIN32_OWN_PROCESS, state, SERVICE_ACCEPT_STOP, 0, 0, 0, 0};
    ::SetServiceStatus(bareService, &status);
}

void WINAPI stopBareService(DWORD) { ::SetEvent(bareServiceStops); }

void WINAPI bareServiceMain(DWORD, char**) {
    bareServiceStops = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    bareService = ::RegisterServiceCtrlHandlerA("", stopBareService);
    showBareState(SERVICE_RUNNING);
    ::WaitForSingleObject(bareServiceStops, 60000);
    ::CloseHandle(bareServiceStops);
    showBareState(SERVICE_STOPPED);
}

/// The same with nothing but calls of the system, to compare with.
OSUPT_CHILD(bareService) {
    const Resources before = resourcesInUse();
    char name[] = "";
    const SERVICE_TABLE_ENTRYA table[] = {{name, bareServiceMain}, {nullptr, nullptr}};
    const bool served = ::StartServiceCtrlDispatcherA(table);
    noteWhatIsLeft(arguments.at(1), before, 10);
    return served ? 0 : 1;
}

OSUPT_CHILD(removeService) {
    TestService service(arguments.at(0), "");
    return service.remove() ? 0 : 1;
}

std::string uniqueName() {
    static int count = 0;
    return "osupt-test-" + std::to_string(::GetCurrentProcessId()) + "-" + std::to_string(++count);
}

class ServiceManagerTest : public testing::Test {
protected:
    ~ServiceManagerTest() override { letGo("slow-start"), letGo("slow-stop"); }

    void letGo(const std::string& what) { testing_support::writeFile(m_folder.file(what), ""); }
    /// The records of the service's process that begin so.
    std::vector<std::string> log(const std::string& start = "") const {
        std::vector<std::string> found;
        std::istringstream lines(testing_support::readFile(m_folder.file("service.log")));
        for (std::string line; std::getline(lines, line);) {
            if (!line.empty() && line.back() == '\r') line.pop_back();
            if (line.compare(0, start.size(), start) == 0) found.push_back(line);
        }
        return found;
    }
    void stopAndExpectTheEnd() {
        EXPECT_EQ(0u, m_managed.control(SERVICE_CONTROL_STOP));
        EXPECT_TRUE(m_managed.reaches(SERVICE_STOPPED));
        EXPECT_TRUE(m_managed.processEnds());
    }

    const TempFolder m_folder;
    ManagedService m_managed{uniqueName()};
    TestService m_service{m_managed.name(), m_folder.path()};
};

TEST_F(ServiceManagerTest, installsWhatTheManagerThenTellsAboutIt) {
    m_service.m_description = L"Tests \u00e4\u00f6\u00fc \u20ac";
    ASSERT_TRUE(m_service.install());
    const Installed installed = m_managed.installed();
    EXPECT_EQ(16u, installed.type);
    EXPECT_EQ(2u, installed.startType);
    EXPECT_EQ(1u, installed.errorControl);
    EXPECT_EQ(testing_support::programPath() + " " + m_service.m_arguments, installed.commandLine);
    EXPECT_EQ(m_managed.name() + " shown", installed.displayName);
    EXPECT_EQ("LocalSystem", installed.account);
    EXPECT_EQ(L"Tests \u00e4\u00f6\u00fc \u20ac", installed.description);
    EXPECT_EQ(static_cast<DWORD>(SERVICE_STOPPED), m_managed.status().dwCurrentState);
}

TEST_F(ServiceManagerTest, withoutArgumentsTheCommandLineIsThePathAsItIs) {
    m_service.m_arguments.clear();
    ASSERT_TRUE(m_service.install());
    EXPECT_EQ(testing_support::programPath(), m_managed.installed().commandLine);
    EXPECT_EQ(L"", m_managed.installed().description);
}

TEST_F(ServiceManagerTest, aProgramInAFolderWithBlanksIsInstalledUnquotedAndStarts) {
    const std::string folder = m_folder.file("a folder");
    ::CreateDirectoryA(folder.c_str(), nullptr);
    const std::string own = testing_support::programPath();
    const std::string bin = own.substr(0, own.rfind('\\'));
    WIN32_FIND_DATAA entry;
    const HANDLE search = ::FindFirstFileA((bin + "\\*.dll").c_str(), &entry);
    do ::CopyFileA((bin + "\\" + entry.cFileName).c_str(), (folder + "\\" + entry.cFileName).c_str(), FALSE);
    while (::FindNextFileA(search, &entry));
    ::FindClose(search);
    const std::string copy = folder + "\\host.exe";
    ASSERT_TRUE(::CopyFileA(own.c_str(), copy.c_str(), FALSE));

    ChildProcess installer(
        testing_support::Command{copy, {"--osupt-child=install", m_managed.name(), m_folder.path()}});
    EXPECT_EQ(0, installer.wait()) << installer.output();
    const std::string line = m_managed.installed().commandLine;
    EXPECT_NE(std::string::npos, line.find("a folder\\host.exe --osupt-child=service ")) << line;
    EXPECT_EQ(std::string::npos, line.find('"')) << line;
    // Such a line is taken for the path up to its first blank if there is such a program, and here is none.
    ASSERT_TRUE(m_managed.start({}));
    ASSERT_TRUE(m_managed.reaches(SERVICE_RUNNING));
    stopAndExpectTheEnd();
}

OSUPT_CHILD(install) {
    TestService service(arguments.at(0), arguments.at(1));
    return service.install() ? 0 : 1;
}

TEST_F(ServiceManagerTest, anInteractiveServiceIsMarkedSo) {
    TestService interactive(m_managed.name(), m_folder.path(), true);
    ASSERT_TRUE(interactive.install());
    EXPECT_EQ(272u, m_managed.installed().type);
}

TEST_F(ServiceManagerTest, aNameThatExistsCannotBeInstalledAgain) {
    ASSERT_TRUE(m_service.install());
    EXPECT_FALSE(m_service.install());
    EXPECT_TRUE(m_service.remove());
    EXPECT_FALSE(m_managed.exists());  // somebody who still had it open would have kept it
    EXPECT_FALSE(m_service.remove());
    EXPECT_TRUE(m_service.install());
}

TEST_F(ServiceManagerTest, runsFromItsStartToItsStop) {
    ASSERT_TRUE(m_service.install());
    ASSERT_TRUE(m_managed.start({"a", "b"}));
    ASSERT_TRUE(m_managed.reaches(SERVICE_RUNNING));
    const SERVICE_STATUS now = m_managed.status();
    EXPECT_EQ(16u, now.dwServiceType);
    EXPECT_EQ(static_cast<DWORD>(SERVICE_ACCEPT_STOP), now.dwControlsAccepted);
    EXPECT_EQ(0u, now.dwWin32ExitCode);
    EXPECT_EQ(0u, now.dwCheckPoint);
    EXPECT_EQ(0u, now.dwWaitHint);
    EXPECT_EQ("[a b ]", testing_support::readFile(m_folder.file("arguments")));
    stopAndExpectTheEnd();
    EXPECT_EQ(0u, m_managed.status().dwWin32ExitCode);
    EXPECT_EQ(0u, m_managed.status().dwCheckPoint);
}

TEST_F(ServiceManagerTest, logsEveryStepInOrder) {
    ASSERT_TRUE(m_service.install());
    ASSERT_TRUE(m_managed.start({}));
    ASSERT_TRUE(m_managed.reaches(SERVICE_RUNNING));
    stopAndExpectTheEnd();
    const std::string reports[] = {"OrvoService::start: ", "service_main: ", "ServiceStartThread: ",
                                   "WaitForServiceThread: ", "ServiceStopThread: "};
    const std::vector<std::string> expected[] = {
        {"OrvoService::start: calling StartServiceCtrlDispatcher",
         "OrvoService::start: StartServiceCtrlDispatcher returned, exiting", "OrvoService::start: exiting"},
        {"service_main: creating WaitForServiceThread", "service_main: creating ServiceStartThread",
         "service_main: waiting for ServiceStartThread to exit", "service_main: ServiceStartThread exited",
         "service_main: service has started, signaling SCM"},
        {"ServiceStartThread: calling startIt", "ServiceStartThread: startIt returned with status=true"},
        {"WaitForServiceThread: waiting for service to exit",
         "WaitForServiceThread: enter: service completed", "WaitForServiceThread: creating ServiceStopThread",
         "WaitForServiceThread: waiting for ServiceStopThread to exit",
         "WaitForServiceThread: ServiceStopThread has exited", "WaitForServiceThread: stopping service"},
        {"ServiceStopThread: calling stopIt", "ServiceStopThread: stopIt returned with status=true"}};
    for (std::size_t i = 0; i < std::size(expected); ++i)
        EXPECT_THAT(log(reports[i]), ElementsAreArray(expected[i]));
    EXPECT_THAT(log("OrvoService::stop: "),
                testing::ElementsAre("OrvoService::stop: entering", "OrvoService::stop: exiting"));
    std::string states;
    for (const std::string& report : log("OrvoService::ReportStatusToSCMgr: state=")) states += report.back();
    EXPECT_THAT(states, testing::MatchesRegex("22+4+3+1"));
}

TEST_F(ServiceManagerTest, aSlowStartAndASlowStopShowNewCheckPoints) {
    ASSERT_TRUE(m_service.install());
    ASSERT_TRUE(m_managed.start({"slow-start", "slow-stop"}));
    std::vector<DWORD> points = m_managed.checkPoints(SERVICE_START_PENDING, 6);
    const SERVICE_STATUS starting = m_managed.status();
    EXPECT_EQ(0u, starting.dwControlsAccepted);
    EXPECT_EQ(3000u, starting.dwWaitHint);
    // Which of the two depends on the version of the control manager.
    EXPECT_THAT(m_managed.control(SERVICE_CONTROL_STOP),
                testing::AnyOf(ERROR_SERVICE_CANNOT_ACCEPT_CTRL, ERROR_INVALID_SERVICE_CONTROL));
    letGo("slow-start");
    ASSERT_TRUE(m_managed.reaches(SERVICE_RUNNING));

    EXPECT_EQ(0u, m_managed.control(SERVICE_CONTROL_STOP));
    const std::vector<DWORD> stopping = m_managed.checkPoints(SERVICE_STOP_PENDING, 6);
    EXPECT_EQ(static_cast<DWORD>(SERVICE_ACCEPT_STOP), m_managed.status().dwControlsAccepted);
    EXPECT_EQ(3000u, m_managed.status().dwWaitHint);
    letGo("slow-stop");
    EXPECT_TRUE(m_managed.reaches(SERVICE_STOPPED));
    EXPECT_TRUE(m_managed.processEnds());

    EXPECT_EQ(6u, stopping.size());
    points.insert(points.end(), stopping.begin(), stopping.end());
    ASSERT_EQ(12u, points.size());
    EXPECT_TRUE(std::is_sorted(points.begin(), points.end()));
}

TEST_F(ServiceManagerTest, aStopFromWithinWhileItStartsTakesEffectOnceItHasStarted) {
    ASSERT_TRUE(m_service.install());
    ASSERT_TRUE(m_managed.start({"give-up"}));
    EXPECT_TRUE(m_managed.reaches(SERVICE_STOPPED));
    EXPECT_TRUE(m_managed.processEnds());
    EXPECT_EQ(1u, log("service_main: service has started").size());
    EXPECT_EQ(1u, log("ServiceStopThread: stopIt returned with status=true").size());
}

TEST_F(ServiceManagerTest, otherControlsReportTheStateAgain) {
    ASSERT_TRUE(m_service.install());
    ASSERT_TRUE(m_managed.start({}));
    ASSERT_TRUE(m_managed.reaches(SERVICE_RUNNING));
    EXPECT_EQ(0u, m_managed.control(SERVICE_CONTROL_INTERROGATE));
    EXPECT_EQ(static_cast<DWORD>(SERVICE_RUNNING), m_managed.status().dwCurrentState);
    stopAndExpectTheEnd();
    EXPECT_EQ(2u, log("OrvoService::ReportStatusToSCMgr: state=4").size());
}

TEST_F(ServiceManagerTest, aStartThatFailsEndsStopped) {
    ASSERT_TRUE(m_service.install());
    m_managed.start({"fail"});
    EXPECT_TRUE(m_managed.reaches(SERVICE_STOPPED));
    EXPECT_TRUE(m_managed.processEnds());
    EXPECT_EQ(0u, m_managed.status().dwWin32ExitCode);
    EXPECT_EQ(1u, log("service_main: Service start failed, signaling WaitForServiceThread to exit").size());
    EXPECT_EQ(0u, log("ServiceStopThread: ").size());
}

TEST_F(ServiceManagerTest, removingARunningServiceStopsItFirst) {
    ASSERT_TRUE(m_service.install());
    ASSERT_TRUE(m_managed.start({"slow-stop"}));
    ASSERT_TRUE(m_managed.reaches(SERVICE_RUNNING));
    ChildProcess remover("removeService", {m_managed.name()});
    EXPECT_TRUE(m_managed.reaches(SERVICE_STOP_PENDING));
    EXPECT_TRUE(m_managed.exists());
    letGo("slow-stop");
    EXPECT_EQ(0, remover.wait());
    EXPECT_FALSE(m_managed.exists());
    EXPECT_TRUE(m_managed.processEnds());
    EXPECT_EQ(1u, log("ServiceStopThread: stopIt returned with status=true").size());
}

TEST_F(ServiceManagerTest, theServiceItselfCanBeRunWithoutTheManagerButDoesNothing) {
    ChildProcess process("service", {m_managed.name(), m_folder.path()});
    EXPECT_EQ(0, process.wait());
    EXPECT_THAT(log(),
                testing::ElementsAre("OrvoService::start: calling StartServiceCtrlDispatcher",
                                     "OrvoService::start: StartServiceCtrlDispatcher returned, exiting",
                                     "OrvoService::start: exiting"));
}

TEST_F(ServiceManagerTest, leavesNoMoreBehindThanTheSystemsOwnCallsDo) {
    long threads[2] = {}, handles[2] = {};
    for (const int round : {0, 1}) {
        m_service.m_arguments = std::string("--osupt-child=") + (round == 0 ? "bareService " : "service ") +
                                m_managed.name() + " " + m_folder.path() + " " + std::to_string(threads[0]);
        ASSERT_TRUE(m_service.install());
        ASSERT_TRUE(m_managed.start({}));
        ASSERT_TRUE(m_managed.reaches(SERVICE_RUNNING));
        stopAndExpectTheEnd();
        ASSERT_TRUE(m_service.remove());
        std::istringstream left(testing_support::readFile(m_folder.file("left")));
        ASSERT_TRUE(left >> threads[round] >> handles[round]);
    }
    EXPECT_LE(threads[1], threads[0]);
    EXPECT_LE(handles[1], handles[0]);
}

TEST_F(ServiceManagerTest, startsAndStopsAgainAndAgain) {
    ASSERT_TRUE(m_service.install());
    for (int i = 0; i < 50; ++i) {
        SCOPED_TRACE(i);
        ASSERT_TRUE(m_managed.start({"round"})) << ::GetLastError();
        ASSERT_TRUE(m_managed.reaches(SERVICE_RUNNING));
        stopAndExpectTheEnd();
    }
    EXPECT_TRUE(m_service.remove());
}

}  // namespace
