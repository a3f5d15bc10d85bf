#include "key_store.h"

#include <robaxi/kv_error.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

using bridge::KeyStore;
using bridge::SourceValue;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class KeyStoreTest : public testing::Test {
  protected:
    std::vector<KVKeyInfo> keys() const { return fMemory->getValues()->getKeys(); }
    KVChange value(const std::string& name) const { return fMemory->getValues()->getValue(name); }

    const std::shared_ptr<KVMemoryModule> fMemory = std::make_shared<KVMemoryModule>();
    KeyStore fStore{fMemory};
};

}  // namespace

TEST_F(KeyStoreTest, addsKeysWithUnitAndTimeAndSetsThem) {
    EXPECT_TRUE(fStore.set("t", {{"a", "rad", "Angle", 1.0, 5}}));
    ASSERT_THAT(keys(), SizeIs(1));
    EXPECT_EQ(keys()[0].fUnit, "rad");
    EXPECT_EQ(keys()[0].fDescription, "Angle");
    EXPECT_FALSE(keys()[0].fWritable);
    EXPECT_EQ(value("a").fTime, 5);
    EXPECT_TRUE(fStore.set("t", {{"a", "rad", "Angle", 2.0, 6}, {"b", "", "", true, 7}}));
    EXPECT_EQ(value("a").fValue, KVValue(2.0));
    EXPECT_EQ(value("a").fTime, 6);
    EXPECT_EQ(value("b").fTime, 7);
}

TEST_F(KeyStoreTest, removesTheKeysOfAGroupAndNoOthers) {
    fStore.set("one", {{"a", "", "", 1, 1}});
    fStore.set("two", {{"b", "", "", 1, 1}});
    fStore.addWritable("one", {"w", "", "", 0.0, 0}, [](const KVValue&) {});
    fStore.remove("one");
    ASSERT_THAT(keys(), SizeIs(1));
    EXPECT_EQ(keys()[0].fName, "b");
    fStore.remove("two");
    EXPECT_THAT(keys(), IsEmpty());
    EXPECT_EQ(fStore.size(), 0U);
    EXPECT_TRUE(fStore.set("one", {{"a", "", "", 2, 1}, {"w", "", "", 2, 1}})) << "added again";
}

TEST_F(KeyStoreTest, replacesTheKeysOfAGroup) {
    fStore.set("other", {{"o", "", "", 1, 1}});
    EXPECT_TRUE(fStore.replace("t", {{"a", "", "", 1, 1}, {"b", "", "", 1, 1}}));
    const std::uint32_t kept = value("b").fId;
    EXPECT_TRUE(fStore.replace("t", {{"b", "", "", 2, 2}, {"c", "", "", 2, 2}}));
    ASSERT_THAT(keys(), SizeIs(3));
    EXPECT_EQ(value("b").fId, kept);
    EXPECT_EQ(value("b").fValue, KVValue(2));
    EXPECT_EQ(value("c").fValue, KVValue(2));
    EXPECT_EQ(fStore.size(), 3U);
}

TEST_F(KeyStoreTest, writesReachTheHandler) {
    KVValue written;
    fStore.addWritable("t", {"volume", "", "", 0.0, 0},
                       [&](const KVValue& level) { written = level; });
    fMemory->getValues()->write("volume", 0.5);
    EXPECT_EQ(written, KVValue(0.5));
    fStore.set("t", {{"fixed", "", "", 0.0, 0}});
    EXPECT_THROW(fMemory->getValues()->write("fixed", 0.5), KVError);
}

TEST_F(KeyStoreTest, namesOfAnotherGroupAndBeyondTheLimitsAreLeftOut) {
    EXPECT_TRUE(fStore.set("one", {{"a", "", "", 1, 1}}));
    EXPECT_FALSE(fStore.set("two", {{"a", "", "", 2, 1}}));
    EXPECT_EQ(value("a").fValue, KVValue(1));
    EXPECT_FALSE(fStore.set("two", {{std::string(bridge::a_longestKey + 1, 'x'), "", "", 2, 1}}));
    std::vector<SourceValue> many;
    for (std::size_t i = 0; i <= bridge::a_mostKeysOfGroup; ++i) {
        many.push_back({"k" + std::to_string(i), "", "", 1, 1});
    }
    EXPECT_FALSE(fStore.set("many", many));
    EXPECT_EQ(fStore.size(), 1 + bridge::a_mostKeysOfGroup);
}
