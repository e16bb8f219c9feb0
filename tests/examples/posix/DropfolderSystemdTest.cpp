// The sample host as a service under a real systemd, from its installation to its removal.
#include "../DropfolderFixture.h"
#include "service/posix/BootedSystemd.h"

namespace dropfolder_test {
namespace {

using service_testing::BootedSystemd;

constexpr const char* name = "osupt-dropfolder";

class DropfolderSystemdTest : public testing::Test {
protected:
    static void SetUpTestSuite() { s_systemd = std::make_unique<BootedSystemd>(); }
    static void TearDownTestSuite() { s_systemd.reset(); }
    void SetUp() override {
        if (!s_systemd->reason().empty())
            GTEST_SKIP() << "no systemd can be booted here: " << s_systemd->reason();
        fs::create_directories(m_folder / "inbox");
        fs::create_directory(m_folder / "runs");
        configure("");
        ASSERT_EQ(0, call("install")) << m_output;
    }
    void TearDown() override {
        if (!s_systemd->reason().empty()) return;
        call("remove");
        s_systemd->systemctl({"reset-failed"});
        fs::remove_all(m_folder);
    }

    void configure(const std::string& more) const {
        writeFile((m_folder / "settings").string(),
                  "watch=" + (m_folder / "inbox").string() + "\nlog=agent\nlevel=9\ninterval=1\ncommand=\"" +
                      programBesideThis("note-run") + "\" \"" + (m_folder / "runs").string() +
                      "\" <FILE> go\n" + more);
    }
    /// Runs dropfolder with this action and returns its exit code.
    int call(const std::string& action) {
        const BootedSystemd::Answer answer =
            s_systemd->run({programBesideThis("dropfolder"), action, std::string("--name=") + name,
                            "--config=" + (m_folder / "settings").string()});
        m_output = answer.output;
        return answer.exitCode;
    }
    bool says(const std::string& text) {
        call("status");
        return m_output.find(std::string(name) + ": " + text) == 0;
    }
    static int systemctl(const std::string& verb) { return s_systemd->systemctl({verb, name}).exitCode; }

    void drop(const std::string& file) const {
        // Moved into place, so that no scan sees half of it.
        writeFile((m_folder / file).string(), "text\n");
        fs::rename(m_folder / file, m_folder / "inbox" / file);
    }
    bool runs(const std::string& file) const { return fs::exists(m_folder / "runs" / (file + ".1")); }
    void go() const { fs::create_directory(m_folder / "runs" / "go"); }
    bool isDone(const std::string& file) const {
        const fs::path days = m_folder / "inbox" / "done";
        if (!fs::exists(days)) return false;
        for (const auto& day : fs::directory_iterator(days))
            if (fs::exists(day.path() / file)) return true;
        return false;
    }
    bool logHas(const std::string& text) const {
        return readFile((m_folder / "agent.log").string()).find(text) != std::string::npos;
    }

    static std::unique_ptr<BootedSystemd> s_systemd;
    const fs::path m_folder = fs::path(s_systemd->exchange()) / "drop folder";
    std::string m_output;
};
std::unique_ptr<BootedSystemd> DropfolderSystemdTest::s_systemd;

TEST_F(DropfolderSystemdTest, isInstalledStartedWatchedStoppedAndRemoved) {
    EXPECT_EQ(1, call("install"));
    EXPECT_TRUE(says("inactive (dead)")) << m_output;
    ASSERT_EQ(0, systemctl("start"));
    EXPECT_EQ(0, call("status"));
    EXPECT_TRUE(says("active (running)")) << m_output;
    go();
    drop("a.txt");
    EXPECT_TRUE(eventually([this] { return isDone("a.txt"); }));
    EXPECT_EQ(0, systemctl("stop"));
    EXPECT_TRUE(says("inactive (dead)")) << m_output;
    EXPECT_TRUE(logHas("1 done, 0 failed, 0 left"));
    EXPECT_TRUE(logHas("ServiceStopThread: stopIt returned with status=true"));

    EXPECT_EQ(0, call("remove")) << m_output;
    EXPECT_EQ(1, call("status"));
    EXPECT_TRUE(says("not installed")) << m_output;
    EXPECT_EQ(1, call("remove"));
}

TEST_F(DropfolderSystemdTest, aStopWaitsForTheCommandsThatRun) {
    ASSERT_EQ(0, systemctl("start"));
    drop("slow.txt");
    ASSERT_TRUE(eventually([this] { return runs("slow.txt"); }));
    EXPECT_EQ(0, s_systemd->systemctl({"stop", "--no-block", name}).exitCode);
    EXPECT_TRUE(eventually([this] { return says("deactivating"); })) << m_output;
    EXPECT_FALSE(isDone("slow.txt"));
    go();
    EXPECT_TRUE(eventually([this] { return says("inactive (dead)"); })) << m_output;
    EXPECT_TRUE(isDone("slow.txt"));
}

TEST_F(DropfolderSystemdTest, isStoppedWhenItIsRemoved) {
    ASSERT_EQ(0, systemctl("start"));
    EXPECT_EQ(0, call("remove")) << m_output;
    EXPECT_TRUE(logHas("0 done, 0 failed, 0 left"));
    EXPECT_TRUE(says("not installed")) << m_output;
}

TEST_F(DropfolderSystemdTest, doesNotStartWithSettingsThatDoNotWorkAnyMore) {
    configure("level=high\n");
    EXPECT_NE(0, systemctl("start"));
    EXPECT_FALSE(says("active (running)")) << m_output;
}

}  // namespace
}  // namespace dropfolder_test
