#include "web/web_server.h"

#include <stdexcept>
#include <utility>

namespace robot {

WebServer::WebServer(const std::string& address, int port, std::shared_ptr<const WebPage> page,
                     std::string icon) try
    : fSite(std::move(page), std::move(icon)),
      fServer(
          address, port, [this](const std::string& path) { return fSite.answer(path); },
          "robaxi-robot: HTTP: ") {
} catch (const std::runtime_error& failure) {
    throw std::runtime_error(failure.what() +
                             std::string(" (--http-port takes another port, or 0 for none)"));
}

}  // namespace robot
