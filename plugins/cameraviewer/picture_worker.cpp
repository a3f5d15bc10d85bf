#include "picture_worker.h"

#include <obvista/viewer/notice.h>

#include <new>
#include <utility>

namespace cameraviewer {

PictureWorker::PictureWorker(obvista::Notice& notice) : fNotice(notice) {
    start();
}

PictureWorker::~PictureWorker() {
    stop();
}

bool PictureWorker::offer(const picture::CheckedFrame& frame) {
    const std::lock_guard<std::mutex> lock(fMutex);
    const bool isReplacing = fWaiting.has_value();
    fWaiting = frame;
    fWork.notify_one();
    return isReplacing;
}

void PictureWorker::request() {
    const std::lock_guard<std::mutex> lock(fMutex);
    fIsRequested = true;
    fWork.notify_one();
}

std::optional<DecodedPicture> PictureWorker::take() {
    const std::lock_guard<std::mutex> lock(fMutex);
    return std::exchange(fFinished, std::nullopt);
}

void PictureWorker::setHistogramWanted(bool isWanted) {
    const std::lock_guard<std::mutex> lock(fMutex);
    fIsHistogramWanted = isWanted;
}

void PictureWorker::forget() {
    const std::lock_guard<std::mutex> lock(fMutex);
    ++fEpoch;
    fWaiting.reset();
    // The consumer of the discarded picture would have requested the next one.
    fIsRequested = fIsRequested || fFinished;
    fFinished.reset();
}

void PictureWorker::stop() {
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fIsStopped = true;
        fWork.notify_one();
    }
    if (fThread.joinable()) {
        fThread.join();
    }
}

void PictureWorker::start() {
    fIsStopped = false;
    fThread = std::thread([this] { xRun(); });
}

void PictureWorker::xRun() {
    std::unique_lock<std::mutex> lock(fMutex);
    for (;;) {
        fWork.wait(lock, [this] { return fIsStopped || (fIsRequested && fWaiting); });
        if (fIsStopped) {
            return;
        }
        const picture::CheckedFrame frame = *std::exchange(fWaiting, std::nullopt);
        const std::uint64_t epoch = fEpoch;
        const bool withHistograms = fIsHistogramWanted;
        lock.unlock();
        DecodedPicture decoded = xDecode(frame, withHistograms);
        lock.lock();
        if (epoch == fEpoch && !fIsStopped) {
            fIsRequested = false;
            fFinished = std::move(decoded);
            lock.unlock();
            fNotice.give();
            lock.lock();
        }
    }
}

DecodedPicture PictureWorker::xDecode(const picture::CheckedFrame& frame, bool withHistograms) {
    DecodedPicture decoded;
    try {
        decoded.fPicture = fDecoder.decode(frame);
    } catch (const std::bad_alloc&) {
        decoded.fPicture.fFrame = frame.frame();
        decoded.fPicture.fFault = picture::FrameFault::TooLarge;
    }
    if (withHistograms) {
        decoded.fHistograms = histogramsOf(decoded.fPicture.fImage);
    }
    return decoded;
}

}  // namespace cameraviewer
