#ifndef OBVISTA_DESKTOP_BONJOUR_LISTENING_THREAD_H
#define OBVISTA_DESKTOP_BONJOUR_LISTENING_THREAD_H

#include <base/lookups.h>
#include <bonjour/bonjour_profile.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_mutex.h>

#include <QHostInfo>
#include <QList>
#include <QThread>

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>

#include <chrono>
#include <mutex>

namespace KD {

class BonjourGrabImageThread;

/**
 * Keeps the list of robots on the network up to date: starts the discovery, writes the address of
 * each announced host into its profile and requests the icon of each robot.
 *
 * @code
 * auto thread = KD::BonjourListeningThread::createBonjourListeningThread();
 * QObject::connect(thread.get(), &KD::BonjourListeningThread::exceptionCaught, ...);
 * thread->start();
 * @endcode
 *
 * The thread starts everything and ends; the discovery library's threads deliver the profiles, and
 * lookup answers arrive in the event loop of the thread that created this object. Discovery runs
 * until the last pointer is released or exit() is called. A program has one discovery, so there
 * should be only one such object at a time.
 */
class BonjourListeningThread : public QThread,
                               public boost::enable_shared_from_this<BonjourListeningThread> {
    Q_OBJECT

  public:
    /**
     * Creates the object; the only way to do so. Releasing the last pointer stops everything and
     * waits for the end.
     */
    static boost::shared_ptr<BonjourListeningThread> createBonjourListeningThread();

    /** Stops discovery, the icon thread and this thread; running lookups are abandoned. */
    ~BonjourListeningThread() override;

    /**
     * Stops discovery and the icon thread, then waits up to three seconds for this thread. May be
     * called at any time, even before the thread has started to run. The argument is ignored. Must
     * not be called from a handler of the discovery library's signals.
     */
    void exit(int);

    /**
     * Returns the broker "LightBonjourBroker", through which proxies to robots are created. It is
     * created on the first call and lives until the program ends. GUI thread only.
     *
     * @throws KVError if it cannot be created
     */
    static boost::shared_ptr<KVBroker> getLightBonjourBroker();

    /**
     * Handles a new or changed host: requests its icon, or looks up its address first. Called on a
     * thread of the discovery library, which holds the map lock.
     */
    void onAddProfile(boost::shared_ptr<KV::BonjourProfile> profile);

    /**
     * Handles the removal of a host: drops its lookup, if there is one. Called like onAddProfile().
     */
    void onRemoveProfile(boost::shared_ptr<KV::BonjourProfile> profile);

  Q_SIGNALS:
    /** Emitted on this thread when discovery could not be started, with a text for the user. */
    void exceptionCaught(QString);

    /**
     * Emitted when a robot that runs the middleware has an address and no icon yet. The map lock is
     * held, on a thread of the discovery library or on the one that created this object: connect it
     * queued.
     */
    void askForImage(QString IP, boost::shared_ptr<KV::BonjourProfile> profile);

  public Q_SLOTS:
    /** Assigns the first address of `host` that is not IPv6 to all waiting profiles of its name. */
    void lookedUp(const QHostInfo& host);

  protected:
    BonjourListeningThread();

    /** @throws boost::bad_weak_ptr if no shared pointer owns this object */
    void run() override;

  private:
    struct Link;
    using ProfileHandler = void (BonjourListeningThread::*)(boost::shared_ptr<KV::BonjourProfile>);

    static void xForward(const boost::shared_ptr<Link>& link, ProfileHandler handler,
                         const boost::shared_ptr<KV::BonjourProfile>& profile);

    bool xStartGrabbing();
    void xStopGrabbing();
    bool xWaitForEnd();
    void xConnectToDiscovery();
    void xStartListening();
    void xLookUp(const boost::shared_ptr<KV::BonjourProfile>& profile);
    bool xAwaitsLookUp(const boost::shared_ptr<KV::BonjourProfile>& profile) const;
    void xAskForMissingImage(const boost::shared_ptr<KV::BonjourProfile>& profile);

    QList<boost::shared_ptr<KV::BonjourProfile>> fProfilesToLookUp;
    boost::shared_ptr<KVMutex> fProfilesMutex;  // guards fProfilesToLookUp; after the map lock
    BonjourGrabImageThread* fGrabImageThread = nullptr;
    std::mutex fStateMutex;       // guards fGrabImageThread and fExitRequested
    bool fExitRequested = false;  // for a run() that has not ended yet
    boost::shared_ptr<Link> fLink;
    /** QHostInfo::lookupHost() refuses on threads without a Qt event loop, and it repeats an answer
     *  for a minute. A lookup without an answer takes seconds: so many do not hold up another one.
     *  Destroyed first, since it calls this object. */
    base::Lookups fLookUps{20, std::chrono::milliseconds(300)};

    static boost::shared_ptr<KVBroker> fLightBonjourBroker;
};

}  // namespace KD

#endif
