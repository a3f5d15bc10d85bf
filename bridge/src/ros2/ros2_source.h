#ifndef OBVISTA_BRIDGE_ROS2_ROS2_SOURCE_H
#define OBVISTA_BRIDGE_ROS2_ROS2_SOURCE_H

#include "source/source.h"

#include <memory>
#include <string>
#include <vector>

namespace bridge {

/** The part of ROS 2 to look at. */
struct Ros2Options {
    int fDomain = 0;
    std::string fInterface;              ///< empty for the one that Cyclone DDS chooses
    std::vector<std::string> fTopics;    ///< patterns; empty for all
    std::vector<std::string> fWritable;  ///< topics that clients may write
};

/**
 * The topics of a domain of ROS 2: each is read as soon as somebody publishes it, and its keys are
 * removed when nobody does any more. Pictures are read while somebody watches.
 *
 * One thread does all of it, and calls the sink. It rests for some milliseconds after each round,
 * so that a topic with many samples costs little: Cyclone DDS keeps the newest of them.
 */
class Ros2Source : public Source {
  public:
    explicit Ros2Source(Ros2Options options);
    ~Ros2Source() override;

    void start(Sink& sink) override;

  private:
    class Reading;

    const Ros2Options fOptions;
    std::unique_ptr<Reading> fReading;
};

}  // namespace bridge

#endif
