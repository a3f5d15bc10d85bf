#include "camera_link.h"

#include <robaxi/kv_connection.h>

namespace cameraviewer {

CameraLink::CameraLink(const boost::shared_ptr<KVBroker>& broker, const std::string& ip, int port,
                       double timeOut)
    : RobotLink(broker, ip, port, timeOut),
      fClient(std::make_unique<VideoClient>(connection(), notice())),
      fWorker(notice()),
      fFeed(fWorker, notice()) {
    fClient->listCameras();
    fWorker.request();
}

CameraLink::~CameraLink() {
    close();
}

void CameraLink::watch(const std::string& camera) {
    stopWatching();
    if (!isClosed() && !isLost()) {
        fFeed.begin();
        fStream = KVFrameStream::start(connection(), a_videoModule, camera, fFeed.callbacks());
    }
}

void CameraLink::stopWatching() {
    fStream.reset();
    fWorker.forget();
}

void CameraLink::requestKeyFrame() {
    if (fStream) {
        fStream->requestKeyFrame();
    }
}

void CameraLink::stop() {
    stopWatching();
    fClient->stop();
    fWorker.stop();
}

void CameraLink::restart() {
    fClient = std::make_unique<VideoClient>(connection(), notice());
    fWorker.start();
}

}  // namespace cameraviewer
