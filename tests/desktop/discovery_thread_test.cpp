#include "bonjour_grab_image_thread.h"
#include "bonjour_listening_thread.h"
#include "discovery_profiles.h"
#include "discovery_resolver.h"
#include "process_figures.h"
#include "qt_test_main.h"

#include <QHostAddress>
#include <QMetaMethod>
#include <QtTest>

#include <boost/smart_ptr/bad_weak_ptr.hpp>

#include <chrono>
#include <memory>
#include <thread>

using KD::BonjourListeningThread;
using KV::BonjourDiscovery;
using obvista_test::addressOf;
using obvista_test::countDescriptors;
using obvista_test::makeProfile;
using obvista_test::ProfilePointer;
namespace resolver = obvista_test::resolver;

namespace {

/** Emits like the discovery library: on a thread unknown to Qt, with the map lock held. */
void fire(const BonjourDiscovery::ProfileSignal& signal, const ProfilePointer& profile) {
    std::thread([&] {
        const KVCriticalSectionWrite lock(BonjourDiscovery::fRobaxsMapMutex);
        signal(profile);
    }).join();
}

void announce(const ProfilePointer& profile) {
    fire(BonjourDiscovery::fAddProfile, profile);
}

void withdraw(const ProfilePointer& profile) {
    fire(BonjourDiscovery::fRemoveProfile, profile);
}

QHostInfo answer(const QString& hostName, const QStringList& addresses) {
    QHostInfo info;
    info.setHostName(hostName);
    QList<QHostAddress> list;
    for (const QString& address : addresses) {
        list.append(QHostAddress(address));
    }
    info.setAddresses(list);
    return info;
}

/** A discovery thread and its signals, received on the thread of the test. */
class Listener {
  public:
    Listener() {
        QObject::connect(fThread.get(), &BonjourListeningThread::exceptionCaught, &fContext,
                         [this](const QString& message) { fExceptions.append(message); });
        QObject::connect(fThread.get(), &BonjourListeningThread::askForImage, &fContext,
                         [this](const QString& ip, const ProfilePointer& profile) {
                             fRequests.append({ip, profile});
                         });
    }

    /**
     * Starts the thread, which connects to the library's signals. Without a daemon its attempt to
     * listen fails; the signals stay connected.
     */
    bool start() {
        const int before = fExceptions.size();
        fThread->start();
        return obvista_test::waitFor([&] { return fExceptions.size() > before; }) &&
               fThread->wait(obvista_test::a_qtPatience);
    }

    /** Processes all events queued on this thread. */
    static void settle() {
        bool settled = false;
        QTimer::singleShot(0, [&settled] { settled = true; });
        QTRY_VERIFY(settled);
    }

    boost::shared_ptr<BonjourListeningThread> fThread =
        BonjourListeningThread::createBonjourListeningThread();
    QStringList fExceptions;
    QList<QPair<QString, ProfilePointer>> fRequests;

  private:
    QObject fContext;
};

/** Makes the constructor accessible. */
class UnownedThread : public BonjourListeningThread {
  public:
    using BonjourListeningThread::run;
};

int threadsOfThisProcess() {
    return QDir(QStringLiteral("/proc/self/task"))
        .entryList(QDir::Dirs | QDir::NoDotAndDotDot)
        .size();
}

}  // namespace

class DiscoveryThreadTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase();
    void hasItsMetaMethodsInOrder();
    void saysWhyDiscoveryCannotStart();
    void throwsWhenNoSharedPointerOwnsIt();
    void resolvesAnAnnouncedRobotAndAsksForItsIcon();
    void ignoresANullProfile();
    void looksAProfileUpOnceHoweverOftenItIsAdded();
    void looksUpAgainAfterAFailure();
    void forgetsAProfileThatIsRemovedBeforeTheAnswer();
    void doesNotTakeTheAnswerForAPredecessor();
    void servesAllProfilesOfAHostNameInOneAnswer();
    void matchesHostNamesWithoutCase();
    void leavesProfilesOfOtherHostNamesWaiting();
    void takesTheFirstAddressThatIsNotIPv6_data();
    void takesTheFirstAddressThatIsNotIPv6();
    void asksOnlyForTheIconsOf_data();
    void asksOnlyForTheIconsOf();
    void manyLookUpsWithoutAnswerDoNotHoldUpOthers();
    void registersTheProfilesType();
    void leavesItsSignalsConnectedWithoutHarm();
    void exitMayComeAtAnyTime();
    void startsAgainAfterExit();
    void mayBeReleasedAtAnyTime();
    void stopsWhenTheLastPointerGivenOutGoes();
    void doesNotWaitForALookUpWithoutAnAnswer();
    void sharesOneLightBroker();
};

void DiscoveryThreadTest::initTestCase() {
    QVERIFY2(qgetenv("DBUS_SYSTEM_BUS_ADDRESS").contains("nonexistent"),
             "these tests rely on there being no daemon");
}

void DiscoveryThreadTest::hasItsMetaMethodsInOrder() {
    const QMetaObject& meta = BonjourListeningThread::staticMetaObject;
    QCOMPARE(meta.className(), "KD::BonjourListeningThread");
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 3);
    const auto method = [&meta](int index) { return meta.method(meta.methodOffset() + index); };
    QCOMPARE(method(0).methodType(), QMetaMethod::Signal);
    QCOMPARE(method(0).methodSignature(), QByteArray("exceptionCaught(QString)"));
    QCOMPARE(method(0).parameterNames(), QList<QByteArray>{""});
    QCOMPARE(method(1).methodType(), QMetaMethod::Signal);
    QCOMPARE(method(1).methodSignature(),
             QByteArray("askForImage(QString,boost::shared_ptr<KV::BonjourProfile>)"));
    QCOMPARE(method(1).parameterNames(), (QList<QByteArray>{"IP", "profile"}));
    QCOMPARE(method(2).methodType(), QMetaMethod::Slot);
    QCOMPARE(method(2).methodSignature(), QByteArray("lookedUp(QHostInfo)"));
    QCOMPARE(method(2).parameterNames(), QList<QByteArray>{"host"});

    const QMetaObject& grabMeta = KD::BonjourGrabImageThread::staticMetaObject;
    QCOMPARE(grabMeta.className(), "KD::BonjourGrabImageThread");
    QCOMPARE(grabMeta.methodCount(), grabMeta.methodOffset());
}

void DiscoveryThreadTest::saysWhyDiscoveryCannotStart() {
    Listener listener;
    QVERIFY(listener.start());
    QCOMPARE(listener.fExceptions.size(), 1);
    QVERIFY2(listener.fExceptions.first().contains(QLatin1String("bus")),
             qPrintable(listener.fExceptions.first()));
}

void DiscoveryThreadTest::throwsWhenNoSharedPointerOwnsIt() {
    UnownedThread thread;
    QVERIFY_EXCEPTION_THROWN(thread.run(), boost::bad_weak_ptr);
}

void DiscoveryThreadTest::resolvesAnAnnouncedRobotAndAsksForItsIcon() {
    Listener listener;
    QVERIFY(listener.start());
    const ProfilePointer profile = makeProfile("localhost");
    announce(profile);
    QTRY_COMPARE(addressOf(profile), std::string("127.0.0.1"));
    QTRY_COMPARE(listener.fRequests.size(), 1);
    QCOMPARE(listener.fRequests.first().first, QStringLiteral("127.0.0.1"));
    QCOMPARE(listener.fRequests.first().second, profile);
}

void DiscoveryThreadTest::ignoresANullProfile() {
    Listener listener;
    QVERIFY(listener.start());
    announce(ProfilePointer());
    withdraw(ProfilePointer());
    Listener::settle();
    QVERIFY(listener.fRequests.isEmpty());
}

void DiscoveryThreadTest::looksAProfileUpOnceHoweverOftenItIsAdded() {
    Listener listener;
    QVERIFY(listener.start());
    const ProfilePointer profile = makeProfile("localhost");
    const int before = resolver::lookUps("localhost");
    {
        const resolver::Hold hold;
        announce(profile);
        announce(profile);
        announce(profile);
        QTRY_VERIFY(resolver::areHeld(1));
    }
    QTRY_COMPARE(listener.fRequests.size(), 1);
    QCOMPARE(resolver::lookUps("localhost"), before + 1);
}

void DiscoveryThreadTest::looksUpAgainAfterAFailure() {
    Listener listener;
    QVERIFY(listener.start());
    const ProfilePointer profile = makeProfile("robot.invalid");
    // While a lookup is outstanding, another announcement does not start a second one.
    const auto announcedAgain = [&profile] {
        announce(profile);
        return resolver::lookUps("robot.invalid") >= 2;
    };
    QTRY_VERIFY(announcedAgain());
    QCOMPARE(addressOf(profile), std::string());
    QVERIFY(listener.fRequests.isEmpty());
}

void DiscoveryThreadTest::forgetsAProfileThatIsRemovedBeforeTheAnswer() {
    Listener listener;
    QVERIFY(listener.start());
    const ProfilePointer gone = makeProfile("localhost");
    const ProfilePointer stays = makeProfile("localhost");
    {
        const resolver::Hold hold;
        announce(gone);
        announce(stays);
        QTRY_VERIFY(resolver::areHeld(2));
        withdraw(gone);
    }
    QTRY_COMPARE(listener.fRequests.size(), 1);
    QCOMPARE(listener.fRequests.first().second, stays);
    QCOMPARE(addressOf(gone), std::string());
}

void DiscoveryThreadTest::doesNotTakeTheAnswerForAPredecessor() {
    Listener listener;
    QVERIFY(listener.start());
    const ProfilePointer before = makeProfile("localhost");
    const ProfilePointer after = makeProfile("localhost");
    resolver::Hold hold;
    announce(before);
    QTRY_VERIFY(resolver::areHeld(1));
    withdraw(before);
    announce(after);
    QTRY_VERIFY(resolver::areHeld(2));
    hold.releaseOne();
    QTRY_VERIFY(resolver::areHeld(1));
    Listener::settle();
    QCOMPARE(addressOf(after), std::string());
    hold.releaseOne();
    QTRY_COMPARE(addressOf(after), std::string("127.0.0.1"));
}

void DiscoveryThreadTest::servesAllProfilesOfAHostNameInOneAnswer() {
    Listener listener;
    QVERIFY(listener.start());
    const ProfilePointer first = makeProfile("robot.invalid");
    const ProfilePointer second = makeProfile("robot.invalid");
    const resolver::Hold hold;
    announce(first);
    announce(second);
    listener.fThread->lookedUp(answer(QStringLiteral("robot.invalid"), {"127.0.0.7"}));
    QCOMPARE(addressOf(first), std::string("127.0.0.7"));
    QCOMPARE(addressOf(second), std::string("127.0.0.7"));
    QCOMPARE(listener.fRequests.size(), 2);
    // Nothing is waiting: another answer has no effect.
    listener.fThread->lookedUp(answer(QStringLiteral("robot.invalid"), {"127.0.0.8"}));
    QCOMPARE(addressOf(first), std::string("127.0.0.7"));
}

void DiscoveryThreadTest::matchesHostNamesWithoutCase() {
    Listener listener;
    QVERIFY(listener.start());
    const ProfilePointer profile = makeProfile("Robot.INVALID");
    const resolver::Hold hold;
    announce(profile);
    listener.fThread->lookedUp(answer(QStringLiteral("rOBOT.invalid"), {"127.0.0.7"}));
    QCOMPARE(addressOf(profile), std::string("127.0.0.7"));
}

void DiscoveryThreadTest::leavesProfilesOfOtherHostNamesWaiting() {
    Listener listener;
    QVERIFY(listener.start());
    const ProfilePointer profile = makeProfile("robot.invalid");
    const resolver::Hold hold;
    announce(profile);
    listener.fThread->lookedUp(answer(QStringLiteral("robot"), {"127.0.0.8"}));
    QCOMPARE(addressOf(profile), std::string());
    listener.fThread->lookedUp(answer(QStringLiteral("robot.invalid"), {"127.0.0.7"}));
    QCOMPARE(addressOf(profile), std::string("127.0.0.7"));
}

void DiscoveryThreadTest::takesTheFirstAddressThatIsNotIPv6_data() {
    QTest::addColumn<QStringList>("addresses");
    QTest::addColumn<bool>("failed");
    QTest::addColumn<QString>("chosen");
    const QStringList mixed{"fe80::1", "127.0.0.7", "127.0.0.8"};
    QTest::newRow("IPv6 and IPv4") << mixed << false << "127.0.0.7";
    QTest::newRow("IPv6 only") << QStringList{"fe80::1", "::1"} << false << "";
    QTest::newRow("no address") << QStringList{} << false << "";
    QTest::newRow("an error") << mixed << true << "";
}

void DiscoveryThreadTest::takesTheFirstAddressThatIsNotIPv6() {
    QFETCH(QStringList, addresses);
    QFETCH(bool, failed);
    QFETCH(QString, chosen);
    Listener listener;
    QVERIFY(listener.start());
    const ProfilePointer profile = makeProfile("robot.invalid");
    const resolver::Hold hold;
    announce(profile);
    QHostInfo info = answer(QStringLiteral("robot.invalid"), addresses);
    info.setError(failed ? QHostInfo::HostNotFound : QHostInfo::NoError);
    listener.fThread->lookedUp(info);
    QCOMPARE(addressOf(profile), chosen.toStdString());
    QCOMPARE(listener.fRequests.size(), chosen.isEmpty() ? 0 : 1);
    // Failed or not, it was the answer: the profile no longer waits.
    listener.fThread->lookedUp(answer(QStringLiteral("robot.invalid"), {"127.0.0.9"}));
    QCOMPARE(addressOf(profile), chosen.toStdString());
}

void DiscoveryThreadTest::asksOnlyForTheIconsOf_data() {
    QTest::addColumn<QStringList>("types");
    QTest::addColumn<bool>("hasIcon");
    QTest::addColumn<int>("requests");
    const QString robot = QString::fromStdString(BonjourDiscovery::fRobaxServiceType);
    const QString middleware = QString::fromStdString(BonjourDiscovery::fRobaxiServiceType);
    QTest::newRow("a robot with middleware") << QStringList{robot, middleware} << false << 1;
    QTest::newRow("its services the other way round")
        << QStringList{middleware, robot} << false << 1;
    QTest::newRow("a robot that has its icon") << QStringList{robot, middleware} << true << 0;
    QTest::newRow("a robot without middleware") << QStringList{robot} << false << 0;
    QTest::newRow("a computer") << QStringList{middleware} << false << 0;
    QTest::newRow("a host without services") << QStringList{} << false << 0;
}

void DiscoveryThreadTest::asksOnlyForTheIconsOf() {
    QFETCH(QStringList, types);
    QFETCH(bool, hasIcon);
    QFETCH(int, requests);
    std::vector<std::string> serviceTypes;
    for (const QString& type : types) {
        serviceTypes.push_back(type.toStdString());
    }
    KVValue icon;
    icon.SetBinary("icon", 4);
    const ProfilePointer known = makeProfile("robot.invalid", "127.0.0.7", serviceTypes);
    const ProfilePointer unknown = makeProfile("robot.invalid", "", serviceTypes);
    if (hasIcon) {
        known->setBitmapBinary(icon);
        unknown->setBitmapBinary(icon);
    }
    Listener listener;
    QVERIFY(listener.start());
    const int lookUps = resolver::lookUps("robot.invalid");
    announce(known);
    Listener::settle();
    QCOMPARE(listener.fRequests.size(), requests);
    QCOMPARE(resolver::lookUps("robot.invalid"), lookUps);

    const resolver::Hold hold;
    announce(unknown);
    listener.fThread->lookedUp(answer(QStringLiteral("robot.invalid"), {"127.0.0.7"}));
    QCOMPARE(addressOf(unknown), std::string("127.0.0.7"));
    QCOMPARE(listener.fRequests.size(), 2 * requests);
}

void DiscoveryThreadTest::manyLookUpsWithoutAnswerDoNotHoldUpOthers() {
    Listener listener;
    QVERIFY(listener.start());
    resolver::Hold hold;
    for (int i = 0; i < 19; ++i) {
        announce(makeProfile("silent" + std::to_string(i) + ".invalid"));
    }
    QTRY_VERIFY(resolver::areHeld(19));
    const ProfilePointer profile = makeProfile("localhost");
    announce(profile);
    QTRY_VERIFY(resolver::areHeld(20));
}

void DiscoveryThreadTest::registersTheProfilesType() {
    Listener listener;
    QVERIFY(listener.start());
    QVERIFY(QMetaType::type("boost::shared_ptr<KV::BonjourProfile>") != QMetaType::UnknownType);
}

void DiscoveryThreadTest::leavesItsSignalsConnectedWithoutHarm() {
    const int lookUps = resolver::lookUps("localhost");
    { const Listener gone; }
    announce(makeProfile("localhost"));
    QCOMPARE(resolver::lookUps("localhost"), lookUps);

    Listener listener;
    QVERIFY(listener.start());
    announce(makeProfile("localhost"));
    QTRY_COMPARE(listener.fRequests.size(), 1);
    Listener::settle();
    QCOMPARE(listener.fRequests.size(), 1);
    QCOMPARE(resolver::lookUps("localhost"), lookUps + 1);
}

void DiscoveryThreadTest::exitMayComeAtAnyTime() {
    BonjourListeningThread::createBonjourListeningThread()->exit(0);
    for (int i = 0; i < 300; ++i) {
        const auto thread = BonjourListeningThread::createBonjourListeningThread();
        thread->start();
        std::this_thread::sleep_for(std::chrono::microseconds(i));
        thread->exit(0);
        QVERIFY(thread->isFinished());
        QCOMPARE(thread->findChildren<QThread*>().size(), 0);
    }
}

void DiscoveryThreadTest::startsAgainAfterExit() {
    Listener listener;
    listener.fThread->exit(0);
    QVERIFY(listener.start());
    listener.fThread->exit(0);
    QVERIFY(listener.start());
    QCOMPARE(listener.fExceptions.size(), 2);
}

void DiscoveryThreadTest::mayBeReleasedAtAnyTime() {
    const auto startAndRelease = [](int delay) {
        const auto thread = BonjourListeningThread::createBonjourListeningThread();
        thread->start();
        std::this_thread::sleep_for(std::chrono::microseconds(delay));
    };
    startAndRelease(0);  // opens resources that are kept
    const int threads = threadsOfThisProcess();
    const std::size_t descriptors = countDescriptors();
    for (int i = 0; i < 300; ++i) {
        startAndRelease(i);
    }
    QTRY_VERIFY(threadsOfThisProcess() <= threads);
    QTRY_VERIFY(countDescriptors() <= descriptors);
}

void DiscoveryThreadTest::stopsWhenTheLastPointerGivenOutGoes() {
    auto thread = BonjourListeningThread::createBonjourListeningThread();
    thread->start();
    // The two threads hold these pointers for moments, the test holds them for longer.
    auto inside = thread->shared_from_this();
    thread.reset();
    QVERIFY(inside->isFinished());
    // There is nothing left to wait for, so any thread may now release the last pointer.
    std::thread([last = std::move(inside)]() mutable { last.reset(); }).join();
}

void DiscoveryThreadTest::doesNotWaitForALookUpWithoutAnAnswer() {
    const int threads = threadsOfThisProcess();
    {
        auto listener = std::make_unique<Listener>();
        QVERIFY(listener->start());
        const resolver::Hold hold;
        const ProfilePointer profile = makeProfile("localhost");
        announce(profile);
        QTRY_VERIFY(resolver::areHeld(1));
        // If it waited for the lookup, it would wait for good.
        listener.reset();
        QVERIFY(resolver::areHeld(1));
        QCOMPARE(addressOf(profile), std::string());
    }
    // There is no receiver for the answer.
    QTRY_VERIFY(threadsOfThisProcess() <= threads);
}

void DiscoveryThreadTest::sharesOneLightBroker() {
    const boost::shared_ptr<KVBroker> broker = BonjourListeningThread::getLightBonjourBroker();
    QVERIFY(broker);
    QCOMPARE(broker->getName(), std::string("LightBonjourBroker"));
    QVERIFY(!broker->isListening());
    QCOMPARE(BonjourListeningThread::getLightBonjourBroker(), broker);
}

OBVISTA_QTEST_MAIN(DiscoveryThreadTest)
#include "discovery_thread_test.moc"
