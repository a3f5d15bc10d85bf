#include "http/http_download_object.h"

#include "captured_stderr.h"
#include "http/qhttp.h"
#include "process_figures.h"
#include "qt_test_main.h"
#include "scripted_http_server.h"

#include <QMetaMethod>
#include <QSignalSpy>
#include <QtTest>

using KD::HttpDownloadObject;
using obvista_test::answerCutAfter;
using obvista_test::answerThenSilence;
using obvista_test::answerWith;
using obvista_test::CapturedStderr;
using obvista_test::countDescriptors;
using obvista_test::ScriptedAnswer;
using obvista_test::ScriptedHttpServer;

namespace {

const QString a_address = QStringLiteral("127.0.0.80");
const QString a_url = QStringLiteral("http://127.0.0.80//media/buddy.icon");
constexpr quint16 a_port = 80;

/** The server for the download object, whose port is always 80. */
struct Server : ScriptedHttpServer {
    explicit Server(QList<ScriptedAnswer> answers)
        : ScriptedHttpServer(std::move(answers), QHostAddress(a_address), a_port) {}
};

/** A download and its signals. */
struct Download {
    explicit Download(const QString& url = a_url)
        : fObject(std::make_unique<HttpDownloadObject>(url, nullptr)),
          fFinished(fObject.get(), &HttpDownloadObject::finished) {}

    QHttp* http() const { return fObject->findChild<QHttp*>(); }

    /** Returns true if it ended in time and emitted one signal. */
    bool ends(bool succeeded) {
        return obvista_test::waitFor([this] { return !fFinished.isEmpty(); }) &&
               fFinished == QList<QList<QVariant>>{{succeeded}};
    }

    /** Returns the whole content of the file, independent of its position. */
    QByteArray stored() const {
        QFile file(fObject->fFile.fileName());
        fObject->fFile.flush();
        file.open(QIODevice::ReadOnly);
        return file.readAll();
    }

    std::unique_ptr<HttpDownloadObject> fObject;
    QSignalSpy fFinished;
};

QString failureLine(const QString& url, const QString& error, const QString& consequence) {
    return QStringLiteral("Unable to download the file ") + url + QStringLiteral(" : ") + error +
           consequence + QLatin1Char('\n');
}

}  // namespace

class HttpDownloadObjectTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void hasItsMetaMethodsInOrder();
    void storesTheBody();
    void keepsTheBodyOf_data();
    void keepsTheBodyOf();
    void refuses_data();
    void refuses();
    void asksPort80ForThePathAlone();
    void retriesOnceAfterARefusedConnection();
    void keepsBothAttemptsOneAfterTheOther();
    void succeedsWithoutABodyAfterTwoRefusedConnections();
    void keepsBothAttemptsAndDoesNotRewindAfterTwoCuts();
    void retriesWhenTheTimeIsUp();
    void keepsACompressedBodyAsItIs();
    void takesABodyOfTheGreatestSize();
    void refusesABodyThatIsAnnouncedTooGreat();
    void refusesABodyThatBecomesTooGreat();
    void refusesABodyWithoutEnd();
    void cancelInTheTransferEndsItOnce();
    void cancelAtOnceEndsItOnce();
    void cancelBeforeTheRetryEndsItOnce();
    void cancelAfterTheEndDoesNothing();
    void saysWhenThereIsNoTemporaryFile();
    void removesTheTemporaryFile();
    void closesTheConnectionWhenDeleted();
    void mayBeDisposedOfFromItsSignal();
    void runsManyAtOnce();
};

void HttpDownloadObjectTest::hasItsMetaMethodsInOrder() {
    const QMetaObject& meta = HttpDownloadObject::staticMetaObject;
    QCOMPARE(meta.className(), "KD::HttpDownloadObject");
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 3);
    const auto method = [&meta](int index) { return meta.method(meta.methodOffset() + index); };
    QCOMPARE(method(0).methodType(), QMetaMethod::Signal);
    QCOMPARE(method(0).methodSignature(), QByteArray("finished(bool)"));
    QCOMPARE(method(0).parameterNames(), QList<QByteArray>{"succeeded"});
    QCOMPARE(method(1).methodType(), QMetaMethod::Slot);
    QCOMPARE(method(1).access(), QMetaMethod::Private);
    QCOMPARE(method(1).methodSignature(), QByteArray("httpRequestFinished(int,bool)"));
    QCOMPARE(method(1).parameterNames(), (QList<QByteArray>{"commandId", "error"}));
    QCOMPARE(method(2).methodType(), QMetaMethod::Slot);
    QCOMPARE(method(2).access(), QMetaMethod::Private);
    QCOMPARE(method(2).methodSignature(),
             QMetaObject::normalizedSignature("readResponseHeader(const QHttpResponseHeader&)"));
    QCOMPARE(method(2).parameterNames(), QList<QByteArray>{"responseHeader"});
}

void HttpDownloadObjectTest::storesTheBody() {
    const Server server({answerWith("200 OK", "icon")});
    CapturedStderr errors;
    Download download;
    QVERIFY(download.fFinished.isEmpty());
    QVERIFY(download.ends(true));
    QVERIFY(download.fObject->fFile.isOpen());
    QCOMPARE(download.fObject->fFile.pos(), qint64{0});
    QCOMPARE(download.fObject->fFile.readAll(), QByteArray("icon"));
    QVERIFY(download.fObject->fFile.isWritable());
    QCOMPARE(errors.take(), QString());
    QVERIFY(server.requests().value(0).startsWith("GET //media/buddy.icon HTTP/1.1\r\n"));
}

void HttpDownloadObjectTest::keepsTheBodyOf_data() {
    QTest::addColumn<QByteArray>("status");
    for (const char* status :
         {"301 Moved Permanently", "302 Found", "303 See Other", "307 Temporary Redirect"}) {
        QTest::newRow(status) << QByteArray(status);
    }
}

void HttpDownloadObjectTest::keepsTheBodyOf() {
    QFETCH(QByteArray, status);
    const Server server({answerWith(status, "moved", "Location: http://127.0.0.80/other\r\n")});
    Download download;
    QVERIFY(download.ends(true));
    QCOMPARE(download.fObject->fFile.readAll(), QByteArray("moved"));
    QCOMPARE(server.requests().size(), 1);
}

void HttpDownloadObjectTest::refuses_data() {
    QTest::addColumn<QByteArray>("status");
    for (const char* status : {"201 Created", "204 No Content", "206 Partial Content",
                               "304 Not Modified", "308 Permanent Redirect", "401 Unauthorized",
                               "404 Not Found", "500 Internal Server Error"}) {
        QTest::newRow(status) << QByteArray(status);
    }
}

void HttpDownloadObjectTest::refuses() {
    QFETCH(QByteArray, status);
    const Server server({answerWith(status, "unwanted"), answerWith("200 OK", "icon")});
    CapturedStderr errors;
    Download download;
    QVERIFY(download.ends(false));
    QVERIFY(!download.fObject->fFile.isOpen());
    QTRY_COMPARE(server.openConnections(), 0);
    QCOMPARE(server.requests().size(), 1);
    QCOMPARE(download.fFinished.size(), 1);
    QCOMPARE(download.stored(), QByteArray());
    QCOMPARE(errors.take(), QString());
}

void HttpDownloadObjectTest::asksPort80ForThePathAlone() {
    const Server server({answerWith("200 OK", "icon")});
    Download download(QStringLiteral("http://user@127.0.0.80:8080/a//b.png?query=1#fragment"));
    QVERIFY(download.ends(true));
    QCOMPARE(server.requests(), QList<QByteArray>{"GET /a//b.png HTTP/1.1\r\n"
                                                  "Host: 127.0.0.80\r\n"
                                                  "Accept: */*\r\n\r\n"});
}

void HttpDownloadObjectTest::retriesOnceAfterARefusedConnection() {
    std::unique_ptr<Server> server;
    QString error;
    CapturedStderr errors;
    Download download;
    connect(download.http(), &QHttp::requestFinished, this, [&](int, bool failed) {
        if (failed && !server) {
            error = download.http()->errorString();
            server = std::make_unique<Server>(QList<ScriptedAnswer>{answerWith("200 OK", "icon")});
        }
    });
    QVERIFY(download.ends(true));
    QCOMPARE(download.fObject->fFile.readAll(), QByteArray("icon"));
    QVERIFY(!error.isEmpty());
    QCOMPARE(errors.take(), failureLine(a_url, error, QStringLiteral(", but let's retry.")));
}

void HttpDownloadObjectTest::keepsBothAttemptsOneAfterTheOther() {
    const Server server({answerCutAfter("first-"), answerWith("200 OK", "second")});
    CapturedStderr errors;
    Download download;
    QVERIFY(download.ends(true));
    QCOMPARE(download.fObject->fFile.readAll(), QByteArray("first-second"));
    QCOMPARE(server.requests().size(), 2);
    QCOMPARE(server.requests().at(0), server.requests().at(1));
    const QString written = errors.take();
    QCOMPARE(written.count(QLatin1Char('\n')), 1);
    QVERIFY2(written.endsWith(QLatin1String(", but let's retry.\n")), qPrintable(written));
}

void HttpDownloadObjectTest::succeedsWithoutABodyAfterTwoRefusedConnections() {
    CapturedStderr errors;
    QStringList reasons;
    Download download;
    connect(download.http(), &QHttp::requestFinished, this, [&](int, bool failed) {
        if (failed) {
            reasons.append(download.http()->errorString());
        }
    });
    QVERIFY(download.ends(true));
    QCOMPARE(download.fObject->fFile.readAll(), QByteArray());
    QCOMPARE(download.stored(), QByteArray());
    QCOMPARE(reasons.size(), 2);
    QCOMPARE(errors.take(),
             failureLine(a_url, reasons.at(0), QStringLiteral(", but let's retry.")) +
                 failureLine(a_url, reasons.at(1), QStringLiteral(", and we tried twice...")));
}

void HttpDownloadObjectTest::keepsBothAttemptsAndDoesNotRewindAfterTwoCuts() {
    const Server server({answerCutAfter("first-"), answerCutAfter("second")});
    CapturedStderr errors;
    Download download;
    QVERIFY(download.ends(true));
    QCOMPARE(download.fObject->fFile.readAll(), QByteArray());
    QCOMPARE(download.stored(), QByteArray("first-second"));
    QCOMPARE(server.requests().size(), 2);
    QCOMPARE(errors.take().count(QLatin1Char('\n')), 2);
}

void HttpDownloadObjectTest::retriesWhenTheTimeIsUp() {
    const Server server({answerThenSilence(""), answerWith("200 OK", "icon")});
    CapturedStderr errors;
    Download download;
    // Takes effect when a request starts, from the event loop; a busy machine needs more time for
    // the second one.
    download.http()->setTransferTimeOut(std::chrono::milliseconds(100));
    connect(download.http(), &QHttp::requestFinished, this, [&](int, bool failed) {
        if (failed) {
            download.http()->setTransferTimeOut(
                std::chrono::milliseconds(obvista_test::a_qtPatience));
        }
    });
    QVERIFY(download.ends(true));
    QCOMPARE(download.fObject->fFile.readAll(), QByteArray("icon"));
    QCOMPARE(errors.take().count(QLatin1String(", but let's retry.\n")), 1);
}

void HttpDownloadObjectTest::keepsACompressedBodyAsItIs() {
    const QByteArray compressed = QByteArray::fromHex("1f8b08000000000000034bc84d05000c7e7fd8");
    const Server server({answerWith("200 OK", compressed, "Content-Encoding: gzip\r\n")});
    Download download;
    QVERIFY(download.ends(true));
    QCOMPARE(download.fObject->fFile.readAll(), compressed);
}

void HttpDownloadObjectTest::takesABodyOfTheGreatestSize() {
    const Server server(
        {answerWith("200 OK", QByteArray(int{HttpDownloadObject::a_maximumBodySize}, 'x'))});
    Download download;
    QVERIFY(download.ends(true));
    QCOMPARE(download.fObject->fFile.size(), HttpDownloadObject::a_maximumBodySize);
}

void HttpDownloadObjectTest::refusesABodyThatIsAnnouncedTooGreat() {
    for (const qint64 size :
         {HttpDownloadObject::a_maximumBodySize + 1, std::numeric_limits<qint64>::max()}) {
        const Server server({answerThenSilence(
            "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(size) + "\r\n\r\nicon")});
        CapturedStderr errors;
        Download download;
        QVERIFY(download.ends(false));
        QCOMPARE(download.stored(), QByteArray());
        QTRY_COMPARE(server.openConnections(), 0);
        QCOMPARE(server.requests().size(), 1);
        QCOMPARE(errors.take(), QString());
    }
}

void HttpDownloadObjectTest::refusesABodyThatBecomesTooGreat() {
    ScriptedAnswer answer;
    answer.fBytes =
        "HTTP/1.1 200 OK\r\n\r\n" + QByteArray(int{HttpDownloadObject::a_maximumBodySize} + 1, 'x');
    const Server server({answer});
    Download download;
    QVERIFY(download.ends(false));
}

void HttpDownloadObjectTest::refusesABodyWithoutEnd() {
    ScriptedAnswer answer;
    answer.fBytes = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    answer.fEndless = "10000\r\n" + QByteArray(0x10000, 'x') + "\r\n";
    const Server server({answer});
    CapturedStderr errors;
    Download download;
    QVERIFY(download.ends(false));
    QTRY_COMPARE(server.openConnections(), 0);
    QCOMPARE(server.requests().size(), 1);
    QCOMPARE(errors.take(), QString());
    QVERIFY(download.stored().size() < 2 * HttpDownloadObject::a_maximumBodySize);
}

void HttpDownloadObjectTest::cancelInTheTransferEndsItOnce() {
    const Server server({answerThenSilence("HTTP/1.1 200 OK\r\n\r\npart")});
    CapturedStderr errors;
    Download download;
    QTRY_COMPARE(download.fObject->fFile.size(), qint64{4});
    download.fObject->cancel();
    QCOMPARE(download.fFinished, (QList<QList<QVariant>>{{false}}));
    QVERIFY(!download.fObject->fFile.isOpen());
    download.fObject->cancel();
    QTRY_COMPARE(server.openConnections(), 0);
    QCOMPARE(download.fFinished.size(), 1);
    QCOMPARE(server.requests().size(), 1);
    QCOMPARE(errors.take(), QString());
}

void HttpDownloadObjectTest::cancelAtOnceEndsItOnce() {
    const Server server({answerWith("200 OK", "icon")});
    {
        Download download;
        download.fObject->cancel();
        QCOMPARE(download.fFinished, (QList<QList<QVariant>>{{false}}));
        QCoreApplication::processEvents();
        QCOMPARE(download.fFinished.size(), 1);
    }
    Download other;
    QVERIFY(other.ends(true));
    QCOMPARE(server.requests().size(), 1);
}

void HttpDownloadObjectTest::cancelBeforeTheRetryEndsItOnce() {
    CapturedStderr errors;
    Download download;
    connect(download.http(), &QHttp::requestFinished, this, [&](int, bool failed) {
        if (failed && download.fFinished.isEmpty()) {
            download.fObject->cancel();
        }
    });
    QVERIFY(download.ends(false));
    QCOMPARE(errors.take().count(QLatin1Char('\n')), 1);
}

void HttpDownloadObjectTest::cancelAfterTheEndDoesNothing() {
    const Server server({answerWith("200 OK", "icon")});
    Download download;
    QVERIFY(download.ends(true));
    download.fObject->cancel();
    QCoreApplication::processEvents();
    QCOMPARE(download.fFinished.size(), 1);
    QCOMPARE(download.fObject->fFile.readAll(), QByteArray("icon"));
}

void HttpDownloadObjectTest::saysWhenThereIsNoTemporaryFile() {
    const Server server({answerWith("200 OK", "icon")});
    const QByteArray folder = qgetenv("TMPDIR");
    CapturedStderr errors;
    qputenv("TMPDIR", "/proc");  // where even root cannot create a file
    Download download;
    qputenv("TMPDIR", folder);
    QCOMPARE(errors.take(), QStringLiteral("Unable to save into a temporary file. \n"));
    Download other;
    QVERIFY(other.ends(true));
    download.fObject->cancel();
    QCoreApplication::processEvents();
    QVERIFY(download.fFinished.isEmpty());
    QCOMPARE(server.requests().size(), 1);
}

void HttpDownloadObjectTest::removesTheTemporaryFile() {
    const Server server({answerWith("200 OK", "icon"), answerWith("404 Not Found", "")});
    for (const bool succeeded : {true, false}) {
        Download download;
        const QString fileName = download.fObject->fFile.fileName();
        QVERIFY(download.ends(succeeded));
        QVERIFY(QFile::exists(fileName));
        download.fObject.reset();
        QVERIFY(!QFile::exists(fileName));
    }
}

void HttpDownloadObjectTest::closesTheConnectionWhenDeleted() {
    const Server server({answerThenSilence("HTTP/1.1 200 OK\r\n\r\npart")});
    Download download;
    QTRY_COMPARE(download.fObject->fFile.size(), qint64{4});
    download.fObject.reset();
    QTRY_COMPARE(server.openConnections(), 0);
    QVERIFY(download.fFinished.isEmpty());
}

void HttpDownloadObjectTest::mayBeDisposedOfFromItsSignal() {
    const Server server({answerWith("200 OK", "icon"), answerWith("404 Not Found", "")});
    for (int i = 0; i < 2; ++i) {
        const QPointer<HttpDownloadObject> object = new HttpDownloadObject(a_url, nullptr);
        connect(object, &HttpDownloadObject::finished, object, &QObject::deleteLater);
        QTRY_VERIFY(!object);
    }
}

void HttpDownloadObjectTest::runsManyAtOnce() {
    constexpr int count = 60;
    const Server server({answerWith("200 OK", QByteArray(20000, 'i'))});
    const auto runAll = [&] {
        std::vector<std::unique_ptr<Download>> downloads;
        downloads.reserve(count);
        for (int i = 0; i < count; ++i) {
            downloads.push_back(std::make_unique<Download>());
        }
        for (const auto& download : downloads) {
            QVERIFY(download->ends(true));
            QCOMPARE(download->fObject->fFile.readAll(), QByteArray(20000, 'i'));
        }
    };
    runAll();  // opens resources that are kept
    QTRY_COMPARE(server.openConnections(), 0);
    const std::size_t before = countDescriptors();
    runAll();
    QTRY_COMPARE(server.openConnections(), 0);
    QTRY_COMPARE(countDescriptors(), before);
    QCOMPARE(server.requests().size(), 2 * count);
}

OBVISTA_QTEST_MAIN(HttpDownloadObjectTest)
#include "http_download_object_test.moc"
