#include <base/user_folder.h>

#include <cstdlib>

namespace base {

namespace {

std::string environment(const char* variable) {
    const char* const text = std::getenv(variable);
    return text == nullptr ? "" : text;
}

std::string configurationFolder() {
    std::string configured = environment("XDG_CONFIG_HOME");
    if (!configured.empty() && configured.front() == '/') {
        return configured;
    }
    const std::string home = environment("HOME");
    return home.empty() ? "" : home + "/.config";
}

}  // namespace

std::string settingsFolder() {
    const std::string folder = configurationFolder();
    return folder.empty() ? "" : folder + "/Quorvane Robotics";
}

}  // namespace base
