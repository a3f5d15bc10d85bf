#include "camera_link.h"

#include <robaxi/kv_connection.h>

namespace cameraviewer {

std::shared_ptr<CameraLink> CameraLink::open(const boost::shared_ptr<KVBroker>& broker,
                                             const std::string& ip, int port, double timeOut) {
    std::shared_ptr<CameraLink> link(new CameraLink(broker, ip, port, timeOut));
    closeAtExit(link);
    return link;
}

CameraLink::CameraLink(const boost::shared_ptr<KVBroker>& broker, const std::string& ip, int port,
                       double timeOut)
    : RobotLink(broker, ip, port, timeOut),
      fClient(connection(), fNotice),
      fWorker(fNotice),
      fFeed(fWorker, fNotice) {
    fClient.listCameras();
    fWorker.request();
    connection()->setLostHandler([this](const KVError&) {
        fIsLost = true;
        fNotice.give();
    });
}

CameraLink::~CameraLink() {
    close();
}

void CameraLink::watch(const std::string& camera) {
    stopWatching();
    if (!isClosed()) {
        fFeed.begin();
        fStream = KVFrameStream::start(connection(), a_videoModule, camera, &fFeed);
    }
}

void CameraLink::stopWatching() {
    fStream.reset();
    fWorker.forget();
}

void CameraLink::xStop() {
    connection()->setLostHandler(nullptr);
    stopWatching();
    fClient.stop();
    fWorker.stop();
}

void CameraLink::xTellClosed() {
    fNotice.give();
}

void CameraLink::xSilence() {
    fNotice.set(nullptr);
}

}  // namespace cameraviewer
