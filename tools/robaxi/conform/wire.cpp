#include "conform/wire.h"

#include <algorithm>
#include <utility>

namespace robaxi_tool {

namespace {

/** Longest wait in gRPC, which an interruption does not wake. */
constexpr std::chrono::milliseconds a_slice(100);
/** A robot that sends without end does not exhaust the memory. */
constexpr std::size_t a_mostBytes = std::size_t{64} << 20U;
constexpr std::size_t a_mostMessages = 10000;
constexpr const char* a_details = "robaxi-error-bin";

/** gRPC's deadlines are in the system's time, which may jump; the waits are short. */
std::chrono::system_clock::time_point systemTime(Clock::time_point time) {
    return std::chrono::system_clock::now() +
           std::chrono::duration_cast<std::chrono::system_clock::duration>(time - Clock::now());
}

std::string bytesOf(const grpc::ByteBuffer& buffer) {
    grpc::Slice slice;
    if (!buffer.DumpToSingleSlice(&slice).ok()) {
        return {};
    }
    return {reinterpret_cast<const char*>(slice.begin()), slice.size()};
}

}  // namespace

// --- Wire ---

Wire::Wire(std::shared_ptr<grpc::Channel> channel, Interruption& interruption)
    : fChannel(std::move(channel)), fInterruption(interruption), fStub(fChannel) {
}

Wire::~Wire() {
    fEvents.Shutdown();
    void* tag = nullptr;
    bool ok = false;
    while (fEvents.Next(&tag, &ok)) {
    }
}

bool Wire::connect(Clock::time_point deadline) {
    bool isConnected = false;
    while (!isConnected && Clock::now() < deadline) {
        fInterruption.check();
        isConnected =
            fChannel->WaitForConnected(systemTime(std::min(deadline, Clock::now() + a_slice)));
    }
    return isConnected;
}

bool Wire::xRunEvent(Clock::time_point deadline) {
    do {
        fInterruption.check();
        const Clock::time_point now = Clock::now();
        Clock::time_point wake = std::min(deadline, now + a_slice);
        for (Rpc* const rpc : fRpcs) {
            if (now >= rpc->fNextSign) {
                rpc->fNextSign = now + rpc->fSignPeriod;
                rpc->sendBytes(rpc->fSign);
            }
            wake = std::min(wake, rpc->fNextSign);
        }
        if (xHandleEvent(wake)) {
            return true;
        }
    } while (Clock::now() < deadline);
    return false;
}

bool Wire::xHandleEvent(Clock::time_point deadline) {
    void* tag = nullptr;
    bool ok = false;
    if (fEvents.AsyncNext(&tag, &ok, systemTime(deadline)) != grpc::CompletionQueue::GOT_EVENT) {
        return false;
    }
    auto* const event = static_cast<Rpc::Event*>(tag);
    event->fIsPending = false;
    event->fRpc.xHandle(*event, ok);
    return true;
}

// --- Rpc ---

Rpc::Rpc(Wire& wire, const std::string& method, const std::string& authorization) : fWire(wire) {
    if (!authorization.empty()) {
        fContext.AddMetadata("authorization", authorization);
    }
    fCall = wire.fStub.PrepareCall(&fContext, method, &wire.fEvents);
    fCall->StartCall(xTag(fStart));
    wire.fRpcs.insert(this);
}

Rpc::~Rpc() {
    fIsCancelled = true;
    fContext.TryCancel();
    fWire.fRpcs.erase(this);
    if (fHasStarted && !fRead.fIsPending && !fFinish.fIsPending && !fEnd) {
        fCall->Finish(&fStatus, xTag(fFinish));
    }
    // gRPC completes every operation of a cancelled RPC.
    while (!fEnd || fWrite.fIsPending || fClose.fIsPending || fRead.fIsPending) {
        fWire.xHandleEvent(Clock::now() + a_slice);
    }
}

void* Rpc::xTag(Event& event) {
    event.fIsPending = true;
    return &event;
}

void Rpc::sendBytes(const std::string& message) {
    fOut.push_back(message);
    xWriteNext();
}

void Rpc::halfClose() {
    fClosesWhenSent = true;
    xWriteNext();
}

void Rpc::keepAlive(std::string message, Clock::duration period) {
    fSign = std::move(message);
    fSignPeriod = period;
    fNextSign = Clock::now() + period;
}

std::optional<std::string> Rpc::next(Clock::time_point deadline) {
    while (fIn.empty() && !fEnd && fWire.xRunEvent(deadline)) {
    }
    // A robot that sends without end does not prolong the wait.
    if (fIn.empty() || Clock::now() > deadline) {
        return std::nullopt;
    }
    std::string message = std::move(fIn.front());
    fIn.pop_front();
    fInBytes -= message.size();
    xReadNext();
    return message;
}

const End* Rpc::end(Clock::time_point deadline) {
    while (!fEnd && fWire.xRunEvent(deadline)) {
    }
    return fEnd ? &*fEnd : nullptr;
}

void Rpc::xHandle(const Event& event, bool ok) {
    switch (event.fStep) {
        case Step::Start:
            fHasStarted = ok;
            if (ok) {
                xWriteNext();
            }
            xReadNext();
            break;
        case Step::Read:
            // A message that has come before the cancellation is followed by the end: reading on
            // would stop at the bound, without any further event.
            if (ok && !fIsCancelled) {
                fIn.push_back(bytesOf(fIncoming));
                fInBytes += fIn.back().size();
                xReadNext();
            } else {
                fCall->Finish(&fStatus, xTag(fFinish));
            }
            break;
        case Step::Write:
            if (ok) {
                xWriteNext();
            }
            break;
        case Step::Close:
            break;
        case Step::Finish:
            xTakeEnd();
            break;
    }
}

void Rpc::xWriteNext() {
    if (!fHasStarted || fWrite.fIsPending || fEnd) {
        return;
    }
    if (!fOut.empty()) {
        const grpc::Slice slice(fOut.front());
        fOut.pop_front();
        fCall->Write(grpc::ByteBuffer(&slice, 1), xTag(fWrite));
    } else if (fClosesWhenSent) {
        fClosesWhenSent = false;
        fNextSign = Clock::time_point::max();
        fCall->WritesDone(xTag(fClose));
    }
}

void Rpc::xReadNext() {
    if (!fRead.fIsPending && !fFinish.fIsPending && !fEnd && fInBytes < a_mostBytes &&
        fIn.size() < a_mostMessages) {
        fCall->Read(&fIncoming, xTag(fRead));
    }
}

void Rpc::xTakeEnd() {
    fEnd = End{fStatus.error_code(), fStatus.error_message(), {}};
    fNextSign = Clock::time_point::max();
    const auto& trailer = fContext.GetServerTrailingMetadata();
    const auto found = trailer.find(a_details);
    if (found != trailer.end()) {
        fEnd->fDetails.emplace(found->second.data(), found->second.size());
    }
}

}  // namespace robaxi_tool
