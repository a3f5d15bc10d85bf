#include "tcp_peer.h"

#include "loopback.h"

#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace tcp_peer {

namespace {

void check(bool ok, const char* what) {
    if (!ok) {
        throw std::runtime_error(what);
    }
}

bool receive(int socket, Message& message) {
    return ::recv(socket, &message, sizeof message, MSG_WAITALL) == sizeof message;
}

void send(int socket, std::mutex& mutex, const Message& message) {
    const std::lock_guard lock(mutex);
    check(::send(socket, &message, sizeof message, MSG_NOSIGNAL) == sizeof message, "send");
}

}  // namespace

Server::Server(std::size_t threads) : fListener(loopback::listen(fPort)) {
    fThreads.emplace_back([this] { xRead(); });
    for (std::size_t i = 0; i < threads; ++i) {
        fThreads.emplace_back([this] { xWork(); });
    }
}

Server::~Server() {
    ::shutdown(fListener, SHUT_RDWR);
    {
        const std::lock_guard lock(fMutex);
        fStop = true;
        ::shutdown(fConnection, SHUT_RDWR);
    }
    fWork.notify_all();
    for (std::thread& thread : fThreads) {
        thread.join();
    }
    ::close(fConnection);
    ::close(fListener);
}

void Server::xRead() {
    const int connection = ::accept(fListener, nullptr, nullptr);
    if (connection < 0) {
        return;
    }
    loopback::sendAtOnce(connection);
    {
        const std::lock_guard lock(fMutex);
        fConnection = connection;
    }
    Message message;
    while (receive(connection, message)) {
        {
            const std::lock_guard lock(fMutex);
            fQueue.push_back(message);
        }
        fWork.notify_one();
    }
}

void Server::xWork() {
    while (true) {
        std::unique_lock lock(fMutex);
        fWork.wait(lock, [this] { return fStop || !fQueue.empty(); });
        if (fStop) {
            return;
        }
        const Message message = fQueue.front();
        fQueue.pop_front();
        lock.unlock();
        send(fConnection, fSending, message);
    }
}

Client::Client(int port) : fSocket(loopback::connect(port)) {
    loopback::sendAtOnce(fSocket);
    fReader = std::thread([this] { xRead(); });
}

Client::~Client() {
    ::shutdown(fSocket, SHUT_RDWR);
    fReader.join();
    ::close(fSocket);
}

Message Client::call() {
    Pending pending;
    Message message;
    {
        const std::lock_guard lock(fMutex);
        message.fId = ++fLastId;
        fPending.emplace(message.fId, &pending);
    }
    send(fSocket, fSending, message);
    std::unique_lock lock(fMutex);
    pending.fAnswered.wait(lock, [&pending] { return pending.fIsAnswered; });
    return pending.fAnswer;
}

void Client::xRead() {
    Message message;
    while (receive(fSocket, message)) {
        const std::lock_guard lock(fMutex);
        const auto found = fPending.find(message.fId);
        Pending& pending = *found->second;
        fPending.erase(found);
        pending.fAnswer = message;
        pending.fIsAnswered = true;
        pending.fAnswered.notify_one();
    }
}

}  // namespace tcp_peer
