#ifndef OBVISTA_BRIDGE_ROS2_CAMERA_SIZES_H
#define OBVISTA_BRIDGE_ROS2_CAMERA_SIZES_H

#include "source/source.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace bridge {

/** The sizes of cameras' pictures as their "camera_info" states them. */
class CameraSizes {
  public:
    using Size = std::pair<int, int>;  ///< width and height in pixels

    /**
     * Reads the size from the values of a sensor_msgs/CameraInfo; returns true if it is new.
     *
     * @param keys beginning of the names of its values
     */
    bool note(const std::string& topic, const std::string& keys,
              const std::vector<SourceValue>& values);

    /** Returns the size of a camera with a topic in the folder of its "camera_info". */
    std::optional<Size> sizeOf(const std::string& topic) const;

  private:
    std::map<std::string, Size> fSizes;  // by the folder of the topic
};

}  // namespace bridge

#endif
