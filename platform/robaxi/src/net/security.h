#ifndef ROBAXI_SECURITY_H
#define ROBAXI_SECURITY_H

#include <robaxi/kv_settings.h>

#include <grpcpp/grpcpp.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

/** What settings say about security, with the files read that they name. */
namespace robaxi {

/** For a broker that listens. */
class ServerSecurity {
  public:
    /** @throws Failure InvalidArgument when a file cannot be used, or when the settings would have
     *          the token sent over connections that everybody can read */
    explicit ServerSecurity(const KVSettings::Server& settings);

    const std::shared_ptr<grpc::ServerCredentials>& credentials() const { return fCredentials; }
    bool asksForToken() const { return !fToken.empty(); }
    /** When the certificate ends to be valid; nothing without one. */
    std::optional<std::chrono::system_clock::time_point> certificateExpiry() const {
        return fCertificateExpiry;
    }
    /** Takes the same time for every token. */
    bool accepts(const std::string& token) const;

  private:
    std::shared_ptr<grpc::ServerCredentials> fCredentials;
    std::optional<std::chrono::system_clock::time_point> fCertificateExpiry;
    std::string fToken;
};

/** For one connection to a robot. */
class ClientSecurity {
  public:
    /** @throws Failure InvalidArgument when a file cannot be used */
    ClientSecurity(const KVSettings::Access& settings, const std::string& address);

    bool usesTls() const { return !fTrust.empty(); }
    /** The trusted certificates, PEM; empty without TLS. */
    const std::string& trust() const { return fTrust; }
    /** The name that must stand in the robot's certificate. */
    const std::string& name() const { return fName; }
    const std::shared_ptr<grpc::ChannelCredentials>& credentials() const { return fCredentials; }

    /** To be sent; empty when there is none, or none that may be sent over this connection. */
    const std::string& token() const { return fToken; }
    /** There is a token, which is not sent over a connection without TLS. */
    bool withholdsToken() const { return fWithholdsToken; }

  private:
    std::shared_ptr<grpc::ChannelCredentials> fCredentials;
    std::string fTrust;
    std::string fName;
    std::string fToken;
    bool fWithholdsToken = false;
};

/** @throws Failure InvalidArgument when the settings for reaching a robot contradict themselves */
void checkAccess(const KVSettings& settings);

}  // namespace robaxi

#endif
