#include "serving.h"

#include <base/address.h>

namespace robot {

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

boost::shared_ptr<KVBroker> listen(const Options& options, const std::string& name, int port,
                                   const KVSettings& settings) {
    return KVBroker::createBroker({name, options.fAddress, port, settings});
}

std::unique_ptr<KV::BonjourAnnouncer> makeAnnouncer(const Options& options, const std::string& name,
                                                    const Output& output) {
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

}  // namespace robot
