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
 * Objects shared by everything that belongs to one broker.
 *
 * gRPC's threads run none of the users' code and own nothing: tasks that they pass to the threads
 * here refer to their object weakly. The last reference to a channel is therefore never released on
 * a thread of gRPC, which would wait for itself.
 */
struct Runtime {
    /** @throws KVError Internal if its threads cannot be started */
    Runtime(std::string brokerName, KVSettings settings)
        : fBrokerName(std::move(brokerName)),
          fSettings(std::move(settings)),
          fNotices(TaskPool::create(limits::a_noticeThreads)),
          fTimers(TimerThread::create()) {}

    void stop() {
        fNotices->stop();
        fTimers->stop();
    }

    const std::string fBrokerName;
    const KVSettings fSettings;
    /** Runs the callbacks of connections, subscriptions and camera streams. */
    const std::shared_ptr<TaskPool> fNotices;
    /** Last, since it is not stopped if the constructor fails. */
    const std::shared_ptr<TimerThread> fTimers;
};

}  // namespace robaxi

#endif
