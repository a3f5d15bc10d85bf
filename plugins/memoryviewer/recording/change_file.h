#ifndef OBVISTA_MEMORYVIEWER_CHANGE_FILE_H
#define OBVISTA_MEMORYVIEWER_CHANGE_FILE_H

#include <robaxi/kv_value_table.h>

#include <QString>

#include <cstdint>
#include <memory>
#include <robot_recording/robot_origin.h>
#include <string>
#include <vector>

namespace memoryviewer {

/** A new value of a key. */
struct RecordedChange {
    std::int64_t fTime = 0;  ///< microseconds since 1970-01-01 UTC by the robot's clock
    std::shared_ptr<const KVKeyInfo> fKey;  ///< shared by all changes of the key; never null
    KVValue fValue;
    std::int64_t fArrival = 0;  ///< microseconds by our clock; set by the recorder
};

/** Something else than a change that a recording reports, for instance the end of a key. */
struct RecordedEvent {
    std::string fName;  ///< as in the recordings of robaxi: "key removed", "lost"
    std::string fText;  ///< for people
    /** The keys whose values are unknown from now on; not null. */
    std::vector<std::shared_ptr<const KVKeyInfo>> fKeys{};
};

/**
 * A file that changes of keys are written to. It can be read at any time, whatever fails.
 *
 * Used on the thread of a recorder; the operations may wait for the disk.
 */
class ChangeFile {
  public:
    ChangeFile() = default;
    virtual ~ChangeFile() = default;
    ChangeFile(const ChangeFile&) = delete;
    ChangeFile& operator=(const ChangeFile&) = delete;

    /** Creates the file, or truncates an existing one. @return success; see error() */
    virtual bool open(const QString& fileName) = 0;

    /** @name Appending. Return success; after a failure nothing more is written. */
    ///@{
    virtual bool append(const RecordedChange& change) = 0;
    virtual bool append(const RecordedEvent& event) = 0;
    /** Reports the number of changes that are missing at this place. */
    virtual bool appendLoss(std::uint64_t lost) = 0;
    /** Writes what was appended, now or within a second. */
    virtual bool write() = 0;
    ///@}

    /** Called every few seconds. */
    virtual void sync() = 0;
    /** Completes the file. The result is in error(). */
    virtual void close() = 0;

    virtual std::int64_t size() const = 0;
    /** Returns the number of changes in the file. */
    virtual std::uint64_t changes() const = 0;
    /** Returns a sentence for the user about the first error; empty if there was none. */
    virtual QString error() const = 0;
};

/** Creates a CSV file for the suffix "csv", and an MCAP file for any other. */
std::unique_ptr<ChangeFile> makeChangeFile(const QString& fileName,
                                           const robot_recording::RobotOrigin& robot);

}  // namespace memoryviewer

#endif
