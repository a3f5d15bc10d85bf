#include "recording/change_row.h"
#include "recording/csv_text.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>

using namespace memoryviewer;

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

std::string row(const std::string& key, const std::string& unit, const KVValue& value) {
    std::string rows;
    appendChangeRow(
        rows,
        {1500000,
         std::make_shared<KVKeyInfo>(KVKeyInfo{0, key, unit, "", KVValue::Type::Nothing, false}),
         value});
    return rows;
}

/** Returns a row with the time of row(). */
std::string expected(const std::string& rest) {
    return "1500000,1970-01-01T00:00:01.500000Z," + rest + "\r\n";
}

}  // namespace

TEST(CsvText, QuotesWhatMustBe) {
    EXPECT_EQ(textField("plain"), "plain");
    EXPECT_EQ(textField(""), "");
    EXPECT_EQ(textField("one, two"), "\"one, two\"");
    EXPECT_EQ(textField("a \"word\""), "\"a \"\"word\"\"\"");
    EXPECT_EQ(textField(" padded "), "\" padded \"");
    EXPECT_EQ(textField("°C \xE6\xB8\xA9"), "°C \xE6\xB8\xA9");
}

TEST(CsvText, KeepsEveryRowOnOneLine) {
    EXPECT_EQ(textField("a\nb\r\nc\td"), "a\\nb\\r\\nc\\td");
    EXPECT_EQ(textField(std::string("nul\0esc\x1b", 8)), "nul\\x00esc\\x1b");
    EXPECT_EQ(textField("C:\\x"), "C:\\\\x");
}

TEST(CsvText, IsNoFormulaToASpreadsheet) {
    EXPECT_EQ(textField("=1+1"), "'=1+1");
    EXPECT_EQ(textField("@SUM(A1)"), "'@SUM(A1)");
    EXPECT_EQ(textField("+1"), "'+1");
    EXPECT_EQ(textField("-2+3"), "'-2+3");
    EXPECT_EQ(textField("=cmd(\"a\",b)"), "\"'=cmd(\"\"a\"\",b)\"");
    EXPECT_EQ(textField("\t=1+1"), "\\t=1+1");
    EXPECT_EQ(textField("a=1"), "a=1");
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

TEST(ChangeRow, HasTheValueOfEachType) {
    EXPECT_EQ(row("Head/Yaw", "rad", -0.25), expected("Head/Yaw,-0.25,rad,float"));
    EXPECT_EQ(row("Count", "", 42), expected("Count,42,,int"));
    EXPECT_EQ(row("On", "", true), expected("On,true,,bool"));
    EXPECT_EQ(row("Text", "", "a,b"), expected("Text,\"a,b\",,string"));
    EXPECT_EQ(row("Nothing", "", KVValue()), expected("Nothing,,,nothing"));
    EXPECT_EQ(row("List", "", KVValue::List{1, "x"}), expected("List,\"[1, \"\"x\"\"]\",,list"));
}

TEST(ChangeRow, IsSafeWhateverTheRobotNamesAKey) {
    EXPECT_EQ(row("=HYPERLINK(1)", "@x", 1), expected("'=HYPERLINK(1),1,'@x,int"));
    EXPECT_EQ(row("a\nb", "", "=1"), expected("a\\nb,'=1,,string"));
}

TEST(ChangeRow, CutsAValueThatIsTooLongAndSaysSo) {
    const std::string rows = row("Long", "", std::string(10 * a_maxCsvValue, 'x'));
    EXPECT_LT(rows.size(), a_maxCsvValue + 200);
    EXPECT_NE(rows.find(",string (cut)\r\n"), std::string::npos);
    std::string text(a_maxCsvValue - 1, 'x');
    text += "\xE6\xB8\xA9";
    EXPECT_EQ(row("Long", "", text),
              expected("Long," + std::string(a_maxCsvValue - 1, 'x') + ",,string (cut)"))
        << "no character is cut in the middle";
}
