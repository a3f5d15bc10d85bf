#ifndef MATROSKA_MATROSKA_WRITER_H
#define MATROSKA_MATROSKA_WRITER_H

#include <robaxi/kv_frame.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace matroska {

/** A JPEG file, or an H.264 frame. */
struct EncodedPicture {
    std::shared_ptr<const unsigned char> fData;  ///< fSize bytes
    std::size_t fSize = 0;
};

/**
 * A Matroska file of JPEGs (Motion JPEG) or H.264 frames of one size, as they are, written by
 * GStreamer on a dedicated thread.
 *
 * Every picture is written when it is complete, so that a file whose writer was killed can be
 * played up to the last picture; it only has no duration and no index for seeking.
 *
 * The operations are called by one thread and may block, as documented below.
 */
class MatroskaWriter {
  public:
    struct Settings {
        std::string fFile;                            ///< overwritten
        KVPixelFormat fFormat = KVPixelFormat::Jpeg;  ///< Jpeg or H264
        int fWidth = 0;
        int fHeight = 0;
        std::string fTitle;       ///< in UTF-8
        std::int64_t fStart = 0;  ///< of the first picture, microseconds since 1970-01-01 UTC
    };

    /** Initialises GStreamer if necessary, and opens the file. */
    explicit MatroskaWriter(const Settings& settings);
    /** Leaves the file incomplete unless finish() was called. */
    ~MatroskaWriter();
    MatroskaWriter(const MatroskaWriter&) = delete;
    MatroskaWriter& operator=(const MatroskaWriter&) = delete;

    /**
     * Passes on a picture; waits while too many are not written yet, and fails if the disk accepts
     * none for a_patience. Does nothing after a failure.
     *
     * @param picture the first H.264 frame is a key frame
     * @param time microseconds since the beginning of the file, later than that of the previous one
     */
    void write(const EncodedPicture& picture, std::int64_t time);

    /** Returns when all pictures are written and the file is complete, or after a_patience. */
    void finish();

    /** Returns a sentence for the user; empty if there was no error. */
    std::string failure() const;
    /** Returns true if that is a full disk. The pictures before it can be played. */
    bool isDiskFull() const;

    /** Time-out of the disk. */
    static constexpr std::chrono::seconds a_patience{10};

  private:
    struct Private;
    std::unique_ptr<Private> fPrivate;
};

}  // namespace matroska

#endif
