#ifndef OBVISTA_ROBOT_REPLAY_PLAYER_H
#define OBVISTA_ROBOT_REPLAY_PLAYER_H

#include "replay/player_options.h"
#include "replay/stage.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <recording/reader.h>
#include <set>
#include <string>
#include <thread>

namespace robot {

/** A snapshot of a player. Times are nanoseconds since 1970, by the recorder's clock. */
struct PlayerState {
    std::uint64_t fPosition = 0;
    bool fIsPlaying = false;
    double fSpeed = 1;
    bool fLoop = false;
    std::string fFault;  ///< a sentence about a damaged part, at which the player stopped
};

/**
 * Plays a recording on a stage, at the times of its messages.
 *
 * A thread shows the messages that are due. A slow machine shows all of them later and does not
 * catch up. All operations may be called from any thread; they return when the stage shows the
 * result.
 */
class Player {
  public:
    static constexpr int a_mostSteps = 1000;

    /** Receives each change of the state, and the position twenty times a second. Called on any
     *  thread, one call at a time; it must not call the player. */
    using Listener = std::function<void(const PlayerState& state)>;

    /** Both must outlive the player, which is the only one to use them from now on. */
    Player(recording::Reader& reader, Stage& stage, const PlayerOptions& options,
           Listener listener);
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    /** The span of the recording. */
    std::uint64_t start() const { return fStart; }
    std::uint64_t end() const { return fEnd; }
    PlayerState state() const;

    /** Ends operations on other threads soon, and playing: for the end of the program. */
    void stop();

    /** Plays on, at the end from the beginning. */
    void play();
    void pause();
    void setSpeed(double speed);
    void setLoop(bool loop);

    /** Jumps to a time, or the nearest one of the span. @return the position */
    std::uint64_t seek(std::uint64_t time);

    /**
     * Pauses, and goes to the time of the next message, or with a negative count of the previous
     * one, so many times.
     *
     * @param camera of whose frames; of all messages if it is empty
     * @return the position
     */
    std::uint64_t step(int count, const std::string& camera);

  private:
    using Clock = std::chrono::steady_clock;
    class Turn;

    std::unique_lock<std::mutex> xTakeTurn() const;
    void xRun();
    void xPlay(std::unique_lock<std::mutex>& lock);
    bool xShowDue(std::uint64_t target);
    void xOnEnd();
    void xAnchor();
    std::uint64_t xTarget() const;
    Clock::time_point xTimeOf(std::uint64_t position) const;
    void xJump(std::uint64_t time);
    void xRestage(std::uint64_t time);
    void xRestageFilm(std::uint16_t channel, std::uint64_t time);
    void xStepForward(int count, const std::set<std::uint16_t>& channels);
    void xStepBack(int count, const std::set<std::uint16_t>& channels);
    void xContinueAt(std::uint64_t first);
    recording::Messages xMessages(std::uint64_t first, std::uint64_t last,
                                  const std::set<std::uint16_t>& channels);
    void xFail(const std::string& fault);
    void xReport();

    recording::Reader& fReader;
    Stage& fStage;
    const Listener fListener;
    const std::uint64_t fStart;
    const std::uint64_t fEnd;
    std::set<std::uint16_t> fChannels;  ///< all of the stage

    mutable std::mutex fMutex;  // guards everything below
    mutable std::condition_variable fWake;
    mutable std::atomic<int> fCallers{0};  ///< that wait for fMutex
    std::atomic<bool> fIsStopping{false};
    PlayerState fState;
    Clock::time_point fAnchorTime;
    std::uint64_t fAnchorPosition = 0;
    Clock::time_point fNextReport;
    /** From the position on; nothing after an error. */
    std::optional<recording::Messages> fMessages;
    std::optional<recording::Message> fNext;  ///< valid until fMessages is used
    std::thread fThread;
};

}  // namespace robot

#endif
