#ifndef OBVISTA_TESTS_DESKTOP_COSTLY_PICTURES_H
#define OBVISTA_TESTS_DESKTOP_COSTLY_PICTURES_H

#include <QByteArray>

#include <vector>

namespace obvista_test {

struct CostlyPicture {
    const char* fName;
    QByteArray fBytes;
};

/** Returns the accepted pictures of each format that take longest to decode. */
std::vector<CostlyPicture> worstAcceptedPictures();

/** Returns pictures that would take from ten milliseconds to minutes to decode. */
std::vector<CostlyPicture> refusedPictures();

/** A picture within one of the bounds on the work of decoding, and one beyond it. */
struct PictureBound {
    const char* fName;
    QByteArray fWithin;
    QByteArray fBeyond;
};

/** Returns a pair for each bound that readRobotPicture() checks. */
std::vector<PictureBound> pictureBounds();

/** Returns the processor time of this thread for decoding a robot's picture, in milliseconds. */
double timeToDecode(const QByteArray& bytes);

/** Returns a chunk of a PNG. */
QByteArray pngChunk(const QByteArray& type, const QByteArray& content);

struct PngKind {
    enum Colour { Grey = 0, Rgb = 2, Palette = 3, GreyAlpha = 4, Rgba = 6 };

    int fSide;
    int fDepth = 8;
    Colour fColour = Rgba;
    bool fInterlaced = false;
    int fFilter = 4;           ///< of all rows; it alternates if below 0
    unsigned fValues = 8;      ///< different bytes in a row
    int fBytesOfBlock = 7000;  ///< bytes in each compressed block
};

/** Returns a PNG of random bytes. */
QByteArray noisyPng(const PngKind& kind);

/** Returns a picture of random bytes; `format` as for QImageWriter. */
QByteArray noise(int side, const char* format, int quality = -1, bool progressive = false);

}  // namespace obvista_test

#endif
