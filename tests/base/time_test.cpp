#include <base/time.h>

#include <gtest/gtest.h>

#include <ctime>
#include <limits>

namespace base {
namespace {

TEST(Time, IsInMicrosecondsSince1970) {
    const std::int64_t before = std::time(nullptr);
    const std::int64_t now = microsecondsNow();
    EXPECT_GE(now, before * a_microsecondsPerSecond);
    EXPECT_LE(now, (std::time(nullptr) + 1) * a_microsecondsPerSecond);
}

TEST(UtcText, HasEachDigit) {
    EXPECT_EQ("1970-01-01T00:00:00.000000Z", utcText(0));
    EXPECT_EQ("2024-05-01T12:34:56.789012Z", utcText(1714566896789012));
    EXPECT_EQ("1969-12-31T23:59:59.999999Z", utcText(-1));
    EXPECT_EQ("9999-12-31T23:59:59.999999Z", utcText(253402300799999999));
    EXPECT_EQ("0000-01-01T00:00:00.000000Z", utcText(-62167219200000000));
}

TEST(UtcText, IsEmptyOutsideTheCalendar) {
    EXPECT_EQ("", utcText(253402300800000000));
    EXPECT_EQ("", utcText(-62167219200000001));
    EXPECT_EQ("", utcText(std::numeric_limits<std::int64_t>::max()));
    EXPECT_EQ("", utcText(std::numeric_limits<std::int64_t>::min()));
}

TEST(WithinCalendar, ClampsToTheYears1970To9999) {
    EXPECT_EQ(withinCalendar(1714566896789012), 1714566896789012);
    EXPECT_EQ(withinCalendar(-1), 0);
    EXPECT_EQ(withinCalendar(std::numeric_limits<std::int64_t>::min()), 0);
    EXPECT_EQ("9999-12-31T23:59:59.999999Z",
              utcText(withinCalendar(std::numeric_limits<std::int64_t>::max())));
}

TEST(FileTimeText, HasNoPunctuationExceptTheSignOfANumber) {
    EXPECT_EQ("20240501T123456789012", fileTimeText(1714566896789012));
    EXPECT_EQ("253402300800000000", fileTimeText(253402300800000000));
    EXPECT_EQ("-62167219200000001", fileTimeText(-62167219200000001));
}

}  // namespace
}  // namespace base
