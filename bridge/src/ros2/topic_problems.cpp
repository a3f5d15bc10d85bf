#include "ros2/topic_problems.h"

#include "ros2/names.h"
#include "ros2/qos_policies.h"

#include <base/safe_text.h>

#include <cstddef>
#include <map>
#include <set>

namespace bridge {

std::string problemOf(const Topic& topic) {
    if (!topic.fProblem.empty()) {
        return topic.fProblem;
    }
    if (!topic.fMatchProblem.empty()) {
        return topic.fMatchProblem;
    }
    return topic.fRole == Role::Counted && !topic.fIsAwaited
               ? "no known type: the bridge does not know it, and its publisher does not describe "
                 "it"
               : std::string();
}

std::string matchProblemOf(const Topic& topic) {
    // Most nodes have the same few policies.
    constexpr std::size_t most = 32;
    const auto kindsOf = [](const std::map<Guid, Endpoint>& endpoints) {
        std::set<QosPolicies> kinds;
        for (const auto& [guid, endpoint] : endpoints) {
            if (kinds.size() < most) {
                kinds.insert(endpoint.fPolicies);
            }
        }
        return kinds;
    };
    const std::set<QosPolicies> writers = kindsOf(topic.fWriters);
    const QosPolicies ours = policiesOf(makeReaderQos(false, 1).get());
    for (const QosPolicies& writer : writers) {
        const std::string policies = mismatch(writer, ours);
        if (!policies.empty()) {
            return "the bridge does not match the QoS of a publisher: " + policies;
        }
    }
    const QosPolicies writing = policiesOf(makeWriterQos().get());
    for (const QosPolicies& reader : kindsOf(topic.fReaders)) {
        std::string policies;
        for (const QosPolicies& writer : writers) {
            policies = mismatch(writer, reader);
            if (policies.empty()) {
                break;
            }
        }
        if (!policies.empty()) {
            return "a subscriber receives nothing, since no publisher matches its QoS: " + policies;
        }
        if (topic.fWriter && !mismatch(writing, reader).empty()) {
            return "a subscriber does not receive what is set, since the bridge does not match its "
                   "QoS: " +
                   mismatch(writing, reader);
        }
    }
    for (const auto& [guid, reader] : topic.fReaders) {
        if (reader.fType != topic.fType) {
            return "a subscriber expects another type, " +
                   base::oneLine(base::shortened(rosType(reader.fType), 200));
        }
    }
    return {};
}

}  // namespace bridge
