#include "net/security.h"

#include "failure.h"

#include <base/file_descriptor.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <openssl/crypto.h>
#include <openssl/sha.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <sys/stat.h>
#include <unistd.h>

namespace robaxi {

namespace {

constexpr std::size_t a_longestToken = 1024;

[[noreturn]] void throwUnusable(const std::string& what) {
    throw Failure{KVError::Cause::InvalidArgument, what, "Check robaxi.conf."};
}

std::string readFile(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throwUnusable("the file " + file + " cannot be read");
    }
    std::string content{std::istreambuf_iterator<char>(stream), {}};
    if (content.empty()) {
        throwUnusable("the file " + file + " is empty");
    }
    return content;
}

/** Refuses a token file that others may read. */
void checkTokenFile(const std::string& file, int descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        throwUnusable("the token's file " + file + " cannot be read");
    }
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        throwUnusable("the token's file " + file +
                      " may be read or written by others; only its owner may (chmod 600)");
    }
    if (status.st_uid != ::geteuid() && status.st_uid != 0) {
        throwUnusable("the token's file " + file + " belongs to another user");
    }
}

std::string readToken(const std::string& file) {
    const base::FileDescriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (descriptor.get() < 0) {
        throwUnusable("the token's file " + file + " cannot be read");
    }
    checkTokenFile(file, descriptor.get());
    std::array<char, a_longestToken + 2> buffer{};
    const ssize_t size = ::read(descriptor.get(), buffer.data(), buffer.size());
    std::string token(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    while (!token.empty() && (token.back() == '\n' || token.back() == '\r')) {
        token.pop_back();
    }
    const bool isOneLine = std::none_of(token.begin(), token.end(), [](char character) {
        return std::iscntrl(static_cast<unsigned char>(character)) != 0;
    });
    if (token.empty() || token.size() > a_longestToken || !isOneLine) {
        throwUnusable("the token's file " + file + " does not hold one line of at most " +
                      std::to_string(a_longestToken) + " characters");
    }
    return token;
}

/**
 * Reads a file named by the settings. A failure names the environment variable if the file comes
 * from one.
 *
 * @param read receives the file's path
 */
template <class Read>
auto readSetting(const char* variable, const std::string& file, Read read) {
    try {
        return read(file);
    } catch (Failure& failure) {
        const char* value = std::getenv(variable);
        if (value == nullptr || *value == '\0') {
            throw;
        }
        const std::string ending = value + (*value == '~' ? 1 : 0);
        if (file.size() >= ending.size() &&
            file.compare(file.size() - ending.size(), ending.size(), ending) == 0) {
            failure.fAdvice = std::string("Check the environment variable ") + variable + ".";
        }
        throw;
    }
}

using Context = std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)>;

Context makeContext() {
    return {SSL_CTX_new(TLS_method()), &SSL_CTX_free};
}

/** gRPC does not report which of these errors occurred. */
void checkCertificate(const KVSettings::Server& settings) {
    const Context context = makeContext();
    if (SSL_CTX_use_certificate_chain_file(context.get(), settings.fCertificate.c_str()) != 1) {
        throwUnusable("the file " + settings.fCertificate + " holds no certificate");
    }
    if (SSL_CTX_use_PrivateKey_file(context.get(), settings.fKey.c_str(), SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_check_private_key(context.get()) != 1) {
        throwUnusable("the file " + settings.fKey + " does not hold the certificate's key");
    }
}

std::chrono::system_clock::time_point readExpiry(const std::string& certificate) {
    const Context context = makeContext();
    std::tm end{};
    if (SSL_CTX_use_certificate_chain_file(context.get(), certificate.c_str()) != 1 ||
        ASN1_TIME_to_tm(X509_get0_notAfter(SSL_CTX_get0_certificate(context.get())), &end) != 1) {
        throwUnusable("the certificate in the file " + certificate + " has no end of validity");
    }
    return std::chrono::system_clock::from_time_t(::timegm(&end));
}

std::string readTrust(const std::string& file) {
    std::string content = readFile(file);
    const Context context = makeContext();
    if (SSL_CTX_load_verify_locations(context.get(), file.c_str(), nullptr) != 1) {
        throwUnusable("the file " + file + " holds no certificate to trust");
    }
    return content;
}

std::array<unsigned char, SHA256_DIGEST_LENGTH> digest(const std::string& text) {
    std::array<unsigned char, SHA256_DIGEST_LENGTH> result{};
    SHA256(reinterpret_cast<const unsigned char*>(text.data()), text.size(), result.data());
    return result;
}

std::shared_ptr<grpc::ServerCredentials> makeServerCredentials(const KVSettings::Server& settings) {
    if (settings.fCertificate.empty() != settings.fKey.empty()) {
        throwUnusable("certificate and key are only of use together");
    }
    if (settings.fCertificate.empty()) {
        return grpc::InsecureServerCredentials();
    }
    grpc::SslServerCredentialsOptions options;
    options.pem_key_cert_pairs.push_back(
        {readSetting("ROBAXI_SERVER_KEY", settings.fKey, readFile),
         readSetting("ROBAXI_SERVER_CERTIFICATE", settings.fCertificate, readFile)});
    checkCertificate(settings);
    return grpc::SslServerCredentials(options);
}

}  // namespace

ServerSecurity::ServerSecurity(const KVSettings::Server& settings)
    : fCredentials(makeServerCredentials(settings)) {
    if (!settings.fCertificate.empty()) {
        fCertificateExpiry = readExpiry(settings.fCertificate);
    }
    if (settings.fTokenFile.empty()) {
        return;
    }
    if (settings.fCertificate.empty() && !settings.fAllowsPlainToken) {
        throwUnusable(
            "a token needs certificate and key, or everybody on the network can read it "
            "(plain-token = yes allows that)");
    }
    fToken = readSetting("ROBAXI_SERVER_TOKEN", settings.fTokenFile, readToken);
}

bool ServerSecurity::accepts(const std::string& token) const {
    const auto given = digest(token);
    const auto wanted = digest(fToken);
    return CRYPTO_memcmp(given.data(), wanted.data(), wanted.size()) == 0;
}

ClientSecurity::ClientSecurity(const KVSettings::Access& settings, const std::string& address)
    : fCredentials(grpc::InsecureChannelCredentials()),
      fName(settings.fName.empty() ? address : settings.fName) {
    if (settings.fUsesTls) {
        fTrust = readSetting("ROBAXI_TRUST", settings.fTrust, readTrust);
        fCredentials = grpc::SslCredentials({fTrust, {}, {}});
    }
    if (settings.fTokenFile.empty()) {
        return;
    }
    fWithholdsToken = !settings.fUsesTls && !settings.fAllowsPlainToken;
    if (!fWithholdsToken) {
        fToken = readSetting("ROBAXI_TOKEN", settings.fTokenFile, readToken);
    }
}

}  // namespace robaxi
