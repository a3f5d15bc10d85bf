#include <base/safe_text.h>

#include <gtest/gtest.h>

namespace base {
namespace {

const std::string a_mark(a_replacement);

TEST(SafeText, OrdinaryTextsStayAsTheyAre) {
    for (const std::string text :
         {"", "robot1", "Marie's 25.8 °C", "a \xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80", "ロボット",
          "\xf0\x9f\x91\xa8\xe2\x80\x8d\xf0\x9f\x94\xa7"}) {
        EXPECT_EQ(text, oneLine(text));
        EXPECT_EQ(text, reversibleLine(text));
        EXPECT_EQ(text, validUtf8(text));
        EXPECT_TRUE(isUtf8(text));
    }
}

TEST(SafeText, ControlCharactersCannotReachTheTerminal) {
    EXPECT_EQ("\\u001b[2Jgone", oneLine("\x1b[2Jgone"));
    EXPECT_EQ("one\\ntwo\\tthree\\u000d", oneLine("one\ntwo\tthree\r"));
    EXPECT_EQ("a\\u0000b\\u007f", oneLine(std::string("a\0b\x7f", 4)));
    EXPECT_EQ("\\u0085", oneLine("\xc2\x85")) << "next line";
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

TEST(SafeText, NothingInvisibleIsLeft) {
    EXPECT_EQ("robot\\u200b1", oneLine("robot\xe2\x80\x8b"
                                       "1"));
    EXPECT_EQ("\\ufeffrobot1", oneLine("\xef\xbb\xbfrobot1"));
    EXPECT_EQ("a\\udb40\\udc41", oneLine("a\xf3\xa0\x81\x81"));
}

TEST(SafeText, BytesThatAreNotUtf8AreReplacedOneByOne) {
    EXPECT_EQ("a" + a_mark + "b", validUtf8("a\xff"
                                            "b"));
    EXPECT_EQ(a_mark + "bc", validUtf8("\xe2"
                                       "bc"))
        << "what follows a cut character is kept";
    EXPECT_EQ("cut" + a_mark + a_mark, validUtf8("cut\xe2\x82"));
    EXPECT_EQ(a_mark + "(" + a_mark + a_mark, validUtf8("\xc3(\xe2\x82"));
    EXPECT_EQ(a_mark, validUtf8("\x80")) << "continues nothing";
    EXPECT_EQ(a_mark + a_mark, validUtf8("\xc0\xaf")) << "over-long";
    EXPECT_EQ(a_mark + a_mark + a_mark, validUtf8("\xe0\x80\xaf")) << "over-long";
    EXPECT_EQ(a_mark + a_mark + a_mark, validUtf8("\xed\xa0\x80")) << "half of a surrogate pair";
    EXPECT_EQ(a_mark + a_mark + a_mark + a_mark, validUtf8("\xf4\x90\x80\x80")) << "too large";
    for (const char* bad : {"a\xff", "cut\xe2\x82", "\xed\xa0\x80", "\xf4\x90\x80\x80"}) {
        EXPECT_FALSE(isUtf8(bad));
        EXPECT_EQ(validUtf8(bad), oneLine(bad));
        EXPECT_EQ(validUtf8(bad), reversibleLine(bad));
    }
}

TEST(SafeText, EscapesHiddenBehindABadByteAreSeen) {
    EXPECT_EQ(a_mark + "\\u001b[31m", oneLine("\xc3\x1b[31m"));
}

TEST(SafeText, AReversibleLineTellsEscapesFromText) {
    EXPECT_EQ(R"(a\nb\r\tc)", reversibleLine("a\nb\r\tc"));
    EXPECT_EQ(R"(\x00\x1b\x7f)", reversibleLine(std::string("\0\x1b\x7f", 3)));
    EXPECT_EQ(R"(\x85\u{2028}\u{e0041})", reversibleLine("\xc2\x85\xe2\x80\xa8\xf3\xa0\x81\x81"));
    EXPECT_EQ(R"(C:\\x)", reversibleLine("C:\\x"));
    EXPECT_EQ(R"("a")", reversibleLine("\"a\""));
    EXPECT_EQ(R"(\"a\")", reversibleLine("\"a\"", Quotes::Double));
}

TEST(SafeText, LongTextIsCutWhereACharacterEnds) {
    EXPECT_EQ("four", shortened("four", 4));
    EXPECT_EQ("four…", shortened("fours", 4));
    EXPECT_EQ("a…", shortened("a\xc3\xa9", 2));
    EXPECT_EQ("a\xc3\xa9", shortened("a\xc3\xa9", 3));
    EXPECT_EQ("…", shortened("\xf0\x9f\x98\x80", 3));
    EXPECT_EQ("", beginning("\xf0\x9f\x98\x80", 0));
}

TEST(SafeText, CuttingBytesThatAreNotUtf8LosesNoneOfThem) {
    EXPECT_EQ(std::string(10, '\x80'), beginning(std::string(20, '\x80'), 10));
    EXPECT_EQ("ab\xc3", beginning("ab\xc3"
                                  "cd",
                                  3));
}

TEST(SafeText, APartOfAFileNameHasNoSignsThatAFileSystemOrProgramTreatsSpecially) {
    const auto isLetter = [](char32_t code) {
        return (code >= 'a' && code <= 'z') || code == 0xe9 || code == 0x982d;
    };
    EXPECT_EQ("a-b.c", fileNamePart("a-b.c", isLetter));
    EXPECT_EQ("_._etc_passwd", fileNamePart("../etc/passwd", isLetter));
    EXPECT_EQ("_rf__", fileNamePart("-rf *", isLetter));
    EXPECT_EQ("a\xc3\xa9__", fileNamePart("a\xc3\xa9\xff\xe2\x80\xae", isLetter));
    EXPECT_EQ("", fileNamePart("", isLetter));
    EXPECT_EQ(std::string(80, 'a'), fileNamePart(std::string(5000, 'a'), isLetter));
    std::string wide;
    for (int i = 0; i < 5000; ++i) {
        wide += "\xe9\xa0\xad";
    }
    EXPECT_EQ(wide.substr(0, 78), fileNamePart(wide, isLetter)) << "no half of a character";
}

}  // namespace
}  // namespace base
