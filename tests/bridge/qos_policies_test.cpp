#include "ros2/qos_policies.h"

#include <gtest/gtest.h>

#include <memory>

using bridge::mismatch;
using bridge::policiesOf;
using bridge::QosPolicies;

TEST(QosPolicies, defaultsMatch) {
    EXPECT_EQ(mismatch({}, {}), "");
    const std::unique_ptr<dds_qos_t, void (*)(dds_qos_t*)> qos(dds_create_qos(), dds_delete_qos);
    EXPECT_EQ(mismatch(policiesOf(qos.get()), {}), "");
}

TEST(QosPolicies, strongerOffersFulfilWeakerRequests) {
    QosPolicies strong;
    strong.fReliability = DDS_RELIABILITY_RELIABLE;
    strong.fDurability = DDS_DURABILITY_TRANSIENT_LOCAL;
    strong.fLiveliness = DDS_LIVELINESS_MANUAL_BY_TOPIC;
    strong.fLease = DDS_SECS(1);
    strong.fDeadline = DDS_SECS(1);
    EXPECT_EQ(mismatch(strong, {}), "");
    EXPECT_EQ(mismatch({}, strong), "reliability, durability, liveliness, deadline");
}

TEST(QosPolicies, ownershipAndPartitionsMustBeTheSame) {
    const std::unique_ptr<dds_qos_t, void (*)(dds_qos_t*)> qos(dds_create_qos(), dds_delete_qos);
    dds_qset_ownership(qos.get(), DDS_OWNERSHIP_EXCLUSIVE);
    dds_qset_partition1(qos.get(), "left");
    const QosPolicies exclusive = policiesOf(qos.get());
    EXPECT_EQ(mismatch(exclusive, {}), "ownership, partition");
    EXPECT_EQ(mismatch(exclusive, exclusive), "");
    QosPolicies any = exclusive;
    any.fPartitions = {"l*"};
    EXPECT_EQ(mismatch(exclusive, any), "");
}
