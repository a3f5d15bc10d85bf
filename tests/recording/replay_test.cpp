// A recording that is replayed and recorded again has the same values at the same robot times, and
// the same frames.
#include "eventually.h"
#include "loopback_broker.h"
#include "plain_frames.h"
#include "recording_files.h"
#include "robot_process.h"
#include "tool_process.h"
#include "without_plugins.h"

#include <picture/frame_check.h>
#include <picture/frame_decoder.h>
#include <picture/jpeg.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_frame_stream.h>
#include <robaxi/kv_memory_module.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_video_module.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <future>
#include <grey_film.h>
#include <map>
#include <memory>
#include <mutex>
#include <recording/check.h>
#include <recording/writer.h>
#include <robot_recording/image_message.h>
#include <vector>

namespace recording_test {
namespace {

using obvista_test::Bytes;
using obvista_test::ChildProcess;
using obvista_test::makeFrame;
using obvista_test::RobotProcess;
using obvista_test::toolCommand;

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

/** Returns the next frame of a camera. */
class NextFrame {
  public:
    explicit NextFrame(const std::shared_ptr<KVConnection>& connection) : fConnection(connection) {}

    KVFrame of(const std::string& camera) {
        std::promise<KVFrame> first;
        std::once_flag once;
        KVFrameStream::Callbacks callbacks;
        callbacks.fFrameReceived = [&](const KVFrame& frame, std::uint64_t /*passedOver*/) {
            std::call_once(once, [&] { first.set_value(frame); });
        };
        const auto stream = KVFrameStream::start(fConnection, "KVVideo", camera, callbacks);
        std::future<KVFrame> frame = first.get_future();
        const bool hasCome = frame.wait_for(ChildProcess::a_patience) == std::future_status::ready;
        stream->stop();
        return hasCome ? frame.get() : KVFrame();
    }

  private:
    const std::shared_ptr<KVConnection> fConnection;
};

int greyOf(const KVFrame& frame) {
    const picture::CheckedFrame checked = picture::check(frame);
    if (checked.fault() != picture::FrameFault::None) {
        return -1;
    }
    picture::JpegReader reader;
    const std::size_t stride = std::size_t{frame.fWidth} * 3;
    std::vector<unsigned char> rows(stride * frame.fHeight);
    const bool isWhole =
        picture::decode(checked, reader, picture::PixelLayout::Rgb888, rows.data(), stride);
    return isWhole ? rows[rows.size() / 2] : -1;
}

constexpr std::uint64_t a_filmPeriod = 33'333'000;  // nanoseconds

/** Records 89 H.264 frames of a camera, of which the fourth is a key frame. @return the file */
std::string recordFilm(const std::string& name) {
    const std::string path = pathOf(name);
    recording::Writer writer(path);
    writer.writeMetadata({"robot", {{"name", "robot1"}, {"topics", "/robot1"}}});
    const auto& schema = robot_recording::imageSchema(KVPixelFormat::H264);
    const std::uint16_t camera =
        writer.addChannel(writer.addSchema(schema.fName, schema.fEncoding, schema.fData),
                          "/robot1/camera/head", schema.fMessageEncoding);
    obvista_test::GreyFilm film;
    film.next();  // The recording begins between two key frames.
    for (std::uint64_t number = 2; number <= 90; ++number) {
        const std::uint64_t time = a_start + number * a_filmPeriod;
        writer.write({camera, static_cast<std::uint32_t>(number), time, time,
                      robot_recording::imageMessage(film.next(number == 5), "head")});
    }
    writer.finish();
    return path;
}

TEST(Replay, ShowsH264AtEachPositionToClientsThatComeWhileItIsPaused) {
    const std::string path = recordFilm("film.mcap");
    RobotProcess::Settings settings;
    settings.fArguments = {"--replay", path, "--paused"};
    const RobotProcess replay(settings);
    const auto broker = obvista_test::createTestBroker("test");
    const auto connection = KVConnection::open(broker, RobotProcess::address(), replay.port(), 60);
    KVProxy controls("KVReplay", connection, 60.0);
    NextFrame next(connection);
    EXPECT_EQ(next.of("head").fNumber, 5U) << "before its first frame a camera shows that one";
    for (const std::uint64_t number : {40U, 70U, 66U, 7U, 90U}) {
        controls.callValue("seek",
                           {static_cast<std::int64_t>((a_start + number * a_filmPeriod) / 1000)});
        const KVFrame frame = next.of("head");
        EXPECT_EQ(frame.fNumber, number);
        EXPECT_EQ(frame.fFormat, KVPixelFormat::Jpeg);
        EXPECT_NEAR(greyOf(frame), obvista_test::GreyFilm::greyOf(number), 4) << number;
    }
    controls.callValue("seek", {static_cast<std::int64_t>((a_start + 20 * a_filmPeriod) / 1000)});
    for (const int step : {1, 1, -1}) {
        controls.callValue("step", {step, "head"});
    }
    const KVFrame frame = next.of("head");
    EXPECT_EQ(frame.fNumber, 21U);
    EXPECT_NEAR(greyOf(frame), obvista_test::GreyFilm::greyOf(21), 4);
}

TEST(Replay, ComplainsAboutH264WithoutADecoder) {
    RobotProcess::Settings settings;
    settings.fArguments = {"--replay", recordFilm("undecoded.mcap"), "--paused"};
    const obvista_test::WithoutPlugins none;
    RobotProcess replay(settings);
    EXPECT_TRUE(obvista_test::eventually([&] {
        return replay.process().errors().find(
                   "not replayed: /robot1/camera/head: Showing H.264 needs") != std::string::npos;
    })) << replay.process().errors();
}

}  // namespace
}  // namespace recording_test
