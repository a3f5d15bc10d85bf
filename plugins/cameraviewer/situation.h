#ifndef OBVISTA_CAMERAVIEWER_SITUATION_H
#define OBVISTA_CAMERAVIEWER_SITUATION_H

#include <obvista/viewer/link_state.h>
#include <picture/frame_check.h>
#include <robaxi/kv_error.h>

#include <QString>

#include <chrono>
#include <optional>

namespace cameraviewer {

/** State that determines whether there is a live picture, and otherwise the reason. */
struct Situation {
    using Seconds = std::chrono::duration<double>;

    obvista::LinkState fLink = obvista::LinkState::Connected;
    bool fHasCameras = false;         ///< true if the robot has listed its cameras at least once
    int fCameraCount = 0;             ///< in the newest list
    std::optional<KVError> fFailure;  ///< error of the newest request for the list
    bool fIsPaused = false;
    bool fIsReplayPaused = false;        ///< the robot is a replay, which sends nothing now
    double fReplaySpeed = 1;             ///< recorded seconds in a second
    QString fCamera;                     ///< display name of the watched camera; empty for none
    double fRate = 0;                    ///< its frames a second; 0 if unknown
    Seconds fWatched{0};                 ///< time since watching began
    std::optional<Seconds> fSinceFrame;  ///< time since the last frame; nothing before the first
    picture::FrameFault fFault = picture::FrameFault::None;  ///< of the last frame
    std::optional<KVError> fEnd;  ///< reason for which the robot has ended the stream
};

/**
 * Returns the reason why there is no live picture, as a sentence for the user; empty if there is
 * one.
 */
QString reasonOf(const Situation& situation);

/** Returns the time without a frame after which a camera with this rate counts as stopped. */
Situation::Seconds patienceFor(double rate);

}  // namespace cameraviewer

#endif
