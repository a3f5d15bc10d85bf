#ifndef OBVISTA_ROBOT_WEB_WEB_SERVER_H
#define OBVISTA_ROBOT_WEB_WEB_SERVER_H

#include "web/icon.h"

#include <atomic>
#include <memory>
#include <sockets/http_answer.h>
#include <sockets/http_server.h>
#include <string>

namespace robot {

class WebPage;

/** Serves the robot's page and its icon over HTTP. All operations may be called from any thread. */
class WebServer {
  public:
    /**
     * Starts serving.
     *
     * @param address IPv4 or IPv6; "0.0.0.0" for all addresses of both
     * @param icon the icon's bytes; empty for none
     * @throws std::runtime_error if it cannot listen on the address and port
     */
    WebServer(const std::string& address, int port, std::shared_ptr<const WebPage> page,
              std::string icon);

    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    /** Sets the fault of the icon, from the next request on. */
    void setIconTrouble(IconTrouble trouble) { fTrouble = trouble; }
    IconTrouble getIconTrouble() const { return fTrouble; }

  private:
    sockets::HttpAnswer xAnswer(const std::string& path) const;
    sockets::HttpAnswer xIcon() const;

    std::shared_ptr<const WebPage> fPage;
    std::string fIcon;
    std::atomic<IconTrouble> fTrouble{IconTrouble::None};
    sockets::HttpServer fServer;
};

}  // namespace robot

#endif
