#ifndef OBVISTA_CAMERAVIEWER_SITUATION_H
#define OBVISTA_CAMERAVIEWER_SITUATION_H

#include <robaxi/kv_error.h>

#include <QString>

#include <chrono>
#include <frame_check.h>
#include <optional>

namespace cameraviewer {

/** All that decides whether a live picture is shown, and if not, why. */
struct Situation {
    enum class Robot { Connected, Lost, Closed };
    using Seconds = std::chrono::duration<double>;

    Robot fRobot = Robot::Connected;
    bool fHasCameras = false;         ///< the robot has listed its cameras at least once
    int fCameraCount = 0;             ///< in its newest list
    std::optional<KVError> fFailure;  ///< why the newest list was not given
    bool fIsPaused = false;
    QString fCamera;                       ///< that is watched, as it is shown; empty for none
    double fRate = 0;                      ///< its frames a second; 0 when unknown
    Seconds fWatched{0};                   ///< since watching began
    std::optional<Seconds> fSinceFrame;    ///< since the last frame; nothing before the first
    FrameFault fFault = FrameFault::None;  ///< of the last frame
    std::optional<KVError> fEnd;           ///< why the robot has ended the stream
};

/** Why there is no live picture, as a sentence for the user; empty when there is one. */
QString reasonOf(const Situation& situation);

/** How long no frame may come until a camera of a rate counts as stopped. */
Situation::Seconds patienceFor(double rate);

}  // namespace cameraviewer

#endif
