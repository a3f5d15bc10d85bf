#include "sockets.h"

#include <QFile>
#include <QTextStream>

#include <arpa/inet.h>
#include <functional>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

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

/** The machine's TCP sockets as the kernel lists them. */
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

/** Whether a port of the loopback address can be bound, and which one: 0 lets the kernel choose. */
int boundPort(int port) {
    const int descriptor = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    const int on = 1;
    ::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const bool isBound = ::bind(descriptor, generic, size) == 0 && ::listen(descriptor, 1) == 0 &&
                         ::getsockname(descriptor, generic, &size) == 0;
    ::close(descriptor);
    return isBound ? ntohs(address.sin_port) : -1;
}

}  // namespace

int freePort() {
    return boundPort(0);
}

int firstFreePortFrom(int first) {
    int port = first;
    while (boundPort(port) != port) {
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
