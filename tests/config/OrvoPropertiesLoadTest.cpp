#include <atomic>
#include <fstream>
#include <thread>

#include "config/PropertyTexts.h"

using namespace std::string_literals;
using namespace std::string_view_literals;

namespace OrvoSupport {
namespace {

using testing_support::writeFile;

template <class S>
using OrvoPropertiesLoadTest = OrvoPropertiesFileTest<S>;
TYPED_TEST_SUITE(OrvoPropertiesLoadTest, AllStrings, StringName);

TYPED_TEST(OrvoPropertiesLoadTest, loadsSingleByteFiles) {
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

TYPED_TEST(OrvoPropertiesLoadTest, loadsUtf16FilesWithMark) {
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
        {"lone return in a line",
         "\xFF\xFE"
         "a\0=\0001\0\r\0b\0=\0002\0\n\0c\0\r\0d\0\n\0"sv,
         "a=1;c\rd=;"},
        {"half a unit behind a line",
         "\xFF\xFE"
         "a\0\n\0b"sv,
         "a=;"},
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

TYPED_TEST(OrvoPropertiesLoadTest, addsToWhatIsThere) {
    EXPECT_EQ("a=1,2;", this->fromFile("a=1\na=2\n"));
    EXPECT_EQ("a=2;", this->fromFile("a=1\na=2\n", false));

    OrvoProperties<TypeParam> store;
    store.addProperty(text<TypeParam>("a=0"), '=');
    store.addProperty(text<TypeParam>("b=0"), '=');
    EXPECT_TRUE(store.loadProperties(this->name));
    EXPECT_TRUE(store.loadProperties(this->name));
    EXPECT_EQ("a=0,1,2,1,2;b=0;", contents(store));
}

TYPED_TEST(OrvoPropertiesLoadTest, loadsLinesLongerThanAnyBlock) {
    const std::string filler(10'000'000, 'x');
    const std::string shorter(1'000'000, 'x');
    struct Case {
        const char* what;
        std::string file;
        std::string expected;
    };
    const Case cases[] = {
        {"value", "a=" + filler + "\r\nb=2\r\n", "a=" + filler + ";b=2;"},
        {"key", shorter + "=1\nb=2\n", "b=2;" + shorter + "=1;"},
        {"key alone", "b=2\n" + shorter, "b=2;" + shorter + "=;"},
        {"comment", "#" + shorter + "=1\nb=2\n", "b=2;"},
        {"no key", "=" + shorter + "\nb=2\n", "b=2;"},
        {"return behind the value", "a=1\r" + shorter + "\nb=2\n", "a=1;b=2;"},
        {"return in the key", "a\r=1" + shorter + "\r\nb=2\n", "a\r=1" + shorter + "\r;b=2;"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_TRUE(c.expected == this->fromFile(c.file));
    }
}

TYPED_TEST(OrvoPropertiesLoadTest, findsLineEndsWhereverABlockEnds) {
    for (std::size_t length = 65530; length < 65540; ++length) {
        const std::string filler(length, 'x');
        EXPECT_TRUE("a=" + filler + ";b=2;" == this->fromFile("a=" + filler + "\r\nb=2\r\n")) << length;

        std::string units = "\xFF\xFE";
        for (const char c : "a=" + filler.substr(filler.size() / 2) + "\r\nb=2\r\n") units += {c, '\0'};
        EXPECT_TRUE("a=" + filler.substr(filler.size() / 2) + ";b=2;" == this->fromFile(units)) << length;
    }
}

TYPED_TEST(OrvoPropertiesLoadTest, refusesWhatIsNoFile) {
    OrvoProperties<TypeParam> store;
    store.addProperty(text<TypeParam>("a=1"), '=');
    for (const std::string& fileName : {this->folder.path(), this->folder.file("missing"), std::string()}) {
        EXPECT_FALSE(store.loadProperties(fileName)) << fileName;
        EXPECT_EQ("a=1;", contents(store));
    }
    for (const std::string& fileName : {this->folder.path(), this->folder.file("no/folder"), std::string()})
        EXPECT_FALSE(store.saveProperties(fileName)) << fileName;
}

TYPED_TEST(OrvoPropertiesLoadTest, showsAHalfLoadedStoreToOtherThreads) {
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
using OrvoPropertiesNarrowLoadTest = OrvoPropertiesFileTest<S>;
TYPED_TEST_SUITE(OrvoPropertiesNarrowLoadTest, NarrowStrings, StringName);

TYPED_TEST(OrvoPropertiesNarrowLoadTest, keepsTheLowByteOfAUnit) {
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
using OrvoPropertiesWideLoadTest = OrvoPropertiesFileTest<S>;
TYPED_TEST_SUITE(OrvoPropertiesWideLoadTest, WideStrings, StringName);

TYPED_TEST(OrvoPropertiesWideLoadTest, readsUnitsAsCharacters) {
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

// Neither byte of another unit ends a line or a value.
TYPED_TEST(OrvoPropertiesWideLoadTest, takesUnitsForWhatTheyAreAsAWhole) {
    writeFile(this->name,
              "\xFF\xFE"
              "a\0=\0\x0D\x0A\x00\x0A\x0A\x0D\x0A\x0A\x0D\x01\r\0\n\0"
              "\x00\x3D=\0\x3D\x3D\r\0x\0\n\0"
              "\x23\x01=\0\x00\x20\n\0"s);
    OrvoProperties<TypeParam> store;
    ASSERT_TRUE(store.loadProperties(this->name));

    const TypeParam none;
    EXPECT_EQ(TypeParam(L"\u0A0D\u0A00\u0D0A\u0A0A\u010D"), store.getProperty(TypeParam(L"a"), none));
    EXPECT_EQ(TypeParam(L"\u3D3D"), store.getProperty(TypeParam(L"\u3D00"), none));
    EXPECT_EQ(TypeParam(L"\u2000"), store.getProperty(TypeParam(L"\u0123"), none));
}

TYPED_TEST(OrvoPropertiesWideLoadTest, joinsAPairAcrossBlocks) {
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

}  // namespace
}  // namespace OrvoSupport
