#include "bonjour_grab_image_thread.h"

#include "bonjour_listening_thread.h"
#include "image_grabber.h"

namespace KD {

BonjourGrabImageThread::BonjourGrabImageThread(
    const boost::shared_ptr<BonjourListeningThread>& listeningThread)
    : fListeningThread(listeningThread), fConnected(fConnectedPromise.get_future().share()) {
}

BonjourGrabImageThread::~BonjourGrabImageThread() {
    exit();
    wait();
}

std::shared_future<void> BonjourGrabImageThread::connected() const {
    return fConnected;
}

void BonjourGrabImageThread::run() {
    qRegisterMetaType<boost::shared_ptr<KV::BonjourProfile>>(
        "boost::shared_ptr<KV::BonjourProfile>");
    const ImageGrabber grabber;
    xConnect(grabber);
    exec();
}

void BonjourGrabImageThread::xConnect(const ImageGrabber& grabber) {
    if (const boost::shared_ptr<BonjourListeningThread> thread = fListeningThread.lock()) {
        connect(thread.get(), &BonjourListeningThread::askForImage, &grabber,
                &ImageGrabber::onAskForImage, Qt::QueuedConnection);
    }
    std::call_once(fConnectedOnce, [this] { fConnectedPromise.set_value(); });
}

}  // namespace KD
