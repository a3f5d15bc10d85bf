#include "ros2/node_list.h"

#include <base/listed.h>
#include <base/safe_text.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

namespace bridge {

namespace {

constexpr int a_depth = 4096;                         // messages between two rounds
constexpr std::size_t a_largestMessage = 1UL << 20U;  // bytes
constexpr std::size_t a_mostNodesTotal = 4096;
constexpr std::size_t a_mostNodeValues = 2 * a_mostNodesTotal;

// The first bytes of the identifiers of a participant and of all its writers and readers.
constexpr std::ptrdiff_t a_prefix = 12;

std::string hexOf(const Guid& guid) {
    constexpr const char* digits = "0123456789abcdef";
    std::string result;
    for (const std::uint8_t byte : guid) {
        result += digits[byte >> 4U];
        result += digits[byte & 15U];
    }
    return result;
}

/** Returns the lowest identifier of a participant's writers and readers. */
Guid firstIdOf(const Guid& participant) {
    Guid first{};
    std::copy_n(participant.begin(), a_prefix, first.begin());
    return first;
}

bool isOf(const Guid& participant, const Guid& endpoint) {
    return std::equal(participant.begin(), participant.begin() + a_prefix, endpoint.begin());
}

/** Returns the group of the nodes of a participant. */
std::string groupOf(const Guid& participant) {
    return "nodes of " + hexOf(participant);
}

ReadTopic nodeTopic() {
    ReadTopic topic{a_nodeTopic, a_nodeType, std::make_shared<Arrivals>(), true, a_depth};
    topic.fArrivals->fLargest = a_largestMessage;
    return topic;
}

}  // namespace

NodeList::NodeList(dds_entity_t participant, EventLoop& loop, Discovery& discovery, Sink& sink)
    : fDiscovery(discovery),
      fSink(sink),
      fReader(participant, loop, nodeTopic(), [this] { xTake(); }) {
}

NodeList::~NodeList() {
    for (const auto& [participant, values] : fNodes) {
        fSink.removeGroup(groupOf(participant));
    }
}

void NodeList::xTake() {
    // Those that have sent the messages are known by now.
    fDiscovery.takeParticipants();
    std::map<Guid, NodeInfo> newest;
    for (const TakenSample& sample : fReader.take()) {
        std::optional<NodeInfo> info = nodeInfoOf(sample.fSample->bytes());
        // The last message of a participant may be taken after its end.
        if (info && fDiscovery.participants().count(info->fParticipant) != 0) {
            newest[info->fParticipant] = std::move(*info);
        }
    }
    for (const auto& [participant, info] : newest) {
        xShow(info);
    }
}

void NodeList::remove(const Guid& participant) {
    if (fNodes.count(participant) != 0) {
        xShow({participant, {}});
    }
}

std::vector<SourceValue> NodeList::xForget(const Guid& participant) {
    auto writer = fNodeOfWriter.lower_bound(firstIdOf(participant));
    while (writer != fNodeOfWriter.end() && isOf(participant, writer->first)) {
        writer = fNodeOfWriter.erase(writer);
    }
    const auto former = fNodes.find(participant);
    if (former == fNodes.end()) {
        return {};
    }
    std::vector<SourceValue> values = std::move(former->second);
    fNodes.erase(former);
    fNodeValues -= values.size();
    return values;
}

void NodeList::xShow(const NodeInfo& info) {
    const std::vector<SourceValue> former = xForget(info.fParticipant);
    std::vector<SourceValue> values;
    for (const Node& node : info.fNodes) {
        if (fNodeValues + values.size() >= a_mostNodeValues) {
            if (!std::exchange(fHasReportedNodes, true)) {
                fSink.complain("there are more than " + std::to_string(a_mostNodesTotal) +
                               " nodes; the others are left out");
            }
            break;
        }
        const std::string name = base::oneLine(base::shortened(node.fName, 200));
        values.push_back({"ROS/Nodes" + name + "/Publishers", "", "Topics that the node publishes",
                          static_cast<std::int64_t>(node.fWriters.size())});
        values.push_back({"ROS/Nodes" + name + "/Subscribers", "",
                          "Topics that the node subscribes to",
                          static_cast<std::int64_t>(node.fReaders.size())});
        for (const Guid& writer : node.fWriters) {
            if (isOf(info.fParticipant, writer) && fNodeOfWriter.size() < a_mostEndpoints) {
                fNodeOfWriter[writer] = name;
            }
        }
    }
    if (values.empty()) {
        fSink.removeGroup(groupOf(info.fParticipant));
    } else {
        fSink.replaceValues(groupOf(info.fParticipant), values);
        fNodeValues += values.size();
        fNodes[info.fParticipant] = std::move(values);
    }
    xShowTwins(info.fParticipant, former);
}

void NodeList::xShowTwins(const Guid& participant, const std::vector<SourceValue>& former) {
    std::set<std::string_view> names;
    for (const SourceValue& value : former) {
        names.insert(value.fName);
    }
    for (const auto& [other, values] : fNodes) {
        const bool isTwin =
            other != participant &&
            std::any_of(values.begin(), values.end(),
                        [&](const SourceValue& value) { return names.count(value.fName) != 0; });
        if (isTwin) {
            fSink.setValues(groupOf(other), values);
        }
    }
}

std::string NodeList::namesFor(const std::map<Guid, Endpoint>& writers) const {
    constexpr std::size_t most = 8;
    std::set<std::string> names;
    for (const auto& [guid, endpoint] : writers) {
        const auto node = fNodeOfWriter.find(guid);
        if (node != fNodeOfWriter.end() && names.size() < most) {
            names.insert(node->second);
        }
    }
    return base::listed(names);
}

}  // namespace bridge
