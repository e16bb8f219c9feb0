#include <atomic>
#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

#include "OrvoLogging.h"
#include "OrvoProperties.h"
#include "config/PropertyTexts.h"
#include "support/TempFolder.h"

using namespace std::string_literals;
using namespace std::string_view_literals;

namespace OrvoSupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing_support::readFile;
using testing_support::TempFolder;
using testing_support::writeFile;

// The end of a line as the system's text files have it, whatever that is.
std::string withoutReturns(std::string bytes) {
    bytes.erase(std::remove(bytes.begin(), bytes.end(), '\r'), bytes.end());
    return bytes;
}

// Level and text of every record that `work` writes at this log level.
template <class Work>
std::vector<std::string> recordsOf(const TempFolder& folder, int level, Work work) {
    const std::string name = folder.file("records.log");
    {
        OrvoLogging logger(name, OrvoLogging::fileTarget, level);
        OrvoLogging::setInstance(logger);
        work();
    }
    std::vector<std::string> records;
    std::istringstream lines(withoutReturns(readFile(name)));
    const std::regex prefix("\\d{8}_\\d\\d:\\d\\d:\\d\\d (\\d+) Global     \\[\\d+\\] ");
    for (std::string line; std::getline(lines, line);)
        records.push_back(std::regex_replace(line, prefix, "$1 "));
    return records;
}

template <class S>
class OrvoPropertiesFileTest : public testing::Test {
protected:
    // What a file of these bytes leaves in an empty store.
    std::string fromFile(std::string_view fileBytes, bool allowMultipleValues = true) {
        writeFile(name, std::string(fileBytes));
        OrvoProperties<S> store(allowMultipleValues);
        return store.loadProperties(name) ? contents(store) : "not loaded";
    }

    // What a store of these lines writes, with line feeds only.
    std::string toFile(std::initializer_list<std::string_view> lines) {
        OrvoProperties<S> store;
        for (const std::string_view line : lines) store.addProperty(text<S>(line), '=');
        return store.saveProperties(name) ? withoutReturns(readFile(name)) : "not saved";
    }

    TempFolder folder;
    const std::string name = folder.file("settings.properties");
};
TYPED_TEST_SUITE(OrvoPropertiesFileTest, AllStrings);

TYPED_TEST(OrvoPropertiesFileTest, loadsSingleByteFiles) {
    struct Case {
        const char* what;
        std::string_view file;
        std::string_view expected;
    };
    const Case cases[] = {
        {"empty", "", ""},
        {"two lines", "a=1\nb=2\n", "a=1;b=2;"},
        {"no last line end", "a=1\nb=2", "a=1;b=2;"},
        {"empty lines", "\n\na=1\n\n", "a=1;"},
        {"comments", "#a=1\n #b=2\nc=3\n", " #b=2;c=3;"},
        {"return and line feed", "a=1\r\nb=2\r\n", "a=1;b=2;"},
        {"a return in a key stays", "justakey\r\n", "justakey\r=;"},
        {"an empty line of such a file", "\r\na=1\r\n", "\r=;a=1;"},
        {"lone returns end no line", "a=1\rb=2\rc=3", "a=1;"},
        {"lone return at the end", "a=1\r", "a=1;"},
        {"NUL bytes", "a\0b=1\0\0002\n\0=3\n"sv, "\0=3;a\0b=1\0\0002;"sv},
        {"high bytes", "\xE4=\xFC\xFF\n", "\xE4=\xFC\xFF;"},
        {"half a mark", "\xFF", "\xFF=;"},
        {"half a mark and text", "\xFF=a\n", "\xFF=a;"},
        {"mark of the other order", "\xFE\xFF=a\n", "\xFE\xFF=a;"},
        {"UTF-8 mark",
         "\xEF\xBB\xBF"
         "a=1\n",
         "\xEF\xBB\xBF"
         "a=1;"},
        {"UTF-16 without mark", "a\0=\0001\0\n\0b\0=\0002\0"sv, "\0b\0=\0002\0;a\0=\0001\0;"sv},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.expected, this->fromFile(c.file));
    }
}

TYPED_TEST(OrvoPropertiesFileTest, loadsUtf16FilesWithMark) {
    struct Case {
        const char* what;
        std::string_view file;
        std::string_view expected;
    };
    const Case cases[] = {
        {"mark alone", "\xFF\xFE"sv, ""},
        {"two lines",
         "\xFF\xFE"
         "a\0=\0001\0\n\0b\0=\0002\0\n\0"sv,
         "a=1;b=2;"},
        {"no last line end",
         "\xFF\xFE"
         "a\0=\0001\0"sv,
         "a=1;"},
        {"cut in the middle of a unit",
         "\xFF\xFE"
         "a\0=\0001\0002"sv,
         "a=1;"},
        {"half a unit alone",
         "\xFF\xFE"
         "a"sv,
         ""},
        {"return and line feed",
         "\xFF\xFE"
         "a\0=\0001\0\r\0\n\0b\0\r\0\n\0\r\0\n\0c\0\n\0"sv,
         "a=1;b=;c=;"},
        {"only one return goes",
         "\xFF\xFE"
         "a\0\r\0\r\0\n\0"sv,
         "a\r=;"},
        {"a return at the end stays",
         "\xFF\xFE"
         "a\0\r\0"sv,
         "a\r=;"},
        {"NUL units",
         "\xFF\xFE"
         "a\0\0\0=\0\0\0\n\0"sv,
         "a\0=\0;"sv},
        {"comment",
         "\xFF\xFE"
         "#\0a\0\n\0b\0\n\0"sv,
         "b=;"},
        {"Latin-1",
         "\xFF\xFE"
         "\xE4\0=\0\xFF\0\n\0"sv,
         "\xE4=\xFF;"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.expected, this->fromFile(c.file));
    }
}

TYPED_TEST(OrvoPropertiesFileTest, addsToWhatIsThere) {
    EXPECT_EQ("a=1,2;", this->fromFile("a=1\na=2\n"));
    EXPECT_EQ("a=2;", this->fromFile("a=1\na=2\n", false));

    OrvoProperties<TypeParam> store;
    store.addProperty(text<TypeParam>("a=0"), '=');
    store.addProperty(text<TypeParam>("b=0"), '=');
    EXPECT_TRUE(store.loadProperties(this->name));
    EXPECT_TRUE(store.loadProperties(this->name));
    EXPECT_EQ("a=0,1,2,1,2;b=0;", contents(store));
}

TYPED_TEST(OrvoPropertiesFileTest, loadsLinesLongerThanAnyBlock) {
    const std::string filler(10'000'000, 'x');
    struct Case {
        const char* what;
        std::string file;
        std::string expected;
    };
    const Case cases[] = {
        {"value", "a=" + filler + "\r\nb=2\r\n", "a=" + filler + ";b=2;"},
        {"key", filler + "=1\nb=2\n", "b=2;" + filler + "=1;"},
        {"key alone", "b=2\n" + filler, "b=2;" + filler + "=;"},
        {"comment", "#" + filler + "=1\nb=2\n", "b=2;"},
        {"no key", "=" + filler + "\nb=2\n", "b=2;"},
        {"return behind the value", "a=1\r" + filler + "\nb=2\n", "a=1;b=2;"},
        {"return in the key", "a\r=1" + filler + "\r\nb=2\n", "a\r=1" + filler + "\r;b=2;"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_TRUE(c.expected == this->fromFile(c.file));
    }
}

TYPED_TEST(OrvoPropertiesFileTest, findsLineEndsWhereverABlockEnds) {
    for (std::size_t length = 65530; length < 65540; ++length) {
        const std::string filler(length, 'x');
        EXPECT_TRUE("a=" + filler + ";b=2;" == this->fromFile("a=" + filler + "\r\nb=2\r\n")) << length;

        std::string units = "\xFF\xFE";
        for (const char c : "a=" + filler.substr(filler.size() / 2) + "\r\nb=2\r\n") units += {c, '\0'};
        EXPECT_TRUE("a=" + filler.substr(filler.size() / 2) + ";b=2;" == this->fromFile(units)) << length;
    }
}

TYPED_TEST(OrvoPropertiesFileTest, refusesWhatIsNoFile) {
    OrvoProperties<TypeParam> store;
    store.addProperty(text<TypeParam>("a=1"), '=');
    for (const std::string& fileName : {this->folder.path(), this->folder.file("missing"), std::string()}) {
        EXPECT_FALSE(store.loadProperties(fileName)) << fileName;
        EXPECT_EQ("a=1;", contents(store));
    }
    for (const std::string& fileName : {this->folder.path(), this->folder.file("no/folder"), std::string()})
        EXPECT_FALSE(store.saveProperties(fileName)) << fileName;
}

TYPED_TEST(OrvoPropertiesFileTest, savesOneLineAKeyInKeyOrder) {
    EXPECT_EQ("", this->toFile({}));
    EXPECT_EQ("a=1\nab=\nb=\n", this->toFile({"b", "ab=", "a=1", "ab=2", "a=3"}));
    EXPECT_EQ(" key =value \n", this->toFile({" key =value "}));
}

TYPED_TEST(OrvoPropertiesFileTest, endsLinesAsTheSystemsTextFilesDo) {
    this->toFile({"a=1", "b=2"});
    {
        std::ofstream expected(this->folder.file("expected"));
        expected << "a=1\nb=2\n";
    }

    EXPECT_EQ(readFile(this->folder.file("expected")), readFile(this->name));
}

TYPED_TEST(OrvoPropertiesFileTest, replacesTheFileThatWasThere) {
    writeFile(this->name, std::string(100000, 'x'));

    EXPECT_EQ("a=1\n", this->toFile({"a=1"}));
}

TYPED_TEST(OrvoPropertiesFileTest, savesAByteForACharacter) {
    std::string line = "a=";
    for (int c = 255; c > 0; --c)
        if (c != '\n' && c != '\r') line += static_cast<char>(c);

    EXPECT_TRUE(line + '\n' == this->toFile({line}));
    EXPECT_EQ("a=\0b\n"sv, this->toFile({"a=\0b"sv}));
}

TYPED_TEST(OrvoPropertiesFileTest, losesFurtherValuesByTheWayOfAFile) {
    OrvoProperties<TypeParam> store;
    for (const char* line : {"b=1", "b=2", "a=x  y "}) store.addProperty(text<TypeParam>(line), '=');
    ASSERT_TRUE(store.saveProperties(this->name));
    EXPECT_EQ("a=x  y ;b=1,2;", contents(store));

    OrvoProperties<TypeParam> again;
    ASSERT_TRUE(again.loadProperties(this->name));
    EXPECT_EQ("a=x  y ;b=1;", contents(again));
}

TYPED_TEST(OrvoPropertiesFileTest, carriesALargeStoreThereAndBack) {
    OrvoProperties<TypeParam> store;
    for (int i = 0; i < 20000; ++i) {
        const std::string number = std::to_string(i * 7919 % 20000);
        store.addProperty(text<TypeParam>("section.key" + number), text<TypeParam>("value " + number));
    }
    ASSERT_TRUE(store.saveProperties(this->name));
    OrvoProperties<TypeParam> again;
    ASSERT_TRUE(again.loadProperties(this->name));

    EXPECT_TRUE(contents(store) == contents(again));
}

TYPED_TEST(OrvoPropertiesFileTest, sharesTheFileWithOthers) {
    writeFile(this->name, "a=1\n");
    std::fstream other(this->name, std::ios::in | std::ios::out | std::ios::binary);
    OrvoProperties<TypeParam> store;
    EXPECT_TRUE(store.loadProperties(this->name));
    EXPECT_TRUE(store.saveProperties(this->name));
    EXPECT_EQ("a=1;", contents(store));
}

TYPED_TEST(OrvoPropertiesFileTest, recordsWhatItLoadsAndSaves) {
    writeFile(this->name, "a=1\n");
    OrvoProperties<TypeParam> store;
    const auto loadAndSave = [&] {
        store.loadProperties(this->name);
        store.saveProperties(this->name);
    };

    EXPECT_THAT(recordsOf(this->folder, 5, loadAndSave),
                ElementsAre("5 OrvoProperties<StringType>::loadProperties: from file " + this->name,
                            "5 OrvoProperties<StringType>::saveProperties: to file " + this->name));
    EXPECT_THAT(recordsOf(this->folder, 4, loadAndSave), IsEmpty());
}

TYPED_TEST(OrvoPropertiesFileTest, recordsWhatItCannotOpen) {
    OrvoProperties<TypeParam> store;
    const std::string& path = this->folder.path();
    const auto loadAndSave = [&] {
        store.loadProperties(path);
        store.saveProperties(path);
    };

    EXPECT_THAT(recordsOf(this->folder, 9, loadAndSave),
                ElementsAre("5 OrvoProperties<StringType>::loadProperties: from file " + path,
                            "5 OrvoProperties<StringType>::loadProperties: couldn't open file " + path,
                            "5 OrvoProperties<StringType>::saveProperties: to file " + path,
                            "5 OrvoProperties<StringType>::saveProperties: couldn't open file " + path));
}

TYPED_TEST(OrvoPropertiesFileTest, dumpsTheStoreAtLevelNineExactly) {
    writeFile(this->name, "b=two\na=1\na=2\nc=\n");
    const std::string from = "5 OrvoProperties<StringType>::loadProperties: from file " + this->name;
    const auto load = [&] {
        OrvoProperties<TypeParam> store;
        store.addProperty(text<TypeParam>("old=value"), '=');
        store.loadProperties(this->name);
    };

    EXPECT_THAT(recordsOf(this->folder, 9, load),
                ElementsAre(from, "9 DebugPrintProperty: a=1 (1)", "9 DebugPrintProperty: b=two (3)",
                            "9 DebugPrintProperty: c= (0)", "9 DebugPrintProperty: old=value (5)"));
    EXPECT_THAT(recordsOf(this->folder, 8, load), ElementsAre(from));
    EXPECT_THAT(recordsOf(this->folder, 10, load), ElementsAre(from));
}

TYPED_TEST(OrvoPropertiesFileTest, showsAHalfLoadedStoreToOtherThreads) {
    std::string file;
    for (int i = 0; i < 3000; ++i) file += "key" + std::to_string(i) + "=a value that lives on the heap\n";
    writeFile(this->name, file);
    OrvoProperties<TypeParam> store(false);
    std::atomic<bool> done{false};
    std::thread reader([&] {
        TypeParam value;
        while (!done) store.getPropertyValue(text<TypeParam>("key2999"), value);
    });
    EXPECT_TRUE(store.loadProperties(this->name));
    EXPECT_TRUE(store.loadProperties(this->name));
    done = true;
    reader.join();

    EXPECT_EQ(1u, store.getPropertyValues(text<TypeParam>("key2999")).size());
}

template <class S>
using OrvoPropertiesNarrowFileTest = OrvoPropertiesFileTest<S>;
TYPED_TEST_SUITE(OrvoPropertiesNarrowFileTest, NarrowStrings);

TYPED_TEST(OrvoPropertiesNarrowFileTest, keepsTheLowByteOfAUnit) {
    // A unit whose low byte looks like a line feed, a return, a separator or a comment sign is one to the
    // line.
    EXPECT_EQ("a=\xAC\x14;", this->fromFile("\xFF\xFE"
                                            "a\0=\0\xAC\x20\x14\x20\n\0"sv));
    EXPECT_EQ("a=1;", this->fromFile("\xFF\xFE"
                                     "a\0=\0001\0\x0A\x01"
                                     "b\0\n\0"sv));
    EXPECT_EQ("a\r=;", this->fromFile("\xFF\xFE"
                                      "a\0\x0D\x01\n\0"sv));
    EXPECT_EQ("a=1;", this->fromFile("\xFF\xFE"
                                     "a\0=\x01"
                                     "1\0\n\0#\x01"
                                     "b\0\n\0"sv));
}

template <class S>
using OrvoPropertiesWideFileTest = OrvoPropertiesFileTest<S>;
TYPED_TEST_SUITE(OrvoPropertiesWideFileTest, WideStrings);

TYPED_TEST(OrvoPropertiesWideFileTest, readsUnitsAsCharacters) {
    writeFile(this->name,
              "\xFF\xFE"
              "\xAC\x20=\0\x3D\xD8\x00\xDE!\0\n\0\x0A\x01\x3D\xD8=\0\x00\xDE\n\0"s);
    OrvoProperties<TypeParam> store;
    ASSERT_TRUE(store.loadProperties(this->name));

    const TypeParam none;
    // A whole pair is one character where characters are wide enough; half a pair stays as it is.
    EXPECT_EQ(TypeParam(L"\U0001F600!"), store.getProperty(TypeParam(L"\u20AC"), none));
    TypeParam halfPair(L"\u010A");
    halfPair += static_cast<wchar_t>(0xD83D);
    EXPECT_EQ(TypeParam(1, static_cast<wchar_t>(0xDE00)), store.getProperty(halfPair, none));
}

TYPED_TEST(OrvoPropertiesWideFileTest, joinsAPairAcrossBlocks) {
    for (int length = 32760; length < 32770; ++length) {
        std::string file = "\xFF\xFE";
        for (int i = 0; i < length; ++i) file += {i == 1 ? '=' : 'a', '\0'};
        file += "\x3D\xD8\x00\xDE\n\0"sv;
        writeFile(this->name, file);
        OrvoProperties<TypeParam> store;
        ASSERT_TRUE(store.loadProperties(this->name));
        EXPECT_EQ(TypeParam(static_cast<std::size_t>(length) - 2, L'a') + TypeParam(L"\U0001F600"),
                  store.getProperty(TypeParam(L"a"), TypeParam()));
    }
}

TYPED_TEST(OrvoPropertiesWideFileTest, savesAQuestionMarkForWhatIsNoByte) {
    OrvoProperties<TypeParam> store;
    store.addProperty(TypeParam(L"\u0100\u00FF"), TypeParam(L"\u20AC\u00E4\uFFFF"));
    ASSERT_TRUE(store.saveProperties(this->name));

    EXPECT_EQ("?\xFF=?\xE4?\n", withoutReturns(readFile(this->name)));
}

}  // namespace
}  // namespace OrvoSupport
