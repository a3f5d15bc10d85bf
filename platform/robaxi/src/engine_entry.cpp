// The engine's side of the interface: the one function that it exports.
#include "client/client_session.h"
#include "engine.h"
#include "server/server.h"

#include <absl/base/internal/cycleclock.h>
#include <string>
#include <system_error>
#include <thread>

namespace {

/**
 * Measures the processor's clock on a thread, beside the start of gRPC. Abseil's locks, which gRPC
 * uses, would measure it when several threads first wait for the same lock, as most clients do
 * while they connect; this takes at least 3 ms, and all of them wait for it.
 */
void measureClock() {
    try {
        std::thread([] { absl::base_internal::CycleClock::Frequency(); }).detach();
    } catch (const std::system_error&) {
        // Without a thread, the locks measure it.
    }
}

std::shared_ptr<robaxi::Link> connect(const std::shared_ptr<robaxi::Runtime>& runtime,
                                      const robaxi::Place& place, robaxi::Deadline deadline) {
    return std::make_shared<robaxi::ClientSession>(runtime, place, deadline);
}

std::unique_ptr<robaxi::RunningServer> listen(const std::shared_ptr<robaxi::Runtime>& runtime,
                                              const std::shared_ptr<robaxi::HostedModules>& modules,
                                              const std::string& address, int port) {
    return std::make_unique<robaxi::Server>(runtime, modules, address, port);
}

constexpr robaxi::Engine a_engine{&connect, &listen};

}  // namespace

const robaxi::Engine* robaxiEngine(const char* version) {
    if (std::string(version) != ROBAXI_VERSION) {
        return nullptr;
    }
    measureClock();
    return &a_engine;
}
