#ifndef OBVISTA_BENCH_ROBAXI_ROS_NAMES_H
#define OBVISTA_BENCH_ROBAXI_ROS_NAMES_H

/** Names shared by both ends. */
namespace ros_names {

constexpr const char* a_echo = "echo";
constexpr const char* a_oneValue = "one_value";
constexpr const char* a_allValues = "all_values";
constexpr const char* a_images = "images";
/**
 * The number of the newest received message: the far end's only feedback about the throughput,
 * without which it would send far more messages, which would be dropped.
 */
constexpr const char* a_taken = "taken";

}  // namespace ros_names

#endif
