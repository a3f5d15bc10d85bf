// Watched cameras between the library and peers that implement the protocol without it.
#include "frame_listener.h"
#include "latch.h"
#include "raw_peer.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_frame_source.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <future>
#include <limits>
#include <memory>
#include <string>
#include <vector>

using namespace robaxi_test;

namespace {

v1::WatchUpdate beginning(std::uint64_t number, std::uint64_t size, const std::string& data = {}) {
    v1::WatchUpdate update;
    update.mutable_header()->set_number(number);
    update.mutable_header()->set_size(size);
    update.set_data(data);
    return update;
}

v1::WatchUpdate more(const std::string& data) {
    v1::WatchUpdate update;
    update.set_data(data);
    return update;
}

/** An H.264 frame; its number is also its place in the stream. */
v1::WatchUpdate chained(std::uint64_t sequence, bool isKey = false) {
    v1::WatchUpdate update = beginning(sequence, 1, "x");
    update.mutable_header()->set_format(v1::FrameHeader::H264);
    update.mutable_header()->set_sequence(sequence);
    update.mutable_header()->set_is_key(isKey);
    return update;
}

/** Our client, and a robot that sends test data. */
class WatchingClient : public testing::Test {
  protected:
    void watch(const std::vector<v1::WatchUpdate>& updates) {
        fStream.reset();
        fListener.fEnd.reset();
        fRobot.sendFrames(updates);
        fStream = KVFrameStream::start(
            KVConnection::open(makeClient(), a_loopback, fRobot.port(), a_timeOut), "Robot", "head",
            fListener.callbacks());
    }

    KVError endAfter(const std::vector<v1::WatchUpdate>& updates) {
        watch(updates);
        return fListener.waitForEnd() ? *fListener.fEnd : KVError(KVError::Cause::Refused, "none");
    }

    std::string bytes() {
        const KVFrame frame = fListener.last();
        return {frame.fData.get(), frame.fData.get() + frame.fSize};
    }

    RawServer fRobot;
    FrameListener fListener;
    std::shared_ptr<KVFrameStream> fStream;
};

/** The same; its listener is busy with the first frame until the robot has sent a key frame. */
class BusyClient : public WatchingClient {
  protected:
    /**
     * Returns the numbers of the frames that reach the listener if the robot sends these after the
     * first one, and the next key frame when the client requests it.
     */
    std::vector<std::uint64_t> numbersOf(const std::vector<v1::WatchUpdate>& frames,
                                         const KVSettings& settings = {}) {
        const std::uint64_t last = frames.back().header().number() + 1;
        std::promise<void> asked;
        fListener.fOnFrame = [this] { fBusy.enter(); };
        fRobot.fWatch = [&](RawServer::WatchStream& stream) {
            stream.Write(chained(1, true));
            fBusy.waitForEntries(1);
            for (const v1::WatchUpdate& frame : frames) {
                stream.Write(frame);
            }
            v1::WatchRequest request;
            while (stream.Read(&request) && !request.key_frame()) {
            }
            asked.set_value();
            stream.Write(chained(last, true));
            while (stream.Read(&request) && request.received() < last) {
            }
            fBusy.open();
            stream.Read(&request);
        };
        fStream = KVFrameStream::start(
            KVConnection::open(makeClient(settings), a_loopback, fRobot.port(), a_timeOut), "Robot",
            "head", fListener.callbacks());
        EXPECT_EQ(asked.get_future().wait_for(a_patience), std::future_status::ready);
        EXPECT_TRUE(fListener.waitForFrame(last));
        fStream.reset();
        return fListener.fNumbers;
    }

  private:
    Latch fBusy;
};

/** Our robot, and a client that sends test data. */
class WatchedRobot : public testing::Test {
  protected:
    WatchedRobot() {
        fSource->addStream("head");
        const auto video = std::make_shared<KVModule>("Video", "");
        video->setFrames(fSource);
        fServer->addModule(video);
    }

    v1::WatchRequest start(const std::string& stream) {
        v1::WatchRequest request;
        request.mutable_start()->set_session_id(fClient.hello().session_id());
        request.mutable_start()->set_module("Video");
        request.mutable_start()->set_stream(stream);
        return request;
    }

    using WatchStream = grpc::ClientReaderWriter<v1::WatchRequest, v1::WatchUpdate>;

    static std::uint64_t nextNumber(WatchStream& stream) {
        v1::WatchUpdate update;
        return stream.Read(&update) ? update.header().number() : 0;
    }

    static bool report(WatchStream& stream, std::uint64_t received) {
        v1::WatchRequest request;
        request.set_received(received);
        return stream.Write(request);
    }

    BrokerPtr fServer = makeServer("Robot");
    std::shared_ptr<KVFrameSource> fSource = std::make_shared<KVFrameSource>();
    RawClient fClient{fServer->getPort()};
    grpc::ClientContext fContext;
};

}  // namespace

TEST_F(WatchingClient, TakesFramesInWhateverParts) {
    watch({beginning(1, 6), more("ab"), more(""), more("cdef")});
    ASSERT_TRUE(fListener.waitForFrame(1));
    EXPECT_EQ(bytes(), "abcdef");
}

TEST_F(WatchingClient, TakesAFormatThatItDoesNotKnow) {
    v1::WatchUpdate update = beginning(1, 1, "x");
    update.mutable_header()->set_format(static_cast<v1::FrameHeader::Format>(77));
    watch({update});
    ASSERT_TRUE(fListener.waitForFrame(1));
    EXPECT_EQ(fListener.last().fFormat, KVPixelFormat::Unknown);
}

TEST_F(WatchingClient, BringsTheTimeIntoTheCalendar) {
    v1::WatchUpdate update = beginning(1, 1, "x");
    update.mutable_header()->set_time(std::numeric_limits<std::int64_t>::min());
    watch({update});
    ASSERT_TRUE(fListener.waitForFrame(1));
    EXPECT_EQ(fListener.last().fTime, 0);
}

TEST_F(WatchingClient, EndsWithARobotThatBreaksTheProtocol) {
    const std::vector<std::vector<v1::WatchUpdate>> broken{
        {more("bytes of no frame")},
        {beginning(1, 3, "four")},
        {beginning(1, 3, "ab"), more("cd")},
        {beginning(1, 3, "ab"), beginning(2, 3, "abc")}};
    for (const auto& updates : broken) {
        EXPECT_CAUSE(endAfter(updates), Internal);
        EXPECT_EQ(fListener.count(), 0U);
    }
}

TEST_F(WatchingClient, TakesNoFrameAboveTheLimit) {
    EXPECT_CAUSE(endAfter({beginning(1, (64ULL << 20U) + 1)}), TooLarge);
    EXPECT_CAUSE(endAfter({beginning(1, ~0ULL)}), TooLarge);
}

TEST_F(WatchingClient, TellsTheReasonThatTheRobotGives) {
    fRobot.fStreamStatus = grpc::Status(grpc::StatusCode::RESOURCE_EXHAUSTED, "for others");
    fRobot.fDetails.emplace().set_cause(v1::Error::TOO_MANY);
    fRobot.fDetails->set_text("all eyes are taken");
    const KVError error = endAfter({});
    EXPECT_CAUSE(error, TooMany);
    EXPECT_NE(error.toString().find("all eyes are taken"), std::string::npos) << error.toString();
}

TEST_F(WatchingClient, UnderstandsAStatusWithoutDetails) {
    fRobot.fStreamStatus = grpc::Status(grpc::StatusCode::NOT_FOUND, "no eye there");
    const KVError error = endAfter({});
    EXPECT_CAUSE(error, NoSuchStream);
    EXPECT_NE(error.toString().find("no eye there"), std::string::npos) << error.toString();
}

TEST_F(WatchedRobot, SendsTwoFramesToAClientThatReportsNone) {
    const auto stream = fClient.stub().Watch(&fContext);
    ASSERT_TRUE(stream->Write(start("head")));
    v1::WatchUpdate update;
    for (std::uint64_t number = 1; number <= 2; ++number) {
        fSource->publish("head", makeFrame(number, 10));
        ASSERT_TRUE(stream->Read(&update));
        EXPECT_EQ(update.header().number(), number);
        EXPECT_EQ(update.header().size(), 10U);
        EXPECT_EQ(update.data().size(), 10U);
    }
    fSource->publish("head", makeFrame(3, 10));
    fSource->publish("head", makeFrame(4, 10));
    v1::WatchRequest report;
    report.set_received(1);
    ASSERT_TRUE(stream->Write(report));
    ASSERT_TRUE(stream->Read(&update));
    EXPECT_EQ(update.header().number(), 4U) << "the newest, and the one before was never sent";
    fSource->removeStream("head");
    EXPECT_FALSE(stream->Read(&update));
    EXPECT_EQ(stream->Finish().error_code(), grpc::StatusCode::NOT_FOUND);
    EXPECT_EQ(detailsOf(fContext).cause(), v1::Error::NO_SUCH_STREAM);
}

TEST_F(WatchingClient, PassesOnlyFramesThatCanBeDecodedAndRequestsAKeyFrame) {
    std::promise<void> asked;
    fRobot.fWatch = [&asked](RawServer::WatchStream& stream) {
        for (const auto& update :
             {chained(1), chained(2, true), chained(3), chained(5), chained(6)}) {
            stream.Write(update);
        }
        v1::WatchRequest request;
        while (stream.Read(&request) && !request.key_frame()) {
        }
        asked.set_value();
        stream.Write(chained(7, true));
        stream.Write(chained(8));
    };
    fStream =
        KVFrameStream::start(KVConnection::open(makeClient(), a_loopback, fRobot.port(), a_timeOut),
                             "Robot", "head", fListener.callbacks());
    ASSERT_EQ(asked.get_future().wait_for(a_patience), std::future_status::ready);
    ASSERT_TRUE(fListener.waitForFrame(8));
    EXPECT_EQ(fListener.fNumbers, (std::vector<std::uint64_t>{2, 3, 7, 8}));
    EXPECT_EQ(fListener.fPassedOver, 3U);
    EXPECT_EQ(fListener.last().fSequence, 8U);
    EXPECT_FALSE(fListener.last().fIsKey);
}

TEST_F(WatchingClient, RequestsAKeyFrameForItsListener) {
    std::promise<void> asked;
    fRobot.fWatch = [&asked](RawServer::WatchStream& stream) {
        stream.Write(chained(1, true));
        v1::WatchRequest request;
        while (stream.Read(&request) && !request.key_frame()) {
        }
        asked.set_value();
    };
    fStream =
        KVFrameStream::start(KVConnection::open(makeClient(), a_loopback, fRobot.port(), a_timeOut),
                             "Robot", "head", fListener.callbacks());
    ASSERT_TRUE(fListener.waitForFrame(1));
    fStream->requestKeyFrame();
    EXPECT_EQ(asked.get_future().wait_for(a_patience), std::future_status::ready);
}

TEST_F(WatchingClient, RequestsAKeyFrameLaterIfTheLastRequestWasJustNow) {
    std::atomic<int> asked{0};
    fRobot.fWatch = [this, &asked](RawServer::WatchStream& stream) {
        stream.Write(chained(1, true));
        v1::WatchRequest request;
        for (std::uint64_t number = 2; asked < 2 && stream.Read(&request); ++number) {
            asked += request.key_frame() ? 1 : 0;
            stream.Write(chained(number));
            if (asked < 2) {
                // A listener that falls behind causes requests, too.
                fListener.waitForFrame(number);
            }
        }
    };
    fStream =
        KVFrameStream::start(KVConnection::open(makeClient(), a_loopback, fRobot.port(), a_timeOut),
                             "Robot", "head", fListener.callbacks());
    ASSERT_TRUE(fListener.waitUntil([this] { return fListener.fLast.has_value(); }));
    fStream->requestKeyFrame();
    ASSERT_TRUE(fListener.waitUntil([&] { return asked == 1; }));
    fStream->requestKeyFrame();
    EXPECT_TRUE(fListener.waitUntil([&] { return asked == 2; }));
    fStream.reset();
}

TEST_F(WatchingClient, DeliversTheFramesThatWaitBeforeTheEnd) {
    constexpr std::uint64_t last = 32;
    Latch busy;
    std::promise<void> hasEnded;
    std::vector<std::uint64_t> numbersAtTheEnd;
    fRobot.fStreamStatus = {grpc::StatusCode::NOT_FOUND, "gone"};
    fRobot.fWatch = [&](RawServer::WatchStream& stream) {
        stream.Write(chained(1, true));
        busy.waitForEntries(1);
        for (std::uint64_t number = 2; number <= last; ++number) {
            stream.Write(chained(number));
        }
        v1::WatchRequest request;
        while (stream.Read(&request) && request.received() < last) {
        }
        hasEnded.set_value();
    };
    fListener.fOnFrame = [&busy] { busy.enter(); };
    KVFrameStream::Callbacks callbacks = fListener.callbacks();
    callbacks.fEnded = [&, end = callbacks.fEnded](const KVError& error) {
        numbersAtTheEnd = fListener.fNumbers;
        end(error);
    };
    fStream =
        KVFrameStream::start(KVConnection::open(makeClient(), a_loopback, fRobot.port(), a_timeOut),
                             "Robot", "head", std::move(callbacks));
    ASSERT_EQ(hasEnded.get_future().wait_for(a_patience), std::future_status::ready);
    // The status arrives earlier than another connection is open.
    KVConnection::open(makeClient(), a_loopback, fRobot.port(), a_timeOut);
    busy.open();
    ASSERT_TRUE(fListener.waitForEnd());
    EXPECT_EQ(numbersAtTheEnd.size(), last);
    fStream.reset();
    EXPECT_EQ(fListener.count(), last);
}

TEST_F(BusyClient, KeepsNoMoreBytesThanAFrameMayHave) {
    constexpr std::size_t most = std::size_t{64} << 10U;
    std::vector<v1::WatchUpdate> frames;
    for (std::uint64_t number = 2; number <= 4; ++number) {
        frames.push_back(chained(number));
        frames.back().mutable_header()->set_size(most / 3 + 1);
        frames.back().set_data(std::string(most / 3 + 1, 'x'));
    }
    KVSettings settings;
    settings.fLimits.fFrame = most;
    EXPECT_EQ(numbersOf(frames, settings), (std::vector<std::uint64_t>{1, 5}));
    EXPECT_EQ(fListener.fPassedOver, 3U);
}

TEST_F(BusyClient, DropsToTheNextKeyFrame) {
    std::vector<v1::WatchUpdate> frames;
    for (std::uint64_t number = 2; number <= 40; ++number) {
        frames.push_back(chained(number));
    }
    EXPECT_EQ(numbersOf(frames), (std::vector<std::uint64_t>{1, 41}));
}

TEST_F(WatchedRobot, SendsEveryH264FrameInItsOrder) {
    const auto stream = fClient.stub().Watch(&fContext);
    publishH264(*fSource, 1, 1, true);
    ASSERT_TRUE(stream->Write(start("head")));
    EXPECT_EQ(nextNumber(*stream), 1U);
    publishH264(*fSource, 2, 7);
    for (std::uint64_t number = 2; number <= 6; ++number) {
        EXPECT_EQ(nextNumber(*stream), number) << "six may be on their way";
    }
    ASSERT_TRUE(report(*stream, 1));
    EXPECT_EQ(nextNumber(*stream), 7U);
}

TEST_F(WatchedRobot, BeginsH264WithAKeyFrameThatItRequests) {
    publishH264(*fSource, 1, 1, true);
    EXPECT_FALSE(fSource->takeKeyFrameRequest("head")) << "nobody watches";
    publishH264(*fSource, 2, 20);
    const auto stream = fClient.stub().Watch(&fContext);
    ASSERT_TRUE(stream->Write(start("head")));
    ASSERT_TRUE(waitForKeyFrameRequest(*fSource));
    publishH264(*fSource, 21, 21);
    publishH264(*fSource, 22, 23, true);
    EXPECT_EQ(nextNumber(*stream), 22U);
    EXPECT_EQ(nextNumber(*stream), 23U);
}

TEST_F(WatchedRobot, DropsToTheNextKeyFrameForAClientThatFallsBehind) {
    const auto stream = fClient.stub().Watch(&fContext);
    publishH264(*fSource, 1, 1, true);
    ASSERT_TRUE(stream->Write(start("head")));
    EXPECT_EQ(nextNumber(*stream), 1U);
    publishH264(*fSource, 2, 6);
    for (std::uint64_t number = 2; number <= 6; ++number) {
        EXPECT_EQ(nextNumber(*stream), number);
    }
    publishH264(*fSource, 7, 40);
    while (fSource->takeKeyFrameRequest("head")) {
    }
    ASSERT_TRUE(report(*stream, 6));
    ASSERT_TRUE(waitForKeyFrameRequest(*fSource));
    publishH264(*fSource, 41, 42, true);
    EXPECT_EQ(nextNumber(*stream), 41U);
    EXPECT_EQ(nextNumber(*stream), 42U);
}

TEST_F(WatchedRobot, RequestsAtMostFourKeyFramesASecond) {
    const auto begin = std::chrono::steady_clock::now();
    const auto stream = fClient.stub().Watch(&fContext);
    publishH264(*fSource, 1, 1, true);
    ASSERT_TRUE(stream->Write(start("head")));
    EXPECT_EQ(nextNumber(*stream), 1U);
    int taken = 0;
    for (int i = 0; i < 50; ++i) {
        v1::WatchRequest request;
        request.set_key_frame(true);
        ASSERT_TRUE(stream->Write(request));
        taken += fSource->takeKeyFrameRequest("head") ? 1 : 0;
    }
    ASSERT_TRUE(taken > 0 || waitForKeyFrameRequest(*fSource));
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
    EXPECT_LE(taken, 1 + static_cast<int>(4 * elapsed.count()));
}

TEST_F(WatchedRobot, RefusesWhoNamesNoSession) {
    const auto stream = fClient.stub().Watch(&fContext);
    v1::WatchRequest request = start("head");
    request.mutable_start()->set_session_id(request.start().session_id() + 1);
    ASSERT_TRUE(stream->Write(request));
    v1::WatchUpdate update;
    EXPECT_FALSE(stream->Read(&update));
    EXPECT_EQ(stream->Finish().error_code(), grpc::StatusCode::PERMISSION_DENIED);
    EXPECT_EQ(detailsOf(fContext).cause(), v1::Error::NOT_AUTHORISED);
    EXPECT_EQ(fSource->getWatchers("head"), 0);
}

TEST_F(WatchedRobot, RefusesToStartTwice) {
    const auto stream = fClient.stub().Watch(&fContext);
    const v1::WatchRequest request = start("head");
    ASSERT_TRUE(stream->Write(request));
    ASSERT_TRUE(stream->Write(request));
    v1::WatchUpdate update;
    EXPECT_FALSE(stream->Read(&update));
    EXPECT_EQ(stream->Finish().error_code(), grpc::StatusCode::INVALID_ARGUMENT);
}
