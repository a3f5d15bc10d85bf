// The bridge in one host of a private network, robots of ROS 2 in others, and their viewer in the
// test's.

#include "child_process.h"
#include "lab_control.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_frame_stream.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_subscription.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

using obvista_test::ChildProcess;
using testing::HasSubstr;
namespace lab = obvista_test::lab;

namespace {

constexpr auto a_patience = ChildProcess::a_patience;

std::string built(const std::string& program) {
    return std::string(std::getenv("OBVISTA_BUILD_DIR")) + '/' + program;
}

/**
 * A host of the lab with one program; killed when the object is destroyed. Each has another
 * address: the other hosts would look for a new one at the previous one's hardware address.
 */
class Host {
  public:
    Host(const std::string& ready, const std::vector<std::string>& command)
        : fNumber(++fCount), fName("host" + std::to_string(fNumber)) {
        std::vector<std::string> words{"add",       fName,     "--ready", ready,
                                       "--address", address(), "--"};
        words.insert(words.end(), command.begin(), command.end());
        lab::control(words);
    }
    ~Host() { lab::control({"kill", fName}); }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    std::string address() const { return "10.77.5." + std::to_string(fNumber); }
    std::string output() const { return lab::control({"output", fName}); }

    /** Waits until the program has written a text. */
    bool waitForOutput(const std::string& text) const {
        const auto end = std::chrono::steady_clock::now() + a_patience;
        while (output().find(text) == std::string::npos) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
        }
        return true;
    }

  private:
    static int fCount;
    const int fNumber;
    const std::string fName;
};

int Host::fCount = 0;

Host makeBridge(const std::vector<std::string>& options = {},
                const std::vector<std::string>& environment = {}) {
    std::vector<std::string> command{"env"};
    command.insert(command.end(), environment.begin(), environment.end());
    command.insert(command.end(),
                   {built("bin/robaxi-bridge"), "--address", "0.0.0.0", "--name", "marvin"});
    command.insert(command.end(), options.begin(), options.end());
    return {"listens", command};
}

Host makeRobot(const std::string& mode, const std::vector<std::string>& arguments = {}) {
    std::vector<std::string> command{built("tests/ros2_writer"), mode, "0"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return {"ready", command};
}

/** The values of the bridge, as a viewer has them. */
class Values {
  public:
    explicit Values(const Host& bridge)
        : fBroker(KVBroker::createBroker({"test"})),
          fConnection(KVConnection::open(fBroker, bridge.address(), 9559, 20)) {
        KVSubscription::Callbacks callbacks;
        callbacks.fKeysAdded = [this](const std::vector<KVKeyInfo>& keys) {
            const std::lock_guard lock(fMutex);
            for (const KVKeyInfo& key : keys) {
                fKeys[key.fId] = key;
            }
            fChanged.notify_all();
        };
        callbacks.fKeysRemoved = [this](const std::vector<std::uint32_t>& ids) {
            const std::lock_guard lock(fMutex);
            for (const std::uint32_t id : ids) {
                fKeys.erase(id);
                fValues.erase(id);
            }
            fChanged.notify_all();
        };
        callbacks.fValuesChanged = [this](const std::vector<KVChange>& changes) {
            const std::lock_guard lock(fMutex);
            for (const KVChange& change : changes) {
                fValues[change.fId] = change;
            }
            fChanged.notify_all();
        };
        fSubscription = KVSubscription::start(fConnection, "KVMemory",
                                              KVSubscription::Selection::AllKeys, 100, callbacks);
    }

    /** Waits for a value that fulfils a condition. */
    std::optional<KVChange> wait(const std::string& name,
                                 const std::function<bool(const KVValue&)>& condition) {
        std::unique_lock lock(fMutex);
        std::optional<KVChange> result;
        fChanged.wait_for(lock, a_patience, [&] {
            result = xFind(name);
            if (result && !condition(result->fValue)) {
                result.reset();
            }
            return result.has_value();
        });
        return result;
    }
    std::optional<KVChange> wait(const std::string& name) {
        return wait(name, [](const KVValue&) { return true; });
    }

    bool waitForNone(const std::string& beginning) {
        std::unique_lock lock(fMutex);
        return fChanged.wait_for(lock, a_patience, [&] { return xCount(beginning) == 0; });
    }

    bool waitForCount(const std::string& beginning, std::size_t count) {
        std::unique_lock lock(fMutex);
        return fChanged.wait_for(lock, a_patience, [&] { return xCount(beginning) == count; });
    }

    std::string unit(const std::string& name) {
        const std::lock_guard lock(fMutex);
        for (const auto& [id, key] : fKeys) {
            if (key.fName == name) {
                return key.fUnit;
            }
        }
        return "(no key)";
    }

    std::shared_ptr<KVConnection> connection() { return fConnection; }

  private:
    std::optional<KVChange> xFind(const std::string& name) const {
        for (const auto& [id, key] : fKeys) {
            const auto value = fValues.find(id);
            if (key.fName == name && value != fValues.end()) {
                return value->second;
            }
        }
        return std::nullopt;
    }

    std::size_t xCount(const std::string& beginning) const {
        std::size_t count = 0;
        for (const auto& [id, key] : fKeys) {
            count += key.fName.rfind(beginning, 0) == 0 ? 1 : 0;
        }
        return count;
    }

    std::mutex fMutex;  // guards fKeys and fValues
    std::condition_variable fChanged;
    std::map<std::uint32_t, KVKeyInfo> fKeys;
    std::map<std::uint32_t, KVChange> fValues;
    boost::shared_ptr<KVBroker> fBroker;
    std::shared_ptr<KVConnection> fConnection;
    std::shared_ptr<KVSubscription> fSubscription;
};

auto textIs(const std::string& expected) {
    return [expected](const KVValue& value) {
        return value.type() == KVValue::Type::String && value.toString() == expected;
    };
}

auto isAbove(double limit) {
    return [limit](const KVValue& value) { return value.toFloat() > limit; };
}

/** Counts the frames of a camera. */
class Watcher {
  public:
    KVFrameStream::Callbacks callbacks() {
        KVFrameStream::Callbacks callbacks;
        callbacks.fFrameReceived = [this](const KVFrame& frame, std::uint64_t) {
            const std::lock_guard lock(fMutex);
            fFrame = frame;
            ++fCount;
            fChanged.notify_all();
        };
        return callbacks;
    }

    bool waitFor(int count) {
        std::unique_lock lock(fMutex);
        return fChanged.wait_for(lock, a_patience, [&] { return fCount >= count; });
    }
    KVFrame frame() {
        const std::lock_guard lock(fMutex);
        return fFrame;
    }

  private:
    std::mutex fMutex;
    std::condition_variable fChanged;
    KVFrame fFrame;
    int fCount = 0;
};

}  // namespace

TEST(BridgeLab, aRobotOfRos2IsARobotOfTheList) {
    const Host bridge = makeBridge();
    const Host robot = makeRobot("robot");
    Values values(bridge);

    // Joints: names, units, and the message's time, not that of its arrival.
    const auto velocity = values.wait("Joint/LeftKnee/Velocity");
    ASSERT_TRUE(velocity);
    EXPECT_NEAR(static_cast<double>(velocity->fTime) / 1e6, velocity->fValue.toFloat(), 1e-5);
    EXPECT_EQ(values.unit("Joint/LeftKnee/Position"), "rad");
    EXPECT_EQ(values.unit("Joint/LeftKnee/Effort"), "Nm");
    EXPECT_TRUE(values.wait("battery/voltage", isAbove(24)));
    EXPECT_TRUE(values.wait("robot_name", textIs("marvin of ROS 2"))) << "was published before";

    // Topics and nodes.
    EXPECT_TRUE(values.wait("ROS/Topics/joint_states/Type", textIs("sensor_msgs/msg/JointState")));
    EXPECT_TRUE(values.wait("ROS/Topics/joint_states/Rate", isAbove(10)));
    EXPECT_TRUE(values.wait("ROS/Topics/joint_states/Nodes", textIs("/body")));
    EXPECT_TRUE(values.wait("ROS/Topics/strange/Type", textIs("my_msgs/msg/Unheard")));
    EXPECT_TRUE(values.wait("ROS/Topics/strange/Rate", isAbove(0)));
    EXPECT_TRUE(values.wait("ROS/Nodes/body/Publishers"));

    // The camera is read while somebody watches.
    const std::string cameraRate = "ROS/Topics/camera/image_raw/Rate";
    const auto idle = values.wait(cameraRate);
    ASSERT_TRUE(idle);
    EXPECT_EQ(idle->fValue.toFloat(), 0);
    Watcher watcher;
    {
        const auto stream = KVFrameStream::start(values.connection(), "KVVideo", "camera/image_raw",
                                                 watcher.callbacks());
        EXPECT_TRUE(watcher.waitFor(3));
        EXPECT_TRUE(values.wait(cameraRate, isAbove(0)));
    }
    EXPECT_EQ(watcher.frame().fWidth, 640U);
    EXPECT_EQ(watcher.frame().fHeight, 480U);
    EXPECT_EQ(watcher.frame().fFormat, KVPixelFormat::Rgb888);
    EXPECT_TRUE(values.wait(cameraRate, [](const KVValue& rate) { return rate.toFloat() == 0; }));

    // Obvista's discovery.
    ChildProcess list({built("bin/robaxi"), "list"});
    ASSERT_TRUE(list.waitForEnd());
    EXPECT_THAT(list.output(), HasSubstr("marvin"));
    EXPECT_THAT(list.output(), HasSubstr("robot"));
}

TEST(BridgeLab, publishersThatComeAndGoLeaveNothingBehind) {
    const Host bridge = makeBridge();
    Values values(bridge);
    const Host robot = makeRobot("churn", {"100"});
    ASSERT_TRUE(robot.waitForOutput("done")) << "each waits until the bridge reads it";
    EXPECT_TRUE(values.wait("ROS/Participants", isAbove(0)));
    EXPECT_TRUE(values.waitForCount("", 2)) << "the domain's own keys";
}

TEST(BridgeLab, manyTopics) {
    const Host bridge = makeBridge();
    const Host robot = makeRobot("many", {"500"});
    Values values(bridge);
    EXPECT_TRUE(values.waitForCount("many/", 500));
    EXPECT_TRUE(values.waitForCount("ROS/Topics/many/", 5 * 500));
}

TEST(BridgeLab, messagesThatAreNotOfTheirTypeAreNamedAndDropped) {
    const Host bridge = makeBridge();
    const Host robot = makeRobot("wrong");
    Values values(bridge);
    EXPECT_TRUE(values.wait("ROS/Topics/imu/Problem",
                            textIs("a message of 12 bytes is not a sensor_msgs/msg/Imu")));
    EXPECT_TRUE(values.wait("ROS/Topics/text/Problem",
                            textIs("a message of 8 bytes is not a std_msgs/msg/String")));
    Watcher watcher;
    const auto stream =
        KVFrameStream::start(values.connection(), "KVVideo", "image", watcher.callbacks());
    EXPECT_TRUE(
        values.wait("ROS/Topics/image/Problem",
                    textIs("a picture cannot be shown: it is not a sensor_msgs/msg/Image")));
    EXPECT_TRUE(values.waitForNone("imu/"));
    EXPECT_THAT(bridge.output(), HasSubstr("/imu: a message of 12 bytes"));
}

TEST(BridgeLab, aFloodKeepsTheNewest) {
    const Host bridge = makeBridge();
    const Host robot = makeRobot("flood", {"10000"});
    Values values(bridge);
    const auto early = values.wait("flood");
    ASSERT_TRUE(early);
    const double first = early->fValue.toFloat();
    EXPECT_TRUE(values.wait("flood", isAbove(first + 10'000)));
    EXPECT_TRUE(values.wait("ROS/Topics/flood/Rate", isAbove(500)));
}

TEST(BridgeLab, onlyNamedTopicsAreWritten) {
    const Host bridge = makeBridge({"--allow-write", "/volume"});
    const Host robot = makeRobot("listen");
    Values values(bridge);
    ASSERT_TRUE(values.wait("volume"));
    KVProxy memory("KVMemory", values.connection(), 20);
    // The first ones may be sent before the writer and the robot know each other.
    bool isHeard = false;
    for (double volume = 0.5; !isHeard && volume < 1000; ++volume) {
        memory.callValue("setData", {"volume", volume});
        isHeard = robot.output().find("volume") != std::string::npos;
    }
    EXPECT_TRUE(isHeard);
    EXPECT_THROW(memory.callValue("setData", {"volume", "loud"}), KVError);
    EXPECT_THROW(memory.callValue("setData", {"ROS/Domain", 1}), KVError);
}

TEST(BridgeLab, topicsAreSelected) {
    const Host bridge = makeBridge({"--topics", "/joint*", "/robot_name"});
    const Host robot = makeRobot("robot");
    Values values(bridge);
    EXPECT_TRUE(values.wait("Joint/LeftKnee/Position"));
    EXPECT_TRUE(values.wait("robot_name"));
    EXPECT_TRUE(values.wait("ROS/Topics/joint_states/Rate", isAbove(0)));
    EXPECT_TRUE(values.waitForCount("ROS/Topics/", 10)) << "two topics with five rows each";
    EXPECT_TRUE(values.waitForNone("battery"));
}

TEST(BridgeLab, peersInADomainWithoutMulticast) {
    const Host robot = makeRobot("robot");
    const Host bridge = makeBridge(
        {}, {"CYCLONEDDS_URI=<CycloneDDS><Domain><General><AllowMulticast>false</AllowMulticast>"
             "</General><Discovery><ParticipantIndex>auto</ParticipantIndex><Peers><Peer "
             "address=\"" +
             robot.address() + "\"/></Peers></Discovery></Domain></CycloneDDS>"});
    Values values(bridge);
    EXPECT_TRUE(values.wait("Joint/LeftKnee/Position"));
}

TEST(BridgeLab, aRobotWithCycloneDdsAndATypeThatItDescribes) {
    const Host bridge = makeBridge({"--domain", "7"});
    const Host robot("ready", {built("tests/cyclone_writer"), "7"});
    Values values(bridge);
    const auto wrist = values.wait("Joint/Wrist/Position", isAbove(0.5));
    ASSERT_TRUE(wrist);
    EXPECT_LT(wrist->fTime, 2'000'000'000) << "the message's time";
    EXPECT_TRUE(values.wait("gripper/closed"));
    EXPECT_TRUE(
        values.wait("gripper/steps/1", [](const KVValue& steps) { return steps.toInt() == -7; }));
    EXPECT_TRUE(values.wait("gripper/fingers/1/force", isAbove(2)));
    EXPECT_TRUE(values.wait("gripper/fingers/0/label", textIs("Wrist")));
}
