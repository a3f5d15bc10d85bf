#include "sighting_registry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using KV::BonjourService;
using KV::bonjour::HostChange;
using KV::bonjour::Sighting;
using KV::bonjour::SightingRegistry;
using Kind = KV::bonjour::HostChange::Kind;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

const char* const a_robot = "_robax._tcp";
const char* const a_middleware = "_robaxi._tcp";
constexpr int a_ipv4 = 0;
constexpr int a_ipv6 = 1;
constexpr int a_wire = 2;
constexpr int a_radio = 3;

Sighting sighted(const std::string& type, const std::string& instance, int interface = a_wire,
                 int protocol = a_ipv4) {
    return {interface, protocol, type, instance, "local"};
}

/** Returns a change as one line, for instance "+ robot1.local _robax._tcp:9559". */
std::string inWords(const HostChange& change) {
    const char* const sign = change.fKind == Kind::Added     ? "+ "
                             : change.fKind == Kind::Updated ? "~ "
                                                             : "- ";
    std::string words = sign + change.fHostName;
    for (const BonjourService& service : change.fServices) {
        words += " " + service.fType + ":" + std::to_string(service.fPort);
    }
    return words;
}

using Words = std::vector<std::string>;

Words inWords(const std::vector<HostChange>& changes) {
    Words words;
    for (const HostChange& change : changes) {
        words.push_back(inWords(change));
    }
    return words;
}

class SightingRegistryTest : public testing::Test {
  protected:
    Words announce(const Sighting& sighting, const std::string& hostName, int port) {
        EXPECT_TRUE(fRegistry.see(sighting));
        return resolve(sighting, hostName, port);
    }
    Words resolve(const Sighting& sighting, const std::string& hostName, int port) {
        return inWords(fRegistry.resolve(sighting, hostName, port));
    }
    Words unresolve(const Sighting& sighting) { return inWords(fRegistry.unresolve(sighting)); }
    Words lose(const Sighting& sighting) { return inWords(fRegistry.lose(sighting)); }
    Words seeAddress(const std::string& key, const std::string& address) {
        return inWords(fRegistry.seeAddress(key, address));
    }
    Words loseAddress(const std::string& key, const std::string& address) {
        return inWords(fRegistry.loseAddress(key, address));
    }

    SightingRegistry fRegistry;
};

TEST_F(SightingRegistryTest, aResolvedServiceAddsItsHost) {
    EXPECT_THAT(announce(sighted(a_robot, "Robot 1"), "robot1.local", 9559),
                ElementsAre("+ robot1.local _robax._tcp:9559"));
}

TEST_F(SightingRegistryTest, aServiceThatIsOnlySeenAddsNothing) {
    EXPECT_TRUE(fRegistry.see(sighted(a_robot, "Robot 1")));
    EXPECT_THAT(lose(sighted(a_robot, "Robot 1")), IsEmpty());
}

TEST_F(SightingRegistryTest, aSightingIsSeenOnce) {
    EXPECT_TRUE(fRegistry.see(sighted(a_robot, "Robot 1")));
    EXPECT_FALSE(fRegistry.see(sighted(a_robot, "Robot 1")));
    fRegistry.lose(sighted(a_robot, "Robot 1"));
    EXPECT_TRUE(fRegistry.see(sighted(a_robot, "Robot 1")));
}

TEST_F(SightingRegistryTest, anAnswerForAServiceThatIsGoneIsPassedOver) {
    announce(sighted(a_robot, "Robot 1"), "robot1.local", 9559);
    lose(sighted(a_robot, "Robot 1"));
    EXPECT_THAT(resolve(sighted(a_robot, "Robot 1"), "robot1.local", 9559), IsEmpty());
    EXPECT_THAT(unresolve(sighted(a_robot, "Robot 1")), IsEmpty());
}

TEST_F(SightingRegistryTest, theServicesOfAHostAreGatheredInTheOrderOfTheirAnnouncement) {
    announce(sighted(a_robot, "Robot 1"), "robot1.local", 9559);
    EXPECT_THAT(announce(sighted(a_middleware, "Robaxi on 1"), "robot1.local", 9560),
                ElementsAre("~ robot1.local _robax._tcp:9559 _robaxi._tcp:9560"));
    EXPECT_THAT(announce(sighted(a_middleware, "Another"), "robot1.local", 9000),
                ElementsAre("~ robot1.local _robax._tcp:9559 _robaxi._tcp:9560 _robaxi._tcp:9000"));
}

TEST_F(SightingRegistryTest, losingOneServiceOfSeveralUpdatesTheHost) {
    announce(sighted(a_robot, "Robot 1"), "robot1.local", 9559);
    announce(sighted(a_middleware, "Robot 1"), "robot1.local", 9559);
    EXPECT_THAT(lose(sighted(a_robot, "Robot 1")), ElementsAre("~ robot1.local _robaxi._tcp:9559"));
}

TEST_F(SightingRegistryTest, losingTheLastServiceRemovesTheHost) {
    announce(sighted(a_robot, "Robot 1"), "robot1.local", 9559);
    EXPECT_THAT(lose(sighted(a_robot, "Robot 1")), ElementsAre("- robot1.local"));
    EXPECT_THAT(lose(sighted(a_robot, "Robot 1")), IsEmpty());
}

TEST_F(SightingRegistryTest, sightingsOfOneServiceOnOtherInterfacesAndProtocolsAreOneService) {
    announce(sighted(a_robot, "Robot 1", a_wire, a_ipv4), "robot1.local", 9559);
    EXPECT_THAT(announce(sighted(a_robot, "Robot 1", a_wire, a_ipv6), "robot1.local", 9559),
                IsEmpty());
    EXPECT_THAT(announce(sighted(a_robot, "Robot 1", a_radio, a_ipv4), "robot1.local", 9559),
                IsEmpty());
    EXPECT_THAT(lose(sighted(a_robot, "Robot 1", a_wire, a_ipv4)), IsEmpty());
    EXPECT_THAT(lose(sighted(a_robot, "Robot 1", a_radio, a_ipv4)), IsEmpty());
    EXPECT_THAT(lose(sighted(a_robot, "Robot 1", a_wire, a_ipv6)), ElementsAre("- robot1.local"));
}

TEST_F(SightingRegistryTest, aServiceAnnouncedUnderTwoNamesIsOneService) {
    announce(sighted(a_robot, "Robot 1"), "robot1.local", 9559);
    EXPECT_THAT(announce(sighted(a_robot, "Robot 1 #2"), "robot1.local", 9559), IsEmpty());
    EXPECT_THAT(lose(sighted(a_robot, "Robot 1")), IsEmpty());
    EXPECT_THAT(lose(sighted(a_robot, "Robot 1 #2")), ElementsAre("- robot1.local"));
}

TEST_F(SightingRegistryTest, oneNameOnTwoNetworksMayLeadToTwoHosts) {
    announce(sighted(a_robot, "Robot", a_wire), "robot1.local", 9559);
    EXPECT_THAT(announce(sighted(a_robot, "Robot", a_radio), "robot2.local", 9559),
                ElementsAre("+ robot2.local _robax._tcp:9559"));
}

TEST_F(SightingRegistryTest, theSameAnswerAgainChangesNothing) {
    announce(sighted(a_robot, "Robot 1"), "robot1.local", 9559);
    announce(sighted(a_middleware, "Robot 1"), "robot1.local", 9559);
    EXPECT_THAT(resolve(sighted(a_robot, "Robot 1"), "robot1.local", 9559), IsEmpty());
}

TEST_F(SightingRegistryTest, aChangedPortUpdatesTheHostInOneStep) {
    announce(sighted(a_middleware, "Robot 1"), "robot1.local", 9559);
    EXPECT_THAT(resolve(sighted(a_middleware, "Robot 1"), "robot1.local", 9560),
                ElementsAre("~ robot1.local _robaxi._tcp:9560"));
}

TEST_F(SightingRegistryTest, aChangedHostNameMovesTheService) {
    announce(sighted(a_robot, "Robot 1"), "robot1.local", 9559);
    announce(sighted(a_middleware, "Robot 1"), "robot1.local", 9559);
    EXPECT_THAT(
        resolve(sighted(a_robot, "Robot 1"), "renamed.local", 9559),
        ElementsAre("~ robot1.local _robaxi._tcp:9559", "+ renamed.local _robax._tcp:9559"));
    EXPECT_THAT(
        resolve(sighted(a_middleware, "Robot 1"), "renamed.local", 9559),
        ElementsAre("- robot1.local", "~ renamed.local _robax._tcp:9559 _robaxi._tcp:9559"));
}

TEST_F(SightingRegistryTest, aHostThatStopsAnsweringIsRemovedUntilItAnswersAgain) {
    announce(sighted(a_robot, "Robot 1"), "robot1.local", 9559);
    EXPECT_THAT(unresolve(sighted(a_robot, "Robot 1")), ElementsAre("- robot1.local"));
    EXPECT_THAT(unresolve(sighted(a_robot, "Robot 1")), IsEmpty());
    EXPECT_THAT(resolve(sighted(a_robot, "Robot 1"), "robot1.local", 9559),
                ElementsAre("+ robot1.local _robax._tcp:9559"));
}

TEST_F(SightingRegistryTest, hostNamesThatDifferInCaseAreOneHost) {
    announce(sighted(a_robot, "Robot 1"), "Robot1.local", 9559);
    EXPECT_THAT(announce(sighted(a_middleware, "Robot 1"), "robot1.LOCAL", 9559),
                ElementsAre("~ Robot1.local _robax._tcp:9559 _robaxi._tcp:9559"));
}

TEST_F(SightingRegistryTest, theKeyOfAHostIsItsNameInLowerCase) {
    const Sighting sighting = sighted(a_robot, "Robot 1");
    ASSERT_TRUE(fRegistry.see(sighting));
    const std::vector<HostChange> changes = fRegistry.resolve(sighting, "Robot1.local", 9559);
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_EQ(changes.front().fKey, "robot1.local");
}

TEST_F(SightingRegistryTest, clearingRemovesEveryHost) {
    announce(sighted(a_robot, "Robot 1"), "robot1.local", 9559);
    announce(sighted(a_robot, "Robot 1", a_radio), "robot1.local", 9559);
    announce(sighted(a_robot, "Robot 2"), "robot2.local", 9559);
    EXPECT_THAT(inWords(fRegistry.clear()), ElementsAre("- robot1.local", "- robot2.local"));
    EXPECT_THAT(inWords(fRegistry.clear()), IsEmpty());
    EXPECT_THAT(announce(sighted(a_robot, "Robot 1"), "robot1.local", 9559),
                ElementsAre("+ robot1.local _robax._tcp:9559"));
}

TEST_F(SightingRegistryTest, aHostThatChangesItsAddressIsRemovedAndAddedAtOnce) {
    announce(sighted(a_robot, "Robot 1"), "Robot1.local", 9559);
    EXPECT_THAT(seeAddress("robot1.local", "10.0.0.1"), IsEmpty());
    EXPECT_THAT(seeAddress("robot1.local", "10.0.0.2"), IsEmpty()) << "it may have both";
    EXPECT_THAT(loseAddress("robot1.local", "10.0.0.1"),
                ElementsAre("- Robot1.local", "+ Robot1.local _robax._tcp:9559"));
}

TEST_F(SightingRegistryTest, aHostThatHasANewAddressAfterHavingNoneIsRemovedAndAdded) {
    announce(sighted(a_robot, "Robot 1"), "robot1.local", 9559);
    seeAddress("robot1.local", "10.0.0.1");
    EXPECT_THAT(loseAddress("robot1.local", "10.0.0.1"), IsEmpty());
    EXPECT_THAT(seeAddress("robot1.local", "10.0.0.2"),
                ElementsAre("- robot1.local", "+ robot1.local _robax._tcp:9559"));
}

TEST_F(SightingRegistryTest, anAddressThatIsLostForAWhileChangesNothing) {
    announce(sighted(a_robot, "Robot 1"), "robot1.local", 9559);
    seeAddress("robot1.local", "10.0.0.1");
    EXPECT_THAT(loseAddress("robot1.local", "10.0.0.1"), IsEmpty());
    EXPECT_THAT(seeAddress("robot1.local", "10.0.0.1"), IsEmpty());
}

TEST_F(SightingRegistryTest, anAddressSeenTwiceIsOneAddress) {
    announce(sighted(a_robot, "Robot 1"), "robot1.local", 9559);
    seeAddress("robot1.local", "10.0.0.1");
    seeAddress("robot1.local", "10.0.0.1");
    seeAddress("robot1.local", "10.0.0.2");
    EXPECT_THAT(loseAddress("robot1.local", "10.0.0.1"), IsEmpty());
    EXPECT_THAT(loseAddress("robot1.local", "10.0.0.1"), Not(IsEmpty()));
}

TEST_F(SightingRegistryTest, aChangedPortDoesNotForgetTheAddresses) {
    announce(sighted(a_robot, "Robot 1"), "robot1.local", 9559);
    seeAddress("robot1.local", "10.0.0.1");
    resolve(sighted(a_robot, "Robot 1"), "robot1.local", 9560);
    seeAddress("robot1.local", "10.0.0.2");
    EXPECT_THAT(loseAddress("robot1.local", "10.0.0.1"), Not(IsEmpty()));
}

TEST_F(SightingRegistryTest, anAddressOfAnUnknownHostIsPassedOver) {
    EXPECT_THAT(seeAddress("robot1.local", "10.0.0.1"), IsEmpty());
    EXPECT_THAT(loseAddress("robot1.local", "10.0.0.1"), IsEmpty());
}

TEST_F(SightingRegistryTest, addressesBeyondTheLimitArePassedOver) {
    constexpr int limit = SightingRegistry::a_maximumAddressesPerHost;
    announce(sighted(a_robot, "Robot 1"), "robot1.local", 9559);
    for (int number = 1; number <= limit; ++number) {
        seeAddress("robot1.local", "10.0.0." + std::to_string(number));
    }
    seeAddress("robot1.local", "10.0.1.1");
    EXPECT_THAT(loseAddress("robot1.local", "10.0.1.1"), IsEmpty());
    EXPECT_THAT(loseAddress("robot1.local", "10.0.0.1"), Not(IsEmpty()));
}

TEST_F(SightingRegistryTest, aHostUnderAnAddressLiteralIsLeftOut) {
    EXPECT_THAT(announce(sighted(a_robot, "A"), "192.168.1.12", 9559), IsEmpty());
    EXPECT_THAT(announce(sighted(a_robot, "B"), "192\\.168\\.1\\.12", 9559), IsEmpty());
    EXPECT_THAT(announce(sighted(a_robot, "C"), "fe80\\058\\0581", 9559), IsEmpty());
}

TEST_F(SightingRegistryTest, aHostWithoutANameIsLeftOut) {
    EXPECT_THAT(announce(sighted(a_robot, "A"), "", 9559), IsEmpty());
}

TEST_F(SightingRegistryTest, aHostThatTakesAnAddressAsItsNameIsRemoved) {
    announce(sighted(a_robot, "A"), "robot1.local", 9559);
    EXPECT_THAT(resolve(sighted(a_robot, "A"), "10.0.0.1", 9559), ElementsAre("- robot1.local"));
}

TEST_F(SightingRegistryTest, aPortThatIsNoneIsLeftOut) {
    EXPECT_THAT(announce(sighted(a_robot, "A"), "robot1.local", 0), IsEmpty());
    EXPECT_THAT(announce(sighted(a_robot, "B"), "robot1.local", -1), IsEmpty());
    EXPECT_THAT(announce(sighted(a_robot, "C"), "robot1.local", 65536), IsEmpty());
    EXPECT_THAT(announce(sighted(a_robot, "D"), "robot1.local", 65535),
                ElementsAre("+ robot1.local _robax._tcp:65535"));
    EXPECT_THAT(announce(sighted(a_robot, "E"), "robot2.local", 1),
                ElementsAre("+ robot2.local _robax._tcp:1"));
}

TEST_F(SightingRegistryTest, aHostileNameIsMadeSafeAndMarkupStaysText) {
    EXPECT_THAT(announce(sighted(a_robot, "A"), "\\060b\\062\\010\\255.local", 9559),
                ElementsAre("+ <b>\xEF\xBF\xBD\xEF\xBF\xBD.local _robax._tcp:9559"));
}

TEST_F(SightingRegistryTest, aNameOfTheGreatestSizeIsKept) {
    const std::string name(255, 'x');
    EXPECT_THAT(announce(sighted(a_robot, "A"), name, 9559),
                ElementsAre("+ " + name + " _robax._tcp:9559"));
}

TEST_F(SightingRegistryTest, hostsBeyondTheLimitAreLeftOutAndThatIsSaidOnce) {
    for (std::size_t number = 0; number < SightingRegistry::a_maximumHosts; ++number) {
        const std::string name = "robot" + std::to_string(number);
        ASSERT_THAT(announce(sighted(a_robot, name), name + ".local", 9559), Not(IsEmpty()));
    }
    testing::internal::CaptureStderr();
    EXPECT_THAT(announce(sighted(a_robot, "late"), "late.local", 9559), IsEmpty());
    EXPECT_THAT(announce(sighted(a_robot, "later"), "later.local", 9559), IsEmpty());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "bonjour: more than 4096 hosts are announced; the others are left out\n");

    EXPECT_THAT(announce(sighted(a_middleware, "robot7"), "robot7.local", 9559),
                ElementsAre("~ robot7.local _robax._tcp:9559 _robaxi._tcp:9559"))
        << "a host that is in is kept up to date";
    EXPECT_THAT(resolve(sighted(a_robot, "robot8"), "renamed.local", 9559),
                ElementsAre("- robot8.local", "+ renamed.local _robax._tcp:9559"))
        << "a host that changes its name keeps its place";
    EXPECT_THAT(lose(sighted(a_robot, "robot9")), ElementsAre("- robot9.local"));
    EXPECT_THAT(resolve(sighted(a_robot, "late"), "late.local", 9559),
                ElementsAre("+ late.local _robax._tcp:9559"))
        << "there is room again";
}

TEST_F(SightingRegistryTest, servicesOfAHostBeyondTheLimitAreLeftOutAndThatIsSaidOnce) {
    constexpr int limit = SightingRegistry::a_maximumServicesPerHost;
    for (int port = 1; port <= limit; ++port) {
        ASSERT_THAT(announce(sighted(a_robot, std::to_string(port)), "robot1.local", port),
                    Not(IsEmpty()));
    }
    testing::internal::CaptureStderr();
    EXPECT_THAT(announce(sighted(a_robot, "late"), "robot1.local", limit + 1), IsEmpty());
    EXPECT_THAT(announce(sighted(a_robot, "later"), "robot1.local", limit + 2), IsEmpty());
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "bonjour: more than 64 services of one host are announced; the others are left out\n");
    EXPECT_THAT(lose(sighted(a_robot, "late")), IsEmpty());
}

TEST_F(SightingRegistryTest, sightingsBeyondTheLimitAreLeftOutAndThatIsSaidOnce) {
    for (std::size_t number = 0; number < SightingRegistry::a_maximumSightings; ++number) {
        ASSERT_TRUE(fRegistry.see(sighted(a_robot, std::to_string(number))));
    }
    testing::internal::CaptureStderr();
    EXPECT_FALSE(fRegistry.see(sighted(a_robot, "late")));
    EXPECT_FALSE(fRegistry.see(sighted(a_robot, "later")));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "bonjour: more than 16384 services are announced; the others are left out\n");
    EXPECT_THAT(resolve(sighted(a_robot, "late"), "late.local", 9559), IsEmpty());
    fRegistry.lose(sighted(a_robot, "0"));
    EXPECT_TRUE(fRegistry.see(sighted(a_robot, "late")));
}

}  // namespace
