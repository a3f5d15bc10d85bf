// Goes through the steps of a program's start and reports after each whether the engine is loaded.
//
//   robaxi_engine_program connect|listen [MISSING_FILE COPY_OF_IT]
//
// With files, it puts the missing one in its place after the failure and tries again.
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_frame_source.h>
#include <robaxi/kv_mutex.h>
#include <robaxi/kv_value_table.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>

using robaxi_test::BrokerPtr;

namespace {

constexpr int a_closedPort = 1;

bool engineIsLoaded() {
    std::ifstream mappings("/proc/self/maps");
    std::string line;
    while (std::getline(mappings, line)) {
        if (line.find("libgrpc") != std::string::npos ||
            line.find("librobaxi_engine") != std::string::npos) {
            return true;
        }
    }
    return false;
}

void report(const std::string& step) {
    std::cout << step << ": " << (engineIsLoaded() ? "loaded" : "not loaded") << std::endl;
}

/** Everything that needs no network. */
BrokerPtr makeBrokerWithModule() {
    const auto module = std::make_shared<KVModule>("Local", "");
    const auto table = std::make_shared<KVValueTable>();
    KVKeyInfo key;
    key.fName = "a";
    table->addKey(key, 1);
    module->setValues(table);
    module->setFrames(std::make_shared<KVFrameSource>());
    const KVCriticalSection section(KVMutex::createKVMutex());
    auto broker = robaxi_test::makeClient(KVSettings::load());
    broker->addModule(module);
    return broker;
}

void tryTo(const std::string& way, const BrokerPtr& client) {
    try {
        if (way == "listen") {
            robaxi_test::makeServer();
        } else {
            KVConnection::open(client, robaxi_test::a_loopback, a_closedPort, 20);
        }
        std::cout << way << ": done" << std::endl;
    } catch (const KVError& error) {
        std::cout << way << ": " << error.toString() << std::endl;
    }
    report(way);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        return EXIT_FAILURE;
    }
    const std::string way = argv[1];
    report("start");
    const BrokerPtr client = makeBrokerWithModule();
    report("broker");
    tryTo(way, client);
    if (argc == 4) {
        std::filesystem::copy_file(argv[3], argv[2]);
        tryTo(way, client);
    }
    return EXIT_SUCCESS;
}
