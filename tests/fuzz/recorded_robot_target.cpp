// Messages of a recording that another program wrote: values, fields and pictures in JSON and
// protobuf.
//
// The input is a series of pieces (pieces.h): the name of a schema, the schema itself, the topic,
// and messages. Every message is read in every way that a channel can have.
#include "fuzz_target.h"
#include "pieces.h"

#include <base/safe_text.h>
#include <picture/frame_check.h>

#include <recorded_robot/json_value.h>
#include <recorded_robot/protobuf_fields.h>
#include <recorded_robot/recorded_image.h>
#include <recorded_robot/recorded_value.h>
#include <recorded_robot/recorded_video.h>
#include <stdexcept>

namespace {

using obvista_fuzz::require;

constexpr std::size_t a_schemaPieces = 2;

void takeValue(const std::string& key, const KVValue& value) {
    require(!key.empty(), "a field has a name");
    require(base::isUtf8(key), "a name is valid UTF-8");
    require(value.type() != KVValue::Type::String || base::isUtf8(value.toString()),
            "a text is valid UTF-8");
}

void readFrame(const std::optional<KVFrame>& frame) {
    if (frame) {
        require(frame->fSize > 0 && frame->fData, "a frame has its bytes");
        // Each byte has to be there, whatever width and height claim.
        volatile unsigned sum = 0;
        for (std::size_t i = 0; i < frame->fSize; ++i) {
            sum = sum + frame->fData.get()[i];
        }
        picture::check(*frame);
        KVFrame next = *frame;
        if (recorded_robot::RecordedVideo().complete(next)) {
            require(next.fIsKey && next.fWidth > 0, "video begins with a key frame");
            picture::check(next);
        }
    }
}

void readMessage(const std::string& message, const std::string& schema) {
    for (const char* const name : {"robaxi.Float", "robaxi.Numbers", "robaxi.Map"}) {
        recorded_robot::recordedValue(message, name);
    }
    recorded_robot::recordedValue(message, schema);
    recorded_robot::takeGroup(message, takeValue);
    recorded_robot::takeFields(message, "topic", takeValue);
    recorded_robot::recordedEvent(message);
    recorded_robot::bytesOfBase64(message);
    try {
        recorded_robot::valueOfJson(message, recorded_robot::LargeIntegers::Refused);
    } catch (const recorded_robot::JsonLimit&) {
        // Refused.
    }
    for (const char* const name :
         {"foxglove.CompressedImage", "foxglove.CompressedVideo", "foxglove.RawImage"}) {
        readFrame(recorded_robot::recordedFrame(message, name));
        readFrame(recorded_robot::recordedJsonFrame(message, name));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> pieces = obvista_fuzz::pieces(data, size);
    if (pieces.size() < a_schemaPieces) {
        return 0;
    }
    const std::string& name = pieces[0];
    std::unique_ptr<recorded_robot::ProtobufFields> fields;
    try {
        recording::Schema schema;
        schema.fName = name;
        schema.fData = pieces[1];
        fields = std::make_unique<recorded_robot::ProtobufFields>(schema);
    } catch (const std::runtime_error&) {
        // Refused.
    }
    for (std::size_t i = a_schemaPieces; i < pieces.size(); ++i) {
        readMessage(pieces[i], name);
        if (fields) {
            fields->take(pieces[i], "topic", takeValue);
        }
    }
    return 0;
}
