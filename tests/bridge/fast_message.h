#ifndef OBVISTA_TESTS_BRIDGE_FAST_MESSAGE_H
#define OBVISTA_TESTS_BRIDGE_FAST_MESSAGE_H

#include <cstdint>
#include <fastcdr/Cdr.h>
#include <fastcdr/FastBuffer.h>
#include <string>
#include <vector>

namespace obvista_test {

/** Time stamp of the header of the messages. */
constexpr std::int32_t a_stampSeconds = 1'700'000'000;
constexpr std::uint32_t a_stampNanoseconds = 123'456'789;
constexpr std::int64_t a_stamp = 1'700'000'000'123'456;

/** A message encoded by Fast CDR, the encoder of ROS 2's default middleware. */
class FastMessage {
  public:
    explicit FastMessage(
        eprosima::fastcdr::Cdr::Endianness order = eprosima::fastcdr::Cdr::LITTLE_ENDIANNESS)
        : fCdr(fBuffer, order, eprosima::fastcdr::Cdr::DDS_CDR) {
        fCdr.serialize_encapsulation();
    }

    template <class Value>
    FastMessage& operator<<(const Value& value) {
        fCdr << value;
        return *this;
    }
    FastMessage& operator<<(const char* text) {
        fCdr << std::string(text);
        return *this;
    }
    /** Numbers of a fixed array, without a length. */
    FastMessage& array(const std::vector<double>& numbers) {
        for (const double number : numbers) {
            fCdr << number;
        }
        return *this;
    }
    /** A std_msgs/Header. */
    FastMessage& header(const std::string& frame, std::int32_t seconds = a_stampSeconds,
                        std::uint32_t nanoseconds = a_stampNanoseconds) {
        fCdr << seconds << nanoseconds << frame;
        return *this;
    }

    std::vector<unsigned char> bytes() const {
        const char* const data = fBuffer.getBuffer();
        return {data, data + fCdr.getSerializedDataLength()};
    }

  private:
    eprosima::fastcdr::FastBuffer fBuffer;
    eprosima::fastcdr::Cdr fCdr;
};

}  // namespace obvista_test

#endif
