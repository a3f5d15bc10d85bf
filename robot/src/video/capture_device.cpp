#include "video/capture_device.h"

#include <algorithm>
#include <array>
#include <codec/gstreamer.h>
#include <utility>

namespace robot {

using codec::GStreamerPointer;
using codec::startGStreamer;

namespace {

constexpr std::array<double, 8> a_usualRates{1, 5, 10, 15, 20, 25, 30, 60};
constexpr std::array<std::pair<int, int>, 6> a_usualSizes{
    {{160, 120}, {320, 240}, {640, 480}, {800, 600}, {1280, 720}, {1920, 1080}}};

double toRate(const GValue* fraction) {
    return static_cast<double>(gst_value_get_fraction_numerator(fraction)) /
           std::max(gst_value_get_fraction_denominator(fraction), 1);
}

void addRates(const GValue* value, std::vector<double>& rates) {
    if (GST_VALUE_HOLDS_FRACTION(value)) {
        rates.push_back(toRate(value));
    } else if (GST_VALUE_HOLDS_FRACTION_RANGE(value)) {
        const double lowest = toRate(gst_value_get_fraction_range_min(value));
        const double highest = toRate(gst_value_get_fraction_range_max(value));
        std::copy_if(a_usualRates.begin(), a_usualRates.end(), std::back_inserter(rates),
                     [=](double rate) { return rate >= lowest && rate <= highest; });
    } else if (GST_VALUE_HOLDS_LIST(value)) {
        for (guint i = 0; i < gst_value_list_get_size(value); ++i) {
            addRates(gst_value_list_get_value(value, i), rates);
        }
    }
}

std::vector<double> ratesOf(const GstStructure* structure) {
    std::vector<double> rates;
    if (const GValue* value = gst_structure_get_value(structure, "framerate")) {
        addRates(value, rates);
    }
    std::sort(rates.begin(), rates.end());
    rates.erase(std::unique(rates.begin(), rates.end()), rates.end());
    // 0 denotes a variable rate.
    rates.erase(std::remove(rates.begin(), rates.end(), 0.0), rates.end());
    return rates;
}

bool takes(const GstStructure* structure, const char* side, int pixels) {
    const GValue* const value = gst_structure_get_value(structure, side);
    if (value == nullptr) {
        return false;
    }
    if (G_VALUE_HOLDS_INT(value)) {
        return g_value_get_int(value) == pixels;
    }
    return GST_VALUE_HOLDS_INT_RANGE(value) && pixels >= gst_value_get_int_range_min(value) &&
           pixels <= gst_value_get_int_range_max(value);
}

std::vector<std::pair<int, int>> sizesOf(const GstStructure* structure) {
    int width = 0;
    int height = 0;
    if (gst_structure_get_int(structure, "width", &width) != FALSE &&
        gst_structure_get_int(structure, "height", &height) != FALSE) {
        return {{width, height}};
    }
    std::vector<std::pair<int, int>> sizes;
    std::copy_if(a_usualSizes.begin(), a_usualSizes.end(), std::back_inserter(sizes),
                 [structure](const auto& size) {
                     return takes(structure, "width", size.first) &&
                            takes(structure, "height", size.second);
                 });
    return sizes;
}

std::vector<CaptureMode> modesOf(const GstCaps* caps) {
    std::vector<CaptureMode> modes;
    for (guint i = 0; i < gst_caps_get_size(caps); ++i) {
        const GstStructure* const structure = gst_caps_get_structure(caps, i);
        const bool isJpeg = gst_structure_has_name(structure, "image/jpeg") != FALSE;
        const std::vector<double> rates = ratesOf(structure);
        if (rates.empty() ||
            (!isJpeg && gst_structure_has_name(structure, "video/x-raw") == FALSE)) {
            continue;
        }
        for (const auto& [width, height] : sizesOf(structure)) {
            modes.push_back({isJpeg, width, height, rates});
        }
    }
    return modes;
}

/** Returns the device's file if it belongs to Video4Linux. */
std::string fileOf(GstDevice* device) {
    const GStreamerPointer<GstStructure> properties(gst_device_get_properties(device));
    for (const char* name : {"device.path", "api.v4l2.path"}) {
        const char* const path =
            properties ? gst_structure_get_string(properties.get(), name) : nullptr;
        if (path != nullptr) {
            return path;
        }
    }
    return {};
}

CaptureDevice describe(GstDevice* device, const std::string& file) {
    const GStreamerPointer<gchar> text(gst_device_get_display_name(device));
    const GStreamerPointer<GstCaps> caps(gst_device_get_caps(device));
    return {text ? text.get() : file, "v4l2src device=\"" + file + '"',
            caps ? modesOf(caps.get()) : std::vector<CaptureMode>()};
}

}  // namespace

std::vector<CaptureMode> captureModes(const std::string& caps) {
    startGStreamer();
    const GStreamerPointer<GstCaps> parsed(gst_caps_from_string(caps.c_str()));
    return parsed ? modesOf(parsed.get()) : std::vector<CaptureMode>();
}

std::vector<CaptureDevice> findCaptureDevices(
    const std::function<void(const std::string&)>& complain) {
    startGStreamer();
    const GStreamerPointer<GstDeviceMonitor> monitor(gst_device_monitor_new());
    gst_device_monitor_add_filter(monitor.get(), "Video/Source", nullptr);
    // It also fails if no plugin provides such devices.
    if (gst_device_monitor_start(monitor.get()) == FALSE) {
        complain(
            "the cameras of this computer cannot be found: GStreamer's plugin for "
            "Video4Linux is missing (gstreamer1.0-plugins-good)");
        return {};
    }
    std::vector<CaptureDevice> devices;
    GList* const found = gst_device_monitor_get_devices(monitor.get());
    for (GList* item = found; item != nullptr; item = item->next) {
        const GStreamerPointer<GstDevice> device(static_cast<GstDevice*>(item->data));
        const std::string file = fileOf(device.get());
        CaptureDevice described = describe(device.get(), file);
        if (!file.empty() && !described.fModes.empty()) {
            devices.push_back(std::move(described));
        }
    }
    g_list_free(found);
    gst_device_monitor_stop(monitor.get());
    return devices;
}

}  // namespace robot
