#include "support/binary_value.h"
#include "test_broker.h"

#include <robaxi/kv_number.h>
#include <robaxi/kv_value.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>
#include <type_traits>

using namespace robaxi_test;
using obvista_test::binaryValue;

namespace {

constexpr std::int64_t a_smallest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t a_largest = std::numeric_limits<std::int64_t>::max();

}  // namespace

TEST(Value, IsOfTheTypeItWasMadeFrom) {
    EXPECT_EQ(KVValue().type(), KVValue::Type::Nothing);
    EXPECT_EQ(KVValue(true).type(), KVValue::Type::Bool);
    EXPECT_EQ(KVValue(1).type(), KVValue::Type::Int);
    EXPECT_EQ(KVValue(a_smallest).toInt(), a_smallest);
    EXPECT_EQ(KVValue(1.5F).toFloat(), 1.5);
    EXPECT_EQ(KVValue(1.5).type(), KVValue::Type::Float);
    EXPECT_EQ(KVValue("text").toString(), "text");
    EXPECT_EQ(KVValue(std::string("te\0xt", 5)).getSize(), 5);
    EXPECT_EQ(KVValue(KVValue::List{1, "two", 3.0}).toList()[1].toString(), "two");
    EXPECT_EQ(KVValue(KVValue::Map{{"key", 7}}).toMap().at("key").toInt(), 7);
}

TEST(Value, IsMadeFromEveryTypeOfInteger) {
    EXPECT_EQ(KVValue(7U).toInt(), 7);
    EXPECT_EQ(KVValue(7ULL).toInt(), 7);
    EXPECT_EQ(KVValue(-7LL).toInt(), -7);
    EXPECT_EQ(KVValue(std::uint8_t{200}).toInt(), 200);
    EXPECT_EQ(KVValue(std::int16_t{-3}).toInt(), -3);
    EXPECT_EQ(KVValue(std::size_t{4}).type(), KVValue::Type::Int);
    EXPECT_EQ(KVValue(std::numeric_limits<std::uint32_t>::max()).toInt(), 4294967295);
    EXPECT_EQ(KVValue(static_cast<std::uint64_t>(a_largest)).toInt(), a_largest);
    EXPECT_CAUSE(errorOf([] { KVValue(static_cast<std::uint64_t>(a_largest) + 1); }),
                 InvalidArgument);
}

TEST(Value, IsMadeFromAViewOfAText) {
    EXPECT_EQ(KVValue(std::string_view("a text").substr(2)).toString(), "text");
    char text[] = "own";
    EXPECT_EQ(KVValue(static_cast<char*>(text)).toString(), "own");
}

TEST(Value, IsNotMadeFromAPointer) {
    EXPECT_FALSE((std::is_constructible_v<KVValue, int*>));
    EXPECT_FALSE((std::is_constructible_v<KVValue, const void*>));
    EXPECT_FALSE((std::is_constructible_v<KVValue, std::nullptr_t>));
    EXPECT_FALSE((std::is_constructible_v<KVValue, void (*)()>));
    EXPECT_FALSE((std::is_constructible_v<KVValue, int KVValue::*>));
    EXPECT_FALSE((std::is_convertible_v<int*, KVValue>));
    EXPECT_TRUE((std::is_convertible_v<const char*, KVValue>));
}

TEST(Value, IsConvertedToATypeThatHoldsIt) {
    EXPECT_EQ(KVValue(300).to<std::int16_t>(), 300);
    EXPECT_EQ(KVValue(3).to<double>(), 3.0);
    EXPECT_EQ(KVValue("text").to<std::string>(), "text");
    EXPECT_EQ(KVValue(KVValue::List{1}).to<KVValue::List>().size(), 1U);
    EXPECT_EQ(KVValue(true).to<KVValue>(), KVValue(true));
    EXPECT_CAUSE(errorOf([] { KVValue(300).to<std::uint8_t>(); }), WrongType);
    EXPECT_CAUSE(errorOf([] { KVValue(-1).to<std::uint64_t>(); }), WrongType);
    EXPECT_CAUSE(errorOf([] { KVValue("7").to<int>(); }), WrongType);
}

TEST(Value, ReadAsAnotherTypeNamesBothTypes) {
    const KVError error = errorOf([] { KVValue(KVValue::List()).toString(); });
    EXPECT_CAUSE(error, WrongType);
    EXPECT_NE(error.toString().find("type string"), std::string::npos) << error.toString();
    EXPECT_NE(error.toString().find("type list"), std::string::npos) << error.toString();
    EXPECT_CAUSE(errorOf([] { KVValue().toMap(); }), WrongType);
    EXPECT_CAUSE(errorOf([] { KVValue(1).toBool(); }), WrongType);
    EXPECT_CAUSE(errorOf([] { KVValue("1").toInt(); }), WrongType);
    EXPECT_CAUSE(errorOf([] { KVValue(true).toFloat(); }), WrongType);
    EXPECT_CAUSE(errorOf([] { binaryValue("x").toString(); }), WrongType);
}

TEST(Value, IsANumberForAPlot) {
    EXPECT_EQ(KV::numberOf(KVValue(true)), 1.0);
    EXPECT_EQ(KV::numberOf(KVValue(false)), 0.0);
    EXPECT_EQ(KV::numberOf(KVValue(-7)), -7.0);
    EXPECT_EQ(KV::numberOf(KVValue(0.5)), 0.5);
    for (const KVValue& other :
         {KVValue(), KVValue("1"), binaryValue("1"), KVValue(KVValue::List{1})}) {
        EXPECT_TRUE(std::isnan(KV::numberOf(other)));
    }
}

TEST(Value, ConvertsBetweenNumbersOnlyWithoutLoss) {
    EXPECT_EQ(KVValue(3).toFloat(), 3.0);
    EXPECT_EQ(KVValue(-4.0).toInt(), -4);
    EXPECT_EQ(KVValue(-9223372036854775808.0).toInt(), a_smallest);
    for (const double value : {0.5, 9223372036854775808.0, -1e300, std::nan(""), HUGE_VAL}) {
        EXPECT_CAUSE(errorOf([value] { KVValue(value).toInt(); }), WrongType);
    }
}

TEST(Value, KeepsACopyOfBytes) {
    char buffer[] = "\0\xFF abc";
    KVValue value;
    value.SetBinary(buffer, 6);
    buffer[2] = 'x';
    ASSERT_EQ(value.getSize(), 6);
    EXPECT_EQ(std::memcmp(value.GetBinary(), "\0\xFF abc", 6), 0);
    EXPECT_EQ(KVValue("text").GetBinary(), nullptr);
}

TEST(Value, TakesNoBytesWithoutAnAddressOrWithANegativeSize) {
    KVValue value("kept");
    EXPECT_CAUSE(errorOf([&] { value.SetBinary(nullptr, 1); }), InvalidArgument);
    EXPECT_CAUSE(errorOf([&] { value.SetBinary("x", -1); }), InvalidArgument);
    EXPECT_EQ(value.toString(), "kept");
    value.SetBinary(nullptr, 0);
    EXPECT_EQ(value.type(), KVValue::Type::Binary);
    EXPECT_EQ(value.getSize(), 0);
}

TEST(Value, HasTheSizeOfItsContent) {
    EXPECT_EQ(KVValue().getSize(), 0);
    EXPECT_EQ(KVValue(7).getSize(), 0);
    EXPECT_EQ(KVValue("four").getSize(), 4);
    EXPECT_EQ(KVValue(KVValue::List{1, 2, 3}).getSize(), 3);
    EXPECT_EQ(KVValue(KVValue::Map{{"a", 1}}).getSize(), 1);
}

TEST(Value, IsEqualToOneOfTheSameTypeAndContent) {
    EXPECT_EQ(KVValue(std::nan("")), KVValue(std::nan("")));
    EXPECT_NE(KVValue(1), KVValue(1.0));
    EXPECT_NE(KVValue("x"), binaryValue("x"));
    EXPECT_EQ(binaryValue("x"), binaryValue("x"));
    EXPECT_NE(binaryValue("x"), binaryValue("y"));
    EXPECT_EQ(KVValue(), KVValue());
    EXPECT_NE(KVValue(true), KVValue(false));
    EXPECT_NE(KVValue(a_largest), KVValue(a_smallest));
    EXPECT_EQ(KVValue(KVValue::List{1, std::nan("")}), KVValue(KVValue::List{1, std::nan("")}));
    EXPECT_NE(KVValue(KVValue::Map{{"a", 1}}), KVValue(KVValue::Map{{"b", 1}}));
}

TEST(Value, IsCopiedDeeply) {
    KVValue original(KVValue::List{"a", KVValue::List{"b"}});
    const KVValue copy = original;
    original = 1;
    EXPECT_EQ(copy.toList()[1].toList()[0].toString(), "b");
}
