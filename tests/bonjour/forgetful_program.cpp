// Listens to discovery and exits without stopping it, in one of these ways:
//
//   forgetful_program main MILLISECONDS        main() returns after that time
//   forgetful_program starting MILLISECONDS    the same while another thread starts to listen
//   forgetful_program connecting MILLISECONDS  the same while another thread connects handlers
//   forgetful_program handler                  a handler calls exit() with the status 3

#include <bonjour/bonjour_discovery.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

namespace {

using KV::BonjourDiscovery;

std::atomic<int> calls = {0};

void count(const boost::shared_ptr<KV::BonjourProfile>& profile) {
    calls += static_cast<int>(profile->fServices.size());
}

void connectOnAndOn() {
    while (true) {
        BonjourDiscovery::fAddProfile.connect(count).disconnect();
    }
}

void endProgram(const boost::shared_ptr<KV::BonjourProfile>& /*profile*/) {
    std::exit(3);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string way = argc > 1 ? argv[1] : "";
    const std::chrono::milliseconds delay(argc > 2 ? std::atoi(argv[2]) : 60000);
    BonjourDiscovery::fAddProfile.connect(way == "handler" ? endProgram : count);
    BonjourDiscovery::fRemoveProfile.connect(count);
    if (way == "starting") {
        std::thread(BonjourDiscovery::startListening).detach();
    } else {
        BonjourDiscovery::startListening();
    }
    if (way == "connecting") {
        std::thread(connectOnAndOn).detach();
    }
    std::this_thread::sleep_for(delay);
    return EXIT_SUCCESS;
}
