// The far end of the benchmarks with ROS's C++ library: answers calls, and publishes subscribed
// topics as fast as they are received.
#include "far_end.h"
#include "key_names.h"
#include "ros_names.h"
#include "ros_peer.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <ros/ros.h>
#include <roscpp/Empty.h>
#include <sensor_msgs/Image.h>
#include <sensor_msgs/JointState.h>
#include <std_msgs/UInt64.h>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr std::uint32_t a_callers = 8;
constexpr std::uint32_t a_queue = 1000;
/** Large messages (many values, or images) in flight. */
constexpr std::uint64_t a_largeInFlight = 2;

bool echo(roscpp::Empty::Request& /*request*/, roscpp::Empty::Response& /*response*/) {
    return true;
}

sensor_msgs::JointState makeValues(const std::vector<std::string>& names) {
    sensor_msgs::JointState values;
    values.name = names;
    values.position.resize(names.size());
    return values;
}

sensor_msgs::Image makeImage() {
    constexpr std::uint32_t bytesOfPixel = 3;
    sensor_msgs::Image image;
    image.width = bench::RosPeer::a_width;
    image.height = bench::RosPeer::a_height;
    image.encoding = "rgb8";
    image.step = image.width * bytesOfPixel;
    image.data.assign(std::size_t{image.step} * image.height, 'x');
    return image;
}

/** Numbers the messages, and waits until all but a few have been received. */
class Window {
  public:
    explicit Window(ros::NodeHandle& node)
        : fSubscriber(node.subscribe(ros_names::a_taken, a_queue, &Window::xTake, this,
                                     ros::TransportHints().tcpNoDelay())) {}

    /** Numbers a message when there is room for it. */
    void admit(std_msgs::Header& header, std::uint64_t inFlight) {
        // Messages sent while a subscriber connects are lost without a notification.
        constexpr std::chrono::milliseconds patience{100};
        std::unique_lock lock(fMutex);
        if (!fChanged.wait_for(lock, patience, [&] { return fNumber < fTaken + inFlight; })) {
            fTaken = fNumber;
        }
        header.stamp.fromNSec(++fNumber);
    }

  private:
    void xTake(const std_msgs::UInt64ConstPtr& number) {
        const std::lock_guard lock(fMutex);
        fTaken = std::max(fTaken, number->data);
        fChanged.notify_one();
    }

    std::mutex fMutex;  // guards the numbers
    std::condition_variable fChanged;
    std::uint64_t fNumber = 0;
    std::uint64_t fTaken = 0;
    const ros::Subscriber fSubscriber;
};

/** Publishes to whoever subscribes. */
class Publishers {
  public:
    explicit Publishers(ros::NodeHandle& node)
        : fWindow(node),
          fOneValue(node.advertise<sensor_msgs::JointState>(ros_names::a_oneValue, a_queue)),
          fAllValues(
              node.advertise<sensor_msgs::JointState>(ros_names::a_allValues, a_largeInFlight)),
          fImages(node.advertise<sensor_msgs::Image>(ros_names::a_images, a_largeInFlight)),
          fThread([this] { xRun(); }) {}
    ~Publishers() {
        fStop = true;
        fThread.join();
    }
    Publishers(const Publishers&) = delete;
    Publishers& operator=(const Publishers&) = delete;

  private:
    void xRun() {
        constexpr std::chrono::milliseconds rest{10};
        for (double step = 1; !fStop; ++step) {
            if (fOneValue.getNumSubscribers() > 0) {
                xPublishEachValue(step);
            } else if (fAllValues.getNumSubscribers() > 0) {
                fAll.position.assign(fAll.position.size(), step);
                fWindow.admit(fAll.header, a_largeInFlight);
                fAllValues.publish(fAll);
            } else if (fImages.getNumSubscribers() > 0) {
                fWindow.admit(fImage.header, a_largeInFlight);
                fImages.publish(fImage);
            } else {
                std::this_thread::sleep_for(rest);
            }
        }
    }

    void xPublishEachValue(double value) {
        for (std::size_t i = 0; i < fAll.name.size() && fOneValue.getNumSubscribers() > 0; ++i) {
            fOne.name[0] = fAll.name[i];
            fOne.position[0] = value;
            fWindow.admit(fOne.header, a_queue / 2);
            fOneValue.publish(fOne);
        }
    }

    Window fWindow;
    ros::Publisher fOneValue;
    ros::Publisher fAllValues;
    ros::Publisher fImages;
    sensor_msgs::JointState fOne = makeValues({""});
    sensor_msgs::JointState fAll = makeValues(bench::keyNames());
    sensor_msgs::Image fImage = makeImage();
    std::atomic<bool> fStop{false};
    std::thread fThread;
};

}  // namespace

int main(int argc, char** argv) {
    ros::init(argc, argv, "far_end",
              ros::init_options::NoSigintHandler | ros::init_options::NoRosout);
    ros::NodeHandle node;
    const ros::ServiceServer server = node.advertiseService(ros_names::a_echo, echo);
    const Publishers publishers(node);
    ros::AsyncSpinner spinner(a_callers);
    spinner.start();
    bench::serveAt(0, 0);
    return EXIT_SUCCESS;
}
