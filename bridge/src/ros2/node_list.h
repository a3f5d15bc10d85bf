#ifndef OBVISTA_BRIDGE_ROS2_NODE_LIST_H
#define OBVISTA_BRIDGE_ROS2_NODE_LIST_H

#include "ros2/discovery.h"
#include "ros2/event_loop.h"
#include "ros2/node_info.h"
#include "ros2/topic.h"
#include "ros2/topic_reader.h"
#include "source/source.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace bridge {

/** Writers and readers of a domain that are kept. */
constexpr std::size_t a_mostEndpoints = 100'000;

/**
 * The nodes of a domain, which all participants of ROS 2 publish: shows them in the sink under
 * "ROS/Nodes/", and tells which node has a writer.
 */
class NodeList {
  public:
    /** @throws std::runtime_error */
    NodeList(dds_entity_t participant, EventLoop& loop, Discovery& discovery, Sink& sink);
    ~NodeList();
    NodeList(const NodeList&) = delete;
    NodeList& operator=(const NodeList&) = delete;

    /** Removes the nodes of a participant that is lost. */
    void remove(const Guid& participant);

    /** Returns the names of the nodes that have the writers, at most 8: "/camera, /body". */
    std::string namesFor(const std::map<Guid, Endpoint>& writers) const;

  private:
    void xTake();
    void xShow(const NodeInfo& info);
    std::vector<SourceValue> xForget(const Guid& participant);
    /** Shows nodes that were hidden by former ones of another participant with their names, as
     *  after a restart, when the former participant is believed to live for some seconds. */
    void xShowTwins(const Guid& participant, const std::vector<SourceValue>& former);

    Discovery& fDiscovery;
    Sink& fSink;
    std::map<Guid, std::string> fNodeOfWriter;
    std::map<Guid, std::vector<SourceValue>> fNodes;  // values of each participant
    std::size_t fNodeValues = 0;                      // of all participants
    bool fHasReportedNodes = false;
    TopicReader fReader;
};

}  // namespace bridge

#endif
