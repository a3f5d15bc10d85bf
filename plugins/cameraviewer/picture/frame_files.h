#ifndef OBVISTA_CAMERAVIEWER_FRAME_FILES_H
#define OBVISTA_CAMERAVIEWER_FRAME_FILES_H

#include "picture_origin.h"

#include <picture/frame_check.h>

#include <QString>

#include <cstdint>
#include <memory>

namespace cameraviewer {

/** A frame to record, and its arrival. */
struct ArrivedFrame {
    picture::CheckedFrame fFrame;
    std::int64_t fArrival = 0;  ///< microseconds of a monotonic clock, see matroska::RecordingClock
    std::uint64_t fLogTime = 0;  ///< nanoseconds since 1970 by our clock
    std::uint64_t fDropped = 0;  ///< frames before it that were not recorded
};

/** The beginning of a gap in a camera's stream during a recording; more frames may follow. */
struct StreamEnd {
    /** In this order, each may follow those before it without frames between them. */
    enum class Kind {
        CameraEnded,  ///< by the robot
        Silent,       ///< the robot does not answer
        Lost          ///< the connection to the robot is lost
    };
    Kind fKind = Kind::CameraEnded;
    std::string fReason;
};

/** Result of recording a frame. */
enum class FrameResult {
    Recorded,
    Dropped,  ///< the file does not accept it
    Faulty    ///< the frame has a fault
};

/** The files of one recording. For one thread at a time, which they may block. */
class FrameFiles {
  public:
    FrameFiles() = default;
    virtual ~FrameFiles() = default;
    FrameFiles(const FrameFiles&) = delete;
    FrameFiles& operator=(const FrameFiles&) = delete;

    /**
     * Writes a frame, or leaves it out. The result is meaningless after a failure().
     *
     * @throws std::bad_alloc
     */
    virtual FrameResult write(const ArrivedFrame& frame) = 0;
    /** Marks a gap, in files that can. */
    virtual void write(const StreamEnd& end) = 0;

    /**
     * Completes the files. Call it once, after the last frame.
     *
     * @param dropped frames after it that were not recorded
     */
    virtual void finish(std::uint64_t dropped) = 0;

    /** Returns a sentence for the user; empty if there was no error. */
    virtual QString failure() const = 0;

    /** Returns the current file, or the last one. */
    virtual QString file() const = 0;
    virtual int fileCount() const = 0;
    /** Returns the bytes of all files. */
    virtual std::int64_t bytes() const = 0;
    /** Returns microseconds from the first frame to the last. */
    virtual std::int64_t duration() const = 0;
};

/**
 * Returns Matroska files for the suffix "mkv", and an MCAP file for any other.
 *
 * @param freeSpace bytes to leave free on the disk, by Matroska files
 */
std::unique_ptr<FrameFiles> makeFrameFiles(const QString& file, const PictureOrigin& origin,
                                           std::int64_t freeSpace);

}  // namespace cameraviewer

#endif
