#ifndef OBVISTA_ROBOT_WEB_WEB_SERVER_H
#define OBVISTA_ROBOT_WEB_WEB_SERVER_H

#include "web/icon.h"

#include <memory>
#include <string>

namespace robot {

class WebPage;

/**
 * Serves the robot's page and its icon over HTTP, on one dedicated thread.
 *
 * A client can only block its own connection: at most 64 are open at a time, and a request must
 * have arrived after 5 seconds and its answer must have been read after 20. At 64 connections, or
 * when file descriptors run out, the connection that has waited longest for its request is closed.
 * All operations may be called from any thread.
 */
class WebServer {
  public:
    /**
     * Starts serving.
     *
     * @param address IPv4 or IPv6
     * @param icon the icon's bytes; empty for none
     * @throws std::runtime_error if it cannot listen on the address and port
     */
    WebServer(const std::string& address, int port, std::shared_ptr<const WebPage> page,
              std::string icon);

    /** Closes all connections. */
    ~WebServer();
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    /** Sets the fault of the icon, from the next request on. */
    void setIconTrouble(IconTrouble trouble);
    IconTrouble getIconTrouble() const;

  private:
    struct Private;
    std::unique_ptr<Private> fPrivate;
};

}  // namespace robot

#endif
