#include <QLocale>

#include <gtest/gtest.h>

#include <figures.h>

using cameraviewer::ageText;
using cameraviewer::byteRateText;
using cameraviewer::FeedCounts;
using cameraviewer::FigureMeter;
using cameraviewer::Figures;
using cameraviewer::liveAgeText;
using picture::FrameFault;

namespace {

FeedCounts counts(std::uint64_t received, std::uint64_t dropped, std::uint64_t bytes) {
    FeedCounts made;
    made.fReceived = received;
    made.fDropped = dropped;
    made.fBytes = bytes;
    return made;
}

TEST(Figures, AreOfTheTimeThatHasPassed) {
    const FigureMeter::Clock::time_point start{};
    FigureMeter meter(start);
    for (int i = 0; i < 50; ++i) {
        meter.addShown(20000);
    }
    const Figures first = meter.measure(counts(60, 10, 6000), start + std::chrono::seconds(2));
    EXPECT_DOUBLE_EQ(first.fReceived, 30);
    EXPECT_DOUBLE_EQ(first.fShown, 25);
    EXPECT_DOUBLE_EQ(first.fDropped, 5);
    EXPECT_DOUBLE_EQ(first.fBytes, 3000);
    EXPECT_DOUBLE_EQ(first.fAge.value(), 20000);
    const Figures second =
        meter.measure(counts(70, 10, 6000), start + std::chrono::milliseconds(2500));
    EXPECT_DOUBLE_EQ(second.fReceived, 20);
    EXPECT_DOUBLE_EQ(second.fShown, 0);
    EXPECT_FALSE(second.fAge.has_value());
}

TEST(Figures, BeginAnewWithAnotherCamera) {
    const FigureMeter::Clock::time_point start{};
    FigureMeter meter(start);
    meter.addShown(1);
    meter.restart(counts(1000, 0, 0), start + std::chrono::seconds(1));
    const Figures figures = meter.measure(counts(1010, 0, 0), start + std::chrono::seconds(2));
    EXPECT_DOUBLE_EQ(figures.fReceived, 10);
    EXPECT_DOUBLE_EQ(figures.fShown, 0);
}

TEST(Figures, SpreadTheFramesOfASilenceOverIt) {
    const FigureMeter::Clock::time_point start;
    FigureMeter meter(start);
    meter.measure(counts(10, 0, 0), start + std::chrono::seconds(1));
    for (int second = 2; second <= 5; ++second) {
        const Figures silent =
            meter.measure(counts(10, 0, 0), start + std::chrono::seconds(second));
        EXPECT_DOUBLE_EQ(silent.fDropped, 0);
    }
    const Figures after = meter.measure(counts(15, 45, 0), start + std::chrono::seconds(6));
    EXPECT_DOUBLE_EQ(after.fReceived, 5);
    EXPECT_DOUBLE_EQ(after.fDropped, 9);
    const Figures then = meter.measure(counts(25, 47, 0), start + std::chrono::seconds(7));
    EXPECT_DOUBLE_EQ(then.fDropped, 2);
}

TEST(Figures, StandWithoutTime) {
    FigureMeter meter(FigureMeter::Clock::time_point{});
    EXPECT_DOUBLE_EQ(meter.measure(counts(5, 0, 0), {}).fReceived, 0);
}

TEST(Figures, AreReadable) {
    EXPECT_EQ(ageText(12400).toStdString(), "12 ms");
    EXPECT_EQ(ageText(2340000).toStdString(), "2.3 s");
    EXPECT_EQ(byteRateText(27648000).toStdString(), "27.6 MB/s");
    EXPECT_EQ(byteRateText(512300).toStdString(), "512 kB/s");
}

TEST(Figures, SayThatTheClocksDiffer) {
    EXPECT_EQ(liveAgeText(-5000).toStdString(), "unknown (the robot's clock is ahead)");
    EXPECT_EQ(liveAgeText(3600e6).toStdString(), "unknown (the robot's clock is behind)");
}

TEST(Figures, AreALineAndAReport) {
    Figures figures;
    figures.fReceived = 30;
    figures.fShown = 29.96;
    figures.fDropped = 0.04;
    figures.fBytes = 1234567;
    figures.fAge = 8000;
    EXPECT_EQ(figuresLine(figures).toStdString(),
              "30.0 received  \u00B7  30.0 shown  \u00B7  0.0 dropped a second  \u00B7  "
              "age 8 ms  \u00B7  1.2 MB/s");
    figures.fFaults[FrameFault::ShortData] = 3;
    EXPECT_EQ(figuresReport(figures).toStdString(),
              "Received: 30.00 frames a second\n"
              "Shown: 29.96 frames a second\n"
              "Dropped: 0.04 frames a second\n"
              "Bytes: 1234567 a second\n"
              "Age when shown: 8 ms\n"
              "Not shown: 3 frames. " +
                  std::string(faultText(FrameFault::ShortData)) + "\n");
    EXPECT_TRUE(figuresLine(figures).endsWith(QLatin1String("3 faulty frames")));
}

TEST(Figures, OfAReplayAreThoseAtItsPosition) {
    Figures figures;
    figures.fReplay = QStringLiteral("replay paused");
    figures.fAge = 90e6;
    EXPECT_EQ(figuresLine(figures).toStdString(),
              "replay paused  \u00B7  0.0 received  \u00B7  0.0 shown  \u00B7  "
              "0.0 dropped a second  \u00B7  age 90.0 s  \u00B7  0 kB/s");
    EXPECT_TRUE(figuresReport(figures).startsWith(QLatin1String("State: replay paused\n")));
}

TEST(Figures, GiveTheAgeOfAPictureThatIsKept) {
    Figures figures;
    figures.fAge = 20000;
    figures.fKept = 75e6;
    EXPECT_TRUE(figuresLine(figures).contains(QLatin1String("age 75.0 s")));
    figures.fAge = -5000;
    EXPECT_TRUE(figuresLine(figures).contains(QLatin1String("the robot's clock is ahead")));
}

TEST(Figures, HaveAPointInEveryLocale) {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    const std::string text = ageText(2340000).toStdString() + byteRateText(1.5e6).toStdString();
    QLocale::setDefault(before);
    EXPECT_EQ(text, "2.3 s1.5 MB/s");
}

}  // namespace
