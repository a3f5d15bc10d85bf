#ifndef OBVISTA_MEMORYVIEWER_WRITE_QUEUE_H
#define OBVISTA_MEMORYVIEWER_WRITE_QUEUE_H

#include "editing/robot_writer.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>

namespace memoryviewer {

/**
 * The key of a write: the robot identifies it by its name, which several announced keys may have.
 */
struct WrittenKey {
    std::uint32_t fId = 0;
    std::string fName;
};

/** State of the last write of a key. */
struct WriteState {
    enum class Phase { Pending, Accepted, Refused };
    Phase fPhase = Phase::Pending;
    KVValue fBefore;             ///< the value when the new one was entered
    KVValue fValue;              ///< the value to write
    QString fReason;             ///< the robot's reason for refusing; plain text
    QElapsedTimer fSinceAnswer;  ///< not valid while the write is pending
};

/**
 * Writes values to a robot one after the other on a dedicated thread, and stores the last accepted
 * write for undo. Used on the GUI thread, which never waits for the robot.
 */
class WriteQueue : public QObject {
    Q_OBJECT

  public:
    /** @param writer used on the queue's thread, except for its cancel() */
    explicit WriteQueue(std::unique_ptr<ValueWriter> writer, QObject* parent = nullptr);
    /** Cancels the running write; waiting ones are dropped. */
    ~WriteQueue() override;

    /**
     * Writes a value. Several writes of one key are done in order; the key's state is that of the
     * last one.
     *
     * @param before the value that undo() restores
     */
    void write(const WrittenKey& key, const KVValue& before, const KVValue& value);

    /** The last write of a key, until the next one; null if it was never written. */
    const WriteState* state(std::uint32_t id) const;
    /** Writes through another writer from now on, also after giveUp(). The running write is
     *  cancelled. */
    void setWriter(std::unique_ptr<ValueWriter> writer);
    /**
     * Refuses the waiting writes and all later ones until setWriter(), for instance when the robot
     * is lost: another one may answer at its address. The running write is cancelled.
     */
    void giveUp(const QString& reason);

    /** Returns true if the last write was accepted and can be undone, and none is pending. */
    bool canUndo() const { return fUndo.has_value() && fPending == 0; }
    /** Writes the value before the last accepted write; called again, writes that value again. */
    void undo();
    /** Forgets the write that undo() would take back: it was another robot's. */
    void forgetUndo() { fUndo.reset(); }

  Q_SIGNALS:
    /** Emitted when the state of the last write of a key has changed. */
    void stateChanged(std::uint32_t id);
    /**
     * Emitted when a write to a key of that name was refused. @param reason the robot's, plain text
     */
    void refused(const std::string& key, const QString& reason);

  private:
    struct Job {
        std::uint64_t fNumber = 0;
        WrittenKey fKey;
        KVValue fBefore;
        KVValue fValue;
    };
    struct LastWrite {
        std::uint64_t fNumber = 0;
        WriteState fState;
    };

    void xRun();
    void xFinish(const Job& job, const QString& refusal);

    std::unordered_map<std::uint32_t, LastWrite> fLastWrites;
    std::optional<Job> fUndo;
    std::uint64_t fNumber = 0;
    std::size_t fPending = 0;

    std::mutex fMutex;  // guards the members below
    std::condition_variable fWake;
    std::shared_ptr<ValueWriter> fWriter;  // null after giveUp()
    QString fRefusal;                      // its reason
    std::deque<Job> fJobs;
    bool fIsEnding = false;
    std::thread fThread;
};

}  // namespace memoryviewer

#endif
