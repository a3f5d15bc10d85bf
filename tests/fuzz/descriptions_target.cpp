// A robot's descriptions of its modules, keys and failures.
#include "failure.h"
#include "fuzz_target.h"
#include "wire/message_codec.h"

#include <base/safe_text.h>

namespace {

using obvista_fuzz::require;
using robaxi::v1::KeysAdded;
using robaxi::v1::ServerMessage;

void readModules(const ServerMessage& message) {
    for (const auto& module : message.module_list().modules()) {
        robaxi::v1::Module encoded;
        robaxi::encodeModule(robaxi::decodeModule(module), &encoded);
        require(encoded.name() == module.name(), "a name that was read is valid UTF-8");
        require(encoded.methods_size() == module.methods_size(), "no method is lost");
    }
}

void readError(const ServerMessage& message) {
    const auto& error = message.result().error();
    robaxi::v1::Error encoded;
    robaxi::encodeError(robaxi::decodeCause(error.cause()), error.text(), &encoded);
    require(encoded.text() == base::validUtf8(encoded.text()),
            "a text that is sent is valid UTF-8");
}

void readKeys(const KeysAdded& message) {
    for (const auto& key : message.keys()) {
        try {
            robaxi::v1::Key encoded;
            robaxi::encodeKey(robaxi::decodeKey(key), &encoded);
            require(encoded.id() != 0 && !encoded.name().empty(), "a key can be told from others");
        } catch (const robaxi::Failure&) {
            // Refused, as it should be.
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    require(base::validUtf8(base::validUtf8(text)) == base::validUtf8(text),
            "what is valid UTF-8 stays as it is");
    ServerMessage message;
    if (message.ParseFromString(text)) {
        readModules(message);
        readError(message);
    }
    KeysAdded keys;
    if (keys.ParseFromString(text)) {
        readKeys(keys);
    }
    return 0;
}
