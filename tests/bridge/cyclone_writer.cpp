// Joints and a message of a type that nobody else knows, published with Cyclone DDS as ROS 2's
// second middleware does, with the descriptions of the types:   cyclone_writer DOMAIN

#include "messages.h"

#include <chrono>
#include <dds/dds.h>
#include <iostream>
#include <string>
#include <thread>

namespace {

dds_entity_t makeWriter(dds_entity_t participant, const dds_topic_descriptor_t& type,
                        const char* name) {
    dds_qos_t* const qos = dds_create_qos();
    dds_qset_reliability(qos, DDS_RELIABILITY_RELIABLE, DDS_SECS(1));
    dds_qset_history(qos, DDS_HISTORY_KEEP_LAST, 1);
    const dds_entity_t topic = dds_create_topic(participant, &type, name, nullptr, nullptr);
    const dds_entity_t writer = dds_create_writer(participant, topic, qos, nullptr);
    dds_delete_qos(qos);
    return writer;
}

}  // namespace

int main(int argc, char** argv) {
    const int domain = argc > 1 ? std::stoi(argv[1]) : 0;
    const dds_entity_t participant =
        dds_create_participant(static_cast<dds_domainid_t>(domain), nullptr, nullptr);
    const dds_entity_t joints =
        makeWriter(participant, sensor_msgs_msg_dds__JointState__desc, "rt/joint_states");
    const dds_entity_t gripper =
        makeWriter(participant, my_msgs_msg_dds__Gripper__desc, "rt/gripper");
    if (joints < 0 || gripper < 0) {
        return 1;
    }
    std::cout << "ready" << std::endl;
    std::string frame = "hand";
    std::string name = "Wrist";
    char* names[] = {name.data()};
    double position[] = {0.75};
    my_msgs_msg_dds__Finger_ fingers[] = {{name.data(), 1.5F}, {frame.data(), 2.5F}};
    for (int step = 1;; ++step) {
        sensor_msgs_msg_dds__JointState_ state{};
        state.header_.stamp_ = {1000 + step, 0};
        state.header_.frame_id_ = frame.data();
        state.name_ = {1, 1, names, false};
        state.position_ = {1, 1, position, false};
        dds_write(joints, &state);
        my_msgs_msg_dds__Gripper_ hand{};
        hand.header_ = state.header_;
        hand.closed_ = true;
        hand.steps_[1] = -7;
        hand.fingers_ = {2, 2, fingers, false};
        dds_write(gripper, &hand);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}
