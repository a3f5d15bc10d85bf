#include <base/csv.h>

#include <gtest/gtest.h>

namespace base {
namespace {

TEST(CsvField, IsQuotedWhereItMustBe) {
    EXPECT_EQ("plain", csvField("plain"));
    EXPECT_EQ("", csvField(""));
    EXPECT_EQ("\"one, two\"", csvField("one, two"));
    EXPECT_EQ("\"a \"\"word\"\"\"", csvField("a \"word\""));
    EXPECT_EQ("\" padded \"", csvField(" padded "));
    EXPECT_EQ("°C \xe6\xb8\xa9", csvField("°C \xe6\xb8\xa9"));
    EXPECT_EQ("-0.5", csvField("-0.5"));
}

TEST(CsvText, IsNoFormulaToASpreadsheet) {
    EXPECT_EQ("'=1+1", csvText("=1+1"));
    EXPECT_EQ("'@SUM(A1)", csvText("@SUM(A1)"));
    EXPECT_EQ("'+1", csvText("+1"));
    EXPECT_EQ("'-2+3", csvText("-2+3"));
    EXPECT_EQ("\"'=cmd(\"\"a\"\",b)\"", csvText("=cmd(\"a\",b)"));
    EXPECT_EQ("a=1", csvText("a=1"));
    EXPECT_EQ("", csvText(""));
}

}  // namespace
}  // namespace base
