// A robot for tests that kill or stop it: hosts "Echo" and, in "Memory", a running counter.
#include "test_broker.h"

#include <robaxi/kv_value_table.h>

#include <boost/make_shared.hpp>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

int main(int argc, char** argv) {
    if (argc != 2) {
        return EXIT_FAILURE;
    }
    try {
        const auto broker = KVBroker::createBroker("Process", robaxi_test::a_loopback,
                                                   std::atoi(argv[1]), "", 0, 0, "", false);
        const auto table = boost::make_shared<KVValueTable>();
        KVKeyInfo key;
        key.fName = "counter";
        const std::uint32_t counter = table->addKey(key, 0);
        const auto memory = boost::make_shared<KVModule>("Memory", "Counts");
        memory->setValues(table);
        broker->addModule(robaxi_test::makeEcho());
        broker->addModule(memory);
        std::puts("ready");
        std::fflush(stdout);
        for (int n = 1;; ++n) {
            table->setValue(counter, n);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return EXIT_FAILURE;
    }
}
