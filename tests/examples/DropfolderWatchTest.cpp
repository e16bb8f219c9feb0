// The sample host that watches its folder until it is told to stop.
#include <system_error>

#include "DropfolderFixture.h"
#include "OtherProcess.h"

namespace dropfolder_test {
namespace {

class DropfolderWatchTest : public DropfolderFixture {
protected:
    /// Starts watching, and returns when its folders are there.
    std::unique_ptr<ChildProcess> watchWithFolders() {
        auto process = watch();
        EXPECT_TRUE(eventually([this] { return fs::exists(claims("1")); })) << process->output();
        return process;
    }
};

TEST_F(DropfolderWatchTest, takesFilesThatComeLater) {
    configure();
    const auto process = watch();
    for (const char* name : {"first.txt", "second.txt"}) {
        drop(name);
        EXPECT_TRUE(eventually([&] { return !done(name).empty(); })) << process->output();
    }
    EXPECT_TRUE(process->running());
}

TEST_F(DropfolderWatchTest, recoversWhatAnotherOneLeavesMeanwhile) {
    configure(waitingCommand());
    drop("a.txt");
    const auto victim = start({"run", "--once"});
    EXPECT_TRUE(eventually([&] { return runs("a.txt") == 1; }));

    configure(noteCommand() + "log=" + m_folder.file("second") + "\n");
    const auto process = watch();
    drop("b.txt");
    EXPECT_TRUE(eventually([&] { return !done("b.txt").empty(); }));
    EXPECT_FALSE(fs::exists(failed("a.txt")));

    victim->kill();
    EXPECT_TRUE(eventually([&] { return fs::exists(failed("a.txt")); }));
    go();
    EXPECT_NE(std::string::npos, process->output().find("a.txt: an earlier run was cut short"));
    EXPECT_EQ(1, runs("a.txt"));
}

TEST_F(DropfolderWatchTest, saysOnceThatItCannotTakeAFileAndTakesItWhenItCan) {
    configure("workers=1\nlevel=3\n");
    prepareToStop();
    const auto process = watchWithFolders();
    const auto clear = [this] {  // an instance that looks there at this moment keeps Windows from it
        std::error_code error;
        fs::remove(claims("1"), error);
        return !error;
    };
    EXPECT_TRUE(eventually(clear));
    writeFile(claims("1").string(), "in the way\n");
    const auto timesSaid = [this](const std::string& name) {
        const std::string records = logText();
        const std::string record = name + ": dropfolder: cannot make a folder in ";
        int count = 0;
        for (std::size_t at = 0; (at = records.find(record, at)) != std::string::npos; ++at) ++count;
        return count;
    };
    for (const char* name : {"a.txt", "b.txt", "c.txt"}) {  // by then the earlier ones were tried again
        drop(name);
        EXPECT_TRUE(eventually([&] { return timesSaid(name) == 1; })) << process->output();
    }
    EXPECT_EQ(1, timesSaid("a.txt"));

    EXPECT_TRUE(eventually(clear));
    EXPECT_TRUE(eventually([&] { return doneCount() == 3; })) << process->output();
    if (!stop(*process, Stop::interrupt)) return;
    EXPECT_EQ(0, process->wait());
    EXPECT_TRUE(logHas("3 done, 0 failed, 0 left"));
}

TEST_F(DropfolderWatchTest, saysWhereAFileStaysThatCannotBeFiledAway) {
    configure("pattern=*.txt\n");
    const auto process = watchWithFolders();
    fs::remove_all(m_inbox + "/done");
    writeFile(m_inbox + "/done", "in the way\n");
    drop("a.txt");
    EXPECT_TRUE(eventually([&] { return logHas(", stays in " + m_inbox + "/work" + "/1/"); }));
    EXPECT_TRUE(process->running());
}

TEST_F(DropfolderWatchTest, saysOnceThatItCannotRecoverAFile) {
    configure("pattern=*.txt\nlevel=3\n");
    prepareToStop();
    const auto process = watchWithFolders();
    fs::remove_all(m_inbox + "/failed");
    writeFile(m_inbox + "/failed", "in the way\n");
    fs::create_directory(claims("7"));
    writeFile(claims("7.lock").string(), "");
    for (const char* name : {"old.txt", "older.txt"}) {  // by then the first one was found again
        fs::create_directory(m_folder.file(name));
        writeFile(m_folder.file(name) + "/" + name, "text\n");
        fs::rename(m_folder.file(name), claims("7") / name);
        EXPECT_TRUE(eventually([&] { return logHas(name + std::string(": cannot be moved to ")); }));
    }
    const std::string records = logText();
    const std::string record = "] old.txt: cannot be moved to ";
    EXPECT_EQ(records.find(record), records.rfind(record));

    if (!stop(*process, Stop::interrupt)) return;
    EXPECT_EQ(0, process->wait());
    EXPECT_TRUE(logHas("0 done, 0 failed, 2 left"));
}

class DropfolderStopTest : public DropfolderFixture, public testing::WithParamInterface<Stop> {
protected:
    DropfolderStopTest() { prepareToStop(); }
};

TEST_P(DropfolderStopTest, finishesWhatRunsAndLeavesTheRest) {
    configure(waitingCommand() + "workers=1\n");
    for (const char* name : {"a.txt", "b.txt", "c.txt"}) drop(name);
    const auto process = watch();
    EXPECT_TRUE(eventually([&] { return allRuns() == 1; })) << process->output();
    if (!stop(*process, GetParam())) {
        go();
        GTEST_SKIP() << "the system does not send this one (Wine: Ctrl+Break)";
    }
    EXPECT_TRUE(eventually([&] { return logHas("takes no more files"); }));
    EXPECT_TRUE(process->running());
    go();

    EXPECT_EQ(0, process->wait()) << process->output();
    EXPECT_EQ(1u, doneCount());
    EXPECT_EQ(1u, allRuns());
    EXPECT_EQ(2, waits("a.txt") + waits("b.txt") + waits("c.txt"));
    EXPECT_TRUE(logHas("1 done, 0 failed, 0 left"));
}

TEST_P(DropfolderStopTest, endsAPassEarly) {
    configure(waitingCommand() + "workers=2\n");
    for (const char* name : {"a.txt", "b.txt", "c.txt"}) drop(name);
    const auto process = start({"run", "--once"});
    EXPECT_TRUE(eventually([&] { return allRuns() == 2; })) << process->output();
    if (!stop(*process, GetParam())) {
        go();
        GTEST_SKIP() << "the system does not send this one (Wine: Ctrl+Break)";
    }
    EXPECT_TRUE(eventually([&] { return logHas("takes no more files"); }));
    go();

    EXPECT_EQ(0, process->wait()) << process->output();
    EXPECT_EQ(2u, doneCount());
}

TEST_P(DropfolderStopTest, endsInOrderHoweverOftenItIsToldTo) {
    configure();
    const auto process = watch();
    while (process->running())
        if (!stop(*process, GetParam()))
            GTEST_SKIP() << "the system does not send this one (Wine: Ctrl+Break)";
    EXPECT_EQ(0, process->wait());
}

INSTANTIATE_TEST_SUITE_P(EachWay, DropfolderStopTest, testing::Values(Stop::interrupt, Stop::terminate),
                         [](const auto& how) {
                             return how.param == Stop::interrupt ? "interrupt" : "terminate";
                         });

}  // namespace
}  // namespace dropfolder_test
