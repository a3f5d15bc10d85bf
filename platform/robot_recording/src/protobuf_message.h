#ifndef ROBOT_RECORDING_PROTOBUF_MESSAGE_H
#define ROBOT_RECORDING_PROTOBUF_MESSAGE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace robot_recording {

/**
 * A protobuf message that is being encoded.
 *
 * The messages of recordings have a handful of fields. Generated code would link the program with
 * the whole of libprotobuf, which takes longer to load than most commands run.
 */
class ProtobufMessage {
  public:
    void addInteger(std::uint32_t field, std::uint64_t value);
    void addFixed32(std::uint32_t field, std::uint32_t value);
    /** A text, bytes, or an embedded message. */
    void addBytes(std::uint32_t field, std::string_view bytes);

    const std::string& bytes() const { return fBytes; }
    std::string take() { return std::move(fBytes); }

  private:
    void xAddVarint(std::uint64_t value);

    std::string fBytes;
};

}  // namespace robot_recording

#endif
