#ifndef ROBAXI_START_THREAD_H
#define ROBAXI_START_THREAD_H

#include <robaxi/kv_error.h>

#include <system_error>
#include <thread>
#include <utility>

namespace robaxi {

/** Starts a thread. @throws KVError Internal if the system permits no further one */
template <class Run>
std::thread startThread(Run run) {
    try {
        return std::thread(std::move(run));
    } catch (const std::system_error& error) {
        throw KVError(KVError::Cause::Internal,
                      "A thread cannot be started: " + error.code().message() + '.');
    }
}

}  // namespace robaxi

#endif
