#ifndef ROBAXI_VALUE_CODEC_H
#define ROBAXI_VALUE_CODEC_H

#include "robaxi/v1/robaxi.pb.h"
#include "wire/limits.h"

#include <robaxi/kv_value.h>

namespace robaxi {

/** @throws Failure InvalidArgument if the value is nested too deep to be sent */
void encodeValue(const KVValue& value, v1::Value* message, int deepest = limits::a_deepestValue);

/**
 * Decodes and checks a value from the network.
 *
 * @throws Failure Internal if it breaks the protocol: unknown type, too deep, keys that do not
 *         match the elements
 */
KVValue decodeValue(const v1::Value& message, int deepest = limits::a_deepestValue);

KVValue::Type decodeType(v1::Value::Type type);

}  // namespace robaxi

#endif
