#ifndef OBVISTA_CAMERAVIEWER_RECORDING_FILES_H
#define OBVISTA_CAMERAVIEWER_RECORDING_FILES_H

#include "matroska_writer.h"
#include "picture_decoder.h"
#include "picture_origin.h"
#include "recording_clock.h"

#include <robaxi/kv_frame.h>

#include <QString>

#include <chrono>
#include <cstdint>
#include <memory>

namespace cameraviewer {

/**
 * The files of one recording: encodes frames, and starts a new file for another size or format. For
 * one thread at a time, which it blocks like MatroskaWriter.
 */
class RecordingFiles {
  public:
    /**
     * @param file name of the first file
     * @param freeSpace bytes to leave free on the disk
     */
    RecordingFiles(const QString& file, const PictureOrigin& origin, std::int64_t freeSpace);

    /**
     * @param arrival microseconds, see RecordingClock
     * @return false if the frame has a fault, and is left out
     * @throws std::bad_alloc
     */
    bool write(const picture::CheckedFrame& frame, std::int64_t arrival);

    /** Completes the file. */
    void finish();

    /** Returns a sentence for the user; empty if there was no error. */
    const QString& failure() const { return fFailure; }

    /** Returns the current file, or the last one. */
    const QString& file() const { return fFile; }
    int fileCount() const { return fFileCount; }
    /** Returns the bytes of all files. */
    std::int64_t bytes() const;
    /** Microseconds from the first frame to the last. */
    std::int64_t duration() const { return fTime; }

  private:
    /** Properties shared by all frames of a file. */
    struct Kind {
        KVPixelFormat fFormat;
        std::uint32_t fWidth;
        std::uint32_t fHeight;

        bool operator==(const Kind& other) const;
    };

    /** @return no data if the frame has a fault */
    picture::JpegFile xEncode(const picture::CheckedFrame& frame);
    void xCheckFreeSpace();
    void xBegin(const Kind& kind, const KVFrame& frame);
    QString xNextFile() const;

    const QString fFirstFile;
    const PictureOrigin fOrigin;
    const std::int64_t fFreeSpace;

    PictureDecoder fDecoder;
    picture::JpegWriter fJpegWriter;
    RecordingClock fClock;
    std::unique_ptr<MatroskaWriter> fWriter;
    Kind fKind{};
    QString fFile;
    int fFileCount = 0;
    std::int64_t fBytesBefore = 0;  // of the files before this one
    std::int64_t fTime = 0;         // of the last frame
    std::int64_t fBegin = 0;        // of the file's first frame
    std::chrono::steady_clock::time_point fNextSpaceCheck;
    QString fFailure;
};

}  // namespace cameraviewer

#endif
