#include "recording/change_recorder.h"

#include "recording/csv_file.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace memoryviewer {

namespace {

/** Large enough for few system calls, small enough to lose little when the program is killed. */
constexpr std::size_t a_bytesPerWrite = 65536;
constexpr std::chrono::seconds a_syncTime{2};
/** Size of a change besides the bytes of its texts. */
constexpr std::size_t a_bytesOfValue = 64;

std::size_t sizeInMemory(const KVValue& value) {
    std::size_t size = a_bytesOfValue;
    switch (value.type()) {
        case KVValue::Type::List:
            for (const KVValue& element : value.toList()) {
                size += sizeInMemory(element);
            }
            return size;
        case KVValue::Type::Map:
            for (const auto& [name, element] : value.toMap()) {
                size += name.size() + sizeInMemory(element);
            }
            return size;
        default:
            return size + static_cast<std::size_t>(value.getSize());
    }
}

/** Collects rows and appends them to the file in pieces. */
class RowWriter {
  public:
    explicit RowWriter(CsvFile& file) : fFile(file) {}

    std::string& rows() { return fRows; }

    bool writeIfLong() { return fRows.size() < a_bytesPerWrite || write(); }

    bool write() {
        const bool isWritten = fRows.empty() || fFile.append(fRows);
        fRows.clear();
        return isWritten;
    }

  private:
    CsvFile& fFile;
    std::string fRows;
};

}  // namespace

ChangeRecorder::ChangeRecorder(QObject* parent) : ChangeRecorder(Limits(), parent) {
}

ChangeRecorder::ChangeRecorder(Limits limits, QObject* parent) : QObject(parent), fLimits(limits) {
}

ChangeRecorder::~ChangeRecorder() {
    stop();
    if (fThread.joinable()) {
        fThread.join();
    }
}

void ChangeRecorder::start(const QString& fileName) {
    if (isRecording()) {
        return;
    }
    fFileName = fileName;
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fPhase = Phase::Running;
        fWaitingBytes = 0;
        fNewlyLost = 0;
        fProgress = RecordingProgress();
        fStart = Clock::now();
    }
    fThread = std::thread([this] { xRun(); });
}

void ChangeRecorder::record(std::vector<RecordedChange> changes) {
    std::vector<std::size_t> sizes;
    sizes.reserve(changes.size());
    for (const RecordedChange& change : changes) {
        sizes.push_back(sizeInMemory(change.fValue));
    }
    const std::lock_guard<std::mutex> lock(fMutex);
    if (fPhase != Phase::Running) {
        return;
    }
    for (std::size_t i = 0; i < changes.size(); ++i) {
        // After a loss everything is dropped until the writer's next turn, so that the row that
        // reports it is at the right place.
        if (fNewlyLost > 0 || !xHasRoomFor(sizes[i])) {
            ++fNewlyLost;
            ++fProgress.fLost;
            continue;
        }
        fWaitingBytes += sizes[i];
        fWaiting.push_back(std::move(changes[i]));
    }
    fWake.notify_one();
}

void ChangeRecorder::stop() {
    const std::lock_guard<std::mutex> lock(fMutex);
    if (fPhase == Phase::Running) {
        fPhase = Phase::Stopping;
        fWake.notify_one();
    }
}

RecordingProgress ChangeRecorder::progress() const {
    const std::lock_guard<std::mutex> lock(fMutex);
    RecordingProgress progress = fProgress;
    if (fPhase != Phase::Idle) {
        progress.fSeconds = std::chrono::duration<double>(Clock::now() - fStart).count();
    }
    return progress;
}

/** Called with the lock held. */
bool ChangeRecorder::xHasRoomFor(std::size_t bytes) const {
    return fWaiting.size() < fLimits.fChanges && fWaitingBytes + bytes <= fLimits.fBytes;
}

void ChangeRecorder::xRun() {
    const QString error = xWriteFile();
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fPhase = Phase::Idle;
        fProgress.fSeconds = std::chrono::duration<double>(Clock::now() - fStart).count();
        fWaiting.clear();
    }
    QMetaObject::invokeMethod(
        this, [this, error] { xFinish(error); }, Qt::QueuedConnection);
}

/** @return the reason of a premature end, or nothing */
QString ChangeRecorder::xWriteFile() {
    CsvFile file;
    if (!file.open(fFileName) || !file.append(a_csvHeader)) {
        return file.error();
    }
    QMetaObject::invokeMethod(this, &ChangeRecorder::started, Qt::QueuedConnection);
    xWriteRows(file);
    file.close();
    return file.error();
}

/** Until the recording ends or writing fails. */
void ChangeRecorder::xWriteRows(CsvFile& file) {
    RowWriter writer(file);
    Clock::time_point lastSync = Clock::now();
    std::int64_t time = 0;
    std::uint64_t otherRows = 1;  // rows that are not changes: the header
    xCount(file, otherRows);
    bool isGood = true;
    for (bool isLast = false; !isLast && isGood;) {
        const Work work = xWaitForWork();
        isLast = work.fIsLast;
        for (auto change = work.fChanges.begin(); change != work.fChanges.end() && isGood;
             ++change) {
            appendChangeRow(writer.rows(), *change);
            time = change->fTime;
            isGood = writer.writeIfLong();
        }
        if (work.fLost > 0) {
            appendLossRow(writer.rows(), time, work.fLost);
        }
        isGood = isGood && writer.write();
        otherRows += isGood && work.fLost > 0 ? 1 : 0;
        xCount(file, otherRows);
        if (Clock::now() - lastSync >= a_syncTime) {
            file.sync();
            lastSync = Clock::now();
        }
    }
}

ChangeRecorder::Work ChangeRecorder::xWaitForWork() {
    std::unique_lock<std::mutex> lock(fMutex);
    fWake.wait(lock,
               [this] { return !fWaiting.empty() || fNewlyLost > 0 || fPhase == Phase::Stopping; });
    Work work;
    work.fChanges.swap(fWaiting);
    work.fLost = std::exchange(fNewlyLost, 0);
    work.fIsLast = fPhase == Phase::Stopping;
    fWaitingBytes = 0;
    return work;
}

void ChangeRecorder::xCount(const CsvFile& file, std::uint64_t otherRows) {
    const std::lock_guard<std::mutex> lock(fMutex);
    fProgress.fRows = file.rows() - otherRows;
    fProgress.fBytes = file.size();
}

void ChangeRecorder::xFinish(const QString& error) {
    fThread.join();
    Q_EMIT finished(error);
}

}  // namespace memoryviewer
