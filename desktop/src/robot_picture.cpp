#include "robot_picture.h"

#include "picture/gif_scan.h"
#include "picture/jpeg_scan.h"
#include "picture/png_scan.h"
#include "quiet_thread.h"

#include <QBuffer>
#include <QImageReader>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstdio>

namespace KD {

namespace {

// The other formats depend on the installed plugins. Among them, SVG drawings can refer to files of
// this computer, which are then read, and take an unbounded time to draw.
constexpr std::array a_formats{"bmp", "gif", "ico", "jpeg", "pbm",
                               "pgm", "png", "ppm", "xbm",  "xpm"};

const char a_pngSignature[] = "\x89PNG\r\n\x1a\n";

bool isKnown(const QByteArray& format) {
    return std::find(a_formats.begin(), a_formats.end(), format) != a_formats.end();
}

bool isSmall(const QSize& size) {
    return size.isValid() && size.width() <= a_largestRobotPicture &&
           size.height() <= a_largestRobotPicture;
}

/** Returns the picture of an icon file that is decoded: the first one. */
QByteArray scanIcon(const QByteArray& bytes) {
    constexpr int sizeOfHead = 6;
    constexpr int sizeOfEntry = 16;
    constexpr int sizeOfBitmapHead = 16;
    if (bytes.size() < sizeOfHead + sizeOfEntry) {
        return {};
    }
    const char* const entry = bytes.constData() + sizeOfHead;
    const auto size = qFromLittleEndian<quint32>(entry + 8);
    const auto offset = qFromLittleEndian<quint32>(entry + 12);
    const auto end = static_cast<quint32>(bytes.size());
    if (offset > end || size > end - offset || size < sizeOfBitmapHead) {
        return {};
    }
    const QByteArray picture = bytes.mid(static_cast<int>(offset), static_cast<int>(size));
    if (picture.startsWith(a_pngSignature)) {
        return scanPng(picture);
    }
    // A side of 0 in the entry means that of the bitmap, whose height includes picture and mask.
    const QSize inside(qFromLittleEndian<qint32>(picture.constData() + 4),
                       qFromLittleEndian<qint32>(picture.constData() + 8) / 2);
    return isSmall(QSize(entry[0] == 0 ? inside.width() : 1, entry[1] == 0 ? inside.height() : 1))
               ? bytes
               : QByteArray();
}

/** Bounds the table of colours, which takes more time than the pixels: XPM names each of them. */
QByteArray scanXpm(const QByteArray& bytes) {
    constexpr int mostColours = 512;
    int width = 0;
    int height = 0;
    int colours = 0;
    int characters = 0;
    const int values = bytes.indexOf('"') + 1;
    const bool isComplete = std::sscanf(bytes.mid(values, 64).constData(), "%d %d %d %d", &width,
                                        &height, &colours, &characters) == 4;
    return isComplete && colours <= mostColours && characters <= 2 ? bytes : QByteArray();
}

/** Returns bytes that can be decoded in a bounded time, or nothing. */
QByteArray scanned(const QByteArray& bytes) {
    if (bytes.size() > a_mostRobotPictureBytes) {
        return {};
    }
    if (bytes.startsWith(a_pngSignature)) {
        return scanPng(bytes);
    }
    if (bytes.startsWith("\xFF\xD8\xFF")) {
        return scanJpeg(bytes);
    }
    if (bytes.startsWith("GIF8")) {
        return scanGif(bytes);
    }
    if (bytes.startsWith(QByteArray("\0\0\1\0", 4)) ||
        bytes.startsWith(QByteArray("\0\0\2\0", 4))) {
        return scanIcon(bytes);
    }
    if (bytes.startsWith("BM")) {
        return bytes;
    }
    if (bytes.size() > base::a_largestTextIcon) {
        return {};
    }
    return bytes.startsWith("/* XPM") ? scanXpm(bytes) : bytes;
}

}  // namespace

QImage readRobotPicture(const QByteArray& bytes) {
    const QuietThread quiet;
    QByteArray picture = scanned(bytes);
    QBuffer buffer(&picture);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    // For a drawing, size() would read the whole file.
    if (picture.isEmpty() || !isKnown(reader.format()) || !isSmall(reader.size())) {
        return {};
    }
    return reader.read();
}

}  // namespace KD
