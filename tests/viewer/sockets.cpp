#include "sockets.h"

#include <QFile>
#include <QTcpServer>
#include <QTextStream>

namespace obvista_test {

namespace {

constexpr int a_established = 0x01;
constexpr int a_listening = 0x0A;

struct Socket {
    QString fLocalAddress;
    int fLocalPort;
    int fRemotePort;
    int fState;
};

/** Returns the machine's TCP sockets as listed by the kernel. */
QList<Socket> sockets() {
    QList<Socket> all;
    for (const char* path : {"/proc/net/tcp", "/proc/net/tcp6"}) {
        QFile file(QString::fromLatin1(path));
        if (!file.open(QIODevice::ReadOnly)) {
            continue;
        }
        QTextStream lines(&file);
        lines.readLine();
        QString line;
        while (lines.readLineInto(&line)) {
            const QStringList fields = line.simplified().split(QLatin1Char(' '));
            const QStringList local = fields.value(1).split(QLatin1Char(':'));
            const QStringList remote = fields.value(2).split(QLatin1Char(':'));
            all += Socket{local.value(0), local.value(1).toInt(nullptr, 16),
                          remote.value(1).toInt(nullptr, 16), fields.value(3).toInt(nullptr, 16)};
        }
    }
    return all;
}

bool isFree(int port) {
    return QTcpServer().listen(QHostAddress::LocalHost, static_cast<quint16>(port));
}

}  // namespace

int firstFreePortFrom(int first) {
    int port = first;
    while (!isFree(port)) {
        ++port;
    }
    return port;
}

QStringList listeningAddresses(int port) {
    QStringList addresses;
    for (const Socket& socket : sockets()) {
        if (socket.fState == a_listening && socket.fLocalPort == port) {
            addresses += socket.fLocalAddress;
        }
    }
    return addresses;
}

int connectionsTo(int port) {
    int count = 0;
    for (const Socket& socket : sockets()) {
        count += socket.fState == a_established && socket.fRemotePort == port ? 1 : 0;
    }
    return count;
}

}  // namespace obvista_test
