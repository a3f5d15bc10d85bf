#include "robot_picture.h"

#include <QBuffer>
#include <QImageReader>

#include <algorithm>
#include <array>

namespace KD {

namespace {

// What else Qt reads depends on the plugins that are installed; drawings (SVG) among them name
// files of this computer that are then read, and have no bound on the time that drawing them takes.
constexpr std::array a_formats{"bmp", "gif", "ico", "jpeg", "pbm",
                               "pgm", "png", "ppm", "xbm",  "xpm"};

/** A picture's format and its size, as it says itself. */
struct Claim {
    QByteArray fFormat;
    QSize fSize;
};

Claim claimOf(const QByteArray& bytes) {
    QBuffer buffer;
    buffer.setData(bytes);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    // In this order: asking for the size reads the header with which the format is told.
    QByteArray format = reader.format();
    return {std::move(format), reader.size()};
}

bool isKnown(const QByteArray& format) {
    return std::find(a_formats.begin(), a_formats.end(), format) != a_formats.end();
}

// A small file can hold a picture that takes seconds and gigabytes to decode, and Qt has no limit
// of its own.
bool isSmall(const QSize& size) {
    return size.isValid() && size.width() <= a_largestRobotPicture &&
           size.height() <= a_largestRobotPicture;
}

/** The pictures of an icon file may be PNGs, whose size differs from what its own header says. */
bool holdsLargePng(const QByteArray& bytes) {
    const QByteArray signature("\x89PNG\r\n\x1a\n");
    int at = bytes.indexOf(signature);
    while (at >= 0 && isSmall(claimOf(bytes.mid(at)).fSize)) {
        at = bytes.indexOf(signature, at + 1);
    }
    return at >= 0;
}

}  // namespace

QImage readRobotPicture(const QByteArray& bytes) {
    const Claim claim = claimOf(bytes);
    if (!isKnown(claim.fFormat) || !isSmall(claim.fSize) ||
        (claim.fFormat == "ico" && holdsLargePng(bytes))) {
        return {};
    }
    return QImage::fromData(bytes, claim.fFormat.constData());
}

}  // namespace KD
