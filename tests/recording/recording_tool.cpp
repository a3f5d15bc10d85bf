// Writes and reads recordings with the library, for the comparison with a peer (peer/peer_test.py).
//
//   recording_tool write FILE COMPRESSION MESSAGES
//   recording_tool read FILE
//
// Both print the content of the file as JSON.
#include <cstdlib>
#include <exception>
#include <iostream>
#include <nlohmann/json.hpp>
#include <recording/check.h>
#include <recording/reader.h>
#include <recording/writer.h>
#include <string>

namespace {

using nlohmann::json;
using recording::Compression;
using recording::Message;
using recording::Reader;

std::string hexadecimal(std::string_view bytes) {
    const std::string digits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        text += digits[static_cast<unsigned char>(byte) / 16U];
        text += digits[static_cast<unsigned char>(byte) % 16U];
    }
    return text;
}

json messageOf(const Message& message) {
    return {{"channel", message.fChannelId},
            {"sequence", message.fSequence},
            {"logTime", std::to_string(message.fLogTime)},
            {"publishTime", std::to_string(message.fPublishTime)},
            {"data", hexadecimal(message.fData)}};
}

json write(const std::string& path, const std::string& compression, std::uint32_t count) {
    recording::WriterOptions options;
    options.fCompression = compression == "zstd"  ? Compression::Zstd
                           : compression == "lz4" ? Compression::Lz4
                                                  : Compression::None;
    options.fHeader.fProfile = "test";
    options.fChunkBytes = 3000;
    recording::Writer writer(path, options);
    const std::uint16_t schema = writer.addSchema("Number", "jsonschema", R"({"type":"object"})");
    json messages = json::array();
    for (std::uint16_t i = 0; i < 7; ++i) {
        writer.addChannel(i % 2 == 0 ? schema : std::uint16_t{0},
                          "/robot1/memory/Größe" + std::to_string(i), "json", {{"unit", "°"}});
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        constexpr std::uint64_t start = 1'700'000'000'000'000'000;
        // Slightly out of order, as messages of several threads are.
        const std::uint64_t time = start + i * 1000 + i * 7919 % 5000;
        const std::string data =
            "{\"value\":" + std::to_string(i) + ",\"text\":\"" + std::string(i % 60, 'x') + "\"}";
        const Message message{static_cast<std::uint16_t>(i * i % 6), i, time, time - 12, data};
        writer.write(message);
        messages.push_back(messageOf(message));
    }
    writer.writeAttachment({77, 78, "icon.png", "image/png", std::string("\x01\x02\0\xff", 4)});
    writer.writeMetadata({"robot", {{"name", "robot1"}, {"unit", "°"}}});
    writer.finish();
    return {{"messages", messages}};
}

json read(const std::string& path, recording::Access access, recording::Order order) {
    Reader reader(path, access);
    json content{
        {"isIndexed", reader.isIndexed()},     {"isWhole", reader.isWhole()},
        {"profile", reader.header().fProfile}, {"messageCount", reader.statistics().fMessageCount},
        {"messages", json::array()},           {"channels", json::object()},
        {"attachments", json::array()},        {"metadata", json::array()}};
    recording::Selection selection;
    selection.fOrder = order;
    recording::Messages messages = reader.messages(selection);
    while (const std::optional<Message> message = messages.next()) {
        content["messages"].push_back(messageOf(*message));
    }
    for (const auto& [id, channel] : reader.channels()) {
        const auto schema = reader.schemas().find(channel.fSchemaId);
        content["channels"][std::to_string(id)] = {
            {"topic", channel.fTopic},
            {"encoding", channel.fMessageEncoding},
            {"metadata", channel.fMetadata},
            {"schema", schema == reader.schemas().end() ? "" : schema->second.fName}};
    }
    for (const recording::AttachmentIndex& index : reader.attachments()) {
        const recording::Attachment attachment = reader.readAttachment(index);
        content["attachments"].push_back(
            {attachment.fName, attachment.fMediaType, hexadecimal(attachment.fData)});
    }
    for (const recording::MetadataIndex& index : reader.metadata()) {
        const recording::Metadata metadata = reader.readMetadata(index);
        content["metadata"].push_back({metadata.fName, metadata.fEntries});
    }
    return content;
}

json readAll(const std::string& path) {
    json faults = json::array();
    for (const recording::Damage& fault : recording::check(path).fFaults) {
        faults.push_back(fault.fText);
    }
    return {{"indexed", read(path, recording::Access::Indexed, recording::Order::LogTime)},
            {"sequential", read(path, recording::Access::Sequential, recording::Order::File)},
            {"faults", faults}};
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const std::string command = argc > 2 ? argv[1] : "";
        if (command == "write" && argc == 5) {
            std::cout << write(argv[2], argv[3], static_cast<std::uint32_t>(std::atoi(argv[4])))
                      << '\n';
            return EXIT_SUCCESS;
        }
        if (command == "read") {
            std::cout << readAll(argv[2]) << '\n';
            return EXIT_SUCCESS;
        }
        std::cerr << "usage: recording_tool write FILE COMPRESSION MESSAGES | read FILE\n";
    } catch (const std::exception& exception) {
        std::cerr << exception.what() << '\n';
    }
    return EXIT_FAILURE;
}
