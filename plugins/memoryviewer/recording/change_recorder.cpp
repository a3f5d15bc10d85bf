#include "recording/change_recorder.h"

#include <base/time.h>

#include <utility>

namespace memoryviewer {

namespace {

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
    fThread = std::thread([this, robot = fRobot] { xRun(robot); });
}

void ChangeRecorder::record(std::vector<RecordedChange> changes) {
    std::vector<std::size_t> sizes;
    sizes.reserve(changes.size());
    for (const RecordedChange& change : changes) {
        sizes.push_back(sizeInMemory(change.fValue));
    }
    const std::int64_t arrival = base::microsecondsNow();
    const std::lock_guard<std::mutex> lock(fMutex);
    if (fPhase != Phase::Running) {
        return;
    }
    for (std::size_t i = 0; i < changes.size(); ++i) {
        changes[i].fArrival = arrival;
        xAdd(std::move(changes[i]), sizes[i]);
    }
    fWake.notify_one();
}

void ChangeRecorder::record(RecordedEvent event) {
    const std::size_t bytes = event.fName.size() + event.fText.size();
    const std::lock_guard<std::mutex> lock(fMutex);
    if (fPhase == Phase::Running) {
        xAdd(std::move(event), bytes);
        fWake.notify_one();
    }
}

void ChangeRecorder::reportLoss(std::uint64_t changes) {
    const std::lock_guard<std::mutex> lock(fMutex);
    if (fPhase == Phase::Running && changes > 0) {
        xLose(changes);
        fWake.notify_one();
    }
}

/** Called with the lock held. */
void ChangeRecorder::xAdd(Entry entry, std::size_t bytes) {
    // After a loss everything is dropped until the writer's next turn, so that the loss is reported
    // at the right place.
    if (fNewlyLost > 0 || !xHasRoomFor(bytes)) {
        xLose(1);
        return;
    }
    fWaitingBytes += bytes;
    fWaiting.push_back(std::move(entry));
}

/** Called with the lock held. */
void ChangeRecorder::xLose(std::uint64_t changes) {
    fNewlyLost += changes;
    fProgress.fLost += changes;
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

void ChangeRecorder::xRun(const robot_recording::RobotOrigin& robot) {
    const QString error = xWriteFile(robot);
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
QString ChangeRecorder::xWriteFile(const robot_recording::RobotOrigin& robot) {
    const std::unique_ptr<ChangeFile> file = makeChangeFile(fFileName, robot);
    if (file->open(fFileName)) {
        QMetaObject::invokeMethod(this, &ChangeRecorder::started, Qt::QueuedConnection);
        xWriteEntries(*file);
        file->close();
        xCount(*file);
    }
    return file->error();
}

/** Until the recording ends or writing fails. */
void ChangeRecorder::xWriteEntries(ChangeFile& file) {
    Clock::time_point lastSync = Clock::now();
    xCount(file);
    bool isGood = true;
    for (bool isLast = false; !isLast && isGood;) {
        const Work work = xWaitForWork();
        isLast = work.fIsLast;
        for (auto entry = work.fEntries.begin(); entry != work.fEntries.end() && isGood; ++entry) {
            isGood = std::visit([&file](const auto& each) { return file.append(each); }, *entry);
        }
        if (isGood && work.fLost > 0) {
            isGood = file.appendLoss(work.fLost);
        }
        isGood = isGood && file.write();
        xCount(file);
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
    work.fEntries.swap(fWaiting);
    work.fLost = std::exchange(fNewlyLost, 0);
    work.fIsLast = fPhase == Phase::Stopping;
    fWaitingBytes = 0;
    return work;
}

void ChangeRecorder::xCount(const ChangeFile& file) {
    const std::uint64_t changes = file.changes();
    const std::int64_t size = file.size();
    const std::lock_guard<std::mutex> lock(fMutex);
    fProgress.fChanges = changes;
    fProgress.fBytes = size;
}

void ChangeRecorder::xFinish(const QString& error) {
    fThread.join();
    Q_EMIT finished(error);
}

}  // namespace memoryviewer
