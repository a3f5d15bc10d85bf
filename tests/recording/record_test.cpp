// "robaxi record": what robots send is in the file, however the recording ends.
#include "eventually.h"
#include "loopback_broker.h"
#include "plain_frames.h"
#include "recording/robot_recorder.h"
#include "recording_files.h"
#include "robot_process.h"
#include "tool_process.h"
#include "video_robot.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_frame_source.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_value_table.h>

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/streambuf.hpp>
#include <boost/asio/write.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <recording/check.h>
#include <set>

namespace recording_test {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
namespace asio = boost::asio;
using asio::ip::tcp;
using obvista_test::ChildProcess;
using obvista_test::eventually;
using obvista_test::RobotProcess;
using obvista_test::runTool;
using obvista_test::toolCommand;
using obvista_test::ToolResult;
using obvista_test::VideoRobot;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr int a_interrupted = 130;
constexpr int a_wrongUsage = 2;
constexpr int a_notOffered = 8;
constexpr int a_cannotWrite = 12;
constexpr std::int64_t a_robotTime = 1'600'000'000'000'000;

/** A robot in the test's process whose values have the times that the test says. */
class ValueRobot {
  public:
    explicit ValueRobot(const std::string& name)
        : fBroker(obvista_test::createTestBroker(name)), fTable(std::make_shared<KVValueTable>()) {
        offerValues();
    }

    void offerValues() {
        const auto module = std::make_shared<KVModule>("KVMemory", "values of a test");
        module->setValues(fTable);
        fBroker->addModule(module);
    }
    void withdrawValues() { fBroker->removeModule("KVMemory"); }

    std::string place() const { return "127.0.0.1:" + std::to_string(fBroker->getPort()); }

    void set(const std::string& key, const KVValue& value, std::int64_t time) {
        auto id = fIds.find(key);
        if (id == fIds.end()) {
            KVKeyInfo info;
            info.fName = key;
            info.fUnit = "rad";
            info.fDescription = "an angle";
            id = fIds.emplace(key, fTable->addKey(info, KVValue())).first;
        }
        fTable->setValue(id->second, value, time);
    }

  private:
    boost::shared_ptr<KVBroker> fBroker;
    std::shared_ptr<KVValueTable> fTable;
    std::map<std::string, std::uint32_t> fIds;
};

/** A web server on port 80 that answers one request, when it is released. */
class SlowIconServer {
  public:
    SlowIconServer() : fAcceptor(fContext) {
        const tcp::endpoint endpoint(asio::ip::address_v4::loopback(), 80);
        fAcceptor.open(endpoint.protocol());
        fAcceptor.set_option(tcp::acceptor::reuse_address(true));
        fAcceptor.bind(endpoint, fError);
        if (!fError) {
            fAcceptor.listen();
        }
    }

    /** Returns the reason if the port cannot be used. */
    std::string fault() const { return fError ? fError.message() : ""; }

    void answer(const std::string& icon) {
        tcp::socket client = fAcceptor.accept();
        asio::streambuf request;
        asio::read_until(client, request, "\r\n\r\n");
        asio::write(client, asio::buffer("HTTP/1.0 200 OK\r\n\r\n" + icon));
    }

  private:
    asio::io_context fContext;
    tcp::acceptor fAcceptor;
    boost::system::error_code fError;
};

std::vector<std::string> recordCommand(const std::vector<std::string>& words) {
    std::vector<std::string> arguments{"record", "--json", "--interval", "0.1"};
    arguments.insert(arguments.end(), words.begin(), words.end());
    return toolCommand(arguments);
}

/** Waits for a report, of those printed from now on, that meets the condition. */
void waitForReport(ChildProcess& record, const std::function<bool(const Json&)>& isMet) {
    std::size_t start = record.output().rfind('\n') + 1;
    for (;;) {
        const std::string output = record.output();
        const std::size_t end = output.find('\n', start);
        if (end == std::string::npos) {
            ASSERT_TRUE(record.waitForMoreOutput(output.size())) << record.errors();
            continue;
        }
        if (isMet(Json::parse(output.substr(start, end - start)))) {
            return;
        }
        start = end + 1;
    }
}

/** Waits until the file has an event. */
bool hasEvent(const std::string& path, const std::string& event) {
    return eventually([&] {
        try {
            for (const Heard& heard : hear(path)) {
                if (heard.fData.find(event) != std::string::npos) {
                    return true;
                }
            }
        } catch (const recording::RecordingError&) {
            // The file ends in the middle of a chunk.
        }
        return false;
    });
}

std::string placeOf(const RobotProcess& robot) {
    return std::string(RobotProcess::address()) + ':' + std::to_string(robot.port());
}

void interrupt(ChildProcess& record) {
    record.signal(SIGINT);
    EXPECT_EQ(a_interrupted, record.waitForEnd()) << record.errors();
}

void expectSound(const std::string& path) {
    const recording::CheckReport report = recording::check(path);
    EXPECT_EQ(0U, report.fFaultCount);
    EXPECT_EQ("", report.fFaults.empty() ? "" : report.fFaults.front().fText);
}

std::map<std::string, std::vector<Heard>> heardByTopic(const std::string& path) {
    std::map<std::string, std::vector<Heard>> topics;
    for (const Heard& heard : hear(path)) {
        topics[heard.fTopic].push_back(heard);
    }
    return topics;
}

/**
 * Returns the names of the events of a robot, except "passed over", which a busy machine and a
 * silence bring.
 */
std::vector<std::string> eventsOf(const std::string& path, const std::string& robot) {
    std::vector<std::string> events;
    for (const Heard& heard : hear(path)) {
        if (heard.fTopic == '/' + robot + "/events") {
            const std::string event = Json::parse(heard.fData)["event"];
            if (event != "passed over") {
                events.push_back(event);
            }
        }
    }
    return events;
}

const std::map<std::string, std::pair<KVValue, std::string>>& samples() {
    static const std::map<std::string, std::pair<KVValue, std::string>> all{
        {"A/Bool", {true, "true"}},
        {"A/Int", {std::int64_t{9007199254740993}, "9007199254740993"}},
        {"A/Float", {0.1, "0.1"}},
        {"A/Whole", {3.0, "3.0"}},
        {"A/Tiny", {1e-300, "1e-300"}},
        {"A/NaN", {std::nan(""), R"("NaN")"}},
        {"A/Infinity", {-INFINITY, R"("-Infinity")"}},
        {"B/Text", {"a\n\"b\" \xC3\xA4", R"("a\n\"b\" ä")"}},
        {"B/Numbers", {KVValue::List{1, 2.5}, "[1,2.5]"}},
        {"B/Texts", {KVValue::List{"a", "b"}, R"(["a","b"])"}},
        {"B/Mixed", {KVValue::List{1, "b"}, R"([1,"b"])"}},
        {"B/Map", {KVValue::Map{{"on", true}}, R"({"on":true})"}}};
    return all;
}

TEST(Record, WritesEveryValueWithTheRobotsTime) {
    ValueRobot robot("robot1");
    std::int64_t time = a_robotTime;
    for (const auto& [key, sample] : samples()) {
        robot.set(key, sample.first, ++time);
    }
    const std::string path = pathOf("values.mcap");
    ChildProcess record(recordCommand({robot.place(), "-o", path}));
    const std::string count = std::to_string(samples().size());
    ASSERT_TRUE(record.waitForOutput("\"values\":" + count + ',')) << record.errors();
    // Another type: a channel with another schema.
    robot.set("A/Float", "text", a_robotTime + 100);
    ASSERT_TRUE(record.waitForOutput("\"values\":" + std::to_string(samples().size() + 1) + ','));
    interrupt(record);

    expectSound(path);
    auto topics = heardByTopic(path);
    time = a_robotTime;
    for (const auto& [key, sample] : samples()) {
        ++time;
        const std::vector<Heard>& heard = topics["/robot1/memory/" + key];
        ASSERT_EQ(key == "A/Float" ? 2U : 1U, heard.size()) << key;
        EXPECT_EQ("{\"value\":" + sample.second + '}', heard.front().fData);
        EXPECT_EQ(static_cast<std::uint64_t>(time) * 1000, heard.front().fPublishTime) << key;
        EXPECT_GT(heard.front().fLogTime, heard.front().fPublishTime);
    }
    const Heard& changed = topics["/robot1/memory/A/Float"].back();
    EXPECT_EQ(R"({"value":"text"})", changed.fData);
    EXPECT_EQ(static_cast<std::uint64_t>(a_robotTime + 100) * 1000, changed.fPublishTime);
    EXPECT_THAT(eventsOf(path, "robot1"), ::testing::ElementsAre("begin", "end"));

    const recording::Reader reader(path);
    std::map<std::string, std::string> schemas;
    for (const auto& [id, channel] : reader.channels()) {
        schemas[channel.fTopic] += reader.schemas().at(channel.fSchemaId).fName + ' ';
        if (channel.fTopic == "/robot1/memory/A/Bool") {
            EXPECT_EQ("rad", channel.fMetadata.at("unit"));
            EXPECT_EQ("an angle", channel.fMetadata.at("description"));
            EXPECT_EQ("A/Bool", channel.fMetadata.at("key"));
        }
    }
    EXPECT_EQ("robaxi.Bool ", schemas["/robot1/memory/A/Bool"]);
    EXPECT_EQ("robaxi.Float robaxi.Text ", schemas["/robot1/memory/A/Float"]);
    EXPECT_EQ("robaxi.Numbers ", schemas["/robot1/memory/B/Numbers"]);
    EXPECT_EQ("robaxi.List ", schemas["/robot1/memory/B/Mixed"]);
    ASSERT_EQ(1U, reader.metadata().size());
    EXPECT_EQ("robot1", reader.readMetadata(reader.metadata().front()).fEntries.at("name"));
}

TEST(Record, CountsAndMarksValuesThatNewerOnesReplace) {
    ValueRobot robot("robot1");
    robot.set("fast", 0, a_robotTime);
    robot.set("slow", 0, a_robotTime);
    const std::string path = pathOf("passed_over.mcap");
    ChildProcess record(recordCommand({robot.place(), "--rate", "5", "-k", "fast", "-o", path}));
    ASSERT_TRUE(record.waitForOutput("\"values\":1,")) << record.errors();
    constexpr int changes = 1000;
    for (int n = 1; n <= changes; ++n) {
        robot.set("fast", n, a_robotTime + n);
        robot.set("slow", n, a_robotTime + n);  // not recorded
    }
    std::uint64_t reported = 0;
    waitForReport(record, [&](const Json& report) {
        reported = report["passed_over"];
        return report["values"].get<std::uint64_t>() + reported == 1 + changes;
    });
    interrupt(record);
    auto topics = heardByTopic(path);
    std::uint64_t marked = 0;
    for (const Heard& event : topics["/robot1/events"]) {
        const Json content = Json::parse(event.fData);
        if (content["event"] == "passed over") {
            marked += content["values"].get<std::uint64_t>();
            EXPECT_LE(content["since"], event.fLogTime);
        }
    }
    EXPECT_GT(marked, 0U);
    EXPECT_EQ(marked, reported);
    EXPECT_EQ(1 + changes, topics["/robot1/memory/fast"].size() + marked);
    EXPECT_EQ(R"({"value":1000})", topics["/robot1/memory/fast"].back().fData);
}

TEST(Record, WritesFramesAsTheyWereSent) {
    VideoRobot robot("robot1");
    robot.addCamera("head");
    robot.addCamera("chest");
    const std::string path = pathOf("frames.mcap");
    ChildProcess record(
        recordCommand({"127.0.0.1:" + std::to_string(robot.port()), "--all-cameras", "-o", path}));
    const obvista_test::Bytes rgb(std::size_t{4} * 2 * 3, 200);
    const std::string jpeg = "\xFF\xD8 any bytes of a JPEG \xFF\xD9";
    using obvista_test::makeFrame;
    KVFrame raw = makeFrame(KVPixelFormat::Rgb888, 4, 2, 12, rgb);
    raw.fNumber = 7;
    raw.fTime = a_robotTime;
    robot.publish("chest", raw);
    KVFrame compressed =
        makeFrame(KVPixelFormat::Jpeg, 4, 2, 0, obvista_test::Bytes(jpeg.begin(), jpeg.end()));
    compressed.fNumber = 3;
    compressed.fTime = a_robotTime + 1;
    robot.publish("head", compressed);
    ASSERT_TRUE(record.waitForOutput("\"frames\":2,")) << record.errors();
    compressed.fNumber = 6;
    robot.publish("head", compressed);
    ASSERT_TRUE(record.waitForOutput("\"frames\":3,")) << record.errors();
    EXPECT_THAT(record.output(), HasSubstr("\"missed_frames\":2,"));
    interrupt(record);

    expectSound(path);
    auto topics = heardByTopic(path);
    const std::vector<Heard>& head = topics["/robot1/camera/head"];
    ASSERT_EQ(2U, head.size());
    EXPECT_EQ(3U, head[0].fSequence);
    EXPECT_EQ(6U, head[1].fSequence);
    EXPECT_EQ(static_cast<std::uint64_t>(a_robotTime + 1) * 1000, head[0].fPublishTime);
    EXPECT_THAT(head[0].fData, HasSubstr(jpeg));
    const std::vector<Heard>& chest = topics["/robot1/camera/chest"];
    ASSERT_EQ(1U, chest.size());
    EXPECT_EQ(7U, chest[0].fSequence);
    EXPECT_THAT(chest[0].fData, HasSubstr(std::string(rgb.begin(), rgb.end())));
}

TEST(Record, PutsSeveralRobotsIntoOneFile) {
    ValueRobot one("robot1");
    ValueRobot other("robot1");  // the same name
    one.set("Key", 1, a_robotTime);
    one.set("Other", 1, a_robotTime);
    other.set("Key", 2, a_robotTime);
    const std::string path = pathOf("several.mcap");
    ChildProcess record(
        recordCommand({one.place(), other.place(), "-k", "K*", "-o", path, "--rate", "1000"}));
    ASSERT_TRUE(record.waitForOutput("\"values\":2,")) << record.errors();
    interrupt(record);
    auto topics = heardByTopic(path);
    EXPECT_EQ(R"({"value":1})", topics["/robot1/memory/Key"].at(0).fData);
    EXPECT_EQ(R"({"value":2})", topics["/robot1-2/memory/Key"].at(0).fData);
    EXPECT_THAT(topics["/robot1/memory/Other"], IsEmpty());
}

TEST(Record, EndsAfterItsDuration) {
    const RobotProcess robot;
    const std::string path = pathOf("duration.mcap");
    const ToolResult result = runTool({"record", placeOf(robot), "--duration", "0.5", "-o", path});
    EXPECT_EQ(0, result.fStatus) << result.fErrors;
    EXPECT_THAT(result.fOutput, HasSubstr(path + "\n"));
    EXPECT_THAT(result.fOutput, HasSubstr(" values, 0 frames"));
    expectSound(path);
}

TEST(Record, AKilledRecordingHasEverythingThatWasInTheFile) {
    const RobotProcess robot;
    const std::string path = pathOf("killed.mcap");
    ChildProcess record(recordCommand({placeOf(robot), "--all-cameras", "-o", path}));
    constexpr std::uint64_t enough = 500'000;
    std::uint64_t reported = 0;
    waitForReport(record, [&](const Json& report) {
        reported = report["bytes"];
        return reported >= enough;
    });
    record.signal(SIGKILL);
    ASSERT_EQ(-SIGKILL, record.waitForEnd());
    EXPECT_GE(fs::file_size(path), reported);
    const std::vector<Heard> heard = hear(path);
    EXPECT_GT(heard.size(), 100U);
    EXPECT_EQ(0, runTool({"recording", "repair", path}).fStatus);
    EXPECT_EQ(heard, hear(pathOf("killed-repaired.mcap")));
    expectSound(pathOf("killed-repaired.mcap"));
}

TEST(Record, AFullDiskEndsItWithASentenceAndAFileThatOpens) {
    const RobotProcess robot;
    const std::string path = pathOf("full.mcap");
    std::vector<std::string> command{"bash", "-c", "ulimit -f 300 && exec \"$@\"", "bash"};
    const std::vector<std::string> tool =
        recordCommand({placeOf(robot), "--all-cameras", "-o", path});
    command.insert(command.end(), tool.begin(), tool.end());
    ChildProcess record(command);
    EXPECT_EQ(a_cannotWrite, record.waitForEnd());
    EXPECT_THAT(record.errors(), HasSubstr("The recording ends here: cannot write " + path));
    EXPECT_THAT(record.errors(), HasSubstr("File too large"));
    EXPECT_LE(fs::file_size(path), 300U * 1024);
    EXPECT_GT(hear(path).size(), 0U);
}

TEST(Record, MarksTheGapOfALostRobot) {
    auto robot = std::make_unique<RobotProcess>();
    const int port = robot->port();
    const std::string path = pathOf("gap.mcap");
    ChildProcess record(recordCommand({placeOf(*robot), "-o", path}));
    const auto isConnected = [](const Json& report) { return report["lost"].empty(); };
    waitForReport(record, isConnected);
    robot->kill();
    waitForReport(record, std::not_fn(isConnected));
    RobotProcess::Settings again;
    again.fPort = port;
    robot = std::make_unique<RobotProcess>(again);
    waitForReport(record, isConnected);
    interrupt(record);
    expectSound(path);
    const recording::Reader reader(path);
    const std::string name = reader.readMetadata(reader.metadata().front()).fEntries.at("name");
    EXPECT_THAT(eventsOf(path, name), ::testing::ElementsAre("begin", "lost", "connected", "end"));
}

TEST(Record, MarksASilenceOfTheRobot) {
    RobotProcess robot;
    const std::string path = pathOf("silence.mcap");
    ChildProcess record(recordCommand({placeOf(robot), "-o", path}));
    waitForReport(record, [](const Json& report) { return report["lost"].empty(); });
    const auto visitor = KVConnection::open(KVBroker::createBroker({"Visitor"}),
                                            RobotProcess::address(), robot.port(), 10);
    using State = KVConnection::State;
    robot.suspend();
    // Both programs report a silence within half a second of each other; a longer one is certain.
    ASSERT_TRUE(eventually(
        [&] { return visitor->getState() == State::Silent && visitor->getSilence() > 4; }));
    robot.resume();
    EXPECT_TRUE(hasEvent(path, "answers again"));
    interrupt(record);
    expectSound(path);
    const recording::Reader reader(path);
    const std::string name = reader.readMetadata(reader.metadata().front()).fEntries.at("name");
    EXPECT_THAT(eventsOf(path, name),
                ::testing::ElementsAre("begin", "silent", "answers again", "end"));
}

TEST(Record, AnIconThatDoesNotComeDelaysNothing) {
    SlowIconServer server;
    if (!server.fault().empty()) {
        GTEST_SKIP() << "port 80: " << server.fault();
    }
    ValueRobot robot("robot1");
    robot.set("Key", 1, a_robotTime);
    const std::string path = pathOf("icon.mcap");
    ChildProcess record(recordCommand({robot.place(), "-o", path}));
    ASSERT_TRUE(record.waitForOutput("\"values\":1,")) << record.errors();
    const std::string bytes(100'000, 'i');
    server.answer(bytes);
    waitForReport(record, [&](const Json& report) { return report["bytes"] > bytes.size(); });
    interrupt(record);
    expectSound(path);
    const recording::Reader reader(path);
    ASSERT_EQ(1U, reader.attachments().size());
    const recording::Attachment icon = reader.readAttachment(reader.attachments().front());
    EXPECT_EQ("robot1/icon", icon.fName);
    EXPECT_EQ(bytes, icon.fData);
}

TEST(Record, MarksTheGapOfValuesThatEndAndContinues) {
    ValueRobot robot("robot1");
    robot.set("Key", 1, a_robotTime);
    const std::string path = pathOf("values_gap.mcap");
    ChildProcess record(recordCommand({robot.place(), "-o", path}));
    ASSERT_TRUE(record.waitForOutput("\"values\":1,")) << record.errors();
    robot.withdrawValues();
    waitForReport(record, [](const Json& report) { return !report["lost"].empty(); });
    robot.set("Key", 2, a_robotTime + 1);
    robot.offerValues();
    ASSERT_TRUE(record.waitForOutput("\"values\":2,")) << record.errors();
    interrupt(record);
    expectSound(path);
    EXPECT_THAT(eventsOf(path, "robot1"),
                ::testing::ElementsAre("begin", "values ended", "values continue", "end"));
    const std::vector<Heard> values = heardByTopic(path)["/robot1/memory/Key"];
    ASSERT_EQ(2U, values.size());
    EXPECT_EQ(R"({"value":2})", values[1].fData);
}

TEST(Record, MarksTheGapOfACameraThatEndsAndContinues) {
    VideoRobot robot("robot1");
    robot.addCamera("head");
    const KVFrame frame = obvista_test::makeFrame(KVPixelFormat::Rgb888, 4, 2, 12,
                                                  obvista_test::Bytes(std::size_t{4} * 2 * 3, 1));
    robot.publish("head", frame);
    const std::string path = pathOf("camera_gap.mcap");
    ChildProcess record(recordCommand(
        {"127.0.0.1:" + std::to_string(robot.port()), "--camera", "head", "-o", path}));
    ASSERT_TRUE(record.waitForOutput("\"frames\":1,")) << record.errors();
    ASSERT_TRUE(hasEvent(path, "values ended"));
    robot.removeCamera("head");
    robot.addCamera("head");
    robot.publish("head", frame);
    ASSERT_TRUE(record.waitForOutput("\"frames\":2,")) << record.errors();
    interrupt(record);
    expectSound(path);
    EXPECT_THAT(
        eventsOf(path, "robot1"),
        ::testing::ElementsAre("begin", "values ended", "camera ended", "camera continues", "end"));
}

TEST(Record, ConnectsAgainToARobotWithCamerasOnly) {
    auto robot = std::make_unique<VideoRobot>("robot1");
    robot->addCamera("head");
    const std::string path = pathOf("camera_lost.mcap");
    ChildProcess record(recordCommand(
        {"127.0.0.1:" + std::to_string(robot->port()), "--camera", "head", "-o", path}));
    const auto isConnected = [](const Json& report) { return report["lost"].empty(); };
    waitForReport(record, isConnected);
    ASSERT_TRUE(hasEvent(path, "values ended"));
    robot->stop();
    waitForReport(record, std::not_fn(isConnected));
    interrupt(record);
    EXPECT_THAT(eventsOf(path, "robot1"),
                ::testing::ElementsAre("begin", "values ended", "lost", "end"));
}

TEST(Record, EachPartOfASplitRecordingBeginsWithThePresentValues) {
    ValueRobot robot("robot1");
    robot.set("Still", 5, a_robotTime);
    ChildProcess record(
        recordCommand({robot.place(), "--split", "1s", "-o", pathOf("split.mcap")}));
    ASSERT_TRUE(record.waitForOutput("\"seconds\":2")) << record.errors();
    interrupt(record);
    for (const char* const name : {"split-001.mcap", "split-002.mcap"}) {
        expectSound(pathOf(name));
        const std::vector<Heard> heard = heardByTopic(pathOf(name))["/robot1/memory/Still"];
        ASSERT_EQ(1U, heard.size()) << name;
        EXPECT_EQ(R"({"value":5})", heard[0].fData);
        EXPECT_EQ(static_cast<std::uint64_t>(a_robotTime) * 1000, heard[0].fPublishTime);
        EXPECT_EQ(1U, recording::Reader(pathOf(name)).metadata().size());
    }
    EXPECT_FALSE(fs::exists(pathOf("split.mcap")));
}

/** An H.264 frame whose bytes nobody reads; its number is also its place. */
KVFrame filmFrame(std::uint64_t number, bool isKey = false) {
    KVFrame frame =
        obvista_test::makeFrame(KVPixelFormat::H264, 64, 48, 0, obvista_test::Bytes(100, 1));
    frame.fNumber = frame.fSequence = number;
    frame.fIsKey = isKey;
    return frame;
}

TEST(Record, RequestsAKeyFrameForEachPartOfASplitRecording) {
    VideoRobot robot("robot1");
    robot.addCamera("head");
    ChildProcess record(recordCommand({"127.0.0.1:" + std::to_string(robot.port()), "--camera",
                                       "head", "--split", "3s", "-o", pathOf("film.mcap")}));
    ASSERT_TRUE(eventually([&] { return robot.watchers("head") == 1; }));
    robot.publish("head", filmFrame(1, true));
    ASSERT_FALSE(robot.cameras().takeKeyFrameRequest("head"));
    ASSERT_TRUE(record.waitForOutput("\"frames\":1,")) << record.errors();
    EXPECT_TRUE(eventually([&] { return robot.cameras().takeKeyFrameRequest("head"); }));
    robot.publish("head", filmFrame(2, true));
    ASSERT_TRUE(record.waitForOutput("\"frames\":2,")) << record.errors();
    interrupt(record);
    EXPECT_EQ(1U, heardByTopic(pathOf("film-001.mcap"))["/robot1/camera/head"].size());
}

TEST(Record, CountsFramesThatNeedADroppedOne) {
    robot_recording::RecordingSink sink(pathOf("after_drop.mcap"), false, [] {});
    robot_recording::CameraTopic topic(sink, "robot1", "head", "");
    EXPECT_TRUE(topic.write(filmFrame(1, true), a_start));
    EXPECT_FALSE(topic.write(filmFrame(3), a_start));
    EXPECT_FALSE(topic.write(filmFrame(4), a_start));
    EXPECT_EQ(2U, sink.progress().fDropped);
    EXPECT_TRUE(topic.write(filmFrame(5, true), a_start));
    sink.finish();
    EXPECT_EQ(2U, heardByTopic(pathOf("after_drop.mcap"))["/robot1/camera/head"].size());
}

TEST(Record, CountsAndMarksWhatTheDiskIsTooSlowFor) {
    // No chunk may wait, so messages are dropped while one is compressed, which takes long here.
    recording::WriterOptions options = robot_recording::RecordingSink::usualOptions();
    options.fChunkBytes = 400;
    options.fWaitingBytes = 0;
    options.fLevel = 19;
    const std::string path = pathOf("slow.mcap");
    robot_recording::RecordingSink sink(
        path, false, [] {}, options);
    robot_recording::EventTopic events(sink, "robot1");
    const robot_recording::RecordingSink::Topic topic =
        sink.addTopic(robot_recording::valueSchema(robot_recording::ValueForm::Int),
                      "/robot1/memory/Key", {}, robot_recording::RecordingSink::Repeat::Yes);
    constexpr std::uint32_t count = 20'000;
    std::uint64_t dropped = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (!sink.write(topic, i, a_start + i, a_start + i, "{\"value\":1}")) {
            ++dropped;
            events.countDrops();
        }
    }
    sink.flush();
    events.report();
    sink.finish();
    EXPECT_GT(dropped, 0U);
    EXPECT_EQ(dropped, sink.progress().fDropped);
    auto topics = heardByTopic(path);
    EXPECT_EQ(count - dropped, topics["/robot1/memory/Key"].size());
    ASSERT_EQ(1U, topics["/robot1/events"].size());
    const Json event = Json::parse(topics["/robot1/events"][0].fData);
    EXPECT_EQ("dropped", event["event"]);
    EXPECT_EQ(dropped, event["messages"]);
    EXPECT_LE(event["since"], topics["/robot1/events"][0].fLogTime);
}

TEST(Record, GroupsTheKeysForWhichThereAreNoChannelNumbers) {
    constexpr std::uint64_t keys = 62'000;
    RobotProcess::Settings settings;
    settings.fArguments = {"--keys", std::to_string(keys), "--changing", "0", "--no-video"};
    const RobotProcess robot(settings);
    const std::string path = pathOf("many.mcap");
    ChildProcess record(recordCommand({placeOf(robot), "-o", path}));
    waitForReport(record, [](const Json& report) { return report["values"] >= keys; });
    interrupt(record);
    std::uint64_t channels = 0;
    std::set<std::string> grouped;
    const std::string group = "/memory";
    for (const Heard& heard : hear(path)) {
        const bool isGroup =
            heard.fTopic.size() > group.size() &&
            heard.fTopic.compare(heard.fTopic.size() - group.size(), group.size(), group) == 0;
        if (isGroup) {
            grouped.insert(Json::parse(heard.fData).begin().key());
        } else if (heard.fTopic.find("/memory/") != std::string::npos) {
            ++channels;
        }
    }
    EXPECT_GT(channels, 60'000U);
    EXPECT_GT(grouped.size(), 500U);
    EXPECT_GE(channels + grouped.size(), keys);
}

TEST(Record, WrongWordsAreRefusedBeforeAFileIsCreated) {
    VideoRobot robot("robot1");
    robot.addCamera("head");
    const std::string place = "127.0.0.1:" + std::to_string(robot.port());
    const std::string path = pathOf("refused.mcap");
    ToolResult result = runTool({"record", place});
    EXPECT_EQ(a_wrongUsage, result.fStatus);
    EXPECT_THAT(result.fErrors, HasSubstr("-o FILE is missing"));
    for (const char* const split : {"0s", "5", "s", "-1MB", "1TB"}) {
        result = runTool({"record", place, "-o", path, std::string("--split=") + split});
        EXPECT_EQ(a_wrongUsage, result.fStatus) << split;
        EXPECT_THAT(result.fErrors, HasSubstr("--split takes a size"));
    }
    result = runTool({"record", place, "-o", path, "--camera", "tail"});
    EXPECT_EQ(a_notOffered, result.fStatus);
    EXPECT_THAT(result.fErrors, HasSubstr("no camera named tail"));
    EXPECT_FALSE(fs::exists(path));
    writeBytes("precious.mcap", "precious");
    result = runTool({"record", place, "-o", pathOf("precious.mcap")});
    EXPECT_EQ(a_cannotWrite, result.fStatus);
    EXPECT_THAT(result.fErrors, HasSubstr("File exists"));
    EXPECT_EQ("precious", bytesOf(pathOf("precious.mcap")));
    // Neither values nor cameras.
    result = runTool({"record", place, "-o", path, "--duration", "60"});
    EXPECT_EQ(a_notOffered, result.fStatus);
    EXPECT_THAT(result.fErrors, HasSubstr("KVMemory"));
}

}  // namespace
}  // namespace recording_test
