#ifndef OBVISTA_TOOLS_ROBAXI_RECORDING_IMAGE_MESSAGE_H
#define OBVISTA_TOOLS_ROBAXI_RECORDING_IMAGE_MESSAGE_H

#include "recording/message_schema.h"

#include <robaxi/kv_frame.h>

#include <string>

namespace robaxi_tool {

/** @name The well-known messages for pictures, in protobuf */
///@{
constexpr const char* a_compressedImage = "foxglove.CompressedImage";
constexpr const char* a_rawImage = "foxglove.RawImage";
///@}

/** Returns the schema for frames of a format; with an empty name if the format is unknown. */
const MessageSchema& imageSchema(KVPixelFormat format);

/** Returns a frame of a known format as a message of imageSchema(). */
std::string imageMessage(const KVFrame& frame, const std::string& camera);

}  // namespace robaxi_tool

#endif
