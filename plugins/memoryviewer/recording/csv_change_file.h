#ifndef OBVISTA_MEMORYVIEWER_CSV_CHANGE_FILE_H
#define OBVISTA_MEMORYVIEWER_CSV_CHANGE_FILE_H

#include "recording/change_file.h"
#include "recording/csv_file.h"

#include <string>

namespace memoryviewer {

/** A CSV file of changes, see robot_recording::a_csvHeader. */
class CsvChangeFile : public ChangeFile {
  public:
    bool open(const QString& fileName) override;
    bool append(const RecordedChange& change) override;
    bool append(const RecordedEvent& event) override;
    bool appendLoss(std::uint64_t lost) override;
    bool write() override;
    void sync() override { fFile.sync(); }
    void close() override { fFile.close(); }
    std::int64_t size() const override { return fFile.size(); }
    std::uint64_t changes() const override { return fFile.rows() - fOtherRows; }
    QString error() const override { return fFile.error(); }

  private:
    bool xWriteIfLong();

    CsvFile fFile;
    std::string fRows;  ///< not written yet
    std::int64_t fTime = 0;
    std::uint64_t fOtherRows = 0;  ///< written rows that are not changes
    std::uint64_t fWaitingOtherRows = 0;
};

}  // namespace memoryviewer

#endif
