#ifndef OBVISTA_BRIDGE_ROS2_TOPIC_H
#define OBVISTA_BRIDGE_ROS2_TOPIC_H

#include "ros2/node_info.h"
#include "ros2/qos_policies.h"
#include "ros2/raw_type.h"
#include "ros2/topic_reader.h"
#include "ros2/topic_writer.h"

#include <cstdint>
#include <dds/dds.h>
#include <map>
#include <memory>
#include <ros2_message/message_type.h>
#include <string>

namespace bridge {

/** A writer or reader on the network, as discovery reports it. */
struct Endpoint {
    std::string fType;  ///< name in DDS
    QosPolicies fPolicies;
    /** Returns true for a writer that keeps its last samples for readers that come later. DDS sends
     *  those to reliable readers only, which do not match a writer with best effort. */
    bool isLatched() const {
        return fPolicies.fDurability >= DDS_DURABILITY_TRANSIENT_LOCAL &&
               fPolicies.fReliability == DDS_RELIABILITY_RELIABLE;
    }
};

/** The use of a topic's samples. */
enum class Role {
    Values,  ///< the type is known, or described by its writer
    Image,
    CompressedImage,
    Counted  ///< the type is not known: the samples are counted
};

Role roleOf(const std::string& rosType, bool isDescribed);

/** Size, format and rate of a camera, as far as they are known. */
struct CameraFigures {
    int fWidth = 0;
    int fHeight = 0;
    std::string fFormat;

    bool operator==(const CameraFigures& other) const {
        return fWidth == other.fWidth && fHeight == other.fHeight && fFormat == other.fFormat;
    }
};

/** One topic of the domain. Used on the thread of the loop only. */
struct Topic {
    std::string fName;  ///< in ROS 2, for instance "/joint_states"
    std::string fKeys;  ///< the same for keys: "joint_states"
    std::map<Guid, Endpoint> fWriters;
    std::map<Guid, Endpoint> fReaders;
    std::string fType;  ///< in DDS, of the first writer; empty without one
    std::shared_ptr<const ros2_message::MessageType> fMessage;
    bool fIsDescribed = false;  ///< its description has been requested
    bool fIsAwaited = false;    ///< its description has not arrived
    Role fRole = Role::Counted;

    std::unique_ptr<TopicReader> fReader;  ///< while it is read
    std::shared_ptr<Arrivals> fArrivals = std::make_shared<Arrivals>();
    std::uint64_t fLastSamples = 0;
    std::uint64_t fLastBytes = 0;

    bool fIsCamera = false;
    bool fIsWatched = false;
    CameraFigures fAnnounced;
    CameraFigures fSeen;

    std::shared_ptr<const TopicWriter> fWriter;  ///< of a topic that clients may write
    std::string fProblem;                        ///< of its messages
    std::string fMatchProblem;                   ///< of its readers and writers
};

}  // namespace bridge

#endif
