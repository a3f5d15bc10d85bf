#include "recorded_walk.h"

#include <filesystem>
#include <sstream>

namespace robot_test {

namespace {

constexpr std::uint64_t a_hour = 3'600'000 * a_millisecond;

recording::WriterOptions smallChunks() {
    recording::WriterOptions options;
    options.fChunkBytes = 2000;
    options.fOverwrites = true;
    return options;
}

/** The JSON of the values of these tests. */
std::string jsonOf(const KVValue& value) {
    std::ostringstream text;
    switch (value.type()) {
        case KVValue::Type::Bool:
            text << (value.toBool() ? "true" : "false");
            break;
        case KVValue::Type::Int:
            text << value.toInt();
            break;
        case KVValue::Type::Float:
            text.precision(17);
            text << std::scientific << value.toFloat();
            break;
        default:
            text << '"' << value.toString() << '"';
    }
    return text.str();
}

std::string schemaOf(const KVValue& value) {
    switch (value.type()) {
        case KVValue::Type::Bool:
            return "robaxi.Bool";
        case KVValue::Type::Int:
            return "robaxi.Int";
        case KVValue::Type::Float:
            return "robaxi.Float";
        default:
            return "robaxi.Text";
    }
}

bool isGrouped(const std::string& key) {
    return key.rfind("Group/", 0) == 0;
}

}  // namespace

std::string pathOf(const std::string& name) {
    return (std::filesystem::temp_directory_path() / name).string();
}

std::int64_t robotTime(std::uint64_t time) {
    return static_cast<std::int64_t>((a_start + time - a_hour) / 1000);
}

RecordedWalk::RecordedWalk(const std::string& name)
    : fPath(pathOf(name)), fWriter(fPath, smallChunks()) {
    fWriter.writeMetadata({"robot", {{"name", "walker"}, {"topics", "/walker"}}});
    fWriter.writeAttachment({a_start, 0, "walker/icon", "image/png", "an icon"});
}

std::uint16_t RecordedWalk::xChannel(const std::string& schema, const std::string& topic,
                                     const std::string& encoding,
                                     const recording::Texts& metadata) {
    auto schemaId = fSchemas.find(schema);
    if (schemaId == fSchemas.end()) {
        const std::string kind = encoding == "json" ? "jsonschema" : "protobuf";
        schemaId = fSchemas.emplace(schema, fWriter.addSchema(schema, kind, "{}")).first;
    }
    auto channel = fChannels.find(schema + topic);
    if (channel == fChannels.end()) {
        channel = fChannels
                      .emplace(schema + topic,
                               fWriter.addChannel(schemaId->second, topic, encoding, metadata))
                      .first;
    }
    return channel->second;
}

void RecordedWalk::xWrite(std::uint16_t channel, std::uint32_t number, std::uint64_t time,
                          const std::string& data) {
    fWriter.write({channel, number, a_start + time, a_start + time - a_hour, data});
    fTimes.push_back(time);
}

void RecordedWalk::set(std::uint64_t time, const std::string& key, const KVValue& value) {
    fSteps.push_back({time, key, value, false});
    if (isGrouped(key)) {
        xWrite(xChannel("robaxi.Keys", "/walker/memory", "json", {}), 0, time,
               "{\"" + key + "\":" + jsonOf(value) + '}');
        return;
    }
    xWrite(xChannel(schemaOf(value), "/walker/memory/" + key, "json",
                    {{"key", key}, {"unit", "rad"}, {"description", "an angle"}}),
           0, time, "{\"value\":" + jsonOf(value) + '}');
}

void RecordedWalk::removeKey(std::uint64_t time, const std::string& key) {
    fSteps.push_back({time, key, KVValue(), true});
    xWrite(xChannel("robaxi.Event", "/walker/events", "json", {}), 0, time,
           R"({"event":"key removed","text":")" + key + "\"}");
}

void RecordedWalk::addFrame(std::uint64_t time, const std::string& camera, std::uint32_t number) {
    fFrames.push_back({time, camera, number});
    using namespace std::string_literals;
    const std::string image = "\x15\x02\0\0\0\x1D\x01\0\0\0\x22\x05mono8\x2D\x02\0\0\0\x32\x02"s +
                              static_cast<char>(number) + '\x10';
    xWrite(
        xChannel("foxglove.RawImage", "/walker/camera/" + camera, "protobuf", {{"camera", camera}}),
        number, time, image);
}

std::string RecordedWalk::copyUnfinished(const std::string& name) {
    fWriter.flush();
    std::filesystem::copy_file(fPath, pathOf(name),
                               std::filesystem::copy_options::overwrite_existing);
    return pathOf(name);
}

RecordedWalk::Keys RecordedWalk::at(std::uint64_t time) const {
    return at(std::set<std::uint64_t>{time}).at(time);
}

std::map<std::uint64_t, RecordedWalk::Keys> RecordedWalk::at(
    const std::set<std::uint64_t>& times) const {
    Keys keys;
    for (const Step& step : fSteps) {
        // A key with its own channel exists from the beginning.
        if (!isGrouped(step.fKey)) {
            keys[step.fKey];
        }
    }
    std::map<std::uint64_t, Keys> result;
    auto step = fSteps.begin();
    for (const std::uint64_t time : times) {
        for (; step != fSteps.end() && step->fTime <= time; ++step) {
            if (step->fIsRemoval) {
                keys.erase(step->fKey);
            } else {
                keys[step->fKey] = {step->fValue, robotTime(step->fTime)};
            }
        }
        result[time] = keys;
    }
    return result;
}

std::uint64_t RecordedWalk::frameAt(std::uint64_t time, const std::string& camera) const {
    std::uint64_t number = 0;
    for (const Frame& frame : fFrames) {
        if (frame.fCamera == camera && frame.fTime <= time) {
            number = frame.fNumber;
        }
    }
    return number;
}

}  // namespace robot_test
