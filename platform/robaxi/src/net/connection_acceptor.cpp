#include "net/connection_acceptor.h"

#include "net/received_bytes.h"
#include "start_thread.h"
#include "wire/limits.h"

#include <base/address.h>

#include <boost/asio/post.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <map>
#include <netinet/tcp.h>
#include <sockets/descriptor_reserve.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace robaxi {

namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;
using Clock = std::chrono::steady_clock;

using sockets::Importance;

/**
 * Maximum number of newcomers; beyond it the oldest is closed for each new one. This leaves
 * descriptors for the other listeners of the process, though each newcomer uses two.
 */
std::size_t mostNewcomers() {
    constexpr std::size_t share = 8;
    constexpr std::size_t fewest = 8;
    constexpr std::size_t most = 256;
    return std::clamp(sockets::descriptorLimit() / share, fewest, most);
}

std::string peerOf(const tcp::socket& socket) {
    error_code failure;
    const tcp::endpoint peer = socket.remote_endpoint(failure);
    if (failure) {
        return {};
    }
    boost::asio::ip::address address = peer.address();
    if (address.is_v6()) {
        auto six = address.to_v6();
        six.scope_id(0);
        address = six;
        if (six.is_v4_mapped()) {
            address = boost::asio::ip::make_address_v4(boost::asio::ip::v4_mapped, six);
        }
    }
    return base::hostAndPort(address.to_string(), peer.port());
}

std::string withoutPort(const std::string& readablePeer) {
    return readablePeer.substr(0, readablePeer.rfind(':'));
}

}  // namespace

std::string readablePeer(const std::string& peer) {
    std::string text = peer.substr(peer.find(':') + 1);  // without "ipv4:"
    for (const auto& [escape, character] :
         {std::pair{"%5B", "["}, std::pair{"%5D", "]"}, std::pair{"%25", "%"}}) {
        const std::size_t found = text.find(escape);
        if (found != std::string::npos) {
            text.replace(found, 3, character);
        }
    }
    const std::size_t zone = text.find('%');
    if (zone != std::string::npos) {
        text.erase(zone, text.find(']') - zone);
    }
    return text;
}

std::string addressOf(const std::string& peer) {
    return withoutPort(readablePeer(peer));
}

/** A connection whose client has not sent a hello. */
class ConnectionAcceptor::Newcomer {
  public:
    Newcomer(Socket socket, Clock::time_point end)
        : fSocket(std::move(socket)), fPeer(peerOf(fSocket)), fEnd(end) {}

    ~Newcomer() {
        // close() would leave the socket in the context's epoll set while gRPC has its duplicate.
        error_code ignored;
        ::close(fSocket.release(ignored));
    }

    Newcomer(const Newcomer&) = delete;
    Newcomer& operator=(const Newcomer&) = delete;

    Socket fSocket;
    const std::string fPeer;
    const Clock::time_point fEnd;
    bool fIsHandedOver = false;  // gRPC has a duplicate of fSocket
};

ConnectionAcceptor::ConnectionAcceptor(Settings settings)
    : fSettings(std::move(settings)),
      fListener(fContext, Importance::Necessary,
                {[this](Socket socket) { xTake(std::move(socket)); },
                 [this] { return xMakeRoom(); }, fSettings.fReport}) {
}

ConnectionAcceptor::~ConnectionAcceptor() {
    stop();
}

void ConnectionAcceptor::start(std::vector<base::FileDescriptor> listening) {
    for (base::FileDescriptor& descriptor : listening) {
        sockaddr_storage address{};
        socklen_t length = sizeof address;
        ::getsockname(descriptor.get(), reinterpret_cast<sockaddr*>(&address), &length);
        tcp::acceptor acceptor(fContext);
        acceptor.assign(address.ss_family == AF_INET ? tcp::v4() : tcp::v6(), descriptor.get());
        descriptor.release();
        fListener.add(std::move(acceptor));
    }
    fThread = startThread([this] { fContext.run(); });
}

void ConnectionAcceptor::stop() {
    fContext.stop();
    if (fThread.joinable()) {
        fThread.join();
    }
}

void ConnectionAcceptor::xTake(Socket socket) {
    const std::size_t most = mostNewcomers();
    if (fNewcomers.size() >= most) {
        fListener.report("more than " + std::to_string(most) +
                         " connections have said no hello, the most for the " +
                         std::to_string(sockets::descriptorLimit()) +
                         " file descriptors of this program (ulimit -n); the oldest are closed to "
                         "make room");
        xMakeRoom();
    }
    fNewcomers.push_back(
        std::make_shared<Newcomer>(std::move(socket), Clock::now() + fSettings.fTimeForHello));
    xWaitForFirstBytes(fNewcomers.back());
    if (fNewcomers.size() == 1) {
        xStartTimer();
    }
}

// A handler may be queued when its newcomer is destroyed, and so refers to it weakly.

void ConnectionAcceptor::xWaitForFirstBytes(const NewcomerPtr& newcomer) {
    newcomer->fSocket.async_wait(Socket::wait_read,
                                 [this, weak = std::weak_ptr(newcomer)](const error_code&) {
                                     if (const NewcomerPtr ready = weak.lock()) {
                                         xReadFirstByte(ready);
                                     }
                                 });
}

void ConnectionAcceptor::xReadFirstByte(const NewcomerPtr& newcomer) {
    char byte = 0;
    const ssize_t size = ::recv(newcomer->fSocket.native_handle(), &byte, 1, MSG_PEEK);
    if (size > 0) {
        xHandOver(newcomer);
    } else if (size < 0 && (errno == EAGAIN || errno == EINTR)) {
        xWaitForFirstBytes(newcomer);
    } else {
        xClose(newcomer);  // its client has closed it without sending anything
    }
}

void ConnectionAcceptor::xHandOver(const NewcomerPtr& newcomer) {
    int handedOver =
        sockets::duplicateWithinReserve(newcomer->fSocket.native_handle(), Importance::Necessary);
    while (handedOver < 0) {
        fListener.reportExhaustion();
        xMakeRoom();
        if (fNewcomers.empty() || fNewcomers.front()->fEnd > newcomer->fEnd) {
            return;  // it was the oldest one
        }
        handedOver = sockets::duplicateWithinReserve(newcomer->fSocket.native_handle(),
                                                     Importance::Necessary);
    }
    const int on = 1;
    ::setsockopt(handedOver, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const auto timeOut = static_cast<unsigned>(fSettings.fTimeOutOfTransport.count());
    ::setsockopt(handedOver, IPPROTO_TCP, TCP_USER_TIMEOUT, &timeOut, sizeof timeOut);
    newcomer->fIsHandedOver = true;
    xWaitForEnd(newcomer);
    if (!fIsCounting) {
        xStartCounting();
    }
    fSettings.fHandOver(handedOver);
}

/** The duplicate would keep the socket open after gRPC has closed its own. */
void ConnectionAcceptor::xWaitForEnd(const NewcomerPtr& newcomer) {
    newcomer->fSocket.async_wait(Socket::wait_error,
                                 [this, weak = std::weak_ptr(newcomer)](const error_code&) {
                                     if (const NewcomerPtr ended = weak.lock()) {
                                         xClose(ended);
                                     }
                                 });
}

void ConnectionAcceptor::xClose(const NewcomerPtr& newcomer) {
    if (newcomer->fIsHandedOver) {
        error_code ignored;
        newcomer->fSocket.shutdown(Socket::shutdown_both, ignored);  // gRPC closes the rest
    }
    fNewcomers.remove(NewcomerPtr(newcomer));
}

bool ConnectionAcceptor::xMakeRoom() {
    if (fNewcomers.empty()) {
        return false;
    }
    xClose(fNewcomers.front());
    return true;
}

void ConnectionAcceptor::xStartTimer() {
    fTimer.expires_at(fNewcomers.front()->fEnd);
    fTimer.async_wait([this](const error_code& error) {
        if (error != boost::asio::error::operation_aborted) {
            xCloseTheLate();
        }
    });
}

void ConnectionAcceptor::xCloseTheLate() {
    const auto now = Clock::now();
    while (!fNewcomers.empty() && fNewcomers.front()->fEnd <= now) {
        xMakeRoom();
    }
    if (!fNewcomers.empty()) {
        xStartTimer();
    }
}

void ConnectionAcceptor::xStartCounting() {
    fIsCounting = true;
    fCountTimer.expires_after(limits::a_betweenCountsOfNewcomers);
    fCountTimer.async_wait([this](const error_code& error) {
        if (error != boost::asio::error::operation_aborted) {
            xCloseTheLarge();
        }
    });
}

void ConnectionAcceptor::xCloseTheLarge() {
    std::vector<std::pair<std::uint64_t, NewcomerPtr>> sent;
    std::uint64_t sum = 0;
    for (const NewcomerPtr& each : fNewcomers) {
        sent.emplace_back(receivedBytes(each->fSocket.native_handle()), each);
        sum += sent.back().first;
    }
    while (sum > fSettings.fMostBytes) {
        std::map<std::string, std::uint64_t> ofAddresses;
        for (const auto& [bytes, each] : sent) {
            ofAddresses[withoutPort(each->fPeer)] += bytes;
        }
        const auto most =
            std::max_element(sent.begin(), sent.end(), [&](const auto& one, const auto& other) {
                return std::pair(ofAddresses[withoutPort(one.second->fPeer)], one.first) <
                       std::pair(ofAddresses[withoutPort(other.second->fPeer)], other.first);
            });
        fListener.report("closed the connection from " + most->second->fPeer + ", which has sent " +
                         std::to_string(most->first) + " bytes but no complete hello");
        sum -= std::exchange(most->first, 0);
        xClose(most->second);
    }
    fIsCounting = !fNewcomers.empty();
    if (fIsCounting) {
        xStartCounting();
    }
}

void ConnectionAcceptor::welcome(const std::string& peer) {
    boost::asio::post(fContext, [this, readable = readablePeer(peer)] {
        fNewcomers.remove_if(
            [&readable](const NewcomerPtr& each) { return each->fPeer == readable; });
    });
}

}  // namespace robaxi
