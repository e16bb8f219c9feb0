// Running programs: what holds on every system.
#include "OrvoProcess.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <iostream>

#include "os/ProcessTestSupport.h"
#include "os/SystemProbe.h"

using namespace OrvoSupport;
using namespace process_test;
using testing::AllOf;
using testing::ElementsAre;
using testing_support::readFile;
using testing_support::TempFolder;
using testing_support::writeFile;

OSUPT_CHILD(words) {
    for (const std::string& word : arguments) std::cout << "[" << word << "]\n";
    return 0;
}

OSUPT_CHILD(exitWith) { return std::stoi(arguments.at(0)); }

OSUPT_CHILD(echo) {
    std::cout << std::cin.rdbuf();
    return 0;
}

OSUPT_CHILD(waitForFile) {
    if (!appears(arguments.at(0))) return 1;
    writeFile(arguments.at(1), "");
    return 0;
}

OSUPT_CHILD(surroundings) {
    std::cout << std::getenv("OSUPT_TEST_VARIABLE") << "\n" << std::filesystem::current_path().string();
    return 0;
}

namespace {

const char missing[] = "osupt-there-is-no-such-program";

std::string outputOf(const std::string& commandLine) {
    const TempFolder folder;
    void* const output = system_probe::openOutput(folder.file("output"));
    EXPECT_TRUE(OrvoExecuteProgramEx(commandLine, own(), output, true, nullptr, nullptr));
    system_probe::closeStream(output);
    std::string text = readFile(folder.file("output"));
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    return text;
}

}  // namespace

TEST(OrvoExecuteProgram, givesTheExitCodeOfAnAwaitedProgram) {
    for (const int expected : {0, 1, 77, 255}) {
        int exitCode = 1234;
        EXPECT_TRUE(
            OrvoExecuteProgram(child("exitWith", std::to_string(expected)), true, nullptr, &exitCode));
        EXPECT_EQ(expected, exitCode);
    }
}

TEST(OrvoExecuteProgram, returnsAtOnceWithExitCodeZeroWhenNotAskedToWait) {
    const TempFolder folder;
    int exitCode = 1234;
    const string files = "\"" + folder.file("go") + "\" \"" + folder.file("gone") + "\"";

    EXPECT_TRUE(OrvoExecuteProgram(child("waitForFile", files), false, nullptr, &exitCode));

    EXPECT_EQ(0, exitCode);
    EXPECT_FALSE(std::filesystem::exists(folder.file("gone")));
    writeFile(folder.file("go"), "");
    EXPECT_TRUE(appears(folder.file("gone")));
}

TEST(OrvoExecuteProgram, needsNeitherProcessHandleNorExitCode) {
    EXPECT_TRUE(OrvoExecuteProgram(child("exitWith", "3"), true, nullptr, nullptr));
    EXPECT_FALSE(OrvoExecuteProgram(missing, true, nullptr, nullptr));
}

TEST(OrvoExecuteProgram, answersFalseAndMinusOneForAMissingProgram) {
    for (const bool wait : {false, true}) {
        int exitCode = 1234;
        void* handle = &exitCode;
        EXPECT_FALSE(OrvoExecuteProgram(missing, wait, &handle, &exitCode));
        EXPECT_EQ(-1, exitCode);
        EXPECT_EQ(nullptr, handle);
    }
}

TEST(OrvoExecuteProgram, answersFalseAndMinusOneForAFolderAndForNothing) {
    const TempFolder folder;
    for (const string& line : {string(), string(" "), "\"" + folder.path() + "\""}) {
        int exitCode = 1234;
        EXPECT_FALSE(OrvoExecuteProgram(line, true, nullptr, &exitCode)) << line;
        EXPECT_EQ(-1, exitCode);
    }
}

TEST(OrvoExecuteProgram, opensADocumentAndAnswersTrueAndZeroWhateverComesOfIt) {
    const TempFolder folder;
    const string document = folder.file("note.osuptdoc");
    writeFile(document, "This is no program.");
    const ScopedVariable path("PATH", folder.path());  // nothing there opens it
    const Recorder log(1);
    int exitCode = 1234;
    void* handle = &exitCode;

    EXPECT_TRUE(OrvoExecuteProgram(document, true, &handle, &exitCode));

    EXPECT_EQ(0, exitCode);
    EXPECT_EQ(nullptr, handle);
    EXPECT_THAT(
        log.records(),
        ElementsAre("1 OrvoExecuteProgram: Failed to start process. Error code :" +
                        std::to_string(system_probe::notAProgram),
                    AllOf(testing::StartsWith("1 OrvoExecuteProgram: Process started using ShellExecute. "),
                          testing::HasSubstr(" (Error code: "), testing::EndsWith(")"))));
}

TEST(OrvoExecuteProgram, handsOutAHandleThatTellsTheEnd) {
    const TempFolder folder;
    const string files = "\"" + folder.file("go") + "\" \"" + folder.file("gone") + "\"";
    void* handle = nullptr;

    ASSERT_TRUE(OrvoExecuteProgram(child("waitForFile", files), false, &handle, nullptr));
    ASSERT_NE(nullptr, handle);
    EXPECT_FALSE(system_probe::endsWithin(handle, 0));
    writeFile(folder.file("go"), "");
    EXPECT_TRUE(system_probe::endsWithin(handle, 30000));

    OrvoCloseProcessHandle(handle);
    OrvoCloseProcessHandle(nullptr);
}

TEST(OrvoExecuteProgram, handsOutAHandleOfAnAwaitedProgramToo) {
    void* handle = nullptr;
    int exitCode = 0;
    ASSERT_TRUE(OrvoExecuteProgram(child("exitWith", "5"), true, &handle, &exitCode));
    EXPECT_EQ(5, exitCode);
    EXPECT_TRUE(system_probe::endsWithin(handle, 0));
    OrvoCloseProcessHandle(handle);
}

TEST(OrvoExecuteProgram, letsTheProgramRunOnWhenItsHandleIsClosed) {
    const TempFolder folder;
    const string files = "\"" + folder.file("go") + "\" \"" + folder.file("gone") + "\"";
    void* handle = nullptr;
    ASSERT_TRUE(OrvoExecuteProgram(child("waitForFile", files), false, &handle, nullptr));
    OrvoCloseProcessHandle(handle);
    writeFile(folder.file("go"), "");
    EXPECT_TRUE(appears(folder.file("gone")));
}

TEST(OrvoExecuteProgram, recordsEveryStepOfAnAwaitedRun) {
    const Recorder log(9);
    OrvoExecuteProgram(child("exitWith", "0"), true, nullptr, nullptr);
    EXPECT_THAT(log.records(), ElementsAre("5 OrvoExecuteProgram: Execution Started.",
                                           "5 OrvoExecuteProgramEx: Execution Started.",
                                           "9 OrvoExecuteProgram: nCreateFlag = 0",
                                           "5 OrvoExecuteProgram: Wait for process to finish.",
                                           "5 OrvoExecuteProgram: Process done."));
}

TEST(OrvoExecuteProgram, recordsNoWaitingWhenItDoesNotWait) {
    const Recorder log(9);
    OrvoExecuteProgramEx(child("exitWith", "0"), own(), own(), false, nullptr, nullptr);
    EXPECT_THAT(log.records(), ElementsAre("5 OrvoExecuteProgramEx: Execution Started.",
                                           "9 OrvoExecuteProgram: nCreateFlag = 0"));
}

TEST(OrvoExecuteProgram, recordsTheErrorOfAFailedStart) {
    const Recorder log(5);
    OrvoExecuteProgram(missing, true, nullptr, nullptr);
    EXPECT_THAT(log.records(), ElementsAre("5 OrvoExecuteProgram: Execution Started.",
                                           "5 OrvoExecuteProgramEx: Execution Started.",
                                           "1 OrvoExecuteProgram: Failed to start process. Error code :2"));
}

TEST(OrvoExecuteProgram, recordsOnlyFailuresBelowLevelFive) {
    const Recorder log(4);
    EXPECT_TRUE(OrvoExecuteProgram(child("exitWith", "0"), true, nullptr, nullptr));
    EXPECT_FALSE(OrvoExecuteProgram(missing, true, nullptr, nullptr));
    EXPECT_THAT(log.records(), ElementsAre("1 OrvoExecuteProgram: Failed to start process. Error code :2"));
}

TEST(OrvoExecuteProgramEx, connectsTheGivenStreams) {
    const TempFolder folder;
    writeFile(folder.file("input"), "a line and no end");
    void* const input = system_probe::openInput(folder.file("input"));
    void* const output = system_probe::openOutput(folder.file("output"));

    EXPECT_TRUE(OrvoExecuteProgramEx(child("echo"), input, output, true, nullptr, nullptr));

    system_probe::closeStream(input);
    system_probe::closeStream(output);
    EXPECT_EQ("a line and no end", readFile(folder.file("output")));
}

TEST(OrvoExecuteProgramEx, passesEnvironmentAndCurrentFolderOn) {
    const ScopedVariable variable("OSUPT_TEST_VARIABLE", "its value");
    EXPECT_EQ("its value\n" + std::filesystem::current_path().string(), outputOf(child("surroundings")));
}

TEST(OrvoExecuteProgramEx, endsTheCommandLineAtItsFirstNul) {
    EXPECT_EQ("[a]\n", outputOf(child("words", "a") + string("\0b c", 4)));
}

TEST(OrvoExecuteProgramEx, passesTheArgumentsThatTheMicrosoftRuntimeMakesOfTheLine) {
    struct Case {
        const char* what;
        const char* line;
        const char* expected;
    };
    const Case cases[] = {
        {"nothing", "", ""},
        {"blanks and tabs separate", " a  b\tc\t ", "[a]\n[b]\n[c]\n"},
        {"quotes keep blanks", "\"a b\" \"c\td\"", "[a b]\n[c\td]\n"},
        {"an empty word", "\"\" a", "[]\n[a]\n"},
        {"quotes inside a word", "a\" b \"c d", "[a b c]\n[d]\n"},
        {"an unclosed quote", "\"a b  ", "[a b  ]\n"},
        {"apostrophes are ordinary", "'a b'", "['a]\n[b']\n"},
        {"backslashes without a quote", "a\\\\b \\\\server\\c\\", "[a\\\\b]\n[\\\\server\\c\\]\n"},
        {"three backslashes without a quote", "a\\\\\\b d\"e f\"g h", "[a\\\\\\b]\n[de fg]\n[h]\n"},
        {"a literal quote", "a\\\"b c", "[a\"b]\n[c]\n"},
        {"a literal quote inside quotes", "\"a\\\"b c\"", "[a\"b c]\n"},
        {"two backslashes and a quote", "\"a b\\\\\" c", "[a b\\]\n[c]\n"},
        {"three backslashes and a quote", "a\\\\\\\"b c", "[a\\\"b]\n[c]\n"},
        {"four backslashes and a quote", "a\\\\\\\\\"b c\" d", "[a\\\\b c]\n[d]\n"},
        {"two quotes inside quotes", "\"a\"\"b c\" d", "[a\"b c]\n[d]\n"},
        {"two quotes that end a line", "a\"b\"\" c d", "[ab\" c d]\n"},
        {"no shell reads it", "$HOME ; | & > < ` # ~ %PATH% (a) !",
         "[$HOME]\n[;]\n[|]\n[&]\n[>]\n[<]\n[`]\n[#]\n[~]\n[%PATH%]\n[(a)]\n[!]\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.expected, outputOf(child("words", c.line)));
    }
}
