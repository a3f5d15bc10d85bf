// Answers to a client that probes whether a TLS mismatch prevented its connection to a robot.
//
// The first byte of an input says whether the client was configured for TLS (1) or not (0); the
// others are what the robot sends, without reading the client's data.
#include "failure.h"
#include "fuzz_target.h"
#include "net/tls_probe.h"
#include "temporary_file.h"

#include <arpa/inet.h>
#include <mutex>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

using obvista_fuzz::require;
using robaxi::ClientSecurity;
using robaxi::SocketAddress;

constexpr const char* a_name = "127.0.0.1";

/** Self-signed, for 127.0.0.1; the key no longer exists. */
constexpr const char* a_certificate = R"(-----BEGIN CERTIFICATE-----
MIIBhzCCAS6gAwIBAgIUeI85UoLpPllu2AJj7uNpWSUK6BQwCgYIKoZIzj0EAwIw
EDEOMAwGA1UEAwwFcm9ib3QwIBcNMjYxMTIxMDk0OTM0WhgPMjEyNjEwMjgwOTQ5
MzRaMBAxDjAMBgNVBAMMBXJvYm90MFkwEwYHKoZIzj0CAQYIKoZIzj0DAQcDQgAE
vmead0zq4O65Vepc7Sb2g9/FVCbKPe/dZ2VaD4c0/cj5Jb3EVPT5Hh05gCy7rU7x
QgbP7Om/AF1+cbVYLXai1aNkMGIwHQYDVR0OBBYEFGsaeIaeTM2y44tMTO5gGe4b
fHzFMB8GA1UdIwQYMBaAFGsaeIaeTM2y44tMTO5gGe4bfHzFMA8GA1UdEwEB/wQF
MAMBAf8wDwYDVR0RBAgwBocEfwAAATAKBggqhkjOPQQDAgNHADBEAiBJuqHOdaGS
gBm57c8E/u+qwbXD0YyEf+EtEaIDsIexZgIga5x5RUMtFBvHUB55EiZT+DDJzDOq
T+um+B9+6L8Io60=
-----END CERTIFICATE-----
)";

/** Sends the same to every client, and waits until it disconnects. */
class Robot {
  public:
    Robot() : fListener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        auto& address = reinterpret_cast<sockaddr_in&>(fAddress.fStorage);
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        fAddress.fLength = sizeof address;
        auto* const raw = reinterpret_cast<sockaddr*>(&fAddress.fStorage);
        require(::bind(fListener, raw, fAddress.fLength) == 0 && ::listen(fListener, 1) == 0 &&
                    ::getsockname(fListener, raw, &fAddress.fLength) == 0,
                "a port is free");
        fThread = std::thread([this] { xServe(); });
    }
    ~Robot() {
        ::shutdown(fListener, SHUT_RDWR);
        fThread.join();
        ::close(fListener);
    }
    Robot(const Robot&) = delete;
    Robot& operator=(const Robot&) = delete;

    const SocketAddress& address() const { return fAddress; }

    void setAnswer(std::string answer) {
        const std::lock_guard lock(fMutex);
        fAnswer = std::move(answer);
    }

  private:
    void xServe() {
        for (int client = 0; (client = ::accept(fListener, nullptr, nullptr)) >= 0;
             ::close(client)) {
            xAnswer(client);
            ::shutdown(client, SHUT_WR);
            char ignored[1024];
            while (::recv(client, ignored, sizeof ignored, 0) > 0) {
            }
        }
    }

    void xAnswer(int client) {
        const std::lock_guard lock(fMutex);
        for (std::size_t sent = 0; sent < fAnswer.size();) {
            const ssize_t count =
                ::send(client, fAnswer.data() + sent, fAnswer.size() - sent, MSG_NOSIGNAL);
            if (count <= 0) {
                return;
            }
            sent += static_cast<std::size_t>(count);
        }
    }

    const int fListener;
    SocketAddress fAddress;
    std::mutex fMutex;
    std::string fAnswer;
    std::thread fThread;
};

ClientSecurity makeTrusting() {
    const obvista_fuzz::TemporaryFile file(a_certificate);
    KVSettings::Access access;
    access.fUsesTls = true;
    access.fTrust = file.path();
    return {access, a_name};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    constexpr double timeOut = 10;
    static Robot robot;
    static const ClientSecurity trusting = makeTrusting();
    static const ClientSecurity plain({}, a_name);
    robot.setAnswer({reinterpret_cast<const char*>(data) + 1, size - 1});
    const bool usesTls = data[0] % 2 != 0;
    const robaxi::Deadline deadline = robaxi::deadlineAfter(timeOut);
    const auto failure =
        robaxi::findTlsFailure(robot.address(), usesTls ? trusting : plain, deadline);
    require(robaxi::Clock::now() < deadline, "the end of an answer is seen");
    if (failure) {
        require(failure->fCause ==
                    (usesTls ? KVError::Cause::NotTrusted : KVError::Cause::NotAuthorised),
                "a failure of TLS is one of trust");
        require(!failure->fDetail.empty(), "it says what is wrong");
    }
    return 0;
}
