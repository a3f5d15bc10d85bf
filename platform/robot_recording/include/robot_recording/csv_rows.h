#ifndef ROBOT_RECORDING_CSV_ROWS_H
#define ROBOT_RECORDING_CSV_ROWS_H

#include <robaxi/kv_value.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace robot_recording {

/** The columns that describe a key. */
struct CsvKey {
    std::string fName;
    std::string fUnit;
};

/**
 * The columns of CSV files with values of a robot.
 *
 * A row is one change of one key. Keys change at different times, so a table with a column for each
 * key would consist of empty cells, or of repeated values that nobody measured, and could not take
 * a key that appears during the recording. In this form nothing is invented, a truncated file is
 * valid up to its end, and a pivot by the third column creates the table.
 */
constexpr std::string_view a_csvHeader = "time_us,time_utc,key,value,unit,type\r\n";

/** Maximum size of a written value in bytes; a longer one is cut, which its type shows. */
constexpr std::size_t a_maxCsvValue = 65536;

/**
 * Appends the row of a value. Lists, maps and bytes are written in JSON, as in MCAP recordings.
 *
 * @param time microseconds since 1970-01-01 UTC by the robot's clock
 */
void appendValueRow(std::string& rows, std::int64_t time, const CsvKey& key, const KVValue& value);

/**
 * Appends a row with the type "gap" and without a value: from this time on the values of a key are
 * unknown.
 */
void appendGapRow(std::string& rows, std::int64_t time, const CsvKey& key);

/**
 * Appends a row with the type "lost" and without a key: the number of changes that are missing at
 * its place.
 */
void appendLossRow(std::string& rows, std::int64_t time, std::uint64_t lost);

}  // namespace robot_recording

#endif
