// Linux only: the text of a unit, and that nothing can be smuggled into one.
#include "platform/posix/UnitFile.h"

#include <gmock/gmock.h>

#include <set>
#include <sstream>
#include <string>
#include <vector>

using namespace OrvoSupport::platform;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

ServiceEntry entryWith(const std::string& executable, const std::string& arguments,
                       const std::string& dependencies = "") {
    return {"agent",    "Folder agent", ownProcess,  automaticStart, normalErrorControl,
            executable, arguments,      dependencies};
}

std::string textOf(const ServiceEntry& entry, const std::string& description = "Folder agent") {
    std::string text;
    return unitText(entry, description, text) ? text : "refused";
}

// What follows "key=" in the unit; "none" without such a line, "several" with two of them.
std::string valueOf(const std::string& key, const std::string& unit) {
    std::istringstream lines(unit);
    std::string found = "none";
    for (std::string line; std::getline(lines, line);)
        if (line.compare(0, key.size() + 1, key + "=") == 0)
            found = found == "none" ? line.substr(key.size() + 1) : "several";
    return found;
}

std::string commandOf(const std::string& executable, const std::string& arguments) {
    return valueOf("ExecStart", textOf(entryWith(executable, arguments)));
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

}  // namespace

TEST(UnitFile, holdsWhatSystemdNeeds) {
    using namespace std::string_literals;
    EXPECT_THAT(linesOf(textOf(entryWith("/opt/agent", "run fast", "one\0two\0"s))),
                ElementsAre("[Unit]", "Description=Folder agent", "After=one.service two.service",
                            "Requires=one.service two.service", "", "[Service]", "Type=notify",
                            "ExecStart=\"/opt/agent\" \"run\" \"fast\"", "KillMode=mixed", "", "[Install]",
                            "WantedBy=multi-user.target"));
}

TEST(UnitFile, namesNoOtherUnitsWithoutDependencies) {
    const std::string text = textOf(entryWith("/opt/agent", ""));
    EXPECT_EQ("none", valueOf("After", text));
    EXPECT_EQ("none", valueOf("Requires", text));
}

TEST(UnitFile, takesDependenciesAsNulSeparatedNames) {
    struct Case {
        const char* what;
        std::string list, units;
    };
    using namespace std::string_literals;
    const Case cases[] = {
        {"one", "one\0"s, "one.service"},
        {"the last without its NUL", "one\0two"s, "one.service two.service"},
        {"an empty name ends the list", "one\0\0two\0"s, "one.service"},
        {"one with a blank", "my db\0"s, "my\\x20db.service"},
        {"one with a separator of lists", "a,b;c\0"s, "a\\x2cb\\x3bc.service"},
        {"one with a slash", "a/b\0"s, "none"},
        {"one with a line break", "a\nWants=b\0"s, "none"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.units, valueOf("Requires", textOf(entryWith("/opt/agent", "", c.list))));
    }
}

TEST(UnitFile, quotesTheProgramAndEachArgument) {
    struct Case {
        const char *what, *executable, *arguments, *command;
    };
    const Case cases[] = {
        {"no arguments", "/opt/agent", "", "\"/opt/agent\""},
        {"a path with blanks", "/opt/my agent/it", "", "\"/opt/my agent/it\""},
        {"a path with a percent sign", "/opt/100%/agent", "", "\"/opt/100%%/agent\""},
        {"a path with a dollar sign", "/opt/a$b/agent", "x", "\"@/opt/a$b/agent\" \"/opt/a$$b/agent\" \"x\""},
        {"a path with dollar signs", "/opt/$$/${x}", "", "\"@/opt/$$/${x}\" \"/opt/$$$$/$${x}\""},
        {"a path that is not ASCII", "/opt/M\xC3\xBCller", "", "\"/opt/M\\xc3\\xbcller\""},
        {"blanks between arguments", "/a", "  one \t two  ", "\"/a\" \"one\" \"two\""},
        {"blanks in an argument", "/a", "\"one two\"", "\"/a\" \"one two\""},
        {"a tab in an argument", "/a", "\"one\ttwo\"", "\"/a\" \"one\\x09two\""},
        {"an empty argument", "/a", "\"\" x", "\"/a\" \"\" \"x\""},
        {"a quote in an argument", "/a", "\"say \\\"hi\\\"\"", "\"/a\" \"say \\\"hi\\\"\""},
        {"an apostrophe", "/a", "it's", "\"/a\" \"it's\""},
        {"backslashes", "/a", "c:\\dir\\", "\"/a\" \"c:\\\\dir\\\\\""},
        {"what looks like an escape", "/a", "\\x41\\n", "\"/a\" \"\\\\x41\\\\n\""},
        {"a specifier", "/a", "%n%%", "\"/a\" \"%%n%%%%\""},
        {"variables", "/a", "$HOME ${HOME} $$", "\"/a\" \"$$HOME\" \"$${HOME}\" \"$$$$\""},
        {"what separates commands", "/a", "; x", "\"/a\" \";\" \"x\""},
        {"prefixes of commands", "/a", "@b -c +d !e :f", "\"/a\" \"@b\" \"-c\" \"+d\" \"!e\" \":f\""},
        {"a comment", "/a", "#x ;y", "\"/a\" \"#x\" \";y\""},
        {"UTF-8", "/a", "\xC3\xBC", "\"/a\" \"\\xc3\\xbc\""},
        {"a single byte of another code page", "/a", "\xFC", "\"/a\" \"\\xfc\""},
        {"a section", "/a", "[Service] ExecStart=/b", "\"/a\" \"[Service]\" \"ExecStart=/b\""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.command, commandOf(c.executable, c.arguments));
    }
}

TEST(UnitFile, refusesWhatItCannotSay) {
    struct Case {
        const char* what;
        std::string executable, arguments, description;
    };
    using namespace std::string_literals;
    const Case cases[] = {
        {"a line break in the arguments", "/a", "x\n[Service]\nExecStart=/b", "d"},
        {"a carriage return", "/a", "x\rUser=root", "d"},
        {"a NUL in the arguments", "/a", "x\0y"s, "d"},
        {"an escape character", "/a", "\x1B[0m", "d"},
        {"a delete character", "/a", "\x7F", "d"},
        {"a line break in the path", "/a\n/b", "", "d"},
        {"a quote in the path", "/a\"b", "", "d"},
        {"an apostrophe in the path", "/a'b", "", "d"},
        {"a backslash in the path", "/a\\b", "", "d"},
        {"a line break in the description", "/a", "", "d\nExecStart=/b"},
        {"a NUL in the description", "/a", "", "d\0"s},
        {"a tab in the description", "/a", "", "d\te"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ("refused", textOf(entryWith(c.executable, c.arguments), c.description));
    }
}

TEST(UnitFile, keepsTheDescriptionOnOneLineAndLiteral) {
    EXPECT_EQ("100%% sure, %%n", valueOf("Description", textOf(entryWith("/a", ""), "100% sure, %n")));
    EXPECT_EQ("up to \\ ", valueOf("Description", textOf(entryWith("/a", ""), "up to \\")));
    EXPECT_EQ("\\\\ ", valueOf("Description", textOf(entryWith("/a", ""), "\\\\")));
    EXPECT_EQ("a\\b$c\"d'", valueOf("Description", textOf(entryWith("/a", ""), "a\\b$c\"d'")));
    EXPECT_EQ("", valueOf("Description", textOf(entryWith("/a", ""), "")));
}

TEST(UnitFile, writesDescriptionsInUtf8) {
    EXPECT_EQ("plain", toUnitText(std::string("plain")));
    EXPECT_EQ("Gr\xC3\xB6\xC3\x9F\x65", toUnitText(std::string("Gr\xC3\xB6\xC3\x9F\x65")));
    EXPECT_EQ("Gr\xC3\xB6\xC3\x9F\x65", toUnitText(std::string("Gr\xF6\xDF\x65")));
    EXPECT_EQ("Gr\xC3\xB6\xC3\x9F\x65", toUnitText(std::wstring(L"Gr\u00F6\u00DFe")));
    EXPECT_EQ("", toUnitText(std::string()));
}

// systemd would leave out the whole line.
TEST(UnitFile, replacesWhatUnicodeDoesNotExchange) {
    EXPECT_EQ("a\xEF\xBF\xBD\x62", toUnitText(std::wstring(L"a\uFFFE") + L"b"));
    EXPECT_EQ("\xEF\xBF\xBD", toUnitText(std::wstring(1, L'\uFDD0')));
    EXPECT_EQ("\xEF\xBF\xBD", toUnitText(std::wstring(L"\U0001FFFF")));
}

TEST(UnitFile, escapesNamesIntoUnitNames) {
    struct Case {
        const char *name, *unit;
    };
    const Case cases[] = {
        {"agent", "agent.service"},
        {"Agent-2.0:a_b", "Agent-2.0:a_b.service"},
        {"my agent", "my\\x20agent.service"},
        {"back\\slash", "back\\x5cslash.service"},
        {"50%", "50\\x25.service"},
        {"a@b", "a\\x40b.service"},  // no template
        {".hidden", "\\x2ehidden.service"},
        {"..", "\\x2e..service"},
        {"\"quoted\"", "\\x22quoted\\x22.service"},
        {"M\xC3\xBCller", "M\\xc3\\xbcller.service"},
        {"M\xFCller", "M\\xfcller.service"},
        {"*?[a]", "\\x2a\\x3f\\x5ba\\x5d.service"},  // no pattern
        {"-f", "-f.service"},
        {"x.service", "x.service.service"},
    };
    for (const Case& c : cases) {
        EXPECT_TRUE(isServiceName(c.name)) << c.name;
        EXPECT_EQ(c.unit, unitName(c.name));
    }
}

TEST(UnitFile, refusesNamesThatNoFileCanBear) {
    using namespace std::string_literals;
    for (const std::string& name : {""s, "a/b"s, "/"s, "../x"s, "a\nb"s, "a\tb"s, "a\0b"s, "\x7F"s})
        EXPECT_FALSE(isServiceName(name)) << testing::PrintToString(name);
}

TEST(UnitFile, takesNamesUpToTheLengthOfAFileName) {
    const std::size_t longest = 255 - std::string(".service").size();
    EXPECT_TRUE(isServiceName(std::string(longest, 'a')));
    EXPECT_FALSE(isServiceName(std::string(longest + 1, 'a')));
    EXPECT_TRUE(isServiceName(std::string(longest / 4, ' ')));
    EXPECT_FALSE(isServiceName(std::string(longest / 4 + 1, ' ')));
}

TEST(UnitFile, givesDifferentNamesDifferentUnits) {
    std::set<std::string> units;
    const std::vector<std::string> names = {"a b", "a\\x20b", "a\\x5cx20b", "a_b", "ab", ".ab", "\\x2eab"};
    for (const std::string& name : names) units.insert(unitName(name));
    EXPECT_EQ(names.size(), units.size());
}

// Whatever bytes are put in: it is refused, or the unit has the lines it always has and nothing else on them.
TEST(UnitFile, holdsItsOwnLinesWhateverIsPutIn) {
    const std::string pieces[] = {"\n",        "\r\n",
                                  "[Service]", "ExecStart=/bin/sh",
                                  "\\",        "\\\n",
                                  "%",         "%%n",
                                  "$",         "${A}",
                                  "\"",        "'",
                                  ";",         "#",
                                  " ",         "\t",
                                  "\xFF",      "\xC3",
                                  "\xC3\xBC",  "\\\"",
                                  "\\x0a",     "\xE2\x80\xA8",
                                  "\x85",      "@",
                                  "-",         "User=root"};
    std::vector<std::string> inputs;
    for (const std::string& a : pieces)
        for (const std::string& b : pieces)
            for (const std::string& c : pieces) inputs.push_back(a + b + c);
    std::size_t accepted = 0;
    for (const std::string& input : inputs) {
        std::string text;
        if (!unitText(entryWith("/opt/agent", input), toUnitText(input), text)) continue;
        ++accepted;
        const std::vector<std::string> lines = linesOf(text);
        ASSERT_EQ(10U, lines.size()) << text;
        ASSERT_EQ("Description=", lines[1].substr(0, 12));
        ASSERT_NE('\\', lines[1].back()) << lines[1];
        ASSERT_EQ("", lines[2]);
        ASSERT_EQ("[Service]", lines[3]);
        ASSERT_EQ("Type=notify", lines[4]);
        ASSERT_EQ("ExecStart=\"/opt/agent\"", lines[5].substr(0, 22));
        ASSERT_EQ('"', lines[5].back()) << lines[5];
        for (const char c : lines[5]) ASSERT_TRUE(c >= ' ' && c <= '~') << lines[5];
        ASSERT_EQ("KillMode=mixed", lines[6]);
        ASSERT_EQ("", lines[7]);
        ASSERT_EQ("[Install]", lines[8]);
        ASSERT_EQ("WantedBy=multi-user.target", lines[9]);
    }
    EXPECT_GT(accepted, inputs.size() / 2);
}
