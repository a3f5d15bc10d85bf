// Starts discovery as Obvista does and ends it after a time, like a user who quits.
//
//   discovery_program MILLISECONDS
//
// The exit status is 0 unless discovery could not be started.

#include "bonjour_listening_thread.h"

#include <QCoreApplication>
#include <QTimer>

#include <iostream>

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    auto thread = KD::BonjourListeningThread::createBonjourListeningThread();
    QObject::connect(thread.get(), &KD::BonjourListeningThread::exceptionCaught, &application,
                     [](const QString& message) {
                         std::cerr << message.toStdString() << std::endl;
                         QCoreApplication::exit(1);
                     });
    thread->start(QThread::InheritPriority);
    QTimer::singleShot(QCoreApplication::arguments().value(1).toInt(), &application,
                       &QCoreApplication::quit);
    const int status = QCoreApplication::exec();
    thread.reset();
    return status;
}
