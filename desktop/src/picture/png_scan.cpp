#include "png_scan.h"

#include "png_rows.h"
#include "robot_picture.h"

#include <QtEndian>

#include <optional>
#include <zlib.h>

namespace KD {

namespace {

constexpr int a_sizeOfSignature = 8;
constexpr int a_sizeOfHeader = 13;
constexpr int a_sizeOfFrame = 12;  // length, type and checksum of a chunk
constexpr int a_largestPalette = 256 * 3;
constexpr int a_sizeOfOtherChunks = 2048;  // maximum output besides the rows

// Bytes of all rows: the largest picture of four bytes a pixel. Libpng and Qt take about twice the
// time for each byte of a picture that is interlaced or has samples of 16 bits.
constexpr int a_largestRaster = a_largestRobotPicture * (a_largestRobotPicture * 4 + 1);
constexpr int a_largestCostlyRaster = a_largestRaster / 2;

// Encoders begin a block about every 16,000 bytes. Each block may contain code tables, which take
// microseconds to build and few bytes to describe.
constexpr int a_mostBlocks = 48;

/** Returns the checksum of bytes, continued from the checksum `before` of the preceding ones. */
quint32 checksum(const char* data, int size, quint32 before = 0) {
    return static_cast<quint32>(
        crc32(before, reinterpret_cast<const Bytef*>(data), static_cast<uInt>(size)));
}

QByteArray bigEndian(quint32 number) {
    QByteArray bytes(sizeof number, '\0');
    qToBigEndian(number, bytes.data());
    return bytes;
}

quint32 numberAt(const QByteArray& bytes, int at) {
    return qFromBigEndian<quint32>(bytes.constData() + at);
}

struct Chunk {
    QByteArray fType;
    QByteArray fContent;
    bool fSound = false;  // the checksum is right
    int fEnd = 0;         // of the chunk in the file
};

/** Returns the chunk at a position, or nothing if the file ends inside it. */
std::optional<Chunk> chunkAt(const QByteArray& bytes, int at) {
    constexpr int sizeOfType = 4;
    if (bytes.size() - at < a_sizeOfFrame) {
        return std::nullopt;
    }
    const quint32 length = numberAt(bytes, at);
    if (length > static_cast<quint32>(bytes.size() - at - a_sizeOfFrame)) {
        return std::nullopt;
    }
    const int type = at + static_cast<int>(sizeof length);
    const int content = type + sizeOfType;
    const int end = content + static_cast<int>(length);
    return Chunk{
        bytes.mid(type, sizeOfType),
        QByteArray::fromRawData(bytes.constData() + content, static_cast<int>(length)),
        checksum(bytes.constData() + type, end - type) == numberAt(bytes, end),
        end + static_cast<int>(sizeof(quint32)),
    };
}

void appendChunk(QByteArray& bytes, const QByteArray& type, const QByteArray& content) {
    const quint32 typeSum = checksum(type.constData(), type.size());
    bytes += bigEndian(static_cast<quint32>(content.size()));
    bytes += type;
    bytes += content;
    bytes += bigEndian(checksum(content.constData(), content.size(), typeSum));
}

/** Parts of the file that determine its pixels. */
struct Parts {
    QByteArray fHeader;
    PngLayout fLayout;
    QByteArray fPalette;
    QByteArray fTransparency;
    QByteArray fCompressed;
};

bool takeHeader(const QByteArray& content, Parts& parts) {
    constexpr int depth = 8;
    constexpr int colour = 9;
    constexpr int interlace = 12;
    if (!parts.fHeader.isEmpty() || content.size() != a_sizeOfHeader || content[depth + 2] != 0 ||
        content[depth + 3] != 0) {
        return false;
    }
    const quint32 width = numberAt(content, 0);
    const quint32 height = numberAt(content, sizeof width);
    constexpr quint32 largest = a_largestRobotPicture;
    if (width == 0 || height == 0 || width > largest || height > largest) {
        return false;
    }
    parts.fHeader = content;
    parts.fLayout = {static_cast<int>(width), static_cast<int>(height),
                     static_cast<unsigned char>(content[depth]),
                     static_cast<unsigned char>(content[colour]),
                     static_cast<unsigned char>(content[interlace])};
    return parts.fLayout.isValid();
}

bool takePalette(const QByteArray& content, Parts& parts) {
    if (content.isEmpty() || content.size() > a_largestPalette || content.size() % 3 != 0) {
        return false;
    }
    // In other pictures the palette is a hint for screens with few colours.
    if (parts.fLayout.fColour == PngLayout::Palette) {
        parts.fPalette = content;
    }
    return true;
}

/**
 * Stores the transparent colour, or the palette's alpha values; ignores one of the wrong length.
 */
void takeTransparency(const QByteArray& content, Parts& parts) {
    constexpr int sizeOfGrey = 2;
    constexpr int sizeOfColour = 6;
    const unsigned char colour = parts.fLayout.fColour;
    const bool fits =
        (colour == PngLayout::Palette && content.size() <= parts.fPalette.size() / 3) ||
        (colour == PngLayout::Grey && content.size() == sizeOfGrey) ||
        (colour == PngLayout::Rgb && content.size() == sizeOfColour);
    if (fits) {
        parts.fTransparency = content;
    }
}

/**
 * Stores the needed content of a chunk; returns false if the file is damaged or of an unknown kind.
 */
bool takeChunk(const Chunk& chunk, Parts& parts) {
    constexpr char ancillary = 0x20;
    if ((chunk.fType[0] & ancillary) != 0 && chunk.fType != "tRNS") {
        return true;
    }
    if (!chunk.fSound || parts.fHeader.isEmpty() != (chunk.fType == "IHDR")) {
        return false;
    }
    if (chunk.fType == "IHDR") {
        return takeHeader(chunk.fContent, parts);
    }
    if (chunk.fType == "IDAT") {
        parts.fCompressed += chunk.fContent;
        return true;
    }
    if (!parts.fCompressed.isEmpty()) {
        return false;
    }
    if (chunk.fType == "tRNS") {
        takeTransparency(chunk.fContent, parts);
        return true;
    }
    return chunk.fType == "PLTE" && takePalette(chunk.fContent, parts);
}

std::optional<Parts> partsOf(const QByteArray& bytes) {
    Parts parts;
    for (int at = a_sizeOfSignature;;) {
        const std::optional<Chunk> chunk = chunkAt(bytes, at);
        if (!chunk) {
            return std::nullopt;
        }
        if (chunk->fType == "IEND") {
            break;
        }
        if (!takeChunk(*chunk, parts)) {
            return std::nullopt;
        }
        at = chunk->fEnd;
    }
    const bool needsPalette = parts.fLayout.fColour == PngLayout::Palette;
    return needsPalette && parts.fPalette.isEmpty() ? std::nullopt : std::optional(parts);
}

/** Returns the rows, or nothing if their size is not exactly the one that the picture needs. */
QByteArray inflated(const QByteArray& compressed, int size) {
    QByteArray rows(size, Qt::Uninitialized);
    z_stream stream = {};
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.constData()));
    stream.avail_in = static_cast<uInt>(compressed.size());
    stream.next_out = reinterpret_cast<Bytef*>(rows.data());
    stream.avail_out = static_cast<uInt>(size);
    if (inflateInit(&stream) != Z_OK) {
        return {};
    }
    // Returns at the end of each block, and once before the first.
    int result = Z_OK;
    for (int block = 0; block <= a_mostBlocks && result == Z_OK; ++block) {
        result = inflate(&stream, Z_BLOCK);
    }
    inflateEnd(&stream);
    return result == Z_STREAM_END && stream.avail_out == 0 ? rows : QByteArray();
}

int largestRaster(const PngLayout& layout) {
    constexpr int longSample = 16;
    const bool isCostly = layout.fInterlace != 0 || layout.fDepth == longSample;
    return isCostly ? a_largestCostlyRaster : a_largestRaster;
}

QByteArray stored(const QByteArray& rows) {
    uLongf size = compressBound(static_cast<uLong>(rows.size()));
    QByteArray bytes(static_cast<int>(size), Qt::Uninitialized);
    compress2(reinterpret_cast<Bytef*>(bytes.data()), &size,
              reinterpret_cast<const Bytef*>(rows.constData()), static_cast<uLong>(rows.size()),
              Z_NO_COMPRESSION);
    bytes.truncate(static_cast<int>(size));
    return bytes;
}

}  // namespace

QByteArray scanPng(const QByteArray& bytes) {
    const std::optional<Parts> parts = partsOf(bytes);
    if (!parts || parts->fLayout.sizeOfRows() > largestRaster(parts->fLayout)) {
        return {};
    }
    QByteArray rows = inflated(parts->fCompressed, parts->fLayout.sizeOfRows());
    if (rows.isEmpty() || !parts->fLayout.unfilter(rows)) {
        return {};
    }
    QByteArray picture = bytes.left(a_sizeOfSignature);
    picture.reserve(rows.size() + a_sizeOfOtherChunks);
    appendChunk(picture, "IHDR", parts->fHeader);
    if (!parts->fPalette.isEmpty()) {
        appendChunk(picture, "PLTE", parts->fPalette);
    }
    if (!parts->fTransparency.isEmpty()) {
        appendChunk(picture, "tRNS", parts->fTransparency);
    }
    appendChunk(picture, "IDAT", stored(rows));
    appendChunk(picture, "IEND", {});
    return picture;
}

}  // namespace KD
