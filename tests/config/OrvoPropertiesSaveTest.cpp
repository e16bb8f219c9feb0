#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

#include "OrvoLogging.h"
#include "config/PropertyTexts.h"

using namespace std::string_view_literals;

namespace OrvoSupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing_support::readFile;
using testing_support::TempFolder;
using testing_support::writeFile;

template <class S>
using OrvoPropertiesSaveTest = OrvoPropertiesFileTest<S>;
TYPED_TEST_SUITE(OrvoPropertiesSaveTest, AllStrings, StringName);

TYPED_TEST(OrvoPropertiesSaveTest, savesOneLineAKeyInKeyOrder) {
    EXPECT_EQ("", this->toFile({}));
    EXPECT_EQ("a=1\nab=\nb=\n", this->toFile({"b", "ab=", "a=1", "ab=2", "a=3"}));
    EXPECT_EQ(" key =value \n", this->toFile({" key =value "}));
}

TYPED_TEST(OrvoPropertiesSaveTest, endsLinesAsTheSystemsTextFilesDo) {
    OrvoProperties<TypeParam> store;
    for (const char* line : {"a=1", "b=2", "justakey\r"}) store.addProperty(text<TypeParam>(line), '=');
    store.addProperty(text<TypeParam>("lines"), text<TypeParam>("1\n2\r\n\n"));
    ASSERT_TRUE(store.saveProperties(this->name));
    {
        std::ofstream expected(this->folder.file("expected"));
        expected << "a=1\nb=2\njustakey\r=\nlines=1\n2\r\n\n\n";
    }

    EXPECT_EQ(readFile(this->folder.file("expected")), readFile(this->name));
}

TYPED_TEST(OrvoPropertiesSaveTest, replacesTheFileThatWasThere) {
    writeFile(this->name, std::string(100000, 'x'));

    EXPECT_EQ("a=1\n", this->toFile({"a=1"}));
}

TYPED_TEST(OrvoPropertiesSaveTest, savesAByteForACharacter) {
    std::string line = "a=";
    for (int c = 255; c > 0; --c)
        if (c != '\n' && c != '\r') line += static_cast<char>(c);

    EXPECT_TRUE(line + '\n' == this->toFile({line}));
    EXPECT_EQ("a=\0b\n"sv, this->toFile({"a=\0b"sv}));
}

TYPED_TEST(OrvoPropertiesSaveTest, losesFurtherValuesByTheWayOfAFile) {
    OrvoProperties<TypeParam> store;
    for (const char* line : {"b=1", "b=2", "a=x  y "}) store.addProperty(text<TypeParam>(line), '=');
    ASSERT_TRUE(store.saveProperties(this->name));
    EXPECT_EQ("a=x  y ;b=1,2;", contents(store));

    OrvoProperties<TypeParam> again;
    ASSERT_TRUE(again.loadProperties(this->name));
    EXPECT_EQ("a=x  y ;b=1;", contents(again));
}

TYPED_TEST(OrvoPropertiesSaveTest, carriesALargeStoreThereAndBack) {
    OrvoProperties<TypeParam> store;
    for (int i = 0; i < 5000; ++i) {
        const std::string number = std::to_string(i * 7919 % 5000);
        store.addProperty(text<TypeParam>("section.key" + number), text<TypeParam>("value " + number));
    }
    ASSERT_TRUE(store.saveProperties(this->name));
    OrvoProperties<TypeParam> again;
    ASSERT_TRUE(again.loadProperties(this->name));

    EXPECT_TRUE(contents(store) == contents(again));
}

// The order is not made yet when the threads begin.
TYPED_TEST(OrvoPropertiesSaveTest, savesOnManyThreadsAtOnce) {
    OrvoProperties<TypeParam> store;
    std::string expected;
    for (int i = 0; i < 500; ++i) {
        const std::string key = std::to_string(1000 + i * 7919 % 500);
        store.addProperty(text<TypeParam>(key), text<TypeParam>(key));
        expected += std::to_string(1000 + i) + '=' + std::to_string(1000 + i) + '\n';
    }
    std::vector<std::thread> threads;
    for (const char* copy : {"1", "2", "3", "4"})
        threads.emplace_back([&, copy] { EXPECT_TRUE(store.saveProperties(this->folder.file(copy))); });
    for (std::thread& thread : threads) thread.join();

    for (const char* copy : {"1", "2", "3", "4"}) EXPECT_EQ(expected, textFile(this->folder.file(copy)));
}

TYPED_TEST(OrvoPropertiesSaveTest, sharesTheFileWithOthers) {
    writeFile(this->name, "a=1\n");
    std::fstream other(this->name, std::ios::in | std::ios::out | std::ios::binary);
    OrvoProperties<TypeParam> store;
    EXPECT_TRUE(store.loadProperties(this->name));
    EXPECT_TRUE(store.saveProperties(this->name));
    EXPECT_EQ("a=1;", contents(store));
}

template <class S>
using OrvoPropertiesWideSaveTest = OrvoPropertiesFileTest<S>;
TYPED_TEST_SUITE(OrvoPropertiesWideSaveTest, WideStrings, StringName);

TYPED_TEST(OrvoPropertiesWideSaveTest, savesAQuestionMarkForWhatIsNoByte) {
    OrvoProperties<TypeParam> store;
    store.addProperty(TypeParam(L"\u0100\u00FF"), TypeParam(L"\u20AC\u00E4\uFFFF"));
    ASSERT_TRUE(store.saveProperties(this->name));

    EXPECT_EQ("?\xFF=?\xE4?\n", textFile(this->name));
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
    std::istringstream lines(textFile(name));
    const std::regex prefix("\\d{8}_\\d\\d:\\d\\d:\\d\\d (\\d+) Global     \\[\\d+\\] ");
    for (std::string line; std::getline(lines, line);)
        records.push_back(std::regex_replace(line, prefix, "$1 "));
    return records;
}

template <class S>
using OrvoPropertiesRecordTest = OrvoPropertiesFileTest<S>;
TYPED_TEST_SUITE(OrvoPropertiesRecordTest, AllStrings, StringName);

TYPED_TEST(OrvoPropertiesRecordTest, recordsWhatItLoadsAndSaves) {
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

TYPED_TEST(OrvoPropertiesRecordTest, recordsWhatItCannotOpen) {
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

TYPED_TEST(OrvoPropertiesRecordTest, dumpsTheStoreAtLevelNineExactly) {
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

}  // namespace
}  // namespace OrvoSupport
