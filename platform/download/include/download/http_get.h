#ifndef DOWNLOAD_HTTP_GET_H
#define DOWNLOAD_HTTP_GET_H

#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>

namespace download {

struct HttpAnswer {
    std::string fError;       ///< the reason if there is no answer; otherwise empty
    bool fIsRefused = false;  ///< nothing listens at the port
    unsigned fStatus = 0;     ///< for instance 404
    std::string fBody;
};

/**
 * Downloads a file. Uses no proxy and follows no redirects.
 *
 * @param address an IP address
 * @param path is sent as it is
 * @param timeout for all of it
 * @param mostBytes a larger body is an error
 * @param isCancelled ends the download soon when another thread sets it; null for none
 */
HttpAnswer httpGet(const std::string& address, unsigned short port, const std::string& path,
                   std::chrono::milliseconds timeout, std::size_t mostBytes,
                   const std::atomic<bool>* isCancelled = nullptr);

}  // namespace download

#endif
