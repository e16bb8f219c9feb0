// Values of the machine-wide registry.
#include <gtest/gtest.h>

#include <algorithm>

#include "OrvoException.h"
#include "OrvoExpandString.h"
#include "config/MachineRegistry.h"

using namespace std::string_literals;

namespace OrvoSupport {
namespace {

using testing_support::MachineRegistry;

// Types by their numbers.
enum : unsigned {
    none = 0,
    sz = 1,
    expandSz = 2,
    binary = 3,
    dword = 4,
    bigEndian = 5,
    multiSz = 7,
    qword = 11
};

class OrvoGetEnvironmentVariableTest : public testing::Test {
protected:
    string valueOf(const string& name) {
        return OrvoGetEnvironmentVariable(registry.keyPath() + '\\' + name);
    }

    MachineRegistry registry;
};

TEST_F(OrvoGetEnvironmentVariableTest, readsText) {
    registry.set("text", sz, "C:\\data\0"s);
    registry.set("bare", sz, "no NUL at the end");
    registry.set("empty", sz, "\0"s);
    registry.set("nothing", sz, "");
    registry.set("two", sz, "one\0two\0"s);
    EXPECT_EQ("C:\\data", valueOf("text"));
    EXPECT_EQ("no NUL at the end", valueOf("bare"));
    EXPECT_EQ("", valueOf("empty"));
    EXPECT_EQ("", valueOf("nothing"));
    EXPECT_EQ("one", valueOf("two"));
}

TEST_F(OrvoGetEnvironmentVariableTest, readsTextOfAnyLength) {
    for (const std::size_t length : {1u, 510u, 511u, 512u, 513u, 5000u, 100000u}) {
        const string text(length, 'x');
        registry.set("bare" + std::to_string(length), sz, text);
        registry.set("ended" + std::to_string(length), sz, text + '\0');
        EXPECT_TRUE(text == valueOf("bare" + std::to_string(length))) << length;
        EXPECT_TRUE(text == valueOf("ended" + std::to_string(length))) << length;
    }
}

// The numbers in the order of bytes that both systems have.
TEST_F(OrvoGetEnvironmentVariableTest, readsNumbersInTheMachinesOrder) {
    struct Case {
        const char* what;
        unsigned type;
        string bytes;
        const char* expected;
    };
    const Case cases[] = {
        {"number", dword, "\x2a\0\0\0"s, "42"},
        {"zero", dword, "\0\0\0\0"s, "0"},
        {"greatest", dword, "\xff\xff\xff\x7f"s, "2147483647"},
        {"signed", dword, "\xff\xff\xff\xff"s, "-1"},
        {"least", dword, "\0\0\0\x80"s, "-2147483648"},
        {"big-endian", bigEndian, "\0\0\0\x2a"s, "704643072"},
        {"big-endian, other way", bigEndian, "\x2a\0\0\0"s, "42"},
    };
    for (const Case& c : cases) {
        registry.set(c.what, c.type, c.bytes);
        EXPECT_EQ(c.expected, valueOf(c.what)) << c.what;
    }
}

TEST_F(OrvoGetEnvironmentVariableTest, answersNothingForANumberOfOtherThanFourBytes) {
    for (const unsigned type : std::initializer_list<unsigned>{dword, bigEndian})
        for (const std::size_t size : {0u, 1u, 3u, 5u, 600u}) {
            registry.set("odd", type, string(size, '\1'));
            EXPECT_EQ("", valueOf("odd")) << type << ' ' << size;
        }
}

TEST_F(OrvoGetEnvironmentVariableTest, refusesOtherTypes) {
    for (const unsigned type : std::initializer_list<unsigned>{none, expandSz, binary, multiSz, qword, 77}) {
        registry.set("other", type, "12345678");
        try {
            valueOf("other");
            ADD_FAILURE() << type;
        } catch (const OrvoKeyDataNotSupportedException& e) {
            EXPECT_EQ("OrvoKeyDataNotSupportedException - OrvoUtilities::OrvoGetEnvironmentVariable:" +
                          string(25, ' ') + "key-value data type not supported",
                      e.getText());
            EXPECT_EQ(0, e.getCode());
        }
    }
}

TEST_F(OrvoGetEnvironmentVariableTest, readsALargeValueOfAnotherTypeBeforeItRefusesIt) {
    registry.set("large", binary, string(2000, 'x'));
    EXPECT_THROW(valueOf("large"), OrvoKeyDataNotSupportedException);
}

TEST_F(OrvoGetEnvironmentVariableTest, answersNothingForWhatIsNotThere) {
    registry.set("there", sz, "x");
    EXPECT_EQ("", valueOf("missing"));
    EXPECT_EQ("", OrvoGetEnvironmentVariable(registry.keyPath() + "\\sub\\there"));
    EXPECT_EQ("", OrvoGetEnvironmentVariable("Software\\OsuptNoSuchKey\\there"));
    EXPECT_EQ("", OrvoGetEnvironmentVariable(registry.keyPath()));
}

TEST_F(OrvoGetEnvironmentVariableTest, readsTheDefaultValueUnderTheEmptyName) {
    EXPECT_EQ("", valueOf(""));
    registry.set("", sz, "default");
    EXPECT_EQ("default", valueOf(""));
}

TEST_F(OrvoGetEnvironmentVariableTest, comparesNamesWithoutRegardToCase) {
    registry.set("Name", sz, "x");
    string path = registry.keyPath() + "\\nAME";
    std::transform(path.begin(), path.end(), path.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    EXPECT_EQ("x", OrvoGetEnvironmentVariable(path));
}

// Without a backslash the text is both; no such key has a value of its own name.
TEST_F(OrvoGetEnvironmentVariableTest, takesAPathWithoutABackslashForBoth) {
    for (const char* path : {"Software", "OsuptNoSuchKey", "x"})
        EXPECT_EQ("", OrvoGetEnvironmentVariable(path));
}

TEST_F(OrvoGetEnvironmentVariableTest, splitsAtTheLastBackslash) {
    registry.set("a/b c", sz, "x");
    registry.set("", sz, "default");
    EXPECT_EQ("x", valueOf("a/b c"));
    EXPECT_EQ("", OrvoGetEnvironmentVariable(registry.keyPath() + "/a/b c"));
    // What is left of the path may end in a backslash, and hold more of them than it needs.
    EXPECT_EQ("x", OrvoGetEnvironmentVariable(registry.keyPath() + "\\\\a/b c"));
    EXPECT_EQ("default", OrvoGetEnvironmentVariable(registry.keyPath() + "\\\\"));
    EXPECT_EQ("", OrvoGetEnvironmentVariable('\\' + registry.keyPath() + "\\a/b c"));
}

TEST_F(OrvoGetEnvironmentVariableTest, survivesStrangePaths) {
    registry.set("there", sz, "x");
    for (const string& path :
         {""s, "\\"s, "\\\\"s, "\\there"s, registry.keyPath() + "\\\\", string(100000, 'x'),
          string(100000, '\\'), "Software\\" + string(100000, 'x'),
          registry.keyPath() + "\\" + string(100000, 'x'), "\xFF\xFE\\\x01"s, "a\0b\\c"s})
        EXPECT_EQ("", OrvoGetEnvironmentVariable(path)) << path.substr(0, 40);
    EXPECT_EQ("x", OrvoGetEnvironmentVariable(registry.keyPath() + "\\there\0behind"s));
}

TEST_F(OrvoGetEnvironmentVariableTest, seesChanges) {
    registry.set("value", sz, "one");
    EXPECT_EQ("one", valueOf("value"));
    registry.set("value", sz, "two");
    EXPECT_EQ("two", valueOf("value"));
    registry.set("value", dword, "\7\0\0\0"s);
    EXPECT_EQ("7", valueOf("value"));
}

}  // namespace
}  // namespace OrvoSupport
