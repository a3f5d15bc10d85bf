#ifndef OBVISTA_MEMORYVIEWER_CSV_RECORDER_H
#define OBVISTA_MEMORYVIEWER_CSV_RECORDER_H

#include "recording/change_row.h"

#include <QObject>
#include <QString>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

namespace memoryviewer {

class CsvFile;

/** How far a recording is. */
struct RecordingProgress {
    std::uint64_t fRows = 0;  ///< changes in the file
    std::int64_t fBytes = 0;  ///< size of the file
    std::uint64_t fLost = 0;  ///< changes that the disk was too slow for
    double fSeconds = 0;      ///< since start(), up to the end
};

/**
 * Writes changes of keys into a CSV file, on a thread of its own.
 *
 * The file holds whole rows at any moment. What waits to be written is bounded; changes beyond that
 * are counted as lost, and a row of the file says how many are missing at its place.
 *
 * record() and progress() may be called from any thread, all others from the object's own.
 */
class CsvRecorder : public QObject {
    Q_OBJECT

  public:
    /** Most changes, and most bytes of their texts, that wait for the disk. */
    struct Limits {
        std::size_t fChanges = 200000;
        std::size_t fBytes = std::size_t(64) << 20U;
    };

    explicit CsvRecorder(QObject* parent = nullptr);
    CsvRecorder(Limits limits, QObject* parent);
    /** Stops, and waits until what was recorded is written. */
    ~CsvRecorder() override;

    /**
     * Starts a file, in place of one that is there. Nothing when a recording runs. Whether the file
     * could be made is said by started() or finished().
     */
    void start(const QString& fileName);

    /** Adds changes to the file; none when nothing is recorded. Never waits for the disk. */
    void record(std::vector<RecordedChange> changes);

    /** Ends the file with what was recorded so far; finished() follows when it is written. */
    void stop();

    /** From start() until finished(). */
    bool isRecording() const { return fThread.joinable(); }
    const QString& fileName() const { return fFileName; }
    /** Of this recording, or of the last one. */
    RecordingProgress progress() const;

  Q_SIGNALS:
    void started();
    /** The file is closed. @param error a sentence for the user, empty when all is in the file */
    void finished(const QString& error);

  private:
    using Clock = std::chrono::steady_clock;
    enum class Phase { Idle, Running, Stopping };

    struct Work {
        std::vector<RecordedChange> fChanges;
        std::uint64_t fLost = 0;
        bool fIsLast = false;
    };

    void xRun();
    QString xWriteFile();
    void xWriteRows(CsvFile& file);
    Work xWaitForWork();
    void xCount(const CsvFile& file, std::uint64_t otherRows);
    void xFinish(const QString& error);
    bool xHasRoomFor(std::size_t bytes) const;

    const Limits fLimits;
    QString fFileName;
    std::thread fThread;

    mutable std::mutex fMutex;
    std::condition_variable fWake;
    Phase fPhase = Phase::Idle;
    std::vector<RecordedChange> fWaiting;
    std::size_t fWaitingBytes = 0;
    std::uint64_t fNewlyLost = 0;
    RecordingProgress fProgress;
    Clock::time_point fStart;
};

}  // namespace memoryviewer

#endif
