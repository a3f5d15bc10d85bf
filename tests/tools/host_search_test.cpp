#include "network/host_search.h"

#include <base/address.h>

#include <gtest/gtest.h>

namespace robaxi_tool {
namespace {

using Kind = SearchDecision::Kind;
using namespace std::chrono_literals;

void expectFound(const std::string& host, int port, const SearchDecision& decision) {
    EXPECT_EQ(Kind::Found, decision.fKind);
    EXPECT_EQ(base::hostAndPort(host, port),
              base::hostAndPort(decision.fEndpoint.fHost, decision.fEndpoint.fPort));
}

TEST(HostSearch, AnAnnouncementTellsThePort) {
    SearchState state;
    state.fAnnounced = Endpoint{"robot1.local", 7000};
    expectFound("robot1.local", 7000, decide({"robot1", std::nullopt}, state));
}

TEST(HostSearch, ThePortOfTheUserGoesBeforeTheAnnouncedOne) {
    SearchState state;
    state.fAnnounced = Endpoint{"robot1.local", 7000};
    expectFound("robot1.local", 80, decide({"robot1", 80}, state));
}

TEST(HostSearch, AnAnnouncedRobotIsReachedAtAvahisAddressesWhichMayTakeHalfASecond) {
    SearchState state;
    state.fAnnounced = Endpoint{"robot1.local", 7000, {"10.77.1.1"}};
    state.fIsAddressAsked = true;
    state.fElapsed = 400ms;
    EXPECT_EQ(Kind::Wait, decide({"robot1", std::nullopt}, state).fKind);
    state.fElapsed = 500ms;
    expectFound("robot1.local", 7000, decide({"robot1", std::nullopt}, state));
    state.fElapsed = 100ms;
    state.fIsAddressAsked = false;
    state.fAnnounced->fAddresses = {"10.77.1.1", "fe80::1%eth0"};
    const SearchDecision decision = decide({"robot1", std::nullopt}, state);
    expectFound("robot1.local", 7000, decision);
    EXPECT_EQ(state.fAnnounced->fAddresses, decision.fEndpoint.fAddresses);
}

TEST(HostSearch, ANameThatResolvesWaitsForAvahisAddressesForHalfASecond) {
    SearchState state;
    state.fResolved = Endpoint{"robot1.local", 9559, {"10.77.1.1"}};
    state.fIsAddressAsked = true;
    state.fElapsed = 400ms;
    EXPECT_EQ(Kind::Wait, decide({"robot1", 80}, state).fKind);
    state.fElapsed = 500ms;
    const SearchDecision decision = decide({"robot1", 80}, state);
    expectFound("robot1.local", 80, decision);
    EXPECT_EQ(state.fResolved->fAddresses, decision.fEndpoint.fAddresses);
}

// With a dead DNS server, the system's resolver would not answer when connecting either.
TEST(HostSearch, AvahisAddressIsWaitedForAsLongAsTheResolverHasNone) {
    SearchState state;
    state.fAnnounced = Endpoint{"robot1.local", 7000};
    state.fIsAddressAsked = true;
    state.fElapsed = 2900ms;
    EXPECT_EQ(Kind::Wait, decide({"robot1", std::nullopt}, state).fKind);
    state.fIsOver = true;
    expectFound("robot1.local", 7000, decide({"robot1", std::nullopt}, state));
}

TEST(HostSearch, ANameThatResolvesWaitsForItsAnnouncementForHalfASecond) {
    SearchState state;
    state.fResolved = Endpoint{"robot1.local", 9559};
    for (const std::string name : {"robot1", "robot1.local", "Robot1.LOCAL"}) {
        state.fElapsed = 400ms;
        EXPECT_EQ(Kind::Wait, decide({name, std::nullopt}, state).fKind) << name;
        state.fElapsed = 500ms;
        expectFound("robot1.local", 9559, decide({name, std::nullopt}, state));
    }
}

TEST(HostSearch, NothingIsWaitedForThatCannotChangeAnything) {
    SearchState state;
    state.fResolved = Endpoint{"robot1.local", 9559};
    expectFound("robot1.local", 80, decide({"robot1", 80}, state));
    state.fMayBeAnnounced = false;
    expectFound("robot1.local", 9559, decide({"robot1", std::nullopt}, state));
}

TEST(HostSearch, NamesBeyondTheLocalNetworkAndThisComputerAreUsedAtOnce) {
    SearchState state;
    state.fResolved = Endpoint{"robot.example.org", 9559};
    expectFound("robot.example.org", 9559, decide({"robot.example.org", std::nullopt}, state));
    state.fResolved = Endpoint{"localhost", 9559};
    state.fIsThisComputer = true;
    expectFound("localhost", 9559, decide({"localhost", std::nullopt}, state));
}

TEST(HostSearch, IsGivenUpWhenTheNameDoesNotResolveAndNobodyAnnouncesIt) {
    SearchState state;
    state.fElapsed = 1s;
    EXPECT_EQ(Kind::Wait, decide({"robot1", std::nullopt}, state).fKind);
    state.fLookUpsEnded = true;
    EXPECT_EQ(Kind::Wait, decide({"robot1", std::nullopt}, state).fKind);
    state.fElapsed = 2s;
    EXPECT_EQ(Kind::NotFound, decide({"robot1", std::nullopt}, state).fKind);
    state.fElapsed = 0s;
    state.fMayBeAnnounced = false;
    EXPECT_EQ(Kind::NotFound, decide({"robot1", std::nullopt}, state).fKind);
}

TEST(HostSearch, AddressesNeedNoSearch) {
    Interruption interruption;
    EXPECT_EQ(9559, findHost({"10.77.1.1", std::nullopt}, 1, interruption).fPort);
    EXPECT_EQ("::1", findHost({"::1", 80}, 1, interruption).fHost);
}

}  // namespace
}  // namespace robaxi_tool
