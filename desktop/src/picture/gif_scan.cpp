#include "gif_scan.h"

#include "robot_picture.h"

#include <QtEndian>

#include <array>

namespace KD {

namespace {

constexpr unsigned char a_hasTable = 0x80;
constexpr unsigned char a_sizeOfTable = 0x07;

/** A reader of bytes that records an attempt to read beyond the end. */
class Bytes {
  public:
    explicit Bytes(const QByteArray& bytes) : fBytes(bytes) {}

    int place() const { return fAt; }
    bool hasEnded() const { return fEnded; }

    unsigned char next() {
        if (fAt >= fBytes.size()) {
            fEnded = true;
            return 0;
        }
        return static_cast<unsigned char>(fBytes[fAt++]);
    }

    int nextNumber() {
        const int low = next();
        return low + (next() << 8);
    }

    void skip(int count) {
        fEnded = fEnded || count > fBytes.size() - fAt;
        fAt = fEnded ? fBytes.size() : fAt + count;
    }

    /** Skips the colour table that `flags` announce. */
    void skipTable(unsigned char flags) {
        if ((flags & a_hasTable) != 0) {
            skip(3 << ((flags & a_sizeOfTable) + 1));
        }
    }

    /** Skips blocks up to the empty one that ends them, and returns their content. */
    QByteArray blocks() {
        QByteArray content;
        for (int size = next(); size != 0 && !fEnded; size = next()) {
            content += fBytes.mid(fAt, size);
            skip(size);
        }
        return content;
    }

  private:
    const QByteArray& fBytes;
    int fAt = 0;
    bool fEnded = false;
};

bool isSmall(int width, int height) {
    return width > 0 && height > 0 && width <= a_largestRobotPicture &&
           height <= a_largestRobotPicture;
}

/** Counts the pixels encoded by LZW codes. */
class CodeLengths {
  public:
    explicit CodeLengths(int bits) : fBits(bits) { xClear(); }

    /** Returns the number of pixels, or `most` + 1 if there are more or a code is invalid. */
    int pixels(const QByteArray& codes, int most) {
        unsigned waiting = 0;
        int count = 0;
        for (const char byte : codes) {
            waiting |= static_cast<unsigned>(static_cast<unsigned char>(byte)) << count;
            for (count += 8; count >= fWidth; count -= fCodeWidth) {
                fCodeWidth = fWidth;
                const int code = static_cast<int>(waiting & ((1U << fCodeWidth) - 1));
                waiting >>= static_cast<unsigned>(fCodeWidth);
                if (code == xEnd()) {
                    return fPixels;
                }
                if (!xTake(code) || fPixels > most) {
                    return most + 1;
                }
            }
        }
        return fPixels;
    }

  private:
    static constexpr int a_mostBits = 12;

    int xReset() const { return 1 << fBits; }
    int xEnd() const { return xReset() + 1; }

    void xClear() {
        fNext = xEnd() + 1;
        fWidth = fBits + 1;
        fPrevious = 0;
    }

    bool xTake(int code) {
        if (code == xReset()) {
            xClear();
            return true;
        }
        // A code may already refer to the table entry that is about to be created.
        if (code > fNext || (code == fNext && fPrevious == 0)) {
            return false;
        }
        const int length = code < xReset() ? 1
                           : code == fNext ? fPrevious + 1
                                           : fLengths[static_cast<std::size_t>(code)];
        if (fPrevious != 0 && fNext < (1 << a_mostBits)) {
            fLengths[static_cast<std::size_t>(fNext++)] = fPrevious + 1;
            if (fNext == (1 << fWidth) && fWidth < a_mostBits) {
                ++fWidth;
            }
        }
        fPrevious = length;
        fPixels += length;
        return true;
    }

    std::array<int, 1 << a_mostBits> fLengths{};
    int fBits;           // of a pixel
    int fWidth = 0;      // bits of the next code
    int fCodeWidth = 0;  // bits of the code that was read last
    int fNext = 0;       // the code that the next string gets
    int fPrevious = 0;   // length of the last string, 0 behind a reset
    int fPixels = 0;
};

/** Reads a frame to its end; returns false if it is costly or incomplete. */
bool readFrame(Bytes& in, int screenWidth, int screenHeight) {
    constexpr int mostBits = 8;
    const int left = in.nextNumber();
    const int top = in.nextNumber();
    const int width = in.nextNumber();
    const int height = in.nextNumber();
    in.skipTable(in.next());
    const int bits = in.next();
    if (!isSmall(width, height) || left + width > screenWidth || top + height > screenHeight ||
        bits < 1 || bits > mostBits) {
        return false;
    }
    const int pixels = width * height;
    const QByteArray codes = in.blocks();
    // Some codes produce no pixels.
    constexpr int mostOtherBytes = 4096;
    return !in.hasEnded() && codes.size() <= 2 * pixels + mostOtherBytes &&
           CodeLengths(bits).pixels(codes, pixels) <= pixels;
}

}  // namespace

QByteArray scanGif(const QByteArray& bytes) {
    constexpr unsigned char extension = 0x21;
    constexpr unsigned char control = 0xF9;
    constexpr unsigned char frame = 0x2C;
    constexpr char end = 0x3B;
    constexpr int sizeOfName = 6;
    Bytes in(bytes);
    in.skip(sizeOfName);
    const int screenWidth = in.nextNumber();
    const int screenHeight = in.nextNumber();
    const unsigned char flags = in.next();
    in.skip(2);
    in.skipTable(flags);
    QByteArray picture = bytes.left(in.place());
    while (isSmall(screenWidth, screenHeight) && !in.hasEnded()) {
        const int begin = in.place();
        const unsigned char kind = in.next();
        if (kind == extension) {
            const bool kept = in.next() == control;
            in.blocks();
            picture += kept ? bytes.mid(begin, in.place() - begin) : QByteArray();
        } else if (kind == frame && readFrame(in, screenWidth, screenHeight)) {
            return picture + bytes.mid(begin, in.place() - begin) + end;
        } else {
            break;
        }
    }
    return {};
}

}  // namespace KD
