#include "values/value_text.h"

#include "binary_value.h"
#include "values/value_literal.h"

#include <gtest/gtest.h>

#include <limits>
#include <locale>

namespace robaxi_tool {
namespace {

using obvista_test::binaryValue;

TEST(ValueText, ScalarsAreShownAsTheyAreTyped) {
    EXPECT_EQ("true", valueText(true));
    EXPECT_EQ("-12", valueText(-12));
    EXPECT_EQ("0.1", valueText(0.1));
    EXPECT_EQ("2.0", valueText(2.0)) << "a float looks like one";
    EXPECT_EQ("null", valueText(KVValue()));
    EXPECT_EQ("plain text", valueText("plain text"));
    EXPECT_EQ("<5 bytes>", valueText(binaryValue("hello")));
}

TEST(ValueText, NumbersThatJsonDoesNotHaveAreShown) {
    EXPECT_EQ("nan", valueText(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ("inf", valueText(std::numeric_limits<double>::infinity()));
    EXPECT_EQ("-inf", valueText(-std::numeric_limits<double>::infinity()));
    EXPECT_EQ("null\n", jsonLine(valueJson(std::numeric_limits<double>::quiet_NaN())));
}

TEST(ValueText, WhatIsShownCanBeTypedAgain) {
    const KVValue value(KVValue::Map{{"list", KVValue::List{1, 2.5, "a \"quoted\" text", true}},
                                     {"nothing", KVValue()}});
    EXPECT_EQ(value, parseLiteral(valueText(value)));
    for (const double number : {0.1, 1e-300, 123456789.123456789, -0.0, 1.7976931348623157e308}) {
        EXPECT_EQ(KVValue(number), parseLiteral(valueText(number)));
    }
}

TEST(ValueText, TextsOfTheNetworkCannotReachTheTerminal) {
    EXPECT_EQ("\\u001b[2J", valueText("\x1b[2J"));
    const KVValue nested(KVValue::List{"\x1b[2J\xc2\x9b\xff"});
    EXPECT_EQ(std::string::npos, valueText(nested).find_first_of("\x1b\xff"));
    EXPECT_EQ(std::string::npos, valueText(nested).find("\xc2\x9b"));
    for (const char character : jsonLine(valueJson(nested))) {
        EXPECT_TRUE(character == '\n' || (character >= ' ' && character < 0x7f));
    }
}

TEST(ValueText, BytesAreBase64InJson) {
    EXPECT_EQ("{\"base64\":\"aGVsbG8=\"}\n", jsonLine(valueJson(binaryValue("hello"))));
    EXPECT_EQ("{\"base64\":\"aGVsbG8h\"}\n", jsonLine(valueJson(binaryValue("hello!"))));
    EXPECT_EQ("{\"base64\":\"aGVsbA==\"}\n", jsonLine(valueJson(binaryValue("hell"))));
    EXPECT_EQ("{\"base64\":\"\"}\n", jsonLine(valueJson(binaryValue(""))));
}

/** A locale in which numbers have a comma, which need not be installed. */
class CommaNumbers : public std::numpunct<char> {
  protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(ValueText, NumbersHaveAPointInEveryLocale) {
    const std::locale before = std::locale::global(std::locale(std::locale(), new CommaNumbers));
    EXPECT_EQ("1234567.25", valueText(1234567.25));
    EXPECT_EQ("1234567", valueText(1234567));
    EXPECT_EQ(KVValue(0.5), parseLiteral("0.5"));
    std::locale::global(before);
}

}  // namespace
}  // namespace robaxi_tool
