#ifndef OBVISTA_DESKTOP_BONJOUR_LISTENING_THREAD_H
#define OBVISTA_DESKTOP_BONJOUR_LISTENING_THREAD_H

#include "host_look_ups.h"

#include <bonjour/bonjour_profile.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_mutex.h>

#include <QHostInfo>
#include <QList>
#include <QThread>

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>

#include <mutex>

namespace KD {

class BonjourGrabImageThread;

/**
 * Keeps the picture of the robots on the network up to date: starts the discovery, writes the
 * address of each announced host into its profile and asks for the icon of each robot.
 *
 * @code
 * auto thread = KD::BonjourListeningThread::createBonjourListeningThread();
 * QObject::connect(thread.get(), &KD::BonjourListeningThread::exceptionCaught, ...);
 * thread->start();
 * @endcode
 *
 * The thread only starts things and ends; the discovery library's threads deliver the profiles,
 * and the answers of the look-ups come on the thread that made this object, through its event loop.
 * Discovery runs until the last pointer goes or exit() is called. There is one discovery in a
 * program, so there should be one of these at a time.
 */
class BonjourListeningThread : public QThread,
                               public boost::enable_shared_from_this<BonjourListeningThread> {
    Q_OBJECT

  public:
    /** The one way to make it. Releasing the last pointer stops everything and waits for that. */
    static boost::shared_ptr<BonjourListeningThread> createBonjourListeningThread();

    /** Stops discovery, the icon thread and this thread; lookups under way are abandoned. */
    ~BonjourListeningThread() override;

    /**
     * Stops discovery and the icon thread, then waits up to three seconds for this thread. It may
     * come at any time, also before the thread has begun to run. The argument has no meaning.
     * Not to be called from a handler of the discovery library's signals.
     */
    void exit(int);

    /**
     * The broker "LightBonjourBroker", through which proxies to robots are made; it is made on the
     * first call and lives until the program ends. For the GUI thread.
     *
     * @throws KVError when it cannot be made
     */
    static boost::shared_ptr<KVBroker> getLightBonjourBroker();

    /**
     * A host appeared or changed: asks for its icon, or looks its address up first. Called on a
     * thread of the discovery library, which holds the map lock.
     */
    void onAddProfile(boost::shared_ptr<KV::BonjourProfile> profile);

    /** A host is gone: its look-up, if there is one, is forgotten. Called like onAddProfile(). */
    void onRemoveProfile(boost::shared_ptr<KV::BonjourProfile> profile);

  Q_SIGNALS:
    /** Discovery could not be started; emitted on this thread with a text for the user. */
    void exceptionCaught(QString);

    /**
     * A robot that runs the middleware has an address and no icon yet. Emitted while the map lock
     * is held, on a thread of the discovery library or on the one that made this object: connect
     * it queued.
     */
    void askForImage(QString IP, boost::shared_ptr<KV::BonjourProfile> profile);

  public Q_SLOTS:
    /** Gives the first address of `host` that is not IPv6 to all waiting profiles of its name. */
    void lookedUp(const QHostInfo& host);

  protected:
    BonjourListeningThread();

    /** @throws boost::bad_weak_ptr when no shared pointer owns this */
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
    std::mutex fStateMutex;       // guards fGrabImageThread and the next one
    bool fExitRequested = false;  // of a run() that has not ended yet
    boost::shared_ptr<Link> fLink;
    HostLookUps fLookUps;  // destroyed first: its answers come to this object

    static boost::shared_ptr<KVBroker> fLightBonjourBroker;
};

}  // namespace KD

#endif
