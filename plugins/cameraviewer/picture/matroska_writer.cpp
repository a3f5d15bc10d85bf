#include "matroska_writer.h"

#include <base/time.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <condition_variable>
#include <gst/app/gstappsrc.h>
#include <gst/gst.h>
#include <mutex>
#include <string>

namespace cameraviewer {
namespace {

/** Bytes that wait inside GStreamer before canTake() returns false. */
constexpr guint64 a_maxWaiting = guint64{8} * 1024 * 1024;
/** Microseconds since 1970: until the year 2200, within the range of Matroska's dates. */
constexpr std::int64_t a_latestStart = 7'258'118'400 * base::a_microsecondsPerSecond;

QString translated(const char* text) {
    return QCoreApplication::translate("cameraviewer::MatroskaWriter", text);
}

struct Unref {
    void operator()(GstObject* object) const { gst_object_unref(object); }
    void operator()(GstElement* element) const { gst_object_unref(element); }
    void operator()(GstBus* bus) const { gst_object_unref(bus); }
    void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(GDateTime* time) const { g_date_time_unref(time); }
};
template <typename Object>
using Owned = std::unique_ptr<Object, Unref>;

/** @return empty, or the reason why GStreamer cannot be used */
QString startGStreamer() {
    GError* raw = nullptr;
    if (gst_init_check(nullptr, nullptr, &raw) != FALSE) {
        return {};
    }
    const Owned<GError> error(raw);
    return translated("GStreamer does not start: %1").arg(QString::fromUtf8(error->message));
}

/**
 * Once for the process: on the first recording, since it takes a while, never when the plugin is
 * loaded.
 */
QString ensureGStreamer() {
    static const QString failure = startGStreamer();
    return failure;
}

/** An element of the pipeline and its Debian package. */
struct ElementKind {
    const char* fName;
    const char* fPackage;
};

constexpr ElementKind a_source{"appsrc", "gstreamer1.0-plugins-base"};
constexpr ElementKind a_muxer{"matroskamux", "gstreamer1.0-plugins-good"};
constexpr ElementKind a_sink{"filesink", "libgstreamer1.0-0"};

QString missingText(const ElementKind& kind) {
    return translated(
               "Recording needs the GStreamer element \"%1\", which is in the Debian package %2.")
        .arg(QLatin1String(kind.fName), QLatin1String(kind.fPackage));
}

QString writeFailureText(const QString& file, const QString& reason) {
    return translated("The recording %1 could not be written: %2.")
        .arg(QDir::toNativeSeparators(file), reason);
}

QString fullText() {
    return translated("The disk is full. What was recorded until then can be played.");
}

using Bytes = std::shared_ptr<const unsigned char>;

/** Called by GStreamer, on the thread that releases the picture. */
void releasePicture(gpointer bytes) {
    delete static_cast<Bytes*>(bytes);
}

/** Returns a picture without a copy of its bytes. */
GstBuffer* makeBuffer(const picture::JpegFile& picture) {
    // GStreamer's parameter is not const; the memory is marked as read-only.
    auto* data = const_cast<unsigned char*>(picture.fData.get());
    return gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY, data, picture.fSize, 0,
                                       picture.fSize, new Bytes(picture.fData), &releasePicture);
}

}  // namespace

struct MatroskaWriter::Private {
    Settings fSettings;
    Owned<GstElement> fPipeline;
    Owned<GstBus> fBus;
    GstAppSrc* fSource = nullptr;  // the pipeline's

    mutable std::mutex fMutex;
    std::condition_variable fChanged;
    bool fCanTake = true;
    bool fIsComplete = false;
    QString fFailure;

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
    QString start() {
        QString failure = ensureGStreamer();
        if (failure.isEmpty()) {
            failure = tryFile();
        }
        return failure.isEmpty() ? build() : failure;
    }

    /** GStreamer's own messages are not informative. */
    QString tryFile() const {
        QFile file(fSettings.fFile);
        const bool isWritable = file.open(QIODevice::WriteOnly);
        return isWritable ? QString() : writeFailureText(fSettings.fFile, file.errorString());
    }

    /** Adds an element to the pipeline, which owns it. */
    GstElement* add(const ElementKind& kind) {
        GstElement* element = gst_element_factory_make(kind.fName, nullptr);
        if (element != nullptr) {
            gst_bin_add(GST_BIN(fPipeline.get()), element);
        }
        return element;
    }

    QString build() {
        fPipeline.reset(gst_pipeline_new(nullptr));
        fBus.reset(gst_element_get_bus(fPipeline.get()));
        gst_bus_set_sync_handler(fBus.get(), &Private::onMessage, this, nullptr);

        GstElement* const source = add(a_source);
        GstElement* const muxer = add(a_muxer);
        GstElement* const sink = add(a_sink);
        if (source == nullptr || muxer == nullptr || sink == nullptr) {
            return missingText(source == nullptr ? a_source : muxer == nullptr ? a_muxer : a_sink);
        }
        setUpSource(source);
        setUpMuxer(muxer);
        setUpSink(sink);
        const bool isLinked = gst_element_link_many(source, muxer, sink, nullptr) != FALSE;
        if (isLinked &&
            gst_element_set_state(fPipeline.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE) {
            return {};
        }
        return writeFailureText(fSettings.fFile, translated("the pipeline does not start"));
    }

    void setUpSource(GstElement* element) {
        fSource = GST_APP_SRC(element);
        const Owned<GstCaps> caps(gst_caps_new_simple("image/jpeg", "width", G_TYPE_INT,
                                                      fSettings.fWidth, "height", G_TYPE_INT,
                                                      fSettings.fHeight, nullptr));
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
                                fSettings.fTitle.toUtf8().constData(), nullptr);
        if (fSettings.fStart < 0 || fSettings.fStart > a_latestStart) {
            return;
        }
        const Owned<GDateTime> start(
            g_date_time_new_from_unix_utc(fSettings.fStart / base::a_microsecondsPerSecond));
        g_object_set(element, "creation-time", start.get(), nullptr);
    }

    void setUpSink(GstElement* element) const {
        constexpr int unbuffered = 2;
        g_object_set(element, "location", QFile::encodeName(fSettings.fFile).constData(), "sync",
                     FALSE, "async", FALSE, "buffer-mode", unbuffered, nullptr);
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

    void fail(const QString& failure) {
        change([this, &failure] {
            if (fFailure.isEmpty()) {
                fFailure = failure;
            }
        });
    }

    bool hasFailed() const {
        const std::lock_guard lock(fMutex);
        return !fFailure.isEmpty();
    }

    /** Returns when the condition is true or writing has failed, which it has after a_patience. */
    template <typename Condition>
    void waitFor(Condition condition) {
        std::unique_lock lock(fMutex);
        const auto isOver = [&] { return condition() || !fFailure.isEmpty(); };
        if (!fChanged.wait_for(lock, a_patience, isOver)) {
            fFailure = writeFailureText(fSettings.fFile, translated("the disk does not answer"));
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
            const Owned<GError> error(raw);
            const bool isFull =
                g_error_matches(raw, GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_NO_SPACE_LEFT) != FALSE;
            self->fail(
                isFull ? fullText()
                       : writeFailureText(self->fSettings.fFile, QString::fromUtf8(raw->message)));
        }
        gst_message_unref(message);
        return GST_BUS_DROP;
    }
};

MatroskaWriter::MatroskaWriter(const Settings& settings)
    : fPrivate(std::make_unique<Private>(settings)) {
    const QString failure = fPrivate->start();
    if (!failure.isEmpty()) {
        fPrivate->fail(failure);
    }
}

MatroskaWriter::~MatroskaWriter() = default;

void MatroskaWriter::write(const picture::JpegFile& picture, std::int64_t time) {
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

QString MatroskaWriter::failure() const {
    const std::lock_guard lock(fPrivate->fMutex);
    return fPrivate->fFailure;
}

}  // namespace cameraviewer
