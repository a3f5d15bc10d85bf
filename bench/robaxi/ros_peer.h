#ifndef OBVISTA_BENCH_ROBAXI_ROS_PEER_H
#define OBVISTA_BENCH_ROBAXI_ROS_PEER_H

#include "bench/figures.h"

#include <chrono>
#include <memory>

namespace bench {

/** The same task on ROS's C++ library, with a far end in a separate process. */
class RosPeer {
  public:
    enum class Topic {
        OneValue,   ///< a message for each value, with the name of its key
        AllValues,  ///< the values of all keys in one message, with their names
        Images      ///< 1280x720 RGB
    };

    /** Size of Topic::Images. */
    static constexpr int a_width = 1280;
    static constexpr int a_height = 720;

    /** Starts it with a separate master. @return null, and prints so, if ROS is not installed */
    static std::unique_ptr<RosPeer> start();

    virtual ~RosPeer() = default;

    /** Makes a call without argument and result. Each calling thread has a separate connection. */
    virtual void call() = 0;

    /**
     * Receives a topic for a while.
     *
     * @return its values, or its bytes
     */
    virtual Flow follow(Topic topic, std::chrono::milliseconds warmUp,
                        std::chrono::milliseconds length) = 0;
};

}  // namespace bench

#endif
