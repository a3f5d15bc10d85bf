#ifndef OBVISTA_DESKTOP_BONJOUR_GRAB_IMAGE_THREAD_H
#define OBVISTA_DESKTOP_BONJOUR_GRAB_IMAGE_THREAD_H

#include <QThread>

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include <future>
#include <mutex>

namespace KD {

class BonjourListeningThread;

/**
 * A thread with an event loop that downloads the icons that a BonjourListeningThread requests.
 *
 * It does not keep that thread alive.
 */
class BonjourGrabImageThread : public QThread {
    Q_OBJECT

  public:
    explicit BonjourGrabImageThread(
        const boost::shared_ptr<BonjourListeningThread>& listeningThread);
    /** Stops the event loop and with it all downloads, and waits for the end. */
    ~BonjourGrabImageThread() override;

    /**
     * Becomes ready when the requests are connected. It always becomes ready after start(), and can
     * be waited for even if this object is destroyed in the meantime.
     */
    std::shared_future<void> connected() const;

  protected:
    void run() override;

  private:
    void xConnect(const class ImageGrabber& grabber);

    boost::weak_ptr<BonjourListeningThread> fListeningThread;
    std::promise<void> fConnectedPromise;
    std::shared_future<void> fConnected;
    std::once_flag fConnectedOnce;
};

}  // namespace KD

#endif
