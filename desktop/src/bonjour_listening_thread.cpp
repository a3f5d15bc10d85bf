#include "bonjour_listening_thread.h"

#include "bonjour_grab_image_thread.h"

#include <bonjour/bonjour_discovery.h>

#include <QHostAddress>

#include <boost/bind/bind.hpp>
#include <boost/make_shared.hpp>

#include <algorithm>
#include <exception>
#include <utility>

namespace KD {

namespace {

constexpr unsigned long a_exitTimeOut = 3000;  // milliseconds
constexpr unsigned long a_exitStep = 100;      // milliseconds

QString toQString(const std::string& text) {
    return QString::fromLatin1(text.data(), static_cast<int>(text.size()));
}

QString firstIPv4Address(const QHostInfo& host) {
    if (host.error() != QHostInfo::NoError) {
        return QString();
    }
    const QList<QHostAddress> addresses = host.addresses();
    const auto found =
        std::find_if(addresses.begin(), addresses.end(), [](const QHostAddress& address) {
            return address.protocol() != QAbstractSocket::IPv6Protocol;
        });
    return found == addresses.end() ? QString() : found->toString();
}

}  // namespace

boost::shared_ptr<KVBroker> BonjourListeningThread::fLightBonjourBroker;

/**
 * Target of the discovery library's signals. The signals stay connected permanently, so they must
 * not refer to the object itself, which may be destroyed when they are emitted again.
 */
struct BonjourListeningThread::Link {
    std::mutex fMutex;
    BonjourListeningThread* fThread;
};

boost::shared_ptr<BonjourListeningThread> BonjourListeningThread::createBonjourListeningThread() {
    // run() and the icon thread hold a strong pointer for moments. If that were the last one, a
    // thread would destroy itself and wait for its own end. So they share a separate count
    // (shared_from_this() only knows the first pointer), and the pointers given out share a second
    // count whose end stops both threads before it releases the object.
    boost::shared_ptr<BonjourListeningThread> owner(new BonjourListeningThread);
    const auto stopAndRelease = [owner](BonjourListeningThread*) mutable {
        owner->exit(0);
        owner->wait();
        owner.reset();
    };
    return boost::shared_ptr<BonjourListeningThread>(owner.get(), stopAndRelease);
}

BonjourListeningThread::BonjourListeningThread()
    : fProfilesMutex(KVMutex::createKVMutex()), fLink(boost::make_shared<Link>()) {
    fLink->fThread = this;
}

BonjourListeningThread::~BonjourListeningThread() {
    exit(0);
    wait();
    const std::lock_guard<std::mutex> lock(fLink->fMutex);
    fLink->fThread = nullptr;
}

void BonjourListeningThread::exit(int) {
    {
        const std::lock_guard<std::mutex> lock(fStateMutex);
        fExitRequested = isRunning();
    }
    KV::BonjourDiscovery::stopListening();
    xStopGrabbing();
    if (xWaitForEnd()) {
        const std::lock_guard<std::mutex> lock(fStateMutex);
        fExitRequested = false;
    }
}

/** Waits up to a_exitTimeOut until run() has returned. */
bool BonjourListeningThread::xWaitForEnd() {
    for (unsigned long waited = 0; waited < a_exitTimeOut; waited += a_exitStep) {
        if (wait(a_exitStep)) {
            return true;
        }
        // run() may have started listening since, and would block there if the daemon hangs.
        KV::BonjourDiscovery::stopListening();
    }
    return false;
}

boost::shared_ptr<KVBroker> BonjourListeningThread::getLightBonjourBroker() {
    if (!fLightBonjourBroker) {
        fLightBonjourBroker = KVBroker::createBroker("LightBonjourBroker", std::string(), 0,
                                                     std::string(), 0, 19, std::string(), false);
    }
    return fLightBonjourBroker;
}

void BonjourListeningThread::run() {
    if (!xStartGrabbing()) {
        return;
    }
    xConnectToDiscovery();
    xStartListening();
}

/** Returns true if the icon thread now receives requests; false if exit() was called before. */
bool BonjourListeningThread::xStartGrabbing() {
    const boost::shared_ptr<BonjourListeningThread> self = shared_from_this();
    std::shared_future<void> connected;
    {
        const std::lock_guard<std::mutex> lock(fStateMutex);
        if (fExitRequested) {
            return false;
        }
        fGrabImageThread = new BonjourGrabImageThread(self);
        fGrabImageThread->start();
        connected = fGrabImageThread->connected();
    }
    // A request emitted before the icon thread is connected would be lost.
    connected.wait();
    return true;
}

void BonjourListeningThread::xStopGrabbing() {
    BonjourGrabImageThread* thread = nullptr;
    {
        const std::lock_guard<std::mutex> lock(fStateMutex);
        thread = std::exchange(fGrabImageThread, nullptr);
    }
    if (thread != nullptr) {
        thread->exit(0);
        delete thread;
    }
}

void BonjourListeningThread::xConnectToDiscovery() {
    using boost::placeholders::_1;
    KV::BonjourDiscovery::fAddProfile.connect(boost::bind(
        &BonjourListeningThread::xForward, fLink, &BonjourListeningThread::onAddProfile, _1));
    KV::BonjourDiscovery::fRemoveProfile.connect(boost::bind(
        &BonjourListeningThread::xForward, fLink, &BonjourListeningThread::onRemoveProfile, _1));
}

void BonjourListeningThread::xForward(const boost::shared_ptr<Link>& link, ProfileHandler handler,
                                      const boost::shared_ptr<KV::BonjourProfile>& profile) {
    const std::lock_guard<std::mutex> lock(link->fMutex);
    if (link->fThread != nullptr) {
        (link->fThread->*handler)(profile);
    }
}

void BonjourListeningThread::xStartListening() {
    try {
        KV::BonjourDiscovery::startListening();
    } catch (const std::exception& exception) {
        Q_EMIT exceptionCaught(QString::fromLatin1(exception.what()));
        return;
    }
    const std::lock_guard<std::mutex> lock(fStateMutex);
    if (fExitRequested) {
        // exit() stopped listening before it was started.
        KV::BonjourDiscovery::stopListening();
    }
}

// The parameters of the two handlers are those of the library's signals.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void BonjourListeningThread::onAddProfile(boost::shared_ptr<KV::BonjourProfile> profile) {
    if (!profile) {
        return;
    }
    if (!profile->fIP.empty()) {
        xAskForMissingImage(profile);
        return;
    }
    const KVCriticalSection lock(fProfilesMutex);
    if (!fProfilesToLookUp.contains(profile)) {
        fProfilesToLookUp.append(profile);
        xLookUp(profile);
    }
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
void BonjourListeningThread::onRemoveProfile(boost::shared_ptr<KV::BonjourProfile> profile) {
    const KVCriticalSection lock(fProfilesMutex);
    fProfilesToLookUp.removeAll(profile);
}

void BonjourListeningThread::lookedUp(const QHostInfo& host) {
    const QString hostName = host.hostName();
    const std::string address = firstIPv4Address(host).toStdString();
    const KVCriticalSectionWrite mapLock(KV::BonjourDiscovery::fRobaxsMapMutex);
    const KVCriticalSection lock(fProfilesMutex);
    for (auto entry = fProfilesToLookUp.begin(); entry != fProfilesToLookUp.end();) {
        const boost::shared_ptr<KV::BonjourProfile> profile = *entry;
        if (toQString(profile->fHostName).compare(hostName, Qt::CaseInsensitive) != 0) {
            ++entry;
            continue;
        }
        if (!address.empty()) {
            profile->fIP = address;
            xAskForMissingImage(profile);
        }
        entry = fProfilesToLookUp.erase(entry);
    }
}

void BonjourListeningThread::xLookUp(const boost::shared_ptr<KV::BonjourProfile>& profile) {
    const QString hostName = toQString(profile->fHostName);
    fLookUps.start([this, profile, hostName]() -> base::Lookups::Answer {
        const QHostInfo host = QHostInfo::fromName(hostName);
        return [this, profile, host] {
            const auto deliver = [this, profile, host] {
                // The answer for a host that is gone must not be used for its successor.
                if (xAwaitsLookUp(profile)) {
                    lookedUp(host);
                }
            };
            QMetaObject::invokeMethod(this, deliver, Qt::QueuedConnection);
        };
    });
}

bool BonjourListeningThread::xAwaitsLookUp(
    const boost::shared_ptr<KV::BonjourProfile>& profile) const {
    const KVCriticalSection lock(fProfilesMutex);
    return fProfilesToLookUp.contains(profile);
}

/** Requires the map lock or the only reference to the profile. */
void BonjourListeningThread::xAskForMissingImage(
    const boost::shared_ptr<KV::BonjourProfile>& profile) {
    if (!profile->hasBitmapBinary() &&
        profile->hasService(KV::BonjourDiscovery::fRobaxiServiceType) &&
        profile->hasService(KV::BonjourDiscovery::fRobaxServiceType)) {
        Q_EMIT askForImage(toQString(profile->fIP), profile);
    }
}

}  // namespace KD
