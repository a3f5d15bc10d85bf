#ifndef OBVISTA_ROBOT_REPLAY_PLAYER_OPTIONS_H
#define OBVISTA_ROBOT_REPLAY_PLAYER_OPTIONS_H

namespace robot {

/** Recorded seconds in a second. */
constexpr double a_lowestSpeed = 0.1;
constexpr double a_highestSpeed = 50;

/** Beginning of a replay. */
struct PlayerOptions {
    double fSpeed = 1;
    bool fLoop = false;
    bool fIsPaused = false;
    double fStart = 0;  ///< seconds from the beginning of the recording
};

}  // namespace robot

#endif
