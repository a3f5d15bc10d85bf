#include "net/tls_probe.h"

#include "failure.h"

#include <base/file_descriptor.h>

#include <array>
#include <cerrno>
#include <memory>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <poll.h>
#include <sys/socket.h>

namespace robaxi {

namespace {

/**
 * A TLS handshake on a separate connection, which is closed afterwards.
 *
 * Boost.Asio's ssl::stream is not used: it consumes the first bytes of the peer, which tell TLS
 * from other protocols. A layer below it that records them, with the loop for the deadline, would
 * take as many lines as sending and receiving do here.
 */
class Handshake {
  public:
    enum class Outcome { Silent, NotTls, Tls };

    Handshake(const SocketAddress& address, const ClientSecurity& security)
        : fSocket(
              ::socket(address.fStorage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)),
          fContext(SSL_CTX_new(TLS_client_method()), &SSL_CTX_free) {
        // In progress or refused: the first write or read on the socket reports which.
        static_cast<void>(::connect(fSocket.get(), address.raw(), address.fLength));
        xTrust(security.trust());
        fSsl.reset(SSL_new(fContext.get()));
        // Memory BIOs on both sides, so that writing does not raise a signal when the other end is
        // closed.
        fFromNetwork = BIO_new(BIO_s_mem());
        fToNetwork = BIO_new(BIO_s_mem());
        SSL_set_bio(fSsl.get(), fFromNetwork, fToNetwork);
        static constexpr std::array<unsigned char, 3> http2{2, 'h', '2'};
        SSL_set_alpn_protos(fSsl.get(), http2.data(), http2.size());
        SSL_set_connect_state(fSsl.get());
    }

    Outcome run(Deadline deadline) {
        while (true) {
            ERR_clear_error();
            const int result = SSL_do_handshake(fSsl.get());
            const int error = SSL_get_error(fSsl.get(), result);
            if (!xFlush(deadline)) {
                return Outcome::Silent;
            }
            if (result == 1) {
                return Outcome::Tls;
            }
            if (error != SSL_ERROR_WANT_READ) {
                return fHasRecord ? Outcome::Tls : Outcome::NotTls;
            }
            if (!xReceive(deadline)) {
                return Outcome::Silent;
            }
        }
    }

    /** Returns the reason for which the certificate is not trusted, if any. */
    std::optional<std::string> distrust() const {
        const long result = SSL_get_verify_result(fSsl.get());
        return result == X509_V_OK
                   ? std::nullopt
                   : std::optional<std::string>(X509_verify_cert_error_string(result));
    }

    bool isFor(const std::string& name) const {
        const std::unique_ptr<X509, decltype(&X509_free)> certificate(
            SSL_get1_peer_certificate(fSsl.get()), &X509_free);
        return certificate &&
               (X509_check_host(certificate.get(), name.data(), name.size(), 0, nullptr) == 1 ||
                X509_check_ip_asc(certificate.get(), name.c_str(), 0) == 1);
    }

  private:
    void xTrust(const std::string& certificates) {
        SSL_CTX_set_verify(fContext.get(), SSL_VERIFY_NONE, nullptr);  // checked afterwards
        const std::unique_ptr<BIO, decltype(&BIO_free)> source(
            BIO_new_mem_buf(certificates.data(), static_cast<int>(certificates.size())), &BIO_free);
        X509_STORE* const store = SSL_CTX_get_cert_store(fContext.get());
        while (X509* certificate = PEM_read_bio_X509(source.get(), nullptr, nullptr, nullptr)) {
            X509_STORE_add_cert(store, certificate);
            X509_free(certificate);
        }
    }

    bool xAwait(short events, Deadline deadline) const {
        pollfd polled{fSocket.get(), events, 0};
        return ::poll(&polled, 1, millisecondsUntil(deadline)) > 0;
    }

    bool xFlush(Deadline deadline) {
        char* data = nullptr;
        const long size = BIO_get_mem_data(fToNetwork, &data);
        for (long sent = 0; sent < size;) {
            const ssize_t count = ::send(fSocket.get(), data + sent,
                                         static_cast<std::size_t>(size - sent), MSG_NOSIGNAL);
            if (count > 0) {
                sent += count;
            } else if ((errno != EAGAIN && errno != EINTR && errno != ENOTCONN) ||
                       !xAwait(POLLOUT, deadline)) {
                return false;
            }
        }
        BIO_reset(fToNetwork);
        return true;
    }

    bool xReceive(Deadline deadline) {
        constexpr std::size_t chunk = 16384;
        constexpr unsigned char handshakeRecord = 22;
        constexpr unsigned char alertRecord = 21;
        std::array<unsigned char, chunk> buffer{};
        if (!xAwait(POLLIN, deadline)) {
            return false;
        }
        const ssize_t count = ::recv(fSocket.get(), buffer.data(), buffer.size(), 0);
        if (count <= 0) {
            return false;
        }
        if (!fHasBytes) {
            fHasBytes = true;
            fHasRecord = buffer.front() == handshakeRecord || buffer.front() == alertRecord;
        }
        BIO_write(fFromNetwork, buffer.data(), static_cast<int>(count));
        return true;
    }

    const base::FileDescriptor fSocket;
    const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> fContext;
    std::unique_ptr<SSL, decltype(&SSL_free)> fSsl{nullptr, &SSL_free};
    BIO* fFromNetwork = nullptr;  // both belong to fSsl
    BIO* fToNetwork = nullptr;
    bool fHasBytes = false;
    bool fHasRecord = false;  // the first data was a TLS record
};

}  // namespace

std::optional<Failure> findTlsFailure(const SocketAddress& listener, const ClientSecurity& security,
                                      Deadline deadline) {
    Handshake handshake(listener, security);
    const Handshake::Outcome outcome = handshake.run(deadline);
    if (!security.usesTls()) {
        if (outcome != Handshake::Outcome::Tls) {
            return std::nullopt;
        }
        return Failure{KVError::Cause::NotAuthorised,
                       "it speaks TLS only, and no certificate to trust is known for it",
                       "Name the certificate that signed the robot's under trust in robaxi.conf."};
    }
    if (outcome == Handshake::Outcome::NotTls) {
        return Failure{KVError::Cause::NotTrusted,
                       "it does not use TLS, which robaxi.conf requires",
                       "Give the robot a certificate, or set tls = no for it in robaxi.conf."};
    }
    if (outcome == Handshake::Outcome::Silent) {
        return std::nullopt;
    }
    if (const auto distrust = handshake.distrust()) {
        return Failure{KVError::Cause::NotTrusted,
                       "its certificate is not signed by a trusted one: " + *distrust,
                       {}};
    }
    if (!handshake.isFor(security.name())) {
        return Failure{KVError::Cause::NotTrusted,
                       "its certificate is for another name than " + security.name(),
                       "Use the name in the certificate, or set name in robaxi.conf to it."};
    }
    return std::nullopt;
}

}  // namespace robaxi
