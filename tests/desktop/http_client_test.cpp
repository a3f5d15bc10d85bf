#include "http/qhttp.h"
#include "process_figures.h"
#include "qt_test_main.h"
#include "scripted_http_server.h"

#include <QBuffer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QtTest>

using obvista_test::answerThenSilence;
using obvista_test::answerWith;
using obvista_test::countDescriptors;
using obvista_test::ScriptedAnswer;
using obvista_test::ScriptedHttpServer;

namespace {

constexpr std::chrono::milliseconds a_shortTimeOut{250};

/** Returns a port on which nothing listens: it was free a moment ago. */
quint16 closedPort() {
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

/** A client with a target for the body and a record of its signals. */
struct Client {
    explicit Client(quint16 port, const QString& host = QStringLiteral("127.0.0.1")) {
        fBody.open(QIODevice::ReadWrite);
        fSetHost = fHttp->setHost(host, port);
    }

    int get(const QString& path = QStringLiteral("/")) { return fHttp->get(path, &fBody); }

    /** Returns true if the request ended in time, and only once. */
    bool ends(int request, bool error) {
        const QList<QVariant> expected{request, error};
        return obvista_test::waitFor([&] { return fFinished.contains(expected); }) &&
               !fFinished.contains({request, !error}) && fFinished.count(expected) == 1;
    }

    bool succeeds(int request) { return ends(request, false); }
    bool fails(int request) { return ends(request, true); }

    QBuffer fBody;
    std::unique_ptr<QHttp> fHttp = std::make_unique<QHttp>();
    QSignalSpy fFinished{fHttp.get(), &QHttp::requestFinished};
    int fSetHost = 0;
};

}  // namespace

class HttpClientTest : public QObject {
    Q_OBJECT

  public Q_SLOTS:
    void deleteClient() { fDoomed->reset(); }

  private:
    std::unique_ptr<QHttp>* fDoomed = nullptr;

  private Q_SLOTS:
    void runsRequestsInOrderFromTheEventLoop();
    void namesTheCurrentRequest();
    void sendsHostPathAndNothingElse();
    void sendsThePathAsGiven_data();
    void sendsThePathAsGiven();
    void reachesAnIPv6Address();
    void usesNoProxyOfTheEnvironment();
    void followsNoRedirect();
    void announcesTheHeaderBeforeTheBodyIsStored();
    void announcesTheHeaderOfAnAnswerWithoutBody();
    void announcesTheFinalHeaderOnly();
    void tellsTheProgressOfTheBody();
    void doesNotDecompressTheBody();
    void putsAChunkedBodyTogether();
    void writesWhereTheDeviceStands();
    void abortEndsTheCurrentRequestAndDropsTheOthers();
    void abortBeforeTheEventLoopEndsTheSettingOfTheHost();
    void abortWithoutRequestsDoesNothing();
    void abortFromTheHeaderSignalStoresNoBody();
    void abortFromTheProgressSignalEndsAnEndlessBody();
    void anErrorDropsTheRequestsBehind();
    void keepsTheErrorTextUntilTheNextRequestStarts();
    void runsARequestQueuedFromTheFinishedSignal();
    void failsOn_data();
    void failsOn();
    void keepsWhatCameBeforeTheConnectionWasCut();
    void failsWhenNothingListens();
    void failsWhenTheHostIsNoHost();
    void failsWhenTheTimeIsUp_data();
    void failsWhenTheTimeIsUp();
    void failsWhenTheBodyCannotBeWritten();
    void failsWhenTheDeviceIsGone();
    void mayBeDeletedFromItsOwnSignals_data();
    void mayBeDeletedFromItsOwnSignals();
    void closesTheConnectionWhenDeleted();
    void leavesNoDescriptorsOpen();
};

void HttpClientTest::runsRequestsInOrderFromTheEventLoop() {
    const ScriptedHttpServer server(
        {answerWith("200 OK", "first"), answerWith("200 OK", "second")});
    Client client(server.port());
    const int first = client.get();
    const int second = client.get();
    QCOMPARE((QSet<int>{0, client.fSetHost, first, second}.size()), 4);
    QVERIFY(client.fFinished.isEmpty());
    QVERIFY(client.succeeds(second));
    QCOMPARE(client.fFinished,
             (QList<QList<QVariant>>{{client.fSetHost, false}, {first, false}, {second, false}}));
    QCOMPARE(client.fBody.data(), QByteArray("firstsecond"));
}

void HttpClientTest::namesTheCurrentRequest() {
    const ScriptedHttpServer server({answerThenSilence("")});
    Client client(server.port());
    const int request = client.get();
    QCOMPARE(client.fHttp->currentId(), client.fSetHost);
    QTRY_COMPARE(client.fHttp->currentId(), request);
    client.fHttp->abort();
    QCOMPARE(client.fHttp->currentId(), 0);
}

void HttpClientTest::sendsHostPathAndNothingElse() {
    const ScriptedHttpServer server({answerWith("200 OK", "body")});
    Client client(server.port());
    QVERIFY(client.succeeds(client.get(QStringLiteral("//media/buddy.icon"))));
    QCOMPARE(server.requests(),
             QList<QByteArray>{"GET //media/buddy.icon HTTP/1.1\r\n"
                               "Host: 127.0.0.1:" +
                               QByteArray::number(server.port()) + "\r\nAccept: */*\r\n\r\n"});
}

void HttpClientTest::sendsThePathAsGiven_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("sent");
    QTest::newRow("doubled slashes") << "//a//b/" << QByteArray("//a//b/");
    QTest::newRow("dots") << "/a/../b/./c" << QByteArray("/a/../b/./c");
    QTest::newRow("no path") << "" << QByteArray("/");
    QTest::newRow("no leading slash") << "a" << QByteArray("/a");
    QTest::newRow("delimiters") << "/a?b#c%d" << QByteArray("/a%3fb%23c%25d");
    QTest::newRow("not ASCII") << QStringLiteral("/\u00e9 x") << QByteArray("/%c3%a9%20x");
    QTest::newRow("line ends") << "/a\r\nX: y" << QByteArray("/a%0d%0aX:%20y");
}

void HttpClientTest::sendsThePathAsGiven() {
    QFETCH(QString, path);
    QFETCH(QByteArray, sent);
    const ScriptedHttpServer server({answerWith("200 OK", "")});
    Client client(server.port());
    QVERIFY(client.succeeds(client.get(path)));
    QVERIFY2(server.requests().value(0).startsWith("GET " + sent + " HTTP/1.1\r\n"),
             server.requests().value(0).constData());
}

void HttpClientTest::reachesAnIPv6Address() {
    const ScriptedHttpServer server({answerWith("200 OK", "six")}, QHostAddress::LocalHostIPv6);
    Client client(server.port(), QStringLiteral("::1"));
    QVERIFY(client.succeeds(client.get()));
    QCOMPARE(client.fBody.data(), QByteArray("six"));
}

void HttpClientTest::usesNoProxyOfTheEnvironment() {
    const QByteArray proxy = "http://127.0.0.1:" + QByteArray::number(closedPort());
    qputenv("http_proxy", proxy);
    qputenv("ALL_PROXY", proxy);
    const ScriptedHttpServer server({answerWith("200 OK", "direct")});
    Client client(server.port());
    const bool succeeded = client.succeeds(client.get());
    qunsetenv("http_proxy");
    qunsetenv("ALL_PROXY");
    QVERIFY(succeeded);
    QVERIFY(server.requests().value(0).startsWith("GET / HTTP/1.1\r\n"));
}

void HttpClientTest::followsNoRedirect() {
    const ScriptedHttpServer server(
        {answerWith("302 Found", "moved", "Location: /elsewhere\r\nRefresh: 0; url=/x\r\n")});
    Client client(server.port());
    QVERIFY(client.succeeds(client.get()));
    QCOMPARE(client.fBody.data(), QByteArray("moved"));
    QCOMPARE(server.requests().size(), 1);
}

void HttpClientTest::announcesTheHeaderBeforeTheBodyIsStored() {
    const ScriptedHttpServer server({answerWith("404 Not Found", "nothing here")});
    Client client(server.port());
    QList<QList<qint64>> seen;
    connect(client.fHttp.get(), &QHttp::responseHeaderReceived, this,
            [&](const QHttpResponseHeader& header) {
                seen.append({header.statusCode(), header.contentLength(), client.fBody.size()});
            });
    QVERIFY(client.succeeds(client.get()));
    QCOMPARE(seen, (QList<QList<qint64>>{{404, 12, 0}}));
    QCOMPARE(client.fBody.data(), QByteArray("nothing here"));
}

void HttpClientTest::announcesTheHeaderOfAnAnswerWithoutBody() {
    const ScriptedHttpServer server({answerThenSilence("HTTP/1.1 204 No Content\r\n\r\n")});
    Client client(server.port());
    QList<int> statusCodes;
    connect(client.fHttp.get(), &QHttp::responseHeaderReceived, this,
            [&](const QHttpResponseHeader& header) { statusCodes.append(header.statusCode()); });
    QVERIFY(client.succeeds(client.get()));
    QCOMPARE(statusCodes, QList<int>{204});
}

void HttpClientTest::announcesTheFinalHeaderOnly() {
    ScriptedAnswer answer = answerWith("200 OK", "final");
    answer.fBytes.prepend("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Early Hints\r\nA: b\r\n\r\n");
    const ScriptedHttpServer server({answer});
    Client client(server.port());
    QList<int> statusCodes;
    connect(client.fHttp.get(), &QHttp::responseHeaderReceived, this,
            [&](const QHttpResponseHeader& header) { statusCodes.append(header.statusCode()); });
    QVERIFY(client.succeeds(client.get()));
    QCOMPARE(statusCodes, QList<int>{200});
    QCOMPARE(client.fBody.data(), QByteArray("final"));
}

void HttpClientTest::tellsTheProgressOfTheBody() {
    const QByteArray body(300000, 'b');
    ScriptedAnswer unannounced;
    unannounced.fBytes = "HTTP/1.1 200 OK\r\n\r\n" + body;
    const ScriptedHttpServer server({answerWith("200 OK", body), unannounced});
    Client client(server.port());
    const QSignalSpy progress(client.fHttp.get(), &QHttp::dataReadProgress);
    QVERIFY(client.succeeds(client.get()));
    QCOMPARE(progress.last(), (QList<QVariant>{body.size(), body.size()}));
    QVERIFY(client.succeeds(client.get()));
    QCOMPARE(progress.last(), (QList<QVariant>{body.size(), 0}));
}

void HttpClientTest::doesNotDecompressTheBody() {
    const QByteArray compressed =
        QByteArray::fromHex("1f8b08000000000000034bc84d05000c7e7fd804000000");
    const ScriptedHttpServer server(
        {answerWith("200 OK", compressed, "Content-Encoding: gzip\r\n")});
    Client client(server.port());
    QVERIFY(client.succeeds(client.get()));
    QCOMPARE(client.fBody.data(), compressed);
}

void HttpClientTest::putsAChunkedBodyTogether() {
    const ScriptedHttpServer server(
        {answerThenSilence("HTTP/1.1 200 OK\r\ntransfer-encoding:  Chunked \r\n\r\n"
                           "3\r\nabc\r\n2;x=y\r\nde\r\n0\r\nTrailer: t\r\n\r\n")});
    Client client(server.port());
    QVERIFY(client.succeeds(client.get()));
    QCOMPARE(client.fBody.data(), QByteArray("abcde"));
}

void HttpClientTest::writesWhereTheDeviceStands() {
    const ScriptedHttpServer server({answerWith("200 OK", "new")});
    Client client(server.port());
    client.fBody.write("old...end");
    client.fBody.seek(3);
    QVERIFY(client.succeeds(client.get()));
    QCOMPARE(client.fBody.data(), QByteArray("oldnewend"));
}

void HttpClientTest::abortEndsTheCurrentRequestAndDropsTheOthers() {
    const ScriptedHttpServer server({answerThenSilence("HTTP/1.1 200 OK\r\n\r\npart")});
    Client client(server.port());
    const int current = client.get();
    client.get();
    QTRY_COMPARE(client.fBody.data(), QByteArray("part"));
    client.fHttp->abort();
    QCOMPARE(client.fFinished, (QList<QList<QVariant>>{{client.fSetHost, false}, {current, true}}));
    QCOMPARE(client.fHttp->currentId(), 0);
    QTRY_COMPARE(server.openConnections(), 0);
    QCOMPARE(client.fFinished.size(), 2);
    QCOMPARE(server.requests().size(), 1);
}

void HttpClientTest::abortBeforeTheEventLoopEndsTheSettingOfTheHost() {
    const ScriptedHttpServer server({answerWith("200 OK", "body")});
    Client client(server.port());
    client.get();
    client.fHttp->abort();
    QCOMPARE(client.fFinished, (QList<QList<QVariant>>{{client.fSetHost, true}}));
    client.fHttp->setHost(QStringLiteral("127.0.0.1"), server.port());
    QVERIFY(client.succeeds(client.get()));
    QCOMPARE(server.requests().size(), 1);
}

void HttpClientTest::abortWithoutRequestsDoesNothing() {
    QHttp http;
    const QSignalSpy finished(&http, &QHttp::requestFinished);
    http.abort();
    QVERIFY(finished.isEmpty());
}

void HttpClientTest::abortFromTheHeaderSignalStoresNoBody() {
    const ScriptedHttpServer server({answerWith("404 Not Found", "unwanted")});
    Client client(server.port());
    connect(client.fHttp.get(), &QHttp::responseHeaderReceived, client.fHttp.get(), &QHttp::abort);
    QVERIFY(client.fails(client.get()));
    QVERIFY(client.fBody.data().isEmpty());
}

void HttpClientTest::abortFromTheProgressSignalEndsAnEndlessBody() {
    constexpr int limit = 1000000;
    ScriptedAnswer endless;
    endless.fBytes = "HTTP/1.1 200 OK\r\n\r\n";
    endless.fEndless = QByteArray(64 * 1024, 'x');
    const ScriptedHttpServer server({endless});
    Client client(server.port());
    connect(client.fHttp.get(), &QHttp::dataReadProgress, this, [&](int done) {
        if (done > limit) {
            client.fHttp->abort();
        }
    });
    QVERIFY(client.fails(client.get()));
    QTRY_COMPARE(server.openConnections(), 0);
    QVERIFY2(client.fBody.size() < qint64{4} * limit, "one step brought more than it may");
}

void HttpClientTest::anErrorDropsTheRequestsBehind() {
    Client client(closedPort());
    const int refused = client.get();
    const int dropped = client.get();
    QVERIFY(client.fails(refused));
    const ScriptedHttpServer server({answerWith("200 OK", "body")});
    client.fHttp->setHost(QStringLiteral("127.0.0.1"), server.port());
    QVERIFY(client.succeeds(client.get()));
    for (const QList<QVariant>& finished : qAsConst(client.fFinished)) {
        QVERIFY(finished.first() != dropped);
    }
}

void HttpClientTest::keepsTheErrorTextUntilTheNextRequestStarts() {
    const ScriptedHttpServer server({answerThenSilence("")});
    Client client(closedPort());
    const QString none = client.fHttp->errorString();
    QVERIFY(client.fails(client.get()));
    const QString refused = client.fHttp->errorString();
    QVERIFY2(refused != none && refused.contains(QLatin1String("connect")), qPrintable(refused));
    const int next = client.fHttp->setHost(QStringLiteral("127.0.0.1"), server.port());
    QCOMPARE(client.fHttp->errorString(), refused);
    QVERIFY(client.succeeds(next));
    QCOMPARE(client.fHttp->errorString(), none);
}

void HttpClientTest::runsARequestQueuedFromTheFinishedSignal() {
    const ScriptedHttpServer server({answerWith("200 OK", "again")});
    Client client(closedPort());
    const int refused = client.get();
    int again = 0;
    connect(client.fHttp.get(), &QHttp::requestFinished, this, [&](int id) {
        if (id == refused) {
            client.fHttp->setHost(QStringLiteral("127.0.0.1"), server.port());
            again = client.get();
        }
    });
    QVERIFY(client.fails(refused));
    QVERIFY(client.succeeds(again));
    QCOMPARE(client.fBody.data(), QByteArray("again"));
}

void HttpClientTest::failsOn_data() {
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QByteArray>("endless");
    QTest::addColumn<QString>("error");
    const QByteArray none;
    QTest::newRow("no answer") << none << none << "Empty reply";
    QTest::newRow("an answer that is not HTTP")
        << QByteArray("hello\r\n\r\n") << none << "HTTP/0.9";
    QTest::newRow("a header cut short")
        << QByteArray("HTTP/1.1 200 OK\r\nContent-Len") << none << "within its header";
    QTest::newRow("a body cut short")
        << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf") << none << "closed";
    QTest::newRow("a negative length")
        << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: -5\r\n\r\n") << none << "Content-Length";
    QTest::newRow("a chunk cut short")
        << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nff\r\nhalf") << none
        << "closed";
    QTest::newRow("a chunk of no size")
        << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n") << none
        << "chunk";
    QTest::newRow("a compressed transfer coding")
        << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip, chunked\r\n\r\n") << none
        << "transfer coding";
    QTest::newRow("a header line without end")
        << QByteArray("HTTP/1.1 200 OK\r\nX: ") << QByteArray(4096, 'x') << "";
    QTest::newRow("header lines without end")
        << QByteArray("HTTP/1.1 200 OK\r\n") << QByteArray("Set-Cookie: a=b\r\n").repeated(200)
        << "too long";
    QTest::newRow("interim answers without end")
        << none << QByteArray("HTTP/1.1 100 Continue\r\n\r\n").repeated(200) << "too long";
    QTest::newRow("trailers without end")
        << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n")
        << QByteArray("Trailer: t\r\n").repeated(200) << "too long";
}

void HttpClientTest::failsOn() {
    QFETCH(QByteArray, answer);
    QFETCH(QByteArray, endless);
    QFETCH(QString, error);
    ScriptedAnswer script;
    script.fBytes = answer;
    script.fEndless = endless;
    const ScriptedHttpServer server({script});
    Client client(server.port());
    QVERIFY(client.fails(client.get()));
    QVERIFY2(client.fHttp->errorString().contains(error, Qt::CaseInsensitive),
             qPrintable(client.fHttp->errorString()));
    QTRY_COMPARE(server.openConnections(), 0);
}

void HttpClientTest::keepsWhatCameBeforeTheConnectionWasCut() {
    ScriptedAnswer cut;
    cut.fBytes = "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf";
    const ScriptedHttpServer server({cut});
    Client client(server.port());
    QVERIFY(client.fails(client.get()));
    QCOMPARE(client.fBody.data(), QByteArray("half"));
}

void HttpClientTest::failsWhenNothingListens() {
    Client client(closedPort());
    QVERIFY(client.fails(client.get()));
}

void HttpClientTest::failsWhenTheHostIsNoHost() {
    for (const char* host : {"", "a b", "user@127.0.0.1", "127.0.0.1/x", "127.0.0.1?"}) {
        Client client(closedPort(), QString::fromLatin1(host));
        QVERIFY2(client.fails(client.get()), host);
    }
}

void HttpClientTest::failsWhenTheTimeIsUp_data() {
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<int>("interval");
    const QByteArray ok = "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n";
    QTest::newRow("a server that says nothing") << QByteArray("") << 0;
    QTest::newRow("a server that stops after the header") << ok << 0;
    QTest::newRow("a server that stops in the body") << ok + "part" << 0;
    QTest::newRow("a header that trickles") << ok << 50;
    QTest::newRow("a body that trickles") << ok + QByteArray(1000, 'x') << 5;
}

void HttpClientTest::failsWhenTheTimeIsUp() {
    QFETCH(QByteArray, answer);
    QFETCH(int, interval);
    ScriptedAnswer script = answerThenSilence(answer);
    script.fInterval = std::chrono::milliseconds(interval);
    const ScriptedHttpServer server({script});
    Client client(server.port());
    client.fHttp->setTransferTimeOut(a_shortTimeOut);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(client.fails(client.get()));
    QVERIFY(timer.elapsed() >= a_shortTimeOut.count() - 10);
    QVERIFY2(client.fHttp->errorString().contains(QLatin1String("timed out")),
             qPrintable(client.fHttp->errorString()));
    QTRY_COMPARE(server.openConnections(), 0);
}

void HttpClientTest::failsWhenTheBodyCannotBeWritten() {
    const ScriptedHttpServer server({answerWith("200 OK", "body")});
    QFile full(QStringLiteral("/dev/full"));
    QVERIFY(full.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    Client client(server.port());
    QVERIFY(client.fails(client.fHttp->get(QStringLiteral("/"), &full)));
    QCOMPARE(client.fHttp->errorString(), QStringLiteral("No space left on device"));
}

void HttpClientTest::failsWhenTheDeviceIsGone() {
    const ScriptedHttpServer server({answerWith("200 OK", "body")});
    Client client(server.port());
    auto device = std::make_unique<QBuffer>();
    device->open(QIODevice::WriteOnly);
    const int request = client.fHttp->get(QStringLiteral("/"), device.get());
    device.reset();
    QVERIFY(client.fails(request));
}

void HttpClientTest::mayBeDeletedFromItsOwnSignals_data() {
    QTest::addColumn<QByteArray>("signal");
    QTest::newRow("header") << QByteArray(SIGNAL(responseHeaderReceived(QHttpResponseHeader)));
    QTest::newRow("progress") << QByteArray(SIGNAL(dataReadProgress(int, int)));
    QTest::newRow("finished") << QByteArray(SIGNAL(requestFinished(int, bool)));
}

void HttpClientTest::mayBeDeletedFromItsOwnSignals() {
    QFETCH(QByteArray, signal);
    const ScriptedHttpServer server({answerWith("200 OK", "body")});
    Client client(server.port());
    QVERIFY(client.succeeds(client.fSetHost));
    connect(client.fHttp.get(), signal.constData(), this, SLOT(deleteClient()));
    fDoomed = &client.fHttp;
    client.get();
    QTRY_VERIFY(!client.fHttp);
    QTRY_COMPARE(server.openConnections(), 0);
}

void HttpClientTest::closesTheConnectionWhenDeleted() {
    const ScriptedHttpServer server({answerThenSilence("HTTP/1.1 200 OK\r\n\r\npart")});
    Client client(server.port());
    client.get();
    QTRY_COMPARE(client.fBody.data(), QByteArray("part"));
    QCOMPARE(server.openConnections(), 1);
    client.fHttp.reset();
    QTRY_COMPARE(server.openConnections(), 0);
    QCOMPARE(client.fFinished.size(), 1);
}

void HttpClientTest::leavesNoDescriptorsOpen() {
    const ScriptedHttpServer good({answerWith("200 OK", "body")});
    const ScriptedHttpServer silent({answerThenSilence("")});
    const auto useClients = [&] {
        Client served(good.port());
        Client late(silent.port());
        late.fHttp->setTransferTimeOut(std::chrono::milliseconds(1));
        Client aborted(silent.port());
        QVERIFY(served.succeeds(served.get()));
        QVERIFY(late.fails(late.get()));
        aborted.get();
        QVERIFY(obvista_test::waitFor([&] { return silent.openConnections() > 0; }));
        aborted.fHttp->abort();
    };
    useClients();  // opens resources that are kept
    QTRY_COMPARE(good.openConnections() + silent.openConnections(), 0);
    const std::size_t before = countDescriptors();
    for (int i = 0; i < 20; ++i) {
        useClients();
    }
    QTRY_COMPARE(good.openConnections() + silent.openConnections(), 0);
    QTRY_COMPARE(countDescriptors(), before);
}

OBVISTA_QTEST_MAIN(HttpClientTest)
#include "http_client_test.moc"
