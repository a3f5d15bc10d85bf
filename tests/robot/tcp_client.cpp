#include "tcp_client.h"

#include <boost/asio/ip/tcp.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

}  // namespace

TcpClient::TcpClient(int port) : TcpClient(boost::asio::ip::address_v4::loopback(), port) {
}

TcpClient::TcpClient(const boost::asio::ip::address& address, int port)
    : fSocket(socket(address.is_v4() ? AF_INET : AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const boost::asio::ip::tcp::endpoint place(address, static_cast<std::uint16_t>(port));
    if (connect(fSocket, place.data(), static_cast<socklen_t>(place.size())) != 0) {
        const int error = errno;
        close(fSocket);
        throw std::system_error(error, std::generic_category(), "connect");
    }
}

TcpClient::~TcpClient() {
    close(fSocket);
}

bool TcpClient::send(const std::string& bytes) {
    return ::send(fSocket, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(bytes.size());
}

std::optional<std::string> TcpClient::read(std::size_t enough, std::chrono::milliseconds timeout) {
    const auto end = Clock::now() + timeout;
    std::string bytes;
    std::array<char, 65536> buffer{};
    while (bytes.size() < enough) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        if (left.count() <= 0 || !xWaitUntilReadable(left)) {
            return std::nullopt;
        }
        const ssize_t count = recv(fSocket, buffer.data(), buffer.size(), 0);
        if (count <= 0) {
            break;
        }
        bytes.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return bytes;
}

bool TcpClient::isSilentFor(std::chrono::milliseconds time) {
    return !xWaitUntilReadable(time);
}

bool TcpClient::xWaitUntilReadable(std::chrono::milliseconds timeout) const {
    pollfd waited{fSocket, POLLIN, 0};
    return poll(&waited, 1, static_cast<int>(timeout.count())) > 0;
}

HttpAnswer httpRequest(int port, const std::string& method, const std::string& target) {
    TcpClient client(port);
    client.send(method + ' ' + target + " HTTP/1.1\r\nHost: robot\r\n\r\n");
    const std::string bytes = client.read().value_or("");
    const std::size_t end = bytes.find("\r\n\r\n");
    if (end == std::string::npos || bytes.rfind("HTTP/1.1 ", 0) != 0) {
        throw std::runtime_error("no HTTP answer: " + bytes);
    }
    return {std::stoi(bytes.substr(9, 3)), bytes.substr(0, end + 2), bytes.substr(end + 4)};
}

HttpAnswer httpGet(int port, const std::string& target) {
    return httpRequest(port, "GET", target);
}
