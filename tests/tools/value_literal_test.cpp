#include "values/value_literal.h"

#include "process/failure.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace robaxi_tool {
namespace {

using Type = KVValue::Type;

TEST(ValueLiteral, ScalarsHaveTheTypeThatTheyLookLike) {
    EXPECT_EQ(KVValue(true), parseLiteral("true"));
    EXPECT_EQ(KVValue(false), parseLiteral("false"));
    EXPECT_EQ(KVValue(), parseLiteral("null"));
    EXPECT_EQ(KVValue(12), parseLiteral("12"));
    EXPECT_EQ(KVValue(-3), parseLiteral("-3"));
    EXPECT_EQ(KVValue(-0.5), parseLiteral("-0.5"));
    EXPECT_EQ(KVValue(1000.0), parseLiteral("1e3"));
    EXPECT_EQ(Type::Float, parseLiteral("2.0").type());
    EXPECT_EQ(KVValue("12"), parseLiteral("\"12\""));
    EXPECT_EQ(KVValue("a\n\xc3\xa4"), parseLiteral("\"a\\n\\u00e4\""));
}

TEST(ValueLiteral, WhatIsNoLiteralIsATextAsItStands) {
    for (const std::string word : {"", "HeadYaw", "two words", "True", "nan", "inf", "007", "+5",
                                   ".5", "5.", "0x10", "1,5", "12 apples", "it's", "\xc3\xa4"}) {
        EXPECT_EQ(KVValue(word), parseLiteral(word)) << word;
    }
}

TEST(ValueLiteral, ListsAndMapsNest) {
    const KVValue expected(KVValue::List{1, 2.5, "x", KVValue::Map{{"on", true}}, KVValue()});
    EXPECT_EQ(expected, parseLiteral("[1, 2.5, \"x\", {\"on\": true}, null]"));
    EXPECT_EQ(KVValue(KVValue::List{}), parseLiteral("[]"));
    EXPECT_EQ(KVValue(KVValue::Map{}), parseLiteral("{}"));
}

TEST(ValueLiteral, WhatStartsLikeALiteralAndIsNoneIsRefused) {
    for (const std::string wrong : {"[1, 2", "[a]", "{a: 1}", "{\"a\"}", "\"open", "\"a\" b"}) {
        EXPECT_THROW(parseLiteral(wrong), UsageError) << wrong;
    }
}

TEST(ValueLiteral, WholeNumbersAreNeverRounded) {
    EXPECT_EQ(KVValue(std::numeric_limits<std::int64_t>::max()),
              parseLiteral("9223372036854775807"));
    EXPECT_EQ(KVValue(std::numeric_limits<std::int64_t>::min()),
              parseLiteral("-9223372036854775808"));
    for (const std::string large :
         {"9223372036854775808", "-9223372036854775809", "99999999999999999999999"}) {
        EXPECT_THROW(parseLiteral(large), UsageError) << large;
        EXPECT_THROW(parseLiteral('[' + large + ']'), UsageError) << "within a list: " << large;
    }
}

TEST(ValueLiteral, DecimalNumbersBeyondAllBoundsAreRefused) {
    EXPECT_THROW(parseLiteral("1e999"), UsageError);
    EXPECT_THROW(parseLiteral("-1e999"), UsageError);
    EXPECT_THROW(parseLiteral("[1e999]"), UsageError);
}

TEST(ValueLiteral, TextsAreUtf8) {
    EXPECT_THROW(parseLiteral("a\xff"), UsageError);
}

TEST(ValueLiteral, NestsAsDeepAsTheProtocolCarries) {
    EXPECT_NO_THROW(parseLiteral(std::string(64, '[') + std::string(64, ']')));
    EXPECT_THROW(parseLiteral(std::string(65, '[') + std::string(65, ']')), UsageError);
    EXPECT_THROW(parseLiteral(std::string(100000, '[') + std::string(100000, ']')), UsageError);
}

}  // namespace
}  // namespace robaxi_tool
