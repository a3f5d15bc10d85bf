// Writes recordings as the viewers do, for a reader that is not ours:
//
//   viewer_recordings MEMORY.mcap CAMERA.mcap [ADDRESS]
//
// With an address, where the robot's icon is downloaded, the recordings go on until they have it.
#include "recording/change_recorder.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QFile>

#include <eventually.h>
#include <memory>
#include <plain_frames.h>
#include <recorder.h>

namespace {

constexpr std::int64_t a_time = 1'600'000'000'000'000;
constexpr int a_count = 500;

bool hasIcon(const QString& file) {
    QFile recording(file);
    return recording.open(QIODevice::ReadOnly) && recording.readAll().contains("robot1/icon");
}

void recordValues(const QString& file, const std::string& address) {
    using memoryviewer::RecordedChange;
    memoryviewer::ChangeRecorder recorder;
    recorder.setRobot({"robot1", address, address, 9559});
    recorder.start(file);
    KVKeyInfo info;
    info.fName = "Head/Yaw";
    info.fUnit = "rad";
    const auto key = std::make_shared<KVKeyInfo>(info);
    for (int i = 0; i < a_count; ++i) {
        recorder.record({RecordedChange{a_time + i, key, KVValue(i / 4.0), 0}});
    }
    recorder.record(memoryviewer::RecordedEvent{"lost", "a \"reason\"\n", {}});
    if (!address.empty()) {
        obvista_test::eventually([&] {
            recorder.record({RecordedChange{a_time + a_count, key, KVValue(0), 0}});
            return hasIcon(file);
        });
    }
}

void recordFrames(const QString& file, const std::string& address) {
    cameraviewer::Recorder recorder;
    cameraviewer::PictureOrigin origin{QStringLiteral("robot1"), QStringLiteral("head")};
    origin.fAddress = address;
    recorder.start(file, origin);
    const auto offer = [&recorder](std::uint64_t i) {
        KVFrame frame = obvista_test::makeFrame(KVPixelFormat::Rgb888, 4, 2, 12,
                                                obvista_test::Bytes(std::size_t{4} * 2 * 3, 1));
        frame.fNumber = i;
        frame.fTime = a_time + static_cast<std::int64_t>(i);
        recorder.offer(picture::check(frame));
    };
    for (std::uint64_t i = 1; i <= 3; ++i) {
        offer(i);
    }
    if (!address.empty()) {
        std::uint64_t number = 3;
        obvista_test::eventually([&] {
            offer(++number);
            return hasIcon(file);
        });
    }
    recorder.offer(cameraviewer::StreamEnd{cameraviewer::StreamEnd::Kind::CameraEnded, "removed"});
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const std::string address = arguments.value(3).toStdString();
    recordValues(arguments.at(1), address);
    recordFrames(arguments.at(2), address);
    return 0;
}
