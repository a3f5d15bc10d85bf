#include "session/memory_session.h"

#include "editing/write_queue.h"
#include "recording/change_recorder.h"
#include "session/key_recording.h"
#include "session/key_store.h"
#include "session/memory_link.h"

#include <base/time.h>
#include <obvista/viewer/plain_text.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace memoryviewer {

namespace {

/**
 * Period in milliseconds of reading the feed: shorter than the eye can follow, and a limit on the
 * GUI thread's time for a fast robot.
 */
constexpr int a_frameTime = 40;
constexpr int a_secondTime = 1000;
/** Milliseconds after its first keys in which a robot that has returned announces the others. */
constexpr qint64 a_startTime = 5000;
/** Milliseconds after which it is asked again if it has no module with values yet. */
constexpr int a_askAgainTime = 300;
/** Milliseconds after a silence in which the values that have changed meanwhile arrive. */
constexpr qint64 a_catchUpTime = 1000;

}  // namespace

MemorySession::MemorySession(std::shared_ptr<MemoryLink> link, QObject* parent)
    : QObject(parent),
      fLink(std::move(link)),
      fKeys(new KeyStore(this)),
      fWrites(std::make_unique<WriteQueue>(fLink->makeWriter())),
      fRecorder(new ChangeRecorder(this)),
      fRecording(new KeyRecording(fKeys, fRecorder, this)) {
    fFrameTimer.setSingleShot(true);
    connect(&fFrameTimer, &QTimer::timeout, this, &MemorySession::xTakeBatch);
    connect(&fSecondTimer, &QTimer::timeout, this, &MemorySession::xOnSecond);
    fSinceFrame.start();
    fSinceSecond.start();
    fSinceValue.start();
    fSecondTimer.start(a_secondTime);
    xDescribeRobot();
}

MemorySession::~MemorySession() = default;

void MemorySession::xDescribeRobot() {
    fRecorder->setRobot({fLink->robotName(), fLink->address(), fLink->address(), fLink->port()});
}

void MemorySession::takeNews() {
    if (!fFrameTimer.isActive()) {
        const qint64 rest = a_frameTime - fSinceFrame.elapsed();
        fFrameTimer.start(static_cast<int>(std::max<qint64>(rest, 0)));
    }
}

void MemorySession::setReplay(const obvista::ReplayState& replay) {
    fReplay = replay;
    fKeys->setReplayTime(replay.isReplay() ? std::optional(replay.robotTime(replay.fPosition))
                                           : std::nullopt);
}

void MemorySession::end(obvista::LinkState state) {
    fFrameTimer.stop();
    xTakeBatch();
    xSetPhase(state == obvista::LinkState::Lost ? MemoryPhase::Lost : MemoryPhase::Closed);
}

void MemorySession::interrupt() {
    fFrameTimer.stop();
    xTakeBatch();
    fLink->feed().restart(fKeys->idsByName());
    fIsReturning = false;
    fSinceReturn.invalidate();
    fSinceSilence.invalidate();
    Q_EMIT silenceEnded();
    fWrites->giveUp(tr("the robot is lost"));
    fRecording->beginGap("lost", tr("The connection to the robot was lost."));
    xSetPhase(MemoryPhase::Interrupted);
}

void MemorySession::resume() {
    fWrites->setWriter(fLink->makeWriter());
    xDescribeRobot();
    fRecording->endGap("connected");
    fIsReturning = true;
    xSetPhase(MemoryPhase::WaitingForKeys);
}

void MemorySession::setSilent(bool isSilent) {
    if (isSilent) {
        fSinceSilence.invalidate();
        fRecording->beginGap("silent", tr("The robot does not answer."));
        Q_EMIT silenceBegan();
    } else {
        fRecording->endGap("answers again");
        fSinceSilence.start();
    }
}

void MemorySession::xTakeBatch() {
    fSinceFrame.restart();
    MemoryBatch batch = fLink->feed().take();
    xApply(batch);
    xUpdatePhase(batch);
    Q_EMIT newsTaken();
}

void MemorySession::xUpdatePhase(const MemoryBatch& batch) {
    if (batch.fHasTable && std::exchange(fIsReturning, false)) {
        fSinceReturn.start();
    }
    if (batch.fRefusal && xIsStarting(*batch.fRefusal)) {
        QTimer::singleShot(a_askAgainTime, this, [this] { fLink->subscribeAgain(); });
    } else if (batch.fRefusal) {
        fRefusal = obvista::plainText(batch.fRefusal->toString());
        xSetPhase(MemoryPhase::Refused);
    } else if (batch.fHasTable) {
        xSetPhase(MemoryPhase::Live);
    }
}

/** A robot listens before it has its modules, however long these take. */
bool MemorySession::xIsStarting(const KVError& refusal) const {
    return fSinceReturn.isValid() ||
           (fIsReturning && refusal.cause() == KVError::Cause::NoSuchModule);
}

void MemorySession::xApply(MemoryBatch& batch) {
    fUpdates += batch.fUpdates;
    if (batch.fUpdates > 0) {
        fSinceValue.restart();
    }
    fKeys->remove(batch.fRemoved);
    fKeys->add(batch.fAdded);
    fKeys->change(std::move(batch.fChanged), batch.fArrival);
    fRecording->append(batch.fEveryChange);
    fRecorder->reportLoss(batch.fLostChanges);
    Q_EMIT changesTaken(batch.fEveryChange);
}

void MemorySession::xSetPhase(MemoryPhase phase) {
    if (phase == fPhase) {
        return;
    }
    fPhase = phase;
    const bool isOver = situation().isOver();
    if (isOver) {
        fSecondTimer.stop();
        fSinceReturn.invalidate();
        fSinceSilence.invalidate();
        fWrites->giveUp(tr("the robot is lost"));
        fRecording->end(phase, fRefusal);
    }
    if (!isOver && !fSecondTimer.isActive()) {
        fSecondTimer.start(a_secondTime);  // a robot without values was lost, and may return
    }
    Q_EMIT phaseChanged();
}

void MemorySession::xOnSecond() {
    const double seconds = static_cast<double>(fSinceSecond.restart()) / a_secondTime;
    fUpdatesPerSecond = static_cast<int>(std::lround(static_cast<double>(fUpdates) / seconds));
    fUpdates = 0;
    if (fIsUpdating) {
        fKeys->endTurn();
    } else {
        fSinceValue.restart();
    }
    xCatchUp();
    Q_EMIT secondPassed();
}

/** Completes what the end of a silence, or the return of the robot, began. */
void MemorySession::xCatchUp() {
    if (fSinceReturn.isValid() && fSinceReturn.hasExpired(a_startTime)) {
        fSinceReturn.invalidate();
        fKeys->remove(fLink->feed().takeMissing());
    }
    if (fSinceSilence.isValid() && fSinceSilence.hasExpired(a_catchUpTime)) {
        fSinceSilence.invalidate();
        Q_EMIT silenceEnded();
        fRecording->repeatValues();
        Q_EMIT plottingBegan({fEveryChangeIds.begin(), fEveryChangeIds.end()});
    }
}

void MemorySession::subscribe(SubscriptionNeeds needs, int rate) {
    const bool isUpdating = needs.fIsSeen && !needs.fIsPaused;
    if (std::exchange(fIsUpdating, isUpdating) && !isUpdating) {
        Q_EMIT updatesStopped();
    }
    if (fRecorder->isRecording()) {
        needs.fRecorded = xRecorded(needs);
        fRecording->setKeys(needs.fRecorded);
    }
    const std::vector<std::uint32_t> newlyPlotted = xNewlyPlotted(needs);
    xKeepEveryChange(needs);
    if (!newlyPlotted.empty()) {
        Q_EMIT plottingBegan(newlyPlotted);
    }
    fPlan = planSubscription(needs);
    fKeys->setUpdateRates(fPlan, rate, MemoryLink::a_slowRate);
    fLink->subscribe(fPlan, rate);
}

/** Returns the watched and plotted keys or, if there are none, every key. */
std::vector<std::uint32_t> MemorySession::xRecorded(const SubscriptionNeeds& needs) const {
    std::vector<std::uint32_t> ids = needs.fWatched;
    ids.insert(ids.end(), needs.fPlotted.begin(), needs.fPlotted.end());
    return ids.empty() ? fKeys->ids() : ids;
}

/** Returns those that were already subscribed; the robot sends the current values of all others. */
std::vector<std::uint32_t> MemorySession::xNewlyPlotted(const SubscriptionNeeds& needs) const {
    std::vector<std::uint32_t> ids;
    if (fIsUpdating) {
        std::copy_if(needs.fPlotted.begin(), needs.fPlotted.end(), std::back_inserter(ids),
                     [this](std::uint32_t id) {
                         return fPlan.contains(id) && fEveryChangeIds.count(id) == 0;
                     });
    }
    return ids;
}

/** For other keys the feed keeps only the newest value. */
void MemorySession::xKeepEveryChange(const SubscriptionNeeds& needs) {
    std::unordered_set<std::uint32_t> ids(needs.fRecorded.begin(), needs.fRecorded.end());
    if (fIsUpdating) {
        ids.insert(needs.fPlotted.begin(), needs.fPlotted.end());
    }
    if (ids != fEveryChangeIds) {
        fEveryChangeIds = ids;
        fLink->feed().keepEveryChangeOf(std::move(ids));
    }
}

MemorySituation MemorySession::situation() const {
    MemorySituation situation;
    situation.fPhase = fPhase;
    situation.fRefusal = fRefusal;
    situation.fKeys = fKeys->size();
    situation.fUpdates = fUpdatesPerSecond;
    situation.fRoundTrip = fLink->roundTrip();
    situation.fAge = xAge();
    if (fReplay.isReplay()) {
        situation.fReplay = obvista::replayText(fReplay);
        situation.fIsReplayPaused = !fReplay.fIsPlaying;
    }
    situation.fQuietSeconds =
        fIsUpdating ? static_cast<double>(fSinceValue.elapsed()) / a_secondTime : 0;
    return situation;
}

/** Returns the age of the newest value in seconds; negative if there is none. */
double MemorySession::xAge() const {
    const std::int64_t newest = fKeys->newestTime();
    const std::int64_t age = fKeys->clock().now() - newest;
    return newest == 0 ? -1
                       : std::max(0.0, static_cast<double>(age) / base::a_microsecondsPerSecond);
}

}  // namespace memoryviewer
