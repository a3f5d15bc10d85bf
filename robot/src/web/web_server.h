#ifndef OBVISTA_ROBOT_WEB_WEB_SERVER_H
#define OBVISTA_ROBOT_WEB_WEB_SERVER_H

#include "web/icon.h"
#include "web/web_site.h"

#include <memory>
#include <sockets/http_server.h>
#include <string>

namespace robot {

/** Serves the robot's page and its icon over HTTP. All operations may be called from any thread. */
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

    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    /** Sets the fault of the icon, from the next request on. */
    void setIconTrouble(IconTrouble trouble) { fSite.setIconTrouble(trouble); }
    IconTrouble getIconTrouble() const { return fSite.getIconTrouble(); }

  private:
    WebSite fSite;
    sockets::HttpServer fServer;
};

}  // namespace robot

#endif
