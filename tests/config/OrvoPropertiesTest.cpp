#include "OrvoProperties.h"

#include <set>

#include "config/PropertyTexts.h"

namespace OrvoSupport {
namespace {

template <class S>
class OrvoPropertiesTest : public testing::Test {};
TYPED_TEST_SUITE(OrvoPropertiesTest, AllStrings, StringName);

TYPED_TEST(OrvoPropertiesTest, isEmptyAndMultiValuedAtFirst) {
    OrvoProperties<TypeParam> store;
    EXPECT_EQ("", contents(store));

    store.addProperty(text<TypeParam>("a"), text<TypeParam>("1"));
    store.addProperty(text<TypeParam>("a"), text<TypeParam>("2"));

    EXPECT_EQ("a=1,2;", contents(store));
    EXPECT_EQ(0u, store.refCount());
}

TYPED_TEST(OrvoPropertiesTest, replacesTheFirstValueWhenNotMultiValued) {
    OrvoProperties<TypeParam> multi(true);
    multi.addProperty(text<TypeParam>("a"), text<TypeParam>("1"));
    multi.addProperty(text<TypeParam>("a"), text<TypeParam>("2"));
    EXPECT_EQ("a=1,2;", contents(multi));

    OrvoProperties<TypeParam> single(false);
    single.addProperty(text<TypeParam>("a"), text<TypeParam>("1"));
    single.addProperty(text<TypeParam>("a"), text<TypeParam>("2"));
    EXPECT_EQ("a=2;", contents(single));
}

TYPED_TEST(OrvoPropertiesTest, ignoresAnEmptyKey) {
    OrvoProperties<TypeParam> store;
    store.addProperty(TypeParam(), text<TypeParam>("1"));
    store.setProperty(TypeParam(), text<TypeParam>("1"));

    EXPECT_EQ("", contents(store));
}

TYPED_TEST(OrvoPropertiesTest, setsOnlyTheFirstValueWhateverTheFlag) {
    OrvoProperties<TypeParam> multi;
    multi.addProperty(text<TypeParam>("a"), text<TypeParam>("1"));
    multi.addProperty(text<TypeParam>("a"), text<TypeParam>("2"));
    multi.setProperty(text<TypeParam>("a"), text<TypeParam>("3"));
    multi.setProperty(text<TypeParam>("b"), text<TypeParam>("4"));
    EXPECT_EQ("a=3,2;b=4;", contents(multi));

    OrvoProperties<TypeParam> single(multi);
    single = OrvoProperties<TypeParam>(false);
    single.setProperty(text<TypeParam>("a"), text<TypeParam>("1"));
    single.setProperty(text<TypeParam>("a"), text<TypeParam>("2"));
    EXPECT_EQ("a=2;", contents(single));
}

TYPED_TEST(OrvoPropertiesTest, keepsFurtherValuesWhenASingleValuedStoreReplacesTheFirst) {
    OrvoProperties<TypeParam> store;
    store.addProperty(text<TypeParam>("a"), text<TypeParam>("1"));
    store.addProperty(text<TypeParam>("a"), text<TypeParam>("2"));
    store.setProperty(text<TypeParam>("a"), text<TypeParam>("3"));

    EXPECT_EQ("a=3,2;", contents(store));
}

TYPED_TEST(OrvoPropertiesTest, answersAMissingKeyWithTheDefaultItself) {
    OrvoProperties<TypeParam> store;
    store.addProperty(text<TypeParam>("a"), text<TypeParam>("1"));
    store.addProperty(text<TypeParam>("a"), text<TypeParam>("2"));
    const TypeParam fallback = text<TypeParam>("none");

    EXPECT_EQ(text<TypeParam>("1"), store.getProperty(text<TypeParam>("a"), fallback));
    EXPECT_EQ(&fallback, &store.getProperty(text<TypeParam>("b"), fallback));
    EXPECT_EQ(&fallback, &store.getProperty(TypeParam(), fallback));
}

TYPED_TEST(OrvoPropertiesTest, leavesTheResultAloneWhenTheKeyIsMissing) {
    OrvoProperties<TypeParam> store;
    store.addProperty(text<TypeParam>("a"), text<TypeParam>("1"));
    TypeParam value = text<TypeParam>("before");

    EXPECT_FALSE(store.getPropertyValue(text<TypeParam>("b"), value));
    EXPECT_EQ(text<TypeParam>("before"), value);
    EXPECT_TRUE(store.getPropertyValue(text<TypeParam>("a"), value));
    EXPECT_EQ(text<TypeParam>("1"), value);
}

TYPED_TEST(OrvoPropertiesTest, givesAllValuesInTheOrderOfAdding) {
    OrvoProperties<TypeParam> store;
    for (const char* value : {"2", "1", "3"}) store.addProperty(text<TypeParam>("a"), text<TypeParam>(value));

    const std::vector<TypeParam> expected{text<TypeParam>("2"), text<TypeParam>("1"), text<TypeParam>("3")};
    EXPECT_EQ(expected, store.getPropertyValues(text<TypeParam>("a")));
    EXPECT_TRUE(store.getPropertyValues(text<TypeParam>("b")).empty());
}

TYPED_TEST(OrvoPropertiesTest, removesAKeyWithAllValues) {
    OrvoProperties<TypeParam> store;
    store.addProperty(text<TypeParam>("a"), text<TypeParam>("1"));
    store.addProperty(text<TypeParam>("a"), text<TypeParam>("2"));
    store.addProperty(text<TypeParam>("b"), text<TypeParam>("3"));
    store.removeProperty(text<TypeParam>("a"));
    store.removeProperty(text<TypeParam>("c"));

    EXPECT_EQ("b=3;", contents(store));
    EXPECT_TRUE(store.getPropertyValues(text<TypeParam>("a")).empty());
}

TYPED_TEST(OrvoPropertiesTest, keepsReferencesWhileOtherKeysComeAndGo) {
    OrvoProperties<TypeParam> store;
    store.addProperty(text<TypeParam>("kept"), text<TypeParam>("1"));
    const TypeParam fallback;
    const TypeParam& value = store.getProperty(text<TypeParam>("kept"), fallback);

    for (int i = 0; i < 2000; ++i) store.addProperty(text<TypeParam>(std::to_string(i)), fallback);
    store.getPropertyValues(text<TypeParam>("kept"));
    contents(OrvoProperties<TypeParam>(store));
    contents(store);
    for (int i = 0; i < 2000; ++i) store.removeProperty(text<TypeParam>(std::to_string(i)));
    contents(store);

    EXPECT_EQ(text<TypeParam>("1"), value);
    EXPECT_EQ(&value, &store.getProperty(text<TypeParam>("kept"), fallback));
}

TYPED_TEST(OrvoPropertiesTest, takesItsOwnValuesAsArguments) {
    OrvoProperties<TypeParam> store;
    const TypeParam key = text<TypeParam>("a key longer than any short string");
    const TypeParam none;
    store.addProperty(key, key);
    for (int i = 0; i < 9; ++i) store.addProperty(key, store.getProperty(key, none));
    store.setProperty(key, store.getProperty(key, none));
    EXPECT_EQ(std::vector<TypeParam>(10, key), store.getPropertyValues(key));

    store.removeProperty(store.getProperty(key, none));
    EXPECT_EQ("", contents(store));
}

TYPED_TEST(OrvoPropertiesTest, putsARemovedKeyBackInItsPlace) {
    OrvoProperties<TypeParam> store;
    for (const char* line : {"c=1", "b=2", "a=3"}) store.addProperty(text<TypeParam>(line), '=');
    for (int i = 0; i < 20; ++i) {
        store.removeProperty(text<TypeParam>("b"));
        EXPECT_EQ("a=3;c=1;", contents(store));
        store.addProperty(text<TypeParam>("b"), text<TypeParam>("again"));
        EXPECT_EQ("a=3;b=again;c=1;", contents(store));
    }
}

TYPED_TEST(OrvoPropertiesTest, findsEveryKeyAmongManyThatComeAndGo) {
    OrvoProperties<TypeParam> store(false);
    const auto key = [](int i) { return text<TypeParam>("key." + std::to_string(i * 7919 % 3000)); };
    std::set<int> there;
    for (int round = 0; round < 5; ++round) {
        for (int i = round; i < 3000; i += 2) {
            store.addProperty(key(i), text<TypeParam>(std::to_string(i)));
            there.insert(i);
        }
        for (int i = round; i < 3000; i += 3) {
            store.removeProperty(key(i));
            there.erase(i);
        }
    }

    for (int i = 0; i < 3000; ++i) {
        TypeParam value;
        ASSERT_EQ(there.count(i) == 1, store.getPropertyValue(key(i), value)) << i;
        EXPECT_EQ(there.count(i) == 1 ? text<TypeParam>(std::to_string(i)) : TypeParam(), value);
    }
    const std::string all = contents(store);
    EXPECT_EQ(there.size(), static_cast<std::size_t>(std::count(all.begin(), all.end(), ';')));
}

TYPED_TEST(OrvoPropertiesTest, findsKeysOfForeignLettersOnly) {
    OrvoProperties<TypeParam> store(false);
    const auto key = [](int i) {
        return text<TypeParam>(std::string{static_cast<char>(0xC0 + i % 16),
                                           static_cast<char>(0xC0 + i / 16 % 16),
                                           static_cast<char>(0xC0 + i / 256), 'i', 'k'});
    };
    for (int i = 0; i < 2048; ++i) store.addProperty(key(i), text<TypeParam>(std::to_string(i)));
    for (int i = 0; i < 2048; i += 2) store.removeProperty(key(i));

    for (int i = 0; i < 2048; ++i) {
        const std::size_t expected = i % 2 == 0 ? 0 : 1;
        EXPECT_EQ(expected, store.getPropertyValues(key(i)).size()) << i;
    }
}

TYPED_TEST(OrvoPropertiesTest, copiesEntriesAndFlagAndNothingElse) {
    OrvoProperties<TypeParam> single(false);
    single.addProperty(text<TypeParam>("a"), text<TypeParam>("1"));
    OrvoProperties<TypeParam> copy(single);
    copy.addProperty(text<TypeParam>("a"), text<TypeParam>("2"));
    EXPECT_EQ("a=2;", contents(copy));
    EXPECT_EQ("a=1;", contents(single));

    OrvoProperties<TypeParam> assigned;
    assigned.addProperty(text<TypeParam>("gone"), text<TypeParam>("1"));
    EXPECT_EQ(&assigned, &(assigned = single));
    assigned.addProperty(text<TypeParam>("a"), text<TypeParam>("3"));
    EXPECT_EQ("a=3;", contents(assigned));
    EXPECT_TRUE(assigned.getPropertyValues(text<TypeParam>("gone")).empty());
}

TYPED_TEST(OrvoPropertiesTest, survivesAssignmentToItself) {
    OrvoProperties<TypeParam> store;
    store.addProperty(text<TypeParam>("a"), text<TypeParam>("1"));
    const OrvoProperties<TypeParam>& same = store;
    store = same;

    EXPECT_EQ("a=1;", contents(store));
}

TYPED_TEST(OrvoPropertiesTest, keepsItsHoldersWhenAssignedTo) {
    OrvoSmartPointer<OrvoProperties<TypeParam>> holder(new OrvoProperties<TypeParam>);
    OrvoProperties<TypeParam> other(*holder);
    EXPECT_EQ(0u, other.refCount());

    *holder = other;

    EXPECT_EQ(1u, holder->refCount());
}

struct Counter : OrvoDependent {
    void handleNotification(OrvoCollaborator&, const OrvoNotification& note) override {
        ++count;
        if (const auto* changed = dynamic_cast<const PropertyChanged*>(&note)) name = changed->getName();
    }
    int count = 0;
    string name;
};

TYPED_TEST(OrvoPropertiesTest, tellsItsDependentsOnlyWhenAsked) {
    OrvoProperties<TypeParam> store;
    Counter counter;
    store.addDependent(counter);
    store.addProperty(text<TypeParam>("a"), text<TypeParam>("1"));
    store.setProperty(text<TypeParam>("a"), text<TypeParam>("2"));
    store.removeProperty(text<TypeParam>("a"));
    EXPECT_EQ(0, counter.count);

    store.notify(PropertyChanged(string("a")));
    EXPECT_EQ(1, counter.count);
    EXPECT_EQ("a", counter.name);

    OrvoProperties<TypeParam> copy(store);
    OrvoProperties<TypeParam> assigned;
    assigned = store;
    copy.notify(PropertyChanged(string("b")));
    assigned.notify(PropertyChanged(string("b")));
    EXPECT_EQ(1, counter.count);
    store.removeDependent(counter);
}

template <class S>
class OrvoPropertiesCaseTest : public testing::Test {};
TYPED_TEST_SUITE(OrvoPropertiesCaseTest, CaseInsensitiveStrings, StringName);

TYPED_TEST(OrvoPropertiesCaseTest, findsAKeyInAnyCaseAndKeepsItsFirstSpelling) {
    OrvoProperties<TypeParam> store;
    store.addProperty(text<TypeParam>("Name"), text<TypeParam>("1"));
    store.addProperty(text<TypeParam>("NAME"), text<TypeParam>("2"));
    store.setProperty(text<TypeParam>("nAmE"), text<TypeParam>("3"));
    EXPECT_EQ("Name=3,2;", contents(store));
    EXPECT_EQ(2u, store.getPropertyValues(text<TypeParam>("name")).size());

    store.removeProperty(text<TypeParam>("namE"));
    EXPECT_EQ("", contents(store));
}

TYPED_TEST(OrvoPropertiesCaseTest, sortsWithoutRegardToCase) {
    OrvoProperties<TypeParam> store;
    for (const char* line : {"b=1", "C=2", "A=3"}) store.addProperty(text<TypeParam>(line), '=');

    EXPECT_EQ("A=3;b=1;C=2;", contents(store));
}

TEST(OrvoPropertiesExactOrderTest, sortsCapitalsFirstWhereCaseMatters) {
    OrvoProperties<string> narrow;
    OrvoProperties<wstring> wide;
    for (const char* line : {"b=1", "C=2", "A=3", "c=4"}) {
        narrow.addProperty(text<string>(line), '=');
        wide.addProperty(text<wstring>(line), '=');
    }

    EXPECT_EQ("A=3;C=2;b=1;c=4;", contents(narrow));
    EXPECT_EQ("A=3;C=2;b=1;c=4;", contents(wide));
}

TEST(PropertyChangedTest, carriesTheNameNarrow) {
    const PropertyChanged narrow(string("port"));
    PropertyChanged wide(wstring(L"host"));
    EXPECT_EQ("port", narrow.getName());
    EXPECT_EQ("host", wide.getName());

    wide.setId(7);
    const PropertyChanged copy(wide);
    EXPECT_EQ("host", copy.getName());
    EXPECT_EQ(7, copy.getId());
    wide = PropertyChanged(string("other"));
    EXPECT_EQ("other", wide.getName());
}

TEST(OrvoPropertiesOwnClassTest, canBeDerivedFrom) {
    struct Settings : OrvoProperties<string> {
        Settings() : OrvoProperties<string>(false) {}
    };
    OrvoSmartPointer<OrvoProperties<string>> settings(new Settings);
    settings->addProperty("port=80", '=');

    EXPECT_NE(nullptr, dynamic_cast<Settings*>(settings.get()));
    EXPECT_EQ("80", settings->getProperty("port", ""));
    EXPECT_FALSE(settings->isA("Settings"));
}

}  // namespace
}  // namespace OrvoSupport
