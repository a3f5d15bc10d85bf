#ifndef OBVISTA_MEMORYVIEWER_CHANGE_ROW_H
#define OBVISTA_MEMORYVIEWER_CHANGE_ROW_H

#include <robaxi/kv_value.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace memoryviewer {

/** What all changes of one key share. */
struct RecordedKey {
    std::string fName;
    std::string fUnit;
};

/** A key has taken a value. */
struct RecordedChange {
    std::int64_t fTime = 0;  ///< microseconds since 1970-01-01 UTC by the robot's clock
    std::shared_ptr<const RecordedKey> fKey;  ///< never null
    KVValue fValue;
};

/**
 * The columns of our CSV files.
 *
 * One row is one change of one key. Keys change each at times of their own, so a table with a
 * column for each key would consist of holes, or of repeated values that nobody measured, and could
 * take no key that appears during the recording. In this shape nothing is invented, a file that
 * ends anywhere is complete up to there, and a pivot by the third column makes the table.
 */
constexpr std::string_view a_csvHeader = "time_us,time_utc,key,value,unit,type\r\n";

/** Most bytes of one value that are written; a longer one is cut and says so in its type. */
constexpr std::size_t a_maxCsvValue = 65536;

/** Appends the row of a change. */
void appendChangeRow(std::string& rows, const RecordedChange& change);

/** Appends the row of a number of the type "float". */
void appendNumberRow(std::string& rows, std::int64_t time, const RecordedKey& key, double value);

/** Appends the row that says that from this time on the values of a key are not known: its type is
 *  "gap" and it has no value. */
void appendGapRow(std::string& rows, std::int64_t time, const RecordedKey& key);

/** Appends the row that says how many changes are missing at its place: its type is "lost" and it
 *  has no key. */
void appendLossRow(std::string& rows, std::int64_t time, std::uint64_t lost);

}  // namespace memoryviewer

#endif
