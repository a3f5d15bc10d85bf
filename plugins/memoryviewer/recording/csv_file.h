#ifndef OBVISTA_MEMORYVIEWER_CSV_FILE_H
#define OBVISTA_MEMORYVIEWER_CSV_FILE_H

#include <QString>

#include <cstdint>
#include <string_view>

namespace memoryviewer {

/**
 * A file of rows that holds whole rows only, whatever goes wrong.
 *
 * Rows are given whole to one write(2); what a full disk leaves of them is cut off again. When the
 * program is killed in the middle of a write, at most the last row is partial. For one thread at a
 * time.
 */
class CsvFile {
  public:
    CsvFile() = default;
    /** Closes without a word on errors; use close() to hear of them. */
    ~CsvFile();
    CsvFile(const CsvFile&) = delete;
    CsvFile& operator=(const CsvFile&) = delete;

    /** Creates the file, or empties the one that is there. @return success; see error() */
    bool open(const QString& fileName);
    /** Appends whole rows. @return success; after a failure nothing is written any more */
    bool append(std::string_view rows);
    /** Has the system write to the disk what it holds back. @return success */
    bool sync();
    /** @return success of everything up to here */
    bool close();

    bool isOpen() const { return fDescriptor >= 0; }
    /** Bytes of whole rows in the file. */
    std::int64_t size() const { return fSize; }
    std::uint64_t rows() const { return fRows; }
    /** A sentence for the user about the first thing that failed; empty when nothing did. */
    const QString& error() const { return fError; }

  private:
    void xCount(std::string_view rows);
    bool xFail(int number);
    bool xCutPartialRow();

    QString fFileName;
    QString fError;
    int fDescriptor = -1;
    std::int64_t fSize = 0;
    std::uint64_t fRows = 0;
};

}  // namespace memoryviewer

#endif
