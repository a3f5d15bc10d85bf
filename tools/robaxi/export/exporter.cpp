#include "export/exporter.h"

#include "export/frame_export.h"
#include "export/value_export.h"
#include "process/failure.h"

#include <optional>
#include <recorded_robot/channel_reader.h>
#include <string>

namespace robaxi_tool {

namespace {

ExportReport exported(const ExportRequest& request) {
    try {
        const recorded_robot::RecordedRobot robot =
            recorded_robot::chosenRobot(request.fReader, request.fFile, request.fRobot);
        const bool areValues =
            request.fFormat == ExportFormat::Csv || request.fFormat == ExportFormat::WideCsv;
        return areValues ? exportValues(request, robot) : exportFrames(request, robot);
    } catch (const recorded_robot::RobotChoiceError& error) {
        throw Failure(ExitStatus::NotFound, std::string(error.what()) + '.');
    }
}

/** Returns the reason for which a camera is not replayed, or nothing. */
std::string faultOfPictures(recording::Reader& reader, std::uint16_t id,
                            const recorded_robot::ChannelReader& channel) {
    recording::Selection selection;
    selection.fChannels = {id};
    picture::JpegReader jpegs;
    recording::Messages messages = reader.messages(selection);
    const std::optional<recording::Message> message = messages.next();
    const std::optional<KVFrame> frame =
        message ? channel.frame(*message, jpegs) : std::optional<KVFrame>();
    // Video has its size in a key frame, which may come later.
    const bool isSound =
        !message ||
        (frame && (channel.channel().fIsVideo || (frame->fWidth != 0 && frame->fHeight != 0)));
    return isSound ? std::string() : recorded_robot::a_noPicture;
}

std::map<std::uint16_t, std::string> checkedChannels(recording::Reader& reader,
                                                     const recorded_robot::RecordedRobot& robot) {
    std::map<std::uint16_t, std::string> faults;
    recorded_robot::ParsedSchemas schemas;
    for (const auto& [id, recorded] : robot.fChannels) {
        const recorded_robot::ChannelReader channel(reader, id, recorded, schemas);
        const recorded_robot::RecordedChannel& known = channel.channel();
        const std::string fault =
            hasPictures(known.fContent) ? faultOfPictures(reader, id, channel) : known.fReason;
        if (!fault.empty()) {
            faults.emplace(id, fault);
        }
    }
    return faults;
}

}  // namespace

}  // namespace robaxi_tool

robaxi_tool::Exporter* robaxiExporter() {
    return &robaxi_tool::exported;
}

robaxi_tool::ChannelCheck* robaxiChannelCheck() {
    return &robaxi_tool::checkedChannels;
}
