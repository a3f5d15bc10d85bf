#ifndef OBVISTA_DESKTOP_HTTP_HTTP_DOWNLOAD_OBJECT_H
#define OBVISTA_DESKTOP_HTTP_HTTP_DOWNLOAD_OBJECT_H

#include <QObject>
#include <QString>
#include <QTemporaryFile>

class QHttp;
class QHttpResponseHeader;

namespace KD {

/**
 * Fetches one file over plain HTTP into a temporary file, with one retry.
 *
 * The download starts when the object is made. It works from the event loop of the thread that
 * made it. The owner reads fFile in a slot connected to finished() and then disposes of the object
 * with deleteLater(); the temporary file goes with it. Failures are told on standard error only.
 *
 * A redirect is not followed: its body is the downloaded content. Bodies above a_maximumBodySize
 * are refused.
 */
class HttpDownloadObject : public QObject {
    Q_OBJECT

  public:
    /** An icon has a few kilobytes; what is greater than this many bytes is no icon. */
    static constexpr qint64 a_maximumBodySize = qint64{4} * 1024 * 1024;

    /**
     * Starts the download.
     *
     * @param url "http://host/path". Port, query and fragment are left out of the request: it
     *            always goes to port 80 and asks for the path alone.
     */
    HttpDownloadObject(const QString& url, QObject* parent);

    /** Ends the download; finished(false) is emitted before this returns, unless it had ended. */
    void cancel();

  private:
    QHttp* fHttp;

  public:
    /** The body. After finished(true) it is open and, unless both attempts failed, at its start. */
    QTemporaryFile fFile;

  private:
    QString fUrl;
    bool fRetried;
    int fRequest;
    bool fAborted;

  Q_SIGNALS:
    /**
     * The download ended; emitted at most once, and never when no temporary file could be made.
     *
     * @param succeeded false when the download was cancelled or its answer refused. A network
     *        error is no such failure: after the second one this is true, and fFile stands behind
     *        whatever the two attempts had written, so that it reads as empty.
     */
    void finished(bool succeeded);

  private Q_SLOTS:
    void httpRequestFinished(int commandId, bool error);
    void readResponseHeader(const QHttpResponseHeader& responseHeader);

  private:
    void xGet();
    void xFinish(bool succeeded);
    void xReportFailure(const QString& consequence) const;
};

}  // namespace KD

#endif
