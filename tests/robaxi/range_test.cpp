#include "test_broker.h"

#include <robaxi/kv_range.h>

#include <gtest/gtest.h>

#include <limits>

using namespace robaxi_test;

namespace {

constexpr double a_infinity = std::numeric_limits<double>::infinity();
constexpr double a_nan = std::numeric_limits<double>::quiet_NaN();

using Type = KVValue::Type;

}  // namespace

TEST(Range, ReadsAsASentenceWouldSayIt) {
    EXPECT_EQ((KVRange{0, 100}).toString(Type::Int, "%"), "0 to 100 %");
    EXPECT_EQ((KVRange{-0.5, 1e6}).toString(Type::Float), "-0.5 to 1000000");
    EXPECT_EQ((KVRange{0, a_infinity}).toString(Type::Float, "s"), "at least 0 s");
    EXPECT_EQ((KVRange{-a_infinity, 3}).toString(Type::Int), "at most 3");
    EXPECT_EQ((KVRange{-a_infinity, a_infinity}).toString(Type::Float), "any number");
    EXPECT_EQ((KVRange{0, 80}).toString(Type::String, "%"), "a text of at most 80 bytes");
    EXPECT_EQ((KVRange{2, 4}).toString(Type::Binary), "2 to 4 bytes");
    EXPECT_EQ((KVRange{2, a_infinity}).toString(Type::List), "a list of at least 2 elements");
    EXPECT_EQ((KVRange{1, 3}).toString(Type::Map), "a map of 1 to 3 elements");
    EXPECT_EQ((KVRange{1, 3}).toString(Type::Bool), "");
}

TEST(Range, ContainsItsEndsAndNoNan) {
    const KVRange range{-1, 2};
    for (const KVValue& value : {KVValue(-1), KVValue(2.0), KVValue(true), KVValue("ab")}) {
        EXPECT_NO_THROW(range.check("Key", value));
    }
    for (const KVValue& value : {KVValue(-2), KVValue(2.5), KVValue("abc"), KVValue(a_nan)}) {
        EXPECT_CAUSE(errorOf([&] { range.check("Key", value); }), RaisedByModule);
    }
    EXPECT_CAUSE(errorOf([] {
                     KVRange{-a_infinity, a_infinity}.check("Key", a_nan);
                 }),
                 RaisedByModule);
}

TEST(Range, IsValidIfItContainsSomething) {
    EXPECT_TRUE((KVRange{1, 1}).isValid());
    EXPECT_FALSE((KVRange{1, 0}).isValid());
    EXPECT_FALSE((KVRange{a_nan, 0}).isValid());
    EXPECT_FALSE((KVRange{0, a_nan}).isValid());
}
