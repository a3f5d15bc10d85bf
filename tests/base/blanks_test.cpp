#include <base/blanks.h>

#include <gtest/gtest.h>

namespace base {
namespace {

TEST(Trimmed, HasNoBlanksAtItsEnds) {
    EXPECT_EQ("a b", trimmed(" \t\n\v\f\ra b \t\n\v\f\r"));
    EXPECT_EQ("a", trimmed("a"));
}

TEST(Trimmed, IsEmptyIfThereAreOnlyBlanks) {
    EXPECT_EQ("", trimmed(" \t"));
    EXPECT_EQ("", trimmed(""));
}

TEST(Trimmed, KeepsTheBlanksOfOtherAlphabets) {
    EXPECT_EQ("\u00a0", trimmed("\u00a0"));
}

}  // namespace
}  // namespace base
