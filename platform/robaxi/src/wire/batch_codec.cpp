#include "wire/batch_codec.h"

#include "failure.h"
#include "wire/message_codec.h"
#include "wire/value_codec.h"

#include <base/time.h>

#include <algorithm>

namespace robaxi {

namespace {

constexpr std::size_t a_bytesOfNumber = 16;

// A module may set any times, and a peer may send any: these two functions wrap around.

std::int64_t sum(std::int64_t time, std::int64_t offset) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(time) +
                                     static_cast<std::uint64_t>(offset));
}

std::int64_t difference(std::int64_t time, std::int64_t base) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(time) -
                                     static_cast<std::uint64_t>(base));
}

}  // namespace

void BatchEncoder::xEncodeOther(const KVValue& value, v1::Value* message) const {
    try {
        encodeValue(value, message, fLimits.fDepth);
        if (message->ByteSizeLong() <= fLimits.fMessage - limits::bytesOfUpdate(fLimits.fMessage)) {
            return;
        }
    } catch (const Failure&) {
        // The client receives nothing as the value instead of an error.
    }
    message->Clear();
}

void BatchEncoder::add(std::uint32_t id, const KVValue& value, std::int64_t time) {
    fSize += a_bytesOfNumber;
    if (value.type() == KVValue::Type::Float) {
        fMessage->add_float_ids(id);
        fMessage->add_floats(value.toFloat());
        fFloatTimes.push_back(time);
    } else if (value.type() == KVValue::Type::Int) {
        fMessage->add_int_ids(id);
        fMessage->add_ints(value.toInt());
        fIntTimes.push_back(time);
    } else {
        fMessage->add_other_ids(id);
        v1::Value* other = fMessage->add_others();
        xEncodeOther(value, other);
        fSize += other->ByteSizeLong();
        fOtherTimes.push_back(time);
    }
}

bool BatchEncoder::isFull() const {
    return fSize >= limits::bytesOfUpdate(fLimits.fMessage);
}

void BatchEncoder::finish() {
    std::vector<std::int64_t> times = std::move(fFloatTimes);
    times.insert(times.end(), fIntTimes.begin(), fIntTimes.end());
    times.insert(times.end(), fOtherTimes.begin(), fOtherTimes.end());
    if (times.empty()) {
        return;
    }
    const std::int64_t base = times.front();
    fMessage->set_time(base);
    if (std::all_of(times.begin(), times.end(),
                    [base](std::int64_t time) { return time == base; })) {
        return;
    }
    for (const std::int64_t time : times) {
        fMessage->add_time_offsets(difference(time, base));
    }
}

std::vector<KVChange> decodeBatch(const v1::Values& message, int deepest) {
    const int count = message.floats_size() + message.ints_size() + message.others_size();
    if (message.float_ids_size() != message.floats_size() ||
        message.int_ids_size() != message.ints_size() ||
        message.other_ids_size() != message.others_size() ||
        (message.time_offsets_size() != 0 && message.time_offsets_size() != count)) {
        throw Failure{KVError::Cause::Internal, "a batch of values does not fit together"};
    }
    std::vector<KVChange> changes;
    changes.reserve(static_cast<std::size_t>(count));
    const auto add = [&message, &changes](std::uint32_t id, KVValue value) {
        const int index = static_cast<int>(changes.size());
        const std::int64_t offset =
            message.time_offsets_size() != 0 ? message.time_offsets(index) : 0;
        changes.push_back(
            {id, std::move(value), base::withinCalendar(sum(message.time(), offset))});
    };
    for (int i = 0; i < message.floats_size(); ++i) {
        add(message.float_ids(i), message.floats(i));
    }
    for (int i = 0; i < message.ints_size(); ++i) {
        add(message.int_ids(i), std::int64_t{message.ints(i)});
    }
    for (int i = 0; i < message.others_size(); ++i) {
        add(message.other_ids(i), decodeValue(message.others(i), deepest));
    }
    return changes;
}

}  // namespace robaxi
