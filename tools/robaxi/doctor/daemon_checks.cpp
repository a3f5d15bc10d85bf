#include "doctor/checks.h"
#include "network/avahi_client.h"

namespace robaxi_tool {

namespace {

/** By then every host has answered. */
constexpr std::chrono::milliseconds a_longestListening(2500);

/** Longer than any lookup that does not wait for a server. */
constexpr std::chrono::milliseconds a_slowLookup(2000);

const Finding a_noDaemon = {Verdict::Skipped, "This needs an Avahi daemon that answers.", {}};

/** Returns the state of the Avahi daemon; waits a_daemonPatience once in an examination. */
AvahiState stateOfAvahi(Examination& examination) {
    if (!examination.fIsAvahiHung) {
        Bell bell(examination.fInterruption);
        if (const auto state = resultInTime(a_daemonPatience, bell, &askAvahi)) {
            return *state;
        }
        examination.fIsAvahiHung = true;
    }
    AvahiState hung;
    hung.fIsHung = true;
    return hung;
}

std::string counted(std::size_t number, const std::string& what) {
    return std::to_string(number) + ' ' + what + (number == 1 ? "" : "s");
}

}  // namespace

Finding checkBus(Examination& examination) {
    const AvahiState state = stateOfAvahi(examination);
    if (state.fIsHung) {
        return {Verdict::Skipped, "This is asked through the Avahi daemon, which hangs.", {}};
    }
    if (state.fBusError.empty()) {
        return {Verdict::Good, "The system message bus (D-Bus) answers.", {}};
    }
    return {Verdict::Problem,
            "The system message bus (D-Bus) does not answer: " + state.fBusError + '.',
            "sudo systemctl start dbus. In a container, share /run/dbus with it."};
}

Finding checkDaemon(Examination& examination) {
    const AvahiState state = stateOfAvahi(examination);
    if (state.fIsHung) {
        return {Verdict::Problem,
                "The Avahi daemon does not answer, so no robot is found by itself.",
                "sudo systemctl restart avahi-daemon"};
    }
    if (!state.fBusError.empty()) {
        return {Verdict::Skipped, "This needs the system message bus.", {}};
    }
    if (!state.fIsRunning) {
        return {Verdict::Problem,
                "The Avahi daemon is not running, so no robot is found by itself.",
                "sudo apt install avahi-daemon && sudo systemctl enable --now avahi-daemon"};
    }
    return {Verdict::Good, state.fVersion + " runs; this computer is " + state.fHostName + '.', {}};
}

Finding checkNames(Examination& examination) {
    const AvahiState state = stateOfAvahi(examination);
    if (!state.fIsRunning) {
        return a_noDaemon;
    }
    const Clock::time_point start = Clock::now();
    const auto addresses = examination.lookUp(state.fHostName);
    if (!addresses || (!addresses->empty() && Clock::now() - start > a_slowLookup)) {
        return {
            addresses ? Verdict::Note : Verdict::Problem,
            "Avahi knows this computer as " + state.fHostName + ", but the system's resolver " +
                (addresses ? "was slow to answer." : "did not answer in time."),
            "Check the DNS servers in /etc/resolv.conf: the resolver asks them first, and waits "
            "for those that are dead."};
    }
    if (!addresses->empty()) {
        return {Verdict::Good, "Names of the local network resolve.", {}};
    }
    if (!state.fHasItsName) {
        return {Verdict::Skipped,
                "The Avahi daemon is still establishing the name " + state.fHostName + '.',
                "Try again in a few seconds."};
    }
    return {Verdict::Problem,
            "Names of the local network do not resolve: not even this computer's own, " +
                state.fHostName + '.',
            "sudo apt install libnss-mdns; the line 'hosts:' of /etc/nsswitch.conf must have "
            "'mdns4_minimal [NOTFOUND=return]' before 'dns'."};
}

Finding checkAnnouncements(Examination& examination) {
    if (!stateOfAvahi(examination).fIsRunning) {
        return a_noDaemon;
    }
    Bell bell(examination.fInterruption);
    AnnouncedHosts hosts(bell);
    hosts.waitForStart();
    const auto heardTarget = [&] {
        examination.fAnnounced = hosts.hosts();
        return examination.fTarget &&
               completeAnnouncement(*examination.fTarget, examination.fAnnounced) != nullptr;
    };
    const bool isEarly = bell.waitUntil(Clock::now() + a_longestListening, heardTarget);
    examination.fHeardAnnouncements = true;
    if (isEarly) {
        return {Verdict::Good, "Heard of " + examination.fTarget->fHost + '.', {}};
    }
    std::size_t robots = 0;
    for (const auto& [key, host] : examination.fAnnounced) {
        robots += host.isRobot() ? 1 : 0;
    }
    if (examination.fAnnounced.empty()) {
        return {Verdict::Note, "No robot or computer announces itself.",
                "Check that the robot is switched on and on this network. Wireless networks often "
                "keep their members apart (\"client isolation\")."};
    }
    return {Verdict::Good,
            "Heard of " + counted(robots, "robot") + " and " +
                counted(examination.fAnnounced.size() - robots, "computer") + '.',
            {}};
}

}  // namespace robaxi_tool
