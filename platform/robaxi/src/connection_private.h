#ifndef ROBAXI_CONNECTION_PRIVATE_H
#define ROBAXI_CONNECTION_PRIVATE_H

#include "engine.h"
#include "runtime.h"
#include "task_pool.h"

#include <robaxi/kv_connection.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

struct KVConnection::Private : private robaxi::Link::Listener,
                               public std::enable_shared_from_this<KVConnection::Private> {
    Private(boost::shared_ptr<KVBroker> broker, std::shared_ptr<robaxi::Runtime> runtime,
            std::shared_ptr<robaxi::Link> link, robaxi::Target target);

    void start();
    /** Removes the handlers, without calling them any more, and waits for one that runs. */
    void stop();
    void setLostHandler(LostHandler handler);
    void setStateHandler(StateHandler handler);
    void linkLost(const robaxi::Failure& loss) override;
    void linkSilent(bool isSilent) override;
    void setState(State state);
    /** Calls the handlers for what they have not been told, unless another thread is in one. */
    void tell();
    std::function<void()> takeNotice();
    void waitForHandler(std::unique_lock<std::mutex>& lock);

    const boost::shared_ptr<KVBroker> fBroker;
    const std::shared_ptr<robaxi::Runtime> fRuntime;
    const std::shared_ptr<robaxi::Link> fLink;  // destroyed before the broker
    const robaxi::Target fTarget;
    const std::shared_ptr<robaxi::Strand> fStrand;

    std::mutex fMutex;
    std::condition_variable fHandlerEnded;
    LostHandler fLostHandler;
    StateHandler fStateHandler;
    State fState = State::Connected;
    State fToldState = State::Connected;
    std::optional<robaxi::Failure> fLoss;
    std::thread::id fHandlerThread;  // the thread inside the handler
};

#endif
