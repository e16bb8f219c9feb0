// Versions and ranges: two lines are read as versions and compared, all of the input is read as ranges.
#include <OrvoException.h>
#include <OrvoVersion.h>

#include <climits>
#include <optional>
#include <tuple>
#include <vector>

#include "Fuzz.h"

using namespace OrvoSupport;

namespace {

// The comparison is private; an explicit instantiation may name it all the same.
using Compare = OrvoVersion::tTestMode (*)(const OrvoVersion&, const OrvoVersion&);
Compare privateCompare();
template <Compare function>
struct OpenCompare {
    friend Compare privateCompare() { return function; }
};
template struct OpenCompare<&OrvoVersion::compare>;

struct Reference {
    std::vector<long> numbers;
    std::string word;

    std::string text() const {
        std::string result;
        for (std::size_t i = 0; i < numbers.size(); ++i)
            result += (i ? "." : "") + std::to_string(numbers[i]);
        return word.empty() ? result : result + "." + word;
    }
};

std::vector<std::string> pieces(const std::string& text, char separator) {
    std::vector<std::string> result(1);
    for (const char* c = text.c_str(); *c; ++c)
        if (*c == separator) {
            result.emplace_back();
        } else {
            result.back() += *c;
        }
    result.erase(std::remove(result.begin(), result.end(), ""), result.end());
    return result;
}

std::optional<Reference> readReference(const std::string& text) {
    Reference version;
    for (const std::string& piece : pieces(text, '.')) {
        if (!version.word.empty()) return std::nullopt;
        if (piece[0] >= '0' && piece[0] <= '9') {
            version.numbers.push_back(std::min(std::strtol(piece.c_str(), nullptr, 10), long{INT_MAX}));
        } else {
            version.word = piece;
        }
    }
    return version;
}

std::optional<OrvoVersion> read(const std::string& text) {
    try {
        return OrvoVersion(text);
    } catch (const OrvoException&) {
        return std::nullopt;
    }
}

OrvoVersion::tTestMode compareReference(Reference a, Reference b) {
    const std::size_t size = std::max(a.numbers.size(), b.numbers.size());
    a.numbers.resize(size);
    b.numbers.resize(size);
    const auto left = std::tie(a.numbers, a.word);
    const auto right = std::tie(b.numbers, b.word);
    return left < right ? OrvoVersion::Less : right < left ? OrvoVersion::Greater : OrvoVersion::Equal;
}

void checkVersions(const std::string& first, const std::string& second) {
    const auto a = read(first), b = read(second);
    const auto expectedA = readReference(first), expectedB = readReference(second);
    REQUIRE(a.has_value() == expectedA.has_value() && b.has_value() == expectedB.has_value());
    if (!a || !b) return;
    REQUIRE(a->toString() == expectedA->text());
    REQUIRE(a->isInit() == (a->toString() != ""));
    REQUIRE(privateCompare()(*a, *b) == compareReference(*expectedA, *expectedB));
    REQUIRE(privateCompare()(*a, OrvoVersion(a->toString())) == OrvoVersion::Equal);

    OrvoVersion assigned(*b);
    assigned = first;
    REQUIRE(assigned.toString() == a->toString());
}

/// As "lower~upper;", or the exception's text.
std::string rangesOf(const std::string& spec) {
    std::string result;
    try {
        for (const auto& [lower, upper] : OrvoVersion::createRangeVector(spec))
            result += lower.toString() + "~" + upper.toString() + ";";
    } catch (const OrvoException& exception) {
        return exception.getText();
    }
    return result;
}

std::string rangesOfReference(const std::string& spec) {
    std::vector<std::string> texts;
    for (const std::string& item : pieces(spec, ',')) {
        if (item[0] != '{') {
            texts.insert(texts.end(), {item, ""});
            continue;
        }
        const std::size_t minus = item.find('-');
        if (minus == std::string::npos || minus < 2 || minus + 2 >= item.size())
            return OrvoException("OrvoVersion::createRangeVector: Invalid range specification: " + spec)
                .getText();
        texts.insert(texts.end(), {item.substr(1, minus - 1), item.substr(minus + 1)});
        texts.back().pop_back();
    }
    std::string result;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const auto version = readReference(texts[i]);
        if (!version)
            return OrvoException("OrvoVersion::parse: invalid version string: " + texts[i]).getText();
        result += version->text() + (i % 2 == 0 ? "~" : ";");
    }
    return result;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::string first = input.line();
    checkVersions(first, input.line());
    const std::string spec(data, data + size);
    REQUIRE(rangesOf(spec) == rangesOfReference(spec));
    return 0;
}
