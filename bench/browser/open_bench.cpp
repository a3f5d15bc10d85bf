// Measures the time from the click in the launcher to the robot browser, and from "Connect to" to
// the docked viewer.
//
//   tests/support/run_isolated --display xvfb -- build/release/bench/bench_browser_open

#include "bench/figures.h"
#include "main_window.h"
#include "plugin_loader.h"
#include "robot_process.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QDockWidget>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <cstdio>
#include <vector>

namespace {

using bench::median;

constexpr int a_rounds = 9;

double milliseconds(const QElapsedTimer& timer) {
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

/** A simulated user of the browser: types the address and connects. */
class User : public QObject {
  public:
    User(int port, const QElapsedTimer& sinceClick) : fPort(port), fSinceClick(sinceClick) {
        connect(&fLook, &QTimer::timeout, this, &User::xLook);
        fLook.start(0);
    }

    double browserVisible() const { return fBrowserVisible; }
    const QElapsedTimer& sinceConnect() const { return fSinceConnect; }

  private:
    void xLook() {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr || dialog->windowHandle() == nullptr ||
            !dialog->windowHandle()->isExposed()) {
            return;
        }
        fLook.stop();
        fBrowserVisible = milliseconds(fSinceClick);
        const auto boxes = dialog->findChildren<QCheckBox*>();
        boxes.last()->setChecked(true);
        const auto fields = dialog->findChildren<QLineEdit*>();
        for (QLineEdit* field : fields) {
            field->setText(field->validator() == nullptr ? QStringLiteral("127.0.0.1")
                                                         : QString::number(fPort));
        }
        const auto buttons = dialog->findChildren<QPushButton*>();
        for (QPushButton* button : buttons) {
            if (button->isDefault()) {
                fSinceConnect.start();
                button->click();
            }
        }
    }

    int fPort;
    const QElapsedTimer& fSinceClick;
    QElapsedTimer fSinceConnect;
    double fBrowserVisible = 0;
    QTimer fLook;
};

double bareConnection(int port) {
    QElapsedTimer timer;
    timer.start();
    const auto broker = KVBroker::createBroker({"bench"});
    const auto connection = KVConnection::open(broker, "127.0.0.1", port, 2.0);
    return milliseconds(timer);
}

}  // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Quorvane Robotics"));
    QCoreApplication::setApplicationName(QStringLiteral("Obvista Desktop"));
    const obvista_test::RobotProcess robot;

    std::vector<double> browser;
    std::vector<double> docked;
    std::vector<double> bare;
    for (int round = 0; round < a_rounds; ++round) {
        MainWindow window;
        window.setAppFolder(
            QFileInfo(QString::fromStdString(obvista_test::RobotProcess::program())).path());
        window.init();
        window.show();
        if (!QTest::qWaitForWindowExposed(&window)) {
            std::fprintf(stderr, "the main window was not shown\n");
            return 1;
        }
        QElapsedTimer sinceClick;
        User user(robot.port(), sinceClick);
        sinceClick.start();
        QTest::mouseClick(window.findChild<PluginLoader*>(), Qt::LeftButton, {}, QPoint(355, 187));
        if (window.findChild<QDockWidget*>() == nullptr) {
            std::fprintf(stderr, "no viewer was docked\n");
            return 1;
        }
        docked.push_back(milliseconds(user.sinceConnect()));
        browser.push_back(user.browserVisible());
        bare.push_back(bareConnection(robot.port()));
    }
    std::printf("launcher click to robot browser visible: %.1f ms\n", median(browser));
    std::printf("\"Connect to\" to viewer docked: %.1f ms; a bare connection: %.1f ms\n",
                median(docked), median(bare));
    return 0;
}
