#ifndef BONJOUR_ICON_SERVER_H
#define BONJOUR_ICON_SERVER_H

#include <bonjour/bonjour_export.h>

#include <memory>
#include <string>

namespace KV {

/**
 * Serves a robot's icon over HTTP at the path where programs look for it, "/media/buddy.icon"
 * (docs/announcing.md), on one dedicated thread. Slow clients delay no others.
 */
class BONJOUR_EXPORT IconServer {
  public:
    /** Port on which programs look for an icon. */
    static constexpr int a_defaultPort = 80;
    /** Maximum size of an icon in bytes; larger ones are not shown. */
    static constexpr int a_largestIcon = 512 * 1024;

    /**
     * Starts serving.
     *
     * @param address IPv4 or IPv6, for instance "0.0.0.0" for all addresses of the machine
     * @param icon bytes of a picture, such as a PNG of at most 256x256 pixels
     * @throws std::invalid_argument if the icon is empty or too large
     * @throws std::runtime_error if it cannot listen on the address and port
     */
    IconServer(const std::string& address, int port, const std::string& icon);

    /** Closes all connections. */
    ~IconServer();
    IconServer(const IconServer&) = delete;
    IconServer& operator=(const IconServer&) = delete;

  private:
    struct Private;
    std::unique_ptr<Private> fPrivate;
};

}  // namespace KV

#endif
