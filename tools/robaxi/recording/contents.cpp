#include "recording/contents.h"

#include "export/exporter.h"
#include "process/tool_library.h"
#include "values/change_format.h"
#include "values/value_text.h"

#include <base/safe_text.h>
#include <base/time.h>

#include <algorithm>
#include <array>
#include <iomanip>
#include <map>
#include <recorded_robot/recorded_robot.h>
#include <sstream>
#include <vector>

namespace robaxi_tool {

namespace {

using recording::Channel;
using recording::Damage;
using recording::Reader;

constexpr double a_nanosecondsPerSecond = 1e9;

double secondsOf(const recording::Statistics& statistics) {
    return statistics.fEnd > statistics.fStart
               ? static_cast<double>(statistics.fEnd - statistics.fStart) / a_nanosecondsPerSecond
               : 0;
}

std::uint64_t countOf(const Reader& reader, std::uint16_t channel) {
    const auto& counts = reader.statistics().fMessagesByChannel;
    const auto count = counts.find(channel);
    return count == counts.end() ? 0 : count->second;
}

/** Returns messages a second; 0 if there are too few to tell. */
double rateOf(const Reader& reader, std::uint16_t channel) {
    const double seconds = secondsOf(reader.statistics());
    const std::uint64_t count = countOf(reader, channel);
    return seconds > 0 && count > 1 ? static_cast<double>(count) / seconds : 0;
}

std::string schemaOf(const Reader& reader, const Channel& channel) {
    const auto schema = reader.schemas().find(channel.fSchemaId);
    return schema == reader.schemas().end() ? std::string() : schema->second.fName;
}

/** Returns the channels sorted by topic. */
std::vector<const Channel*> channelsOf(const Reader& reader) {
    std::vector<const Channel*> channels;
    for (const auto& [id, channel] : reader.channels()) {
        channels.push_back(&channel);
    }
    std::stable_sort(
        channels.begin(), channels.end(),
        [](const Channel* one, const Channel* other) { return one->fTopic < other->fTopic; });
    return channels;
}

std::string stateOf(const Reader& reader) {
    if (reader.isWhole()) {
        return "whole";
    }
    return "damaged or not finished; 'robaxi recording repair' writes a whole one";
}

std::string row(const std::string& name, const std::string& text) {
    constexpr std::size_t width = 12;
    return name + std::string(width - name.size(), ' ') + base::oneLine(text) + '\n';
}

std::string rightAligned(const std::string& text, std::size_t width) {
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

std::string channelRow(const Reader& reader, const Channel& channel) {
    constexpr std::size_t countWidth = 12;
    constexpr std::size_t rateWidth = 10;
    const std::string schema = schemaOf(reader, channel);
    return rightAligned(std::to_string(countOf(reader, channel.fId)), countWidth) +
           rightAligned(decimal(rateOf(reader, channel.fId), 1) + "/s", rateWidth) + "  " +
           base::oneLine(channel.fTopic) + "  " + base::oneLine(channel.fMessageEncoding) +
           (schema.empty() ? "" : ' ' + base::oneLine(schema)) + '\n';
}

struct LeftOut {
    std::string fTopic;
    std::string fReason;
};

/** Returns true if only the messages, or the text of a schema, tell whether a channel is replayed.
 */
bool needsCheck(const recorded_robot::RecordedRobot& robot) {
    using recorded_robot::Content;
    // Our own recordings need none, and the library for it takes long to load.
    return robot.fName.empty() &&
           std::any_of(robot.fChannels.begin(), robot.fChannels.end(), [](const auto& each) {
               const Content content = each.second.fContent;
               return content == Content::ProtobufFields || content == Content::Ros2Fields ||
                      hasPictures(content);
           });
}

/** Returns the reasons for which channels of a robot are not replayed. */
std::map<std::uint16_t, std::string> faultsOf(Reader& reader,
                                              const recorded_robot::RecordedRobot& robot) {
    std::map<std::uint16_t, std::string> faults;
    if (const std::string compression = reader.unknownCompression(); !compression.empty()) {
        for (const auto& [id, channel] : robot.fChannels) {
            faults.emplace(id, "the chunks are compressed with \"" + compression +
                                   "\", which is not supported");
        }
        return faults;
    }
    for (const auto& [id, channel] : robot.fChannels) {
        if (channel.fContent == recorded_robot::Content::Unknown) {
            faults.emplace(id, channel.fReason);
        }
    }
    if (needsCheck(robot)) {
        try {
            faults.merge((*functionOfToolLibrary<decltype(robaxiChannelCheck)>(
                "robaxi_export", "robaxiChannelCheck")())(reader, robot));
        } catch (const recording::RecordingError&) {
            // A damaged part of the file; 'check' names it.
        }
    }
    return faults;
}

/** Returns the channels that a replay leaves out. */
std::vector<LeftOut> leftOut(Reader& reader) {
    std::vector<LeftOut> channels;
    for (const recorded_robot::RecordedRobot& robot : recorded_robot::robotsOf(reader)) {
        for (const auto& [id, fault] : faultsOf(reader, robot)) {
            channels.push_back({reader.channels().at(id).fTopic, fault});
        }
    }
    return channels;
}

Json damagesJson(const std::vector<Damage>& damages) {
    Json list = Json::array();
    for (const Damage& damage : damages) {
        list.push_back({{"offset", damage.fOffset}, {"text", damage.fText}});
    }
    return list;
}

}  // namespace

std::string decimal(double number, int digits) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(digits) << number;
    return text.str();
}

std::string sizeText(std::uint64_t bytes) {
    constexpr std::array<const char*, 4> units{"kB", "MB", "GB", "TB"};
    constexpr double thousand = 1000;
    double size = static_cast<double>(bytes);
    if (size < thousand) {
        return std::to_string(bytes) + " bytes";
    }
    size /= thousand;
    std::size_t unit = 0;
    while (size >= thousand && unit + 1 < units.size()) {
        size /= thousand;
        ++unit;
    }
    return decimal(size, 1) + ' ' + units[unit];
}

std::string recordedTimeText(std::uint64_t nanoseconds) {
    return timeText(static_cast<std::int64_t>(nanoseconds / base::a_nanosecondsPerMicrosecond));
}

std::string textOfRecording(const std::string& path, Reader& reader) {
    const recording::Statistics& statistics = reader.statistics();
    std::string text = row("File", path) + row("Size", sizeText(reader.fileSize())) +
                       row("State", stateOf(reader)) + row("Written by", reader.header().fLibrary);
    if (statistics.fMessageCount > 0) {
        text += row("Start", recordedTimeText(statistics.fStart)) +
                row("End", recordedTimeText(statistics.fEnd)) +
                row("Duration", decimal(secondsOf(statistics), 3) + " s");
    }
    text += row("Messages", std::to_string(statistics.fMessageCount) + " in " +
                                std::to_string(statistics.fChunkCount) + " chunks");
    for (const recording::AttachmentIndex& attachment : reader.attachments()) {
        text += row("Attachment", attachment.fName + " (" + attachment.fMediaType + ", " +
                                      sizeText(attachment.fDataSize) + ')');
    }
    for (const recording::MetadataIndex& metadata : reader.metadata()) {
        text += row("Metadata", metadata.fName);
    }
    text += row("Channels", std::to_string(reader.channels().size()));
    for (const Channel* channel : channelsOf(reader)) {
        text += channelRow(reader, *channel);
    }
    for (const LeftOut& channel : leftOut(reader)) {
        text += row("No replay", channel.fTopic + ": " + channel.fReason);
    }
    for (const Damage& damage : reader.damages()) {
        text += row("Damage", damage.fText);
    }
    return text;
}

std::string jsonOfRecording(const std::string& path, Reader& reader) {
    const recording::Statistics& statistics = reader.statistics();
    Json channels = Json::array();
    for (const Channel* channel : channelsOf(reader)) {
        channels.push_back({{"topic", channel->fTopic},
                            {"messages", countOf(reader, channel->fId)},
                            {"rate", rateOf(reader, channel->fId)},
                            {"encoding", channel->fMessageEncoding},
                            {"schema", schemaOf(reader, *channel)},
                            {"metadata", channel->fMetadata}});
    }
    Json notReplayed = Json::array();
    for (const LeftOut& channel : leftOut(reader)) {
        notReplayed.push_back({{"topic", channel.fTopic}, {"reason", channel.fReason}});
    }
    Json attachments = Json::array();
    for (const recording::AttachmentIndex& attachment : reader.attachments()) {
        attachments.push_back({{"name", attachment.fName},
                               {"type", attachment.fMediaType},
                               {"bytes", attachment.fDataSize}});
    }
    Json metadata = Json::array();
    for (const recording::MetadataIndex& record : reader.metadata()) {
        metadata.push_back(record.fName);
    }
    return jsonLine({{"file", path},
                     {"bytes", reader.fileSize()},
                     {"whole", reader.isWhole()},
                     {"library", reader.header().fLibrary},
                     {"profile", reader.header().fProfile},
                     {"start", statistics.fStart},
                     {"end", statistics.fEnd},
                     {"messages", statistics.fMessageCount},
                     {"chunks", statistics.fChunkCount},
                     {"channels", std::move(channels)},
                     {"not_replayed", std::move(notReplayed)},
                     {"attachments", std::move(attachments)},
                     {"metadata", std::move(metadata)},
                     {"damages", damagesJson(reader.damages())}});
}

std::string textOfCheck(const recording::CheckReport& report) {
    std::string text;
    for (const Damage& fault : report.fFaults) {
        text += base::oneLine(fault.fText) + '\n';
    }
    return text + std::to_string(report.fMessages) + " messages in " +
           std::to_string(report.fChunks) + " chunks, " + std::to_string(report.fChecksums) +
           " checksums: " +
           (report.fFaultCount == 0 ? std::string("no fault")
                                    : "faults: " + std::to_string(report.fFaultCount)) +
           '\n';
}

std::string jsonOfCheck(const recording::CheckReport& report) {
    return jsonLine({{"messages", report.fMessages},
                     {"chunks", report.fChunks},
                     {"checksums", report.fChecksums},
                     {"fault_count", report.fFaultCount},
                     {"faults", damagesJson(report.fFaults)}});
}

std::string jsonOfCopy(const std::string& path, const recording::CopyReport& report) {
    return jsonLine({{"file", path},
                     {"messages", report.fMessages},
                     {"attachments", report.fAttachments},
                     {"metadata", report.fMetadata}});
}

std::string jsonOfExport(const ExportReport& report) {
    return jsonLine({{"files", report.fFiles},
                     {"values", report.fRows},
                     {"frames", report.fFrames},
                     {"damaged_frames", report.fDamagedFrames}});
}

std::string jsonOfRepair(const std::string& path, const recording::RepairReport& report) {
    return jsonLine({{"file", path},
                     {"messages", report.fMessages},
                     {"attachments", report.fAttachments},
                     {"metadata", report.fMetadata},
                     {"damages", damagesJson(report.fDamages)}});
}

}  // namespace robaxi_tool
