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

/** A key as it is written: a robot knows it by its name, of which it may have announced several. */
struct WrittenKey {
    std::uint32_t fId = 0;
    std::string fName;
};

/** What became of the last write of a key. */
struct WriteState {
    enum class Phase { Pending, Accepted, Refused };
    Phase fPhase = Phase::Pending;
    KVValue fBefore;             ///< what stood there when it was entered
    KVValue fValue;              ///< what was to be written
    QString fReason;             ///< the robot's, when it refused; plain text
    QElapsedTimer fSinceAnswer;  ///< not valid while it is pending
};

/**
 * Writes values to a robot one after the other on a thread of its own, and remembers the last one
 * accepted so that it can be undone. Used on the GUI thread, which never waits for the robot.
 */
class WriteQueue : public QObject {
    Q_OBJECT

  public:
    /** @param writer used on the queue's thread, but for its cancel() */
    explicit WriteQueue(std::unique_ptr<ValueWriter> writer, QObject* parent = nullptr);
    /** Cancels what is being written; what waits is not written. */
    ~WriteQueue() override;

    /**
     * Writes a value. Several writes of one key are done in their order; its state is that of the
     * last one.
     *
     * @param before the value that undo() brings back
     */
    void write(const WrittenKey& key, const KVValue& before, const KVValue& value);

    /** The last write of a key, until the next one; null if it was never written. */
    const WriteState* state(std::uint32_t id) const;
    /** Ends all that waits as refused, for instance when the robot is lost. */
    void giveUp(const QString& reason);

    /** Whether a write was accepted that can be undone: the last one, and nothing is pending. */
    bool canUndo() const { return fUndo.has_value() && fPending == 0; }
    /** Name of the key that undo() writes. */
    std::string undoKey() const { return fUndo ? fUndo->fKey.fName : std::string(); }
    /** Writes what was there before the last write accepted; once more writes that again. */
    void undo();

  Q_SIGNALS:
    /** Another state of the last write of a key. */
    void stateChanged(std::uint32_t id);
    /** A key of that name was refused. @param reason the robot's, plain text */
    void refused(const std::string& key, const QString& reason);
    void canUndoChanged(bool canUndo);

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
    void xTellUndo();

    std::unique_ptr<ValueWriter> fWriter;
    std::unordered_map<std::uint32_t, LastWrite> fLastWrites;
    std::optional<Job> fUndo;
    std::uint64_t fNumber = 0;
    std::size_t fPending = 0;
    bool fCouldUndo = false;

    std::mutex fMutex;
    std::condition_variable fWake;
    std::deque<Job> fJobs;
    bool fIsEnding = false;
    std::thread fThread;
};

}  // namespace memoryviewer

#endif
