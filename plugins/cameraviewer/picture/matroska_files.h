#ifndef OBVISTA_CAMERAVIEWER_MATROSKA_FILES_H
#define OBVISTA_CAMERAVIEWER_MATROSKA_FILES_H

#include "frame_files.h"

#include <QString>

#include <chrono>
#include <cstdint>
#include <matroska/camera_film.h>

namespace cameraviewer {

/**
 * Matroska files of one recording, which ends while there is enough space on the disk to complete
 * them. Blocks its thread like matroska::MatroskaWriter.
 */
class MatroskaFiles : public FrameFiles {
  public:
    /**
     * @param file name of the first file
     * @param freeSpace bytes to leave free on the disk
     */
    MatroskaFiles(const QString& file, const PictureOrigin& origin, std::int64_t freeSpace);

    FrameResult write(const ArrivedFrame& arrived) override;
    void write(const StreamEnd& /*end*/) override {}
    void finish(std::uint64_t /*dropped*/) override { fFilm.finish(); }
    QString failure() const override;
    QString file() const override;
    int fileCount() const override { return static_cast<int>(fFilm.files().size()); }
    std::int64_t bytes() const override { return fFilm.bytes(); }
    std::int64_t duration() const override { return fFilm.duration(); }

  private:
    void xCheckFreeSpace();

    const QString fFirstFile;
    const std::int64_t fFreeSpace;
    matroska::CameraFilm fFilm;
    std::chrono::steady_clock::time_point fNextSpaceCheck;
    QString fFailure;
};

}  // namespace cameraviewer

#endif
