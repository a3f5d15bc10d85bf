#ifndef OBVISTA_BRIDGE_ROS2_NODE_INFO_H
#define OBVISTA_BRIDGE_ROS2_NODE_INFO_H

#include <array>
#include <cstdint>
#include <optional>
#include <ros2_message/cdr_reader.h>
#include <string>
#include <vector>

namespace bridge {

/** Identifies a participant, reader or writer in DDS. */
using Guid = std::array<std::uint8_t, 16>;

/** A node of ROS 2. */
struct Node {
    std::string fName;  ///< with its namespace, for instance "/left_arm/controller"
    std::vector<Guid> fReaders;
    std::vector<Guid> fWriters;
};

/** The nodes of one participant. */
struct NodeInfo {
    Guid fParticipant{};
    std::vector<Node> fNodes;
};

/** Topic and type on which all participants of ROS 2 publish their nodes. */
constexpr const char* a_nodeTopic = "ros_discovery_info";
constexpr const char* a_nodeType = "rmw_dds_common::msg::dds_::ParticipantEntitiesInfo_";

/** Nodes of one participant; further ones are left out. */
constexpr std::size_t a_mostNodes = 4096;

/** Reads a message of that topic; returns nothing if it is not one. Identifiers have 16 bytes
 *  since ROS 2 Iron and had 24 before, of which the last were 0. */
std::optional<NodeInfo> nodeInfoOf(ros2_message::Bytes message);

}  // namespace bridge

#endif
