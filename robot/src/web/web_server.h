#ifndef OBVISTA_ROBOT_WEB_WEB_SERVER_H
#define OBVISTA_ROBOT_WEB_WEB_SERVER_H

#include "web/icon.h"

#include <memory>
#include <string>

namespace robot {

class WebPage;

/**
 * Serves the robot's page and its icon over HTTP, on one thread of its own.
 *
 * A client holds nothing but its own connection: at most 64 are open at a time, a request must
 * have arrived after 5 seconds and its answer have been taken after 20, however it dawdles. When
 * there are 64, or file descriptors run out, the connection that has waited longest for its request
 * makes room. All operations may be called from any thread.
 */
class WebServer {
  public:
    /**
     * Starts to serve.
     *
     * @param address IPv4 or IPv6
     * @param icon the icon's bytes; empty for none
     * @throws std::runtime_error when the address and port cannot be listened on
     */
    WebServer(const std::string& address, int port, std::shared_ptr<const WebPage> page,
              std::string icon);

    /** Ends all connections. */
    ~WebServer();
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    /** Changes how the icon is served, from the next request on. */
    void setIconTrouble(IconTrouble trouble);
    IconTrouble getIconTrouble() const;

  private:
    struct Private;
    std::unique_ptr<Private> fPrivate;
};

}  // namespace robot

#endif
