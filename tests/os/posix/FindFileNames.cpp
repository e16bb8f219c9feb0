// Names and orders that only Linux has.
#include <OrvoFindFile.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include "support/TempFolder.h"

namespace OrvoSupport {
namespace {

using testing::ElementsAre;
using testing_support::TempFolder;
using testing_support::writeFile;

std::vector<string> names(const TempFolder& folder, const string& pattern) {
    std::vector<string> found;
    for (OrvoFindFile files(folder.file(pattern)); files.hasMore();)
        found.push_back(files.next().substr(folder.path().size() + 1));
    return found;
}

TEST(FindFileNamesTest, comeInByteOrder) {
    const TempFolder folder;
    for (const char* name : {"b", "a10", "B", "a2", "a", "\xC3\xA4", "!x", "~", "a.txt", ".b"})
        writeFile(folder.file(name), "");

    EXPECT_THAT(names(folder, "*"),
                ElementsAre("!x", ".", "..", ".b", "B", "a", "a.txt", "a10", "a2", "b", "~", "\xC3\xA4"));
}

TEST(FindFileNamesTest, comeInByteOrderBehindALongCommonStart) {
    const TempFolder folder;
    const string start = "a-long-start-that-all-names-share-";
    for (const char* end : {"10000000x", "10000000", "9", "", "10000000a", "\xFF", "1"})
        writeFile(folder.file(start + end), "");

    EXPECT_THAT(names(folder, "a-*"), ElementsAre(start, start + "1", start + "10000000", start + "10000000a",
                                                  start + "10000000x", start + "9", start + "\xFF"));
}

TEST(FindFileNamesTest, mayHoldAnyByte) {
    const TempFolder folder;
    const std::vector<string> odd = {"\n", " ", "back\\slash", "\xFF\xFE", "\xC3\xA4"};
    for (const string& name : odd) writeFile(folder.file(name), "");
    std::vector<string> found = names(folder, "*");
    found.erase(found.begin() + 2, found.begin() + 4);

    EXPECT_EQ(odd, std::vector<string>({found[0], found[1], found[2], found[4], found[3]}));
    EXPECT_THAT(names(folder, "\xC3?"), ElementsAre("\xC3\xA4"));
}

TEST(FindFileNamesTest, includeLinksThatLeadNowhere) {
    const TempFolder folder;
    ASSERT_EQ(0, ::symlink("nowhere", folder.file("link").c_str()));

    EXPECT_THAT(names(folder, "li*"), ElementsAre("link"));
    EXPECT_THAT(names(folder, "link"), ElementsAre("link"));
}

TEST(FindFileNamesTest, areThoseAtConstruction) {
    const TempFolder folder;
    writeFile(folder.file("a"), "");
    OrvoFindFile files(folder.file("?"));
    writeFile(folder.file("b"), "");
    files.next();

    EXPECT_EQ(folder.file("a"), files.next());
    EXPECT_FALSE(files.hasMore());
}

TEST(FindFileNamesTest, leaveNoDescriptorOpen) {
    const TempFolder folder;
    const int before = ::dup(0);
    ::close(before);
    OrvoFindFile files(folder.file("*"));
    const int after = ::dup(0);
    ::close(after);

    EXPECT_TRUE(files.hasMore());
    EXPECT_EQ(before, after);
}

}  // namespace
}  // namespace OrvoSupport
