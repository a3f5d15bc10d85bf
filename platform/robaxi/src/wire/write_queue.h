#ifndef ROBAXI_WRITE_QUEUE_H
#define ROBAXI_WRITE_QUEUE_H

#include "wire/limits.h"
#include "wire/outlet.h"
#include "wire/raw_message.h"

#include <grpcpp/grpcpp.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
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
 * Queue of the messages of a session. Batch is v1::ClientBatch or v1::ServerBatch.
 *
 * Messages that arrive during a write are combined in the next one. Heartbeats go first. A large
 * message is sent in parts if the peer accepts them, with small messages between the parts.
 *
 * A queue whose session can be resumed numbers its batches and keeps those that the peer has not
 * acknowledged. On another stream it continues with them.
 */
template <class Batch, class Message>
class WriteQueue {
  public:
    explicit WriteQueue(std::size_t largestMessage)
        : fMostBytes(limits::waitingBytes(largestMessage)),
          fMostSentBytes(limits::unacknowledgedBytes(largestMessage)) {}
    WriteQueue(const WriteQueue&) = delete;
    WriteQueue& operator=(const WriteQueue&) = delete;

    /** Sets the stream, before anything is written. */
    void attach(std::shared_ptr<Outlet> outlet) {
        const std::lock_guard lock(fMutex);
        fOutlet = std::move(outlet);
    }

    /** Numbers and keeps all later batches. */
    void keepSent() {
        const std::lock_guard lock(fMutex);
        fKeepsSent = true;
    }

    /** Forgets the batches up to this one; the peer has received them. */
    void acknowledge(std::uint64_t number) {
        const std::lock_guard lock(fMutex);
        if (number <= fLastNumber) {
            xForget(number);
        }
    }

    /** Returns true if all batches after this one are kept. */
    bool canResume(std::uint64_t received) const {
        const std::lock_guard lock(fMutex);
        return xCanResume(received);
    }

    /**
     * Continues on another stream after the last batch that the peer has received.
     *
     * @return nothing, without any effect, if a later batch is no longer kept or was never sent;
     *         otherwise true if the caller ends the stream, since all is written
     */
    std::optional<bool> resume(std::shared_ptr<Outlet> outlet, std::uint64_t received) {
        {
            const std::lock_guard lock(fMutex);
            if (!xCanResume(received)) {
                return std::nullopt;
            }
            xForget(received);
            fNextToRepeat = 0;
            fOutlet = std::move(outlet);
        }
        return xWriteNext();
    }

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
    [[nodiscard]] bool writeDone(Outlet& outlet, bool ok) {
        if (outlet.leave()) {
            return true;
        }
        {
            const std::lock_guard lock(fMutex);
            if (fOutlet.get() != &outlet) {
                return false;
            }
        }
        return ok ? xWriteNext() : outlet.close();
    }

    /** Drops all waiting and later messages. If it returns true, the caller ends the stream. */
    [[nodiscard]] bool close() {
        std::shared_ptr<Outlet> outlet;
        {
            const std::lock_guard lock(fMutex);
            fClosed = true;
            fUrgent.clear();
            fSmall.clear();
            fLarge.clear();
            fSent.clear();
            fWaitingBytes = 0;
            outlet = fOutlet;
        }
        fRoom.notify_all();
        return outlet && outlet->close();
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

    bool xCanResume(std::uint64_t received) const {
        return !fClosed && received <= fLastNumber && received >= fLastForgotten;
    }

    bool xHasRoom() const { return fWaitingBytes < fMostBytes; }

    void xAddUrgent(Message message) {
        fUrgent.emplace_back(std::move(message), false);
        fWaitingBytes += fUrgent.back().cost();
    }

    bool xIsEmpty() const { return fUrgent.empty() && fSmall.empty() && fLarge.empty(); }

    /** Returns true if the caller is to end the stream, since nothing more will be written. */
    bool xWriteNext() {
        std::shared_ptr<Outlet> outlet;
        grpc::ByteBuffer bytes;
        {
            const std::lock_guard lock(fMutex);
            const bool repeats = fNextToRepeat < fSent.size();
            const bool hasMore = repeats || !xIsEmpty();
            if (fClosed || !fOutlet || (!hasMore && !fCloseWhenWritten)) {
                return false;
            }
            if (!hasMore) {
                return fOutlet->close();
            }
            if (!fOutlet->enter()) {
                return false;
            }
            outlet = fOutlet;
            bytes = repeats ? fSent[fNextToRepeat++].fBytes : xTakeNext();
        }
        fRoom.notify_all();
        outlet->write(bytes);
        return false;
    }

    grpc::ByteBuffer xTakeNext() {
        Batch batch;
        std::size_t size = 0;
        while (!fUrgent.empty()) {
            size += xTake(fUrgent, batch);
        }
        const int heartbeats = batch.messages_size();
        while (!fSmall.empty() &&
               (size == 0 || size + fSmall.front().size() <= limits::a_fragmentSize)) {
            size += xTake(fSmall, batch);
        }
        if (!fLarge.empty() && size <= limits::a_fragmentSize) {
            xTakePart(batch);
        }
        const bool isKept = fKeepsSent && batch.messages_size() > heartbeats;
        if (isKept) {
            batch.set_number(++fLastNumber);
        }
        grpc::ByteBuffer bytes = writeMessage(batch);
        if (isKept) {
            xKeep(bytes);
        }
        return bytes;
    }

    void xKeep(const grpc::ByteBuffer& bytes) {
        fSent.push_back({fLastNumber, bytes});
        fNextToRepeat = fSent.size();
        fSentBytes += bytes.Length() + limits::a_costOfMessage;
        while (fSentBytes > fMostSentBytes && fSent.size() > 1) {
            xForget(fSent.front().fNumber);
        }
    }

    void xForget(std::uint64_t number) {
        while (!fSent.empty() && fSent.front().fNumber <= number) {
            fSentBytes -= fSent.front().fBytes.Length() + limits::a_costOfMessage;
            fSent.pop_front();
            fNextToRepeat -= fNextToRepeat > 0 ? 1 : 0;
        }
        fLastForgotten = std::max(fLastForgotten, number);
    }

    std::size_t xTake(std::deque<WaitingMessage<Message>>& queue, Batch& batch) {
        const std::size_t size = queue.front().size();
        fWaitingBytes -= queue.front().cost();
        *batch.add_messages() = queue.front().take();
        queue.pop_front();
        return size;
    }

    void xTakePart(Batch& batch) {
        const std::string& whole = fLarge.front();
        const std::size_t size = std::min(limits::a_fragmentSize, whole.size() - fOffset);
        auto* part = batch.add_messages()->mutable_fragment();
        part->set_data(whole.substr(fOffset, size));
        fOffset += size;
        fWaitingBytes -= size;
        if (fOffset == whole.size()) {
            part->set_last(true);
            fLarge.pop_front();
            fOffset = 0;
        }
    }

    /** A batch that the peer has not acknowledged. */
    struct Sent {
        std::uint64_t fNumber;
        grpc::ByteBuffer fBytes;
    };

    const std::size_t fMostBytes;
    const std::size_t fMostSentBytes;
    mutable std::mutex fMutex;
    std::condition_variable fRoom;
    std::deque<WaitingMessage<Message>> fUrgent;
    std::deque<WaitingMessage<Message>> fSmall;
    std::deque<std::string> fLarge;  // serialised; fOffset bytes of the first are written
    std::size_t fOffset = 0;
    std::size_t fWaitingBytes = 0;
    std::shared_ptr<Outlet> fOutlet;
    std::deque<Sent> fSent;
    std::size_t fNextToRepeat = 0;  // in fSent
    std::size_t fSentBytes = 0;
    std::uint64_t fLastNumber = 0;
    std::uint64_t fLastForgotten = 0;
    bool fKeepsSent = false;
    bool fPeerTakesFragments = false;
    bool fCloseWhenWritten = false;
    bool fClosed = false;
};

}  // namespace robaxi

#endif
