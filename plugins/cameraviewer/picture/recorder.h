#ifndef OBVISTA_CAMERAVIEWER_RECORDER_H
#define OBVISTA_CAMERAVIEWER_RECORDER_H

#include "frame_files.h"
#include "picture_origin.h"

#include <picture/frame_check.h>

#include <QObject>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace cameraviewer {

/** Progress of a recording. */
struct RecorderStatus {
    enum class State {
        Idle,  ///< nothing has been recorded yet
        Recording,
        Finishing,  ///< stop() was called, and the last pictures are being written
        Done,
        Failed  ///< fFailure has the reason; the file can be played up to that point
    };

    State fState = State::Idle;
    QString fFile;               ///< the current file, or the last one
    int fFiles = 0;              ///< number of files
    std::uint64_t fFrames = 0;   ///< recorded
    std::uint64_t fDropped = 0;  ///< not recorded: encoding or the disk is too slow, or the file
                                 ///< does not accept them
    std::uint64_t fRefused = 0;  ///< not recorded: they have a fault
    std::int64_t fBytes = 0;     ///< of all files
    double fSeconds = 0;         ///< from the first recorded frame to the last
    QString fFailure;            ///< a sentence for the user
};

/** Resource limits of a recording. */
struct RecorderLimits {
    std::size_t fFrames = 30;                            ///< waiting to be recorded
    std::size_t fBytes = std::size_t{64} * 1024 * 1024;  ///< of these frames
    std::int64_t fFreeSpace =
        std::int64_t{64} * 1024 * 1024;  ///< bytes left on the disk; recording ends there
};

/**
 * Records frames on dedicated threads: to an MCAP file as they come, or to Matroska files as Motion
 * JPEG or H.264.
 *
 * In Matroska, JPEG and H.264 frames are stored as they come, without encoding them again. H.264
 * begins with a key frame, also after a frame that was not recorded. Other formats are encoded as
 * JPEG of the quality picture::JpegWriter::a_quality: raw pictures would be 27 MB a second at
 * 640x480, and few players know them in Matroska. An exact picture is what a snapshot is for.
 * Frames with a fault are left out and counted; a JPEG with damage beyond its header, where
 * picture::check() does not look, is stored like any other.
 *
 * The times in a file are those of the robot's stamps, from 0 on, see matroska::RecordingClock. As
 * a track has one size, another size or format begins a new file: "name.mkv", "name-2.mkv" and so
 * on, leaving out names that are taken; each begins at 0 again.
 *
 * A file can be played whatever ends it. One that was not ended by stop() or the destructor (the
 * process was killed, the disk had no space at all) lacks its length and its index.
 *
 * All operations but start() and the destructor may be called from any thread.
 */
class Recorder : public QObject {
    Q_OBJECT

  public:
    explicit Recorder(QObject* parent = nullptr, const RecorderLimits& limits = {});
    /**
     * Stops, and waits until the file is complete, for some seconds at most if the disk does not
     * respond. A recorder that exists at the end of the process is stopped then, too.
     */
    ~Recorder() override;

    /**
     * Starts recording the frames passed to offer(). Does nothing during a recording.
     *
     * Returns at once; an error of the file is detected with the first frame.
     *
     * @param file its suffix chooses the format, see makeFrameFiles(); its folder must exist; an
     *        existing file is overwritten
     */
    void start(const QString& file, const PictureOrigin& origin);

    /**
     * Returns at once. The frame is dropped and counted if too many are waiting; ignored without a
     * recording.
     */
    void offer(const picture::CheckedFrame& frame);

    /** Marks the end of the camera's stream, after which more frames may come. Returns at once. */
    void offer(StreamEnd end);

    /** Ends the recording after the frames that were offered. Returns at once, see ended(). */
    void stop();

    RecorderStatus status() const;

  Q_SIGNALS:
    /**
     * Emitted when the recording is Done or Failed, and its files are closed; on a thread of the
     * recorder.
     */
    void ended();

  private:
    struct Private;
    std::unique_ptr<Private> fPrivate;
};

}  // namespace cameraviewer

#endif
