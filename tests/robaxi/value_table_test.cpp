#include "test_broker.h"

#include <robaxi/kv_value_table.h>

#include <gtest/gtest.h>

#include <thread>

using namespace robaxi_test;

namespace {

KVKeyInfo key(const std::string& name, bool writable = false) {
    KVKeyInfo info;
    info.fName = name;
    info.fWritable = writable;
    return info;
}

class Table : public testing::Test {
  protected:
    KVValueTable fTable;
};

}  // namespace

TEST_F(Table, GivesEachKeyAnIdentifierThatIsNeverUsedAgain) {
    const std::uint32_t a = fTable.addKey(key("a"), 1);
    fTable.removeKey(a);
    const std::uint32_t again = fTable.addKey(key("a"), 2);
    EXPECT_NE(again, a);
    EXPECT_NE(again, 0U);
    EXPECT_EQ(fTable.getValue("a").fId, again);
}

TEST_F(Table, RefusesANameThatIsEmptyOrTaken) {
    fTable.addKey(key("a"), 1);
    EXPECT_CAUSE(errorOf([&] { fTable.addKey(key("a"), 1); }), InvalidArgument);
    EXPECT_CAUSE(errorOf([&] { fTable.addKey(key(""), 1); }), InvalidArgument);
    EXPECT_EQ(fTable.getKeys().size(), 1U);
}

TEST_F(Table, TakesTheTypeFromTheValue) {
    const std::uint32_t a = fTable.addKey(key("a"), 1);
    EXPECT_EQ(fTable.getKeys()[0].fType, KVValue::Type::Int);
    fTable.setValue(a, "text");
    EXPECT_EQ(fTable.getKeys()[0].fType, KVValue::Type::String);
}

TEST_F(Table, KeepsTheTimeOfTheLastChange) {
    const std::uint32_t a = fTable.addKey(key("a"), 1);
    fTable.setValue(a, 2, 1000);
    fTable.setValue(a, 2, 2000);
    EXPECT_EQ(fTable.getValue("a").fTime, 1000);
    fTable.setValue(a, 3);
    EXPECT_GT(fTable.getValue("a").fTime, 1500000000000000);
}

TEST_F(Table, RestoresValuesWithTheirOwnTimes) {
    const std::uint32_t a = fTable.addKey(key("a"), 1, 500);
    const std::uint32_t b = fTable.addKey(key("b"), 1);
    EXPECT_EQ(fTable.getValue("a").fTime, 500);
    fTable.restore({{a, 1, 2000}, {b, "text", 1000}, {999, 5, 1000}});
    EXPECT_EQ(fTable.getValue("a").fTime, 2000);
    EXPECT_EQ(fTable.getValue("b").fTime, 1000);
    EXPECT_EQ(fTable.getValue("b").fValue, KVValue("text"));
    EXPECT_EQ(fTable.getKeys()[1].fType, KVValue::Type::String);
    fTable.restore({{a, 1, 300}});
    EXPECT_EQ(fTable.getValue("a").fTime, 300);
}

TEST_F(Table, RemovesSeveralKeysAndNoOthers) {
    std::vector<std::uint32_t> ids;
    for (int i = 0; i < 200'000; ++i) {
        ids.push_back(fTable.addKey(key("k" + std::to_string(i)), i));
    }
    std::vector<std::uint32_t> removed{999'999, ids[7], ids[7]};
    for (std::size_t i = 0; i < ids.size(); ++i) {
        if (i % 50'000 != 3) {
            removed.push_back(ids[i]);
        }
    }
    fTable.removeKeys(removed);
    const std::vector<KVKeyInfo> left = fTable.getKeys();
    ASSERT_EQ(left.size(), 4U);
    for (std::size_t i = 0; i < left.size(); ++i) {
        EXPECT_EQ(left[i].fId, ids[i * 50'000 + 3]);
        fTable.setValue(left[i].fId, -1);
        EXPECT_EQ(fTable.getValue(left[i].fName).fValue, KVValue(-1));
    }
    EXPECT_EQ(fTable.addKey(key("k7"), 1), ids.back() + 1);
}

TEST_F(Table, PassesOverUnknownIdentifiers) {
    const std::uint32_t a = fTable.addKey(key("a"), 1);
    fTable.setValues({{999, 5}, {a, 2}});
    fTable.removeKey(999);
    EXPECT_EQ(fTable.getValue("a").fValue, KVValue(2));
}

TEST_F(Table, HasNoValueForAKeyThatIsNotThere) {
    EXPECT_CAUSE(errorOf([&] { fTable.getValue("a"); }), InvalidArgument);
    fTable.removeKey(fTable.addKey(key("a"), 1));
    EXPECT_CAUSE(errorOf([&] { fTable.getValue("a"); }), InvalidArgument);
    EXPECT_TRUE(fTable.getKeys().empty());
}

TEST_F(Table, IsWrittenThroughItsHandler) {
    std::string written;
    fTable.addKey(key("a", true), 1.5);
    EXPECT_CAUSE(errorOf([&] { fTable.write("a", 2.0); }), RaisedByModule);
    fTable.setWriteHandler([&](const std::string& name, const KVValue&) { written = name; });
    fTable.write("a", 2);
    EXPECT_EQ(written, "a");
    EXPECT_EQ(fTable.getValue("a").fValue, KVValue(2.0));
}

TEST_F(Table, RefusesWritesThatDoNotFit) {
    fTable.addKey(key("fixed"), 1);
    fTable.addKey(key("free", true), 1);
    fTable.setWriteHandler([](const std::string&, const KVValue& value) {
        if (value.toInt() < 0) {
            throw std::runtime_error("too cold");
        }
    });
    EXPECT_CAUSE(errorOf([&] { fTable.write("absent", 1); }), InvalidArgument);
    EXPECT_CAUSE(errorOf([&] { fTable.write("fixed", 1); }), RaisedByModule);
    EXPECT_CAUSE(errorOf([&] { fTable.write("free", "text"); }), WrongType);
    const KVError error = errorOf([&] { fTable.write("free", -1); });
    EXPECT_CAUSE(error, RaisedByModule);
    EXPECT_EQ(error.toString(), "too cold");
    EXPECT_EQ(fTable.getValue("free").fValue, KVValue(1));
}

TEST_F(Table, MayBeUsedByItsOwnWriteHandler) {
    fTable.addKey(key("a", true), 1);
    const std::uint32_t copy = fTable.addKey(key("copy"), 1);
    fTable.setWriteHandler(
        [&](const std::string&, const KVValue& value) { fTable.setValue(copy, value); });
    fTable.write("a", 5);
    EXPECT_EQ(fTable.getValue("copy").fValue, KVValue(5));
}

TEST_F(Table, LetsItsWriteHandlerGoWithoutItsLock) {
    bool isLetGo = false;
    std::shared_ptr<void> held(nullptr, [&](void*) { isLetGo = fTable.getKeys().empty(); });
    fTable.setWriteHandler([held = std::move(held)](const std::string&, const KVValue&) {});
    fTable.setWriteHandler({});
    EXPECT_TRUE(isLetGo);
}

TEST_F(Table, MayBeUsedFromSeveralThreads) {
    const std::uint32_t shared = fTable.addKey(key("shared"), 0);
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this, shared, i] {
            for (int n = 0; n < 200; ++n) {
                const std::uint32_t own = fTable.addKey(key("own" + std::to_string(i)), n);
                fTable.setValues({{shared, n}, {own, n + 1}});
                EXPECT_EQ(fTable.getValue("own" + std::to_string(i)).fValue, KVValue(n + 1));
                fTable.removeKey(own);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(fTable.getKeys().size(), 1U);
}
