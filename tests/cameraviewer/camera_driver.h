#ifndef OBVISTA_TESTS_CAMERAVIEWER_CAMERA_DRIVER_H
#define OBVISTA_TESTS_CAMERAVIEWER_CAMERA_DRIVER_H

#include <robaxi/kv_frame.h>

#include <QColor>
#include <QString>

#include <frame_stamp.h>
#include <optional>
#include <plugin_driver.h>

class QAction;
class QComboBox;

namespace obvista_test {

/** A host of the camera viewer. */
class CameraDriver : public PluginDriver {
  public:
    CameraDriver();

    /** A viewer in a dock that can be seen. @throws KVError */
    QWidget* show(int port);
};

QWidget* pictureOf(QWidget* viewer);
/** The colour in the middle of the picture as it is shown. */
QColor shownColor(QWidget* viewer);
/** Number and time of the frame that is shown, read out of what is on the widget. */
std::optional<FrameStamp> shownStamp(QWidget* viewer);

QComboBox* boxOf(QWidget* viewer, const char* objectName);
/** Chooses an entry by its text as the user does. @return false when there is none */
bool choose(QWidget* viewer, const char* objectName, const QString& text);
QAction* actionOf(QWidget* viewer, const char* objectName);

/** What stands in the place of the picture; empty while there is one. */
QString messageOf(QWidget* viewer);
/** What stands above the picture; empty when nothing does. */
QString noticeOf(QWidget* viewer);
/** What became of the last thing that the user did. */
QString toldOf(QWidget* viewer);
QString readoutOf(QWidget* viewer);
QString statusOf(QWidget* viewer);
/** A figure of the status line by what follows it ("received", "shown", "dropped a second"); -1
 *  when it is not there. */
double figureOf(QWidget* viewer, const QString& name);

/** A frame of one colour, which is to get its number and time when it is sent. */
KVFrame plainFrame(const QColor& color, KVPixelFormat format = KVPixelFormat::Rgb888,
                   int width = 320, int height = 240);

}  // namespace obvista_test

#endif
