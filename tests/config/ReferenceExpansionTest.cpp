// The expansion of hostile texts, and against one that really searches the whole text anew each time.
#include "config/ReferenceExpansion.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace OrvoSupport {
namespace {

using Values = std::map<std::string, std::string>;

std::string expand(const std::string& text, const Values& values) {
    return expandReferences(text, [&](const std::string& name, std::string& value) {
        const auto found = values.find(name);
        value = found == values.end() ? "" : found->second;
    });
}

std::string expandAnew(std::string result, const Values& values) {
    while (true) {
        const std::size_t open = result.find('<');
        if (open == std::string::npos) return result;
        const std::size_t close = result.find('>', open);
        if (close == std::string::npos) return result;
        const auto found = values.find(result.substr(open + 1, close - open - 1));
        result.replace(open, close + 1 - open, found == values.end() ? "" : found->second);
    }
}

std::string randomText(std::mt19937& random, const char* alphabet) {
    const std::string letters = alphabet;
    std::string text(random() % 12, ' ');
    for (char& c : text) c = letters[random() % letters.size()];
    return text;
}

// Values hold names further on in the alphabet only, so that every expansion ends.
TEST(ReferenceExpansion, doesWhatSearchingAnewDoes) {
    std::mt19937 random(1);
    for (int round = 0; round < 20000; ++round) {
        const Values values = {{"a", randomText(random, "<<>>bcd..")}, {"b", randomText(random, "<<>>cd..")},
                               {"c", randomText(random, "<<>d..")},    {"d", randomText(random, ">..")},
                               {"", randomText(random, ">.")},         {"dd", randomText(random, ">.")}};
        const std::string text = randomText(random, "<<<>>>abcd..") + randomText(random, "<>a");
        ASSERT_EQ(expandAnew(text, values), expand(text, values)) << text;
    }
}

// A million replacements in a circle leave nothing behind.
TEST(ReferenceExpansion, turnsInACircleWithoutGrowing) {
    int left = 1'000'000;
    const std::string result = expandReferences("(<x>)", [&](const std::string&, std::string& value) {
        value = left-- > 0 ? (left % 2 ? "<longer name>" : "<x>") : "end";
    });
    EXPECT_EQ("(end)", result);
}

// One character more each time, in front of the reference or behind it.
TEST(ReferenceExpansion, growsByWhatValuesHold) {
    for (const char* value : {".<x>", "<x>."}) {
        int left = 2'000'000;
        const std::string result = expandReferences(
            "<x>", [&](const std::string&, std::string& found) { found = left-- > 0 ? value : "end"; });
        EXPECT_EQ(2'000'003u, result.size()) << value;
    }
}

// A text stands at the end of its memory, so that end tells when it has got other memory.
TEST(ReferenceExpansion, usesTheRoomOfWhatWasReplacedAgain) {
    const auto endOf = [](const PendingText& text) { return text.view().data() + text.view().size(); };
    PendingText circle("<x>rest");
    circle.drop(3);
    circle.prepend("<longer name>");
    const char* const end = endOf(circle);
    for (int i = 0; i < 1'000'000; ++i) {
        circle.drop(i % 2 ? 3 : 13);
        circle.prepend(i % 2 ? "<longer name>" : "<x>");
        ASSERT_EQ(end, endOf(circle));
    }

    PendingText growing("<x>");
    int moves = 0;
    for (int i = 0; i < 1'000'000; ++i) {
        const char* const before = endOf(growing);
        growing.drop(3);
        growing.prepend("<x>.");
        moves += endOf(growing) != before;
    }
    EXPECT_EQ(1'000'003u, growing.view().size());
    EXPECT_LE(moves, 24) << "its memory at least doubles";
}

TEST(ReferenceExpansion, takesManyReferencesInOneText) {
    std::string text;
    for (int i = 0; i < 1'000'000; ++i) text += i % 3 ? "<>" : "<<>";
    std::size_t count = 0;
    const std::string result = expandReferences(text, [&](const std::string& name, std::string& value) {
        value = ++count % 2 ? "" : name.empty() ? "<" : "x>";
    });
    EXPECT_GE(count, 500'000u);
    EXPECT_LE(result.size(), text.size() + 2 * count);
}

TEST(ReferenceExpansion, takesTimeInProportionToTheText) {
    const std::string opens(4'000'000, '<');
    EXPECT_EQ(opens.size(), expand(opens, {}).size());
    EXPECT_EQ("x", expand(opens + '>', {{opens.substr(1), "x"}}));
    const std::string closes(4'000'000, '>');
    EXPECT_EQ(closes.size(), expand(closes, {}).size());

    // A long rest behind many values that hold references.
    std::string text;
    for (int i = 0; i < 100'000; ++i) text += "<a>";
    const std::string rest(10'000'000, '.');
    EXPECT_EQ(rest.size() + 200'000, expand(text + rest, {{"a", "<b><b>"}, {"b", "1"}}).size());
}

}  // namespace
}  // namespace OrvoSupport
