#ifndef OBVISTA_DESKTOP_HTTP_HTTP_DOWNLOAD_OBJECT_H
#define OBVISTA_DESKTOP_HTTP_HTTP_DOWNLOAD_OBJECT_H

#include <QObject>
#include <QString>
#include <QTemporaryFile>

class QHttp;
class QHttpResponseHeader;

namespace KD {

/**
 * A download of one file over plain HTTP into a temporary file, with one retry.
 *
 * The download starts in the constructor and runs in the event loop of the thread that created the
 * object. The owner reads fFile in a slot connected to finished() and then calls deleteLater(),
 * which also removes the temporary file. Errors are only reported on standard error.
 *
 * Redirects are not followed: their body is the downloaded content. Bodies above a_maximumBodySize
 * are refused.
 */
class HttpDownloadObject : public QObject {
    Q_OBJECT

  public:
    /** Maximum size in bytes; icons have a few kilobytes. */
    static constexpr qint64 a_maximumBodySize = qint64{4} * 1024 * 1024;

    /**
     * Starts the download.
     *
     * @param url "http://host/path". Port, query and fragment are ignored: the request always uses
     *         port 80 and the path alone.
     */
    HttpDownloadObject(const QString& url, QObject* parent);

    /**
     * Cancels the download. Emits finished(false) before it returns, unless the download had ended.
     */
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
     * Emitted at most once, when the download has ended; never if no temporary file could be
     * created.
     *
     * @param succeeded false if the download was cancelled or its response refused. A network error
     *         is not reported this way: after the second one the value is true, and fFile is
     *         positioned after the data of both attempts, so that it reads as empty.
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
