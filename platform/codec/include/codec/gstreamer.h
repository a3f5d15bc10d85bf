#ifndef OBVISTA_CODEC_GSTREAMER_H
#define OBVISTA_CODEC_GSTREAMER_H

#include <gst/gst.h>
#include <memory>

namespace codec {

/** Starts GStreamer once for the whole program. @throws std::runtime_error */
void startGStreamer();

/** Releases GStreamer's objects. */
struct GStreamerEnd {
    void operator()(GstBus* bus) const { gst_object_unref(bus); }
    void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
    void operator()(GstDevice* device) const { gst_object_unref(device); }
    void operator()(GstDeviceMonitor* monitor) const { gst_object_unref(monitor); }
    void operator()(GstElement* element) const { gst_object_unref(element); }
    void operator()(GstSample* sample) const { gst_sample_unref(sample); }
    void operator()(GstStructure* structure) const { gst_structure_free(structure); }
    void operator()(GDateTime* time) const { g_date_time_unref(time); }
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(gchar* text) const { g_free(text); }
};

template <class Thing>
using GStreamerPointer = std::unique_ptr<Thing, GStreamerEnd>;

}  // namespace codec

#endif
