// A picture sent by a web server as a robot's icon, as the list of robots decodes it.
#include "fuzz_target.h"
#include "robot_picture.h"

#include <QCoreApplication>

namespace {

using obvista_fuzz::require;

unsigned sumOf(const QImage& image) {
    unsigned sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            sum += image.pixel(x, y);
        }
    }
    return sum;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The application knows the path of Qt's plugins, which decode some of the formats.
    static int count = 0;
    static QCoreApplication application(count, nullptr);
    const QImage picture = KD::readRobotPicture(
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    require(picture.width() <= KD::a_largestRobotPicture &&
                picture.height() <= KD::a_largestRobotPicture,
            "a picture is bounded");
    volatile unsigned sum = sumOf(picture);
    static_cast<void>(sum);
    return 0;
}
