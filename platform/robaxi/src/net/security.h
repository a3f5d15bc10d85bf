#ifndef ROBAXI_SECURITY_H
#define ROBAXI_SECURITY_H

#include <robaxi/kv_settings.h>

#include <grpcpp/grpcpp.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

/** Security settings, with the contents of the files that they name. */
namespace robaxi {

/** Security of a broker that listens. */
class ServerSecurity {
  public:
    /**
     * @throws Failure InvalidArgument if a file cannot be used, or if the settings would send the
     *         token over unencrypted connections
     */
    explicit ServerSecurity(const KVSettings::Server& settings);

    const std::shared_ptr<grpc::ServerCredentials>& credentials() const { return fCredentials; }
    bool asksForToken() const { return !fToken.empty(); }
    /** Returns the expiry of the certificate; nothing without one. */
    std::optional<std::chrono::system_clock::time_point> certificateExpiry() const {
        return fCertificateExpiry;
    }
    /** Returns true if the token is right. Takes the same time for every token. */
    bool accepts(const std::string& token) const;

  private:
    std::shared_ptr<grpc::ServerCredentials> fCredentials;
    std::optional<std::chrono::system_clock::time_point> fCertificateExpiry;
    std::string fToken;
};

/** Security of one connection to a robot. */
class ClientSecurity {
  public:
    /** @throws Failure InvalidArgument if a file cannot be used */
    ClientSecurity(const KVSettings::Access& settings, const std::string& address);

    bool usesTls() const { return !fTrust.empty(); }
    /** Returns the trusted certificates, PEM; empty without TLS. */
    const std::string& trust() const { return fTrust; }
    /** Returns the name that the robot's certificate must contain. */
    const std::string& name() const { return fName; }
    const std::shared_ptr<grpc::ChannelCredentials>& credentials() const { return fCredentials; }

    /**
     * Returns the token to send; empty if there is none, or none that may be sent over this
     * connection.
     */
    const std::string& token() const { return fToken; }
    /** Returns true if there is a token that is not sent because the connection has no TLS. */
    bool withholdsToken() const { return fWithholdsToken; }

  private:
    std::shared_ptr<grpc::ChannelCredentials> fCredentials;
    std::string fTrust;
    std::string fName;
    std::string fToken;
    bool fWithholdsToken = false;
};

}  // namespace robaxi

#endif
