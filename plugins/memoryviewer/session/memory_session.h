#ifndef OBVISTA_MEMORYVIEWER_MEMORY_SESSION_H
#define OBVISTA_MEMORYVIEWER_MEMORY_SESSION_H

#include "session/memory_situation.h"
#include "session/subscription_planner.h"

#include <obvista/viewer/link_state.h>
#include <obvista/viewer/replay_state.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_value_table.h>

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

namespace memoryviewer {

class ChangeRecorder;
class KeyRecording;
class KeyStore;
class MemoryLink;
class WriteQueue;
struct MemoryBatch;

/**
 * A viewer's session with the memory of its robot: the keys with their newest values, the
 * subscription to those that are needed, writes, the recording, and the state of the connection.
 *
 * Used on the GUI thread.
 */
class MemorySession : public QObject {
    Q_OBJECT

  public:
    MemorySession(std::shared_ptr<MemoryLink> link, QObject* parent);
    ~MemorySession() override;

    KeyStore& keys() const { return *fKeys; }
    WriteQueue& writes() const { return *fWrites; }
    ChangeRecorder& recorder() const { return *fRecorder; }

    /** Takes what has arrived from the robot, soon and at most 25 times a second. */
    void takeNews();
    /** Takes the state of a robot that is a replay. */
    void setReplay(const obvista::ReplayState& replay);
    /** The link has ended. Takes the values that came before the end. */
    void end(obvista::LinkState state);
    /** The robot is lost, and may return. Takes the values that came before. */
    void interrupt();
    /** The robot has returned. Keys, rates and the recording continue. */
    void resume();
    /** The robot does not answer from now on, or answers again. */
    void setSilent(bool isSilent);

    /**
     * Subscribes to the needed keys; cheap if they have not changed. Also starts with the current
     * values of the recorded keys if a recording has been started.
     *
     * @param rate updates a second
     */
    void subscribe(SubscriptionNeeds needs, int rate);
    /** Returns true if what the user sees is kept up to date: it is seen and not paused. */
    bool isUpdating() const { return fIsUpdating; }

    MemorySituation situation() const;

  Q_SIGNALS:
    /** Emitted when keys and values have been taken. */
    void newsTaken();
    /** Emitted with every change of the plotted and recorded keys. */
    void changesTaken(const std::vector<KVChange>& changes);
    /**
     * Emitted when keys are plotted whose values are known, and are not sent again before they
     * change; also after a silence of the robot.
     */
    void plottingBegan(const std::vector<std::uint32_t>& ids);
    /** Emitted when isUpdating() becomes false. */
    void updatesStopped();
    /** Emitted when the robot does not answer any more. */
    void silenceBegan();
    /** Emitted when what changed during a silence has arrived, or the robot is lost. */
    void silenceEnded();
    /** Emitted when rates are up to date; not any more when the session is over. */
    void secondPassed();
    void phaseChanged();

  private:
    void xDescribeRobot();
    void xTakeBatch();
    void xApply(MemoryBatch& batch);
    void xUpdatePhase(const MemoryBatch& batch);
    bool xIsStarting(const KVError& refusal) const;
    void xSetPhase(MemoryPhase phase);
    void xOnSecond();
    void xCatchUp();
    std::vector<std::uint32_t> xRecorded(const SubscriptionNeeds& needs) const;
    std::vector<std::uint32_t> xNewlyPlotted(const SubscriptionNeeds& needs) const;
    void xKeepEveryChange(const SubscriptionNeeds& needs);
    double xAge() const;

    const std::shared_ptr<MemoryLink> fLink;
    KeyStore* fKeys;
    std::unique_ptr<WriteQueue> fWrites;
    ChangeRecorder* fRecorder;
    KeyRecording* fRecording;

    MemoryPhase fPhase = MemoryPhase::WaitingForKeys;
    QString fRefusal;
    obvista::ReplayState fReplay;
    std::unordered_set<std::uint32_t> fEveryChangeIds;
    SubscriptionPlan fPlan;
    bool fIsUpdating = false;
    bool fIsReturning = false;  // the robot has returned, and not announced its keys yet

    QTimer fFrameTimer;
    QElapsedTimer fSinceFrame;
    QTimer fSecondTimer;
    QElapsedTimer fSinceSecond;
    QElapsedTimer fSinceValue;
    QElapsedTimer fSinceReturn;   // of the robot's keys; not valid if long ago, or never was
    QElapsedTimer fSinceSilence;  // the same for the end of a silence
    std::size_t fUpdates = 0;
    int fUpdatesPerSecond = 0;
};

}  // namespace memoryviewer

#endif
