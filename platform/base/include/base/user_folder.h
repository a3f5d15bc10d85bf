#ifndef BASE_USER_FOLDER_H
#define BASE_USER_FOLDER_H

#include <string>

namespace base {

/**
 * Returns the folder of the user's settings: "Quorvane Robotics" in XDG_CONFIG_HOME or ~/.config,
 * where Obvista keeps its own, too. Empty if the environment names no folder.
 */
std::string settingsFolder();

}  // namespace base

#endif
