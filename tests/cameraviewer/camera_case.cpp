#include "camera_driver.h"
#include "video_robot.h"

#include <QAction>
#include <QComboBox>

#include <viewer_case.h>

namespace obvista_test::viewer_case {
namespace {

QColor colorOf(int value) {
    return {value, 200 - value, 40};
}

class CameraShown : public ShownRobot {
  public:
    CameraShown(const std::string& name, int port)
        : fRobot(name, VideoRobot::Video::Offered, port) {
        fRobot.addCamera("head");
    }

    int port() const override { return fRobot.port(); }
    void show(int value) override { fRobot.publish("head", plainFrame(colorOf(value))); }
    void stop() override { fRobot.stop(); }

  private:
    VideoRobot fRobot;
};

/** Returns true if the sentence is shown in place of the picture, or above the last one. */
bool says(QWidget* viewer, QLatin1String sentence) {
    return messageOf(viewer).startsWith(sentence) || noticeOf(viewer).startsWith(sentence);
}

}  // namespace

QString pluginName() {
    return QStringLiteral("cameraviewer");
}

std::unique_ptr<ShownRobot> makeRobot(const std::string& name, int port) {
    return std::make_unique<CameraShown>(name, port);
}

bool shows(QWidget* viewer, int value) {
    return shownColor(viewer) == colorOf(value);
}

bool isLive(QWidget* viewer) {
    return boxOf(viewer, "cameraBox")->count() > 0;
}

bool saysLost(QWidget* viewer) {
    return says(viewer, QLatin1String("The robot is lost."));
}

bool saysClosed(QWidget* viewer) {
    return says(viewer, QLatin1String("The connection is closed."));
}

bool makeBusy(QWidget* viewer) {
    constexpr int frames = 5;
    QAction* record = actionOf(viewer, "recordAction");
    if (record->isEnabled() && !record->isChecked()) {
        record->trigger();
    }
    return figureOf(viewer, QStringLiteral("frames")) >= frames;
}

QStringList viewKeys() {
    return {"1"};
}

bool isViewChanged(QWidget* viewer) {
    return readoutOf(viewer).contains(QString::fromUtf8("  ·  100 %"));
}

bool isViewSaved() {
    return savedValue(QStringLiteral("/view/zoom")).toDouble() == 1;
}

}  // namespace obvista_test::viewer_case
