#ifndef ROBAXI_WRITE_QUEUE_H
#define ROBAXI_WRITE_QUEUE_H

#include "wire/grpc_handover.h"
#include "wire/limits.h"
#include "wire/write_gate.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <utility>

namespace robaxi {

/** A waiting message, serialised if much is waiting. */
template <class Message>
class WaitingMessage {
  public:
    WaitingMessage(Message message, bool packs) : fSize(message.ByteSizeLong()), fIsPacked(packs) {
        if (packs) {
            fBytes = message.SerializeAsString();
        } else {
            fMessage = std::move(message);
        }
    }

    /** Size in bytes on the network. */
    std::size_t size() const { return fSize; }
    /** Size counted towards the limit while it waits. */
    std::size_t cost() const { return fSize + limits::a_costOfMessage; }

    /** Returns the message and releases it from the queue. */
    Message take() {
        if (fIsPacked) {
            fMessage.ParseFromString(fBytes);
        }
        return std::move(fMessage);
    }

  private:
    std::size_t fSize;
    bool fIsPacked;
    Message fMessage;
    std::string fBytes;
};

/**
 * Queue of messages for a session stream. Batch is v1::ClientBatch or v1::ServerBatch.
 *
 * Messages that arrive during a write are combined in the next one. Heartbeats go first. A large
 * message is sent in parts if the peer accepts them, with small messages between the parts.
 */
template <class Batch, class Message>
class WriteQueue {
  public:
    using StartWrite = std::function<void(const Batch*)>;

    WriteQueue(std::size_t largestMessage, StartWrite startWrite)
        : fMostBytes(limits::waitingBytes(largestMessage)), fStartWrite(std::move(startWrite)) {}
    WriteQueue(const WriteQueue&) = delete;
    WriteQueue& operator=(const WriteQueue&) = delete;

    void setPeerTakesFragments(bool takes) {
        const std::lock_guard lock(fMutex);
        fPeerTakesFragments = takes;
    }

    /** Queues a message; drops it after close(). */
    void push(Message message) {
        const std::size_t size = message.ByteSizeLong();
        {
            const std::lock_guard lock(fMutex);
            if (xTakesNoMore()) {
                return;
            }
            if (size > limits::a_fragmentSize && fPeerTakesFragments) {
                fWaitingBytes += size;
                fLarge.push_back(message.SerializeAsString());
            } else {
                fSmall.emplace_back(std::move(message), fWaitingBytes > limits::a_packFrom);
                fWaitingBytes += fSmall.back().cost();
            }
        }
        xWriteNext();
    }

    void pushUrgent(Message message) {
        {
            const std::lock_guard lock(fMutex);
            if (xTakesNoMore()) {
                return;
            }
            xAddUrgent(std::move(message));
        }
        xWriteNext();
    }

    /**
     * Ensures that a write ends soon, and therefore calls writeDone(): writes `message` unless
     * something is already waiting.
     */
    void pushIfEmpty(Message message) {
        {
            const std::lock_guard lock(fMutex);
            if (xTakesNoMore() || !xIsEmpty()) {
                return;
            }
            xAddUrgent(std::move(message));
        }
        xWriteNext();
    }

    /** Waits until there is room for more messages. Returns true if there is. */
    bool waitForRoom(std::chrono::steady_clock::time_point deadline) {
        std::unique_lock lock(fMutex);
        return fRoom.wait_until(lock, deadline, [this] { return xHasRoom() || fClosed; });
    }

    std::size_t waitingBytes() const {
        const std::lock_guard lock(fMutex);
        return fWaitingBytes;
    }

    /** Called at the end of each write. If it returns true, the caller ends the stream. */
    [[nodiscard]] bool writeDone(bool ok) {
        takeFromGrpc(&fCurrent);
        if (fGate.leave()) {
            return true;
        }
        return ok ? xWriteNext() : close();
    }

    /** Drops all waiting and later messages. If it returns true, the caller ends the stream. */
    [[nodiscard]] bool close() {
        {
            const std::lock_guard lock(fMutex);
            fClosed = true;
            fUrgent.clear();
            fSmall.clear();
            fLarge.clear();
            fWaitingBytes = 0;
        }
        fRoom.notify_all();
        return fGate.close();
    }

    /**
     * Writes the waiting messages, then ends the stream: like close(), at once or from a later
     * writeDone().
     */
    [[nodiscard]] bool closeWhenWritten() {
        {
            const std::lock_guard lock(fMutex);
            fCloseWhenWritten = true;
        }
        return xWriteNext();
    }

  private:
    bool xTakesNoMore() const { return fClosed || fCloseWhenWritten; }

    bool xHasRoom() const { return fWaitingBytes < fMostBytes; }

    void xAddUrgent(Message message) {
        fUrgent.emplace_back(std::move(message), false);
        fWaitingBytes += fUrgent.back().cost();
    }

    bool xIsEmpty() const { return fUrgent.empty() && fSmall.empty() && fLarge.empty(); }

    /** Returns true if the caller is to end the stream, since nothing more will be written. */
    bool xWriteNext() {
        {
            const std::lock_guard lock(fMutex);
            if (fClosed || (xIsEmpty() && !fCloseWhenWritten)) {
                return false;
            }
            if (xIsEmpty()) {
                return fGate.close();
            }
            if (!fGate.enter()) {
                return false;
            }
            xTakeNext();
        }
        fRoom.notify_all();
        giveToGrpc(&fCurrent);
        fStartWrite(&fCurrent);
        return false;
    }

    void xTakeNext() {
        fCurrent.Clear();
        std::size_t size = 0;
        while (!fUrgent.empty()) {
            size += xTake(fUrgent);
        }
        while (!fSmall.empty() &&
               (size == 0 || size + fSmall.front().size() <= limits::a_fragmentSize)) {
            size += xTake(fSmall);
        }
        if (!fLarge.empty() && size <= limits::a_fragmentSize) {
            xTakePart();
        }
    }

    std::size_t xTake(std::deque<WaitingMessage<Message>>& queue) {
        const std::size_t size = queue.front().size();
        fWaitingBytes -= queue.front().cost();
        *fCurrent.add_messages() = queue.front().take();
        queue.pop_front();
        return size;
    }

    void xTakePart() {
        const std::string& whole = fLarge.front();
        const std::size_t size = std::min(limits::a_fragmentSize, whole.size() - fOffset);
        auto* part = fCurrent.add_messages()->mutable_fragment();
        part->set_data(whole.substr(fOffset, size));
        fOffset += size;
        fWaitingBytes -= size;
        if (fOffset == whole.size()) {
            part->set_last(true);
            fLarge.pop_front();
            fOffset = 0;
        }
    }

    const std::size_t fMostBytes;
    const StartWrite fStartWrite;
    WriteGate fGate;
    mutable std::mutex fMutex;
    std::condition_variable fRoom;
    std::deque<WaitingMessage<Message>> fUrgent;
    std::deque<WaitingMessage<Message>> fSmall;
    std::deque<std::string> fLarge;  // serialised; fOffset bytes of the first are written
    std::size_t fOffset = 0;
    std::size_t fWaitingBytes = 0;
    Batch fCurrent;  // owned by gRPC while a write is in flight
    bool fPeerTakesFragments = false;
    bool fCloseWhenWritten = false;
    bool fClosed = false;
};

}  // namespace robaxi

#endif
