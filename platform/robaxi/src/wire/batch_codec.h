#ifndef ROBAXI_BATCH_CODEC_H
#define ROBAXI_BATCH_CODEC_H

#include "robaxi/v1/robaxi.pb.h"
#include "wire/limits.h"

#include <robaxi/kv_value_table.h>

#include <vector>

namespace robaxi {

/** Packs new values by their types. */
class BatchEncoder {
  public:
    explicit BatchEncoder(v1::Values* message,
                          const KVSettings::Limits& limits = KVSettings::Limits())
        : fMessage(message), fLimits(limits) {}

    /** Adds a value. One that cannot be sent (too deep, too large) is sent as nothing. */
    void add(std::uint32_t id, const KVValue& value, std::int64_t time);
    bool isEmpty() const { return fSize == 0; }
    /** Returns true if the batch should be sent before more is added. */
    bool isFull() const;
    /** Completes the batch; called once, at the end. */
    void finish();

  private:
    void xEncodeOther(const KVValue& value, v1::Value* message) const;

    v1::Values* const fMessage;
    const KVSettings::Limits fLimits;
    std::vector<std::int64_t> fFloatTimes;
    std::vector<std::int64_t> fIntTimes;
    std::vector<std::int64_t> fOtherTimes;
    std::size_t fSize = 0;  // approximate size in bytes
};

/** @throws Failure if the message breaks the protocol */
std::vector<KVChange> decodeBatch(const v1::Values& message, int deepest = limits::a_deepestValue);

}  // namespace robaxi

#endif
