// "robaxi recording": examining and repairing recordings.
#include "large_file.h"
#include "recording/contents.h"
#include "recording_files.h"
#include "tool_process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <recording/check.h>

namespace recording_test {
namespace {

using Json = nlohmann::json;
using obvista_test::runTool;
using obvista_test::ToolResult;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr int a_problem = 1;
constexpr int a_wrongUsage = 2;
constexpr int a_cannotWrite = 12;
constexpr int a_badRecording = 17;

ToolResult runRecording(const std::vector<std::string>& words) {
    std::vector<std::string> arguments{"recording"};
    arguments.insert(arguments.end(), words.begin(), words.end());
    return runTool(arguments);
}

std::string outputOf(const std::vector<std::string>& words) {
    const ToolResult result = runRecording(words);
    EXPECT_EQ(0, result.fStatus) << result.fErrors;
    EXPECT_THAT(result.fErrors, IsEmpty());
    return result.fOutput;
}

void expectFailure(int status, const std::string& sentence, const ToolResult& result) {
    EXPECT_EQ(status, result.fStatus);
    EXPECT_THAT(result.fErrors, HasSubstr(sentence));
    EXPECT_THAT(result.fOutput, IsEmpty());
}

/** A new recording of 300 messages in small chunks. */
std::string sample(const std::string& name) {
    writeSample(pathOf(name), 300, smallChunks());
    return pathOf(name);
}

/** The beginning of a recording, as a killed program leaves it. */
std::string unfinished(const std::string& name) {
    const std::string path = sample(name);
    std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2);
    return path;
}

TEST(RecordingCommand, InfoListsChannelsWithTheirMessages) {
    const std::string path = sample("whole.mcap");
    const std::string text = outputOf({"info", path});
    EXPECT_THAT(text, AllOf(HasSubstr("State       whole\n"),
                            HasSubstr("Start       2023-11-14T22:13:20.000000Z\n"),
                            HasSubstr("Duration    2.990 s\n"), HasSubstr("Messages    300 in "),
                            HasSubstr("Attachment  icon.png (image/png, 100 bytes)\n"),
                            HasSubstr("Metadata    robot\n"),
                            HasSubstr("200    66.9/s  /robot1/memory/Number  json Number\n"),
                            HasSubstr("100    33.4/s  /robot1/memory/Text  json\n")));
    const Json json = Json::parse(outputOf({"info", path, "--json"}));
    EXPECT_EQ(true, json["whole"]);
    EXPECT_EQ(a_start, json["start"]);
    EXPECT_EQ(300, json["messages"]);
    EXPECT_EQ("/robot1/memory/Number", json["channels"][0]["topic"]);
    EXPECT_EQ(200, json["channels"][0]["messages"]);
    EXPECT_EQ("rad", json["channels"][0]["metadata"]["unit"]);
    EXPECT_EQ("icon.png", json["attachments"][0]["name"]);
}

TEST(RecordingCommand, InfoNamesTheChannelsThatAReplayLeavesOut) {
    const std::string path = pathOf("others.mcap");
    recording::Writer writer(path);
    writer.addChannel(0, "/tf", "cbor");
    writer.addChannel(0, "/arm", "protobuf");
    writer.addChannel(0, "/imu", "json");
    writer.addChannel(writer.addSchema("foxglove.CompressedVideo", "protobuf", ""), "/video",
                      "cbor");
    writer.finish();
    const std::string text = outputOf({"info", path});
    EXPECT_THAT(text,
                AllOf(HasSubstr("No replay   /tf: the encoding 'cbor' is not supported\n"),
                      HasSubstr("No replay   /arm: it has no protobuf schema\n"),
                      HasSubstr("No replay   /video: the encoding 'cbor' is not supported\n")));
    EXPECT_THAT(text, ::testing::Not(HasSubstr("/imu:")));
}

TEST(RecordingCommand, TextsOfAFileCannotReachTheTerminal) {
    const std::string path = pathOf("texts.mcap");
    recording::WriterOptions options;
    options.fHeader.fLibrary = "a\nb\x1b[2J";
    recording::Writer writer(path, options);
    writer.addChannel(0, "/x\x1b[2J", "js\non");
    writer.finish();
    EXPECT_THAT(outputOf({"info", path}), AllOf(HasSubstr("Written by  a\\nb\\u001b[2J\n"),
                                                HasSubstr("/x\\u001b[2J  js\\non")));
}

/** Bytes that this process has read from files. */
std::uint64_t bytesRead() {
    std::ifstream stream("/proc/self/io");
    std::string name;
    std::uint64_t number = 0;
    while (stream >> name >> number && name != "rchar:") {
    }
    return number;
}

TEST(RecordingCommand, InfoReadsTheStatisticsOfALargeFileOnly) {
    const std::string path = writeLargeFile({});
    const std::uint64_t before = bytesRead();
    ASSERT_GT(before, 0U);
    recording::Reader reader(path);
    const std::string text = robaxi_tool::textOfRecording(path, reader);
    constexpr std::uint64_t most = 1'000'000;
    EXPECT_LT(bytesRead() - before, most);
    EXPECT_THAT(text, AllOf(HasSubstr("Size        16.4 GB\n"),
                            HasSubstr("Messages    250000 in 250000 chunks\n")));
}

TEST(RecordingCommand, CheckVerifiesAWholeFile) {
    const std::string path = sample("sound.mcap");
    EXPECT_THAT(outputOf({"check", path}), HasSubstr("300 messages in "));
    const Json json = Json::parse(outputOf({"check", path, "--json"}));
    EXPECT_EQ(300, json["messages"]);
    EXPECT_EQ(0, json["fault_count"]);
    EXPECT_GT(json["checksums"], json["chunks"]);
}

TEST(RecordingCommand, CheckNamesTheDamagedChunk) {
    const std::string path = sample("damaged.mcap");
    std::string bytes = bytesOf(path);
    constexpr std::size_t inFirstChunk = 300;
    bytes[inFirstChunk] = static_cast<char>(bytes[inFirstChunk] ^ 1);
    writeBytes("damaged.mcap", bytes);
    const ToolResult result = runRecording({"check", path});
    EXPECT_EQ(a_problem, result.fStatus);
    EXPECT_THAT(result.fOutput, AllOf(HasSubstr("chunk at byte "), HasSubstr("faults: ")));
    const ToolResult json = runRecording({"check", path, "--json"});
    EXPECT_EQ(a_problem, json.fStatus);
    EXPECT_GT(Json::parse(json.fOutput)["faults"].size(), 0U);
}

TEST(RecordingCommand, RepairWritesAWholeFileFromOneThatWasNotFinished) {
    const std::string path = unfinished("killed.mcap");
    EXPECT_THAT(outputOf({"info", path}), HasSubstr("'robaxi recording repair'"));
    const ToolResult result = runRecording({"repair", path});
    EXPECT_EQ(0, result.fStatus);
    EXPECT_THAT(result.fErrors, HasSubstr("cut off"));
    const std::string repaired = pathOf("killed-repaired.mcap");
    EXPECT_EQ(repaired + '\n', result.fOutput);
    outputOf({"check", repaired});
    EXPECT_EQ(hear(path, recording::Access::Sequential), hear(repaired));
    EXPECT_GT(hear(repaired).size(), 100U);
}

TEST(RecordingCommand, RepairNeverReplacesAFile) {
    const std::string path = unfinished("broken.mcap");
    const std::string other = writeBytes("other.mcap", "precious");
    expectFailure(a_cannotWrite, "exists", runRecording({"repair", path, "-o", other}));
    expectFailure(a_cannotWrite, "exists", runRecording({"repair", path, "-o", path}));
    EXPECT_EQ("precious", bytesOf(other));
    const Json json =
        Json::parse(runRecording({"repair", path, "-o", pathOf("new.mcap"), "--json"}).fOutput);
    EXPECT_EQ(pathOf("new.mcap"), json["file"]);
    EXPECT_EQ(1U, json["damages"].size());
}

TEST(RecordingCommand, WrongFilesAndWordsAreRefused) {
    expectFailure(a_badRecording, "is not an MCAP file",
                  runRecording({"info", writeBytes("text.mcap", "no recording at all")}));
    expectFailure(a_badRecording, "No such file", runRecording({"check", pathOf("nosuch.mcap")}));
    expectFailure(a_wrongUsage, "did you mean 'check'?",
                  runRecording({"chek", sample("any.mcap")}));
    expectFailure(a_wrongUsage, "--output is for 'export', 'cut', 'merge' and 'repair'",
                  runRecording({"info", sample("any.mcap"), "-o", "x.mcap"}));
    expectFailure(a_cannotWrite, "No such file",
                  runRecording({"repair", sample("any.mcap"), "-o", pathOf("no/x.mcap")}));
}

TEST(RecordingCommand, CutCopiesASpanOfTimeAndSomeTopics) {
    const std::string path = sample("long.mcap");
    const std::vector<Heard> all = hear(path);
    const std::string part = pathOf("cut_part.mcap");
    EXPECT_EQ(part + '\n', outputOf({"cut", path, "--from", "0.5", "--to", "1", "-o", part}));
    EXPECT_EQ(std::vector<Heard>(all.begin() + 50, all.begin() + 101), hear(part));
    EXPECT_EQ(0U, recording::check(part).fFaultCount);
    const recording::Reader reader(part);
    EXPECT_EQ(1U, reader.attachments().size());
    EXPECT_EQ(1U, reader.metadata().size());

    const std::string texts = pathOf("cut_texts.mcap");
    const Json report = Json::parse(outputOf(
        {"cut", path, "--topic", "*/Text", "--from", "22:13:20.5Z", "-o", texts, "--json"}));
    EXPECT_EQ(texts, report["file"]);
    const std::vector<Heard> heard = hear(texts);
    EXPECT_EQ(heard.size(), report["messages"]);
    ASSERT_GT(heard.size(), 0U);
    for (const Heard& message : heard) {
        EXPECT_EQ("/robot1/memory/Text", message.fTopic);
        EXPECT_GE(message.fLogTime, a_start + 500'000'000);
    }
    EXPECT_EQ(1U, recording::Reader(texts).channels().size());
}

TEST(RecordingCommand, MergeJoinsWhatWasCut) {
    const std::string path = sample("joined.mcap");
    const std::vector<std::string> parts{pathOf("p1.mcap"), pathOf("p2.mcap"), pathOf("p3.mcap")};
    outputOf({"cut", path, "--to", "0.995", "-o", parts[0]});
    outputOf({"cut", path, "--from", "0.996", "--topic", "*/Text", "-o", parts[1]});
    outputOf({"cut", path, "--from", "0.996", "--topic", "*/Number", "-o", parts[2]});
    const std::string merged = pathOf("merged.mcap");
    outputOf({"merge", parts[2], parts[0], parts[1], "-o", merged});
    EXPECT_EQ(hear(path), hear(merged));
    EXPECT_EQ(0U, recording::check(merged).fFaultCount);
    const recording::Reader reader(merged);
    EXPECT_EQ(2U, reader.channels().size());
    EXPECT_EQ(1U, reader.schemas().size());
    EXPECT_EQ(1U, reader.attachments().size());
    EXPECT_EQ(1U, reader.metadata().size());
}

TEST(RecordingCommand, CutReadsOnlyTheChunksItNeeds) {
    // The others are not in the file.
    const std::string path = writeLargeFile({100'000});
    const std::string part = pathOf("cut_small.mcap");
    outputOf({"cut", path, "--from", "0.0001", "--to", "0.0001", "-o", part});
    const std::vector<Heard> heard = hear(part);
    ASSERT_EQ(1U, heard.size());
    EXPECT_EQ(100'000U, heard.front().fLogTime);
}

TEST(RecordingCommand, CutAndMergeRefuseWrongWords) {
    const std::string path = sample("words.mcap");
    const std::string before = bytesOf(path);
    const std::string part = pathOf("refused.mcap");
    expectFailure(a_wrongUsage, "-o FILE is missing", runRecording({"cut", path}));
    expectFailure(a_wrongUsage, "only 'merge' takes several files",
                  runRecording({"cut", path, path, "-o", part}));
    expectFailure(a_wrongUsage, "--from is after --to",
                  runRecording({"cut", path, "--from", "2", "--to", "1", "-o", part}));
    for (const char* const time : {"", "x", "-1", "1e99", "25:00", "1:60", "nan", "2026-11-22"}) {
        const ToolResult result =
            runRecording({"cut", path, std::string("--from=") + time, "-o", part});
        if (*time != '\0') {
            expectFailure(a_wrongUsage, "is not a time in a recording", result);
        }
    }
    expectFailure(a_wrongUsage, "--from, --to, --key and --camera are for",
                  runRecording({"info", path, "--from", "2"}));
    expectFailure(a_cannotWrite, "exists", runRecording({"cut", path, "-o", path}));
    EXPECT_TRUE(before == bytesOf(path));
}

TEST(RecordingCommand, ADamagedFileLeavesNoHalfCopy) {
    const std::string path = sample("damaged_source.mcap");
    std::string bytes = bytesOf(path);
    // The chunks and their message indexes are in the first half.
    bytes.replace(bytes.size() / 4, 300, 300, 'x');
    writeBytes("damaged_source.mcap", bytes);
    const std::string merged = pathOf("merged_none.mcap");
    const std::string whole = sample("whole_one.mcap");
    expectFailure(a_badRecording,
                  "damaged_source.mcap: ", runRecording({"merge", whole, path, "-o", merged}));
    EXPECT_FALSE(std::filesystem::exists(merged));
}

}  // namespace
}  // namespace recording_test
