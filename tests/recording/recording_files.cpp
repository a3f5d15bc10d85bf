#include "recording_files.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <tuple>

namespace recording_test {

using recording::Message;
using recording::Reader;
using recording::Writer;

bool Heard::operator==(const Heard& other) const {
    return std::tie(fTopic, fSequence, fLogTime, fPublishTime, fData) ==
           std::tie(other.fTopic, other.fSequence, other.fLogTime, other.fPublishTime, other.fData);
}

std::ostream& operator<<(std::ostream& stream, const Heard& heard) {
    return stream << heard.fTopic << " #" << heard.fSequence << " at " << heard.fLogTime << ": "
                  << heard.fData.substr(0, 60);
}

std::string pathOf(const std::string& name) {
    return (std::filesystem::temp_directory_path() / name).string();
}

std::string bytesOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::string writeBytes(const std::string& name, std::string_view bytes) {
    // Some file systems wait for the disk when a file is truncated and written again.
    std::filesystem::remove(pathOf(name));
    std::ofstream(pathOf(name), std::ios::binary) << bytes;
    return pathOf(name);
}

std::vector<Heard> hear(Reader& reader, const recording::Selection& selection) {
    std::vector<Heard> result;
    recording::Messages messages = reader.messages(selection);
    while (const std::optional<Message> message = messages.next()) {
        result.push_back({reader.channels().at(message->fChannelId).fTopic, message->fSequence,
                          message->fLogTime, message->fPublishTime, std::string(message->fData)});
    }
    return result;
}

std::vector<Heard> hear(const std::string& path, recording::Access access) {
    Reader reader(path, access);
    return hear(reader);
}

std::vector<Heard> writeSample(const std::string& path, std::size_t messages,
                               recording::WriterOptions options) {
    options.fOverwrites = true;
    Writer writer(path, options);
    const std::uint16_t schema = writer.addSchema("Number", "jsonschema", R"({"type":"object"})");
    const std::uint16_t numbers =
        writer.addChannel(schema, "/robot1/memory/Number", "json", {{"unit", "rad"}});
    const std::uint16_t texts = writer.addChannel(0, "/robot1/memory/Text", "json");
    writer.writeMetadata({"robot", {{"name", "robot1"}, {"host", "robot1.local"}}});
    std::vector<Heard> written;
    for (std::size_t i = 0; i < messages; ++i) {
        constexpr std::uint64_t distance = 10'000'000;
        const std::uint64_t time = a_start + i * distance;
        const std::string data = R"({"value":)" + std::to_string(i) + '}';
        const bool isNumber = i % 3 != 0;
        written.push_back({isNumber ? "/robot1/memory/Number" : "/robot1/memory/Text",
                           static_cast<std::uint32_t>(i), time, time - 5, data});
        writer.write(
            {isNumber ? numbers : texts, static_cast<std::uint32_t>(i), time, time - 5, data});
    }
    writer.writeAttachment({a_start, a_start - 7, "icon.png", "image/png", std::string(100, 'p')});
    writer.finish();
    return written;
}

recording::WriterOptions smallChunks() {
    recording::WriterOptions options;
    options.fChunkBytes = 400;
    return options;
}

}  // namespace recording_test
