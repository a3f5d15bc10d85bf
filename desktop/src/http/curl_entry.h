#ifndef OBVISTA_DESKTOP_HTTP_CURL_ENTRY_H
#define OBVISTA_DESKTOP_HTTP_CURL_ENTRY_H

#include "http/http_transfer.h"

/** The only function that the library on libcurl exports: see HttpTransfer::start(). */
extern "C" Q_DECL_EXPORT HttpTransfer* obvistaStartTransfer(const QString& host, quint16 port,
                                                            const QString& path,
                                                            std::chrono::milliseconds timeOut,
                                                            std::function<void()> onProgress);

#endif
