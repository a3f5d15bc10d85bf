#include "ros2/qos_policies.h"

#include <algorithm>
#include <cstdint>
#include <tuple>

namespace bridge {

namespace {

constexpr std::uint32_t a_mostPartitions = 8;

std::vector<std::string> partitionsOf(const dds_qos_t* qos) {
    std::uint32_t count = 0;
    char** names = nullptr;
    std::vector<std::string> partitions;
    if (dds_qget_partition(qos, &count, &names)) {
        for (std::uint32_t i = 0; i < count; ++i) {
            if (i < a_mostPartitions) {
                partitions.emplace_back(names[i]);
            }
            dds_free(names[i]);
        }
        dds_free(names);
    }
    return partitions;
}

/** Returns false only if no partition can be common: names with wildcards may match any. */
bool sharePartition(const std::vector<std::string>& some, const std::vector<std::string>& others) {
    const std::vector<std::string> unnamed{""};
    const auto& one = some.empty() ? unnamed : some;
    const auto& two = others.empty() ? unnamed : others;
    const auto isPattern = [](const std::string& name) {
        return name.find_first_of("*?[") != std::string::npos;
    };
    return std::any_of(one.begin(), one.end(), isPattern) ||
           std::any_of(two.begin(), two.end(), isPattern) ||
           std::find_first_of(one.begin(), one.end(), two.begin(), two.end()) != one.end();
}

auto allOf(const QosPolicies& policies) {
    return std::tie(policies.fReliability, policies.fDurability, policies.fOwnership,
                    policies.fLiveliness, policies.fLease, policies.fDeadline,
                    policies.fPartitions);
}

}  // namespace

bool QosPolicies::operator<(const QosPolicies& other) const {
    return allOf(*this) < allOf(other);
}

Qos makeReaderQos(bool isLatched, int depth) {
    Qos qos(dds_create_qos());
    if (isLatched) {
        dds_qset_reliability(qos.get(), DDS_RELIABILITY_RELIABLE, DDS_SECS(1));
        dds_qset_durability(qos.get(), DDS_DURABILITY_TRANSIENT_LOCAL);
    } else {
        dds_qset_reliability(qos.get(), DDS_RELIABILITY_BEST_EFFORT, 0);
        dds_qset_durability(qos.get(), DDS_DURABILITY_VOLATILE);
    }
    dds_qset_history(qos.get(), DDS_HISTORY_KEEP_LAST, depth);
    const dds_data_representation_id_t encodings[] = {DDS_DATA_REPRESENTATION_XCDR1,
                                                      DDS_DATA_REPRESENTATION_XCDR2};
    dds_qset_data_representation(qos.get(), 2, encodings);
    return qos;
}

Qos makeWriterQos() {
    Qos qos(dds_create_qos());
    dds_qset_reliability(qos.get(), DDS_RELIABILITY_RELIABLE, DDS_MSECS(100));
    dds_qset_durability(qos.get(), DDS_DURABILITY_VOLATILE);
    dds_qset_history(qos.get(), DDS_HISTORY_KEEP_LAST, 1);
    return qos;
}

QosPolicies policiesOf(const dds_qos_t* qos) {
    // Policies that are not set keep their defaults.
    QosPolicies policies;
    dds_duration_t blocking = 0;
    dds_qget_reliability(qos, &policies.fReliability, &blocking);
    dds_qget_durability(qos, &policies.fDurability);
    dds_qget_ownership(qos, &policies.fOwnership);
    dds_qget_liveliness(qos, &policies.fLiveliness, &policies.fLease);
    dds_qget_deadline(qos, &policies.fDeadline);
    policies.fPartitions = partitionsOf(qos);
    return policies;
}

std::string mismatch(const QosPolicies& writer, const QosPolicies& reader) {
    std::string names;
    const auto require = [&](bool isMatch, const char* name) {
        if (!isMatch) {
            names += (names.empty() ? "" : ", ") + std::string(name);
        }
    };
    // Offers and requests are ordered: a stronger offer fulfils a weaker request.
    require(writer.fReliability >= reader.fReliability, "reliability");
    require(writer.fDurability >= reader.fDurability, "durability");
    require(writer.fOwnership == reader.fOwnership, "ownership");
    require(writer.fLiveliness >= reader.fLiveliness && writer.fLease <= reader.fLease,
            "liveliness");
    require(writer.fDeadline <= reader.fDeadline, "deadline");
    require(sharePartition(writer.fPartitions, reader.fPartitions), "partition");
    return names;
}

}  // namespace bridge
