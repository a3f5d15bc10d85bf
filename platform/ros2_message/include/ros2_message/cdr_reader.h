#ifndef ROS2_MESSAGE_CDR_READER_H
#define ROS2_MESSAGE_CDR_READER_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace ros2_message {

/** Bytes of a message, owned by somebody else. */
struct Bytes {
    const unsigned char* fData = nullptr;
    std::size_t fSize = 0;
};

/**
 * A reader of the encoding CDR, in which ROS 2 sends messages: numbers are aligned to their size,
 * texts and sequences begin with their length.
 *
 * The bytes are not trusted. Nothing is read beyond their end and no memory is taken: texts and
 * blocks are views of the bytes. After the first mistake isGood() is false and everything that is
 * read is 0 or empty, so that callers need to look once, at the end. Copies are cheap, and read
 * ahead.
 */
class CdrReader {
  public:
    /** Begins with the four bytes that name the encoding: of CDR, the two byte orders. */
    explicit CdrReader(Bytes message);

    bool isGood() const { return fIsGood; }
    /** Makes isGood() false. */
    void fail();
    /** Returns true if at most the padding to a multiple of four bytes is left. */
    bool isAtEnd() const { return fIsGood && fEnd - fPosition < 4; }

    template <class Number>
    Number number() {
        Number result{};
        if (!xAlign(sizeof(Number)) || fEnd - fPosition < sizeof(Number)) {
            fail();
            return result;
        }
        unsigned char bytes[sizeof(Number)];
        for (std::size_t i = 0; i < sizeof(Number); ++i) {
            bytes[fIsSwapped ? sizeof(Number) - 1 - i : i] = fStart[fPosition + i];
        }
        std::memcpy(&result, bytes, sizeof(Number));
        fPosition += sizeof(Number);
        return result;
    }

    /** Returns a text without its final zero, as bytes of any kind. */
    std::string_view text();

    /**
     * Returns the number of elements of a sequence.
     *
     * @param smallest the least number of bytes of an element, above 0; a sequence of more
     *        elements than the remaining bytes can hold is a mistake
     */
    std::uint32_t length(std::size_t smallest);

    /** Returns the next bytes as they are. */
    Bytes bytes(std::size_t size);

    /** Skips numbers of one size. */
    void skipNumbers(std::size_t size, std::size_t count);

    /** Returns true if so many elements of at least so many bytes each can follow. */
    bool hasRoomFor(std::size_t count, std::size_t smallest) const;

  private:
    bool xAlign(std::size_t size);

    const unsigned char* fStart = nullptr;  ///< behind the name of the encoding
    std::size_t fPosition = 0;
    std::size_t fEnd = 0;
    bool fIsSwapped = false;
    bool fIsGood = false;
};

}  // namespace ros2_message

#endif
