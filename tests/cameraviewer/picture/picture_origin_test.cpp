#include <gtest/gtest.h>

#include <limits>
#include <picture_origin.h>

using cameraviewer::formatText;
using cameraviewer::originText;
using cameraviewer::PictureOrigin;
using cameraviewer::suggestedFileName;
using cameraviewer::timeText;

namespace {

/** 2023-11-14 22:13:20 and 125 microseconds. */
constexpr std::int64_t a_time = 1'700'000'000'000'125;

QString named(const QString& robot, const QString& camera) {
    return suggestedFileName({robot, camera}, a_time, QStringLiteral("png"));
}

TEST(PictureOrigin, TellsATimeInUtcToTheMicrosecond) {
    EXPECT_EQ(timeText(a_time), QStringLiteral("2023-11-14T22:13:20.000125Z"));
    EXPECT_EQ(timeText(0), QStringLiteral("1970-01-01T00:00:00.000000Z"));
    EXPECT_EQ(timeText(-1), QStringLiteral("1969-12-31T23:59:59.999999Z"));
}

TEST(PictureOrigin, TellsATimeBeyondTheCalendarInMicroseconds) {
    const std::int64_t most = std::numeric_limits<std::int64_t>::max();
    const std::int64_t least = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(timeText(most), QString::number(most));
    EXPECT_EQ(timeText(least), QString::number(least));
    EXPECT_TRUE(suggestedFileName({}, least, QStringLiteral("mkv")).endsWith(".mkv"));
}

TEST(PictureOrigin, NamesAFileAfterRobotCameraAndTime) {
    EXPECT_EQ(named(QStringLiteral("robot1.local"), QStringLiteral("head")),
              QStringLiteral("robot1.local-head-20231114T221320000125.png"));
    EXPECT_EQ(named(QString::fromUtf8("Zoë"), QString::fromUtf8("頭")),
              QString::fromUtf8("Zoë-頭-20231114T221320000125.png"));
    EXPECT_EQ(named({}, {}), QStringLiteral("robot-camera-20231114T221320000125.png"));
}

TEST(PictureOrigin, MakesAFileNameSafeWhateverTheRobotSays) {
    EXPECT_EQ(named(QStringLiteral("../../etc/passwd"), QStringLiteral("a b")),
              QStringLiteral("_._.._etc_passwd-a_b-20231114T221320000125.png"));
    for (const QString& name :
         {QStringLiteral(".."), QStringLiteral(".hidden"), QStringLiteral("a/b\\c:d"),
          QStringLiteral("line\nbreak\x01"), QString(QChar(0)), QString::fromUtf8("\xe2\x80\xae"),
          QString::fromUtf8("\xf0\x9f\xa4\x96"), QString(5000, QLatin1Char('x')),
          QString(5000, QChar(0x982d))}) {
        const QString file = named(name, name);
        EXPECT_LE(file.toUtf8().size(), 255) << qPrintable(file);
        EXPECT_FALSE(file.startsWith(QLatin1Char('.'))) << qPrintable(file);
        EXPECT_TRUE(file.endsWith(QStringLiteral("-20231114T221320000125.png")));
        for (const QChar character : file) {
            EXPECT_TRUE(character.isPrint()) << qPrintable(file);
            EXPECT_FALSE(QStringLiteral("/\\: ").contains(character)) << qPrintable(file);
        }
    }
}

TEST(PictureOrigin, MakesNamesOneShortLineForMetadata) {
    EXPECT_EQ(originText(QStringLiteral("robot1")), QStringLiteral("robot1"));
    EXPECT_EQ(originText(QString::fromUtf8("two  words")), QStringLiteral("two words"));
    EXPECT_EQ(originText(QString::fromUtf8("a\nb\xe2\x80\xae")),
              QString::fromUtf8("a\xef\xbf\xbd"
                                "b\xef\xbf\xbd"));
    EXPECT_EQ(originText(QString(5000, QLatin1Char('x'))).size(), 200);
}

TEST(PictureOrigin, NamesEachFormat) {
    EXPECT_EQ(formatText(KVPixelFormat::Rgb888), QStringLiteral("RGB"));
    EXPECT_EQ(formatText(KVPixelFormat::Yuv422), QStringLiteral("YUV 4:2:2"));
    EXPECT_EQ(formatText(KVPixelFormat::Grey8), QStringLiteral("Grey"));
    EXPECT_EQ(formatText(KVPixelFormat::Jpeg), QStringLiteral("JPEG"));
    EXPECT_EQ(formatText(KVPixelFormat::Unknown), QStringLiteral("Unknown"));
}

}  // namespace
