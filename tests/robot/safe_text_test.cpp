#include "safe_text.h"

#include <gtest/gtest.h>

namespace {

const std::string a_replacement = "\xef\xbf\xbd";

TEST(SafeText, validTextIsLeftAsItIs) {
    const std::string text = "a \xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80";
    EXPECT_TRUE(robot::isUtf8(text));
    EXPECT_EQ(robot::validUtf8(text), text);
    EXPECT_EQ(robot::oneLine(text), text);
}

TEST(SafeText, badBytesAreReplaced) {
    EXPECT_FALSE(robot::isUtf8("\xff"));
    EXPECT_EQ(robot::validUtf8("a\xff"), "a" + a_replacement);
    EXPECT_EQ(robot::validUtf8("\xc3"), a_replacement);                       // cut short
    EXPECT_EQ(robot::validUtf8("\xc0\xaf"), a_replacement + a_replacement);   // over-long
    EXPECT_EQ(robot::validUtf8("\xe0\x80\xaf").substr(0, 3), a_replacement);  // over-long
    EXPECT_FALSE(robot::isUtf8("\xed\xa0\x80"));                              // surrogate
    EXPECT_FALSE(robot::isUtf8("\xf4\x90\x80\x80"));                          // too large
    EXPECT_EQ(robot::validUtf8("\xc3(\xe2\x82"),
              a_replacement + "(" + a_replacement + a_replacement);
}

TEST(SafeText, aLineHasNoControlCharacters) {
    EXPECT_EQ(robot::oneLine("a\nb\tc\r\x1b[31m"), "a\\nb\\tc\\u000d\\u001b[31m");
    EXPECT_EQ(robot::oneLine("x\xe2\x80\xaey"), "x\\u202ey");  // turns the direction of the text
    EXPECT_EQ(robot::oneLine("\xc2\x85"), "\\u0085");          // next line
    EXPECT_EQ(robot::oneLine(std::string(1, '\0')), "\\u0000");
}

TEST(SafeText, longTextIsCut) {
    EXPECT_EQ(robot::shortened("four", 4), "four");
    EXPECT_EQ(robot::shortened("fours", 4), "four…");
    EXPECT_EQ(robot::shortened("a\xc3\xa9", 2), "a" + a_replacement + "…");
}

TEST(SafeText, htmlHasNoMarkup) {
    EXPECT_EQ(robot::htmlEscaped("<b title=\"x\">'&'"),
              "&lt;b title=&quot;x&quot;&gt;&#39;&amp;&#39;");
    EXPECT_EQ(robot::htmlEscaped("\xfe"), a_replacement);
}

TEST(SafeText, jsonIsQuotedAndSafeInAScript) {
    EXPECT_EQ(robot::jsonQuoted("a\"b\\c\n</script>"), "\"a\\\"b\\\\c\\n\\u003c/script>\"");
    EXPECT_EQ(robot::jsonQuoted("\xe2\x80\xa8"), "\"\\u2028\"");
}

}  // namespace
