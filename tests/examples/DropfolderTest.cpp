// The sample host from end to end, as the program a user starts: one pass over a folder.
#include <iterator>

#include "DropfolderFixture.h"

namespace dropfolder_test {
namespace {

using DropfolderTest = DropfolderFixture;

TEST_F(DropfolderTest, filesAwayWhatTheCommandAccepted) {
    configure();
    drop("plain.txt", "text\n");
    drop("with blanks & dots.tar.gz", "more\n");

    EXPECT_EQ(0, runOnce()) << m_output;
    EXPECT_EQ("text\n", readFile(done("plain.txt").string()));
    EXPECT_EQ("more\n", readFile(done("with blanks & dots.tar.gz").string()));
    EXPECT_FALSE(waits("plain.txt"));
    EXPECT_TRUE(logHas("2 done, 0 failed, 0 left"));
}

TEST_F(DropfolderTest, putsWhatTheCommandRefusedIntoFailed) {
    configure();
    drop("empty.txt", "");

    EXPECT_EQ(1, runOnce());
    EXPECT_TRUE(fs::exists(failed("empty.txt")));
    EXPECT_TRUE(logHas("exit code 1 of"));
}

TEST_F(DropfolderTest, putsWhatHasNoCommandToRunIntoFailed) {
    configure("command=there-is-no-such-program <FILE>\n");
    drop("a.txt");

    EXPECT_EQ(1, runOnce());
    EXPECT_TRUE(fs::exists(failed("a.txt")));
    EXPECT_TRUE(logHas("cannot start there-is-no-such-program"));
}

TEST_F(DropfolderTest, putsWhatNoProgramHasWorkedOnIntoFailed) {
    configure("command=\"" + m_folder.file("settings") + "\" <FILE>\n");
    drop("a.txt");

    EXPECT_EQ(1, runOnce());
    EXPECT_TRUE(fs::exists(failed("a.txt")));
    EXPECT_TRUE(logHas("is no program, or cannot be waited for: "));
}

TEST_F(DropfolderTest, leavesAFileThatIsWrittenAnewWhileItWaits) {
    configure(waitingCommand() + "workers=1\n");
    drop("a.txt");
    drop("b.txt");
    const auto process = start({"run", "--once"});
    EXPECT_TRUE(eventually([&] { return allRuns() == 1; })) << process->output();
    const std::string next = waits("a.txt") ? "a.txt" : "b.txt";
    drop(next, "another text\n");
    go();

    EXPECT_EQ(1, process->wait()) << process->output();
    EXPECT_TRUE(waits(next));
    EXPECT_TRUE(logHas(next + ": has changed since it was seen, left where it is"));
    EXPECT_TRUE(logHas("1 done, 0 failed, 1 left"));
}

TEST_F(DropfolderTest, takesOnlyFilesThatMatch) {
    configure("pattern=*.csv\n");
    drop("a.csv");
    drop("b.txt");
    fs::create_directory(m_inbox + "/folder.csv");

    EXPECT_EQ(0, runOnce()) << m_output;
    EXPECT_FALSE(done("a.csv").empty());
    EXPECT_TRUE(waits("b.txt"));
    EXPECT_TRUE(fs::is_directory(m_inbox + "/folder.csv"));
}

TEST_F(DropfolderTest, neverOverwritesAnEarlierFileOfTheSameName) {
    configure();
    drop("a.txt", "first\n");
    runOnce();
    drop("a.txt", "second\n");
    runOnce();

    const auto days = std::distance(fs::directory_iterator(m_inbox + "/done"), {});
    if (days > 1) GTEST_SKIP() << "the date has changed meanwhile";
    EXPECT_EQ("first\n", readFile(done("a.txt").string()));
    EXPECT_EQ("second\n", readFile(done("a.txt.2").string()));
}

TEST_F(DropfolderTest, filesAwayWhatTheCommandMadeBesideTheFile) {
    // The folder of the first file that a first run works on is known, so the notes go there.
    configure("command=\"" + programBesideThis("note-run") + "\" \"" + claims("1/1").string() +
              "\" <FILE> 0\n");
    drop("a.txt");

    EXPECT_EQ(0, runOnce()) << m_output;
    EXPECT_FALSE(done("a.txt").empty());
    EXPECT_FALSE(done("a.txt.1").empty());
    EXPECT_TRUE(fs::is_empty(claims("1")));
}

TEST_F(DropfolderTest, endsACommandThatTakesTooLong) {
    configure(waitingCommand() + "timeout=1\n");
    drop("slow.txt");

    EXPECT_EQ(1, runOnce());
    EXPECT_TRUE(fs::exists(failed("slow.txt")));
    EXPECT_TRUE(logHas("ended after 1 seconds: "));
    EXPECT_GE(1, runs("slow.txt"));  // it may have been ended before it made its note
}

TEST_F(DropfolderTest, leavesACommandAloneThatIsInTime) {
    configure(noteCommand("10") + "timeout=600\n");
    drop("quick.txt");
    EXPECT_EQ(0, runOnce()) << m_output;
    EXPECT_FALSE(done("quick.txt").empty());
}

TEST_F(DropfolderTest, doesNotRunAFileAgainThatAKilledRunLeftUnfinished) {
    configure(noteCommand());
    for (const char* place : {"1/1", "1/7", "3/1"}) fs::create_directories(claims(place));
    writeFile(claims("3.lock").string(), "");
    writeFile(claims("1/7/half.txt").string(), "text\n");
    writeFile(claims("3/1/other.txt").string(), "text\n");
    writeFile(claims("3/1/other.txt.gz").string(), "packed\n");

    EXPECT_EQ(1, runOnce());
    for (const char* name : {"half.txt", "other.txt", "other.txt.gz"}) {
        EXPECT_TRUE(fs::exists(failed(name))) << name;
        EXPECT_TRUE(logHas(name + std::string(": an earlier run was cut short"))) << name;
    }
    EXPECT_TRUE(logHas("0 done, 2 failed, 0 left"));
    EXPECT_EQ(0u, allRuns());
    EXPECT_TRUE(fs::is_empty(claims("3")));
}

TEST_F(DropfolderTest, writesTheSameRecordsToTheLogAndToStandardOutput) {
    configure();
    EXPECT_EQ(0, runOnce());
    EXPECT_NE("", logText());
    EXPECT_NE(std::string::npos, m_output.find(logText()));
}

TEST_F(DropfolderTest, namesWhatIsWrongWithItsSettings) {
    struct Case {
        const char* settings;
        const char* message;
    };
    const Case cases[] = {
        {"command=\n", "lacks the setting command"},
        {"watch=\n", "lacks the setting watch"},
        {"level=high\n", "level must be a number from 0 to 9, not high"},
        {"interval=0\n", "interval must be a number from 1 to 86400, not 0"},
        {"interval=1.5\n", "interval must be a number from 1 to 86400, not 1.5"},
        {"workers=65\n", "workers must be a number from 1 to 64, not 65"},
        {"workers=\n", "workers must be a number from 1 to 64, not "},
        {"timeout=-1\n", "timeout must be a number from 0 to 604800, not -1"},
        {"log=<nothing>\n", "in the setting log: "},
        {"log=<a>/log\na=<b>\nb=x<a>\n", "the setting a refers to itself"},
        {"log=<open>log>\nopen=<\n", "the setting log refers to itself"},
        {"timeout=99999999999999999999\n", "timeout must be a number from 0 to 604800"},
    };
    for (const Case& c : cases) {
        configure(c.settings);
        EXPECT_EQ(2, runOnce()) << c.settings;
        EXPECT_NE(std::string::npos, m_output.find(c.message)) << m_output;
    }
    fs::remove(m_folder.file("settings"));
    EXPECT_EQ(2, runOnce());
    EXPECT_NE(std::string::npos, m_output.find("cannot read the property file")) << m_output;
}

TEST_F(DropfolderTest, expandsReferencesToOtherSettings) {
    configure("kind=csv\nready=ready.<kind>\npattern=*.<ready>\nhow=\"" + programBesideThis("inspect") +
              "\"\ncommand=<how> <FILE>\n");
    drop("a.ready.csv");
    drop("b.csv");
    EXPECT_EQ(0, runOnce()) << m_output;
    EXPECT_FALSE(done("a.ready.csv").empty());
    EXPECT_TRUE(waits("b.csv"));
}

// A name may begin in the value of another setting, and each value may name the next of very many.
TEST_F(DropfolderTest, expandsAnyReferencesThatComeToAnEnd) {
    std::string settings = "open=<\nkind=csv\npattern=*.<s0>\n";
    for (int i = 0; i < 10000; ++i)
        settings += "s" + std::to_string(i) + "=<s" + std::to_string(i + 1) + ">\n";
    configure(settings + "s10000=<open>kind>\n");
    drop("a.csv");
    drop("b.txt");
    EXPECT_EQ(0, runOnce()) << m_output;
    EXPECT_FALSE(done("a.csv").empty());
    EXPECT_TRUE(waits("b.txt"));
}

TEST_F(DropfolderTest, saysWhichFolderItCannotMake) {
    writeFile(m_folder.file("file"), "");
    configure("watch=" + m_folder.file("file") + "\n");
    EXPECT_EQ(2, runOnce());
    EXPECT_NE(std::string::npos, m_output.find("cannot make the folder " + m_folder.file("file")))
        << m_output;
}

TEST_F(DropfolderTest, showsItsUsageWhenCalledWrongly) {
    const auto process = start({"run", "--nonsense"});
    EXPECT_EQ(2, process->wait(60));
    EXPECT_NE(std::string::npos, process->output().find("Unrecognized option: --nonsense"));
}

TEST_F(DropfolderTest, saysThatAServiceIsNotThere) {
    const auto process = start({"status", "--name=there-is-no-such-service"});
    EXPECT_EQ(1, process->wait(60));
    EXPECT_NE(std::string::npos, process->output().find("there-is-no-such-service: "));
}

TEST_F(DropfolderTest, installsNoServiceWithSettingsThatDoNotWork) {
    configure("level=high\n");
    const auto process = start({"install", "--name=there-is-no-such-service"});
    EXPECT_EQ(2, process->wait(60));
    EXPECT_NE(std::string::npos, process->output().find("level must be a number"));
}

TEST_F(DropfolderTest, takesOnlyPlainNamesForServices) {
    configure();
    for (const char* name : {"--name=a b", "--name=../x", "--name=", "--name=-x"}) {
        const auto process = start({"status", name});
        EXPECT_EQ(2, process->wait(60)) << process->output();
    }
}

TEST_F(DropfolderTest, doesNothingAsAServiceThatNoControlManagerHasStarted) {
    configure();
    drop("a.txt");
    const auto process = start({"service"});
    EXPECT_EQ(0, process->wait(60));
    EXPECT_TRUE(waits("a.txt"));
}

}  // namespace
}  // namespace dropfolder_test
