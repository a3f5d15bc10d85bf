#include "conform/conformance.h"

#include "conform/subject.h"
#include "process/failure.h"

#include <base/address.h>

#include <failure.h>
#include <net/channel.h>
#include <net/socket_address.h>

namespace robaxi_tool {

namespace {

/** Room for messages above the robot's limits. */
constexpr std::size_t a_largestMessage = std::size_t{64} << 20U;

const std::vector<ConformCheck>& allChecks() {
    static const std::vector<ConformCheck> checks = [] {
        std::vector<ConformCheck> all;
        for (const auto& group :
             {sessionChecks(), callChecks(), valueChecks(), subscriptionChecks(), frameChecks(),
              limitChecks(), securityChecks(), resumeChecks(), announcingChecks()}) {
            all.insert(all.end(), group.begin(), group.end());
        }
        return all;
    }();
    return checks;
}

robaxi::ClientSecurity securityOf(const ConformRequest& request) {
    const Endpoint& place = request.fEndpoint;
    KVSettings::Access access = request.fSettings.accessTo(place.fHost, place.fPort);
    try {
        return robaxi::ClientSecurity(access, place.fHost);
    } catch (const robaxi::Failure& failure) {
        throw Failure(ExitStatus::WrongUsage, failure.fDetail + ". " + failure.fAdvice);
    }
}

ConformResult resultOf(const ConformCheck& check, Subject& robot) {
    using Verdict = ConformResult::Verdict;
    try {
        check.fRun(robot);
        return {Verdict::Passed, {}};
    } catch (const Fault& fault) {
        return {Verdict::Failed, fault.what()};
    } catch (const NotChecked& reason) {
        return {Verdict::Skipped, reason.what()};
    }
}

/** Returns true if the robot still opens a session. */
bool isAlive(Subject& robot) {
    try {
        const Session session(robot);
        return true;
    } catch (const Fault&) {
        return false;
    }
}

Failure unreachable(const Endpoint& place) {
    const std::string name = base::hostAndPort(place.fHost, place.fPort);
    return {ExitStatus::Unreachable,
            "There is no connection to " + name + "; 'robaxi doctor " + name + "' finds out why"};
}

robaxi::SocketAddress listenerOf(const ConformRequest& request) {
    const Endpoint& place = request.fEndpoint;
    try {
        return robaxi::findListener(place.fHost, place.fPort, place.fAddresses,
                                    Clock::now() + std::chrono::seconds(request.fTimeout));
    } catch (const robaxi::Failure&) {
        throw unreachable(place);
    }
}

void run(const ConformRequest& request) {
    const robaxi::ClientSecurity security = securityOf(request);
    KVSettings::Limits limits = request.fSettings.fLimits;
    limits.fMessage = a_largestMessage;
    const robaxi::SocketAddress listener = listenerOf(request);
    Subject robot(request, listener, robaxi::createChannel(listener.toTarget(), security, limits),
                  security.token());
    if (!robot.wire().connect(robot.deadline())) {
        throw unreachable(request.fEndpoint);
    }
    std::string killer;
    for (const ConformCheck* const check : request.fChecks) {
        if (!killer.empty()) {
            request.fReport(*check, {ConformResult::Verdict::Skipped,
                                     "The robot opens no session since " + killer + "."});
            continue;
        }
        const ConformResult result = resultOf(*check, robot);
        request.fReport(*check, result);
        if (result.fVerdict == ConformResult::Verdict::Failed && !isAlive(robot)) {
            killer = check->fName;
        }
    }
}

}  // namespace

}  // namespace robaxi_tool

const robaxi_tool::Conformance* robaxiConformance() {
    static const robaxi_tool::Conformance functions{&robaxi_tool::allChecks, &robaxi_tool::run};
    return &functions;
}
