#include "robot_picture.h"

#include <QBuffer>
#include <QImageReader>
#include <QtEndian>

#include <algorithm>
#include <array>

namespace KD {

namespace {

// What else Qt reads depends on the plugins that are installed; drawings (SVG) among them name
// files of this computer that are then read, and have no bound on the time that drawing them takes.
constexpr std::array a_formats{"bmp", "gif", "ico", "jpeg", "pbm",
                               "pgm", "png", "ppm", "xbm",  "xpm"};

bool isKnown(const QByteArray& format) {
    return std::find(a_formats.begin(), a_formats.end(), format) != a_formats.end();
}

/** A picture's format, and its size as it says itself; both are empty when it cannot be read. */
struct Claim {
    QByteArray fFormat;
    QSize fSize;
};

Claim claimOf(const QByteArray& bytes) {
    QBuffer buffer;
    buffer.setData(bytes);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    const QByteArray format = reader.format();
    // Asking a drawing for its size would read it whole.
    return isKnown(format) ? Claim{format, reader.size()} : Claim{};
}

// A small file can hold a picture that takes seconds and gigabytes to decode, and Qt has no limit
// of its own.
bool isSmall(const QSize& size) {
    return size.width() <= a_largestRobotPicture && size.height() <= a_largestRobotPicture;
}

/** The frames of a GIF are drawn on a screen, which has a size of its own. */
QSize screenOfGif(const QByteArray& bytes) {
    constexpr int place = 6;
    const QByteArray numbers = bytes.mid(place, 2 * sizeof(quint16)).leftJustified(4, 0);
    return {qFromLittleEndian<quint16>(numbers.constData()),
            qFromLittleEndian<quint16>(numbers.constData() + sizeof(quint16))};
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

/** Whether all of a picture that Qt makes room for is small. */
bool isSmall(const Claim& claim, const QByteArray& bytes) {
    return isSmall(claim.fSize) && (claim.fFormat != "gif" || isSmall(screenOfGif(bytes))) &&
           (claim.fFormat != "ico" || !holdsLargePng(bytes));
}

}  // namespace

QImage readRobotPicture(const QByteArray& bytes) {
    const Claim claim = claimOf(bytes);
    if (!claim.fSize.isValid() || !isSmall(claim, bytes)) {
        return {};
    }
    return QImage::fromData(bytes, claim.fFormat.constData());
}

}  // namespace KD
