// 'robaxi snapshot' against robots whose cameras do what each test wants.
#include "frame_stamp.h"
#include "plain_frames.h"
#include "robot_process.h"
#include "tool_process.h"
#include "values/change_format.h"
#include "video_robot.h"

#include <robaxi/kv_frame_source.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <grey_film.h>
#include <iterator>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <thread>

namespace obvista_test {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

/** A frame whose bytes are a text. */
KVFrame textFrame(std::uint64_t number, KVPixelFormat format, std::uint32_t width,
                  std::uint32_t height, const std::string& text) {
    const std::uint32_t stride = format == KVPixelFormat::Jpeg ? 0 : width;
    KVFrame frame = makeFrame(format, width, height, stride, Bytes(text.begin(), text.end()));
    frame.fNumber = number;
    frame.fTime = 1714566896789012;
    return frame;
}

/** A JPEG of 64x48. */
std::string blackJpeg() {
    const Bytes black(std::size_t{3} * 64 * 48);
    const Bytes jpeg = jpegOf({black.data(), 64, 48, 192, picture::PixelLayout::Rgb888});
    return {jpeg.begin(), jpeg.end()};
}

/**
 * A rate of a camera in frames a second at which the command waits for ten seconds before it says
 * that the camera has stopped; at others it waits for one, which is little on a busy machine.
 */
constexpr double a_seldom = 0.1;

/** Gives each test a robot and a temporary folder. */
class Snapshot : public ::testing::Test {
  protected:
    Snapshot() {
        fRobot.addCamera("head", {{"rate", KVValue(a_seldom)}});
        fRobot.addCamera("chest", {{"rate", KVValue(a_seldom)}});
        std::string name = fs::temp_directory_path() / "snapshot.XXXXXX";
        fFolder = mkdtemp(name.data());
    }
    ~Snapshot() override {
        fRobot.cameras().setDemandHandler({});
        fs::remove_all(fFolder);
    }

    /** The command, which starts in the folder of the test. */
    std::vector<std::string> command(const std::vector<std::string>& words) const {
        std::vector<std::string> arguments{"snapshot",
                                           "127.0.0.1:" + std::to_string(fRobot.port())};
        arguments.insert(arguments.end(), words.begin(), words.end());
        std::vector<std::string> all{"bash", "-c", "cd \"$1\" && shift && exec \"$@\"", "bash",
                                     fFolder};
        const std::vector<std::string> tool = toolCommand(arguments);
        all.insert(all.end(), tool.begin(), tool.end());
        return all;
    }

    ToolResult run(const std::vector<std::string>& words) const {
        ChildProcess process(command(words));
        const std::optional<int> status = process.waitForEnd();
        EXPECT_TRUE(status) << "it did not end";
        return {status.value_or(-1), process.output(), process.errors()};
    }

    /** The same, for one that must work. */
    std::string outputOf(const std::vector<std::string>& words) const {
        const ToolResult result = run(words);
        EXPECT_EQ(0, result.fStatus);
        EXPECT_THAT(result.fErrors, IsEmpty());
        return result.fOutput;
    }

    void expectFailure(int status, const std::string& sentence,
                       const std::vector<std::string>& words) const {
        const ToolResult result = run(words);
        EXPECT_EQ(status, result.fStatus);
        EXPECT_THAT(result.fErrors, AllOf(StartsWith("robaxi: "), HasSubstr(sentence)));
        EXPECT_THAT(result.fOutput, IsEmpty());
        EXPECT_TRUE(fs::is_empty(fFolder)) << "something was saved";
    }

    std::string read(const std::string& name) const {
        std::ifstream file(fFolder / name, std::ios::binary);
        EXPECT_TRUE(file) << name;
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /** Sets what happens, once, when somebody begins to watch "head"; runs on a thread of the
     *  library. */
    void whenWatched(const std::function<void()>& action) {
        fRobot.cameras().setDemandHandler([this, action](const std::string& camera, int watchers) {
            if (camera == "head" && watchers != 0) {
                std::call_once(fIsWatched, action);
            }
        });
    }

    /** Starts the command and waits until it watches "head"; nothing when it does not. */
    std::unique_ptr<ChildProcess> startAndWatch() {
        whenWatched([this] { fWatched.set_value(); });
        auto process = std::make_unique<ChildProcess>(command({"--timeout", "3600"}));
        const auto outcome = fWatched.get_future().wait_for(ChildProcess::a_patience);
        return outcome == std::future_status::ready ? std::move(process) : nullptr;
    }

    static KVFrame greyFrame(std::uint64_t number) {
        return textFrame(number, KVPixelFormat::Grey8, 4, 2, "abcdefgh");
    }

    fs::path fFolder;
    std::once_flag fIsWatched;
    std::promise<void> fWatched;
    VideoRobot fRobot{"seer"};
};

/** A camera that takes a hundred pictures a second, from number 2 on. */
class MovingCamera {
  public:
    using Picture = std::function<KVFrame(std::uint64_t number)>;

    MovingCamera(KVFrameSource& cameras, const std::string& name, Picture picture)
        : fThread([this, &cameras, name, picture = std::move(picture)] {
              std::unique_lock lock(fMutex);
              for (std::uint64_t number = 2; !fIsOver; ++number) {
                  cameras.publish(name, picture(number));
                  fOver.wait_for(lock, std::chrono::milliseconds(10), [this] { return fIsOver; });
              }
          }) {}
    ~MovingCamera() {
        {
            const std::lock_guard lock(fMutex);
            fIsOver = true;
        }
        fOver.notify_all();
        fThread.join();
    }
    MovingCamera(const MovingCamera&) = delete;
    MovingCamera& operator=(const MovingCamera&) = delete;

  private:
    std::mutex fMutex;
    std::condition_variable fOver;
    bool fIsOver = false;
    std::thread fThread;  ///< last, since it uses the rest
};

TEST_F(Snapshot, SavesTheFirstCamerasPictureUnderAGeneratedName) {
    const MovingCamera camera(fRobot.cameras(), "head", greyFrame);
    EXPECT_EQ("seer-head-20240501T123456789012.png\n", outputOf({}));
    EXPECT_THAT(read("seer-head-20240501T123456789012.png"), StartsWith("\x89PNG"));
}

TEST_F(Snapshot, KeepsAJpegAsItCame) {
    const std::string jpeg = blackJpeg();
    const MovingCamera camera(fRobot.cameras(), "chest", [&](std::uint64_t number) {
        return textFrame(number, KVPixelFormat::Jpeg, 64, 48, jpeg);
    });
    EXPECT_EQ("seer-chest-20240501T123456789012.jpg\n", outputOf({"chest"}));
    EXPECT_EQ(jpeg, read("seer-chest-20240501T123456789012.jpg"));
}

TEST_F(Snapshot, WritesTheFormatOfTheFilesEndingOrTheOneThatIsAskedFor) {
    const MovingCamera camera(fRobot.cameras(), "head", greyFrame);
    EXPECT_EQ("a.pgm\n", outputOf({"-o", "a.pgm"}));
    EXPECT_EQ("P5\n4 2\n255\nabcdefgh", read("a.pgm"));
    EXPECT_EQ("a.ppm\n", outputOf({"head", "--output", "a.ppm"}));
    EXPECT_EQ("P6\n4 2\n255\naaabbbcccdddeeefffggghhh", read("a.ppm"));
    outputOf({"-o", "a.jpg"});
    EXPECT_THAT(read("a.jpg"), StartsWith("\xff\xd8\xff"));
    outputOf({"-o", "without-ending", "--format", "pgm"});
    EXPECT_THAT(read("without-ending"), StartsWith("P5\n"));
    EXPECT_EQ("seer-head-20240501T123456789012.ppm\n", outputOf({"--format", "ppm"}));
}

TEST_F(Snapshot, APipeGetsThePictureAndNothingElse) {
    const MovingCamera camera(fRobot.cameras(), "head", greyFrame);
    EXPECT_EQ("P5\n4 2\n255\nabcdefgh", outputOf({"-o", "-", "--format", "pgm"}));
    EXPECT_THAT(outputOf({"-o", "-"}), StartsWith("\x89PNG"));
}

TEST_F(Snapshot, IsDescribedInJson) {
    const MovingCamera camera(fRobot.cameras(), "head", greyFrame);
    const Json picture = Json::parse(outputOf({"--json", "-o", "a.pgm"}));
    EXPECT_EQ("a.pgm", picture["file"]);
    EXPECT_EQ("seer", picture["robot"]);
    EXPECT_EQ("head", picture["camera"]);
    EXPECT_EQ("2024-05-01T12:34:56.789012Z", picture["time"]);
    EXPECT_EQ(true, picture["new"]);
    EXPECT_EQ(4, picture["width"]);
    EXPECT_EQ(2, picture["height"]);
    EXPECT_EQ("grey", picture["sent"]);
    EXPECT_EQ("pgm", picture["format"]);
    EXPECT_EQ(fs::file_size(fFolder / "a.pgm"), picture["bytes"]);
}

// The newest frame of a robot may be a day old, if nobody has watched since.
TEST_F(Snapshot, IsNotThePictureThatWasThereBefore) {
    fRobot.cameras().publish("head", greyFrame(1));
    std::unique_ptr<MovingCamera> camera;
    whenWatched(
        [&] { camera = std::make_unique<MovingCamera>(fRobot.cameras(), "head", greyFrame); });
    const Json picture = Json::parse(outputOf({"--json"}));
    EXPECT_LT(1, picture["number"]);
    EXPECT_EQ(true, picture["new"]);
}

TEST_F(Snapshot, OfAStoppedCameraIsItsLastOneWithAMessage) {
    fRobot.setSettings("head", {{"rate", KVValue(30.0)}});
    fRobot.cameras().publish("head", greyFrame(1));
    const ToolResult result = run({"--json"});
    EXPECT_EQ(0, result.fStatus);
    EXPECT_EQ(false, Json::parse(result.fOutput)["new"]);
    EXPECT_EQ(
        "robaxi: The camera head has stopped. Its last picture is of "
        "2024-05-01T12:34:56.789012Z.\n",
        result.fErrors);
}

/** An H.264 frame of a time in microseconds after those of the other tests. */
KVFrame filmFrame(GreyFilm& film, std::int64_t time, bool isKeyWanted = false) {
    KVFrame frame = film.next(isKeyWanted);
    frame.fTime = 1714566896789012 + time;
    return frame;
}

// A robot sends the H.264 frames of the last 0.3 s to everybody who comes later.
TEST_F(Snapshot, OfAStoppedFilmIsItsLastPictureWithAMessage) {
    fRobot.setSettings("head", {{"rate", KVValue(30.0)}});
    GreyFilm film;
    for (const std::int64_t time : {0, 100'000, 300'000}) {
        fRobot.cameras().publish("head", filmFrame(film, time));
    }
    const ToolResult result = run({"-o", "a.pgm", "--json"});
    EXPECT_EQ(0, result.fStatus);
    EXPECT_EQ(false, Json::parse(result.fOutput)["new"]);
    EXPECT_EQ(
        "robaxi: The camera head has stopped. Its last picture is of "
        "2024-05-01T12:34:57.089012Z.\n",
        result.fErrors);
    EXPECT_NEAR(static_cast<unsigned char>(read("a.pgm").back()), GreyFilm::greyOf(3), 4);
}

TEST_F(Snapshot, OfAFilmIsLaterThanAllFramesThatTheRobotKept) {
    constexpr std::int64_t period = 100'000;
    GreyFilm film;
    fRobot.cameras().publish("head", filmFrame(film, period));
    std::unique_ptr<MovingCamera> camera;
    whenWatched([&] {
        camera =
            std::make_unique<MovingCamera>(fRobot.cameras(), "head", [&film](std::uint64_t number) {
                return filmFrame(film, static_cast<std::int64_t>(number) * period,
                                 number % 10 == 0);
            });
    });
    const Json picture = Json::parse(outputOf({"-o", "a.pgm", "--json"}));
    EXPECT_EQ(true, picture["new"]);
    EXPECT_LE(5, picture["number"]);
    EXPECT_NEAR(static_cast<unsigned char>(read("a.pgm").back()),
                GreyFilm::greyOf(picture["number"]), 4);
}

TEST_F(Snapshot, OfACameraThatSendsNothingIsGivenUp) {
    expectFailure(5, "The camera head has sent no picture within 1 s.", {"--timeout", "1"});
}

TEST_F(Snapshot, AMissingCameraIsReported) {
    expectFailure(8, "There is no camera named tail. The robot has: head, chest.", {"tail"});
}

TEST_F(Snapshot, AMissingModuleIsReported) {
    expectFailure(8, "no module named KVEyes", {"--module", "KVEyes"});
}

TEST_F(Snapshot, ARemovedCameraIsReported) {
    whenWatched([this] { fRobot.cameras().removeStream("head"); });
    expectFailure(8, "it has no camera of that name", {});
}

TEST_F(Snapshot, ALostRobotIsReported) {
    const std::unique_ptr<ChildProcess> process = startAndWatch();
    ASSERT_TRUE(process);
    fRobot.stop();
    EXPECT_EQ(10, process->waitForEnd());
    EXPECT_THAT(process->errors(), AllOf(StartsWith("robaxi: "), HasSubstr("lost")));
}

TEST_F(Snapshot, TheUserNeedNotWait) {
    const std::unique_ptr<ChildProcess> process = startAndWatch();
    ASSERT_TRUE(process);
    process->signal(SIGINT);
    EXPECT_EQ(130, process->waitForEnd());
    EXPECT_THAT(process->errors(), IsEmpty());
    EXPECT_TRUE(fs::is_empty(fFolder));
}

TEST_F(Snapshot, APictureThatIsNotWhatItClaimsIsNotSaved) {
    const auto expectBad = [this](const std::string& sentence, const KVFrame& claimed) {
        const MovingCamera camera(fRobot.cameras(), "head", [&](std::uint64_t number) {
            KVFrame frame = claimed;
            frame.fNumber = number;
            return frame;
        });
        expectFailure(14, sentence, {});
    };
    expectBad("fewer bytes", textFrame(1, KVPixelFormat::Grey8, 4000, 4000, "abc"));
    expectBad("cannot be read", textFrame(1, KVPixelFormat::Jpeg, 64, 48, "no JPEG"));
    const std::string jpeg = blackJpeg();
    expectBad("damaged or incomplete",
              textFrame(1, KVPixelFormat::Jpeg, 64, 48, jpeg.substr(0, jpeg.size() - 4)));
    expectBad("does not know", textFrame(1, KVPixelFormat::Unknown, 4, 2, "abcdefgh"));
}

TEST_F(Snapshot, AnUnwritableFileIsReported) {
    const MovingCamera camera(fRobot.cameras(), "head", greyFrame);
    expectFailure(12, "nosuch/a.png cannot be written: No such file", {"-o", "nosuch/a.png"});
    expectFailure(12, "/dev/full cannot be written: No space left",
                  {"-o", "/dev/full", "--format", "png"});
}

TEST_F(Snapshot, WrongUseIsTold) {
    expectFailure(2, "does not end in .jpg, .png, .ppm or .pgm", {"-o", "a.gif"});
    expectFailure(2, "--format is 'jpeg', 'png', 'ppm' or 'pgm', not 'gif'", {"--format", "gif"});
    expectFailure(2, "the picture or its description, not both", {"-o", "-", "--json"});
}

TEST_F(Snapshot, ATerminalDoesNotGetAPicture) {
    ChildProcess process(
        {"script", "-qec", toolCommand({})[0] + " snapshot 127.0.0.1:1 -o -", "/dev/null"});
    EXPECT_EQ(2, process.waitForEnd());
    EXPECT_THAT(process.output(), HasSubstr("a terminal cannot show pictures"));
}

TEST_F(Snapshot, CamerasAreListed) {
    EXPECT_EQ(
        "head         320x240    rgb      0.1/s    a camera of a test\n"
        "chest        320x240    rgb      0.1/s    a camera of a test\n",
        outputOf({"--list"}));
    const std::string json = outputOf({"--list", "--json"});
    EXPECT_EQ("head", Json::parse(json.substr(0, json.find('\n')))["name"]);
}

/** The stamp that the simulated robot draws into a picture, read from a PGM. */
std::optional<FrameStamp> stampOf(const std::string& pgm) {
    std::istringstream stream(pgm);
    std::string kind;
    int width = 0;
    int height = 0;
    int white = 0;
    stream >> kind >> width >> height >> white;
    EXPECT_EQ("P5", kind);
    const std::string rows = pgm.substr(static_cast<std::size_t>(stream.tellg()) + 1);
    const auto luma = [&](int x, int y) {
        return static_cast<unsigned char>(rows.at(static_cast<std::size_t>(y * width + x)));
    };
    return readFrameStamp(luma, 0, 0, width);
}

// The saved frame is the reported one: its picture contains number and time.
TEST_F(Snapshot, ShowsWhatTheSimulatedRobotSeesInEachOfItsFormats) {
    const RobotProcess robot({{"--stamp"}});
    const std::string place =
        std::string(RobotProcess::address()) + ':' + std::to_string(robot.port());
    const std::string file = fFolder / "a.pgm";
    for (const std::string format : {"rgb", "yuv422", "grey", "jpeg", "h264"}) {
        const ToolResult set = runTool(
            {"call", place, "KVVideo", "setSettings", "head",
             "{\"format\": \"" + format + "\", \"rate\": 1}"});  // and so, four seconds of patience
        ASSERT_EQ(0, set.fStatus) << set.fErrors;
        const ToolResult saved = runTool({"snapshot", place, "head", "-o", file, "--json"});
        ASSERT_EQ(0, saved.fStatus) << saved.fErrors;
        const Json picture = Json::parse(saved.fOutput);
        EXPECT_EQ(format, picture["sent"]);
        EXPECT_EQ(true, picture["new"]);
        const std::optional<FrameStamp> stamp = stampOf(read("a.pgm"));
        ASSERT_TRUE(stamp) << format;
        EXPECT_EQ(stamp->fNumber, picture["number"]);
        EXPECT_EQ(robaxi_tool::timeText(stamp->fTime), picture["time"]);
    }
}

TEST_F(Snapshot, RefusesEachTroubleOfACameraWithASentence) {
    const RobotProcess robot;
    const std::string place =
        std::string(RobotProcess::address()) + ':' + std::to_string(robot.port());
    const std::vector<std::pair<std::string, int>> troubles = {
        {"unsupported", 14}, {"short", 14},      {"no-size", 14}, {"huge-size", 14},
        {"no-jpeg", 14},     {"lying-jpeg", 14}, {"removed", 8}};
    for (const auto& [trouble, status] : troubles) {
        const ToolResult set = runTool({"call", place, "KVSim", "setCamera", "head", trouble});
        ASSERT_EQ(0, set.fStatus) << set.fErrors;
        const ToolResult result =
            runTool({"snapshot", place, "head", "-o", fFolder / "a.png", "--timeout", "20"});
        EXPECT_EQ(status, result.fStatus) << trouble << ": " << result.fErrors;
        EXPECT_THAT(result.fErrors, StartsWith("robaxi: ")) << trouble;
        EXPECT_TRUE(fs::is_empty(fFolder)) << trouble;
    }
}

}  // namespace
}  // namespace obvista_test
