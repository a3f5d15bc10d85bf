// A process that records, for tests of what becomes of its files when it ends.
//
//   recording_process MODE FILE
//
//   endless  until it is killed; says "written" once a_frames frames are in the file
//   exit     a_frames frames, and calls exit() while recording
//   full     until the disk is full; says why, and how many frames of the file can be read and
//   played idle     nothing; says whether GStreamer was initialised one      one frame; says why it
//   failed
#include <QFileInfo>
#include <QString>

#include <cstdlib>
#include <gst/gst.h>
#include <iostream>
#include <made_frames.h>
#include <matroska_reading.h>
#include <picture_decoder.h>
#include <recorder.h>
#include <recording_process.h>
#include <snapshot.h>
#include <string>
#include <thread>

using namespace cameraviewer;
using State = RecorderStatus::State;

namespace {

const PictureOrigin a_origin{QStringLiteral("robot1"), QStringLiteral("head")};

RecorderLimits wideLimits() {
    RecorderLimits limits;
    limits.fFrames = 1000;
    limits.fFreeSpace = 0;
    return limits;
}

/** Offers frames, not faster than they are recorded, as long as the recording runs.
 *  @param goesOn asked before each */
template <typename GoesOn>
void feed(Recorder& recorder, GoesOn goesOn) {
    KVFrame frame = obvista_test::processFrame();
    std::uint64_t offered = 0;
    while (recorder.status().fState == State::Recording && goesOn(offered)) {
        if (offered < recorder.status().fFrames + 10) {
            frame.fTime += 33'333;
            recorder.offer(picture::check(frame));
            ++offered;
        }
        std::this_thread::yield();
    }
}

int recordUntilKilled(const QString& file) {
    Recorder recorder(nullptr, wideLimits());
    recorder.start(file, a_origin);
    const auto wanted =
        static_cast<qint64>(obvista_test::a_processFrames * obvista_test::processFrame().fSize);
    bool hasTold = false;
    feed(recorder, [&](std::uint64_t /*offered*/) {
        if (!hasTold && QFileInfo(file).size() > wanted) {
            std::cout << "written" << std::endl;
            hasTold = true;
        }
        return true;
    });
    std::cout << qPrintable(recorder.status().fFailure) << std::endl;
    return 1;
}

int exitWhileRecording(const QString& file) {
    static auto* const kept = new Recorder(nullptr, wideLimits());
    kept->start(file, a_origin);
    feed(*kept, [](std::uint64_t offered) { return offered < obvista_test::a_processFrames; });
    std::exit(0);
}

/** @return what is said about a snapshot that is larger than what is left on the disk */
QString trySnapshot(const QString& file) {
    const KVFrame large = obvista_test::soundFrame(KVPixelFormat::Rgb888, 640, 480);
    return writeSnapshot(PictureDecoder().decode(large), a_origin, file);
}

int recordUntilFull(const QString& file) {
    Recorder recorder(nullptr, wideLimits());
    recorder.start(file, a_origin);
    feed(recorder, [](std::uint64_t /*offered*/) { return true; });
    std::string error;
    const std::size_t read = obvista_test::readMatroska(file).fPictures.size();
    const int played = obvista_test::playMatroska(file, &error);
    std::cout << qPrintable(recorder.status().fFailure) << '\n'
              << "read " << read << '\n'
              << "played " << played << ' ' << error << '\n'
              << qPrintable(trySnapshot(file + QStringLiteral(".png"))) << std::endl;
    return 0;
}

int stayIdle(const QString& file) {
    Recorder recorder(nullptr, wideLimits());
    recorder.start(file, a_origin);
    recorder.stop();
    std::cout << (gst_is_initialized() != FALSE ? "initialised" : "not initialised") << std::endl;
    return 0;
}

int recordOne(const QString& file) {
    Recorder recorder(nullptr, wideLimits());
    recorder.start(file, a_origin);
    recorder.offer(picture::check(obvista_test::processFrame()));
    feed(recorder, [](std::uint64_t /*offered*/) { return true; });
    std::cout << qPrintable(recorder.status().fFailure) << std::endl;
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    const std::string mode = argv[1];
    const QString file = QString::fromLocal8Bit(argv[2]);
    if (mode == "endless") {
        return recordUntilKilled(file);
    }
    if (mode == "exit") {
        return exitWhileRecording(file);
    }
    if (mode == "full") {
        return recordUntilFull(file);
    }
    return mode == "idle" ? stayIdle(file) : recordOne(file);
}
