// Another process that sets a value of a viewer's settings:
//   settings_process VIEWER ROBOT NAME VALUE
#include <obvista/viewer/robot_settings.h>

#include <QCoreApplication>
#include <qt_test_main.h>

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    obvista_test::setApplicationIdentity();
    const QStringList given = QCoreApplication::arguments();
    if (given.size() != 5) {
        return 2;
    }
    obvista::RobotSettings(given[1], given[2].toStdString()).setValue(given[3], given[4]);
    return 0;
}
