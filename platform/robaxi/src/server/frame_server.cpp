#include "server/frame_server.h"

#include <algorithm>

namespace robaxi {

FrameServer::FrameServer(Server& server, grpc::CallbackServerContext* context)
    : ServerStream(server, context), fPool(server.calls()) {
}

FrameServer::~FrameServer() = default;

void FrameServer::xHandle() {
    if (fRequest.has_start()) {
        xStartWatching(fRequest.start());
    }
    if (fRequest.key_frame() && fSource) {
        fSource->requestKeyFrame(fStream);
    }
    const std::lock_guard lock(fMutex);
    fReceived = std::max(fReceived, fRequest.received());
}

void FrameServer::xStartWatching(const v1::WatchStart& start) {
    if (fSource) {
        xEnd(KVError::Cause::InvalidArgument, "watching was started twice");
        return;
    }
    const auto module = xJoin(start);
    if (!module) {
        return;
    }
    const auto frames = module->getFrames();
    if (!frames) {
        xEnd(KVError::Cause::NoSuchStream, {});
        return;
    }
    {
        const std::lock_guard lock(fMutex);
        fStream = start.stream();
        fSource = frames->getPrivate();
    }
    if (!fSource->addWatcher(fStream, this)) {
        xEnd(KVError::Cause::NoSuchStream, fStream);
    }
}

void FrameServer::xLeave() {
    if (fSource) {
        fSource->removeWatcher(fStream, this);
    }
}

void FrameServer::framePublished() {
    xWake();
}

void FrameServer::streamRemoved() {
    xEnd(KVError::Cause::NoSuchStream, "the robot has taken it away");
}

void FrameServer::xPump() {
    if (!xEndsNow()) {
        xSend();
    }
}

void FrameServer::OnWriteDone(bool ok) {
    const GrpcReaction reaction(this);
    takeFromGrpc(&fUpdate);
    fUpdate.Clear();
    if (fGate.leave()) {
        xFinishWhen(true);
    } else if (!ok) {
        xFinishWhen(fGate.close());
    } else {
        xSend();
    }
}

void FrameServer::xSend() {
    fIsWanted = true;
    while (fIsWanted && fGate.enter()) {
        fIsWanted = false;
        if (xCompose()) {
            xStartWrite();
            return;
        }
        if (fGate.leave()) {
            xFinishWhen(true);
            return;
        }
    }
}

bool FrameServer::xCompose() {
    std::shared_ptr<KVFrameSource::Private> source;
    {
        const std::lock_guard lock(fMutex);
        source = fSource;
    }
    if (!fFrame && source) {
        xBeginNext(*source);
    }
    if (!fFrame) {
        return false;
    }
    fUpdate = fFrame->next();
    if (fFrame->isComplete()) {
        fFrame.reset();
    }
    return true;
}

/** A client that accepts no frame must not cost the others a key frame, so it is not asked for one.
 */
void FrameServer::xBeginNext(KVFrameSource::Private& source) {
    const std::uint64_t inFlight = xInFlight();
    if (inFlight >= limits::a_chainedFramesInFlight) {
        return;
    }
    const auto next = source.nextAfter(fStream, fVersion);
    if (!next ||
        (next->fFrame.fFormat != KVPixelFormat::H264 && inFlight >= limits::a_framesInFlight)) {
        return;
    }
    if (next->fFrame.fSize > fServer.limits().fFrame) {
        xEnd(KVError::Cause::TooLarge, "a frame of the camera");
        return;
    }
    fVersion = next->fVersion;
    fFrame = std::make_unique<FrameSplitter>(next->fFrame, fPool);
    ++fSent;
}

std::uint64_t FrameServer::xInFlight() {
    const std::lock_guard lock(fMutex);
    // A client may claim more than it was sent.
    return fSent > fReceived ? fSent - fReceived : 0;
}

}  // namespace robaxi
