#include "ros_peer.h"

#include "far_end.h"
#include "key_names.h"
#include "project_files.h"
#include "ros_master.h"
#include "ros_names.h"

#include <atomic>
#include <cstdio>
#include <functional>
#include <ros/ros.h>
#include <roscpp/Empty.h>
#include <sensor_msgs/Image.h>
#include <sensor_msgs/JointState.h>
#include <std_msgs/UInt64.h>
#include <stdexcept>
#include <thread>

namespace bench {

namespace {

constexpr std::uint32_t a_queue = 1000;

void await(const char* what, const std::function<bool()>& condition) {
    constexpr std::chrono::seconds patience{30};
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            throw std::runtime_error(what);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

class Peer : public RosPeer {
  public:
    Peer() {
        int count = 0;
        ros::init(count, nullptr, "bench",
                  ros::init_options::NoSigintHandler | ros::init_options::AnonymousName |
                      ros::init_options::NoRosout);
        fNode = std::make_unique<ros::NodeHandle>();
        fTaken = fNode->advertise<std_msgs::UInt64>(ros_names::a_taken, a_queue);
        fSpinner = std::make_unique<ros::AsyncSpinner>(1);
        fSpinner->start();
        await("the far end of roscpp does not answer",
              [] { return ros::service::exists(ros_names::a_echo, false); });
    }

    ~Peer() override {
        fSpinner.reset();
        fTaken.shutdown();
        fNode.reset();
        ros::shutdown();
    }

    void call() override {
        thread_local ros::ServiceClient client;
        if (!client.isValid()) {
            constexpr bool staysConnected = true;
            client = fNode->serviceClient<roscpp::Empty>(ros_names::a_echo, staysConnected);
        }
        roscpp::Empty empty;
        if (!client.call(empty)) {
            throw std::runtime_error("a call of roscpp fails");
        }
    }

    Flow follow(Topic topic, std::chrono::milliseconds warmUp,
                std::chrono::milliseconds length) override {
        fMoved = 0;
        fTopic = topic;
        const ros::Subscriber subscriber = xSubscribe(topic);
        await("nothing comes over roscpp", [this] { return fMoved > 0; });
        std::this_thread::sleep_for(warmUp);
        return measureFlow(fFarEnd.pid(), fMoved, length);
    }

  private:
    ros::Subscriber xSubscribe(Topic topic) {
        const auto hints = ros::TransportHints().tcpNoDelay();
        switch (topic) {
            case Topic::OneValue:
                return fNode->subscribe(ros_names::a_oneValue, a_queue, &Peer::xTakeValues, this,
                                        hints);
            case Topic::AllValues:
                return fNode->subscribe(ros_names::a_allValues, 1, &Peer::xTakeValues, this, hints);
            default:
                return fNode->subscribe(ros_names::a_images, 1, &Peer::xTakeImage, this, hints);
        }
    }

    void xReport(const std_msgs::Header& header) {
        constexpr std::uint64_t often = 50;
        std_msgs::UInt64 number;
        number.data = header.stamp.toNSec();
        if (fTopic != Topic::OneValue || number.data % often == 0) {
            fTaken.publish(number);
        }
    }

    void xTakeValues(const sensor_msgs::JointStateConstPtr& message) {
        for (std::size_t i = 0; i < message->name.size(); ++i) {
            fValues.at(message->name[i]) = message->position[i];
        }
        fMoved += message->name.size();
        xReport(message->header);
    }

    void xTakeImage(const sensor_msgs::ImageConstPtr& message) {
        fMoved += message->data.size();
        xReport(message->header);
    }

    const RosMaster fMaster;
    const FarEnd fFarEnd{"--serve", obvista_test::builtFile("bench/robaxi_ros_far_end")};
    std::unique_ptr<ros::NodeHandle> fNode;
    std::unique_ptr<ros::AsyncSpinner> fSpinner;
    ros::Publisher fTaken;
    std::atomic<Topic> fTopic{Topic::OneValue};
    NamedValues fValues;
    std::atomic<std::uint64_t> fMoved{0};
};

}  // namespace

std::unique_ptr<RosPeer> RosPeer::start() {
    try {
        return std::make_unique<Peer>();
    } catch (const std::exception& failure) {
        std::printf("roscpp: takes no part: %s\n", failure.what());
        return nullptr;
    }
}

}  // namespace bench
