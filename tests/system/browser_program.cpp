// The robot browser with hosts of each kind in its list, as a program: no network is needed.

#include <QApplication>
#include <qt_test_main.h>

#include <announced.h>
#include <browserobots_dialog.h>

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    obvista_test::setApplicationIdentity();
    obvista_test::Announced announced;
    announced.robot("robot1.local", 9559, "10.0.0.1");
    announced.computer("computer1.local", 9560, "10.0.0.2");
    announced.robotWithoutMiddleware("robot2.local", "10.0.0.3");
    announced.robot("robot3.local", 9559, "");  // its name is not resolved yet
    KD::BrowseRobotsDialog dialog(nullptr, QString(), QString());
    dialog.show();
    return QApplication::exec();
}
