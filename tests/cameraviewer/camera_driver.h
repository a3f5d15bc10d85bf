#ifndef OBVISTA_TESTS_CAMERAVIEWER_CAMERA_DRIVER_H
#define OBVISTA_TESTS_CAMERAVIEWER_CAMERA_DRIVER_H

#include <robaxi/kv_frame.h>

#include <QColor>
#include <QString>

#include <frame_stamp.h>
#include <optional>
#include <plugin_driver.h>
#include <string>

class QAction;
class QComboBox;

namespace obvista_test {

/** A host of the camera viewer. */
class CameraDriver : public PluginDriver {
  public:
    CameraDriver();

    /** Returns a viewer in a visible dock. @throws KVError */
    QWidget* show(int port, const std::string& address = "127.0.0.1");
};

QWidget* pictureOf(QWidget* viewer);
/** Returns the displayed colour in the middle of the picture. */
QColor shownColor(QWidget* viewer);
/** Returns number and time of the displayed frame, read from the widget. */
std::optional<FrameStamp> shownStamp(QWidget* viewer);

QComboBox* boxOf(QWidget* viewer, const char* objectName);
/** Selects an entry by its text like a user. @return false if there is none */
bool choose(QWidget* viewer, const char* objectName, const QString& text);
QAction* actionOf(QWidget* viewer, const char* objectName);

/** Returns the placeholder text shown when there is no picture; otherwise empty. */
QString messageOf(QWidget* viewer);
/** Returns the text above the picture; empty if there is none. */
QString noticeOf(QWidget* viewer);
/** Returns the message about the user's last action. */
QString toldOf(QWidget* viewer);
QString readoutOf(QWidget* viewer);
QString statusOf(QWidget* viewer);
/**
 * Returns a figure of the status line by the text after it ("received", "shown", "dropped a
 * second"); -1 if there is none.
 */
double figureOf(QWidget* viewer, const QString& name);

/** Returns a single-colour frame, which gets its number and time when it is sent. */
KVFrame plainFrame(const QColor& color, KVPixelFormat format = KVPixelFormat::Rgb888,
                   int width = 320, int height = 240);

}  // namespace obvista_test

#endif
