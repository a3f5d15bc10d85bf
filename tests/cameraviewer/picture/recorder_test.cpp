#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <file_size_limit.h>
#include <grey_film.h>
#include <limits>
#include <made_frames.h>
#include <matroska_reading.h>
#include <mutex>
#include <picture_decoder.h>
#include <random>
#include <recorder.h>
#include <recording/check.h>
#include <recording/reader.h>

using cameraviewer::PictureDecoder;
using cameraviewer::PictureOrigin;
using cameraviewer::Recorder;
using cameraviewer::RecorderLimits;
using cameraviewer::RecorderStatus;
using cameraviewer::StreamEnd;
using obvista_test::Bytes;
using obvista_test::bytesOf;
using obvista_test::difference;
using obvista_test::jpegFrame;
using obvista_test::makeFrame;
using obvista_test::MatroskaContent;
using obvista_test::playMatroska;
using obvista_test::readMatroska;
using obvista_test::smoothPicture;
using State = RecorderStatus::State;

namespace {

constexpr std::int64_t a_begin = 1'700'000'000'000'000;
/** Microseconds between two frames, which no file can tell to the last digit. */
constexpr std::int64_t a_step = 33'333;
constexpr std::chrono::seconds a_patience{30};

/** A JPEG frame of a recording. */
KVFrame frameAt(int number, int width = 64, int height = 48) {
    KVFrame frame = jpegFrame(smoothPicture(width, height, QImage::Format_RGB888, number));
    frame.fNumber = static_cast<std::uint64_t>(number) + 1;
    frame.fTime = a_begin + number * a_step;
    return frame;
}

KVFrame at(KVFrame frame, int number) {
    frame.fTime = a_begin + number * a_step;
    return frame;
}

/** The first frame's bytes, for a frame of raw pixels. */
KVFrame rawFrame(KVPixelFormat format, const QImage& image) {
    return makeFrame(format, static_cast<std::uint32_t>(image.width()),
                     static_cast<std::uint32_t>(image.height()),
                     static_cast<std::uint32_t>(image.bytesPerLine()),
                     Bytes(image.constBits(), image.constBits() + image.sizeInBytes()));
}

/** A file tells times to the millisecond. */
void expectTime(std::int64_t found, std::int64_t wanted) {
    EXPECT_LE(std::abs(found - wanted), 1000) << found << " in place of " << wanted;
}

/** Wide limits, so that nothing is dropped however slow the machine is. */
RecorderLimits generous() {
    RecorderLimits limits;
    limits.fFrames = 1000;
    limits.fFreeSpace = 0;
    return limits;
}

/** A picture that cannot be compressed. */
QImage noisyPicture(int width, int height) {
    QImage image(width, height, QImage::Format_RGB888);
    std::mt19937 random(1);
    std::generate(image.bits(), image.bits() + image.sizeInBytes(),
                  [&] { return static_cast<uchar>(random()); });
    return image;
}

/** The names of the events in a recording. */
std::vector<std::string> eventsOf(const QString& file) {
    std::vector<std::string> events;
    recording::Reader reader(file.toStdString());
    recording::Messages messages = reader.messages();
    while (const std::optional<recording::Message> message = messages.next()) {
        if (reader.channels().at(message->fChannelId).fTopic == "/robot1/events") {
            const QJsonDocument json = QJsonDocument::fromJson(
                QByteArray(message->fData.data(), static_cast<int>(message->fData.size())));
            events.push_back(json.object()[QStringLiteral("event")].toString().toStdString());
        }
    }
    return events;
}

/** A recorder whose end can be waited for. */
class WatchedRecorder : public Recorder {
  public:
    explicit WatchedRecorder(const RecorderLimits& limits) : Recorder(nullptr, limits) {
        connect(
            this, &Recorder::ended, this, [this] { xNoteEnd(); }, Qt::DirectConnection);
    }

    /** Waits until the recording has ended, by itself or by fRecorder.stopAndWait(). */
    RecorderStatus waitForEnd() {
        std::unique_lock lock(fMutex);
        EXPECT_TRUE(fChanged.wait_for(lock, a_patience, [this] { return fHasEnded; }));
        fHasEnded = false;
        return status();
    }

    RecorderStatus stopAndWait() {
        stop();
        return waitForEnd();
    }

  private:
    void xNoteEnd() {
        const std::lock_guard lock(fMutex);
        fHasEnded = true;
        fChanged.notify_all();
    }

    std::mutex fMutex;
    std::condition_variable fChanged;
    bool fHasEnded = false;
};

class RecorderTest : public testing::Test {
  protected:
    QString path(const char* name) const { return fFolder.filePath(QLatin1String(name)); }

    QTemporaryDir fFolder;
    const PictureOrigin fOrigin{QStringLiteral("robot1"), QStringLiteral("head")};
    WatchedRecorder fRecorder{generous()};
};

/** Returns H.264 frames of which the first is a key frame. */
std::vector<KVFrame> filmOf(int count) {
    obvista_test::GreyFilm film;
    std::vector<KVFrame> frames;
    for (int number = 0; number < count; ++number) {
        frames.push_back(at(film.next(), number));
    }
    return frames;
}

std::string textOf(const KVFrame& frame) {
    return {reinterpret_cast<const char*>(frame.fData.get()), frame.fSize};
}

TEST_F(RecorderTest, StoresH264InMatroskaWithoutEncodingItAgain) {
    const std::vector<KVFrame> film = filmOf(12);
    fRecorder.start(path("film.mkv"), fOrigin);
    fRecorder.offer(picture::check(film[11]));  // from before the first key frame
    for (int number = 0; number < 11; ++number) {
        fRecorder.offer(picture::check(film[static_cast<std::size_t>(number)]));
    }
    const RecorderStatus status = fRecorder.stopAndWait();
    EXPECT_EQ(status.fState, State::Done) << status.fFailure.toStdString();
    EXPECT_EQ(status.fFrames, 11U);
    EXPECT_EQ(status.fDropped, 0U);
    const MatroskaContent content = readMatroska(path("film.mkv"));
    ASSERT_EQ(content.fPictures.size(), 11U) << content.fError;
    for (std::size_t i = 0; i < 11; ++i) {
        const auto& stored = content.fPictures[i].fJpeg;
        const std::string frame = textOf(film[i]);
        // The last unit, the slice, follows the last start code; Matroska has its length before it.
        const std::string slice = frame.substr(frame.rfind(std::string("\0\0\1", 3)) + 3);
        ASSERT_GT(stored.size(), slice.size());
        EXPECT_EQ(
            std::string(stored.end() - static_cast<std::ptrdiff_t>(slice.size()), stored.end()),
            slice)
            << i;
        expectTime(content.fPictures[i].fTime, static_cast<std::int64_t>(i) * a_step);
    }
    std::string error;
    EXPECT_EQ(playMatroska(path("film.mkv"), &error, "decodebin"), 11) << error;
    EXPECT_EQ(error, "");
}

TEST_F(RecorderTest, BeginsAnotherFileWhenTheRateOfH264Changes) {
    obvista_test::GreyFilm slow(15);
    obvista_test::GreyFilm fast(30);
    fRecorder.start(path("film.mkv"), fOrigin);
    for (int number = 0; number < 4; ++number) {
        fRecorder.offer(picture::check(at(slow.next(number == 2), number)));
    }
    for (int number = 4; number < 7; ++number) {
        fRecorder.offer(picture::check(at(fast.next(), number)));
    }
    const RecorderStatus status = fRecorder.stopAndWait();
    EXPECT_EQ(status.fState, State::Done) << status.fFailure.toStdString();
    EXPECT_EQ(status.fFrames, 7U);
    EXPECT_EQ(status.fFiles, 2);
    std::string error;
    EXPECT_EQ(playMatroska(path("film.mkv"), &error, "decodebin"), 4) << error;
    EXPECT_EQ(playMatroska(path("film-2.mkv"), &error, "decodebin"), 3) << error;
    EXPECT_EQ(error, "");
}

TEST_F(RecorderTest, LeavesOutH264FramesThatFollowADroppedOne) {
    const std::vector<KVFrame> film = filmOf(6);
    fRecorder.start(path("film.mkv"), fOrigin);
    for (const int number : {0, 1, 3, 4}) {
        fRecorder.offer(picture::check(film[static_cast<std::size_t>(number)]));
    }
    KVFrame key = film[0];
    key.fSequence = 100;
    fRecorder.offer(picture::check(at(key, 5)));
    const RecorderStatus status = fRecorder.stopAndWait();
    EXPECT_EQ(status.fFrames, 3U);
    EXPECT_EQ(status.fDropped, 2U);
}

TEST_F(RecorderTest, StoresH264InMcapByteForByte) {
    const std::vector<KVFrame> film = filmOf(5);
    fRecorder.start(path("film.mcap"), fOrigin);
    for (const KVFrame& frame : film) {
        fRecorder.offer(picture::check(frame));
    }
    EXPECT_EQ(fRecorder.stopAndWait().fFrames, 5U);
    recording::Reader reader(path("film.mcap").toStdString());
    recording::Messages messages = reader.messages();
    std::size_t next = 0;
    while (const std::optional<recording::Message> message = messages.next()) {
        const recording::Channel& channel = reader.channels().at(message->fChannelId);
        if (channel.fTopic != "/robot1/camera/head") {
            continue;
        }
        EXPECT_EQ(reader.schemas().at(channel.fSchemaId).fName, "foxglove.CompressedVideo");
        const std::string data(message->fData.data(), message->fData.size());
        ASSERT_LT(next, film.size());
        EXPECT_NE(data.find(textOf(film[next])), std::string::npos);
        EXPECT_NE(data.find("\x22\x04h264"), std::string::npos) << "field 4, the format";
        EXPECT_EQ(message->fSequence, film[next].fNumber);
        ++next;
    }
    EXPECT_EQ(next, film.size());
}

TEST_F(RecorderTest, StoresJpegsAsTheyComeWithTheRobotsTimes) {
    fRecorder.start(path("a.mkv"), fOrigin);
    std::vector<KVFrame> frames;
    for (int i = 0; i < 50; ++i) {
        frames.push_back(frameAt(i));
        fRecorder.offer(picture::check(frames.back()));
    }
    const RecorderStatus status = fRecorder.stopAndWait();
    EXPECT_EQ(status.fState, State::Done) << qPrintable(status.fFailure);
    EXPECT_EQ(status.fFrames, 50U);
    EXPECT_EQ(status.fDropped, 0U);
    EXPECT_EQ(status.fFiles, 1);
    EXPECT_DOUBLE_EQ(status.fSeconds, 49 * a_step / 1e6);
    EXPECT_EQ(status.fBytes, QFileInfo(path("a.mkv")).size());

    const MatroskaContent content = readMatroska(path("a.mkv"));
    EXPECT_EQ(content.fError, "");
    ASSERT_EQ(content.fPictures.size(), frames.size());
    for (std::size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(content.fPictures[i].fJpeg, bytesOf(frames[i]));
        expectTime(content.fPictures[i].fTime, static_cast<std::int64_t>(i) * a_step);
    }
    expectTime(content.fDuration, 49 * a_step);
    EXPECT_EQ(content.fTitle, "head of robot1, 2023-11-14T22:13:20.000000Z");
}

TEST_F(RecorderTest, StoresFramesOfEveryKindInOneMcapFileAsTheyCome) {
    const QImage smooth = smoothPicture(64, 48, QImage::Format_RGB888);
    std::vector<KVFrame> frames{frameAt(0), at(rawFrame(KVPixelFormat::Rgb888, smooth), 1),
                                frameAt(2, 32, 24)};
    PictureOrigin origin = fOrigin;
    origin.fDescription = "in the forehead";
    origin.fAddress = "127.0.0.1";
    origin.fPort = 9559;
    fRecorder.start(path("a.mcap"), origin);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        frames[i].fNumber = i + 5;
        fRecorder.offer(picture::check(frames[i]));
    }
    KVFrame faulty = frameAt(3);
    faulty.fWidth = 0;
    fRecorder.offer(picture::check(faulty));
    const RecorderStatus status = fRecorder.stopAndWait();
    EXPECT_EQ(status.fState, State::Done) << qPrintable(status.fFailure);
    EXPECT_EQ(status.fFrames, 3U);
    EXPECT_EQ(status.fRefused, 1U);
    EXPECT_EQ(status.fFiles, 1);
    EXPECT_EQ(status.fBytes, QFileInfo(path("a.mcap")).size());
    EXPECT_DOUBLE_EQ(status.fSeconds, 2 * a_step / 1e6);

    const std::string file = path("a.mcap").toStdString();
    EXPECT_EQ(recording::check(file).fFaultCount, 0U);
    recording::Reader reader(file);
    EXPECT_EQ(reader.readMetadata(reader.metadata().at(0)).fEntries.at("address"), "127.0.0.1");
    std::size_t count = 0;
    recording::Messages messages = reader.messages();
    while (const std::optional<recording::Message> message = messages.next()) {
        const recording::Channel& channel = reader.channels().at(message->fChannelId);
        if (channel.fTopic != "/robot1/camera/head") {
            continue;
        }
        const KVFrame& frame = frames.at(count++);
        EXPECT_EQ(channel.fMetadata.at("description"), "in the forehead");
        EXPECT_EQ(message->fSequence, frame.fNumber);
        EXPECT_EQ(message->fPublishTime, static_cast<std::uint64_t>(frame.fTime) * 1000);
        EXPECT_GT(message->fLogTime, message->fPublishTime);
        const Bytes bytes = bytesOf(frame);
        EXPECT_NE(message->fData.find(std::string(bytes.begin(), bytes.end())), std::string::npos);
    }
    EXPECT_EQ(count, 3U);
}

TEST_F(RecorderTest, MarksGapsInAnMcapFile) {
    RecorderLimits limits = generous();
    limits.fFrames = 0;
    {
        WatchedRecorder recorder(limits);
        recorder.start(path("dropped.mcap"), fOrigin);
        recorder.offer(picture::check(frameAt(0)));
        recorder.offer(picture::check(frameAt(1)));
        EXPECT_EQ(recorder.stopAndWait().fDropped, 2U);
    }
    EXPECT_THAT(eventsOf(path("dropped.mcap")), testing::ElementsAre("begin", "dropped", "end"));

    fRecorder.start(path("ended.mcap"), fOrigin);
    fRecorder.offer(picture::check(frameAt(0)));
    fRecorder.offer(StreamEnd{StreamEnd::Kind::CameraEnded, "removed"});
    fRecorder.offer(StreamEnd{StreamEnd::Kind::CameraEnded, "still removed"});
    fRecorder.offer(picture::check(frameAt(1)));
    fRecorder.offer(StreamEnd{StreamEnd::Kind::Lost, "gone"});
    EXPECT_EQ(fRecorder.stopAndWait().fFrames, 2U);
    EXPECT_THAT(eventsOf(path("ended.mcap")),
                testing::ElementsAre("begin", "camera ended", "camera continues", "lost", "end"));
}

TEST_F(RecorderTest, CountsFramesThatTheFileDoesNotAcceptAsDropped) {
    PictureOrigin origin = fOrigin;
    // The description of the channel has the name, and at most 16 MiB.
    origin.fCamera = QString(17 << 20, QLatin1Char('x'));
    fRecorder.start(path("a.mcap"), origin);
    fRecorder.offer(picture::check(frameAt(0)));
    fRecorder.offer(picture::check(frameAt(1)));
    const RecorderStatus status = fRecorder.stopAndWait();
    EXPECT_EQ(status.fState, State::Done) << qPrintable(status.fFailure);
    EXPECT_EQ(status.fFrames, 0U);
    EXPECT_EQ(status.fDropped, 2U);
    EXPECT_EQ(status.fSeconds, 0);
    EXPECT_THAT(eventsOf(path("a.mcap")),
                testing::ElementsAre("begin", "dropped", "dropped", "end"));
}

TEST_F(RecorderTest, SaysWhyAnMcapFileCannotBeWritten) {
    fRecorder.start(path("none/a.mcap"), fOrigin);
    const RecorderStatus status = fRecorder.waitForEnd();
    EXPECT_EQ(status.fState, State::Failed);
    EXPECT_TRUE(status.fFailure.startsWith(QStringLiteral("Cannot create ")))
        << qPrintable(status.fFailure);
    EXPECT_TRUE(status.fFailure.endsWith(QStringLiteral(": No such file or directory.")))
        << qPrintable(status.fFailure);
}

TEST_F(RecorderTest, LeavesAnMcapFileThatOpensWhenItMayNotGrow) {
    const obvista_test::FileSizeLimit limit(300'000);
    fRecorder.start(path("a.mcap"), fOrigin);
    const KVFrame frame = rawFrame(KVPixelFormat::Rgb888, noisyPicture(200, 200));
    // It is noticed with the frame after the chunk that does not fit.
    while (fRecorder.status().fState == State::Recording) {
        fRecorder.offer(picture::check(frame));
    }
    const RecorderStatus status = fRecorder.waitForEnd();
    EXPECT_EQ(status.fState, State::Failed);
    EXPECT_TRUE(status.fFailure.endsWith(QStringLiteral(": File too large.")))
        << qPrintable(status.fFailure);
    EXPECT_LE(QFileInfo(path("a.mcap")).size(), 300'000);
    EXPECT_NO_THROW(recording::Reader{path("a.mcap").toStdString()});
}

/** The pictures of a recording of one raw frame. */
QImage recorded(const MatroskaContent& content) {
    const MatroskaContent::Picture& first = content.fPictures.at(0);
    return QImage::fromData(first.fJpeg.data(), static_cast<int>(first.fJpeg.size()), "jpg");
}

TEST_F(RecorderTest, EncodesRawPicturesSoThatTheyLookTheSame) {
    const QImage smooth = smoothPicture(64, 48, QImage::Format_RGB888);
    Bytes yuv;
    for (int i = 0; i < 64 * 48 / 2; ++i) {
        yuv.insert(yuv.end(), {static_cast<unsigned char>(60 + i % 32), 100,
                               static_cast<unsigned char>(60 + i % 32), 150});
    }
    const std::vector<KVFrame> frames{
        rawFrame(KVPixelFormat::Rgb888, smooth),
        rawFrame(KVPixelFormat::Grey8, smooth.convertToFormat(QImage::Format_Grayscale8)),
        makeFrame(KVPixelFormat::Yuv422, 64, 48, 128, yuv)};
    for (const KVFrame& frame : frames) {
        fRecorder.start(path("a.mkv"), fOrigin);
        fRecorder.offer(picture::check(frame));
        ASSERT_EQ(fRecorder.stopAndWait().fState, State::Done);
        const MatroskaContent content = readMatroska(path("a.mkv"));
        ASSERT_EQ(content.fPictures.size(), 1U);
        const QImage shown = PictureDecoder().decode(frame).fImage;
        const QImage image = recorded(content);
        ASSERT_EQ(image.size(), shown.size());
        EXPECT_EQ(image.isGrayscale(), shown.format() == QImage::Format_Grayscale8);
        EXPECT_LE(difference(image, shown), 6);
    }
}

TEST_F(RecorderTest, BeginsAnotherFileForAnotherSizeOrFormat) {
    QFile taken(path("a-2.mkv"));
    ASSERT_TRUE(taken.open(QIODevice::WriteOnly));
    fRecorder.start(path("a.mkv"), fOrigin);
    fRecorder.offer(picture::check(frameAt(0)));
    fRecorder.offer(picture::check(frameAt(1)));
    fRecorder.offer(picture::check(frameAt(2, 32, 24)));
    fRecorder.offer(picture::check(frameAt(3, 32, 24)));
    fRecorder.offer(picture::check(
        at(rawFrame(KVPixelFormat::Rgb888, smoothPicture(32, 24, QImage::Format_RGB888)), 4)));
    const RecorderStatus status = fRecorder.stopAndWait();
    EXPECT_EQ(status.fState, State::Done);
    EXPECT_EQ(status.fFrames, 5U);
    EXPECT_EQ(status.fFiles, 3);
    EXPECT_EQ(status.fFile, path("a-4.mkv"));
    EXPECT_DOUBLE_EQ(status.fSeconds, 4 * a_step / 1e6);
    EXPECT_EQ(taken.size(), 0);

    std::int64_t bytes = 0;
    const std::vector<std::pair<const char*, std::size_t>> files{
        {"a.mkv", 2}, {"a-3.mkv", 2}, {"a-4.mkv", 1}};
    for (const auto& [name, pictures] : files) {
        const MatroskaContent content = readMatroska(path(name));
        EXPECT_EQ(content.fError, "") << name;
        ASSERT_EQ(content.fPictures.size(), pictures) << name;
        EXPECT_EQ(content.fPictures.front().fTime, 0) << name;
        expectTime(content.fPictures.back().fTime, static_cast<int>(pictures - 1) * a_step);
        bytes += QFileInfo(path(name)).size();
    }
    EXPECT_EQ(status.fBytes, bytes);
}

TEST_F(RecorderTest, LeavesOutFaultyFramesAndCountsThem) {
    fRecorder.start(path("a.mkv"), fOrigin);
    fRecorder.offer(picture::check(frameAt(0)));
    KVFrame lying = frameAt(1);
    lying.fWidth += 1;
    fRecorder.offer(picture::check(lying));
    fRecorder.offer(picture::check(makeFrame(KVPixelFormat::Rgb888, 64, 48, 192, Bytes(100))));
    fRecorder.offer(picture::check(KVFrame()));
    fRecorder.offer(picture::check(frameAt(2)));
    const RecorderStatus status = fRecorder.stopAndWait();
    EXPECT_EQ(status.fState, State::Done);
    EXPECT_EQ(status.fFrames, 2U);
    EXPECT_EQ(status.fRefused, 3U);
    EXPECT_EQ(readMatroska(path("a.mkv")).fPictures.size(), 2U);
}

TEST_F(RecorderTest, PlaysOnAfterADamagedJpeg) {
    fRecorder.start(path("a.mkv"), fOrigin);
    for (int i = 0; i < 20; ++i) {
        KVFrame frame = frameAt(i);
        if (i % 4 == 1) {
            frame.fSize = frame.fSize * 2 / 3;
        }
        fRecorder.offer(picture::check(frame));
    }
    EXPECT_EQ(fRecorder.stopAndWait().fState, State::Done);
    std::string error;
    EXPECT_GE(playMatroska(path("a.mkv"), &error), 15);
    EXPECT_EQ(error, "");
}

TEST_F(RecorderTest, MakesAFileThatPlaysWhenTheClockIsSetBack) {
    fRecorder.start(path("a.mkv"), fOrigin);
    fRecorder.offer(picture::check(frameAt(0)));
    fRecorder.offer(picture::check(frameAt(1)));
    fRecorder.offer(picture::check(at(frameAt(2), -100'000)));
    fRecorder.offer(picture::check(at(frameAt(3), -99'999)));
    EXPECT_EQ(fRecorder.stopAndWait().fFrames, 4U);
    const MatroskaContent content = readMatroska(path("a.mkv"));
    EXPECT_EQ(content.fError, "");
    ASSERT_EQ(content.fPictures.size(), 4U);
    for (std::size_t i = 1; i < 4; ++i) {
        EXPECT_GT(content.fPictures[i].fTime, content.fPictures[i - 1].fTime);
    }
}

TEST_F(RecorderTest, DropsAndCountsWhatItCannotTakeInTime) {
    RecorderLimits limits = generous();
    limits.fFrames = 2;
    WatchedRecorder recorder(limits);
    recorder.start(path("b.mkv"), fOrigin);
    const KVFrame frame = frameAt(0, 640, 480);
    const int offered = 2000;
    for (int i = 0; i < offered; ++i) {
        recorder.offer(picture::check(at(frame, i)));
    }
    const RecorderStatus status = recorder.stopAndWait();
    EXPECT_EQ(status.fState, State::Done);
    EXPECT_GT(status.fDropped, 0U);
    EXPECT_EQ(status.fFrames + status.fDropped, static_cast<std::uint64_t>(offered));
    EXPECT_EQ(readMatroska(path("b.mkv")).fPictures.size(), status.fFrames);
}

TEST_F(RecorderTest, TakesAFrameLargerThanItsBoundWhenNothingElseWaits) {
    RecorderLimits limits = generous();
    limits.fBytes = 1;
    WatchedRecorder recorder(limits);
    recorder.start(path("b.mkv"), fOrigin);
    recorder.offer(picture::check(frameAt(0)));
    EXPECT_EQ(recorder.stopAndWait().fFrames, 1U);
}

TEST_F(RecorderTest, CompletesTheFileWhenItIsDeleted) {
    {
        Recorder recorder(nullptr, generous());
        recorder.start(path("b.mkv"), fOrigin);
        for (int i = 0; i < 10; ++i) {
            recorder.offer(picture::check(frameAt(i)));
        }
    }
    const MatroskaContent content = readMatroska(path("b.mkv"));
    EXPECT_EQ(content.fError, "");
    EXPECT_EQ(content.fPictures.size(), 10U);
    expectTime(content.fDuration, 9 * a_step);
}

TEST_F(RecorderTest, RecordsAgainAfterAnEnd) {
    fRecorder.start(path("a.mkv"), fOrigin);
    fRecorder.offer(picture::check(frameAt(0)));
    EXPECT_EQ(fRecorder.stopAndWait().fFrames, 1U);
    fRecorder.offer(picture::check(frameAt(1)));
    fRecorder.start(path("b.mkv"), fOrigin);
    fRecorder.offer(picture::check(frameAt(2)));
    fRecorder.offer(picture::check(frameAt(3)));
    const RecorderStatus status = fRecorder.stopAndWait();
    EXPECT_EQ(status.fFrames, 2U);
    EXPECT_EQ(status.fFile, path("b.mkv"));
    EXPECT_EQ(readMatroska(path("b.mkv")).fPictures.size(), 2U);
    EXPECT_EQ(readMatroska(path("a.mkv")).fPictures.size(), 1U);
}

TEST_F(RecorderTest, WritesNoFileWhenNoFrameComes) {
    EXPECT_EQ(fRecorder.status().fState, State::Idle);
    fRecorder.start(path("a.mkv"), fOrigin);
    EXPECT_EQ(fRecorder.status().fState, State::Recording);
    const RecorderStatus status = fRecorder.stopAndWait();
    EXPECT_EQ(status.fState, State::Done);
    EXPECT_EQ(status.fFiles, 0);
    EXPECT_TRUE(QDir(fFolder.path()).isEmpty());
}

TEST_F(RecorderTest, OverwritesAFileThatIsThere) {
    fRecorder.start(path("a.mkv"), fOrigin);
    for (int i = 0; i < 50; ++i) {
        fRecorder.offer(picture::check(frameAt(i)));
    }
    fRecorder.stopAndWait();
    fRecorder.start(path("a.mkv"), fOrigin);
    fRecorder.offer(picture::check(frameAt(0)));
    fRecorder.stopAndWait();
    EXPECT_EQ(readMatroska(path("a.mkv")).fPictures.size(), 1U);
}

TEST_F(RecorderTest, SaysWhyAFileCannotBeWritten) {
    fRecorder.start(path("missing/a.mkv"), fOrigin);
    fRecorder.offer(picture::check(frameAt(0)));
    const RecorderStatus status = fRecorder.waitForEnd();
    EXPECT_EQ(status.fState, State::Failed);
    EXPECT_EQ(status.fFailure,
              QStringLiteral("The recording %1 could not be written: No such file or directory.")
                  .arg(path("missing/a.mkv")));
}

TEST_F(RecorderTest, SaysThatTheDiskIsFull) {
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/full"), path("full.mkv")));
    fRecorder.start(path("full.mkv"), fOrigin);
    for (int i = 0; i < 200 && fRecorder.status().fState == State::Recording; ++i) {
        fRecorder.offer(picture::check(frameAt(i)));
    }
    fRecorder.stop();
    const RecorderStatus status = fRecorder.waitForEnd();
    EXPECT_EQ(status.fState, State::Failed);
    EXPECT_EQ(status.fFailure,
              QStringLiteral("The disk is full. The part recorded so far can be played."));
}

TEST_F(RecorderTest, EndsWithACompleteFileBeforeTheDiskIsFull) {
    RecorderLimits limits;
    limits.fFreeSpace = std::numeric_limits<std::int64_t>::max();
    WatchedRecorder recorder(limits);
    recorder.start(path("b.mkv"), fOrigin);
    recorder.offer(picture::check(frameAt(0)));
    const RecorderStatus status = recorder.waitForEnd();
    EXPECT_EQ(status.fState, State::Failed);
    EXPECT_TRUE(status.fFailure.startsWith(QStringLiteral("The disk is nearly full")));
    EXPECT_FALSE(QFile::exists(path("b.mkv")));
}

}  // namespace
