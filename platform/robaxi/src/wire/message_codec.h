#ifndef ROBAXI_MESSAGE_CODEC_H
#define ROBAXI_MESSAGE_CODEC_H

#include "robaxi/v1/robaxi.pb.h"

#include <robaxi/kv_error.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_value_table.h>

#include <cstdint>
#include <string>

namespace robaxi {

void encodeError(KVError::Cause cause, const std::string& text, v1::Error* message);
KVError::Cause decodeCause(v1::Error::Cause cause);

void encodeModule(const KVModuleInfo& info, v1::Module* message);
KVModuleInfo decodeModule(const v1::Module& message);

void encodeKey(const KVKeyInfo& info, v1::Key* message);
/** @throws Failure if it breaks the protocol */
KVKeyInfo decodeKey(const v1::Key& message);

}  // namespace robaxi

#endif
