#include "values/safe_text.h"

#include <gtest/gtest.h>

namespace robaxi_tool {
namespace {

TEST(SafeText, OrdinaryTextsStayAsTheyAre) {
    for (const std::string text : {"", "robot1", "Marie's 25.8 °C", "ロボット", "🤖"}) {
        EXPECT_EQ(text, oneLine(text));
        EXPECT_TRUE(isUtf8(text));
    }
}

TEST(SafeText, ControlCharactersCannotReachTheTerminal) {
    EXPECT_EQ("\\u001b[2Jgone", oneLine("\x1b[2Jgone"));
    EXPECT_EQ("one\\ntwo\\tthree\\u000d", oneLine("one\ntwo\tthree\r"));
    EXPECT_EQ("a\\u0000b\\u007f", oneLine(std::string("a\0b\x7f", 4)));
    EXPECT_EQ("\\u009b2J", oneLine("\xc2\x9b"
                                   "2J"))
        << "the one-byte form of ESC [ in UTF-8";
}

TEST(SafeText, TheDirectionOfTheTextCannotBeTurned) {
    EXPECT_EQ("a\\u202eb", oneLine("a\xe2\x80\xae"
                                   "b"));
    EXPECT_EQ("a\\u2066b", oneLine("a\xe2\x81\xa6"
                                   "b"));
    EXPECT_EQ("a\\u2028b", oneLine("a\xe2\x80\xa8"
                                   "b"));
}

TEST(SafeText, BytesThatAreNotUtf8AreReplacedOneByOne) {
    const std::string mark = "\xef\xbf\xbd";
    EXPECT_EQ("a" + mark + "b", oneLine("a\xff"
                                        "b"));
    EXPECT_EQ(mark + "bc", oneLine("\xe2"
                                   "bc"))
        << "what follows a cut character is kept";
    EXPECT_EQ("cut" + mark + mark, oneLine("cut\xe2\x82"));
    EXPECT_EQ(mark + mark, oneLine("\xc0\x80")) << "over-long";
    EXPECT_EQ(mark + mark + mark, oneLine("\xed\xa0\x80")) << "half of a surrogate pair";
    EXPECT_FALSE(isUtf8("a\xff"));
    EXPECT_FALSE(isUtf8("cut\xe2\x82"));
}

TEST(SafeText, EscapesHiddenBehindABadByteAreSeen) {
    EXPECT_EQ("\xef\xbf\xbd\\u001b[31m", oneLine("\xc3\x1b[31m"));
}

}  // namespace
}  // namespace robaxi_tool
