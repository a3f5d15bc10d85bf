#include "host_name.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using KV::bonjour::a_maximumHostNameSize;
using KV::bonjour::foldHostName;
using KV::bonjour::hostNameFor;
using KV::bonjour::isAddressLiteral;
using KV::bonjour::makeSafeHostName;
using KV::bonjour::unescapeDomainName;

const std::string a_replaced = "\xEF\xBF\xBD";

std::string repeat(const std::string& text, std::size_t times) {
    std::string all;
    for (std::size_t count = 0; count < times; ++count) {
        all += text;
    }
    return all;
}

TEST(UnescapeDomainName, leavesPlainNamesAlone) {
    EXPECT_EQ(unescapeDomainName("robot1.local"), "robot1.local");
    EXPECT_EQ(unescapeDomainName(""), "");
}

TEST(UnescapeDomainName, readsDecimalEscapesAsBytes) {
    EXPECT_EQ(unescapeDomainName("caf\\195\\169.local"), "caf\xC3\xA9.local");
    EXPECT_EQ(unescapeDomainName("a\\000b"), std::string("a\0b", 3));
    EXPECT_EQ(unescapeDomainName("\\255"), "\xFF");
}

TEST(UnescapeDomainName, readsEscapedCharacters) {
    EXPECT_EQ(unescapeDomainName("a\\.b\\\\c"), "a.b\\c");
}

TEST(UnescapeDomainName, takesSequencesThatAreNoEscapeAsTheyStand) {
    EXPECT_EQ(unescapeDomainName("a\\"), "a\\");
    EXPECT_EQ(unescapeDomainName("\\25"), "25");
    EXPECT_EQ(unescapeDomainName("\\256"), "256");
    EXPECT_EQ(unescapeDomainName("\\9x9"), "9x9");
}

TEST(MakeSafeHostName, keepsMarkupAsText) {
    EXPECT_EQ(makeSafeHostName("<b>robot</b>&amp;.local"), "<b>robot</b>&amp;.local");
}

TEST(MakeSafeHostName, keepsCharactersOfEveryLength) {
    const std::string name = "a\xC3\xA9\xE6\x97\xA5\xF0\x9F\xA4\x96.local";
    EXPECT_EQ(makeSafeHostName(name), name);
}

TEST(MakeSafeHostName, replacesControlCharacters) {
    EXPECT_EQ(makeSafeHostName("a\nb\x1B[31m\x7F"),
              "a" + a_replaced + "b" + a_replaced + "[31m" + a_replaced);
    EXPECT_EQ(makeSafeHostName(std::string("a\0b", 3)), "a" + a_replaced + "b");
    EXPECT_EQ(makeSafeHostName("\xC2\x85"), a_replaced);
}

TEST(MakeSafeHostName, replacesWhatTurnsTheWritingOrBreaksTheLine) {
    for (const char* const sign :
         {"\xE2\x80\xAE", "\xE2\x81\xA6", "\xE2\x80\x8F", "\xE2\x80\xA8"}) {
        EXPECT_EQ(makeSafeHostName(std::string("a") + sign + "b"), "a" + a_replaced + "b");
    }
}

TEST(MakeSafeHostName, replacesEachByteThatIsNotUtf8) {
    EXPECT_EQ(makeSafeHostName("\xFF"), a_replaced);
    EXPECT_EQ(makeSafeHostName("\xC3"), a_replaced) << "cut short";
    EXPECT_EQ(makeSafeHostName("\xC3"
                               "a"),
              a_replaced + "a")
        << "not continued";
    EXPECT_EQ(makeSafeHostName("\x80"), a_replaced) << "continues nothing";
    EXPECT_EQ(makeSafeHostName("\xC0\xAF"), repeat(a_replaced, 2)) << "longer than needed";
    EXPECT_EQ(makeSafeHostName("\xED\xA0\x80"), repeat(a_replaced, 3)) << "half a pair";
    EXPECT_EQ(makeSafeHostName("\xF4\x90\x80\x80"), repeat(a_replaced, 4)) << "beyond the last";
}

TEST(MakeSafeHostName, keepsAtMostTheSizeOfADomainName) {
    const std::string longest(a_maximumHostNameSize, 'x');
    EXPECT_EQ(makeSafeHostName(longest), longest);
    EXPECT_EQ(makeSafeHostName(longest + "y"), longest);
    EXPECT_EQ(makeSafeHostName(std::string(200, '\xFF')),
              repeat(a_replaced, a_maximumHostNameSize / a_replaced.size()));
}

TEST(MakeSafeHostName, doesNotCutThroughACharacter) {
    const std::string almostFull(a_maximumHostNameSize - 1, 'x');
    EXPECT_EQ(makeSafeHostName(almostFull + "\xC3\xA9"), almostFull);
}

class AddressLiteral : public testing::TestWithParam<const char*> {};

TEST_P(AddressLiteral, isRecognised) {
    EXPECT_TRUE(isAddressLiteral(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(, AddressLiteral,
                         testing::Values("192.168.1.12", "127.1", "2130706433", "0x7f000001",
                                         "0177.0.0.1", "::1", "fe80::1", "fe80::1%eth0",
                                         "::ffff:192.168.1.12", " 192.168.1.12 ", "5"));

class HostName : public testing::TestWithParam<const char*> {};

TEST_P(HostName, isNoAddressLiteral) {
    EXPECT_FALSE(isAddressLiteral(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(, HostName,
                         testing::Values("robot1.local", "192.168.1.12.local", "1.2.3.4 robot",
                                         "192.168.1.256", "1robot", "fe80", "%eth0", "", " "));

TEST(FoldHostName, knowsNoCaseOfAsciiLetters) {
    EXPECT_EQ(foldHostName("Robot-AZ09.LOCAL"), "robot-az09.local");
    EXPECT_EQ(foldHostName("CAF\xC3\x89"), "caf\xC3\x89");
}

TEST(HostNameFor, keepsWhatAHostNameMayHave) {
    EXPECT_EQ(hostNameFor("Rob 7"), "Rob-7.local");
    EXPECT_EQ(hostNameFor("-- a.b --"), "a-b.local");
    EXPECT_EQ(hostNameFor("\xc3\xa9"), "robot.local");
}

}  // namespace
