// "robaxi recording export": the results are read by other programs, by Python's csv, ImageMagick
// and GStreamer.
#include "child_process.h"
#include "plain_frames.h"
#include "recording_files.h"
#include "tool_process.h"
#include "without_plugins.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <grey_film.h>
#include <matroska_reading.h>
#include <nlohmann/json.hpp>
#include <robot_recording/image_message.h>
#include <utility>
#include <vector>

namespace recording_test {
namespace {

using Json = nlohmann::json;
using obvista_test::Bytes;
using obvista_test::ChildProcess;
using obvista_test::makeFrame;
using obvista_test::runTool;
using obvista_test::ToolResult;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr int a_wrongUsage = 2;
constexpr int a_notFound = 3;
constexpr int a_notOffered = 8;
constexpr int a_badPicture = 14;
constexpr int a_cannotWrite = 12;
constexpr int a_badRecording = 17;
constexpr std::uint64_t a_millisecond = 1'000'000;
/** The robot's clock is ten seconds late. */
constexpr std::uint64_t a_late = 10'000 * a_millisecond;
constexpr std::int64_t a_robotStart = static_cast<std::int64_t>((a_start - a_late) / 1000);

std::vector<std::string> exportWords(const std::vector<std::string>& words) {
    std::vector<std::string> arguments{"recording", "export"};
    arguments.insert(arguments.end(), words.begin(), words.end());
    return arguments;
}

ToolResult runExport(const std::vector<std::string>& words) {
    return runTool(exportWords(words));
}

/** The lines that a successful export prints. */
std::string outputOf(const std::vector<std::string>& words) {
    const ToolResult result = runExport(words);
    EXPECT_EQ(0, result.fStatus) << result.fErrors;
    EXPECT_THAT(result.fErrors, IsEmpty());
    return result.fOutput;
}

std::string outputOfProgram(const std::vector<std::string>& command) {
    ChildProcess process(command);
    EXPECT_EQ(0, process.waitForEnd()) << process.errors();
    return process.output();
}

/** A recording with the topics of "robaxi record", one message each millisecond. */
class Sample {
  public:
    explicit Sample(const std::string& name) : fPath(pathOf(name)), fWriter(fPath, options()) {}

    void addRobot(const std::string& name) {
        fWriter.writeMetadata({"robot", {{"name", name}, {"topics", '/' + name}}});
    }
    std::uint16_t addKey(const std::string& topic, const std::string& schema,
                         const std::string& unit = "") {
        const std::uint16_t id = fWriter.addSchema(schema, "jsonschema", "{}");
        return fWriter.addChannel(id, topic, "json",
                                  unit.empty() ? Texts() : Texts{{"unit", unit}});
    }
    std::uint16_t addCamera(const std::string& topic, KVPixelFormat format) {
        const robot_recording::MessageSchema& schema = robot_recording::imageSchema(format);
        const std::uint16_t id = fWriter.addSchema(schema.fName, schema.fEncoding, schema.fData);
        return fWriter.addChannel(id, topic, schema.fMessageEncoding);
    }
    std::uint16_t addForeign(const std::string& topic, const std::string& encoding,
                             const std::string& schema, const std::string& schemaData) {
        return fWriter.addChannel(fWriter.addSchema(schema, encoding, schemaData), topic, encoding);
    }

    void write(std::uint16_t channel, const std::string& data) {
        const std::uint64_t time = a_start + fMessages * a_millisecond;
        fWriter.write({channel, ++fMessages, time, time - a_late, data});
    }
    /** Writes messages at the same time. */
    void writeTogether(const std::vector<std::pair<std::uint16_t, std::string>>& messages) {
        const std::uint64_t time = a_start + fMessages * a_millisecond;
        for (const auto& [channel, data] : messages) {
            fWriter.write({channel, ++fMessages, time, time - a_late, data});
        }
    }
    void write(std::uint16_t channel, KVFrame frame) {
        frame.fTime = 0;
        write(channel, robot_recording::imageMessage(frame, "head"));
    }

    const std::string& finish() {
        fWriter.finish();
        return fPath;
    }

  private:
    using Texts = recording::Texts;

    static recording::WriterOptions options() {
        recording::WriterOptions options;
        options.fOverwrites = true;
        return options;
    }

    const std::string fPath;
    recording::Writer fWriter;
    std::uint32_t fMessages = 0;
};

/** The rows of a CSV file as Python reads them: lists of texts. */
Json rowsOf(const std::string& file) {
    return Json::parse(outputOfProgram(
        {"python3", "-c",
         "import csv, json, sys\n"
         "print(json.dumps(list(csv.reader(open(sys.argv[1], newline='', encoding='utf-8')))))",
         file}));
}

/** The rows without the times. */
std::vector<std::string> valuesOf(const std::string& file) {
    std::vector<std::string> values;
    for (const Json& row : rowsOf(file)) {
        values.push_back(row[2].get<std::string>() + '|' + row[3].get<std::string>() + '|' +
                         row[4].get<std::string>() + '|' + row[5].get<std::string>());
    }
    return values;
}

/** A robot with keys of several types, and gaps. */
std::string valueSample() {
    Sample sample("values.mcap");
    sample.addRobot("robot1");
    const std::uint16_t knee = sample.addKey("/robot1/memory/Joint/Knee", "robaxi.Float", "rad");
    const std::uint16_t state = sample.addKey("/robot1/memory/State", "robaxi.Text");
    const std::uint16_t list = sample.addKey("/robot1/memory/List", "robaxi.List");
    const std::uint16_t group = sample.addKey("/robot1/memory", "robaxi.Values");
    const std::uint16_t events = sample.addKey("/robot1/events", "robaxi.Event");
    sample.write(knee, R"({"value":0.25})");
    sample.write(state, R"({"value":"=a, \"b\"\n"})");
    sample.write(list, R"({"value":[1,{"base64":"AQID"}]})");
    sample.write(group, R"({"Other":true})");
    sample.write(events, R"({"event":"key removed","text":"List"})");
    sample.write(events, R"({"event":"dropped","text":"","messages":7})");
    sample.write(knee, R"({"value":"NaN"})");
    sample.write(events, R"({"event":"lost","text":""})");
    sample.write(knee, R"({"value":1e-9})");
    return sample.finish();
}

TEST(Export, ValuesAreRowsThatPythonReads) {
    const std::string csv = pathOf("values.csv");
    std::filesystem::remove(csv);
    EXPECT_EQ(csv + '\n', outputOf({valueSample(), "-o", csv}));
    const Json rows = rowsOf(csv);
    EXPECT_EQ(Json({"time_us", "time_utc", "key", "value", "unit", "type"}), rows[0]);
    EXPECT_EQ(Json({std::to_string(a_robotStart), "2023-11-14T22:13:10.000000Z", "Joint/Knee",
                    "0.25", "rad", "float"}),
              rows[1]);
    EXPECT_THAT(
        valuesOf(csv),
        ElementsAre("key|value|unit|type", "Joint/Knee|0.25|rad|float",
                    "State|'=a, \"b\"\\n||string", R"(List|[1,{"base64":"AQID"}]||list)",
                    "Other|true||bool", "List|||gap", "|7||lost", "Joint/Knee|nan|rad|float",
                    ::testing::_, ::testing::_, ::testing::_, "Joint/Knee|1e-09|rad|float"));
    // The connection was lost: each key that had a value has a gap.
    const std::vector<std::string> values = valuesOf(csv);
    EXPECT_THAT(
        std::vector<std::string>(values.begin() + 8, values.begin() + 11),
        ::testing::UnorderedElementsAre("Joint/Knee||rad|gap", "State|||gap", "Other|||gap"));
}

TEST(Export, KeysAndASpanOfTimeAreChosen) {
    const std::string csv = pathOf("chosen.csv");
    std::filesystem::remove(csv);
    const Json report =
        Json::parse(outputOf({valueSample(), "-k", "Joint/*", "-k", "Other", "--from", "0.002",
                              "--to", "0.006", "-o", csv, "--json"}));
    EXPECT_EQ(Json({csv}), report["files"]);
    EXPECT_EQ(2, report["values"]);
    EXPECT_THAT(valuesOf(csv), ElementsAre("key|value|unit|type", "Other|true||bool", "|7||lost",
                                           "Joint/Knee|nan|rad|float"));
}

/** The rows of a CSV file of --wide without the times. */
std::vector<std::vector<std::string>> tableOf(const std::string& file) {
    std::vector<std::vector<std::string>> table;
    for (const Json& row : rowsOf(file)) {
        table.emplace_back(row.begin() + 1, row.end());
    }
    return table;
}

TEST(Export, AWideTableHasAColumnForEachKey) {
    const std::string csv = pathOf("wide.csv");
    std::filesystem::remove(csv);
    EXPECT_EQ(csv + '\n', outputOf({valueSample(), "--wide", "-o", csv}));
    using Row = std::vector<std::string>;
    const std::string text = "'=a, \"b\"\\n";
    const std::string list = R"([1,"<3 bytes>"])";
    EXPECT_THAT(tableOf(csv),
                ElementsAre(Row{"Joint/Knee", "State", "List", "Other"}, Row{"0.25", "", "", ""},
                            Row{"0.25", text, "", ""}, Row{"0.25", text, list, ""},
                            Row{"0.25", text, list, "true"},
                            // The list was removed.
                            Row{"nan", text, "", "true"},
                            // The connection was lost.
                            Row{"1e-09", "", "", ""}));
    const Json rows = rowsOf(csv);
    EXPECT_EQ("time", rows[0][0]);
    EXPECT_EQ("2023-11-14T22:13:10.000000Z", rows[1][0]);
}

TEST(Export, AWideTableHasARowForEachUpdateOfTheChosenKeys) {
    Sample sample("updates.mcap");
    sample.addRobot("robot1");
    const std::uint16_t a = sample.addKey("/robot1/memory/a", "robaxi.Int");
    const std::uint16_t b = sample.addKey("/robot1/memory/b", "robaxi.Text");
    const std::uint16_t c = sample.addKey("/robot1/memory/c", "robaxi.Int");
    sample.write(c, R"({"value":0})");
    sample.writeTogether({{a, R"({"value":1})"}, {b, R"({"value":"x"})"}, {a, R"({"value":2})"}});
    sample.write(b, "{\"value\":\"" + std::string(20'000, 'y') + "\"}");
    const std::string file = sample.finish();
    const std::string csv = pathOf("updates.csv");
    std::filesystem::remove(csv);
    const ToolResult result = runExport({file, "--wide", "-k", "[ab]", "-o", csv});
    EXPECT_EQ(0, result.fStatus);
    EXPECT_THAT(result.fErrors,
                HasSubstr("Left out, since they are too long for a cell: 1 values."));
    using Row = std::vector<std::string>;
    EXPECT_THAT(tableOf(csv), ElementsAre(Row{"a", "b"}, Row{"2", "x"}, Row{"2", ""}));
}

TEST(Export, AWideTableHasNoMoreColumnsThanASpreadsheet) {
    constexpr int most = 16'383;
    const auto groupOf = [](int keys) {
        std::string group = "{\"k0\":0";
        for (int key = 1; key < keys; ++key) {
            group += ",\"k" + std::to_string(key) + "\":0";
        }
        return group + '}';
    };
    const std::string csv = pathOf("columns.csv");
    std::filesystem::remove(csv);
    for (const int keys : {most + 1, most}) {
        Sample sample("columns.mcap");
        sample.addRobot("robot1");
        sample.write(sample.addKey("/robot1/memory", "robaxi.Values"), groupOf(keys));
        const ToolResult result = runExport({sample.finish(), "--wide", "-o", csv});
        EXPECT_EQ(keys > most ? a_cannotWrite : 0, result.fStatus) << result.fErrors;
        EXPECT_EQ(keys <= most, std::filesystem::exists(csv));
    }
    EXPECT_EQ(std::size_t{most}, tableOf(csv).at(1).size());
}

TEST(Export, FieldsOfOtherProgramsAreKeys) {
    using namespace std::string_literals;
    // message Thing { double x = 1; } of the package "maker".
    const std::string schema =
        "\x0A\x30\x0A\x0Bthing.proto\x12\x05maker"
        "\x22\x12\x0A\x05Thing\x12\x09\x0A\x01x\x18\x01 \x01(\x01"
        "b\x06proto3"s;
    Sample sample("foreign.mcap");
    const std::uint16_t json = sample.addForeign("/imu", "json", "Imu", "{}");
    const std::uint16_t thing = sample.addForeign("/thing", "protobuf", "maker.Thing", schema);
    sample.write(json, R"({"gyro":{"x":1.5,"y":2}})");
    sample.write(thing, "\x09\0\0\0\0\0\0\xE0\x3F"s);
    const std::string csv = pathOf("foreign.csv");
    std::filesystem::remove(csv);
    outputOf({sample.finish(), "-o", csv});
    EXPECT_THAT(valuesOf(csv), ElementsAre("key|value|unit|type", "imu/gyro/x|1.5||float",
                                           "imu/gyro/y|2||int", "thing/x|0.5||float"));
}

/** A robot with a JPEG camera, whose size changes, and an RGB one with rows that are too long. */
std::string pictureSample() {
    Sample sample("pictures.mcap");
    sample.addRobot("robot1");
    const std::uint16_t jpeg = sample.addCamera("/robot1/camera/head", KVPixelFormat::Jpeg);
    const std::uint16_t rgb = sample.addCamera("/robot1/camera/hand", KVPixelFormat::Rgb888);
    for (const std::uint32_t width : {32U, 32U, 48U}) {
        sample.write(jpeg,
                     obvista_test::makeJpegFrame(width, 16, obvista_test::smoothJpeg(width, 16)));
        sample.write(rgb,
                     makeFrame(KVPixelFormat::Rgb888, 4, 2, 14, obvista_test::variedBytes(28)));
    }
    sample.write(jpeg, obvista_test::makeJpegFrame(48, 16, Bytes(100, 7)));
    return sample.finish();
}

void removeAll(const std::string& prefix) {
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(pathOf(".")))) {
        if (entry.path().filename().string().rfind(prefix, 0) == 0) {
            std::filesystem::remove(entry.path());
        }
    }
}

TEST(Export, JpegsAreInMatroskaFilesAsTheyWere) {
    removeAll("head");
    const std::string film = pathOf("head.mkv");
    const ToolResult result = runExport({pictureSample(), "--camera", "head", "-o", film});
    EXPECT_EQ(0, result.fStatus) << result.fErrors;
    EXPECT_THAT(result.fErrors, HasSubstr("damaged or of an unknown format: 1 frames."));
    EXPECT_EQ(film + '\n' + pathOf("head-2.mkv") + '\n', result.fOutput);

    const auto first = obvista_test::readMatroska(QString::fromStdString(film));
    EXPECT_THAT(first.fError, IsEmpty());
    EXPECT_EQ("head of robot1, 2023-11-14T22:13:10.000000Z", first.fTitle);
    ASSERT_EQ(2U, first.fPictures.size());
    EXPECT_EQ(obvista_test::smoothJpeg(32, 16), first.fPictures[0].fJpeg);
    EXPECT_EQ(0, first.fPictures[0].fTime);
    EXPECT_EQ(2000, first.fPictures[1].fTime);
    const auto second = obvista_test::readMatroska(QString::fromStdString(pathOf("head-2.mkv")));
    ASSERT_EQ(1U, second.fPictures.size());
    EXPECT_EQ(obvista_test::smoothJpeg(48, 16), second.fPictures[0].fJpeg);
}

TEST(Export, OtherFramesAreEncodedForMatroska) {
    removeAll("hand");
    const std::string film = pathOf("hand.mkv");
    outputOf({pictureSample(), "--camera", "hand", "--to", "0.003", "-o", film});
    std::string error;
    EXPECT_EQ(2, obvista_test::playMatroska(QString::fromStdString(film), &error));
    EXPECT_THAT(error, IsEmpty());
}

TEST(Export, PngsHaveThePixelsOfTheFrames) {
    removeAll("hand");
    const std::string output =
        outputOf({pictureSample(), "--camera", "hand", "-o", pathOf("hand.png")});
    EXPECT_EQ(pathOf("hand-000001.png") + '\n' + pathOf("hand-000002.png") + '\n' +
                  pathOf("hand-000003.png") + '\n',
              output);
    const Bytes rows = obvista_test::variedBytes(28);
    std::string pixels(rows.begin(), rows.begin() + 12);
    pixels.append(rows.begin() + 14, rows.begin() + 26);
    EXPECT_EQ(pixels, outputOfProgram({"convert", pathOf("hand-000003.png"), "rgb:-"}));
    EXPECT_EQ("4x2", outputOfProgram({"identify", "-format", "%wx%h", pathOf("hand-000001.png")}));
}

/** Returns 70 H.264 frames, of which the first and some later ones are key frames. */
const std::vector<KVFrame>& greyFrames() {
    static const std::vector<KVFrame> frames = [] {
        std::vector<KVFrame> made;
        obvista_test::GreyFilm film;
        for (int i = 0; i < 70; ++i) {
            made.push_back(film.next(i == 60));
        }
        return made;
    }();
    return frames;
}

std::string filmSample() {
    Sample sample("film.mcap");
    sample.addRobot("robot1");
    const std::uint16_t camera = sample.addCamera("/robot1/camera/head", KVPixelFormat::H264);
    for (const KVFrame& frame : greyFrames()) {
        sample.write(camera, frame);
    }
    return sample.finish();
}

TEST(Export, H264IsInMatroskaAsItWas) {
    const std::string file = pathOf("h264.mkv");
    outputOf({filmSample(), "-o", file});
    std::string error;
    EXPECT_EQ(70, obvista_test::playMatroska(QString::fromStdString(file), &error, "decodebin"));
    EXPECT_THAT(error, IsEmpty());
}

TEST(Export, ASpanOfH264BeginsWithItsFirstKeyFrame) {
    const std::string file = pathOf("span.mkv");
    outputOf({filmSample(), "--from", "0.03", "-o", file});
    const auto first = std::find_if(greyFrames().begin() + 30, greyFrames().end(),
                                    [](const KVFrame& frame) { return frame.fIsKey; });
    std::string error;
    EXPECT_EQ(greyFrames().end() - first,
              obvista_test::playMatroska(QString::fromStdString(file), &error, "decodebin"));
    EXPECT_THAT(error, IsEmpty());
}

TEST(Export, PngsOfH264ShowEachFrame) {
    removeAll("grey");
    outputOf({filmSample(), "-o", pathOf("grey.png")});
    for (const int number : {1, 30, 60, 61, 70}) {
        const std::string name = "grey-0000" + std::to_string(100 + number).substr(1) + ".png";
        const std::string pixel =
            outputOfProgram({"convert", pathOf(name), "-crop", "1x1+30+30", "rgb:-"});
        ASSERT_EQ(3U, pixel.size());
        EXPECT_NEAR(static_cast<unsigned char>(pixel[0]),
                    obvista_test::GreyFilm::greyOf(static_cast<std::uint64_t>(number)), 4)
            << number;
    }
}

void expectFailure(int status, const std::string& sentence, const std::vector<std::string>& words) {
    const ToolResult result = runExport(words);
    EXPECT_EQ(status, result.fStatus) << sentence;
    EXPECT_THAT(result.fErrors, HasSubstr(sentence));
    EXPECT_THAT(result.fOutput, IsEmpty());
}

TEST(Export, PngsOfH264NeedADecoder) {
    const std::string sample = filmSample();
    const obvista_test::WithoutPlugins none;
    expectFailure(a_badPicture, "needs GStreamer's element \"avdec_h264\"",
                  {sample, "-o", pathOf("undecoded.png")});
    EXPECT_FALSE(std::filesystem::exists(pathOf("undecoded-000001.png")));
}

TEST(Export, RefusesWrongWords) {
    const std::string values = valueSample();
    const std::string pictures = pictureSample();
    const std::string csv = pathOf("refused.csv");
    const std::string film = pathOf("refused.mkv");
    expectFailure(a_notOffered, "No recorded key of robot1 matches 'Ankle'.",
                  {values, "-k", "Joint/Knee", "-k", "Ankle", "-o", csv});
    EXPECT_FALSE(std::filesystem::exists(csv));
    expectFailure(a_notOffered, "No camera of robot1 was recorded.", {values, "-o", film});
    expectFailure(a_notOffered, "robot1 has no recorded camera 'foot'; it has head, hand.",
                  {pictures, "--camera", "foot", "-o", film});
    expectFailure(a_wrongUsage, "robot1 has several cameras: head, hand; --camera chooses one",
                  {pictures, "-o", film});
    expectFailure(a_notFound, "has no robot named robot2; it has robot1.",
                  {pictures, "--robot", "robot2", "-o", film});
    expectFailure(a_notOffered, "has no frame in this span",
                  {pictures, "--camera", "head", "--from", "10", "-o", film});
    expectFailure(a_wrongUsage, "needs -o NAME.csv, NAME.mkv or NAME.png",
                  {values, "-o", pathOf("refused.txt")});
    expectFailure(a_wrongUsage, "--key is for CSV files", {pictures, "-k", "x", "-o", film});
    expectFailure(a_wrongUsage, "--wide is for CSV files", {pictures, "--wide", "-o", film});
    expectFailure(a_cannotWrite, "exists", {values, "-o", writeBytes("there.csv", "precious")});
    EXPECT_EQ("precious", bytesOf(pathOf("there.csv")));
    expectFailure(a_cannotWrite, "No such file", {values, "-o", pathOf("no/x.csv")});
    expectFailure(a_cannotWrite, "No such file",
                  {pictures, "--camera", "head", "-o", pathOf("no/x.mkv")});
    expectFailure(a_badRecording, "is not an MCAP file",
                  {writeBytes("text.mcap", "no recording"), "-o", csv});
}

TEST(Export, SeveralRobotsNeedAChoice) {
    Sample sample("pair.mcap");
    sample.addRobot("left");
    sample.addRobot("right");
    for (const char* const robot : {"left", "right"}) {
        const std::string topic = std::string("/") + robot + "/memory/Name";
        sample.write(sample.addKey(topic, "robaxi.Text"),
                     R"({"value":")" + std::string(robot) + "\"}");
    }
    const std::string path = sample.finish();
    const std::string csv = pathOf("pair.csv");
    std::filesystem::remove(csv);
    expectFailure(a_notFound, "has several robots: left, right; --robot chooses one.",
                  {path, "-o", csv});
    outputOf({path, "--robot", "right", "-o", csv});
    EXPECT_THAT(valuesOf(csv), ElementsAre("key|value|unit|type", "Name|right||string"));
}

/** Runs the export with a limit of the size of files, as on a full disk. */
void expectFullDisk(const std::vector<std::string>& words) {
    std::vector<std::string> command{"bash", "-c", "ulimit -f 1 && exec \"$@\"", "bash"};
    for (const std::string& word : obvista_test::toolCommand(exportWords(words))) {
        command.push_back(word);
    }
    ChildProcess process(command);
    EXPECT_EQ(a_cannotWrite, process.waitForEnd());
    EXPECT_THAT(process.errors(), ::testing::StartsWith("robaxi: "));
    EXPECT_THAT(process.output(), IsEmpty());
}

TEST(Export, NothingRemainsOnAFullDisk) {
    Sample sample("large.mcap");
    sample.addRobot("robot1");
    const std::uint16_t text = sample.addKey("/robot1/memory/Text", "robaxi.Text");
    const std::uint16_t camera = sample.addCamera("/robot1/camera/head", KVPixelFormat::Rgb888);
    for (int i = 0; i < 50; ++i) {
        sample.write(text,
                     R"({"value":")" + std::string(100, static_cast<char>('a' + i % 26)) + "\"}");
        sample.write(camera, makeFrame(KVPixelFormat::Rgb888, 64, 48, 192,
                                       obvista_test::variedBytes(std::size_t{192} * 48)));
    }
    const std::string path = sample.finish();
    for (const std::string name : {"full.csv", "full.mkv", "full.png"}) {
        removeAll("full");
        expectFullDisk({path, "-o", pathOf(name)});
        EXPECT_FALSE(std::filesystem::exists(pathOf(name))) << name;
        EXPECT_FALSE(std::filesystem::exists(pathOf("full-000001.png")));
    }
}

TEST(Cut, CopiesKeysAndCamerasWithTheirEvents) {
    const std::string part = pathOf("cut_keys.mcap");
    std::filesystem::remove(part);
    const ToolResult result =
        runTool({"recording", "cut", valueSample(), "-k", "Joint/*", "-o", part});
    EXPECT_EQ(0, result.fStatus) << result.fErrors;
    std::set<std::string> topics;
    for (const Heard& heard : hear(part)) {
        topics.insert(heard.fTopic);
    }
    EXPECT_THAT(topics,
                ElementsAre("/robot1/events", "/robot1/memory", "/robot1/memory/Joint/Knee"));

    const std::string camera = pathOf("cut_camera.mcap");
    std::filesystem::remove(camera);
    EXPECT_EQ(
        0,
        runTool({"recording", "cut", pictureSample(), "--camera", "hand", "-o", camera}).fStatus);
    const std::vector<Heard> frames = hear(camera);
    ASSERT_EQ(3U, frames.size());
    EXPECT_EQ("/robot1/camera/hand", frames.front().fTopic);
    const ToolResult unknown = runTool(
        {"recording", "cut", pictureSample(), "--camera", "foot", "-o", pathOf("none.mcap")});
    EXPECT_EQ(a_notOffered, unknown.fStatus);
    EXPECT_THAT(unknown.fErrors, HasSubstr("There is no recorded camera 'foot'."));
    EXPECT_FALSE(std::filesystem::exists(pathOf("none.mcap")));
}

}  // namespace
}  // namespace recording_test
