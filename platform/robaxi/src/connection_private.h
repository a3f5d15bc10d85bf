#ifndef ROBAXI_CONNECTION_PRIVATE_H
#define ROBAXI_CONNECTION_PRIVATE_H

#include "engine.h"
#include "runtime.h"
#include "task_pool.h"

#include <robaxi/kv_connection.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

struct KVConnection::Private : private robaxi::Link::LossListener,
                               public std::enable_shared_from_this<KVConnection::Private> {
    Private(boost::shared_ptr<KVBroker> broker, std::shared_ptr<robaxi::Runtime> runtime,
            std::shared_ptr<robaxi::Link> link, robaxi::Target target);

    void start();
    void stop();
    void setLostHandler(LostHandler handler);
    void tellLoss();
    void linkLost(const robaxi::Failure& loss) override;

    const boost::shared_ptr<KVBroker> fBroker;
    const std::shared_ptr<robaxi::Runtime> fRuntime;
    const std::shared_ptr<robaxi::Link> fLink;  // destroyed before the broker
    const robaxi::Target fTarget;
    const std::shared_ptr<robaxi::Strand> fStrand;

    std::mutex fMutex;
    std::condition_variable fHandlerEnded;
    LostHandler fHandler;
    std::optional<robaxi::Failure> fLoss;
    std::thread::id fHandlerThread;  // the thread inside the handler
};

#endif
