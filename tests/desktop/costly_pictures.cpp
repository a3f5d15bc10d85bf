#include "costly_pictures.h"

#include "robot_picture.h"

#include <QBuffer>
#include <QImage>
#include <QImageWriter>
#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <random>
#include <zlib.h>

namespace obvista_test {

namespace {

constexpr int a_side = KD::a_largestRobotPicture;
constexpr char a_pngSignature[] = "\x89PNG\r\n\x1a\n";

QByteArray bigEndian(quint32 number) {
    QByteArray bytes(sizeof number, '\0');
    qToBigEndian(number, bytes.data());
    return bytes;
}

std::mt19937& random() {
    static std::mt19937 generator(1);
    return generator;
}

QByteArray randomBytes(int size, unsigned values = 256) {
    QByteArray bytes(size, Qt::Uninitialized);
    for (char& byte : bytes) {
        byte = static_cast<char>(random()() % values);
    }
    return bytes;
}

QImage noisyImage(int side, QImage::Format format) {
    QImage image(side, side, format);
    for (int y = 0; y < side; ++y) {
        const QByteArray row = randomBytes(image.bytesPerLine());
        std::copy(row.begin(), row.end(), image.scanLine(y));
    }
    return image;
}

QByteArray written(const QImage& image, const char* format, int quality, bool progressive) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    writer.setProgressiveScanWrite(progressive);
    if (!writer.write(image)) {
        qFatal("no picture: %s", qPrintable(writer.errorString()));
    }
    return bytes;
}

/** Deflates in blocks of `bytesOfBlock` bytes, each with separate code tables. */
QByteArray deflated(const QByteArray& bytes, int bytesOfBlock) {
    z_stream stream = {};
    deflateInit(&stream, Z_DEFAULT_COMPRESSION);
    QByteArray result(2 * bytes.size() + 100000, Qt::Uninitialized);
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    for (int at = 0; at < bytes.size(); at += bytesOfBlock) {
        const int size = std::min(bytesOfBlock, bytes.size() - at);
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.constData() + at));
        stream.avail_in = static_cast<uInt>(size);
        deflate(&stream, at + size == bytes.size() ? Z_FINISH : Z_BLOCK);
    }
    result.truncate(static_cast<int>(stream.total_out));
    deflateEnd(&stream);
    return result;
}

/** Returns a progressive JPEG whose last scan is repeated `more` times. */
QByteArray jpegWithScans(int side, int quality, int more) {
    QByteArray bytes = noise(side, "jpeg", quality, true);
    const int last = bytes.lastIndexOf(QByteArray("\xFF\xDA"));
    const int end = bytes.lastIndexOf(QByteArray("\xFF\xD9"));
    const QByteArray scan = bytes.mid(last, end - last);
    bytes.truncate(end);
    for (int i = 0; i < more; ++i) {
        bytes += scan;
    }
    return bytes + "\xFF\xD9";
}

/** Returns a JPEG with scans of a single code, which leaves all blocks unchanged. */
QByteArray jpegOfScans(int side, int scans) {
    QByteArray bytes = noise(side, "jpeg", 10, true);
    bytes.truncate(bytes.lastIndexOf(QByteArray("\xFF\xD9")));
    // A table with the single code 0: "nothing in this block and the 16,383 to 32,767 that follow".
    bytes += QByteArray::fromHex("ffc400141001000000000000000000000000000000e0");
    const QByteArray scan = QByteArray::fromHex("ffda0008010100013f000001");
    for (int i = 0; i < scans; ++i) {
        bytes += scan;
    }
    return bytes + "\xFF\xD9";
}

/** Writes codes of an increasing number of bits. */
class Codes {
  public:
    static constexpr unsigned a_reset = 256;

    void put(unsigned code, int width) {
        fWaiting |= code << static_cast<unsigned>(fBits);
        for (fBits += width; fBits >= 8; fBits -= 8) {
            fBytes += static_cast<char>(fWaiting & 0xFFU);
            fWaiting >>= 8U;
        }
    }

    /** Returns a GIF with these codes as its only frame. */
    QByteArray gif(int side, int width) {
        put(a_reset + 1, width);
        put(0, 8);
        const auto low = static_cast<char>(side & 0xFF);
        const auto high = static_cast<char>(side >> 8);
        const QByteArray size = QByteArray() + low + high + low + high;
        QByteArray bytes = "GIF89a" + size + QByteArray::fromHex("f70000") + randomBytes(768) +
                           ',' + QByteArray(4, '\0') + size + '\0' + '\x08';
        for (int at = 0; at < fBytes.size(); at += 255) {
            const QByteArray block = fBytes.mid(at, 255);
            bytes += static_cast<char>(block.size()) + block;
        }
        return bytes + '\0' + ';';
    }

  private:
    QByteArray fBytes;
    unsigned fWaiting = 0;
    int fBits = 0;
};

/** Returns a GIF whose codes expand to longer and longer strings of pixels. */
QByteArray gifOfStrings(int side, int count) {
    Codes codes;
    codes.put(Codes::a_reset, 9);
    codes.put(0, 9);
    unsigned next = Codes::a_reset + 2;
    int width = 9;
    for (int i = 0; i < count; ++i) {
        codes.put(std::min(next, 4095U), width);
        next = std::min(next + 1, 4096U);
        if (next == (1U << static_cast<unsigned>(width)) && width < 12) {
            ++width;
        }
    }
    return codes.gif(side, width);
}

/** Returns a GIF with one code for each pixel, and a table reset after every `between`. */
QByteArray gifOfPixels(int side, int between) {
    Codes codes;
    for (int i = 0; i < side * side; ++i) {
        if (i % between == 0) {
            codes.put(Codes::a_reset, 9);
        }
        codes.put(static_cast<unsigned>(random()() % 256), 9);
    }
    return codes.gif(side, 9);
}

/** @param characters of each colour's name, at least 2 */
QByteArray xpmOf(int side, int colours, int characters = 2) {
    QByteArray bytes = "/* XPM */\nstatic char*x[]={\n\"" + QByteArray::number(side) + ' ' +
                       QByteArray::number(side) + ' ' + QByteArray::number(colours) + ' ' +
                       QByteArray::number(characters) + "\",\n";
    const auto name = [characters](int colour) {
        return (QByteArray() + static_cast<char>('a' + colour % 26) +
                static_cast<char>(colour / 26 + '0' + (colour / 26 >= 44 ? 1 : 0)))
            .leftJustified(characters, '.');
    };
    for (int colour = 0; colour < colours; ++colour) {
        bytes += '"' + name(colour) + " c #" + QByteArray::number(colour * 4099 + 0x100000, 16) +
                 "\",\n";
    }
    for (int y = 0; y < side; ++y) {
        bytes += '"';
        for (int x = 0; x < side; ++x) {
            bytes += name(static_cast<int>(random()() % static_cast<unsigned>(colours)));
        }
        bytes += "\",\n";
    }
    return bytes + "};";
}

/** Returns the largest accepted portable picture in text form. */
QByteArray textOfNumbers(int bytes) {
    const int side = std::min(a_side, static_cast<int>(std::sqrt((bytes - 100) / 12)));
    const QByteArray number = QByteArray::number(side);
    QByteArray text = "P3\n" + number + ' ' + number + "\n255\n";
    for (int i = 0; i < side * side * 3; ++i) {
        text += "200\n";
    }
    return text;
}

/** Returns an icon file whose first picture is followed by more of them, or by the same again. */
QByteArray icoOfEntries(int side, int entries) {
    constexpr int sizeOfHead = 6;
    constexpr int sizeOfEntry = 16;
    constexpr int offsetInEntry = 12;
    const QByteArray one = noise(side, "ico");
    QByteArray entry = one.mid(sizeOfHead, sizeOfEntry);
    qToLittleEndian(static_cast<quint32>(sizeOfHead + entries * sizeOfEntry),
                    entry.data() + offsetInEntry);
    QByteArray head = one.left(sizeOfHead);
    qToLittleEndian(static_cast<quint16>(entries), head.data() + 4);
    return head + entry.repeated(entries) + one.mid(sizeOfHead + sizeOfEntry);
}

/** Returns an icon file whose picture has another width than its entry. */
QByteArray icoOfWidth(quint32 width) {
    constexpr int picture = 22;
    QByteArray bytes = noise(a_side, "ico");
    QByteArray stored(sizeof(width), '\0');
    qToLittleEndian(width, stored.data());
    return bytes.replace(picture + 4, stored.size(), stored);
}

/** Returns a portable picture of one pixel, and bytes that do not belong to it. */
QByteArray paddedPpm(int size) {
    return QByteArray("P6\n1 1\n255\nabc").leftJustified(size, ' ');
}

QByteArray textOfComments(int bytes) {
    QByteArray text = "P6\n";
    while (text.size() < bytes - 100) {
        text += "#\n";
    }
    return text + "1 1\n255\nabc";
}

}  // namespace

QByteArray pngChunk(const QByteArray& type, const QByteArray& content) {
    const QByteArray body = type + content;
    const auto sum =
        crc32(0, reinterpret_cast<const Bytef*>(body.constData()), static_cast<uInt>(body.size()));
    return bigEndian(static_cast<quint32>(content.size())) + body +
           bigEndian(static_cast<quint32>(sum));
}

QByteArray noisyPng(const PngKind& kind) {
    const int samples[] = {1, 0, 3, 1, 2, 0, 4};
    const int firstX[] = {0, 4, 0, 2, 0, 1, 0, 0};
    const int firstY[] = {0, 0, 4, 0, 2, 0, 1, 0};
    const int stepX[] = {8, 8, 4, 4, 2, 2, 1, 1};
    const int stepY[] = {8, 8, 8, 4, 4, 2, 2, 1};
    constexpr int filters = 5;
    QByteArray rows;
    for (int pass = kind.fInterlaced ? 0 : 7; pass < (kind.fInterlaced ? 7 : 8); ++pass) {
        const int width = (kind.fSide - firstX[pass] + stepX[pass] - 1) / stepX[pass];
        const int bits = width * samples[kind.fColour] * kind.fDepth;
        for (int y = firstY[pass]; y < kind.fSide && width > 0; y += stepY[pass]) {
            rows += static_cast<char>(kind.fFilter < 0 ? y % filters : kind.fFilter);
            rows += randomBytes((bits + 7) / 8, kind.fValues);
        }
    }
    const auto side = bigEndian(static_cast<quint32>(kind.fSide));
    const char layout[] = {static_cast<char>(kind.fDepth), static_cast<char>(kind.fColour), 0, 0,
                           static_cast<char>(kind.fInterlaced ? 1 : 0)};
    QByteArray bytes = QByteArray(a_pngSignature) +
                       pngChunk("IHDR", side + side + QByteArray(layout, sizeof layout));
    if (kind.fColour == PngKind::Palette) {
        bytes += pngChunk("PLTE", randomBytes(3 << kind.fDepth));
        bytes += pngChunk("tRNS", randomBytes(2));
    }
    return bytes + pngChunk("IDAT", deflated(rows, kind.fBytesOfBlock)) + pngChunk("IEND", {});
}

QByteArray noise(int side, const char* format, int quality, bool progressive) {
    return written(noisyImage(side, QImage::Format_ARGB32), format, quality, progressive);
}

std::vector<CostlyPicture> worstAcceptedPictures() {
    constexpr int mostText = 40 * 1024;
    return {
        {"png", noise(a_side, "png")},
        {"filtered png", noisyPng({a_side})},
        {"interlaced png", noisyPng({180, 8, PngKind::Rgba, true})},
        {"interlaced png, grey", noisyPng({a_side, 8, PngKind::Grey, true})},
        {"png of 16 bits, grey", noisyPng({a_side - 1, 16, PngKind::Grey})},
        {"png of 16 bits, grey with alpha", noisyPng({180, 16, PngKind::GreyAlpha})},
        {"png of 16 bits, colour with alpha", noisyPng({127, 16, PngKind::Rgba})},
        {"jpeg", noise(a_side, "jpeg", 90)},
        {"progressive jpeg", noise(a_side, "jpeg", 80, true)},
        {"gif", gifOfPixels(a_side, 200)},
        {"gif of resets", gifOfPixels(a_side, 2)},
        {"gif of long strings", gifOfStrings(a_side, 268)},
        {"bmp", noise(a_side, "bmp")},
        {"ico", noise(a_side, "ico")},
        {"ico of many entries", icoOfEntries(a_side, 15000)},
        {"ppm", noise(115, "ppm")},
        {"ppm, numbers as text", textOfNumbers(mostText)},
        {"ppm of comments", textOfComments(mostText)},
        {"xbm", noise(216, "xbm")},
        {"xpm", xpmOf(120, 512)},
    };
}

std::vector<CostlyPicture> refusedPictures() {
    return {
        {"progressive jpeg of one scan more", jpegWithScans(a_side, 70, 1)},
        {"progressive jpeg of 349,325 scans", jpegOfScans(1024, 349325)},
        {"small progressive jpeg of many scans", jpegOfScans(a_side, 5000)},
        {"large png", noise(1024, "png")},
        {"png of many blocks", noisyPng({a_side, 8, PngKind::Rgba, false, 4, 8, 50})},
        {"png of 16 bits", noisyPng({182, 16, PngKind::GreyAlpha})},
        {"interlaced png", noisyPng({182, 8, PngKind::Rgba, true})},
        {"gif of long strings", gifOfStrings(a_side, 40000)},
        {"xpm of many colours", xpmOf(40, 2000)},
        {"ppm, numbers as text", textOfNumbers(600000)},
        {"ppm of comments", textOfComments(500000)},
    };
}

std::vector<PictureBound> pictureBounds() {
    constexpr int mostText = 40 * 1024;
    const QByteArray bmp = noise(a_side, "bmp");
    return {
        {"bytes", bmp.leftJustified(KD::a_mostRobotPictureBytes, '\0'),
         bmp.leftJustified(KD::a_mostRobotPictureBytes + 1, '\0')},
        {"bytes of text", paddedPpm(mostText), paddedPpm(mostText + 1)},
        {"side of a bmp", bmp, noise(a_side + 1, "bmp")},
        {"side of a gif", gifOfPixels(a_side, 200), gifOfPixels(a_side + 1, 200)},
        {"pixels of a gif", gifOfStrings(a_side, 360), gifOfStrings(a_side, 361)},
        {"side of an ico", icoOfWidth(a_side), icoOfWidth(a_side + 1)},
        {"side of a jpeg", noise(a_side, "jpeg", 50), noise(a_side + 1, "jpeg", 50)},
        {"bytes of a jpeg", noise(a_side, "jpeg", 90), noise(a_side, "jpeg", 100)},
        {"bytes of a progressive jpeg", noise(a_side, "jpeg", 80, true),
         noise(a_side, "jpeg", 95, true)},
        {"scans of a jpeg", jpegWithScans(a_side, 70, 0), jpegWithScans(a_side, 70, 1)},
        {"side of a png", noisyPng({a_side}), noisyPng({a_side + 1})},
        {"rows of an interlaced png", noisyPng({180, 8, PngKind::Rgba, true}),
         noisyPng({181, 8, PngKind::Rgba, true})},
        {"rows of a png of 16 bits", noisyPng({180, 16, PngKind::GreyAlpha}),
         noisyPng({181, 16, PngKind::GreyAlpha})},
        {"blocks of a png", noisyPng({64, 8, PngKind::Rgba, false, 4, 8, 370}),
         noisyPng({64, 8, PngKind::Rgba, false, 4, 8, 330})},
        {"side of a ppm", noise(115, "ppm"), noise(a_side + 1, "pbm")},
        {"colours of an xpm", xpmOf(60, 512), xpmOf(60, 513)},
        {"characters of an xpm", xpmOf(60, 100, 2), xpmOf(60, 100, 3)},
    };
}

double timeToDecode(const QByteArray& bytes) {
    constexpr double milli = 1e3;
    constexpr double nano = 1e-6;
    const auto now = [] {
        timespec time = {};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * milli + static_cast<double>(time.tv_nsec) * nano;
    };
    const double begin = now();
    KD::readRobotPicture(bytes);
    return now() - begin;
}

}  // namespace obvista_test
