// The engine's side of the interface: the one function that it exports.
#include "client/client_session.h"
#include "engine.h"
#include "server/server.h"

#include <string>

namespace {

std::shared_ptr<robaxi::Link> connect(const std::shared_ptr<robaxi::Runtime>& runtime,
                                      const std::string& address, int port,
                                      robaxi::Deadline deadline) {
    return std::make_shared<robaxi::ClientSession>(runtime, address, port, deadline);
}

std::unique_ptr<robaxi::RunningServer> listen(const std::shared_ptr<robaxi::Runtime>& runtime,
                                              const std::shared_ptr<robaxi::HostedModules>& modules,
                                              const std::string& address, int port) {
    return std::make_unique<robaxi::Server>(runtime, modules, address, port);
}

constexpr robaxi::Engine a_engine{&connect, &listen};

}  // namespace

const robaxi::Engine* robaxiEngine(const char* version) {
    return std::string(version) == ROBAXI_VERSION ? &a_engine : nullptr;
}
