#include <bonjour/bonjour_discovery.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using KV::BonjourDiscovery;

// It runs with the address of a system bus that does not exist.
TEST(BonjourDiscoveryWithoutBus, saysThatTheSystemBusIsMissing) {
    for (int round = 0; round < 2; ++round) {
        try {
            BonjourDiscovery::startListening();
            ADD_FAILURE() << "it listens";
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), testing::HasSubstr("system message bus (D-Bus)"));
        }
        BonjourDiscovery::stopListening();
    }
    EXPECT_TRUE(BonjourDiscovery::getMap().empty());
}

}  // namespace
