#include <bonjour/icon_server.h>

#include <sockets/http_server.h>
#include <stdexcept>

namespace KV {

namespace {

using sockets::HttpAnswer;

sockets::HttpServer::Answer answersWith(const std::string& icon) {
    if (icon.empty() || icon.size() > IconServer::a_largestIcon) {
        throw std::invalid_argument(icon.empty() ? "the icon is empty"
                                                 : "the icon is larger than 512 KiB");
    }
    return [icon](const std::string& path) {
        return path == "/media/buddy.icon"
                   ? HttpAnswer::of(200, sockets::pictureType(icon), icon)
                   : HttpAnswer::failure(404, "There is only /media/buddy.icon here.");
    };
}

}  // namespace

struct IconServer::Private {
    sockets::HttpServer fServer;
};

IconServer::IconServer(const std::string& address, int port, const std::string& icon)
    : fPrivate(new Private{{address, port, answersWith(icon), "icon server: "}}) {
}

IconServer::~IconServer() = default;

}  // namespace KV
