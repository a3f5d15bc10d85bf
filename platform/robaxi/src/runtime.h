#ifndef ROBAXI_RUNTIME_H
#define ROBAXI_RUNTIME_H

#include "task_pool.h"
#include "timer_thread.h"
#include "wire/limits.h"

#include <robaxi/kv_settings.h>

#include <memory>
#include <string>
#include <utility>

namespace robaxi {

/**
 * What everything that belongs to one broker shares.
 *
 * The threads of gRPC run none of the users' code and own nothing: what they hand to the threads
 * here refers to its object weakly. The last reference to a channel is therefore never let go on a
 * thread of gRPC, which would wait for itself.
 */
struct Runtime {
    Runtime(std::string brokerName, KVSettings settings)
        : fBrokerName(std::move(brokerName)),
          fSettings(std::move(settings)),
          fTimers(TimerThread::create()),
          fNotices(TaskPool::create(limits::a_noticeThreads)) {}

    void stop() {
        fNotices->stop();
        fTimers->stop();
    }

    const std::string fBrokerName;
    const KVSettings fSettings;
    const std::shared_ptr<TimerThread> fTimers;
    /** Runs the callbacks of connections, subscriptions and camera streams. */
    const std::shared_ptr<TaskPool> fNotices;
};

}  // namespace robaxi

#endif
