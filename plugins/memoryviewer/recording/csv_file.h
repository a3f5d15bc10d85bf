#ifndef OBVISTA_MEMORYVIEWER_CSV_FILE_H
#define OBVISTA_MEMORYVIEWER_CSV_FILE_H

#include <QString>

#include <cstdint>
#include <string_view>

namespace memoryviewer {

/**
 * A file that consists of whole rows, whatever fails.
 *
 * Rows are passed to one write(2); a part of them that a full disk leaves is truncated. When the
 * program is killed during a write, at most the last row is incomplete. For one thread at a time.
 */
class CsvFile {
  public:
    CsvFile() = default;
    /** Closes without reporting errors; use close() for that. */
    ~CsvFile();
    CsvFile(const CsvFile&) = delete;
    CsvFile& operator=(const CsvFile&) = delete;

    /** Creates the file, or truncates an existing one. @return success; see error() */
    bool open(const QString& fileName);
    /** Appends whole rows. @return success; after a failure nothing more is written */
    bool append(std::string_view rows);
    /** Flushes the file to the disk. @return success */
    bool sync();
    /** @return success of all operations so far */
    bool close();

    bool isOpen() const { return fDescriptor >= 0; }
    /** Returns the bytes of whole rows in the file. */
    std::int64_t size() const { return fSize; }
    std::uint64_t rows() const { return fRows; }
    /** Returns a sentence for the user about the first error; empty if there was none. */
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
