#include <boost/endian/conversion.hpp>

#include <ros2_message/cdr_reader.h>

namespace ros2_message {

namespace {

constexpr std::size_t a_encapsulation = 4;  // bytes that name the encoding
constexpr unsigned char a_bigEndian = 0;
constexpr unsigned char a_littleEndian = 1;

}  // namespace

CdrReader::CdrReader(Bytes message) {
    if (message.fSize < a_encapsulation || message.fData[0] != 0 ||
        message.fData[1] > a_littleEndian) {
        return;
    }
    const bool isBig = message.fData[1] == a_bigEndian;
    fIsSwapped = isBig != (boost::endian::order::native == boost::endian::order::big);
    fStart = message.fData + a_encapsulation;
    fEnd = message.fSize - a_encapsulation;
    fIsGood = true;
}

void CdrReader::fail() {
    fIsGood = false;
    fPosition = fEnd;
}

std::string_view CdrReader::text() {
    const auto size = number<std::uint32_t>();
    // Some writers send an empty text without its zero.
    if (size == 0) {
        return {};
    }
    const Bytes block = bytes(size);
    if (block.fSize == 0 || block.fData[size - 1] != 0) {
        fail();
        return {};
    }
    return {reinterpret_cast<const char*>(block.fData), size - 1};
}

std::uint32_t CdrReader::length(std::size_t smallest) {
    const auto count = number<std::uint32_t>();
    if (!hasRoomFor(count, smallest)) {
        fail();
        return 0;
    }
    return count;
}

Bytes CdrReader::bytes(std::size_t size) {
    if (!fIsGood || fEnd - fPosition < size) {
        fail();
        return {};
    }
    const Bytes result{fStart + fPosition, size};
    fPosition += size;
    return result;
}

void CdrReader::skipNumbers(std::size_t size, std::size_t count) {
    if (count == 0) {
        return;
    }
    if (!xAlign(size) || !hasRoomFor(count, size)) {
        fail();
        return;
    }
    fPosition += size * count;
}

bool CdrReader::hasRoomFor(std::size_t count, std::size_t smallest) const {
    return fIsGood && count <= (fEnd - fPosition) / smallest;
}

bool CdrReader::xAlign(std::size_t size) {
    const std::size_t aligned = (fPosition + size - 1) / size * size;
    if (!fIsGood || aligned > fEnd) {
        return false;
    }
    fPosition = aligned;
    return true;
}

}  // namespace ros2_message
