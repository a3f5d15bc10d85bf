#ifndef OBVISTA_CODEC_ELEMENT_RUN_H
#define OBVISTA_CODEC_ELEMENT_RUN_H

#include "codec/gstreamer.h"

#include <string>

namespace codec {

struct PadEnd {
    void operator()(GstPad* pad) const { gst_object_unref(pad); }
};
using PadPointer = std::unique_ptr<GstPad, PadEnd>;

struct BufferEnd {
    void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
};
using BufferPointer = std::unique_ptr<GstBuffer, BufferEnd>;

/**
 * One element of GStreamer that converts buffers on the calling thread, without a pipeline: what it
 * makes of a buffer is there when push() returns. For one thread at a time.
 */
class ElementRun {
  public:
    /**
     * @param element not yet in a pipeline
     * @param input caps of the buffers that are pushed
     * @param output caps of those that are accepted
     * @throws std::runtime_error if the element does not accept them
     */
    ElementRun(GStreamerPointer<GstElement> element, const std::string& input,
               const std::string& output);
    ~ElementRun();
    ElementRun(const ElementRun&) = delete;
    ElementRun& operator=(const ElementRun&) = delete;

    /** Converts a buffer. @return false after an error, when the element is of no further use */
    bool push(BufferPointer buffer);

    /** Returns the last buffer that the element has made since the last call; null if none. */
    BufferPointer take() { return std::move(fMade); }
    /** Returns the caps of the buffers that it makes; null before the first one. */
    GstCaps* caps() const { return fCaps.get(); }

    GstElement* element() const { return fElement.get(); }
    /** Sends an event against the direction of the buffers. */
    void sendUpstream(GstEvent* event) { gst_pad_push_event(fOutput.get(), event); }

  private:
    static GstFlowReturn xOnBuffer(GstPad* pad, GstObject* parent, GstBuffer* buffer);
    static gboolean xOnEvent(GstPad* pad, GstObject* parent, GstEvent* event);
    void xStart(const std::string& input);
    void xBegin(GstCaps* input);
    void xStop();

    GStreamerPointer<GstElement> fElement;
    PadPointer fInput;
    PadPointer fOutput;
    GStreamerPointer<GstCaps> fCaps;
    BufferPointer fMade;
};

}  // namespace codec

#endif
