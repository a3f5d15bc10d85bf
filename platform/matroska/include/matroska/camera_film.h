#ifndef MATROSKA_CAMERA_FILM_H
#define MATROSKA_CAMERA_FILM_H

#include <picture/frame_check.h>
#include <picture/jpeg.h>
#include <robaxi/kv_frame.h>

#include <cstdint>
#include <functional>
#include <matroska/matroska_writer.h>
#include <matroska/recording_clock.h>
#include <memory>
#include <string>
#include <vector>

namespace matroska {

/**
 * The frames of one camera as Motion JPEG or H.264 in Matroska files. JPEGs and H.264 are written
 * as they are (H.264 in the order of KVFrameChain), other frames are encoded as JPEG. Frames of
 * another size or format, and H.264 of another encoder, begin another file: NAME-2.mkv.
 *
 * For one thread at a time, which it blocks like MatroskaWriter.
 */
class CameraFilm {
  public:
    /** Returns the title of a file from the time of its first frame. */
    using Title = std::function<std::string(std::int64_t time)>;

    /** @param file the first file, which is overwritten; the further ones are new files */
    CameraFilm(std::string file, Title title);

    /**
     * @param arrival microseconds, see RecordingClock
     * @return false if the frame has a fault, and is left out
     * @throws std::bad_alloc
     */
    bool write(const picture::CheckedFrame& frame, std::int64_t arrival);

    /** Completes the files. */
    void finish();

    /** Returns a sentence for the user; empty if there was no error. Nothing is written after it.
     */
    const std::string& failure() const { return fFailure; }
    /** Returns true if that is a full disk. The frames before it can be played. */
    bool isDiskFull() const { return fIsDiskFull; }
    /** Returns the files so far; the last one is being written. */
    const std::vector<std::string>& files() const { return fFiles; }
    /** Returns the bytes of all files. */
    std::int64_t bytes() const;
    /** Returns microseconds from the first frame to the last. */
    std::int64_t duration() const { return fTime; }

  private:
    /** Properties shared by all frames of a file. */
    struct Kind {
        KVPixelFormat fFormat;
        std::uint32_t fWidth;
        std::uint32_t fHeight;
        /** Of H.264, from its key frame: Matroska has them once, at the beginning of a file. */
        std::vector<unsigned char> fParameterSets;

        bool operator==(const Kind& other) const;
    };

    Kind xKindOf(const KVFrame& frame) const;
    EncodedPicture xEncode(const picture::CheckedFrame& checked);
    void xBegin(Kind kind, const KVFrame& frame);
    std::string xNextFile() const;
    void xFinishFile();
    void xCheck();

    const std::string fFirstFile;
    const Title fTitle;

    picture::JpegReader fJpegReader;
    picture::JpegWriter fJpegWriter;
    RecordingClock fClock;
    std::unique_ptr<MatroskaWriter> fWriter;
    Kind fKind{};
    std::vector<std::string> fFiles;
    std::vector<unsigned char> fRows;
    std::int64_t fBytesBefore = 0;  ///< of the files before this one
    std::int64_t fTime = 0;         ///< of the last frame
    std::int64_t fBegin = 0;        ///< of the file's first frame
    std::string fFailure;
    bool fIsDiskFull = false;
};

}  // namespace matroska

#endif
