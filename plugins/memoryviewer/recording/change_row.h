#ifndef OBVISTA_MEMORYVIEWER_CHANGE_ROW_H
#define OBVISTA_MEMORYVIEWER_CHANGE_ROW_H

#include <robaxi/kv_value_table.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace memoryviewer {

/** The columns that describe a key. */
struct RecordedKey {
    std::string fName;
    std::string fUnit;
};

/** A new value of a key. */
struct RecordedChange {
    std::int64_t fTime = 0;  ///< microseconds since 1970-01-01 UTC by the robot's clock
    std::shared_ptr<const KVKeyInfo> fKey;  ///< shared by all changes of the key; never null
    KVValue fValue;
    std::int64_t fArrival = 0;  ///< microseconds by our clock; set by the recorder
};

/**
 * The columns of our CSV files.
 *
 * A row is one change of one key. Keys change at different times, so a table with a column for each
 * key would consist of empty cells, or of repeated values that nobody measured, and could not take
 * a key that appears during the recording. In this form nothing is invented, a truncated file is
 * valid up to its end, and a pivot by the third column creates the table.
 */
constexpr std::string_view a_csvHeader = "time_us,time_utc,key,value,unit,type\r\n";

/** Maximum size of a written value in bytes; a longer one is cut, which its type shows. */
constexpr std::size_t a_maxCsvValue = 65536;

/** Appends the row of a change. */
void appendChangeRow(std::string& rows, const RecordedChange& change);

/** Appends the row of a number of the type "float". */
void appendNumberRow(std::string& rows, std::int64_t time, const RecordedKey& key, double value);

/**
 * Appends a row with the type "gap" and without a value: from this time on the values of a key are
 * unknown.
 */
void appendGapRow(std::string& rows, std::int64_t time, const RecordedKey& key);

/**
 * Appends a row with the type "lost" and without a key: the number of changes that are missing at
 * its place.
 */
void appendLossRow(std::string& rows, std::int64_t time, std::uint64_t lost);

}  // namespace memoryviewer

#endif
