// Exported registry files, whole and damaged.
#include "config/RegistryText.h"

#include <gmock/gmock.h>

#include <random>

#include "config/RegistryEncoding.h"

using namespace std::string_literals;

namespace OrvoSupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string key = "[HKEY_LOCAL_MACHINE\\Software\\X]\n";

// The text in UTF-16LE with its mark.
std::string inUnits(const std::string& latin1) {
    std::string units = "\xFF\xFE";
    for (const char c : latin1) units += {c, '\0'};
    return units;
}

// "type:bytes" of a value, "none" without it.
std::string valueIn(const std::string& file, const char* name, const char* keyPath = "Software\\X") {
    const RegistryText text(file);
    const platform::RegistryValue* value = text.find(keyPath, name);
    return value ? std::to_string(static_cast<unsigned>(value->type)) + ':' + value->data : "none";
}

std::vector<std::size_t> damageIn(const std::string& file) { return RegistryText(file).damagedLines(); }

const std::string exportedFile =
    "Windows Registry Editor Version 5.00\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\Software]\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\Software\\X]\r\n"
    "@=\"default\"\r\n"
    "\"text\"=\"C:\\\\data \\\"here\\\"\"\r\n"
    "\"number\"=dword:0000002a\r\n"
    "\"big\"=hex(5):00,00,00,2a\r\n"
    "\"raw\"=hex(1):61,00,62,00,\\\r\n"
    "  63,00,00,00\r\n"
    "\"binary\"=hex:01,02,ff\r\n"
    "\"many\"=hex(7):\\\r\n"
    "  61,00,00,00,\\\r\n"
    "  00,00\r\n"
    "\"nothing\"=hex(0):\r\n"
    "\"wide\"=hex(b):01,00,00,00,00,00,00,00\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\Software\\X\\Sub]\r\n"
    "\"text\"=\"sub\"\r\n"
    "\r\n"
    "[HKEY_CURRENT_USER\\Software\\X]\r\n"
    "\"text\"=\"user\"\r\n\r\n";

TEST(RegistryText, readsWhatAnExportHolds) {
    for (const std::string& file : {exportedFile, "\xEF\xBB\xBF" + exportedFile, inUnits(exportedFile)}) {
        EXPECT_EQ("1:default", valueIn(file, ""));
        EXPECT_EQ("1:C:\\data \"here\"", valueIn(file, "text"));
        EXPECT_EQ("4:\x2a\0\0\0"s, valueIn(file, "number"));
        EXPECT_EQ("5:\0\0\0\x2a"s, valueIn(file, "big"));
        EXPECT_EQ("1:abc\0"s, valueIn(file, "raw"));
        EXPECT_EQ("3:\1\2\xff", valueIn(file, "binary"));
        EXPECT_EQ("7:a\0\0\0\0\0"s, valueIn(file, "many"));
        EXPECT_EQ("0:", valueIn(file, "nothing"));
        EXPECT_EQ("11:\1\0\0\0\0\0\0\0"s, valueIn(file, "wide"));
        EXPECT_EQ("1:sub", valueIn(file, "text", "Software\\X\\Sub"));
        EXPECT_EQ("none", valueIn(file, "number", "Software\\X\\Sub"));
        EXPECT_EQ("none", valueIn(file, "text", "Software"));
        EXPECT_THAT(damageIn(file), IsEmpty());
    }
}

TEST(RegistryText, isEmptyWithoutText) {
    for (const std::string& file :
         {""s, "\xFF\xFE"s, "\xEF\xBB\xBF"s, "\n\r\n"s, "REGEDIT4"s, "\xFF\xFEx"s}) {
        EXPECT_EQ("none", valueIn(file, "", ""));
        EXPECT_THAT(damageIn(file), IsEmpty());
    }
    EXPECT_EQ(nullptr, RegistryText().find("a", "b"));
}

TEST(RegistryText, needsNeitherHeaderNorLastLineEnd) {
    EXPECT_EQ("1:x", valueIn(key + "\"a\"=\"x\"", "a"));
    EXPECT_EQ("4:\1\0\0\0"s, valueIn(key + "\"a\"=dword:1", "a"));
    EXPECT_EQ("3:\1", valueIn(key + "\"a\"=hex:01", "a"));
}

TEST(RegistryText, takesDigitsOfEitherCase) {
    EXPECT_EQ("4:\xef\xcd\xab\0"s, valueIn(key + "\"a\"=dword:00abcdef", "a"));
    EXPECT_EQ("4:\xef\xcd\xab\0"s, valueIn(key + "\"a\"=DWORD:00ABCDEF", "a"));
    EXPECT_EQ("10:\xaf\xfa", valueIn(key + "\"a\"=Hex(A):AF,Fa", "a"));
}

TEST(RegistryText, readsCharactersAsTheAnsiCodePageHasThem) {
    const std::string latin1 = key + "\"\xFC\"=\"\xE4\"\n\"raw\"=hex(1):e4,00\n";
    const std::string utf8 = key + "\"\xC3\xBC\"=\"\xC3\xA4\"\n";
    const std::string ansi = "REGEDIT4\n" + key + "\"\xFC\"=\"\xE4\"\n\"raw\"=hex(1):e4,00\n";
    EXPECT_EQ("1:\xE4", valueIn(inUnits(latin1), "\xFC"));
    EXPECT_EQ("1:\xE4", valueIn(inUnits(latin1), "raw"));
    EXPECT_EQ("1:\xE4", valueIn(utf8, "\xFC"));
    EXPECT_EQ("1:\xE4", valueIn(ansi, "\xFC"));
    EXPECT_EQ("1:\xE4\0"s, valueIn(ansi, "raw"));
    EXPECT_EQ("1:\xE4", valueIn(utf8, "\xDC")) << "upper case";
    const std::string face = "\x3D\xD8\x00\xDE"s;  // one or two substitutes, as the system has it
    EXPECT_EQ(0u, valueIn(inUnits(key + "\"a\"=\"") + face + "\"\0"s, "a").find("1:?"));
}

TEST(RegistryText, comparesNamesWithoutRegardToCase) {
    const std::string file = "[hkey_Local_Machine\\SOFTWARE\\x]\n\"Name\"=\"1\"\n";
    EXPECT_EQ("1:1", valueIn(file, "nAME", "sOFTWARE\\X"));
    // Letters of the code page, beside signs that stand between them.
    EXPECT_EQ(foldedName(L"\u00C4\u00DE\u0160\u0152\u017D\u0178"),
              foldedName(L"\u00E4\u00FE\u0161\u0153\u017E\u00FF"));
    EXPECT_EQ(foldedName(L"\u0391\u03A9\u0386\u0410\u042F\u0401"),
              foldedName(L"\u03B1\u03C9\u03AC\u0430\u044F\u0451"));
    EXPECT_NE(foldedName(L"\u00D7"), foldedName(L"\u00F7"));
    EXPECT_EQ(L"\u00DF@[`{", foldedName(L"\u00DF@[`{"));
}

TEST(RegistryText, keepsTheLastWordOnAValue) {
    EXPECT_EQ("1:2", valueIn(key + "\"a\"=\"1\"\n\"A\"=\"2\"\n", "a"));
    EXPECT_EQ("4:\3\0\0\0"s,
              valueIn(key + "\"a\"=\"1\"\n[HKEY_LOCAL_MACHINE\\y]\n" + key + "\"a\"=dword:3\n", "a"));
}

TEST(RegistryText, passesOverDeletions) {
    const std::string file =
        key + "\"a\"=\"1\"\n\"a\"=-\n@=-\n[-HKEY_LOCAL_MACHINE\\Software\\X]\n\"b\"=\"2\"\n";
    EXPECT_EQ("1:1", valueIn(file, "a"));
    EXPECT_EQ("none", valueIn(file, "b"));
    EXPECT_EQ("none", valueIn(file, ""));
    EXPECT_THAT(damageIn(file), IsEmpty());
}

TEST(RegistryText, readsTheMachineItself) {
    EXPECT_EQ("1:x", valueIn("[HKEY_LOCAL_MACHINE]\n@=\"x\"\n", "", ""));
    EXPECT_EQ("none", valueIn("[HKEY_LOCAL_MACHINES\\a]\n@=\"x\"\n", "", "a"));
    EXPECT_EQ("none", valueIn("[HKEY_LOCAL_MACHINES]\n@=\"x\"\n", "", ""));
}

TEST(RegistryText, takesBlanksAndComments) {
    const std::string file =
        "; a comment\n  [HKEY_LOCAL_MACHINE\\Software\\X] ; one more\n"
        "\t\"a\" = \"x;y\" ; and one\n @ =\tdword: 2a ; here\n\"b\"=hex: 01 , 02 ;there\n"
        "\"c\"=hex:01,\\ ; in between\n\t02\n\"d\"=- ; gone: really\n";
    EXPECT_EQ("1:x;y", valueIn(file, "a"));
    EXPECT_EQ("4:\x2a\0\0\0"s, valueIn(file, ""));
    EXPECT_EQ("3:\1\2", valueIn(file, "b"));
    EXPECT_EQ("3:\1\2", valueIn(file, "c"));
    EXPECT_THAT(damageIn(file), IsEmpty());
}

TEST(RegistryText, takesBracketsAndBackslashesInNames) {
    EXPECT_EQ("1:x", valueIn("[HKEY_LOCAL_MACHINE\\a]b]\n\"c\\\\d\\\"=e\"=\"x\"\n", "c\\d\"=e", "a]b"));
}

TEST(RegistryText, readsTextsWithLineEnds) {
    const std::string file = key + "\"a\"=\"one\r\ntwo\"\r\n\"b\"=\"one\\r\\ntwo\"\r\n\"c\"=\"x\"\nbroken\n";
    EXPECT_EQ("1:one\r\ntwo", valueIn(file, "a"));
    EXPECT_EQ("1:one\r\ntwo", valueIn(file, "b"));
    EXPECT_EQ("1:x", valueIn(file, "c"));
    EXPECT_THAT(damageIn(file), ElementsAre(6)) << "the lines of a text count";
}

TEST(RegistryText, readsNamesWithLineEnds) {
    const std::string file =
        key +
        "\"one\r\ntwo\"=\"x\"\r\n\"\n\"=dword:1\n\"three\\r\\nfour\"=hex:01,\\\n 02\n"
        "\"five\nsix\"=hex:03,\\\n 04\n\"b\"=\"good\"\nbroken\n\"c\nd\"=dword:x\n\"e\"=\"good\"";
    EXPECT_EQ("1:x", valueIn(file, "one\r\ntwo"));
    EXPECT_EQ("4:\1\0\0\0"s, valueIn(file, "\n"));
    EXPECT_EQ("3:\1\2", valueIn(file, "three\r\nfour"));
    EXPECT_EQ("3:\3\4", valueIn(file, "five\nsix"));
    EXPECT_EQ("1:good", valueIn(file, "b"));
    EXPECT_EQ("1:good", valueIn(file, "e"));
    EXPECT_THAT(damageIn(file), ElementsAre(12, 13)) << "the lines of a name count";
}

// As the registry itself does.
TEST(RegistryText, takesSeveralBackslashesForOne) {
    const std::string file = key + "\"a\"=\"1\"\n[HKEY_LOCAL_MACHINE\\\\Y\\\\Z\\]\n\"a\"=\"2\"\n";
    for (const char* path : {"Software\\X", "Software\\X\\", "Software\\\\X", "Software\\\\\\X\\\\"})
        EXPECT_EQ("1:1", valueIn(file, "a", path)) << path;
    for (const char* path : {"\\Software\\X", "\\", "\\\\", "Software", "Software\\X\\ "})
        EXPECT_EQ("none", valueIn(file, "a", path)) << path;
}

TEST(RegistryText, skipsDamagedLinesAndNoOthers) {
    const char* const damaged[] = {
        "nonsense",
        "\"a\"",
        "\"a\"=",
        "\"a",
        "\"",
        "\"a\\",
        "\"a\\\"",
        "\"a=\"x\"",
        "\"a\"\"x\"",
        "\"a\"=\"x",
        "\"a\"=\"x\"y",
        "\"a\"=\"x\\",
        "\"a\"=\"\\q\"",
        "\"a\"=x",
        "\"a\"=dword:",
        "\"a\"=dword:123456789",
        "\"a\"=dword:12g",
        "\"a\"=dword:-1",
        "\"a\"=dword",
        "\"a\"=hex:0g",
        "\"a\"=hex:100",
        "\"a\"=hex:01,,02",
        "\"a\"=hex:01,",
        "\"a\"=hex:01,\\",
        "\"a\"=hex(:01",
        "\"a\"=hex():01",
        "\"a\"=hex(x):01",
        "\"a\"=hex(123456789):01",
        "\"a\"=hexx:01",
        "\"a\"=str(2):x",
        "\"a\"=--",
        "@",
        "@x",
        "@=",
        "@=\"",
        "=",
        "\\",
        "\x01",
        "\"a\" \"b\"=\"c\"",
        "]",
    };
    for (const char* line : damaged)
        for (const std::string& end : {"\n"s, "\r\n"s}) {
            const std::string file = key + line + end + "\"b\"=\"good\"" + end;
            EXPECT_THAT(damageIn(file), ElementsAre(2)) << line;
            EXPECT_EQ("none", valueIn(file, "a")) << line;
            EXPECT_EQ("1:good", valueIn(file, "b")) << line;
            EXPECT_THAT(damageIn(inUnits(file)), ElementsAre(2)) << line;
            EXPECT_THAT(damageIn(key + line), ElementsAre(2)) << line;
        }
}

// Values behind it would end up in the key before it.
TEST(RegistryText, givesTheValuesBehindADamagedKeyToNobody) {
    const std::string file = key + "\"a\"=\"1\"\n[HKEY_LOCAL_MACHINE\\Y\n\"a\"=\"2\"\n";
    EXPECT_EQ("1:1", valueIn(file, "a"));
    EXPECT_EQ("none", valueIn(file, "a", "Y"));
    EXPECT_THAT(damageIn(file), ElementsAre(3));
    EXPECT_EQ("none", valueIn("\"a\"=\"1\"\n" + key, "a"));
}

TEST(RegistryText, takesADamagedListWithItsContinuedLines) {
    const std::string file =
        key + "\"a\"=hex:01,\\\n 0g,\\\n 03\n\"b\"=\"good\"\n\"c\"=hex:01,\\\n\"d\"=\"good\"\n\x02";
    EXPECT_EQ("1:good", valueIn(file, "b"));
    EXPECT_EQ("1:good", valueIn(file, "d"));
    EXPECT_THAT(damageIn(file), ElementsAre(2, 6, 8));
}

TEST(RegistryText, takesTimeInProportionToTheText) {
    const std::string hostile[] = {
        "\"a\"=\"x\n", "@=\"\n",  "\"a\"=hex:01,\\\n",     "[\n",  "]",           "\"", "\\",
        "@=\"\\\"\n",  "00,\\\n", "[HKEY_LOCAL_MACHINE\\", "\xFF", "\xED\xA0\x80"};
    for (const std::string& piece : hostile) {
        std::string file = key + "@=hex:";
        while (file.size() < 500'000) file += piece;
        EXPECT_LE(damageIn(file).size(), file.size()) << piece;
        EXPECT_LE(damageIn(key + "@=\"" + file).size(), file.size()) << piece;
    }
}

TEST(RegistryText, survivesAnyBytes) {
    std::mt19937 random(1);
    for (int round = 0; round < 5000; ++round) {
        std::string file = exportedFile;
        if (round % 2) file = inUnits(file);
        for (unsigned change = random() % 8; change > 0 && !file.empty(); --change) {
            const std::size_t at = random() % file.size();
            switch (random() % 4) {
                case 0: file[at] = static_cast<char>(random()); break;
                case 1: file.erase(at, random() % 5); break;
                case 2: file.insert(at, file.substr(random() % file.size(), 9)); break;
                default: file.resize(at + 1);
            }
        }
        const RegistryText text(file);
        text.find("Software\\X", "text");
        text.find(file, file);
    }
}

}  // namespace
}  // namespace OrvoSupport
