#include <OrvoFindFile.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <initializer_list>
#include <set>
#include <string>
#include <vector>

#include "os/FileSystemFacts.h"
#include "support/TempFolder.h"

namespace OrvoSupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using testing_support::TempFolder;
using testing_support::writeFile;

std::vector<string> all(OrvoFindFile& files) {
    std::vector<string> paths;
    while (files.hasMore()) paths.push_back(files.next());
    return paths;
}

std::vector<string> find(const string& pattern) {
    OrvoFindFile files(pattern);
    return all(files);
}

class OrvoFindFileTest : public testing::Test {
protected:
    void makeFiles(std::initializer_list<const char*> names) {
        for (const char* name : names) writeFile(folder.file(name), "");
    }
    /// The names that a pattern finds in the folder.
    std::vector<string> names(const string& pattern) {
        std::vector<string> found = find(folder.file(pattern));
        for (string& path : found) path.erase(0, folder.path().size() + 1);
        return found;
    }

    TempFolder folder;
};

TEST_F(OrvoFindFileTest, givesPathsOfTheEntriesThatMatch) {
    makeFiles({"a.job", "b.job", "c.txt"});

    EXPECT_THAT(find(folder.file("*.job")), ElementsAre(folder.path() + "/a.job", folder.path() + "/b.job"));
}

TEST_F(OrvoFindFileTest, hasNothingWhenNothingMatches) {
    makeFiles({"a.job"});
    OrvoFindFile files(folder.file("*.txt"));

    EXPECT_FALSE(files.hasMore());
    EXPECT_EQ("", files.next());
}

TEST_F(OrvoFindFileTest, hasNothingForPatternsThatCannotBeSearched) {
    makeFiles({"file"});
    std::filesystem::create_directory(folder.file("sub"));
    const string patterns[] = {"",
                               folder.file("missing/*"),
                               folder.file("file/*"),
                               folder.file("missing"),
                               folder.path() + "/",
                               folder.path() + "\\",
                               folder.file("sub/"),
                               folder.file("s*b/*")};
    for (const string& pattern : patterns) {
        SCOPED_TRACE(pattern);
        EXPECT_FALSE(OrvoFindFile(pattern).hasMore());
    }
}

TEST_F(OrvoFindFileTest, listsTheFolderItselfAndItsParent) {
    makeFiles({"a"});
    std::filesystem::create_directory(folder.file("sub"));

    EXPECT_THAT(names("*"), UnorderedElementsAre(".", "..", "a", "sub"));
    EXPECT_THAT(names("*.*"), UnorderedElementsAre(".", "..", "a", "sub"));
    EXPECT_THAT(names("a*"), ElementsAre("a"));
}

TEST_F(OrvoFindFileTest, matchesWildcardsInTheName) {
    makeFiles({"a.txt", "ab.txt", "abc", "b.c.d", ".hidden"});
    struct Case {
        const char* pattern;
        std::vector<string> expected;
    };
    const Case cases[] = {
        {"*.txt", {"a.txt", "ab.txt"}},
        {"a?c", {"abc"}},
        {"*b*", {"ab.txt", "abc", "b.c.d"}},
        {"a*c", {"abc"}},
        {"b.*", {"b.c.d"}},
        {"b*.?", {"b.c.d"}},
        {".h*", {".hidden"}},
        {"abc.*", {"abc"}},
        {"*y*", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pattern);
        const std::vector<string> found = names(c.pattern);
        EXPECT_THAT(found, testing::UnorderedElementsAreArray(c.expected));
    }
}

TEST_F(OrvoFindFileTest, findsTheEntryThatAPlainNameNames) {
    makeFiles({"x[1].txt", "{a,b}", "!c", "x1.txt", "a"});
    std::filesystem::create_directory(folder.file("sub"));

    for (const char* name : {"x[1].txt", "{a,b}", "!c", "sub"}) {
        SCOPED_TRACE(name);
        EXPECT_THAT(names(name), ElementsAre(name));
    }
    EXPECT_THAT(names("[a]"), IsEmpty());
    EXPECT_THAT(names("{a}"), IsEmpty());
}

TEST_F(OrvoFindFileTest, keepsTheDirectoryPartAsItWasWritten) {
    std::filesystem::create_directory(folder.file("sub"));
    writeFile(folder.file("sub/a.txt"), "");

    EXPECT_THAT(find(folder.path() + "\\sub\\*.txt"), ElementsAre(folder.path() + "\\sub/a.txt"));
    EXPECT_THAT(find(folder.path() + "//sub/./*.txt"), ElementsAre(folder.path() + "//sub/./a.txt"));
    EXPECT_THAT(find(folder.path() + "\\sub/a.txt"), ElementsAre(folder.path() + "\\sub/a.txt"));
}

TEST_F(OrvoFindFileTest, givesBareNamesForAPatternWithoutDirectory) {
    makeFiles({"a.txt"});
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    const std::vector<string> wild = find("*.txt");
    const std::vector<string> plain = find("a.txt");
    std::filesystem::current_path(before);

    EXPECT_THAT(wild, ElementsAre("a.txt"));
    EXPECT_THAT(plain, ElementsAre("a.txt"));
}

TEST_F(OrvoFindFileTest, givesPathsDirectlyUnderTheRoot) {
    OrvoFindFile files("/*");
    ASSERT_TRUE(files.hasMore());
    const string path = files.next();

    EXPECT_EQ('/', path[0]);
    EXPECT_EQ(0u, path.find_last_of("\\/"));
    EXPECT_GT(path.size(), 1u);
}

TEST_F(OrvoFindFileTest, copiesStartAgain) {
    makeFiles({"a.txt", "b.txt"});
    OrvoFindFile files(folder.file("*.txt"));
    files.next();
    makeFiles({"c.txt"});
    OrvoFindFile copy(files);
    OrvoFindFile assigned("");
    assigned = files;

    EXPECT_EQ(3u, all(copy).size());
    EXPECT_EQ(3u, all(assigned).size());
    EXPECT_EQ(folder.file("b.txt"), files.next());
}

TEST_F(OrvoFindFileTest, assignedToItselfStartsAgain) {
    makeFiles({"a.txt", "b.txt"});
    OrvoFindFile files(folder.file("*.txt"));
    all(files);
    const OrvoFindFile& same = files;
    files = same;

    EXPECT_EQ(2u, all(files).size());
}

TEST_F(OrvoFindFileTest, givesNothingPastTheEnd) {
    makeFiles({"a.txt"});
    OrvoFindFile files(folder.file("*.txt"));
    EXPECT_NE("", files.next());

    EXPECT_FALSE(files.hasMore());
    EXPECT_EQ("", files.next());
    EXPECT_EQ("", files.next());
    EXPECT_FALSE(files.hasMore());
}

TEST_F(OrvoFindFileTest, treatsCaseAsTheSystemDoes) {
    makeFiles({"Report.TXT"});

    EXPECT_EQ(!testing_support::namesAreCaseSensitive, OrvoFindFile(folder.file("*.txt")).hasMore());
    EXPECT_EQ(!testing_support::namesAreCaseSensitive, OrvoFindFile(folder.file("report.TXT")).hasMore());
    EXPECT_THAT(names("*.TXT"), ElementsAre("Report.TXT"));
}

TEST_F(OrvoFindFileTest, listsThousandsOfEntries) {
    for (int i = 0; i < 3000; ++i) writeFile(folder.file("entry" + std::to_string(i)), "");
    const std::vector<string> found = names("entry*");

    EXPECT_EQ(3000u, found.size());
    EXPECT_EQ(3000u, std::set<string>(found.begin(), found.end()).size());
}

TEST_F(OrvoFindFileTest, findsInFoldersWithLongPaths) {
    string path = folder.path();
    for (int i = 0; i < 30; ++i) path += "/0123456789";
    ASSERT_TRUE(OrvoCreateDirectory(path + "/inner"));

    EXPECT_THAT(find(path + "/inn*"), ElementsAre(path + "/inner"));
}

}  // namespace
}  // namespace OrvoSupport
