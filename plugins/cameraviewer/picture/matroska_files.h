#ifndef OBVISTA_CAMERAVIEWER_MATROSKA_FILES_H
#define OBVISTA_CAMERAVIEWER_MATROSKA_FILES_H

#include "frame_files.h"
#include "picture_decoder.h"
#include "recording_clock.h"

#include <robaxi/kv_frame.h>

#include <QString>

#include <chrono>
#include <cstdint>
#include <matroska/matroska_writer.h>
#include <memory>

namespace cameraviewer {

/**
 * Matroska files of one recording: encodes frames, and starts a new file for another size or
 * format. Blocks its thread like matroska::MatroskaWriter.
 */
class MatroskaFiles : public FrameFiles {
  public:
    /**
     * @param file name of the first file
     * @param freeSpace bytes to leave free on the disk
     */
    MatroskaFiles(const QString& file, const PictureOrigin& origin, std::int64_t freeSpace);

    bool write(const ArrivedFrame& arrived) override;
    void write(const StreamEnd& /*end*/) override {}
    void finish(std::uint64_t /*dropped*/) override { xFinishFile(); }
    QString failure() const override { return fFailure; }
    QString file() const override { return fFile; }
    int fileCount() const override { return fFileCount; }
    std::int64_t bytes() const override;
    std::int64_t duration() const override { return fTime; }

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
    void xFinishFile();

    const QString fFirstFile;
    const PictureOrigin fOrigin;
    const std::int64_t fFreeSpace;

    PictureDecoder fDecoder;
    picture::JpegWriter fJpegWriter;
    RecordingClock fClock;
    std::unique_ptr<matroska::MatroskaWriter> fWriter;
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
