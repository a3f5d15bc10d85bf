#include "values/key_pattern.h"

#include <gtest/gtest.h>

namespace robaxi_tool {
namespace {

TEST(KeyPattern, AStarStandsForSlashesToo) {
    EXPECT_TRUE(matchesKey("Joint/*", "Joint/HeadYaw/Position"));
    EXPECT_TRUE(matchesKey("*/Position", "Joint/HeadYaw/Position"));
    EXPECT_FALSE(matchesKey("*/Position", "Joint/HeadYaw/Velocity"));
}

TEST(KeyPattern, QuestionMarksAndSetsStandForOneCharacter) {
    EXPECT_TRUE(matchesKey("a?c", "abc"));
    EXPECT_FALSE(matchesKey("a?c", "abbc"));
    EXPECT_TRUE(matchesKey("[ab]c", "bc"));
    EXPECT_FALSE(matchesKey("[ab]c", "dc"));
}

TEST(KeyPattern, AWholeKeyMatchesItselfOnly) {
    EXPECT_TRUE(matchesKey("Battery/Charge", "Battery/Charge"));
    EXPECT_FALSE(matchesKey("Battery", "Battery/Charge"));
    EXPECT_FALSE(isPattern("Battery/Charge"));
    EXPECT_TRUE(matchesKey("odd[1]", "odd[1]")) << "a key may itself hold a bracket";
}

}  // namespace
}  // namespace robaxi_tool
