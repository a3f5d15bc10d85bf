#ifndef OBVISTA_CAMERAVIEWER_MATROSKA_WRITER_H
#define OBVISTA_CAMERAVIEWER_MATROSKA_WRITER_H

#include <picture/jpeg.h>

#include <QString>

#include <chrono>
#include <cstdint>
#include <memory>

namespace cameraviewer {

/**
 * One Matroska file of JPEGs of one size (Motion JPEG), written by GStreamer on a thread of its
 * own.
 *
 * Every picture goes to the file as soon as it is complete, so that a file whose writer was killed
 * can be played up to the last picture; what it lacks is its length and the index for jumping.
 *
 * The operations are called by one thread and may block, see there.
 */
class MatroskaWriter {
  public:
    struct Settings {
        QString fFile;  ///< overwritten
        int fWidth = 0;
        int fHeight = 0;
        QString fTitle;
        std::int64_t fStart = 0;  ///< of the first picture, microseconds since 1970-01-01 UTC
    };

    /** Initialises GStreamer when that has not been done, and opens the file. */
    explicit MatroskaWriter(const Settings& settings);
    /** Leaves the file as it is: finish() completes it. */
    ~MatroskaWriter();
    MatroskaWriter(const MatroskaWriter&) = delete;
    MatroskaWriter& operator=(const MatroskaWriter&) = delete;

    /**
     * Hands a picture over; waits while too many have not been written, and fails when the disk
     * does not take any for a_patience. Does nothing after a failure.
     *
     * @param time microseconds since the beginning of the file, more than that of the one before
     */
    void write(const picture::JpegFile& picture, std::int64_t time);

    /** Returns when all pictures are written and the file is complete, or after a_patience. */
    void finish();

    /** A sentence for the user; empty while all is well. */
    QString failure() const;

    /** How long a disk may take. */
    static constexpr std::chrono::seconds a_patience{10};

  private:
    struct Private;
    std::unique_ptr<Private> fPrivate;
};

}  // namespace cameraviewer

#endif
