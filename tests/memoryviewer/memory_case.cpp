#include "memory_robot.h"
#include "viewer_driver.h"

#include <QAbstractItemModel>
#include <QLineEdit>
#include <QToolButton>
#include <QTreeView>

#include <string>
#include <viewer_case.h>

namespace obvista_test::viewer_case {
namespace {

constexpr int a_keys = 500;

class MemoryShown : public ShownRobot {
  public:
    MemoryShown(const std::string& name, int port)
        : fRobot(name, MemoryRobot::Memory::Offered, port) {}

    int port() const override { return fRobot.port(); }
    void stop() override { fRobot.stop(); }

    /** Changes enough values to keep the viewer busy. */
    void show(int value) override {
        for (int key = 0; key < a_keys; ++key) {
            fRobot.set("Joint/" + std::to_string(key), value);
        }
        fRobot.set("Uptime", value);
    }

  private:
    MemoryRobot fRobot;
};

}  // namespace

QString pluginName() {
    return QStringLiteral("memoryviewer");
}

std::unique_ptr<ShownRobot> makeRobot(const std::string& name, int port) {
    return std::make_unique<MemoryShown>(name, port);
}

bool shows(QWidget* viewer, int value) {
    return valueOf(viewer, "Uptime") == QString::number(value);
}

bool isLive(QWidget* viewer) {
    return treeOf(viewer)->model()->rowCount() > 0;
}

bool saysLost(QWidget* viewer) {
    return statusOf(viewer).endsWith(QLatin1String("robot lost")) &&
           noticeOf(viewer) ==
               QLatin1String("The robot is lost. These are the last values received.");
}

bool saysClosed(QWidget* viewer) {
    return statusOf(viewer).endsWith(QLatin1String("connection closed"));
}

bool makeBusy(QWidget* viewer) {
    return isLive(viewer);
}

QStringList viewKeys() {
    return {"ctrl+f", "ctrl+a", "V", "o", "l", "t"};
}

/** Waits for the clear button too: a viewer that is deleted while it fades in leaks its animation.
 */
bool isViewChanged(QWidget* viewer) {
    const QLineEdit* filter = filterOf(viewer);
    const auto* clear = filter->findChild<QToolButton*>();
    return filter->text() == QLatin1String("Volt") && isLive(viewer) &&
           clear->property("opacity").toReal() == 1;
}

bool isViewSaved() {
    return savedValue(QStringLiteral("/filter")) == QLatin1String("Volt");
}

}  // namespace obvista_test::viewer_case
