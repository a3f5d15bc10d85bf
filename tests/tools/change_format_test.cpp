#include "values/change_format.h"

#include <gtest/gtest.h>

#include <limits>

namespace robaxi_tool {
namespace {

constexpr std::int64_t a_someTime = 1714566896789012;

ChangeRow row(const std::string& key, const KVValue& value, const std::string& unit) {
    return {a_someTime, key, unit, value};
}

TEST(ChangeFormat, OneLineForEachForm) {
    const ChangeRow change = row("Joint/HeadYaw/Position", 0.25, "rad");
    EXPECT_EQ("2024-05-01T12:34:56.789012Z Joint/HeadYaw/Position 0.25 rad\n",
              lineOf(ChangeFormat::Text, change));
    EXPECT_EQ("2024-05-01T12:34:56.789012Z,Joint/HeadYaw/Position,0.25,rad\n",
              lineOf(ChangeFormat::Csv, change));
    EXPECT_EQ(R"({"time":"2024-05-01T12:34:56.789012Z","key":"Joint/HeadYaw/Position",)"
              R"("value":0.25,"unit":"rad"})"
              "\n",
              lineOf(ChangeFormat::Json, change));
}

TEST(ChangeFormat, OnlyCsvHasAHeading) {
    EXPECT_EQ("time,key,value,unit\n", headerOf(ChangeFormat::Csv));
    EXPECT_EQ("", headerOf(ChangeFormat::Text));
    EXPECT_EQ("", headerOf(ChangeFormat::Json));
}

TEST(ChangeFormat, AKeyWithoutUnitLeavesNoBlankBehind) {
    EXPECT_EQ("2024-05-01T12:34:56.789012Z a true\n",
              lineOf(ChangeFormat::Text, row("a", true, "")));
}

TEST(ChangeFormat, ForgedLinesStayOneLine) {
    const ChangeRow evil = row("a\nb", "x\ny", "\x1b[2J");
    for (const auto format : {ChangeFormat::Text, ChangeFormat::Csv, ChangeFormat::Json}) {
        const std::string line = lineOf(format, evil);
        EXPECT_EQ(line.size() - 1, line.find('\n')) << line;
        EXPECT_EQ(std::string::npos, line.find('\x1b')) << line;
    }
}

TEST(ChangeFormat, ATextIsNoFormulaForASpreadsheet) {
    EXPECT_EQ("2024-05-01T12:34:56.789012Z,'=A1,'+1,'@b\n",
              lineOf(ChangeFormat::Csv, row("=A1", "+1", "@b")));
    EXPECT_EQ("2024-05-01T12:34:56.789012Z,a,\"'-1,5\",\n",
              lineOf(ChangeFormat::Csv, row("a", "-1,5", "")));
    EXPECT_EQ("2024-05-01T12:34:56.789012Z,a,-0.5,\n",
              lineOf(ChangeFormat::Csv, row("a", -0.5, "")))
        << "a number stays one";
}

TEST(ChangeFormat, EveryTimeIsShown) {
    EXPECT_EQ("1970-01-01T00:00:00.000000Z", timeText(0));
    EXPECT_EQ("1969-12-31T23:59:59.999999Z", timeText(-1));
    EXPECT_FALSE(timeText(std::numeric_limits<std::int64_t>::max()).empty());
    EXPECT_FALSE(timeText(std::numeric_limits<std::int64_t>::min()).empty());
}

}  // namespace
}  // namespace robaxi_tool
