#include "plain_stream.h"

#include "loopback.h"

#include <sys/socket.h>
#include <unistd.h>

namespace plain_stream {

namespace {

bool sendAll(int socket, const std::string& bytes) {
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t count =
            ::send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

}  // namespace

Server::Server(std::function<void(std::string&)> fill)
    : fFill(std::move(fill)), fListener(loopback::listen(fPort)), fThread([this] { xServe(); }) {
}

Server::~Server() {
    ::shutdown(fListener, SHUT_RDWR);
    fThread.join();
    ::close(fListener);
}

void Server::xServe() {
    std::string bytes;
    for (int client = 0; (client = ::accept(fListener, nullptr, nullptr)) >= 0; ::close(client)) {
        do {
            fFill(bytes);
        } while (sendAll(client, bytes));
    }
}

Client::Client(int port) : fSocket(loopback::connect(port)) {
}

Client::~Client() {
    ::close(fSocket);
}

std::size_t Client::readSome(char* to, std::size_t most) const {
    const ssize_t count = ::recv(fSocket, to, most, 0);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

bool Client::readAll(char* to, std::size_t count) const {
    return ::recv(fSocket, to, count, MSG_WAITALL) == static_cast<ssize_t>(count);
}

}  // namespace plain_stream
