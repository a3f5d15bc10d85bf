#include "ros2/topic.h"

namespace bridge {

Role roleOf(const std::string& rosType, bool isDescribed) {
    if (rosType == "sensor_msgs/msg/Image") {
        return Role::Image;
    }
    if (rosType == "sensor_msgs/msg/CompressedImage") {
        return Role::CompressedImage;
    }
    return isDescribed ? Role::Values : Role::Counted;
}

}  // namespace bridge
