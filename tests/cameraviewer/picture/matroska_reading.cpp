#include "matroska_reading.h"

#include <QFile>

#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <memory>

namespace obvista_test {
namespace {

/** Waits for a stuck pipeline no longer than that. */
constexpr GstClockTime a_patience = 30 * GST_SECOND;

struct Unref {
    void operator()(GstElement* element) const { gst_object_unref(element); }
    void operator()(GstBus* bus) const { gst_object_unref(bus); }
    void operator()(GstMessage* message) const { gst_message_unref(message); }
    void operator()(GstSample* sample) const { gst_sample_unref(sample); }
};
template <typename Object>
using Owned = std::unique_ptr<Object, Unref>;

/** Takes each picture of a file out of a pipeline. */
class Pipeline {
  public:
    Pipeline(const QString& file, const std::string& decoder) {
        gst_init(nullptr, nullptr);
        const std::string text = "filesrc name=source ! matroskademux name=demuxer ! " + decoder +
                                 "appsink name=sink sync=false";
        GError* error = nullptr;
        fPipeline.reset(gst_parse_launch(text.c_str(), &error));
        if (error != nullptr) {
            fError = error->message;
            g_error_free(error);
            return;
        }
        const Owned<GstElement> source(gst_bin_get_by_name(GST_BIN(fPipeline.get()), "source"));
        g_object_set(source.get(), "location", QFile::encodeName(file).constData(), nullptr);
        fSink.reset(gst_bin_get_by_name(GST_BIN(fPipeline.get()), "sink"));
        gst_element_set_state(fPipeline.get(), GST_STATE_PLAYING);
    }
    ~Pipeline() {
        if (fPipeline) {
            gst_element_set_state(fPipeline.get(), GST_STATE_NULL);
        }
    }
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;

    /** @return nothing at the end of the file, and after an error */
    Owned<GstSample> next() {
        if (!fError.empty()) {
            return nullptr;
        }
        return Owned<GstSample>(
            gst_app_sink_try_pull_sample(GST_APP_SINK(fSink.get()), a_patience));
    }

    /** To be called after the last picture: empty when all went well. */
    std::string error() {
        const Owned<GstBus> bus(gst_element_get_bus(fPipeline.get()));
        while (
            const Owned<GstMessage> message{gst_bus_timed_pop(bus.get(), fEnd ? 0 : a_patience)}) {
            xTake(message.get());
        }
        if (fError.empty() && !fEnd) {
            fError = "the end did not come";
        }
        return fError;
    }

    const std::string& title() const { return fTitle; }

    std::int64_t duration() const {
        gint64 duration = 0;
        const bool isKnown =
            gst_element_query_duration(fPipeline.get(), GST_FORMAT_TIME, &duration) != FALSE;
        return isKnown ? duration / 1000 : 0;
    }

  private:
    void xTake(GstMessage* message) {
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) {
            fEnd = true;
        } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
            GError* error = nullptr;
            gst_message_parse_error(message, &error, nullptr);
            fError = error->message;
            g_error_free(error);
            fEnd = true;
        } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_TAG) {
            xTakeTags(message);
        }
    }

    void xTakeTags(GstMessage* message) {
        GstTagList* tags = nullptr;
        gst_message_parse_tag(message, &tags);
        gchar* title = nullptr;
        if (gst_tag_list_get_string(tags, GST_TAG_TITLE, &title) != FALSE) {
            fTitle = title;
            g_free(title);
        }
        gst_tag_list_unref(tags);
    }

    Owned<GstElement> fPipeline;
    Owned<GstElement> fSink;
    std::string fTitle;
    std::string fError;
    bool fEnd = false;
};

MatroskaContent::Picture pictureOf(GstSample* sample) {
    GstBuffer* buffer = gst_sample_get_buffer(sample);
    MatroskaContent::Picture picture;
    picture.fTime = static_cast<std::int64_t>(GST_BUFFER_PTS(buffer) / 1000);
    picture.fJpeg.resize(gst_buffer_get_size(buffer));
    gst_buffer_extract(buffer, 0, picture.fJpeg.data(), picture.fJpeg.size());
    return picture;
}

}  // namespace

MatroskaContent readMatroska(const QString& file) {
    MatroskaContent content;
    Pipeline pipeline(file, "");
    while (const Owned<GstSample> sample = pipeline.next()) {
        content.fPictures.push_back(pictureOf(sample.get()));
    }
    content.fDuration = pipeline.duration();
    content.fError = pipeline.error();
    content.fTitle = pipeline.title();
    return content;
}

int playMatroska(const QString& file, std::string* error, const char* decoder) {
    int pictures = 0;
    Pipeline pipeline(file, (std::string(decoder) + " ! ").c_str());
    while (pipeline.next()) {
        ++pictures;
    }
    *error = pipeline.error();
    return pictures;
}

}  // namespace obvista_test
