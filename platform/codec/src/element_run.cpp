#include "element_run.h"

#include <stdexcept>
#include <utility>

namespace codec {

namespace {

GStreamerPointer<GstCaps> capsOf(const std::string& text) {
    GStreamerPointer<GstCaps> caps(gst_caps_from_string(text.c_str()));
    if (!caps) {
        throw std::runtime_error("GStreamer does not know the format " + text);
    }
    return caps;
}

/** Returns a pad that only accepts these caps. */
PadPointer makePad(GstPadDirection direction, const std::string& caps) {
    const GStreamerPointer<GstCaps> accepted = capsOf(caps);
    GstPadTemplate* const kind =
        gst_pad_template_new("pad", direction, GST_PAD_ALWAYS, accepted.get());
    PadPointer pad(gst_pad_new_from_template(kind, nullptr));
    gst_object_unref(kind);
    gst_object_ref_sink(pad.get());
    return pad;
}

void link(GstPad* source, GstPad* sink) {
    if (source == nullptr || sink == nullptr ||
        gst_pad_link_full(source, sink, GST_PAD_LINK_CHECK_NOTHING) != GST_PAD_LINK_OK) {
        throw std::runtime_error("an element of GStreamer cannot be linked");
    }
}

}  // namespace

ElementRun::ElementRun(GStreamerPointer<GstElement> element, const std::string& input,
                       const std::string& output)
    : fElement(std::move(element)),
      fInput(makePad(GST_PAD_SRC, input)),
      fOutput(makePad(GST_PAD_SINK, output)) {
    try {
        xStart(input);
    } catch (...) {
        xStop();
        throw;
    }
}

ElementRun::~ElementRun() {
    xStop();
}

void ElementRun::xStart(const std::string& input) {
    const PadPointer sink(gst_element_get_static_pad(fElement.get(), "sink"));
    const PadPointer source(gst_element_get_static_pad(fElement.get(), "src"));
    link(fInput.get(), sink.get());
    link(source.get(), fOutput.get());
    gst_pad_set_element_private(fOutput.get(), this);
    gst_pad_set_chain_function(fOutput.get(), xOnBuffer);
    gst_pad_set_event_function(fOutput.get(), xOnEvent);
    gst_pad_set_active(fOutput.get(), TRUE);
    gst_pad_set_active(fInput.get(), TRUE);
    if (gst_element_set_state(fElement.get(), GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE) {
        throw std::runtime_error("an element of GStreamer does not start");
    }
    const GStreamerPointer<GstCaps> caps = capsOf(input);
    xBegin(caps.get());
}

/** GStreamer does not release an element that runs. */
void ElementRun::xStop() {
    gst_element_set_state(fElement.get(), GST_STATE_NULL);
    gst_pad_set_active(fInput.get(), FALSE);
    gst_pad_set_active(fOutput.get(), FALSE);
}

void ElementRun::xBegin(GstCaps* input) {
    gst_pad_push_event(fInput.get(), gst_event_new_stream_start("frames"));
    if (gst_pad_push_event(fInput.get(), gst_event_new_caps(input)) == FALSE) {
        throw std::runtime_error("an element of GStreamer does not accept the format");
    }
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    gst_pad_push_event(fInput.get(), gst_event_new_segment(&segment));
}

bool ElementRun::push(BufferPointer buffer) {
    return gst_pad_push(fInput.get(), buffer.release()) == GST_FLOW_OK;
}

GstFlowReturn ElementRun::xOnBuffer(GstPad* pad, GstObject* /*parent*/, GstBuffer* buffer) {
    static_cast<ElementRun*>(gst_pad_get_element_private(pad))->fMade.reset(buffer);
    return GST_FLOW_OK;
}

gboolean ElementRun::xOnEvent(GstPad* pad, GstObject* /*parent*/, GstEvent* event) {
    if (GST_EVENT_TYPE(event) == GST_EVENT_CAPS) {
        GstCaps* caps = nullptr;
        gst_event_parse_caps(event, &caps);
        static_cast<ElementRun*>(gst_pad_get_element_private(pad))->fCaps.reset(gst_caps_ref(caps));
    }
    gst_event_unref(event);
    return TRUE;
}

}  // namespace codec
