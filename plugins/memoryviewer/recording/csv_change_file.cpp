#include "recording/csv_change_file.h"

#include <robot_recording/csv_rows.h>
#include <utility>

namespace memoryviewer {

namespace {

/** Large enough for few system calls, small enough to lose little when the program is killed. */
constexpr std::size_t a_bytesPerWrite = 65536;

robot_recording::CsvKey csvKey(const KVKeyInfo& key) {
    return {key.fName, key.fUnit};
}

}  // namespace

bool CsvChangeFile::open(const QString& fileName) {
    if (!fFile.open(fileName) || !fFile.append(robot_recording::a_csvHeader)) {
        return false;
    }
    fOtherRows = 1;
    return true;
}

bool CsvChangeFile::append(const RecordedChange& change) {
    robot_recording::appendValueRow(fRows, change.fTime, csvKey(*change.fKey), change.fValue);
    fTime = change.fTime;
    return xWriteIfLong();
}

bool CsvChangeFile::append(const RecordedEvent& event) {
    for (const auto& key : event.fKeys) {
        robot_recording::appendGapRow(fRows, fTime, csvKey(*key));
        ++fWaitingOtherRows;
    }
    return xWriteIfLong();
}

bool CsvChangeFile::appendLoss(std::uint64_t lost) {
    robot_recording::appendLossRow(fRows, fTime, lost);
    ++fWaitingOtherRows;
    return xWriteIfLong();
}

bool CsvChangeFile::xWriteIfLong() {
    return fRows.size() < a_bytesPerWrite || write();
}

bool CsvChangeFile::write() {
    const bool isWritten = fRows.empty() || fFile.append(fRows);
    fRows.clear();
    const std::uint64_t others = std::exchange(fWaitingOtherRows, 0);
    if (isWritten) {
        fOtherRows += others;
    }
    return isWritten;
}

}  // namespace memoryviewer
