#include "video/camera.h"

namespace robot {

Camera::~Camera() = default;

}  // namespace robot
