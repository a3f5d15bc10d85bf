#include "picture_worker.h"

#include <obvista/viewer/notice.h>

#include <new>
#include <utility>

namespace cameraviewer {

namespace {

/** H.264 frames that wait for a request: two seconds of a usual camera. */
constexpr std::size_t a_mostWaiting = 64;

}  // namespace

PictureWorker::PictureWorker(obvista::Notice& notice) : fNotice(notice) {
    start();
}

PictureWorker::~PictureWorker() {
    stop();
}

bool PictureWorker::offer(const picture::CheckedFrame& frame) {
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        const bool isReplacing = !fWaiting.empty();
        if (standsAlone(frame.frame())) {
            fWaiting.clear();
        } else if (fWaiting.size() == a_mostWaiting) {
            fWaiting.clear();
            fChain.interrupt();
        }
        if (fChain.accepts(frame.frame())) {
            fWaiting.push_back(frame);
            fWork.notify_one();
            return isReplacing;
        }
        if (!xReject()) {
            return true;
        }
    }
    fNotice.give();
    return true;
}

/** Requires fMutex. Returns true if that is news. */
bool PictureWorker::xReject() {
    // Without a request nobody sees the picture, and the next key frame comes soon enough.
    const bool isNews = fIsRequested && !fIsKeyFrameNeeded;
    fIsKeyFrameNeeded = fIsKeyFrameNeeded || fIsRequested;
    return isNews;
}

bool PictureWorker::takeKeyFrameRequest() {
    const std::lock_guard<std::mutex> lock(fMutex);
    return std::exchange(fIsKeyFrameNeeded, false);
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
    fWaiting.clear();
    fChain.interrupt();
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
        fWork.wait(lock, [this] { return fIsStopped || (fIsRequested && !fWaiting.empty()); });
        if (fIsStopped) {
            return;
        }
        const std::deque<picture::CheckedFrame> frames = std::exchange(fWaiting, {});
        const std::uint64_t epoch = fEpoch;
        const bool withHistograms = fIsHistogramWanted;
        lock.unlock();
        DecodedPicture decoded = xDecode(frames, withHistograms);
        lock.lock();
        const picture::FrameFault fault = decoded.fPicture.fFault;
        // A key frame does not replace a decoder.
        const bool isBroken = fault != picture::FrameFault::None &&
                              fault != picture::FrameFault::NoH264Decoder &&
                              frames.back().frame().fFormat == KVPixelFormat::H264;
        if (isBroken && (fWaiting.empty() || !standsAlone(fWaiting.front().frame()))) {
            fWaiting.clear();
            fChain.interrupt();
            xReject();
        }
        if (epoch == fEpoch && !fIsStopped) {
            fIsRequested = false;
            fFinished = std::move(decoded);
            lock.unlock();
            fNotice.give();
            lock.lock();
        }
    }
}

void PictureWorker::xDecodeLast(const std::deque<picture::CheckedFrame>& frames, Picture& picture) {
    for (std::size_t i = 0; i + 1 < frames.size(); ++i) {
        picture.fFault = fDecoder.skip(frames[i]);
        if (picture.fFault != picture::FrameFault::None) {
            picture.fFrame = frames[i].frame();
            return;
        }
    }
    picture = fDecoder.decode(frames.back());
}

DecodedPicture PictureWorker::xDecode(const std::deque<picture::CheckedFrame>& frames,
                                      bool withHistograms) {
    DecodedPicture decoded;
    try {
        xDecodeLast(frames, decoded.fPicture);
    } catch (const std::bad_alloc&) {
        decoded.fPicture.fFrame = frames.back().frame();
        decoded.fPicture.fFault = picture::FrameFault::TooLarge;
    }
    if (withHistograms) {
        decoded.fHistograms = histogramsOf(decoded.fPicture.fImage);
    }
    return decoded;
}

}  // namespace cameraviewer
