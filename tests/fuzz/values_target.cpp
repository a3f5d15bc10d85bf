// The packed values of a subscription.
#include "failure.h"
#include "fuzz_target.h"
#include "wire/batch_codec.h"

namespace {

using robaxi::v1::Values;

Values encode(const std::vector<KVChange>& changes) {
    Values message;
    robaxi::BatchEncoder encoder(&message);
    for (const KVChange& change : changes) {
        encoder.add(change.fId, change.fValue, change.fTime);
    }
    encoder.finish();
    return message;
}

void requireRoundTrip(const std::vector<KVChange>& changes) {
    const Values encoded = encode(changes);
    const Values again = encode(robaxi::decodeBatch(encoded));
    // Compared as bytes, since NaN does not equal itself.
    obvista_fuzz::require(encoded.SerializeAsString() == again.SerializeAsString(),
                          "values that were read can be sent and read again");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Values message;
    if (!message.ParseFromArray(data, static_cast<int>(size))) {
        return 0;
    }
    try {
        requireRoundTrip(robaxi::decodeBatch(message));
    } catch (const robaxi::Failure&) {
        // Refused, as it should be.
    }
    return 0;
}
