// Lower bounds for the start of a program with a picture in a window, and with a menu bar.
//
//   bare_window PICTURE [MENU...]

#include <QApplication>
#include <QLabel>
#include <QMainWindow>
#include <QMenuBar>
#include <QPixmap>

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QMainWindow window;
    auto* label = new QLabel;
    const QStringList arguments = QCoreApplication::arguments();
    label->setPixmap(QPixmap(arguments.value(1)));
    window.setCentralWidget(label);
    for (const QString& menu : arguments.mid(2)) {
        window.menuBar()->addMenu(menu)->addAction(menu);
    }
    window.show();
    return QApplication::exec();
}
