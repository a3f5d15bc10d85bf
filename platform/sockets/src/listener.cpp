#include <cerrno>
#include <sockets/descriptor_reserve.h>
#include <sockets/listener.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace sockets {

namespace {

using boost::system::error_code;

/** Connections accepted in one turn, before other work of the thread. */
constexpr int a_acceptedInTurn = 32;
constexpr std::chrono::milliseconds a_rest(100);
constexpr std::chrono::seconds a_betweenReports(10);

bool isExhaustion(int error) {
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

/** Returns true for an error of a single connection, for instance one closed by its client. */
bool isOfConnection(int error) {
    return error == ECONNABORTED || error == EINTR || error == EPROTO;
}

}  // namespace

Listener::Listener(boost::asio::io_context& context, Importance importance, Handlers handlers)
    : fContext(context), fImportance(importance), fHandlers(std::move(handlers)), fRest(context) {
}

void Listener::add(Acceptor acceptor) {
    acceptor.non_blocking(true);
    fEntrances.push_back({std::move(acceptor)});
    xWait(fEntrances.back());
}

void Listener::pause() {
    fIsPaused = true;
}

void Listener::resume() {
    fIsPaused = false;
    if (!fIsResting) {
        for (Entrance& entrance : fEntrances) {
            xWait(entrance);
        }
    }
}

void Listener::xWait(Entrance& entrance) {
    if (std::exchange(entrance.fIsWaiting, true)) {
        return;
    }
    entrance.fAcceptor.async_wait(Acceptor::wait_read, [this, &entrance](const error_code& error) {
        entrance.fIsWaiting = false;
        if (error != boost::asio::error::operation_aborted) {
            xAccept(entrance);
        }
    });
}

void Listener::xAccept(Entrance& entrance) {
    for (int n = 0; n < a_acceptedInTurn && !fIsPaused && !fIsResting; ++n) {
        if (!xAcceptOne(entrance.fAcceptor)) {
            break;
        }
    }
    if (!fIsPaused && !fIsResting) {
        xWait(entrance);
    }
}

bool Listener::xAcceptOne(Acceptor& acceptor) {
    int descriptor =
        ::accept4(acceptor.native_handle(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (descriptor < 0) {
        const int error = errno;
        if (error == EAGAIN) {
            return false;
        }
        if (isExhaustion(error)) {
            reportExhaustion();
        }
        if (!isOfConnection(error) && !(isExhaustion(error) && fHandlers.fMakeRoom())) {
            xRest();
        }
        return true;
    }
    if (!leavesReserve(descriptor, fImportance)) {
        reportExhaustion();
        descriptor = xMoveBelowReserve(descriptor);
    }
    if (descriptor >= 0) {
        Socket socket(fContext);
        error_code failure;
        socket.assign(acceptor.local_endpoint(failure).protocol(), descriptor, failure);
        if (failure) {
            ::close(descriptor);
        } else {
            fHandlers.fTake(std::move(socket));
        }
    }
    return true;
}

/** Without the move, each connection accepted at the limit would reduce the reserve by one. */
int Listener::xMoveBelowReserve(int descriptor) {
    const int lower = fHandlers.fMakeRoom() ? duplicateWithinReserve(descriptor, fImportance) : -1;
    ::close(descriptor);
    return lower;
}

void Listener::xRest() {
    fIsResting = true;
    fRest.expires_after(a_rest);
    fRest.async_wait([this](const error_code& error) {
        if (error != boost::asio::error::operation_aborted) {
            fIsResting = false;
            if (!fIsPaused) {
                resume();
            }
        }
    });
}

void Listener::reportExhaustion() {
    report("nearly all of the " + std::to_string(descriptorLimit()) +
           " file descriptors of this program (ulimit -n) are in use; connections are closed to "
           "make room");
}

void Listener::report(const std::string& reason) {
    const auto now = std::chrono::steady_clock::now();
    if (now >= fNextReport) {
        fNextReport = now + a_betweenReports;
        fHandlers.fReport(reason);
    }
}

}  // namespace sockets
