// The order of many keys at once, against that of the standard library's map.
#include <limits>
#include <map>
#include <random>

#include "config/PropertyTexts.h"

namespace OrvoSupport {
namespace {

template <class S>
class OrvoPropertiesOrderTest : public testing::Test {
protected:
    using Char = typename S::value_type;

    // Few different characters, so that keys agree in their beginnings and some are beginnings of others.
    S randomKey(std::size_t most) {
        static constexpr Char limit = std::numeric_limits<Char>::max();
        static constexpr Char alphabet[] = {Char(0), 'a', 'A', 'b', Char(0x80), Char(0xFF), limit, Char(1)};
        S key(1 + random() % most, Char());
        for (Char& c : key) c = alphabet[random() % 8];
        return key;
    }

    // Adds `count` keys to a store and to a map.
    void add(std::size_t count, const S& beginning, std::size_t most) {
        for (std::size_t i = 0; i < count; ++i) {
            const S key = beginning + randomKey(most);
            store.addProperty(key, key);
            map[key].push_back(key);
        }
    }

    std::mt19937 random{1};
    OrvoProperties<S> store;
    std::map<S, std::vector<S>> map;
};
TYPED_TEST_SUITE(OrvoPropertiesOrderTest, AllStrings, StringName);

template <class S>
struct Entries : OrvoPropertyIterator<S> {
    void visit(const std::pair<S, std::vector<S>>& entry) override { all.push_back(entry); }
    std::vector<std::pair<S, std::vector<S>>> all;
};

// The texts as they are, whatever the string type takes for equal.
template <class Entry>
bool exactlyEqual(const Entry& a, const Entry& b) {
    const auto same = [](const auto& x, const auto& y) {
        using Char = typename std::decay_t<decltype(x)>::value_type;
        return std::basic_string_view<Char>(x.data(), x.size()) ==
               std::basic_string_view<Char>(y.data(), y.size());
    };
    return same(a.first, b.first) &&
           std::equal(a.second.begin(), a.second.end(), b.second.begin(), b.second.end(), same);
}

TYPED_TEST(OrvoPropertiesOrderTest, isThatOfAMap) {
    using Expected = std::vector<std::pair<TypeParam, std::vector<TypeParam>>>;
    const TypeParam none;
    struct Step {
        const char* what;
        std::size_t count;
        TypeParam beginning;
        std::size_t most;
    };
    const Step steps[] = {
        {"short keys", 600, none, 3},          {"a few more", 5, none, 12},
        {"long keys", 600, none, 40},          {"a long common beginning", 300, TypeParam(100, 'B'), 4},
        {"one other among them", 1, none, 20}, {"NULs in common", 100, TypeParam(9, '\0'), 20},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.what);
        this->add(step.count, step.beginning, step.most);
        Entries<TypeParam> entries;
        this->store.forEach(entries);
        const Expected expected(this->map.begin(), this->map.end());
        ASSERT_EQ(expected.size(), entries.all.size());
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), entries.all.begin(),
                               exactlyEqual<typename Expected::value_type>));
    }
}

}  // namespace
}  // namespace OrvoSupport
