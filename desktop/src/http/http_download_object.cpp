#include "http/http_download_object.h"

#include "http/qhttp.h"

#include <QUrl>

#include <iostream>

namespace KD {

namespace {

// An identifier that QHttp never uses.
constexpr int a_noRequest = -1;

// A redirect is not followed; its body is kept as the content.
bool isAccepted(int statusCode) {
    switch (statusCode) {
        case 200:
        case 301:
        case 302:
        case 303:
        case 307:
            return true;
        default:
            return false;
    }
}

void report(const QString& line) {
    std::cerr << (line + QLatin1Char('\n')).toLocal8Bit().constData() << std::flush;
}

}  // namespace

HttpDownloadObject::HttpDownloadObject(const QString& url, QObject* parent)
    : QObject(parent),
      fHttp(new QHttp(this)),
      fUrl(url),
      fRetried(false),
      fRequest(a_noRequest),
      fAborted(false) {
    connect(fHttp, &QHttp::requestFinished, this, &HttpDownloadObject::httpRequestFinished);
    connect(fHttp, &QHttp::responseHeaderReceived, this, &HttpDownloadObject::readResponseHeader);
    // A server need not announce the size.
    connect(fHttp, &QHttp::dataReadProgress, this, [this](int done) {
        if (done > a_maximumBodySize) {
            cancel();
        }
    });
    fHttp->setHost(QUrl(fUrl).host(), 80);
    if (!fFile.open()) {
        report(QStringLiteral("Unable to save into a temporary file. "));
        cancel();
        return;
    }
    xGet();
}

void HttpDownloadObject::cancel() {
    fAborted = true;
    // The client drops a request without a signal while it waits behind the setting of the host.
    const bool waiting = fRequest != a_noRequest && fHttp->currentId() != fRequest;
    fHttp->abort();
    if (waiting) {
        httpRequestFinished(fRequest, true);
    }
}

void HttpDownloadObject::httpRequestFinished(int commandId, bool error) {
    if (commandId != fRequest) {
        return;
    }
    if (fAborted) {
        fFile.close();
        xFinish(false);
        return;
    }
    if (!error) {
        fFile.reset();
        xFinish(true);
        return;
    }
    if (!fRetried) {
        fRetried = true;
        xGet();
        xReportFailure(QStringLiteral(", but let's retry."));
        return;
    }
    xReportFailure(QStringLiteral(", and we tried twice..."));
    xFinish(true);
}

void HttpDownloadObject::readResponseHeader(const QHttpResponseHeader& responseHeader) {
    if (!isAccepted(responseHeader.statusCode()) ||
        responseHeader.contentLength() > a_maximumBodySize) {
        cancel();
    }
}

void HttpDownloadObject::xGet() {
    fRequest = fHttp->get(QUrl(fUrl).path(), &fFile);
}

void HttpDownloadObject::xFinish(bool succeeded) {
    fRequest = a_noRequest;
    Q_EMIT finished(succeeded);
}

void HttpDownloadObject::xReportFailure(const QString& consequence) const {
    report(QStringLiteral("Unable to download the file ") + fUrl + QStringLiteral(" : ") +
           fHttp->errorString() + consequence);
}

}  // namespace KD
