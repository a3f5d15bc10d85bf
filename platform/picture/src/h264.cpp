#include "picture/h264.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

namespace picture {

namespace {

constexpr std::uint32_t a_macroblock = 16;  // pixels
/** Sets of parameters of a usual encoder have less than 50 bytes. */
constexpr std::size_t a_maxParameterBytes = 1024;
constexpr std::size_t a_slicePrefixBytes = 16;

/** Types of NAL units. */
enum NalType : unsigned {
    Slice = 1,
    IdrSlice = 5,
    Information = 6,
    SequenceParameters = 7,
    PictureParameters = 8,
    Delimiter = 9,
    EndOfSequence = 10,
    EndOfStream = 11,
    Filler = 12
};

struct Size {
    std::uint64_t fWidth = 0;
    std::uint64_t fHeight = 0;
};

struct Bytes {
    const unsigned char* fBegin = nullptr;
    std::size_t fSize = 0;
};

/** Reads bits after the removal of emulation prevention. Reading beyond the end gives zeros and
 *  makes isBad() true. */
template <std::size_t Capacity>
class BitReader {
  public:
    /** Takes the first bytes of a NAL unit, without its header. */
    explicit BitReader(Bytes unit) {
        unsigned zeros = 0;
        for (std::size_t i = 0; i < unit.fSize && fSize < Capacity; ++i) {
            const unsigned char byte = unit.fBegin[i];
            if (zeros >= 2 && byte == 3) {
                zeros = 0;
                continue;
            }
            zeros = byte == 0 ? zeros + 1 : 0;
            fBytes[fSize++] = byte;
        }
    }

    std::uint32_t bit() {
        if (fPosition >= fSize * 8) {
            fIsBad = true;
            return 0;
        }
        const unsigned byte = fBytes[fPosition / 8];
        return byte >> (7 - fPosition++ % 8) & 1U;
    }

    std::uint32_t bits(int count) {
        std::uint32_t value = 0;
        for (int i = 0; i < count; ++i) {
            value = value << 1U | bit();
        }
        return value;
    }

    /** Reads an Exp-Golomb code ("ue"). */
    std::uint32_t number() {
        constexpr int longest = 31;
        int zeros = 0;
        while (!fIsBad && bit() == 0) {
            if (++zeros > longest) {
                fIsBad = true;
            }
        }
        return fIsBad ? 0 : (1U << static_cast<unsigned>(zeros)) - 1 + bits(zeros);
    }

    /** Reads a signed Exp-Golomb code ("se"). */
    std::int64_t signedNumber() {
        const std::int64_t code = number();
        return code % 2 != 0 ? (code + 1) / 2 : -(code / 2);
    }

    bool isBad() const { return fIsBad; }

  private:
    std::array<unsigned char, Capacity> fBytes{};
    std::size_t fSize = 0;
    std::size_t fPosition = 0;  // bits
    bool fIsBad = false;
};

using ParameterReader = BitReader<a_maxParameterBytes>;

void skipScalingList(ParameterReader& reader, int size) {
    std::int64_t last = 8;
    std::int64_t next = 8;
    for (int i = 0; i < size && !reader.isBad(); ++i) {
        if (next != 0) {
            next = (last + reader.signedNumber() + 256) % 256;
        }
        last = next == 0 ? last : next;
    }
}

/** Reads the fields that only the profile High has. Returns false for other than 8 bits of 4:2:0.
 */
bool readHighProfile(ParameterReader& reader) {
    const bool isUsual = reader.number() == 1 && reader.number() == 0 && reader.number() == 0;
    reader.bit();
    if (isUsual && reader.bit() != 0) {
        for (int i = 0; i < 8; ++i) {
            if (reader.bit() != 0) {
                skipScalingList(reader, i < 6 ? 16 : 64);
            }
        }
    }
    return isUsual;
}

/** @return false for a kind that does not exist */
bool skipOrder(ParameterReader& reader) {
    constexpr std::uint32_t mostOffsets = 255;
    switch (reader.number()) {
        case 0:
            reader.number();
            return true;
        case 1: {
            reader.bit();
            reader.number();
            reader.number();
            const std::uint32_t offsets = reader.number();
            for (std::uint32_t i = 0; i < std::min(offsets, mostOffsets); ++i) {
                reader.number();
            }
            return offsets <= mostOffsets;
        }
        case 2:
            return true;
        default:
            return false;
    }
}

/** Reads the size of the picture after cropping. */
FrameFault readSize(ParameterReader& reader, Size coded, Size& size) {
    std::uint64_t cropX = 0;
    std::uint64_t cropY = 0;
    if (reader.bit() != 0) {
        // In units of two pixels, since two share a colour.
        cropX = 2 * (std::uint64_t{reader.number()} + reader.number());
        cropY = 2 * (std::uint64_t{reader.number()} + reader.number());
    }
    if (reader.isBad()) {
        return FrameFault::UnreadableH264;
    }
    if (cropX >= coded.fWidth || cropY >= coded.fHeight) {
        return FrameFault::UnreadableH264;
    }
    size = {coded.fWidth - cropX, coded.fHeight - cropY};
    return FrameFault::None;
}

FrameFault readSequenceParameters(Bytes unit, Size& size) {
    constexpr std::uint32_t baseline = 66;
    constexpr std::uint32_t main = 77;
    constexpr std::uint32_t high = 100;
    if (unit.fSize > a_maxParameterBytes) {
        return FrameFault::UnreadableH264;
    }
    ParameterReader reader(unit);
    const std::uint32_t profile = reader.bits(8);
    reader.bits(16);  // constraints and level
    reader.number();  // identifier
    const bool isKnown =
        profile == baseline || profile == main || (profile == high && readHighProfile(reader));
    if (!isKnown) {
        return FrameFault::UnreadableH264;
    }
    reader.number();  // length of frame numbers
    if (!skipOrder(reader)) {
        return FrameFault::UnreadableH264;
    }
    const std::uint64_t references = reader.number();
    reader.bit();
    const std::uint64_t columns = std::uint64_t{reader.number()} + 1;
    const std::uint64_t rows = std::uint64_t{reader.number()} + 1;
    const bool isProgressive = reader.bit() != 0;
    reader.bit();
    if (reader.isBad() || !isProgressive) {
        return FrameFault::UnreadableH264;
    }
    // Each factor is below 2^32, so that the first product fits; the second is small by then.
    if (columns * rows > a_maxMacroblocks ||
        std::max<std::uint64_t>(references, 1) > a_maxKeptMacroblocks / (columns * rows)) {
        return FrameFault::H264TooLarge;
    }
    return readSize(reader, {columns * a_macroblock, rows * a_macroblock}, size);
}

/** Returns the position of the next start code's first byte, or the end. */
std::size_t nextStart(const KVFrame& frame, std::size_t from) {
    const unsigned char* const data = frame.fData.get();
    while (from + 3 <= frame.fSize) {
        // The last byte of a start code is the rarest.
        const void* const one = std::memchr(data + from + 2, 1, frame.fSize - from - 2);
        if (one == nullptr) {
            break;
        }
        const auto found = static_cast<std::size_t>(static_cast<const unsigned char*>(one) - data);
        if (data[found - 1] == 0 && data[found - 2] == 0) {
            return found - 2;
        }
        from = found - 1;
    }
    return frame.fSize;
}

/** Returns the type of a NAL unit by its first byte. */
unsigned typeOf(unsigned char header) {
    constexpr unsigned typeBits = 0x1F;
    return header & typeBits;
}

/** The check of one access unit. */
class UnitCheck {
  public:
    explicit UnitCheck(const KVFrame& frame) : fFrame(frame) {}

    FrameFault run() {
        std::size_t start = nextStart(fFrame, 0);
        if (start > 1) {
            return FrameFault::UnreadableH264;  // no byte stream
        }
        while (start < fFrame.fSize) {
            const std::size_t begin = start + 3;
            start = nextStart(fFrame, begin);
            const FrameFault fault = xCheckNal({fFrame.fData.get() + begin, start - begin});
            if (fault != FrameFault::None) {
                return fault;
            }
        }
        const bool isWhole = fSlices > 0 && (!fFrame.fIsKey || (fHasSequence && fHasPicture));
        return isWhole ? FrameFault::None : FrameFault::UnreadableH264;
    }

  private:
    FrameFault xCheckNal(Bytes nal) {
        if (nal.fSize < 2) {
            return FrameFault::UnreadableH264;
        }
        const Bytes content{nal.fBegin + 1, nal.fSize - 1};
        switch (typeOf(nal.fBegin[0])) {
            case Slice:
                return xCheckSlice(content, false);
            case IdrSlice:
                return xCheckSlice(content, true);
            case SequenceParameters:
                fHasSequence = true;
                return xCheckSequence(content);
            case PictureParameters:
                fHasPicture = true;
                return content.fSize > a_maxParameterBytes ? FrameFault::UnreadableH264
                                                           : FrameFault::None;
            case Information:
            case Delimiter:
            case Filler:
                return FrameFault::None;
            default:
                return FrameFault::UnreadableH264;
        }
    }

    FrameFault xCheckSequence(Bytes content) {
        Size size;
        const FrameFault fault = readSequenceParameters(content, size);
        if (fault != FrameFault::None) {
            return fault;
        }
        const bool isSame = size.fWidth == fFrame.fWidth && size.fHeight == fFrame.fHeight;
        return isSame ? FrameFault::None : FrameFault::H264SizeDiffers;
    }

    /** Slices in the order of the picture, of which the first begins it: more pictures would be
     *  more work than the frame's size shows. */
    FrameFault xCheckSlice(Bytes content, bool isIdr) {
        constexpr std::uint32_t kinds = 5;  // the same kinds again: "all slices of the picture"
        constexpr std::uint32_t predicted = 0;
        constexpr std::uint32_t intra = 2;
        BitReader<a_slicePrefixBytes> reader(content);
        const std::uint32_t first = reader.number();
        const std::uint32_t kind = reader.number() % kinds;
        const bool isNext = fSlices == 0 ? first == 0 : first > fLastFirst;
        if (reader.isBad() || !isNext || first >= a_maxMacroblocks || isIdr != fFrame.fIsKey ||
            (kind != intra && (kind != predicted || isIdr)) || ++fSlices > a_maxSlices) {
            return FrameFault::UnreadableH264;
        }
        fLastFirst = first;
        return FrameFault::None;
    }

    const KVFrame& fFrame;
    bool fHasSequence = false;
    bool fHasPicture = false;
    int fSlices = 0;
    std::uint32_t fLastFirst = 0;
};

}  // namespace

std::optional<H264Header> readH264Header(const KVFrame& frame) {
    if (!frame.fData || frame.fSize > a_maxH264Bytes) {
        return std::nullopt;
    }
    H264Header header;
    std::size_t start = nextStart(frame, 0);
    while (start < frame.fSize) {
        const std::size_t begin = start + 3;
        start = nextStart(frame, begin);
        if (start - begin < 2) {
            return std::nullopt;
        }
        const Bytes content{frame.fData.get() + begin + 1, start - begin - 1};
        Size size;
        switch (typeOf(frame.fData.get()[begin])) {
            case IdrSlice:
            case Slice:
                header.fIsKey = typeOf(frame.fData.get()[begin]) == IdrSlice;
                return header;
            case SequenceParameters:
                if (readSequenceParameters(content, size) != FrameFault::None) {
                    return std::nullopt;
                }
                header.fWidth = static_cast<std::uint32_t>(size.fWidth);
                header.fHeight = static_cast<std::uint32_t>(size.fHeight);
                break;
            default:
                break;
        }
    }
    return std::nullopt;
}

std::vector<unsigned char> parameterSets(const KVFrame& frame) {
    std::vector<unsigned char> sets;
    std::size_t start = nextStart(frame, 0);
    while (start < frame.fSize) {
        const unsigned char* const begin = frame.fData.get() + start + 3;
        start = nextStart(frame, start + 3);
        const unsigned char* end = frame.fData.get() + start;
        if (begin == end || typeOf(*begin) == Slice || typeOf(*begin) == IdrSlice) {
            break;
        }
        if (typeOf(*begin) == SequenceParameters || typeOf(*begin) == PictureParameters) {
            // The next start code may have a further zero in front.
            while (end != begin && end[-1] == 0) {
                --end;
            }
            sets.insert(sets.end(), begin, end);
        }
    }
    return sets;
}

FrameFault checkH264(const KVFrame& frame) {
    if (!frame.fData || frame.fSize == 0) {
        return FrameFault::NoData;
    }
    if (frame.fSize > a_maxH264Bytes) {
        return FrameFault::H264TooLarge;
    }
    return UnitCheck(frame).run();
}

}  // namespace picture
