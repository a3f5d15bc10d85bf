#include "values/wide_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace robaxi_tool {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

ChangeRow row(std::int64_t second, const std::string& key, const KVValue& value) {
    return {second * 1'000'000, key, {}, value};
}

TEST(WideTable, HasAColumnForEachKey) {
    EXPECT_EQ("time,Head,\"a,b\",'=c\n", WideTable({"Head", "a,b", "=c"}).heading());
}

TEST(WideTable, BeginsWhenEachKeyHasAValue) {
    WideTable table({"a", "b"});
    EXPECT_EQ(std::nullopt, table.take({row(1, "a", 1)}));
    EXPECT_EQ(std::nullopt, table.take({row(2, "a", 2)}));
    EXPECT_THAT(table.take({row(1, "b", 0.5)}),
                Optional(std::string("1970-01-01T00:00:02.000000Z,2,0.5\n")));
}

TEST(WideTable, KeepsTheNewestValueOfEachKey) {
    WideTable table({"a", "b"});
    table.take({row(1, "a", 1), row(1, "b", "x")});
    EXPECT_THAT(table.take({row(2, "a", 2), row(3, "a", 3)}),
                Optional(std::string("1970-01-01T00:00:03.000000Z,3,x\n")));
}

TEST(WideTable, WritesNothingForKeysWithoutAColumn) {
    WideTable table({"a"});
    table.take({row(1, "a", 1)});
    EXPECT_EQ(std::nullopt, table.take({row(2, "b", 2)}));
    EXPECT_EQ(std::nullopt, table.take({}));
}

TEST(WideTable, ReportsEachKeyWithoutAColumnOnce) {
    WideTable table({"a"});
    EXPECT_THAT(table.setPresent({"a", "b"}), ElementsAre("b"));
    EXPECT_THAT(table.setPresent({"c", "a", "b"}), ElementsAre("c"));
}

TEST(WideTable, ReportsALimitedNumberOfKeysWithoutAColumn) {
    WideTable table({"a"});
    std::size_t reported = 0;
    for (int i = 0; i < 30; ++i) {
        std::vector<std::string> keys{"a"};
        for (int n = 0; n < 100; ++n) {
            keys.push_back("Key" + std::to_string(i * 100 + n));
        }
        reported += table.setPresent(keys).size();
    }
    EXPECT_EQ(WideTable::a_mostOthers, reported);
}

TEST(WideTable, EmptiesTheColumnOfAKeyThatIsGone) {
    WideTable table({"a", "b"});
    table.take({row(1, "a", 1), row(1, "b", 2)});
    EXPECT_THAT(table.setPresent({"b"}), IsEmpty());
    EXPECT_THAT(table.take({row(2, "b", 3)}),
                Optional(std::string("1970-01-01T00:00:02.000000Z,,3\n")));
    EXPECT_THAT(table.setPresent({"a", "b"}), IsEmpty());
    EXPECT_THAT(table.take({row(3, "a", 4)}),
                Optional(std::string("1970-01-01T00:00:03.000000Z,4,3\n")));
}

TEST(WideTable, WaitsForNoKeyThatIsGone) {
    WideTable table({"a", "b"});
    table.setPresent({"b"});
    EXPECT_THAT(table.take({row(1, "b", 2)}),
                Optional(std::string("1970-01-01T00:00:01.000000Z,,2\n")));
}

}  // namespace
}  // namespace robaxi_tool
