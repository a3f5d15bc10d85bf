#include <base/csv.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace base {
namespace {

std::string textField(std::string_view text) {
    std::string field;
    appendCsvText(field, text);
    return field;
}

std::string numberField(double value) {
    std::string field;
    appendCsvNumber(field, value);
    return field;
}

std::string timeFields(std::int64_t time) {
    std::string fields;
    appendCsvTime(fields, time);
    return fields;
}

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

TEST(CsvText, KeepsEveryRowOnOneLine) {
    EXPECT_EQ(textField("a\nb\r\nc\td"), "a\\nb\\r\\nc\\td");
    EXPECT_EQ(textField(std::string("nul\0esc\x1b", 8)), "nul\\x00esc\\x1b");
    EXPECT_EQ(textField("C:\\x"), "C:\\\\x");
}

TEST(CsvNumber, HasAPointInEveryLocaleAndAllItsDigits) {
    // If the locale is not installed, the C locale has the decimal point anyway.
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    EXPECT_EQ(numberField(0.1), "0.1");
    EXPECT_EQ(numberField(-1234.5), "-1234.5");
    EXPECT_EQ(numberField(1.0 / 3), "0.3333333333333333");
    EXPECT_EQ(std::strtod(numberField(5e-324).c_str(), nullptr), 5e-324);
    std::setlocale(LC_ALL, "C");
}

TEST(CsvNumber, SaysWhatIsNoNumber) {
    EXPECT_EQ(numberField(std::nan("")), "nan");
    EXPECT_EQ(numberField(-std::nan("")), "nan");
    EXPECT_EQ(numberField(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(numberField(-std::numeric_limits<double>::infinity()), "-inf");
}

TEST(CsvTime, IsGivenTwice) {
    EXPECT_EQ(timeFields(0), "0,1970-01-01T00:00:00.000000Z");
    EXPECT_EQ(timeFields(1795240841123456), "1795240841123456,2026-11-21T06:00:41.123456Z");
    EXPECT_EQ(timeFields(-1), "-1,1969-12-31T23:59:59.999999Z");
}

TEST(CsvTime, HasNoDateOutsideTheCalendar) {
    EXPECT_EQ(timeFields(std::numeric_limits<std::int64_t>::max()), "9223372036854775807,");
    EXPECT_EQ(timeFields(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808,");
}

}  // namespace
}  // namespace base
