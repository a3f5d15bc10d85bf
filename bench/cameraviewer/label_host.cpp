// A minimal Qt viewer: shows each frame of a camera, as it arrives, as a pixmap in a label. No
// checks, no figures, decoding on the GUI thread. Runs until it is killed.
//
//   cameraviewer_bench_label ROBOT_PORT WIDTH HEIGHT
#include "shown_rect.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_frame_stream.h>

#include <QApplication>
#include <QLabel>
#include <QMainWindow>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace {

QImage imageOf(const KVFrame& frame) {
    if (frame.fFormat == KVPixelFormat::Jpeg) {
        return QImage::fromData(frame.fData.get(), static_cast<int>(frame.fSize), "jpg");
    }
    return {frame.fData.get(), static_cast<int>(frame.fWidth), static_cast<int>(frame.fHeight),
            static_cast<int>(frame.fStride), QImage::Format_RGB888};
}

class LabelFeed : public QObject {
  public:
    explicit LabelFeed(QLabel* label) : fLabel(label) {}

    KVFrameStream::Callbacks callbacks() {
        return {[this](const KVFrame& frame, std::uint64_t /*passedOver*/) { xTake(frame); },
                [](const KVError& /*error*/) { std::fputs("the stream ended\n", stderr); }};
    }

  private:
    void xTake(const KVFrame& frame) {
        {
            const std::lock_guard lock(fMutex);
            fNewest = frame;
        }
        QMetaObject::invokeMethod(
            this, [this] { xShow(); }, Qt::QueuedConnection);
    }

    void xShow() {
        KVFrame frame;
        {
            const std::lock_guard lock(fMutex);
            std::swap(frame, fNewest);
        }
        if (frame.fData) {
            fLabel->setPixmap(QPixmap::fromImage(imageOf(frame)));
        }
    }

    QLabel* fLabel;
    std::mutex fMutex;
    KVFrame fNewest;
};

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    if (argc != 4) {
        std::fputs("usage: cameraviewer_bench_label ROBOT_PORT WIDTH HEIGHT\n", stderr);
        return EXIT_FAILURE;
    }
    QMainWindow window;
    auto* label = new QLabel;
    label->setAlignment(Qt::AlignCenter);
    window.setCentralWidget(label);
    bench::showLarge(window);
    LabelFeed feed(label);
    const auto broker = KVBroker::createBroker({"Label"});
    const auto connection = KVConnection::open(broker, "127.0.0.1", std::atoi(argv[1]), 5);
    const auto stream = KVFrameStream::start(connection, "KVVideo", "head", feed.callbacks());
    const QSize picture(std::atoi(argv[2]), std::atoi(argv[3]));
    QTimer::singleShot(bench::a_settling, label,
                       [label, picture] { bench::tellWhereShown(label, picture); });
    return QApplication::exec();
}
