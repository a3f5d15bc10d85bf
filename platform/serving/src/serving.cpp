#include "serving/serving.h"

#include <base/address.h>

#include <filesystem>
#include <fstream>
#include <sockets/line_writer.h>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

namespace serving {

namespace {

constexpr std::size_t a_longestIcon = 4UL * 1024 * 1024;

}  // namespace

Output outputOf(const std::string& program) {
    const auto linesTo = [&program](int file) {
        return [start = program + ": ", file](const std::string& line) {
            sockets::writeLine(file, start + line);
        };
    };
    return {linesTo(STDOUT_FILENO), linesTo(STDERR_FILENO)};
}

KVSettings settingsFor(const Security& security) {
    KVSettings settings = KVSettings::load();
    KVSettings::Server& server = settings.fServer;
    if (!security.fCertificate.empty()) {
        server.fCertificate = security.fCertificate;
        server.fKey = security.fKey;
    }
    if (!security.fTokenFile.empty()) {
        server.fTokenFile = security.fTokenFile;
    }
    server.fAllowsPlainToken = server.fAllowsPlainToken || security.fAllowsPlainToken;
    return settings;
}

boost::shared_ptr<KVBroker> listen(const ServerOptions& options, const std::string& name, int port,
                                   const KVSettings& settings) {
    return KVBroker::createBroker({name, options.fAddress, port, settings});
}

std::unique_ptr<KV::BonjourAnnouncer> makeAnnouncer(const ServerOptions& options,
                                                    const std::string& name, const Output& output) {
    if (!options.fAnnounce) {
        return nullptr;
    }
    if (base::isLoopback(options.fAddress)) {
        output.fComplain("not announced: only this machine can reach " + options.fAddress +
                         " (--address 0.0.0.0 opens it to the network)");
        return nullptr;
    }
    return std::make_unique<KV::BonjourAnnouncer>(name, output.fComplain);
}

std::string readIcon(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string bytes(a_longestIcon + 1, '\0');
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    if (bytes.empty()) {
        throw std::runtime_error("the icon " + file + " cannot be read or is empty");
    }
    if (bytes.size() > a_longestIcon) {
        throw std::runtime_error("the icon " + file + " is larger than 4 MiB");
    }
    return bytes;
}

std::string installedPicture(const std::string& name) {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return program.parent_path() / "../share/obvista" / name;
}

}  // namespace serving
