#include "fault_sentence.h"

#include <QCoreApplication>

namespace cameraviewer {

namespace {

constexpr const char* a_context = "cameraviewer::FaultSentence";

// The library that checks frames has no Qt. The tool that collects the texts for translation finds
// its sentences here.
[[maybe_unused]] constexpr const char* a_sentences[] = {
    QT_TRANSLATE_NOOP("cameraviewer::FaultSentence",
                      "The camera sends a format that this program does not know."),
    QT_TRANSLATE_NOOP("cameraviewer::FaultSentence", "The camera sends pictures without a size."),
    QT_TRANSLATE_NOOP(
        "cameraviewer::FaultSentence",
        "The camera sends pictures that are too large; the most is 64 million pixels."),
    QT_TRANSLATE_NOOP("cameraviewer::FaultSentence", "The camera sends YUV 4:2:2 of an odd width."),
    QT_TRANSLATE_NOOP("cameraviewer::FaultSentence",
                      "The camera sends rows that are shorter than its pictures are wide."),
    QT_TRANSLATE_NOOP("cameraviewer::FaultSentence",
                      "The camera sends fewer bytes than its pictures need."),
    QT_TRANSLATE_NOOP("cameraviewer::FaultSentence", "The camera sends pictures without a byte."),
    QT_TRANSLATE_NOOP("cameraviewer::FaultSentence", "The camera sends JPEGs that cannot be read."),
    QT_TRANSLATE_NOOP("cameraviewer::FaultSentence",
                      "The camera sends JPEGs of another size than it says."),
    QT_TRANSLATE_NOOP("cameraviewer::FaultSentence",
                      "The camera sends JPEGs that are damaged or incomplete."),
    QT_TRANSLATE_NOOP(
        "cameraviewer::FaultSentence",
        // NOLINTNEXTLINE(bugprone-suspicious-missing-comma)
        "The camera sends H.264 that is too large; the most is 9.4 million pixels and "
        "4 MiB a frame."),
    QT_TRANSLATE_NOOP("cameraviewer::FaultSentence", "The camera sends H.264 that cannot be read."),
    QT_TRANSLATE_NOOP("cameraviewer::FaultSentence",
                      "The camera sends H.264 of another size than it says."),
    QT_TRANSLATE_NOOP("cameraviewer::FaultSentence", "The camera sends H.264 that is damaged."),
    QT_TRANSLATE_NOOP("cameraviewer::FaultSentence",
                      "Showing H.264 needs GStreamer's element \"avdec_h264\" or \"openh264dec\", "
                      "which are in the Debian packages gstreamer1.0-libav and "
                      "gstreamer1.0-plugins-bad. Other formats can be shown."),
};

}  // namespace

QString faultSentence(picture::FrameFault fault) {
    return QCoreApplication::translate(a_context, picture::faultText(fault));
}

}  // namespace cameraviewer
