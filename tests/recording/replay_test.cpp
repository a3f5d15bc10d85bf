// A recording that is replayed and recorded again has the same values at the same robot times, and
// the same frames.
#include "free_port.h"
#include "loopback_broker.h"
#include "plain_frames.h"
#include "recording_files.h"
#include "robot_process.h"
#include "tool_process.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_memory_module.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_video_module.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <memory>
#include <recording/check.h>

namespace recording_test {
namespace {

using obvista_test::Bytes;
using obvista_test::ChildProcess;
using obvista_test::makeFrame;
using obvista_test::RobotProcess;
using obvista_test::runTool;
using obvista_test::toolCommand;
using ::testing::HasSubstr;

constexpr std::int64_t a_robotTime = 1'600'000'000'000'000;
constexpr int a_moments = 12;
constexpr int a_keys = 3;

/** A robot in the test's process with values and two cameras. */
class Robot {
  public:
    Robot() : fBroker(obvista_test::createTestBroker("robot1")) {
        for (const char* const camera : {"head", "chest"}) {
            fVideo->addCamera({{camera, "", {}, {4, 2, "rgb", 15}}});
        }
        fIds = {fMemory->addKey({"Joint/Knee", "rad", "an angle", 0.5}),
                fMemory->addKey({"State", "", "", "standing"}),
                fMemory->addKey({"Numbers", "", "", KVValue::List{1, 2.5}})};
        fBroker->addModule(fMemory);
        fBroker->addModule(fVideo);
    }

    std::string place() const { return "127.0.0.1:" + std::to_string(fBroker->getPort()); }

    /** Changes each key and sends a frame of each camera. */
    void live(int moment) {
        const std::int64_t time = a_robotTime + moment * 1000;
        fMemory->getValues()->setValues({{fIds[0], 0.1 * moment},
                                         {fIds[1], "state " + std::to_string(moment)},
                                         {fIds[2], KVValue::List{moment, -2.5}}},
                                        time);
        const auto number = static_cast<std::uint64_t>(moment);
        KVFrame rgb = makeFrame(KVPixelFormat::Rgb888, 4, 2, 12,
                                Bytes(24, static_cast<unsigned char>(moment)));
        rgb.fNumber = number;
        rgb.fTime = time;
        fVideo->publish("head", rgb);
        KVFrame grey =
            makeFrame(KVPixelFormat::Grey8, 4, 2, 5, Bytes(10, static_cast<unsigned char>(moment)));
        grey.fNumber = number;
        grey.fTime = time + 1;
        fVideo->publish("chest", grey);
    }

  private:
    boost::shared_ptr<KVBroker> fBroker;
    std::shared_ptr<KVMemoryModule> fMemory = std::make_shared<KVMemoryModule>();
    std::shared_ptr<KVVideoModule> fVideo = std::make_shared<KVVideoModule>();
    std::vector<std::uint32_t> fIds;
};

/** A recorder, which reports its counts. */
class Recorder {
  public:
    Recorder(const std::string& place, const std::string& path)
        : fProcess(toolCommand({"record", "--json", "--interval", "0.1", "--rate", "1000",
                                "--all-cameras", place, "-o", path})) {}

    void waitFor(const std::string& what, int count) {
        ASSERT_TRUE(fProcess.waitForOutput('"' + what + "\":" + std::to_string(count) + ','))
            << what << ' ' << count << ": " << fProcess.output() << fProcess.errors();
    }
    void end() {
        constexpr int interrupted = 130;
        fProcess.signal(SIGINT);
        EXPECT_EQ(interrupted, fProcess.waitForEnd()) << fProcess.errors();
    }

  private:
    ChildProcess fProcess;
};

using Topics = std::map<std::string, std::vector<std::pair<std::uint64_t, std::string>>>;

/** The robot's times and the data of each topic but the events. */
Topics topicsOf(const std::string& path) {
    EXPECT_EQ(0U, recording::check(path).fFaultCount);
    Topics topics;
    for (const Heard& heard : hear(path)) {
        if (heard.fTopic != "/robot1/events") {
            topics[heard.fTopic].emplace_back(heard.fPublishTime, heard.fData);
        }
    }
    return topics;
}

TEST(Replay, RecordedAgainHasTheSameValuesAndFrames) {
    const std::string original = pathOf("original.mcap");
    {
        Robot robot;
        Recorder recorder(robot.place(), original);
        recorder.waitFor("values", a_keys);
        for (int moment = 1; moment <= a_moments; ++moment) {
            robot.live(moment);
            recorder.waitFor("values", a_keys * (moment + 1));
            recorder.waitFor("frames", 2 * moment);
        }
        recorder.end();
    }

    RobotProcess::Settings settings;
    settings.fArguments = {"--replay", original, "--paused"};
    const RobotProcess replay(settings);
    const std::string copy = pathOf("copy.mcap");
    Recorder recorder(std::string(RobotProcess::address()) + ':' + std::to_string(replay.port()),
                      copy);
    // The keys have no values yet, and each camera shows its first frame.
    recorder.waitFor("values", a_keys);
    recorder.waitFor("frames", 2);
    const auto broker = obvista_test::createTestBroker("test");
    const auto connection = KVConnection::open(broker, RobotProcess::address(), replay.port(), 60);
    const auto controls = std::make_shared<KVProxy>("KVReplay", connection, 60.0);
    // Each message by itself, so that the recorder misses none.
    Topics expected = topicsOf(original);
    int values = a_keys;
    int frames = 2;
    std::int64_t position = controls->callValue("getState", {}).toMap().at("start").toInt();
    const recording::Reader reader(original);
    for (;;) {
        const std::int64_t next = controls->callValue("step", {1, ""}).toInt();
        if (next == position) {
            break;
        }
        position = next;
        int shownValues = 0;
        int shownFrames = 0;
        for (const Heard& heard : hear(original)) {
            if (static_cast<std::int64_t>(heard.fLogTime / 1000) <= position) {
                shownValues += heard.fTopic.find("/memory/") != std::string::npos ? 1 : 0;
                shownFrames += heard.fTopic.find("/camera/") != std::string::npos ? 1 : 0;
            }
        }
        if (a_keys + shownValues != values) {
            values = a_keys + shownValues;
            recorder.waitFor("values", values);
        }
        if (2 + shownFrames != frames) {
            frames = 2 + shownFrames;
            recorder.waitFor("frames", frames);
        }
    }
    recorder.end();

    EXPECT_EQ(5U, expected.size());
    Topics repeated = topicsOf(copy);
    for (auto& [topic, messages] : repeated) {
        // The first message is from before the first step.
        ASSERT_FALSE(messages.empty());
        if (topic.find("/memory/") != std::string::npos) {
            EXPECT_EQ(R"({"value":null})", messages.front().second) << topic;
        }
        messages.erase(messages.begin());
        EXPECT_EQ(expected[topic], messages) << topic;
        expected.erase(topic);
    }
    EXPECT_TRUE(expected.empty());
}

}  // namespace
}  // namespace recording_test
