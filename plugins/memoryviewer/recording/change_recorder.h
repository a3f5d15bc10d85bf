#ifndef OBVISTA_MEMORYVIEWER_CHANGE_RECORDER_H
#define OBVISTA_MEMORYVIEWER_CHANGE_RECORDER_H

#include "recording/change_file.h"

#include <QObject>
#include <QString>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <thread>
#include <variant>
#include <vector>

namespace memoryviewer {

/** Progress of a recording. */
struct RecordingProgress {
    std::uint64_t fChanges = 0;  ///< in the file
    std::int64_t fBytes = 0;     ///< size of the file
    std::uint64_t fLost = 0;     ///< changes lost because the disk was too slow
    double fSeconds = 0;         ///< since start(), up to the end
};

/**
 * Writes changes of keys to a file, on a dedicated thread.
 *
 * The file can be read at any time. The waiting data is limited; changes beyond that are counted as
 * lost, and the file has the number that are missing at their place.
 *
 * record(), reportLoss() and progress() may be called from any thread, all others from the object's
 * own.
 */
class ChangeRecorder : public QObject {
    Q_OBJECT

  public:
    /** Maximum number of changes, and bytes of their texts, that wait for the disk. */
    struct Limits {
        std::size_t fChanges = 200000;
        std::size_t fBytes = std::size_t(64) << 20U;
    };

    explicit ChangeRecorder(QObject* parent = nullptr);
    ChangeRecorder(Limits limits, QObject* parent);
    /** Stops, and waits until everything recorded is written. */
    ~ChangeRecorder() override;

    /** Sets the robot whose keys are recorded, for the next start(). */
    void setRobot(robot_recording::RobotOrigin robot) { fRobot = std::move(robot); }

    /**
     * Starts a file, in the format that makeChangeFile() chooses, replacing an existing one. Does
     * nothing during a recording. started() or finished() reports whether the file could be
     * created.
     */
    void start(const QString& fileName);

    /** Adds changes to the file; does nothing without a recording. Never waits for the disk. */
    void record(std::vector<RecordedChange> changes);
    /** Adds an event at this place, as above. */
    void record(RecordedEvent event);
    /** Counts changes as lost that did not reach the recorder. */
    void reportLoss(std::uint64_t changes);

    /** Ends the file with the changes so far; finished() follows when they are written. */
    void stop();

    /** Returns true from start() until finished(). */
    bool isRecording() const { return fThread.joinable(); }
    const QString& fileName() const { return fFileName; }
    /** Returns the progress of this recording, or of the last one. */
    RecordingProgress progress() const;

  Q_SIGNALS:
    void started();
    /**
     * Emitted when the file is closed. @param error a sentence for the user, empty if everything is
     * in the file
     */
    void finished(const QString& error);

  private:
    using Clock = std::chrono::steady_clock;
    enum class Phase { Idle, Running, Stopping };

    using Entry = std::variant<RecordedChange, RecordedEvent>;

    struct Work {
        std::vector<Entry> fEntries;
        std::uint64_t fLost = 0;
        bool fIsLast = false;
    };

    void xRun(const robot_recording::RobotOrigin& robot);
    QString xWriteFile(const robot_recording::RobotOrigin& robot);
    void xWriteEntries(ChangeFile& file);
    Work xWaitForWork();
    void xCount(const ChangeFile& file);
    void xAdd(Entry entry, std::size_t bytes);
    void xLose(std::uint64_t changes);
    void xFinish(const QString& error);
    bool xHasRoomFor(std::size_t bytes) const;

    const Limits fLimits;
    robot_recording::RobotOrigin fRobot;
    QString fFileName;
    std::thread fThread;

    mutable std::mutex fMutex;
    std::condition_variable fWake;
    Phase fPhase = Phase::Idle;
    std::vector<Entry> fWaiting;
    std::size_t fWaitingBytes = 0;
    std::uint64_t fNewlyLost = 0;
    RecordingProgress fProgress;
    Clock::time_point fStart;
};

}  // namespace memoryviewer

#endif
