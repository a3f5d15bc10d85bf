#include "jpeg_scan.h"

#include "robot_picture.h"

#include <base/icon_limits.h>

#include <QtEndian>

namespace KD {

namespace {

constexpr int a_mostScans = 10;  // as many as encoders write

enum Marker : unsigned char {
    Baseline = 0xC0,
    Extended = 0xC1,
    Progressive = 0xC2,
    HuffmanTables = 0xC4,
    FirstRestart = 0xD0,
    LastRestart = 0xD7,
    End = 0xD9,
    Scan = 0xDA,
    Quantization = 0xDB,
    RestartInterval = 0xDD,
    Jfif = 0xE0,
    Adobe = 0xEE,
    LastApplication = 0xEF,
    Comment = 0xFE,
};

constexpr char a_mark = '\xFF';

/** Returns true if the frame's header, without its length field, describes a small picture. */
bool isSmallFrame(const QByteArray& header) {
    constexpr int precision = 8;
    constexpr int sizeOfHead = 6;
    if (header.size() < sizeOfHead || header[0] != precision) {
        return false;
    }
    const int height = qFromBigEndian<quint16>(header.constData() + 1);
    const int width = qFromBigEndian<quint16>(header.constData() + 3);
    return width > 0 && height > 0 && width <= a_largestRobotPicture &&
           height <= a_largestRobotPicture;
}

/**
 * Returns the end of the entropy-coded bytes that start at `at`: the position of the next marker.
 */
int endOfEntropy(const QByteArray& bytes, int at) {
    for (at = bytes.indexOf(a_mark, at); at >= 0 && at + 1 < bytes.size();
         at = bytes.indexOf(a_mark, at + 1)) {
        const auto next = static_cast<unsigned char>(bytes[at + 1]);
        if (next != 0 && (next < FirstRestart || next > LastRestart)) {
            return at;
        }
    }
    return bytes.size();
}

/** Copies the segments that determine the pixels. */
class Scanner {
  public:
    explicit Scanner(const QByteArray& bytes) : fBytes(bytes) {}

    QByteArray scanned() {
        constexpr int sizeOfStart = 2;
        fPicture = fBytes.left(sizeOfStart);
        fAt = sizeOfStart;
        while (fAt + 1 < fBytes.size() && fBytes[fAt] == a_mark) {
            const auto marker = static_cast<unsigned char>(fBytes[fAt + 1]);
            if (marker == End) {
                return fPicture + fBytes.mid(fAt, 2);
            }
            if (fBytes[fAt + 1] == a_mark) {
                ++fAt;  // padding
            } else if (!xSegment(marker)) {
                break;
            }
        }
        return {};
    }

  private:
    bool xSegment(unsigned char marker) {
        constexpr int sizeOfMarker = 2;
        constexpr int sizeOfLength = 2;
        const int begin = fAt;
        const int content = begin + sizeOfMarker + sizeOfLength;
        if (content > fBytes.size()) {
            return false;
        }
        const int length = qFromBigEndian<quint16>(fBytes.constData() + begin + sizeOfMarker);
        fAt = begin + sizeOfMarker + length;
        if (length < sizeOfLength || fAt > fBytes.size()) {
            return false;
        }
        switch (marker) {
            case Progressive:
                fMostBytes = base::a_largestProgressiveJpegIcon;
                [[fallthrough]];
            case Baseline:
            case Extended:
                return isSmallFrame(fBytes.mid(content, fAt - content)) && xKeep(begin);
            case Scan:
                fAt = endOfEntropy(fBytes, fAt);
                return ++fScans <= a_mostScans && xKeep(begin);
            case HuffmanTables:
            case Quantization:
            case RestartInterval:
            case Jfif:
            case Adobe:
                return xKeep(begin);
            default:
                return marker == Comment || (marker > Jfif && marker <= LastApplication);
        }
    }

    bool xKeep(int begin) {
        fPicture.append(fBytes.constData() + begin, fAt - begin);
        return fPicture.size() <= fMostBytes;
    }

    const QByteArray& fBytes;
    QByteArray fPicture;
    int fAt = 0;
    int fScans = 0;
    int fMostBytes = base::a_largestJpegIcon;
};

}  // namespace

QByteArray scanJpeg(const QByteArray& bytes) {
    return Scanner(bytes).scanned();
}

}  // namespace KD
