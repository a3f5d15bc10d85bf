#include <obvista/viewer/notice.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <codec/gstreamer.h>
#include <condition_variable>
#include <grey_film.h>
#include <made_frames.h>
#include <mutex>
#include <picture_worker.h>
#include <thread>
#include <vector>

using cameraviewer::DecodedPicture;
using cameraviewer::PictureWorker;
using obvista::Notice;
using obvista_test::GreyFilm;
using picture::FrameFault;

namespace {

KVFrame greyFrame(std::uint64_t number, unsigned char value = 7) {
    KVFrame frame =
        obvista_test::makeFrame(KVPixelFormat::Grey8, 16, 8, 16, obvista_test::Bytes(128, value));
    frame.fNumber = number;
    return frame;
}

/** Waits for a notice. */
class Taker {
  public:
    explicit Taker(Notice& notice) : fNotice(notice) {
        fNotice.set([this] {
            const std::lock_guard<std::mutex> lock(fMutex);
            fHasWord = true;
            fCondition.notify_all();
        });
    }
    ~Taker() { fNotice.set(nullptr); }

    bool wait(std::chrono::milliseconds time = std::chrono::seconds(20)) {
        std::unique_lock<std::mutex> lock(fMutex);
        const bool hasWord = fCondition.wait_for(lock, time, [this] { return fHasWord; });
        fHasWord = false;
        lock.unlock();
        fNotice.clear();
        return hasWord;
    }

  private:
    Notice& fNotice;
    std::mutex fMutex;
    std::condition_variable fCondition;
    bool fHasWord = false;
};

TEST(PictureWorker, DecodesWhatIsAskedFor) {
    Notice notice;
    Taker taker(notice);
    PictureWorker worker(notice);
    worker.request();
    EXPECT_FALSE(worker.offer(picture::check(greyFrame(1))));
    ASSERT_TRUE(taker.wait());
    const std::optional<DecodedPicture> decoded = worker.take();
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->fPicture.fFrame.fNumber, 1U);
    EXPECT_EQ(decoded->fPicture.fImage.format(), QImage::Format_Grayscale8);
    EXPECT_TRUE(decoded->fHistograms.empty());
    EXPECT_FALSE(worker.take().has_value());
}

TEST(PictureWorker, DecodesTheNewestOnceItIsAsked) {
    Notice notice;
    Taker taker(notice);
    PictureWorker worker(notice);
    EXPECT_FALSE(worker.offer(picture::check(greyFrame(1))));
    EXPECT_TRUE(worker.offer(picture::check(greyFrame(2))));
    EXPECT_TRUE(worker.offer(picture::check(greyFrame(3))));
    EXPECT_FALSE(worker.take().has_value());
    worker.request();
    ASSERT_TRUE(taker.wait());
    EXPECT_EQ(worker.take()->fPicture.fFrame.fNumber, 3U);
}

TEST(PictureWorker, DecodesNoFrameThatNobodyAskedFor) {
    Notice notice;
    Taker taker(notice);
    PictureWorker worker(notice);
    worker.request();
    worker.offer(picture::check(greyFrame(1)));
    ASSERT_TRUE(taker.wait());
    worker.offer(picture::check(greyFrame(2)));
    EXPECT_FALSE(taker.wait(std::chrono::milliseconds(100)));
    EXPECT_EQ(worker.take()->fPicture.fFrame.fNumber, 1U);
}

TEST(PictureWorker, TellsWhatIsWrongWithAFrame) {
    Notice notice;
    Taker taker(notice);
    PictureWorker worker(notice);
    KVFrame frame = greyFrame(1);
    frame.fHeight = 9;
    worker.request();
    worker.offer(picture::check(frame));
    ASSERT_TRUE(taker.wait());
    const std::optional<DecodedPicture> decoded = worker.take();
    EXPECT_EQ(decoded->fPicture.fFault, FrameFault::ShortData);
    EXPECT_TRUE(decoded->fPicture.fImage.isNull());
}

TEST(PictureWorker, ShowsTheNewestOfH264AndDecodesThoseThatItNeeds) {
    Notice notice;
    Taker taker(notice);
    PictureWorker worker(notice);
    GreyFilm film;
    EXPECT_FALSE(worker.offer(film.checked()));
    for (int i = 2; i <= 5; ++i) {
        EXPECT_TRUE(worker.offer(film.checked()));
    }
    worker.request();
    ASSERT_TRUE(taker.wait());
    const std::optional<DecodedPicture> decoded = worker.take();
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->fPicture.fFrame.fNumber, 5U);
    ASSERT_EQ(decoded->fPicture.fImage.format(), QImage::Format_RGB32);
    EXPECT_NEAR(qRed(decoded->fPicture.fImage.pixel(30, 30)), GreyFilm::greyOf(5), 4);
    EXPECT_FALSE(worker.takeKeyFrameRequest());
}

TEST(PictureWorker, ShowsNothingOfH264AfterALostFrameUntilTheNextKeyFrame) {
    Notice notice;
    Taker taker(notice);
    PictureWorker worker(notice);
    GreyFilm film;
    worker.request();
    worker.offer(film.checked());
    ASSERT_TRUE(taker.wait());
    ASSERT_TRUE(worker.take().has_value());
    film.next();  // is lost
    worker.request();
    EXPECT_TRUE(worker.offer(film.checked()));
    ASSERT_TRUE(taker.wait());
    EXPECT_TRUE(worker.takeKeyFrameRequest());
    EXPECT_FALSE(worker.takeKeyFrameRequest()) << "once";
    EXPECT_TRUE(worker.offer(film.checked()));
    EXPECT_FALSE(worker.take().has_value());
    EXPECT_FALSE(worker.offer(film.checked(true)));
    while (!worker.take().has_value()) {
        ASSERT_TRUE(taker.wait());
    }
}

TEST(PictureWorker, RequestsAKeyFrameAfterDamagedH264) {
    Notice notice;
    Taker taker(notice);
    PictureWorker worker(notice);
    GreyFilm film;
    worker.request();
    worker.offer(film.checked());
    ASSERT_TRUE(taker.wait());
    ASSERT_TRUE(worker.take().has_value());
    KVFrame broken = film.next();
    constexpr std::size_t beginning = 14;
    ASSERT_GT(broken.fSize, beginning);
    broken.fSize = beginning;
    worker.request();
    worker.offer(picture::check(broken));
    ASSERT_TRUE(taker.wait());
    const std::optional<DecodedPicture> decoded = worker.take();
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->fPicture.fFault, FrameFault::BadH264);
    EXPECT_TRUE(decoded->fPicture.fImage.isNull());
    EXPECT_TRUE(worker.takeKeyFrameRequest());
}

/** Removes GStreamer's decoders for a test. */
class NoDecoders {
  public:
    NoDecoders() {
        codec::startGStreamer();
        for (const char* const name : {"avdec_h264", "openh264dec"}) {
            GstPluginFeature* const decoder = gst_registry_lookup_feature(gst_registry_get(), name);
            if (decoder != nullptr) {
                gst_registry_remove_feature(gst_registry_get(), decoder);
                fRemoved.push_back(decoder);
            }
        }
    }
    ~NoDecoders() {
        for (GstPluginFeature* const decoder : fRemoved) {
            gst_registry_add_feature(gst_registry_get(), decoder);
            gst_object_unref(decoder);
        }
    }
    NoDecoders(const NoDecoders&) = delete;
    NoDecoders& operator=(const NoDecoders&) = delete;

  private:
    std::vector<GstPluginFeature*> fRemoved;
};

TEST(PictureWorker, RequestsNoKeyFrameWithoutADecoder) {
    const NoDecoders none;
    Notice notice;
    Taker taker(notice);
    PictureWorker worker(notice);
    GreyFilm film;
    for (int i = 0; i < 3; ++i) {
        worker.request();
        worker.offer(film.checked());
        ASSERT_TRUE(taker.wait());
        const std::optional<DecodedPicture> decoded = worker.take();
        ASSERT_TRUE(decoded.has_value());
        EXPECT_EQ(decoded->fPicture.fFault, FrameFault::NoH264Decoder);
        EXPECT_FALSE(worker.takeKeyFrameRequest());
    }
}

TEST(PictureWorker, KeepsABoundedNumberOfH264FramesThatNobodyAskedFor) {
    Notice notice;
    Taker taker(notice);
    PictureWorker worker(notice);
    GreyFilm film;
    for (int i = 0; i < 50; ++i) {
        worker.offer(film.checked());
    }
    worker.offer(film.checked(true));
    for (int i = 0; i < 70; ++i) {
        KVFrame frame = film.next();
        frame.fIsKey = false;  // a robot that sends none
        worker.offer(picture::check(frame));
    }
    EXPECT_FALSE(worker.takeKeyFrameRequest()) << "nobody looks";
    worker.request();
    worker.offer(film.checked());
    ASSERT_TRUE(taker.wait());
    EXPECT_TRUE(worker.takeKeyFrameRequest());
}

TEST(PictureWorker, MakesAHistogramWhereItIsWanted) {
    Notice notice;
    Taker taker(notice);
    PictureWorker worker(notice);
    worker.setHistogramWanted(true);
    worker.request();
    worker.offer(picture::check(greyFrame(1, 42)));
    ASSERT_TRUE(taker.wait());
    const std::optional<DecodedPicture> decoded = worker.take();
    ASSERT_EQ(decoded->fHistograms.size(), 1U);
    EXPECT_EQ(decoded->fHistograms.front().fMinimum, 42);
    EXPECT_EQ(decoded->fHistograms.front().fMaximum, 42);
}

TEST(PictureWorker, ForgetsThePicturesOfACameraThatIsLeft) {
    Notice notice;
    Taker taker(notice);
    PictureWorker worker(notice);
    worker.request();
    worker.offer(picture::check(greyFrame(1)));
    ASSERT_TRUE(taker.wait());
    worker.offer(picture::check(greyFrame(2)));
    worker.forget();
    EXPECT_FALSE(worker.take().has_value());
    // A requested picture that was not taken is still delivered.
    worker.offer(picture::check(greyFrame(3)));
    ASSERT_TRUE(taker.wait());
    EXPECT_EQ(worker.take()->fPicture.fFrame.fNumber, 3U);
}

TEST(PictureWorker, StopsUnderFire) {
    for (int round = 0; round < 30; ++round) {
        Notice notice;
        std::atomic<bool> isStopped{false};
        std::atomic<bool> isToldLate{false};
        notice.set([&] { isToldLate = isToldLate || isStopped; });
        PictureWorker worker(notice);
        std::atomic<bool> hasStarted{false};
        std::thread feed([&] {
            for (std::uint64_t number = 1; number < 300; ++number) {
                worker.offer(picture::check(greyFrame(number)));
                worker.request();
                worker.take();
                notice.clear();
                hasStarted = true;
            }
        });
        while (!hasStarted) {
            std::this_thread::yield();
        }
        worker.stop();
        isStopped = true;
        feed.join();
        EXPECT_FALSE(isToldLate);
    }
}

TEST(PictureWorker, NeverGoesBackToAnOlderPicture) {
    Notice notice;
    Taker taker(notice);
    PictureWorker worker(notice);
    constexpr std::uint64_t frames = 2000;
    std::thread feed([&] {
        for (std::uint64_t number = 1; number <= frames; ++number) {
            worker.offer(picture::check(greyFrame(number)));
        }
    });
    std::uint64_t newest = 0;
    bool goesBack = false;
    worker.request();
    while (newest < frames && taker.wait()) {
        if (const std::optional<DecodedPicture> decoded = worker.take()) {
            goesBack = goesBack || decoded->fPicture.fFrame.fNumber <= newest;
            newest = decoded->fPicture.fFrame.fNumber;
            worker.request();
        }
    }
    feed.join();
    EXPECT_EQ(newest, frames);
    EXPECT_FALSE(goesBack);
}

}  // namespace
