#include <gtest/gtest.h>

#include <robot_recording/csv_rows.h>

namespace robot_recording {
namespace {

std::string row(const std::string& key, const std::string& unit, const KVValue& value) {
    std::string rows;
    appendValueRow(rows, 1500000, {key, unit}, value);
    return rows;
}

/** Returns a row with the time of row(). */
std::string expected(const std::string& rest) {
    return "1500000,1970-01-01T00:00:01.500000Z," + rest + "\r\n";
}

TEST(CsvRow, HasTheValueOfEachType) {
    EXPECT_EQ(row("Head/Yaw", "rad", -0.25), expected("Head/Yaw,-0.25,rad,float"));
    EXPECT_EQ(row("Count", "", 42), expected("Count,42,,int"));
    EXPECT_EQ(row("On", "", true), expected("On,true,,bool"));
    EXPECT_EQ(row("Text", "", "a,b"), expected("Text,\"a,b\",,string"));
    EXPECT_EQ(row("Nothing", "", KVValue()), expected("Nothing,,,nothing"));
    EXPECT_EQ(row("List", "", KVValue::List{1, "x"}), expected(R"(List,"[1,""x""]",,list)"));
    KVValue bytes;
    bytes.SetBinary("\x01\x02\x03", 3);
    EXPECT_EQ(row("Bytes", "", bytes), expected(R"(Bytes,"{""base64"":""AQID""}",,binary)"));
}

TEST(CsvRow, IsSafeWhateverTheRobotNamesAKey) {
    EXPECT_EQ(row("=HYPERLINK(1)", "@x", 1), expected("'=HYPERLINK(1),1,'@x,int"));
    EXPECT_EQ(row("a\nb", "", "=1"), expected("a\\nb,'=1,,string"));
}

TEST(CsvRow, CutsAValueThatIsTooLongAndSaysSo) {
    const std::string rows = row("Long", "", std::string(10 * a_maxCsvValue, 'x'));
    EXPECT_LT(rows.size(), a_maxCsvValue + 200);
    EXPECT_NE(rows.find(",string (cut)\r\n"), std::string::npos);
    std::string text(a_maxCsvValue - 1, 'x');
    text += "\xE6\xB8\xA9";
    EXPECT_EQ(row("Long", "", text),
              expected("Long," + std::string(a_maxCsvValue - 1, 'x') + ",,string (cut)"))
        << "no character is cut in the middle";
}

TEST(CsvRow, KeepsListsAndMapsOnOneLine) {
    EXPECT_EQ(row("Map", "", KVValue::Map{{"a\n", "b\xE2\x80\xA8"}}),
              expected(R"(Map,"{""a\n"":""b\u2028""}",,map)"));
}

}  // namespace
}  // namespace robot_recording
