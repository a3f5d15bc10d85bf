// Starts discovery as Obvista does and ends it after a time, like a user who quits.
//
//   discovery_program [MILLISECONDS]
//
// Without a time it ends on SIGTERM. It writes "starts" when it starts, and "found HOST" for each
// host. The exit status is 0 unless discovery could not be started.

#include "bonjour_listening_thread.h"

#include <bonjour/bonjour_discovery.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>

#include <csignal>
#include <iostream>
#include <sys/signalfd.h>

namespace {

/** Blocks SIGTERM. @return a descriptor that is readable when the signal has come */
int descriptorOfTermination() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

void write(const std::string& line) {
    std::cout << line + '\n' << std::flush;
}

}  // namespace

int main(int argc, char** argv) {
    // Before other threads exist, which inherit the mask.
    const int termination = descriptorOfTermination();
    QCoreApplication application(argc, argv);
    const QSocketNotifier notifier(termination, QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    KV::BonjourDiscovery::fAddProfile.connect(
        [](const boost::shared_ptr<KV::BonjourProfile>& profile) {
            write("found " + profile->fHostName);
        });
    auto thread = KD::BonjourListeningThread::createBonjourListeningThread();
    QObject::connect(thread.get(), &KD::BonjourListeningThread::exceptionCaught, &application,
                     [](const QString& message) {
                         std::cerr << message.toStdString() << std::endl;
                         QCoreApplication::exit(1);
                     });
    QObject::connect(thread.get(), &QThread::started, &application, [] { write("starts"); });
    thread->start(QThread::InheritPriority);
    if (const QStringList given = QCoreApplication::arguments(); given.size() > 1) {
        QTimer::singleShot(given[1].toInt(), &application, &QCoreApplication::quit);
    }
    const int status = QCoreApplication::exec();
    thread.reset();
    return status;
}
