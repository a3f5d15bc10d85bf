#include "client/frame_client.h"

#include "wire/raw_message.h"

#include <base/safe_text.h>

#include <numeric>
#include <utility>

namespace robaxi {

namespace {

/** H.264 frames that wait for a busy listener: one second of a usual camera. */
constexpr std::size_t a_mostWaiting = 32;
constexpr std::chrono::milliseconds a_keyFrameDistance(250);

}  // namespace

FrameClient::FrameClient(const std::shared_ptr<Runtime>& runtime,
                         std::shared_ptr<ClientSession> session, Target target, std::string stream,
                         KVFrameStream::Callbacks callbacks)
    : ClientStream(runtime, std::move(session), std::move(target)),
      fStream(std::move(stream)),
      fCallbacks(std::move(callbacks)),
      fMostBytes(runtime->fSettings.fLimits.fFrame),
      fAssembler(fMostBytes) {
}

FrameClient::~FrameClient() {
    stop();
}

void FrameClient::start() {
    xStart();
}

void FrameClient::xOpen(ClientTransport& transport, grpc::ClientContext* context) {
    transport.prepareStream(context, "Watch", this);
    // Read before locking: a lost link calls this object with its own lock held.
    const std::uint64_t sessionId = fSession->sessionId();
    fAssembler.restart();
    const std::lock_guard lock(fMutex);
    v1::WatchStart* start = fNextRequest.emplace().mutable_start();
    start->set_session_id(sessionId);
    start->set_resumption(transport.resumption());
    start->set_module(base::validUtf8(fTarget.fModule));
    start->set_stream(base::validUtf8(fStream));
    fReceived = 0;
    fMayRepeat = true;
}

bool FrameClient::xTakeRequest(grpc::ByteBuffer& request) {
    if (!fNextRequest) {
        return false;
    }
    request = writeMessage(*fNextRequest);
    fNextRequest.reset();
    return true;
}

void FrameClient::xReceived() {
    try {
        if (auto frame = fAssembler.take(fUpdate)) {
            xKeep(std::move(*frame));
        }
    } catch (const Failure& failure) {
        xFail(failure);
    }
    fUpdate.Clear();
    xRead();
}

void FrameClient::xKeep(KVFrame frame) {
    bool isFirst = false;
    {
        const std::lock_guard lock(fMutex);
        if (!xIsRepeated(frame)) {
            xQueue(std::move(frame));
            isFirst = !fWaiting.empty() && !std::exchange(fIsDelivering, true);
        }
        if (!fNextRequest) {
            fNextRequest.emplace();
        }
        fNextRequest->set_received(++fReceived);
    }
    xWrite();
    if (isFirst) {
        xPost(&FrameClient::xDeliver);
    }
}

/**
 * Requires fMutex. A robot begins each call with its newest frame, of H.264 with its newest key
 * frame and those since, which the last call may have delivered. Returns true for these.
 */
bool FrameClient::xIsRepeated(const KVFrame& frame) {
    const bool isChained = frame.fFormat == KVPixelFormat::H264;
    const bool isKnown = isChained
                             ? frame.fSequence <= fLast.fSequence && frame.fTime <= fLast.fTime
                             : frame.fNumber == fLast.fNumber && frame.fTime == fLast.fTime;
    fMayRepeat = fMayRepeat && isKnown;
    if (!fMayRepeat) {
        fLast = {frame.fNumber, frame.fTime, isChained ? frame.fSequence : 0};
    }
    return fMayRepeat;
}

/** Requires fMutex. */
void FrameClient::xQueue(KVFrame frame) {
    const auto add = [](std::size_t sum, const KVFrame& each) { return sum + each.fSize; };
    const bool isFull =
        fWaiting.size() == a_mostWaiting ||
        std::accumulate(fWaiting.begin(), fWaiting.end(), frame.fSize, add) > fMostBytes;
    if (frame.fFormat != KVPixelFormat::H264 || isFull) {
        fPassedOver += fWaiting.size();
        fWaiting.clear();
        fChain.interrupt();
    }
    fIsKeyWanted = fIsKeyWanted && !standsAlone(frame);
    if (fChain.accepts(frame)) {
        fWaiting.push_back(std::move(frame));
    } else {
        ++fPassedOver;
        fIsKeyWanted = true;
    }
    xRequestKeyFrame();
}

/**
 * Requires fMutex. Requests a key frame if one is wanted and the last request is long enough ago.
 * Returns true if there is a request to write.
 */
bool FrameClient::xRequestKeyFrame() {
    const auto now = std::chrono::steady_clock::now();
    if (!fIsKeyWanted || now - fKeyRequested < a_keyFrameDistance) {
        return false;
    }
    fIsKeyWanted = false;
    fKeyRequested = now;
    if (!fNextRequest) {
        fNextRequest.emplace().set_received(fReceived);
    }
    fNextRequest->set_key_frame(true);
    return true;
}

void FrameClient::requestKeyFrame() {
    bool isNew = false;
    {
        const std::lock_guard lock(fMutex);
        fIsKeyWanted = true;
        isNew = !fIsStopped && xRequestKeyFrame();
    }
    if (isNew) {
        xWrite();
    }
}

/** On the strand. Returns false if no frame waits. */
bool FrameClient::xDeliverOne() {
    std::optional<KVFrame> frame;
    std::uint64_t passedOver = 0;
    {
        const std::lock_guard lock(fMutex);
        if (fIsStopped || fWaiting.empty()) {
            return false;
        }
        frame = std::move(fWaiting.front());
        fWaiting.pop_front();
        passedOver = std::exchange(fPassedOver, 0);
    }
    if (fCallbacks.fFrameReceived) {
        fCallbacks.fFrameReceived(*frame, passedOver);
    }
    return true;
}

/** One frame each time, so that other streams have their turn. */
void FrameClient::xDeliver() {
    xDeliverOne();
    bool isMore = false;
    {
        const std::lock_guard lock(fMutex);
        isMore = fIsDelivering = !fIsStopped && !fWaiting.empty();
    }
    if (isMore) {
        xPost(&FrameClient::xDeliver);
    }
}

void FrameClient::xTellEnd(const KVError& error) {
    // The frames that wait came before the end.
    while (xDeliverOne()) {
    }
    bool isStopped = false;
    {
        const std::lock_guard lock(fMutex);
        isStopped = fIsStopped;
    }
    if (!isStopped && fCallbacks.fEnded) {
        fCallbacks.fEnded(error);
    }
}

}  // namespace robaxi
