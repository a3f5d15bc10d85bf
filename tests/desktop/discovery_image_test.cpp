#include "bonjour_listening_thread.h"
#include "captured_stderr.h"
#include "discovery_profiles.h"
#include "http/http_download_object.h"
#include "image_grabber.h"
#include "process_figures.h"
#include "qt_test_main.h"
#include "scripted_http_server.h"

#include <QMetaMethod>
#include <QtTest>

using KD::BonjourListeningThread;
using KD::HttpDownloadObject;
using KD::ImageGrabber;
using obvista_test::answerCutAfter;
using obvista_test::answerThenSilence;
using obvista_test::answerWith;
using obvista_test::CapturedStderr;
using obvista_test::countDescriptors;
using obvista_test::iconOf;
using obvista_test::makeProfile;
using obvista_test::ProfilePointer;
using obvista_test::ScriptedAnswer;
using obvista_test::ScriptedHttpServer;

namespace {

const QString a_address = QStringLiteral("127.0.0.80");

struct Server : ScriptedHttpServer {
    explicit Server(QList<ScriptedAnswer> answers)
        : ScriptedHttpServer(std::move(answers), QHostAddress(a_address), 80) {}
};

int downloadsOf(const ImageGrabber& grabber) {
    return grabber.findChildren<HttpDownloadObject*>().size();
}

/** Returns a discovery thread whose icon thread receives requests; there is no daemon. */
boost::shared_ptr<BonjourListeningThread> startedThread() {
    auto thread = BonjourListeningThread::createBonjourListeningThread();
    thread->start();
    thread->wait();
    return thread;
}

}  // namespace

class DiscoveryImageTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase();
    void hasItsSlotsInOrder();
    void asksTheRobotUnderItsAddress();
    void storesTheIconAsItCame_data();
    void storesTheIconAsItCame();
    void startsNothingWithoutAnAddress();
    void storesNoIconFrom_data();
    void storesNoIconFrom();
    void asksAgainAfterAFailure();
    void ignoresADownloadThatItHasDisposedOf();
    void ignoresACallThatIsNoSignal();
    void aRobotWithoutAnswerHoldsUpNoOther();
    void dropsItsDownloadsWhenItGoes();
    void theThreadHearsARequestFromTheFirstMoment();
    void theThreadEndsWithDownloadsUnderWay();
};

void DiscoveryImageTest::initTestCase() {
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
}

void DiscoveryImageTest::hasItsSlotsInOrder() {
    const QMetaObject& meta = ImageGrabber::staticMetaObject;
    QCOMPARE(meta.className(), "KD::ImageGrabber");
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 2);
    const auto method = [&meta](int index) { return meta.method(meta.methodOffset() + index); };
    QCOMPARE(method(0).methodType(), QMetaMethod::Slot);
    QCOMPARE(method(0).methodSignature(),
             QByteArray("onAskForImage(QString,boost::shared_ptr<KV::BonjourProfile>)"));
    QCOMPARE(method(0).parameterNames(), (QList<QByteArray>{"IP", "profile"}));
    QCOMPARE(method(1).methodType(), QMetaMethod::Slot);
    QCOMPARE(method(1).methodSignature(), QByteArray("onDownloadFinished(bool)"));
    QCOMPARE(method(1).parameterNames(), QList<QByteArray>{"success"});
}

void DiscoveryImageTest::asksTheRobotUnderItsAddress() {
    const Server server({answerWith("200 OK", "icon")});
    ImageGrabber grabber;
    grabber.onAskForImage(a_address, makeProfile("robot.local"));
    QTRY_COMPARE(server.requests(), QList<QByteArray>{"GET //media/buddy.icon HTTP/1.1\r\n"
                                                      "Host: 127.0.0.80\r\n"
                                                      "Accept: */*\r\n\r\n"});
}

void DiscoveryImageTest::storesTheIconAsItCame_data() {
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("a picture") << QByteArray("\x89PNG\r\n\x1a\n", 8);
    QTest::newRow("no picture at all") << QByteArray("this is not a picture");
    QTest::newRow("one zero byte") << QByteArray(1, '\0');
    QTest::newRow("a big one") << QByteArray(1000000, 'i');
}

void DiscoveryImageTest::storesTheIconAsItCame() {
    QFETCH(QByteArray, body);
    const Server server({answerWith("200 OK", body)});
    const ProfilePointer profile = makeProfile("robot.local");
    ImageGrabber grabber;
    grabber.onAskForImage(a_address, profile);
    QCOMPARE(downloadsOf(grabber), 1);
    QTRY_VERIFY(profile->hasBitmapBinary());
    QCOMPARE(iconOf(profile), body);
    QTRY_COMPARE(downloadsOf(grabber), 0);
    QCOMPARE(profile.use_count(), 1L);
}

void DiscoveryImageTest::startsNothingWithoutAnAddress() {
    ImageGrabber grabber;
    grabber.onAskForImage(QString(), makeProfile("robot.local"));
    grabber.onAskForImage(QStringLiteral(""), makeProfile("robot.local"));
    QCOMPARE(downloadsOf(grabber), 0);
}

void DiscoveryImageTest::storesNoIconFrom_data() {
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("an empty body") << answerWith("200 OK", "").fBytes;
    QTest::newRow("a refused status") << answerWith("404 Not Found", "nothing here").fBytes;
    QTest::newRow("two answers cut short") << answerCutAfter("half an icon").fBytes;
    QTest::newRow("a body that is too big")
        << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 99999999\r\n\r\nicon");
}

void DiscoveryImageTest::storesNoIconFrom() {
    QFETCH(QByteArray, answer);
    ScriptedAnswer script;
    script.fBytes = answer;
    const Server server({script});
    const CapturedStderr errors;
    const ProfilePointer profile = makeProfile("robot.local");
    ImageGrabber grabber;
    grabber.onAskForImage(a_address, profile);
    QTRY_COMPARE(downloadsOf(grabber), 0);
    QVERIFY(!server.requests().isEmpty());
    QVERIFY(!profile->hasBitmapBinary());
    QCOMPARE(profile.use_count(), 1L);
}

void DiscoveryImageTest::asksAgainAfterAFailure() {
    const Server server({answerWith("404 Not Found", ""), answerWith("200 OK", "icon")});
    const ProfilePointer profile = makeProfile("robot.local");
    ImageGrabber grabber;
    grabber.onAskForImage(a_address, profile);
    QTRY_COMPARE(downloadsOf(grabber), 0);
    QVERIFY(!profile->hasBitmapBinary());
    grabber.onAskForImage(a_address, profile);
    QTRY_COMPARE(iconOf(profile), QByteArray("icon"));
}

void DiscoveryImageTest::ignoresADownloadThatItHasDisposedOf() {
    const Server server({answerWith("200 OK", "icon")});
    const ProfilePointer profile = makeProfile("robot.local");
    ImageGrabber grabber;
    grabber.onAskForImage(a_address, profile);
    auto* download = grabber.findChild<HttpDownloadObject*>();
    bool repeated = false;
    connect(download, &HttpDownloadObject::finished, this, [&](bool succeeded) {
        if (std::exchange(repeated, true)) {
            return;
        }
        // The grabber has stored the icon and dropped the download, which still exists.
        QCOMPARE(iconOf(profile), QByteArray("icon"));
        profile->setBitmapBinary(KVValue());
        download->fFile.reset();
        Q_EMIT download->finished(succeeded);
        QVERIFY(!profile->hasBitmapBinary());
    });
    QTRY_VERIFY(repeated);
    QTRY_COMPARE(downloadsOf(grabber), 0);
}

void DiscoveryImageTest::ignoresACallThatIsNoSignal() {
    ImageGrabber grabber;
    grabber.onDownloadFinished(true);
    QObject stranger;
    connect(&stranger, &QObject::objectNameChanged, &grabber,
            [&grabber] { grabber.onDownloadFinished(true); });
    stranger.setObjectName(QStringLiteral("stranger"));
    QCOMPARE(downloadsOf(grabber), 0);
}

void DiscoveryImageTest::aRobotWithoutAnswerHoldsUpNoOther() {
    constexpr int count = 40;
    const ScriptedHttpServer silent({answerThenSilence("")}, QHostAddress("127.0.0.81"), 80);
    const Server server({answerWith("200 OK", "icon")});
    ImageGrabber grabber;
    QList<ProfilePointer> profiles;
    for (int i = 0; i < count; ++i) {
        grabber.onAskForImage(QStringLiteral("127.0.0.81"), makeProfile("silent.local"));
        profiles.append(makeProfile("robot.local"));
        grabber.onAskForImage(a_address, profiles.last());
    }
    for (const ProfilePointer& profile : qAsConst(profiles)) {
        QTRY_COMPARE(iconOf(profile), QByteArray("icon"));
    }
    QTRY_COMPARE(downloadsOf(grabber), count);
}

void DiscoveryImageTest::dropsItsDownloadsWhenItGoes() {
    const Server server({answerThenSilence("HTTP/1.1 200 OK\r\n\r\npart")});
    const ProfilePointer profile = makeProfile("robot.local");
    const std::size_t descriptors = countDescriptors();
    auto grabber = std::make_unique<ImageGrabber>();
    grabber->onAskForImage(a_address, profile);
    QTRY_COMPARE(server.openConnections(), 1);
    grabber.reset();
    QTRY_COMPARE(server.openConnections(), 0);
    QTRY_VERIFY(countDescriptors() <= descriptors);
    QCOMPARE(profile.use_count(), 1L);
    QVERIFY(!profile->hasBitmapBinary());
}

void DiscoveryImageTest::theThreadHearsARequestFromTheFirstMoment() {
    const Server server({answerWith("200 OK", "icon")});
    for (int i = 0; i < 50; ++i) {
        const ProfilePointer profile = makeProfile("robot.local");
        const auto thread = BonjourListeningThread::createBonjourListeningThread();
        // Without a daemon this replaces listening: no announcement comes earlier.
        connect(
            thread.get(), &BonjourListeningThread::exceptionCaught, thread.get(),
            [&] { Q_EMIT thread->askForImage(a_address, profile); }, Qt::DirectConnection);
        thread->start();
        QTRY_COMPARE(iconOf(profile), QByteArray("icon"));
    }
}

void DiscoveryImageTest::theThreadEndsWithDownloadsUnderWay() {
    const Server server({answerThenSilence("HTTP/1.1 200 OK\r\n\r\npart")});
    const ProfilePointer profile = makeProfile("robot.local");
    auto thread = startedThread();
    Q_EMIT thread->askForImage(a_address, profile);
    Q_EMIT thread->askForImage(a_address, profile);
    QTRY_COMPARE(server.openConnections(), 2);
    thread.reset();
    QTRY_COMPARE(server.openConnections(), 0);
    QCOMPARE(profile.use_count(), 1L);
}

OBVISTA_QTEST_MAIN(DiscoveryImageTest)
#include "discovery_image_test.moc"
