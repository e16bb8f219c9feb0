// The sample host as a service of Windows, from its installation to its removal.
#include "service/win32/Manager.h"

#include "../DropfolderFixture.h"

namespace dropfolder_test {
namespace {

using service_testing::ManagedService;

class DropfolderServiceTest : public DropfolderFixture {
protected:
    /// Runs dropfolder with this action and returns its exit code.
    int call(const std::string& action) {
        const auto process = start({action, "--name=" + m_managed.name()});
        const int exitCode = process->wait(60);
        m_output = process->output();
        return exitCode;
    }
    bool says(const std::string& text) {
        call("status");
        return m_output.find(m_managed.name() + ": " + text) == 0;
    }

    ManagedService m_managed{"osupt-dropfolder-" + std::to_string(::GetCurrentProcessId())};
};

TEST_F(DropfolderServiceTest, isInstalledStartedWatchedStoppedAndRemoved) {
    configure("level=9\n");
    EXPECT_EQ(1, call("status"));
    EXPECT_TRUE(says("not installed")) << m_output;
    ASSERT_EQ(0, call("install")) << m_output;
    EXPECT_EQ(1, call("install"));
    EXPECT_TRUE(says("stopped")) << m_output;

    ASSERT_TRUE(m_managed.start({}));
    ASSERT_TRUE(m_managed.reaches(SERVICE_RUNNING)) << logText();
    EXPECT_EQ(0, call("status"));
    EXPECT_TRUE(says("running")) << m_output;
    drop("a.txt");
    EXPECT_TRUE(eventually([this] { return doneCount() == 1; }));
    EXPECT_EQ(0u, m_managed.control(SERVICE_CONTROL_STOP));
    ASSERT_TRUE(m_managed.reaches(SERVICE_STOPPED));
    EXPECT_TRUE(m_managed.processEnds());
    EXPECT_TRUE(logHas("1 done, 0 failed, 0 left"));
    EXPECT_TRUE(logHas("ServiceStopThread: stopIt returned with status=true"));

    EXPECT_EQ(0, call("remove")) << m_output;
    EXPECT_FALSE(m_managed.exists());
    EXPECT_EQ(1, call("remove"));
}

TEST_F(DropfolderServiceTest, aStopWaitsForTheCommandsThatRun) {
    configure(waitingCommand());
    drop("slow.txt");
    ASSERT_EQ(0, call("install")) << m_output;
    ASSERT_TRUE(m_managed.start({}));
    ASSERT_TRUE(eventually([this] { return runs("slow.txt") == 1; }));
    EXPECT_EQ(0u, m_managed.control(SERVICE_CONTROL_STOP));
    EXPECT_EQ(3u, m_managed.checkPoints(SERVICE_STOP_PENDING, 3).size());
    EXPECT_TRUE(says("stopping, check point ")) << m_output;
    go();
    EXPECT_TRUE(m_managed.reaches(SERVICE_STOPPED));
    EXPECT_TRUE(m_managed.processEnds());
    EXPECT_FALSE(done("slow.txt").empty());
}

TEST_F(DropfolderServiceTest, doesNotStartWithSettingsThatDoNotWorkAnyMore) {
    configure();
    ASSERT_EQ(0, call("install")) << m_output;
    configure("level=high\n");
    m_managed.start({});
    EXPECT_TRUE(m_managed.reaches(SERVICE_STOPPED));
    EXPECT_TRUE(m_managed.processEnds());
}

}  // namespace
}  // namespace dropfolder_test
