#include "binary_value.h"

#include <bonjour/bonjour_discovery.h>
#include <bonjour/bonjour_profile.h>

#include <gtest/gtest.h>

#include <thread>

namespace {

using KV::BonjourDiscovery;
using KV::BonjourProfile;
using obvista_test::binaryValue;

TEST(BonjourDiscovery, namesTheServiceTypesAndThePortOfTheMiddleware) {
    EXPECT_EQ(BonjourDiscovery::fRobaxServiceType, "_robax._tcp");
    EXPECT_EQ(BonjourDiscovery::fRobaxiServiceType, "_robaxi._tcp");
    EXPECT_EQ(BonjourDiscovery::fDefaultRobaxiPort, 9559);
}

TEST(BonjourProfile, isEmptyAtFirst) {
    const BonjourProfile profile;
    EXPECT_EQ(profile.fIP, "");
    EXPECT_TRUE(profile.fServices.empty());
    EXPECT_FALSE(profile.hasBitmapBinary());
    EXPECT_TRUE(profile.getBitmapBinary().isNothing());
    EXPECT_NE(profile.fMutex, nullptr);
}

TEST(BonjourProfile, knowsItsServicesByTheirWholeType) {
    BonjourProfile profile;
    profile.fServices = {{BonjourDiscovery::fRobaxiServiceType, 9559}};
    EXPECT_TRUE(profile.hasService(BonjourDiscovery::fRobaxiServiceType));
    EXPECT_FALSE(profile.hasService(BonjourDiscovery::fRobaxServiceType));
}

TEST(BonjourProfile, givesBackTheIconItWasGiven) {
    BonjourProfile profile;
    profile.setBitmapBinary(binaryValue("picture"));
    EXPECT_TRUE(profile.hasBitmapBinary());
    EXPECT_EQ(profile.getBitmapBinary(), binaryValue("picture"));
}

TEST(BonjourProfile, countsNoBytesAndOtherValuesAsNoIcon) {
    BonjourProfile profile;
    profile.setBitmapBinary(binaryValue(""));
    EXPECT_FALSE(profile.hasBitmapBinary());
    profile.setBitmapBinary(KVValue("a text"));
    EXPECT_FALSE(profile.hasBitmapBinary());
}

TEST(BonjourProfile, guardsItsIconByItselfWhileItsLockIsHeldForReading) {
    BonjourProfile profile;
    std::thread writer([&profile] {
        for (int round = 0; round < 1000; ++round) {
            profile.setBitmapBinary(binaryValue("picture"));
        }
    });
    for (int round = 0; round < 1000; ++round) {
        const KVCriticalSectionRead lock(profile.fMutex);
        if (profile.hasBitmapBinary()) {
            EXPECT_EQ(profile.getBitmapBinary(), binaryValue("picture"));
        }
    }
    writer.join();
    EXPECT_TRUE(profile.hasBitmapBinary());
}

}  // namespace
