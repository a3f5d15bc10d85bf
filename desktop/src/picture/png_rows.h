#ifndef OBVISTA_DESKTOP_PICTURE_PNG_ROWS_H
#define OBVISTA_DESKTOP_PICTURE_PNG_ROWS_H

#include <QByteArray>

namespace KD {

/** Layout of the pixels in the rows of a PNG. */
struct PngLayout {
    enum Colour : unsigned char { Grey = 0, Rgb = 2, Palette = 3, GreyAlpha = 4, Rgba = 6 };

    int fWidth = 0;
    int fHeight = 0;
    unsigned char fDepth = 0;   ///< bits of one component of a pixel
    unsigned char fColour = 0;  ///< a Colour, or the unknown value of the file
    unsigned char fInterlace = 0;

    /** Returns true if the format allows this combination of depth, colour and interlacing. */
    bool isValid() const;

    /**
     * Returns the size of all rows of all passes, each with its filter byte. Requires isValid().
     */
    int sizeOfRows() const;

    /**
     * Reverses the filters of the rows.
     *
     * @param rows sizeOfRows() bytes
     * @return false if a filter is unknown
     */
    bool unfilter(QByteArray& rows) const;

  private:
    int xBitsOfPixel() const;
};

}  // namespace KD

#endif
