#ifndef OBVISTA_BRIDGE_ROS2_QOS_POLICIES_H
#define OBVISTA_BRIDGE_ROS2_QOS_POLICIES_H

#include <base/free_with.h>

#include <dds/dds.h>
#include <memory>
#include <string>
#include <vector>

namespace bridge {

/** The policies of a reader or writer that decide whether it matches another. */
struct QosPolicies {
    dds_reliability_kind_t fReliability = DDS_RELIABILITY_BEST_EFFORT;
    dds_durability_kind_t fDurability = DDS_DURABILITY_VOLATILE;
    dds_ownership_kind_t fOwnership = DDS_OWNERSHIP_SHARED;
    dds_liveliness_kind_t fLiveliness = DDS_LIVELINESS_AUTOMATIC;
    dds_duration_t fLease = DDS_INFINITY;
    dds_duration_t fDeadline = DDS_INFINITY;
    std::vector<std::string> fPartitions;

    bool operator<(const QosPolicies& other) const;
};

using Qos = std::unique_ptr<dds_qos_t, base::FreeWith<dds_delete_qos>>;

/** Returns a request that every writer can fulfil; of a latched topic, for what has been written
 *  before. @param depth number of samples that are kept until they are taken */
Qos makeReaderQos(bool isLatched, int depth);

/** Returns the offer of the bridge's writers. */
Qos makeWriterQos();

QosPolicies policiesOf(const dds_qos_t* qos);

/** Returns the names of the policies because of which a reader does not receive what a writer
 *  sends, for a sentence: "reliability, deadline"; empty if it does. */
std::string mismatch(const QosPolicies& writer, const QosPolicies& reader);

}  // namespace bridge

#endif
