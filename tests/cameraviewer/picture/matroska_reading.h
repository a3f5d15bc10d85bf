#ifndef OBVISTA_TESTS_CAMERAVIEWER_MATROSKA_READING_H
#define OBVISTA_TESTS_CAMERAVIEWER_MATROSKA_READING_H

#include <QImage>
#include <QString>

#include <cstdint>
#include <string>
#include <vector>

namespace obvista_test {

/** The contents of a Matroska file as GStreamer reads them. */
struct MatroskaContent {
    struct Picture {
        std::int64_t fTime = 0;  ///< microseconds, rounded to what the file can tell
        std::vector<unsigned char> fJpeg;
    };

    std::vector<Picture> fPictures;
    std::string fTitle;
    std::int64_t fDuration = 0;  ///< microseconds; 0 when the file does not tell it
    std::string fError;          ///< empty when it could be read to its end
};

MatroskaContent readMatroska(const QString& file);

/** The number of pictures that a player shows of the file.
 *  @param error why it did not get to the end; empty when it did */
int playMatroska(const QString& file, std::string* error, const char* decoder = "jpegdec");

}  // namespace obvista_test

#endif
