// A robot for tests that kill or stop it, or measure its memory: hosts "Echo", in "Memory" a
// running counter, and "Talker", whose results have 100 KiB.
#include "test_broker.h"

#include <robaxi/kv_value_table.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

namespace {

std::shared_ptr<KVModule> makeTalker() {
    constexpr std::size_t bytes = 100 * 1024;
    constexpr std::size_t texts = 1000;
    const auto runs = std::make_shared<std::atomic<int>>(0);
    const KVValue::List list(texts, std::string(bytes / texts, 'x'));
    auto talker = std::make_shared<KVModule>("Talker", "Has large results");
    talker->bindMethod({"talk", "", ""}, {}, [list, runs](const KVValue::List&) {
        ++*runs;
        return list;
    });
    talker->bindMethod("runs", [runs] { return runs->load(); });
    return talker;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        return EXIT_FAILURE;
    }
    try {
        const auto broker =
            KVBroker::createBroker({"Process", robaxi_test::a_loopback, std::atoi(argv[1])});
        const auto table = std::make_shared<KVValueTable>();
        KVKeyInfo key;
        key.fName = "counter";
        const std::uint32_t counter = table->addKey(key, 0);
        const auto memory = std::make_shared<KVModule>("Memory", "Counts");
        memory->setValues(table);
        broker->addModule(robaxi_test::makeEcho());
        broker->addModule(memory);
        broker->addModule(makeTalker());
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
