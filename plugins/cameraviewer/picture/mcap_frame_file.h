#ifndef OBVISTA_CAMERAVIEWER_MCAP_FRAME_FILE_H
#define OBVISTA_CAMERAVIEWER_MCAP_FRAME_FILE_H

#include "frame_files.h"

#include <matroska/recording_clock.h>
#include <memory>
#include <optional>
#include <robot_recording/camera_topic.h>
#include <robot_recording/robot_file.h>

namespace cameraviewer {

/**
 * An MCAP file of frames of any format and size, byte for byte as they came, with the topics and
 * messages of "robaxi record".
 */
class McapFrameFile : public FrameFiles {
  public:
    /** Creates the file, replacing an existing one. */
    McapFrameFile(const QString& file, const PictureOrigin& origin);

    FrameResult write(const ArrivedFrame& frame) override;
    void write(const StreamEnd& end) override;
    void finish(std::uint64_t dropped) override;
    QString failure() const override { return fFailure; }
    QString file() const override { return fName; }
    int fileCount() const override { return fFile ? 1 : 0; }
    std::int64_t bytes() const override;
    std::int64_t duration() const override { return fDuration; }

  private:
    void xEndGap();
    void xCheck();

    const QString fName;
    const std::string fCamera;
    std::unique_ptr<robot_recording::RobotFile> fFile;
    std::unique_ptr<robot_recording::CameraTopic> fTopic;
    matroska::RecordingClock fClock;
    std::int64_t fDuration = 0;
    std::optional<StreamEnd::Kind> fGap;  ///< as marked, until the next frame
    QString fFailure;
};

}  // namespace cameraviewer

#endif
