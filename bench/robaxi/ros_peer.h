#ifndef OBVISTA_BENCH_ROBAXI_ROS_PEER_H
#define OBVISTA_BENCH_ROBAXI_ROS_PEER_H

#include "figures.h"

#include <chrono>
#include <memory>

namespace bench {

/** What ROS's C++ library makes of the same task, with a far end in a process of its own. */
class RosPeer {
  public:
    enum class Topic {
        OneValue,   ///< a message for each value, with the name of its key
        AllValues,  ///< the values of all keys in one message, with their names
        Images      ///< 1280x720 RGB
    };

    /** Of Topic::Images. */
    static constexpr int a_width = 1280;
    static constexpr int a_height = 720;

    /** Starts it, with a master of its own. @return nothing where it is not installed, which is
     * printed */
    static std::unique_ptr<RosPeer> start();

    virtual ~RosPeer() = default;

    /** A call without argument and result. Each thread that calls has a connection of its own. */
    virtual void call() = 0;

    /**
     * Follows a topic for a while.
     *
     * @return its values, or its bytes
     */
    virtual Flow follow(Topic topic, std::chrono::milliseconds warmUp,
                        std::chrono::milliseconds length) = 0;
};

}  // namespace bench

#endif
