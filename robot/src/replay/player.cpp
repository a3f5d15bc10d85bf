#include "replay/player.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace robot {

namespace {

using recording::Message;
using recording::RecordingError;

constexpr std::chrono::milliseconds a_reportPeriod(50);
/** The player gives way to callers after so many messages. */
constexpr int a_messagesAtOnce = 500;
/** A player that is later than this is too slow for the recording. */
constexpr std::chrono::milliseconds a_mostLate(500);

}  // namespace

/** A caller's turn to use the player, for which the thread makes room. */
class Player::Turn {
  public:
    explicit Turn(Player& player) : fPlayer(player), fLock(player.xTakeTurn()) {}
    ~Turn() {
        fPlayer.xAnchor();
        fPlayer.xReport();
        fLock.unlock();
        fPlayer.fWake.notify_all();
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

  private:
    Player& fPlayer;
    std::unique_lock<std::mutex> fLock;
};

Player::Player(recording::Reader& reader, Stage& stage, const PlayerOptions& options,
               Listener listener)
    : fReader(reader),
      fStage(stage),
      fListener(std::move(listener)),
      fStart(reader.statistics().fStart),
      fEnd(reader.statistics().fEnd),
      fChannels(stage.channels()) {
    fChannels.insert(stage.histories().begin(), stage.histories().end());
    fChannels.insert(stage.films().begin(), stage.films().end());
    fState.fSpeed = options.fSpeed;
    fState.fLoop = options.fLoop;
    constexpr double perSecond = 1e9;
    const double offset =
        std::clamp(options.fStart * perSecond, 0.0, static_cast<double>(fEnd - fStart));
    xJump(fStart + static_cast<std::uint64_t>(offset));
    fState.fIsPlaying = !options.fIsPaused && fState.fFault.empty();
    xAnchor();
    xReport();
    fThread = std::thread([this] { xRun(); });
}

Player::~Player() {
    stop();
    fThread.join();
}

void Player::stop() {
    fIsStopping = true;
    { const std::lock_guard lock(fMutex); }
    fWake.notify_all();
}

PlayerState Player::state() const {
    std::unique_lock lock = xTakeTurn();
    PlayerState state = fState;
    lock.unlock();
    fWake.notify_all();
    return state;
}

/** The thread waits for whoever has taken a turn, and must be woken afterwards. */
std::unique_lock<std::mutex> Player::xTakeTurn() const {
    ++fCallers;
    std::unique_lock lock(fMutex);
    --fCallers;
    return lock;
}

void Player::play() {
    const Turn turn(*this);
    if (fState.fPosition >= fEnd) {
        xJump(fStart);
    } else if (!fMessages) {
        xJump(fState.fPosition);  // reads the damaged part again
    }
    fState.fIsPlaying = fState.fFault.empty();
}

void Player::pause() {
    const Turn turn(*this);
    fState.fIsPlaying = false;
}

void Player::setSpeed(double speed) {
    const Turn turn(*this);
    fState.fSpeed = speed;
}

void Player::setLoop(bool loop) {
    const Turn turn(*this);
    fState.fLoop = loop;
}

std::uint64_t Player::seek(std::uint64_t time) {
    const Turn turn(*this);
    xJump(std::clamp(time, fStart, fEnd));
    return fState.fPosition;
}

std::uint64_t Player::step(int count, const std::string& camera) {
    const Turn turn(*this);
    fState.fIsPlaying = false;
    const std::set<std::uint16_t> channels =
        camera.empty() ? fChannels : fStage.cameraChannels(camera);
    try {
        if (count > 0) {
            xStepForward(count, channels);
        } else if (count < 0) {
            xStepBack(-count, channels);
        }
    } catch (const RecordingError& error) {
        xFail(error.what());
    }
    return fState.fPosition;
}

// The thread

void Player::xRun() {
    std::unique_lock lock(fMutex);
    while (!fIsStopping) {
        if (fCallers > 0) {
            fWake.wait(lock, [this] { return fCallers == 0 || fIsStopping; });
        } else if (!fState.fIsPlaying) {
            fWake.wait(lock);
        } else {
            xPlay(lock);
        }
    }
}

/** Shows what is due, and waits for the next message. */
void Player::xPlay(std::unique_lock<std::mutex>& lock) {
    const std::uint64_t target = xTarget();
    bool isUpToDate = false;
    try {
        isUpToDate = xShowDue(target);
    } catch (const RecordingError& error) {
        xFail(error.what());
        xReport();
        return;
    }
    if (isUpToDate) {
        fState.fPosition = target;
    } else if (Clock::now() > xTimeOf(fState.fPosition) + a_mostLate) {
        xAnchor();
    }
    if (isUpToDate && target >= fEnd) {
        xOnEnd();
        return;
    }
    if (Clock::now() >= fNextReport) {
        xReport();
    }
    if (isUpToDate) {
        const Clock::time_point due = fNext ? xTimeOf(fNext->fLogTime) : xTimeOf(fEnd);
        fWake.wait_until(lock, std::min(due, fNextReport));
    }
}

/** Returns false if there is more to show; the position is that of the last message. */
bool Player::xShowDue(std::uint64_t target) {
    for (int shown = 0; fNext && fNext->fLogTime <= target; ++shown) {
        const std::uint64_t time = fNext->fLogTime;
        if (time != fState.fPosition) {
            fStage.flush();
            if (shown >= a_messagesAtOnce) {
                return false;
            }
            fState.fPosition = time;
        }
        fStage.show(*fNext);
        fNext = fMessages->next();
    }
    fStage.flush();
    return true;
}

void Player::xOnEnd() {
    if (fState.fLoop) {
        xJump(fStart);
        xAnchor();
    } else {
        fState.fIsPlaying = false;
    }
    xReport();
}

/** Time passes from now on as it does from the position on. */
void Player::xAnchor() {
    fAnchorTime = Clock::now();
    fAnchorPosition = fState.fPosition;
}

std::uint64_t Player::xTarget() const {
    const std::chrono::duration<double, std::nano> passed = Clock::now() - fAnchorTime;
    const double offset = passed.count() * fState.fSpeed;
    return offset >= static_cast<double>(fEnd - fAnchorPosition)
               ? fEnd
               : fAnchorPosition + static_cast<std::uint64_t>(offset);
}

Player::Clock::time_point Player::xTimeOf(std::uint64_t position) const {
    const double offset = position > fAnchorPosition
                              ? static_cast<double>(position - fAnchorPosition) / fState.fSpeed
                              : 0;
    return fAnchorTime + std::chrono::duration_cast<Clock::duration>(
                             std::chrono::duration<double, std::nano>(offset));
}

void Player::xReport() {
    fNextReport = Clock::now() + a_reportPeriod;
    fListener(fState);
}

// Jumps and steps

void Player::xJump(std::uint64_t time) {
    fState.fPosition = time;
    try {
        fState.fFault.clear();
        xRestage(time);
        xContinueAt(time + 1);
    } catch (const RecordingError& error) {
        xFail(error.what());
    }
}

/** Shows everything as a straight reading would have left it at a time. */
void Player::xRestage(std::uint64_t time) {
    std::vector<std::pair<Message, std::string>> newest;
    const bool isComplete = fReader.newestAt(
        time, fStage.channels(),
        [&newest](const Message& message) {
            newest.emplace_back(message, std::string(message.fData));
        },
        [this] { return !fIsStopping; });
    if (!isComplete) {
        return;
    }
    fStage.beginJump();
    auto next = newest.begin();
    const auto showUpTo = [&](std::uint64_t logTime) {
        for (; next != newest.end() && next->first.fLogTime <= logTime; ++next) {
            next->first.fData = next->second;
            fStage.show(next->first);
        }
    };
    recording::Messages histories = xMessages(0, time, fStage.histories());
    while (const std::optional<Message> message =
               fStage.histories().empty() || fIsStopping ? std::nullopt : histories.next()) {
        showUpTo(message->fLogTime);
        fStage.show(*message);
    }
    showUpTo(time);
    for (const std::uint16_t film : fStage.films()) {
        xRestageFilm(film, time);
    }
    fStage.endJump();
}

/** Shows the frames since the last key frame. */
void Player::xRestageFilm(std::uint16_t channel, std::uint64_t time) {
    // Cameras send a key frame every few seconds.
    for (const std::uint64_t span : {std::uint64_t{3}, std::uint64_t{60}}) {
        const std::uint64_t nanoseconds = span * 1'000'000'000;
        const std::uint64_t first = time > nanoseconds ? time - nanoseconds : 0;
        std::optional<std::uint64_t> key;
        recording::Messages search = xMessages(first, time, {channel});
        while (const std::optional<Message> message = fIsStopping ? std::nullopt : search.next()) {
            if (fStage.isKeyFrame(*message)) {
                key = message->fLogTime;
            }
        }
        if (key) {
            recording::Messages frames = xMessages(*key, time, {channel});
            while (const std::optional<Message> message =
                       fIsStopping ? std::nullopt : frames.next()) {
                fStage.show(*message);
            }
            return;
        }
    }
}

void Player::xContinueAt(std::uint64_t first) {
    fNext.reset();
    fMessages = xMessages(first, fEnd, fChannels);
    fNext = fMessages->next();
}

/** Returns messages that end early when the player stops. */
recording::Messages Player::xMessages(std::uint64_t first, std::uint64_t last,
                                      const std::set<std::uint16_t>& channels) {
    return fReader.messages(
        {first, last, channels, recording::Order::LogTime, [this] { return !fIsStopping; }});
}

void Player::xStepForward(int count, const std::set<std::uint16_t>& channels) {
    recording::Messages messages = xMessages(fState.fPosition + 1, fEnd, channels);
    while (count > 0 && !fIsStopping) {
        const std::optional<Message> message = messages.next();
        if (!message) {
            return;
        }
        if (message->fLogTime <= fState.fPosition) {
            continue;
        }
        if (!fMessages) {
            xContinueAt(fState.fPosition + 1);
        }
        while (!fIsStopping && !xShowDue(message->fLogTime)) {
        }
        fState.fPosition = message->fLogTime;
        --count;
    }
}

void Player::xStepBack(int count, const std::set<std::uint16_t>& channels) {
    const std::vector<std::uint64_t> times =
        fReader.timesBefore(fState.fPosition, channels, static_cast<std::size_t>(count),
                            [this] { return !fIsStopping; });
    xJump(times.empty() ? fState.fPosition : std::max(fStart, times.back()));
}

void Player::xFail(const std::string& fault) {
    fState.fIsPlaying = false;
    fState.fFault = fault + ". 'robaxi recording repair' writes a file without the damaged part.";
    fNext.reset();
    fMessages.reset();
}

}  // namespace robot
