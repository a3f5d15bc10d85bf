// A channel of a recording that somebody else wrote, from its description to the values and frames
// of its messages.
//
// The input is a series of pieces (pieces.h): the topic, the encoding of the messages, the name,
// the encoding and the data of the schema, and messages. The recording has the description of a
// robot "robot1", so that a topic can be one of ours.
#include "fuzz_target.h"
#include "pieces.h"
#include "temporary_file.h"

#include <picture/frame_check.h>

#include <map>
#include <recorded_robot/channel_reader.h>
#include <recorded_robot/recorded_robot.h>
#include <recording/reader.h>
#include <recording/writer.h>

namespace {

using obvista_fuzz::require;

constexpr std::size_t a_descriptionPieces = 5;

void write(const std::string& path, const std::vector<std::string>& pieces) {
    recording::WriterOptions options;
    options.fOverwrites = true;
    options.fCompression = recording::Compression::None;
    recording::Writer writer(path, options);
    writer.writeMetadata({"robot", {{"name", "robot1"}, {"topics", "/robot1"}}});
    const std::uint16_t schema =
        pieces[2].empty() ? 0 : writer.addSchema(pieces[2], pieces[3], pieces[4]);
    const std::uint16_t channel = writer.addChannel(schema, pieces[0], pieces[1]);
    for (std::size_t i = a_descriptionPieces; i < pieces.size(); ++i) {
        writer.write({channel, static_cast<std::uint32_t>(i), i, i, pieces[i]});
    }
    writer.finish();
}

void readMessage(const recorded_robot::ChannelReader& channel, const recording::Message& message,
                 picture::JpegReader& jpegs) {
    const recorded_robot::Content content = channel.channel().fContent;
    std::size_t values = 0;
    channel.takeValues(message, [&values](const std::string&, const KVValue&) { ++values; });
    require(values == 0 || recorded_robot::hasValues(content), "only a channel of values has some");
    if (recorded_robot::hasPictures(content)) {
        if (const auto frame = channel.frame(message, jpegs)) {
            require(frame->fTime == recorded_robot::timeOf(message), "a frame has its time");
            picture::check(*frame);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> pieces = obvista_fuzz::pieces(data, size);
    if (pieces.size() < a_descriptionPieces) {
        return 0;
    }
    const obvista_fuzz::TemporaryFile file("");
    write(file.path(), pieces);
    recording::Reader reader(file.path());
    picture::JpegReader jpegs;
    for (const recorded_robot::RecordedRobot& robot : recorded_robot::robotsOf(reader)) {
        std::map<std::uint16_t, recorded_robot::ChannelReader> channels;
        recorded_robot::ParsedSchemas schemas;
        for (const auto& [id, channel] : robot.fChannels) {
            const auto& known =
                channels.emplace(id, recorded_robot::ChannelReader(reader, id, channel, schemas))
                    .first->second.channel();
            const bool isUnknown = known.fContent == recorded_robot::Content::Unknown;
            require(isUnknown != known.fReason.empty(), "a channel that is not read has a reason");
        }
        recording::Messages messages = reader.messages();
        while (const std::optional<recording::Message> message = messages.next()) {
            const auto channel = channels.find(message->fChannelId);
            if (channel != channels.end()) {
                readMessage(channel->second, *message, jpegs);
            }
        }
    }
    return 0;
}
