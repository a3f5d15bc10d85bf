#ifndef OBVISTA_BENCH_ROBAXI_ROS_NAMES_H
#define OBVISTA_BENCH_ROBAXI_ROS_NAMES_H

/** Names on which both ends agree. */
namespace ros_names {

constexpr const char* a_echo = "echo";
constexpr const char* a_oneValue = "one_value";
constexpr const char* a_allValues = "all_values";
constexpr const char* a_images = "images";
/** The number of the newest message that was taken: the far end's only way to know how much gets
 *  through, without which it would send far more, to be dropped. */
constexpr const char* a_taken = "taken";

}  // namespace ros_names

#endif
