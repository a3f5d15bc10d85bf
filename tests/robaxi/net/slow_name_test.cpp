// A name server that does not answer, simulated by a replaced resolver function.
#include "latch.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <dlfcn.h>
#include <netdb.h>

using namespace robaxi_test;

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* a_slowName = "slow.test";

Latch& nameServer() {
    static Latch latch;
    return latch;
}

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

}  // namespace

/** Replaces the system's function of this name, which it calls for every other host. */
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* host,
                                                                  const char* service,
                                                                  const addrinfo* hints,
                                                                  addrinfo** result) {
    const bool isNumeric = hints != nullptr && (hints->ai_flags & AI_NUMERICHOST) != 0;
    if (host != nullptr && std::strcmp(host, a_slowName) == 0 && !isNumeric) {
        nameServer().enter();
        return EAI_AGAIN;
    }
    using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
    static const auto system = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "getaddrinfo"));
    return system(host, service, hints, result);
}

class SlowName : public testing::Test {
  protected:
    ~SlowName() override { nameServer().open(); }
};

TEST_F(SlowName, IsGivenUpWithTheTimeOut) {
    auto client = makeClient();
    const auto start = Clock::now();
    const KVError error = errorOf([&] { KVProxy proxy("KVLeds", a_slowName, 9559, client, 1, 0); });
    EXPECT_CAUSE(error, TimedOut);
    EXPECT_NE(error.toString().find("(the name was not resolved)"), std::string::npos)
        << error.toString();
    EXPECT_GE(secondsSince(start), 1.0);
    EXPECT_LT(secondsSince(start), 5.0) << "the time-out is one second; this machine may be busy";
    EXPECT_EQ(nameServer().countEntries(), 1) << "the name server was asked";

    client.reset();  // if it waited for the running lookup, it would wait for good
    EXPECT_EQ(nameServer().countEntries(), 1);

    nameServer().open();
    EXPECT_CAUSE(errorOf([] { KVConnection::open(makeClient(), a_slowName, 9559, 5); }),
                 NameNotFound);
}
