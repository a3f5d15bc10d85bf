#ifndef OBVISTA_BRIDGE_ROS2_TOPIC_PROBLEMS_H
#define OBVISTA_BRIDGE_ROS2_TOPIC_PROBLEMS_H

#include "ros2/topic.h"

#include <string>

namespace bridge {

/** Returns the reason why messages of a topic are missing, for the user; empty if none is known. */
std::string problemOf(const Topic& topic);

/** Returns the reason why writers and readers of a topic do not match each other or the bridge,
 *  for the user; empty if they do. */
std::string matchProblemOf(const Topic& topic);

}  // namespace bridge

#endif
