#include "client/frame_client.h"

#include "wire/message_codec.h"
#include "wire/raw_message.h"

#include <base/safe_text.h>

#include <utility>

namespace robaxi {

FrameClient::FrameClient(const std::shared_ptr<Runtime>& runtime,
                         std::shared_ptr<ClientSession> session, Target target, std::string stream,
                         KVFrameStream::Callbacks callbacks)
    : ClientStream(runtime, std::move(session), std::move(target)),
      fStream(std::move(stream)),
      fCallbacks(std::move(callbacks)),
      fAssembler(runtime->fSettings.fLimits.fFrame) {
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
    bool isNews = false;
    {
        const std::lock_guard lock(fMutex);
        // A robot begins each call with its newest frame, which the last call may have delivered.
        const auto identity = std::make_pair(frame.fNumber, frame.fTime);
        const bool isRepeated = fReceived == 0 && fLast == identity;
        fLast = identity;
        isNews = !isRepeated && !fWaiting;
        fPassedOver += !isRepeated && !isNews ? 1 : 0;
        if (!isRepeated) {
            fWaiting = std::move(frame);
        }
        if (!fNextRequest) {
            fNextRequest.emplace();
        }
        fNextRequest->set_received(++fReceived);
    }
    xWrite();
    if (isNews) {
        xPost(&FrameClient::xDeliver);
    }
}

void FrameClient::xDeliver() {
    std::optional<KVFrame> frame;
    std::uint64_t passedOver = 0;
    {
        const std::lock_guard lock(fMutex);
        frame = std::exchange(fWaiting, std::nullopt);
        passedOver = std::exchange(fPassedOver, 0);
        if (fIsStopped) {
            return;
        }
    }
    if (fCallbacks.fFrameReceived) {
        fCallbacks.fFrameReceived(*frame, passedOver);
    }
}

void FrameClient::xTellEnd(const KVError& error) {
    if (fCallbacks.fEnded) {
        fCallbacks.fEnded(error);
    }
}

}  // namespace robaxi
