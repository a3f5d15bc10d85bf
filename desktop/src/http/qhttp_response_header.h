#ifndef OBVISTA_DESKTOP_HTTP_QHTTP_RESPONSE_HEADER_H
#define OBVISTA_DESKTOP_HTTP_QHTTP_RESPONSE_HEADER_H

#include <QtGlobal>

/** Header of a response. */
class QHttpResponseHeader {
  public:
    explicit QHttpResponseHeader(int statusCode = 0, qint64 contentLength = -1)
        : fStatusCode(statusCode), fContentLength(contentLength) {}

    /** Returns the status, for instance 200; 0 if there was no response. */
    int statusCode() const { return fStatusCode; }

    /** Returns the announced size of the body in bytes, or -1 if it was not announced. */
    qint64 contentLength() const { return fContentLength; }

  private:
    int fStatusCode;
    qint64 fContentLength;
};

#endif
