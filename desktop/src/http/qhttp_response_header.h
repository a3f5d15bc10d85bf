#ifndef OBVISTA_DESKTOP_HTTP_QHTTP_RESPONSE_HEADER_H
#define OBVISTA_DESKTOP_HTTP_QHTTP_RESPONSE_HEADER_H

#include <QtGlobal>

/** What a server says about its answer before the body comes. */
class QHttpResponseHeader {
  public:
    explicit QHttpResponseHeader(int statusCode = 0, qint64 contentLength = -1)
        : fStatusCode(statusCode), fContentLength(contentLength) {}

    /** For instance 200; 0 when there was no answer. */
    int statusCode() const { return fStatusCode; }

    bool hasContentLength() const { return fContentLength >= 0; }
    /** Bytes of the body as the server announced them, or -1 when it did not. */
    qint64 contentLength() const { return fContentLength; }

  private:
    int fStatusCode;
    qint64 fContentLength;
};

#endif
