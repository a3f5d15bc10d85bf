#include "editing/write_queue.h"

#include <obvista/viewer/plain_text.h>

#include <exception>
#include <utility>

namespace memoryviewer {

WriteQueue::WriteQueue(std::unique_ptr<ValueWriter> writer, QObject* parent)
    : QObject(parent), fWriter(std::move(writer)), fThread([this] { xRun(); }) {
}

WriteQueue::~WriteQueue() {
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fIsEnding = true;
        fWake.notify_one();
    }
    if (fWriter) {
        fWriter->cancel();
    }
    fThread.join();
}

void WriteQueue::setWriter(std::unique_ptr<ValueWriter> writer) {
    std::shared_ptr<ValueWriter> next = std::move(writer);
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fWriter.swap(next);
    }
    if (next) {
        next->cancel();
    }
}

void WriteQueue::write(const WrittenKey& key, const KVValue& before, const KVValue& value) {
    Job job{++fNumber, key, before, value};
    fLastWrites[key.fId] = {job.fNumber, {WriteState::Phase::Pending, before, value, {}, {}}};
    ++fPending;
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fJobs.push_back(std::move(job));
        fWake.notify_one();
    }
    Q_EMIT stateChanged(key.fId);
}

const WriteState* WriteQueue::state(std::uint32_t id) const {
    const auto last = fLastWrites.find(id);
    return last != fLastWrites.end() ? &last->second.fState : nullptr;
}

void WriteQueue::giveUp(const QString& reason) {
    std::deque<Job> jobs;
    std::shared_ptr<ValueWriter> writer;
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        jobs.swap(fJobs);
        writer.swap(fWriter);
        fRefusal = reason;
    }
    if (writer) {
        writer->cancel();
    }
    for (const Job& job : jobs) {
        xFinish(job, reason);
    }
}

void WriteQueue::undo() {
    if (canUndo()) {
        const Job last = *fUndo;
        write(last.fKey, last.fValue, last.fBefore);
    }
}

void WriteQueue::xRun() {
    for (;;) {
        Job job;
        std::shared_ptr<ValueWriter> writer;
        QString refusal;
        {
            std::unique_lock<std::mutex> lock(fMutex);
            fWake.wait(lock, [this] { return fIsEnding || !fJobs.empty(); });
            if (fIsEnding) {
                return;
            }
            job = std::move(fJobs.front());
            fJobs.pop_front();
            writer = fWriter;
            refusal = fRefusal;
        }
        try {
            if (writer) {
                refusal.clear();
                writer->write(job.fKey.fName, job.fValue);
            }
        } catch (const std::exception& error) {
            refusal = obvista::plainText(error.what());
        }
        QMetaObject::invokeMethod(
            this, [this, job, refusal] { xFinish(job, refusal); }, Qt::QueuedConnection);
    }
}

/** @param refusal empty if the robot has accepted the value */
void WriteQueue::xFinish(const Job& job, const QString& refusal) {
    --fPending;
    const bool isAccepted = refusal.isEmpty();
    if (isAccepted) {
        fUndo = job;
    }
    const auto last = fLastWrites.find(job.fKey.fId);
    if (last != fLastWrites.end() && last->second.fNumber == job.fNumber) {
        WriteState& state = last->second.fState;
        state.fPhase = isAccepted ? WriteState::Phase::Accepted : WriteState::Phase::Refused;
        state.fReason = refusal;
        state.fSinceAnswer.start();
        Q_EMIT stateChanged(job.fKey.fId);
    }
    if (!isAccepted) {
        Q_EMIT refused(job.fKey.fName, refusal);
    }
}

}  // namespace memoryviewer
