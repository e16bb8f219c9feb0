// The sample host from end to end, as the program a user starts.
#include <gtest/gtest.h>

#include <filesystem>

#include "support/ChildProcess.h"
#include "support/TempFolder.h"

namespace {

namespace fs = std::filesystem;
using testing_support::ChildProcess;
using testing_support::Command;
using testing_support::readFile;
using testing_support::TempFolder;
using testing_support::writeFile;

const std::string suffix = fs::path(testing_support::programPath()).extension().string();

std::string programBesideThis(const std::string& name) {
    return (fs::path(testing_support::programPath()).parent_path() / (name + suffix)).string();
}

class DropfolderTest : public testing::Test {
protected:
    DropfolderTest() { fs::create_directory(m_inbox); }

    void configure(const std::string& more = "") {
        writeFile(m_folder.file("settings"), "watch=" + m_inbox + "\ncommand=\"" +
                                                 programBesideThis("inspect") +
                                                 "\" <FILE>\nlog=" + m_folder.file("agent") + "\n" + more);
    }

    int run() {
        ChildProcess process(
            Command{programBesideThis("dropfolder"), {"run", "--config=" + m_folder.file("settings")}});
        const int exitCode = process.wait(60);
        m_output = process.output();
        return exitCode;
    }

    /// The file's only copy below done/<date>/, or an empty path.
    fs::path done(const std::string& name) {
        for (const auto& day : fs::directory_iterator(m_inbox + "/done"))
            if (fs::exists(day.path() / name)) return day.path() / name;
        return {};
    }

    std::string logText() { return readFile(m_folder.file("agent.log")); }

    TempFolder m_folder;
    const std::string m_inbox = m_folder.file("inbox");
    std::string m_output;
};

TEST_F(DropfolderTest, filesAwayWhatTheCommandAccepted) {
    configure();
    writeFile(m_inbox + "/plain.txt", "text\n");
    writeFile(m_inbox + "/with blanks & dots.tar.gz", "more\n");

    EXPECT_EQ(0, run()) << m_output;
    EXPECT_EQ("text\n", readFile(done("plain.txt").string()));
    EXPECT_EQ("more\n", readFile(done("with blanks & dots.tar.gz").string()));
    EXPECT_FALSE(fs::exists(m_inbox + "/plain.txt"));
    EXPECT_NE(std::string::npos, logText().find("2 done, 0 failed, 0 left"));
}

TEST_F(DropfolderTest, putsWhatTheCommandRefusedIntoFailed) {
    configure();
    writeFile(m_inbox + "/empty.txt", "");

    EXPECT_EQ(1, run());
    EXPECT_TRUE(fs::exists(m_inbox + "/failed/empty.txt"));
    EXPECT_NE(std::string::npos, logText().find("exit code 1 of"));
}

TEST_F(DropfolderTest, takesOnlyFilesThatMatch) {
    configure("pattern=*.csv\n");
    writeFile(m_inbox + "/a.csv", "1\n");
    writeFile(m_inbox + "/b.txt", "2\n");
    fs::create_directory(m_inbox + "/folder.csv");

    EXPECT_EQ(0, run()) << m_output;
    EXPECT_FALSE(done("a.csv").empty());
    EXPECT_TRUE(fs::exists(m_inbox + "/b.txt"));
    EXPECT_TRUE(fs::is_directory(m_inbox + "/folder.csv"));
}

TEST_F(DropfolderTest, neverOverwritesAnEarlierFileOfTheSameName) {
    configure();
    writeFile(m_inbox + "/a.txt", "first\n");
    run();
    writeFile(m_inbox + "/a.txt", "second\n");
    run();

    EXPECT_EQ("first\n", readFile(done("a.txt").string()));
    EXPECT_EQ("second\n", readFile(done("a.txt.2").string()));
}

TEST_F(DropfolderTest, doesNotRunAFileTwiceThatAnEarlierRunLeftUnfinished) {
    configure();
    const std::string unfinished = m_inbox + "/work";
    fs::create_directory(unfinished);
    writeFile(unfinished + "/half.txt", "text\n");

    EXPECT_EQ(1, run());
    EXPECT_TRUE(fs::exists(m_inbox + "/failed/half.txt"));
    EXPECT_NE(std::string::npos, logText().find("half.txt: an earlier run was cut short"));
}

TEST_F(DropfolderTest, writesTheSameRecordsToTheLogAndToStandardOutput) {
    configure();
    EXPECT_EQ(0, run());
    EXPECT_NE("", logText());
    EXPECT_NE(std::string::npos, m_output.find(logText()));
}

TEST_F(DropfolderTest, namesWhatIsWrongWithItsSettings) {
    writeFile(m_folder.file("settings"), "watch=" + m_inbox + "\n");
    EXPECT_EQ(2, run());
    EXPECT_NE(std::string::npos, m_output.find("lacks the setting command")) << m_output;

    configure("level=high\n");
    EXPECT_EQ(2, run());
    EXPECT_NE(std::string::npos, m_output.find("level must be a number from 0 to 9")) << m_output;
}

TEST_F(DropfolderTest, showsItsUsageWhenCalledWrongly) {
    ChildProcess process(Command{programBesideThis("dropfolder"), {"run", "--nonsense"}});
    EXPECT_EQ(2, process.wait(60));
    EXPECT_NE(std::string::npos, process.output().find("dropfolder run [--config=FILE]"));
}

}  // namespace
