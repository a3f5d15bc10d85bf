#ifndef OBVISTA_CAMERAVIEWER_RECORDER_H
#define OBVISTA_CAMERAVIEWER_RECORDER_H

#include "picture_origin.h"

#include <picture/frame_check.h>

#include <QObject>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace cameraviewer {

/** How far a recording is. */
struct RecorderStatus {
    enum class State {
        Idle,  ///< nothing has been recorded yet
        Recording,
        Finishing,  ///< stop() was called, and the last pictures are being written
        Done,
        Failed  ///< fFailure says why; what had been recorded can be played
    };

    State fState = State::Idle;
    QString fFile;               ///< that is written to now, or was last
    int fFiles = 0;              ///< begun
    std::uint64_t fFrames = 0;   ///< recorded
    std::uint64_t fDropped = 0;  ///< not recorded: encoding or the disk is too slow
    std::uint64_t fRefused = 0;  ///< not recorded: there is a fault in them
    std::int64_t fBytes = 0;     ///< of all files
    double fSeconds = 0;         ///< from the first recorded frame to the last
    QString fFailure;            ///< a sentence for the user
};

/** What a recording may take of the machine. */
struct RecorderLimits {
    std::size_t fFrames = 30;                            ///< waiting to be recorded
    std::size_t fBytes = std::size_t{64} * 1024 * 1024;  ///< of these frames
    std::int64_t fFreeSpace =
        std::int64_t{64} * 1024 * 1024;  ///< bytes left on the disk; recording ends there
};

/**
 * Records frames to Matroska files as Motion JPEG, on threads of its own.
 *
 * JPEG frames are stored byte for byte as they come. Other formats are encoded as JPEG of the
 * quality picture::JpegWriter::a_quality: raw pictures would be 27 MB a second at 640x480, and few
 * players know them in Matroska. An exact picture is what a snapshot is for. Frames with a fault
 * are left out and counted; a JPEG with damage beyond its header, where picture::check() does not
 * look, is stored like any other.
 *
 * The times in a file are those of the robot's stamps, from 0 on, see RecordingClock. As a track
 * has one size, another size or format begins a new file: "name.mkv", "name-2.mkv" and so on,
 * leaving out names that are taken; each begins at 0 again.
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
    /** Like stop(), and waits until the file is complete, for some seconds at most when the disk
     *  does not answer. A recorder that lives at the end of the process is stopped by then too. */
    ~Recorder() override;

    /**
     * Begins to record what offer() gives from now on. Does nothing while a recording runs.
     *
     * Returns at once; that the file cannot be written is found out with the first frame.
     *
     * @param file its folder exists; a file of this name is overwritten
     */
    void start(const QString& file, const PictureOrigin& origin);

    /** Returns at once. The frame is dropped and counted when too many wait; ignored when no
     *  recording runs. */
    void offer(const picture::CheckedFrame& frame);

    /** Ends the recording with the frames that were offered. Returns at once, see ended(). */
    void stop();

    RecorderStatus status() const;

  Q_SIGNALS:
    /** The recording is Done or Failed, and its files are closed. Emitted on a thread of the
     *  recorder. */
    void ended();

  private:
    struct Private;
    std::unique_ptr<Private> fPrivate;
};

}  // namespace cameraviewer

#endif
