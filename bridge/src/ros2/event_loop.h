#ifndef OBVISTA_BRIDGE_ROS2_EVENT_LOOP_H
#define OBVISTA_BRIDGE_ROS2_EVENT_LOOP_H

#include "ros2/domain.h"

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <vector>

namespace bridge {

/**
 * Waits for samples and for functions that other threads post, and calls handlers. All operations
 * except post() and wakeUp() are for the thread of runOnce(), or before it starts.
 */
class EventLoop {
  public:
    using Handler = std::function<void()>;
    /** Identifies an attached reader. */
    using Number = std::intptr_t;

    /** @throws std::runtime_error */
    explicit EventLoop(dds_entity_t participant);

    /** Calls a handler whenever the reader has samples. The handler must not detach its reader. */
    Number attach(dds_entity_t reader, Handler handler);
    void detach(dds_entity_t reader, Number number);

    /** Runs a function in the next round; called from any thread. */
    void post(Handler function);

    /** Ends the wait of runOnce(); called from any thread. */
    void wakeUp();

    /** Waits for an event, for at most 200 ms, and calls the handlers. */
    void runOnce();

  private:
    std::vector<Number> xWait();
    void xRunPosted();

    const Entity fGuard;
    const Entity fWaitset;
    std::map<Number, Handler> fHandlers;
    Number fNext;

    std::mutex fMutex;  // guards fPosted
    std::vector<Handler> fPosted;
};

}  // namespace bridge

#endif
