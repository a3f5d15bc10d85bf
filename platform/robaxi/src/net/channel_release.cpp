#include "net/channel_release.h"

#include "start_thread.h"

#include <atomic>
#include <chrono>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace robaxi {

namespace {

using ChannelPtr = std::shared_ptr<grpc::Channel>;

/** Brokers in static storage may be destroyed after the channels that are kept here. */
std::atomic<bool> isExiting{false};

/** Keeps channels until they do not connect any more, with a thread that runs while there are some.
 */
class ConnectingChannels {
  public:
    ConnectingChannels() = default;
    ~ConnectingChannels() {
        isExiting = true;
        if (fThread.joinable()) {
            fThread.join();
        }
    }
    ConnectingChannels(const ConnectingChannels&) = delete;
    ConnectingChannels& operator=(const ConnectingChannels&) = delete;

    void add(ChannelPtr channel) {
        const std::lock_guard lock(fMutex);
        fChannels.push_back(std::move(channel));
        if (fIsRunning) {
            return;
        }
        if (fThread.joinable()) {
            fThread.join();
        }
        try {
            fThread = startThread([this] { xRun(); });
            fIsRunning = true;
        } catch (const KVError&) {
            fChannels.clear();  // without a thread, a connection may stay open
        }
    }

  private:
    void xRun() {
        constexpr std::chrono::milliseconds turn{100};
        std::unique_lock lock(fMutex);
        while (!fChannels.empty() && !isExiting) {
            ChannelPtr channel = std::move(fChannels.front());
            fChannels.pop_front();
            lock.unlock();
            // This also reads from the channel's sockets, which no other thread may do by now.
            if (channel->WaitForStateChange(GRPC_CHANNEL_CONNECTING,
                                            std::chrono::system_clock::now() + turn)) {
                channel.reset();
            }
            lock.lock();
            if (channel) {
                fChannels.push_back(std::move(channel));
            }
        }
        fIsRunning = false;
    }

    std::mutex fMutex;
    std::deque<ChannelPtr> fChannels;
    std::thread fThread;
    bool fIsRunning = false;
};

}  // namespace

void releaseChannel(ChannelPtr channel) {
    if (isExiting || channel->GetState(false) != GRPC_CHANNEL_CONNECTING) {
        return;
    }
    static ConnectingChannels channels;
    channels.add(std::move(channel));
}

}  // namespace robaxi
