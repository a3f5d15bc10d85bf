// Values: an argument of a call, or a result.
#include "failure.h"
#include "fuzz_target.h"
#include "wire/value_codec.h"

namespace {

using robaxi::v1::Value;

/** A value encoded by the codec must be decoded unchanged. */
void requireRoundTrip(const KVValue& value) {
    Value encoded;
    robaxi::encodeValue(value, &encoded);
    Value again;
    robaxi::encodeValue(robaxi::decodeValue(encoded), &again);
    // Compared as bytes, since NaN does not equal itself.
    obvista_fuzz::require(encoded.SerializeAsString() == again.SerializeAsString(),
                          "a value that was read can be sent and read again");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Value message;
    if (!message.ParseFromArray(data, static_cast<int>(size))) {
        return 0;
    }
    try {
        requireRoundTrip(robaxi::decodeValue(message));
    } catch (const robaxi::Failure&) {
        // Refused, as it should be.
    }
    return 0;
}
