// Lower bound for the start of a program with a picture in a window.

#include <QApplication>
#include <QLabel>
#include <QMainWindow>
#include <QPixmap>

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QMainWindow window;
    auto* label = new QLabel;
    label->setPixmap(QPixmap(QCoreApplication::arguments().value(1)));
    window.setCentralWidget(label);
    window.show();
    return QApplication::exec();
}
