#include <base/file_descriptor.h>
#include <base/safe_text.h>
#include <base/time.h>

#include <cerrno>
#include <codec/gstreamer.h>
#include <condition_variable>
#include <fcntl.h>
#include <gst/app/gstappsrc.h>
#include <gst/gst.h>
#include <matroska/matroska_writer.h>
#include <mutex>
#include <stdexcept>
#include <system_error>

namespace matroska {
namespace {

/** Bytes that wait inside GStreamer before canTake() returns false. */
constexpr guint64 a_maxWaiting = guint64{8} * 1024 * 1024;
/** Microseconds since 1970: until the year 2200, within the range of Matroska's dates. */
constexpr std::int64_t a_latestStart = 7'258'118'400 * base::a_microsecondsPerSecond;

using codec::GStreamerPointer;

/** Is called for a recording, never when the plugin is loaded, since the first call takes a while.
 *  @return empty, or the reason why GStreamer cannot be used */
std::string ensureGStreamer() {
    try {
        codec::startGStreamer();
        return {};
    } catch (const std::runtime_error& failure) {
        return failure.what();
    }
}

/** An element of the pipeline and its Debian package. */
struct ElementKind {
    const char* fName;
    const char* fPackage;
};

constexpr ElementKind a_source{"appsrc", "gstreamer1.0-plugins-base"};
constexpr ElementKind a_parser{"h264parse", "gstreamer1.0-plugins-bad"};
constexpr ElementKind a_muxer{"matroskamux", "gstreamer1.0-plugins-good"};
constexpr ElementKind a_sink{"filesink", "libgstreamer1.0-0"};

std::string missingText(const ElementKind& kind) {
    return std::string("Recording needs the GStreamer element \"") + kind.fName +
           "\", which is in the Debian package " + kind.fPackage + '.';
}

std::string writeFailureText(const std::string& file, const std::string& reason) {
    return "The recording " + base::oneLine(file) + " could not be written: " + reason + '.';
}

constexpr const char* a_fullText = "The disk is full.";

using Bytes = std::shared_ptr<const unsigned char>;

/** Called by GStreamer, on the thread that releases the picture. */
void releasePicture(gpointer bytes) {
    delete static_cast<Bytes*>(bytes);
}

/** Returns a picture without a copy of its bytes. */
GstBuffer* makeBuffer(const EncodedPicture& picture) {
    // GStreamer's parameter is not const; the memory is marked as read-only.
    auto* data = const_cast<unsigned char*>(picture.fData.get());
    return gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY, data, picture.fSize, 0,
                                       picture.fSize, new Bytes(picture.fData), &releasePicture);
}

}  // namespace

struct MatroskaWriter::Private {
    Settings fSettings;
    GStreamerPointer<GstElement> fPipeline;
    GStreamerPointer<GstBus> fBus;
    GstAppSrc* fSource = nullptr;  // the pipeline's

    mutable std::mutex fMutex;
    std::condition_variable fChanged;
    bool fCanTake = true;
    bool fIsComplete = false;
    std::string fFailure;

    explicit Private(const Settings& settings) : fSettings(settings) {}

    ~Private() {
        if (fPipeline) {
            gst_element_set_state(fPipeline.get(), GST_STATE_NULL);
            gst_bus_set_sync_handler(fBus.get(), nullptr, nullptr, nullptr);
        }
    }
    Private(const Private&) = delete;
    Private& operator=(const Private&) = delete;

    /** @return empty, or the reason why no pipeline is running */
    std::string start() {
        std::string failure = ensureGStreamer();
        if (failure.empty()) {
            failure = tryFile();
        }
        return failure.empty() ? build() : failure;
    }

    /** GStreamer's own messages are not informative. */
    std::string tryFile() const {
        constexpr mode_t mode = 0666;
        const base::FileDescriptor file(::open(
            fSettings.fFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, mode));
        return file.get() >= 0
                   ? std::string()
                   : writeFailureText(fSettings.fFile, std::generic_category().message(errno));
    }

    /** Adds an element to the pipeline, which owns it. */
    GstElement* add(const ElementKind& kind) {
        GstElement* element = gst_element_factory_make(kind.fName, nullptr);
        if (element != nullptr) {
            gst_bin_add(GST_BIN(fPipeline.get()), element);
        }
        return element;
    }

    std::string build() {
        fPipeline.reset(gst_pipeline_new(nullptr));
        fBus.reset(gst_element_get_bus(fPipeline.get()));
        gst_bus_set_sync_handler(fBus.get(), &Private::onMessage, this, nullptr);

        GstElement* const source = add(a_source);
        GstElement* const muxer = add(a_muxer);
        GstElement* const sink = add(a_sink);
        if (source == nullptr || muxer == nullptr || sink == nullptr) {
            return missingText(source == nullptr ? a_source : muxer == nullptr ? a_muxer : a_sink);
        }
        // Matroska has another form of H.264 than a byte stream.
        const bool isH264 = fSettings.fFormat == KVPixelFormat::H264;
        GstElement* const parser = isH264 ? add(a_parser) : nullptr;
        if (isH264 && parser == nullptr) {
            return missingText(a_parser);
        }
        setUpSource(source);
        setUpMuxer(muxer);
        setUpSink(sink);
        const bool isLinked =
            (isH264 ? gst_element_link_many(source, parser, muxer, sink, nullptr)
                    : gst_element_link_many(source, muxer, sink, nullptr)) != FALSE;
        if (isLinked &&
            gst_element_set_state(fPipeline.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE) {
            return {};
        }
        return writeFailureText(fSettings.fFile, "the pipeline cannot be started");
    }

    void setUpSource(GstElement* element) {
        fSource = GST_APP_SRC(element);
        const GStreamerPointer<GstCaps> caps(
            gst_caps_from_string(fSettings.fFormat == KVPixelFormat::H264
                                     ? "video/x-h264,stream-format=byte-stream,alignment=au"
                                     : "image/jpeg"));
        gst_caps_set_simple(caps.get(), "width", G_TYPE_INT, fSettings.fWidth, "height", G_TYPE_INT,
                            fSettings.fHeight, nullptr);
        gst_app_src_set_caps(fSource, caps.get());
        gst_app_src_set_stream_type(fSource, GST_APP_STREAM_TYPE_STREAM);
        gst_app_src_set_max_bytes(fSource, a_maxWaiting);
        g_object_set(element, "format", GST_FORMAT_TIME, nullptr);
        GstAppSrcCallbacks callbacks{};
        callbacks.need_data = &Private::onNeedData;
        callbacks.enough_data = &Private::onEnoughData;
        gst_app_src_set_callbacks(fSource, &callbacks, this, nullptr);
    }

    void setUpMuxer(GstElement* element) const {
        // Every JPEG is a key frame. An index of all of them would grow to megabytes in an hour.
        constexpr gint64 indexInterval = G_GINT64_CONSTANT(1) * GST_SECOND;
        g_object_set(element, "writing-app", "Obvista", "min-index-interval", indexInterval,
                     nullptr);
        gst_tag_setter_add_tags(GST_TAG_SETTER(element), GST_TAG_MERGE_REPLACE, GST_TAG_TITLE,
                                fSettings.fTitle.c_str(), nullptr);
        if (fSettings.fStart < 0 || fSettings.fStart > a_latestStart) {
            return;
        }
        const GStreamerPointer<GDateTime> start(
            g_date_time_new_from_unix_utc(fSettings.fStart / base::a_microsecondsPerSecond));
        g_object_set(element, "creation-time", start.get(), nullptr);
    }

    void setUpSink(GstElement* element) const {
        constexpr int unbuffered = 2;
        g_object_set(element, "location", fSettings.fFile.c_str(), "sync", FALSE, "async", FALSE,
                     "buffer-mode", unbuffered, nullptr);
    }

    template <typename Change>
    void change(Change change) {
        {
            const std::lock_guard lock(fMutex);
            change();
        }
        fChanged.notify_all();
    }

    void setCanTake(bool canTake) {
        change([this, canTake] { fCanTake = canTake; });
    }

    void fail(const std::string& failure) {
        change([this, &failure] {
            if (fFailure.empty()) {
                fFailure = failure;
            }
        });
    }

    bool hasFailed() const {
        const std::lock_guard lock(fMutex);
        return !fFailure.empty();
    }

    /** Returns when the condition is true or writing has failed, which it has after a_patience. */
    template <typename Condition>
    void waitFor(Condition condition) {
        std::unique_lock lock(fMutex);
        const auto isOver = [&] { return condition() || !fFailure.empty(); };
        if (!fChanged.wait_for(lock, a_patience, isOver)) {
            fFailure = writeFailureText(fSettings.fFile, "the disk does not answer");
        }
    }

    static void onNeedData(GstAppSrc* /*source*/, guint /*length*/, gpointer self) {
        static_cast<Private*>(self)->setCanTake(true);
    }

    static void onEnoughData(GstAppSrc* /*source*/, gpointer self) {
        static_cast<Private*>(self)->setCanTake(false);
    }

    static GstBusSyncReply onMessage(GstBus* /*bus*/, GstMessage* message, gpointer pointer) {
        auto* self = static_cast<Private*>(pointer);
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) {
            self->change([self] { self->fIsComplete = true; });
        } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
            GError* raw = nullptr;
            gst_message_parse_error(message, &raw, nullptr);
            const GStreamerPointer<GError> error(raw);
            const bool isFull =
                g_error_matches(raw, GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_NO_SPACE_LEFT) != FALSE;
            self->fail(isFull ? a_fullText : writeFailureText(self->fSettings.fFile, raw->message));
        }
        gst_message_unref(message);
        return GST_BUS_DROP;
    }
};

MatroskaWriter::MatroskaWriter(const Settings& settings)
    : fPrivate(std::make_unique<Private>(settings)) {
    const std::string failure = fPrivate->start();
    if (!failure.empty()) {
        fPrivate->fail(failure);
    }
}

MatroskaWriter::~MatroskaWriter() = default;

void MatroskaWriter::write(const EncodedPicture& picture, std::int64_t time) {
    fPrivate->waitFor([this] { return fPrivate->fCanTake; });
    if (fPrivate->hasFailed()) {
        return;
    }
    GstBuffer* const buffer = makeBuffer(picture);
    GST_BUFFER_PTS(buffer) = static_cast<GstClockTime>(time) * GST_USECOND;
    gst_app_src_push_buffer(fPrivate->fSource, buffer);
}

void MatroskaWriter::finish() {
    if (!fPrivate->hasFailed()) {
        gst_app_src_end_of_stream(fPrivate->fSource);
        fPrivate->waitFor([this] { return fPrivate->fIsComplete; });
    }
}

std::string MatroskaWriter::failure() const {
    const std::lock_guard lock(fPrivate->fMutex);
    return fPrivate->fFailure;
}

bool MatroskaWriter::isDiskFull() const {
    return failure() == a_fullText;
}

}  // namespace matroska
