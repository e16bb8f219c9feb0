// The sample host killed at any moment, and two of them on one folder: no file is lost, and none run twice.
#include <chrono>
#include <random>
#include <thread>

#include "DropfolderFixture.h"

namespace dropfolder_test {
namespace {

class DropfolderKillTest : public DropfolderFixture {
protected:
    std::vector<std::string> dropFiles(int count) {
        std::vector<std::string> names;
        for (int i = 0; i < count; ++i) {
            names.push_back("file" + std::to_string(++m_dropped) + ".txt");
            drop(names.back());
        }
        return names;
    }

    /// Every file dropped so far stands in one place; one that is done was run once, one that failed at most
    /// once, and the records tell why.
    void expectAllAccountedFor(const std::string& records) const {
        for (int i = 1; i <= m_dropped; ++i) {
            const std::string name = "file" + std::to_string(i) + ".txt";
            const bool isDone = !done(name).empty();
            const bool hasFailed = fs::exists(failed(name));
            EXPECT_TRUE(isDone != hasFailed) << name << " done: " << isDone << ", failed: " << hasFailed;
            EXPECT_FALSE(waits(name)) << name;
            if (isDone) {
                EXPECT_EQ(1, runs(name)) << name;
            }
            EXPECT_GE(1, runs(name)) << name;
            if (hasFailed) {
                EXPECT_NE(std::string::npos, records.find(name + ": an earlier run was cut short")) << name;
            }
        }
    }

    int m_dropped = 0;
};

// KILLS says how often.
TEST_F(DropfolderKillTest, losesNothingAndRunsNothingTwiceWhenKilledAtRandomMoments) {
    configure(noteCommand("1"));
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> microseconds(0, KILL_WITHIN_MS * 1000);
    std::string records;
    for (int kill = 0; kill < KILLS; ++kill) {
        dropFiles(5);
        const auto process = start({"run", "--once"});
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
        process->kill();
        process->wait();
        records += process->output();
    }
    // What the system still has to take from the last one killed is there a little later.
    EXPECT_TRUE(eventually([&] {
        runOnce();
        records += m_output;
        for (const auto& place : fs::directory_iterator(m_inbox + "/work"))
            if (place.is_directory() && !fs::is_empty(place.path())) return false;
        return true;
    }));
    expectAllAccountedFor(records);
}

TEST_F(DropfolderKillTest, saysOfAFileThatItsRunWasCutShortAndDoesNotRunItAgain) {
    configure(waitingCommand());
    dropFiles(1);
    const auto process = start({"run", "--once"});
    EXPECT_TRUE(eventually([&] { return runs("file1.txt") == 1; }));
    process->kill();
    process->wait();
    EXPECT_TRUE(fs::exists(claims("1/1/file1.txt")));

    EXPECT_TRUE(eventually([&] { return runOnce() == 1; })) << m_output;
    go();
    expectAllAccountedFor(m_output);
    EXPECT_EQ(1, runs("file1.txt"));
}

TEST_F(DropfolderKillTest, leavesAloneWhatALivingOneWorksOn) {
    configure(waitingCommand());
    dropFiles(1);
    const auto other = start({"run", "--once"});
    EXPECT_TRUE(eventually([&] { return runs("file1.txt") == 1; }));

    configure(noteCommand() + "log=" + m_folder.file("second") + "\n");
    EXPECT_EQ(0, runOnce()) << m_output;
    go();
    EXPECT_EQ(0, other->wait());
    EXPECT_FALSE(done("file1.txt").empty());
    EXPECT_EQ(1, runs("file1.txt"));
}

TEST_F(DropfolderKillTest, sharesAFolderWithAnotherOne) {
    dropFiles(FILES_FOR_TWO);
    configure(noteCommand());
    const auto first = start({"run", "--once"});
    EXPECT_TRUE(eventually([&] { return logHas("worker 1: begins"); }));
    configure(noteCommand() + "log=" + m_folder.file("second") + "\n");
    const auto second = start({"run", "--once"});

    EXPECT_EQ(0, first->wait()) << first->output();
    EXPECT_EQ(0, second->wait()) << second->output();
    expectAllAccountedFor("");
    EXPECT_EQ(static_cast<std::size_t>(m_dropped), allRuns());
}

}  // namespace
}  // namespace dropfolder_test
