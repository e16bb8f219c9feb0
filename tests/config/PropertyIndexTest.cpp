#include "config/PropertyIndex.h"

#include <gtest/gtest.h>

#include <memory>

namespace OrvoSupport {

// Keys as somebody would choose them who wants a hash table to be slow.
struct SameHash {
    int number;
};
bool operator==(SameHash a, SameHash b) { return a.number == b.number; }
bool operator<(SameHash a, SameHash b) { return a.number < b.number; }
std::size_t propertyHash(SameHash) { return 7; }

namespace {

struct Entry {
    SameHash key;
};

TEST(PropertyIndexTest, findsEntriesWhoseHashesAreAllTheSame) {
    std::vector<Entry> entries;
    for (int i = 0; i < 20000; ++i) entries.push_back({{i}});
    PropertyIndex<Entry, SameHash> index;
    for (Entry& entry : entries) index.add(&entry);
    for (std::size_t i = 0; i < entries.size(); i += 2) index.remove(&entries[i]);
    for (std::size_t i = 0; i < entries.size(); i += 4) index.add(&entries[i]);

    for (std::size_t i = 0; i < entries.size(); ++i)
        ASSERT_EQ(i % 4 == 2 ? nullptr : &entries[i], index.find(entries[i].key)) << i;
    EXPECT_EQ(nullptr, index.find({-1}));
}

TEST(PropertyIndexTest, findsNothingBeforeTheFirstEntry) {
    const PropertyIndex<Entry, SameHash> index;
    EXPECT_EQ(nullptr, index.find({1}));
}

TEST(PropertyIndexTest, hashesTextsAlikeThatAreEqualInSomeLocale) {
    EXPECT_EQ(propertyHash(string_ci("Key.Name")), propertyHash(string_ci("kEY.nAME")));
    EXPECT_EQ(propertyHash(string_ci("\xC4")), propertyHash(string_ci("\xE4")));
    EXPECT_EQ(propertyHash(wstring_ci(L"k")), propertyHash(wstring_ci(L"\u212A")));
    EXPECT_EQ(propertyHash(wstring_ci(L"I")), propertyHash(wstring_ci(L"\u0131")));
    EXPECT_EQ(propertyHash(wstring_ci(L"i")), propertyHash(wstring_ci(L"\u0130")));
    EXPECT_NE(propertyHash(string_ci("port")), propertyHash(string_ci("host")));
    EXPECT_NE(propertyHash(string("Port")), propertyHash(string("port")));
}

}  // namespace
}  // namespace OrvoSupport
