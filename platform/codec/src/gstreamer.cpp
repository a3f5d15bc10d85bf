#include "codec/gstreamer.h"

#include <stdexcept>
#include <string>

namespace codec {

namespace {

bool start() {
    GError* raw = nullptr;
    if (gst_init_check(nullptr, nullptr, &raw) != FALSE) {
        return true;
    }
    const GStreamerPointer<GError> error(raw);
    throw std::runtime_error("GStreamer cannot be started: " +
                             std::string(error ? error->message : "no reason is given"));
}

}  // namespace

void startGStreamer() {
    [[maybe_unused]] static const bool started = start();
}

}  // namespace codec
