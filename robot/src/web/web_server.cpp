#include "web/web_server.h"

#include "web/web_page.h"

#include <stdexcept>
#include <utility>

namespace robot {

using sockets::HttpAnswer;
using sockets::HttpPace;

WebServer::WebServer(const std::string& address, int port, std::shared_ptr<const WebPage> page,
                     std::string icon) try
    : fPage(std::move(page)),
      fIcon(std::move(icon)),
      fServer(
          address, port, [this](const std::string& path) { return xAnswer(path); },
          "robaxi-robot: HTTP: ") {
} catch (const std::runtime_error& failure) {
    throw std::runtime_error(failure.what() +
                             std::string(" (--http-port takes another port, or 0 for none)"));
}

HttpAnswer WebServer::xAnswer(const std::string& path) const {
    if (path == "/media/buddy.icon") {
        return xIcon();
    }
    if (path == "/") {
        return HttpAnswer::of(200, "text/html; charset=utf-8", fPage->html());
    }
    if (path == "/values.json") {
        return HttpAnswer::of(200, "application/json", fPage->json());
    }
    if (path == "/page.css") {
        return HttpAnswer::of(200, "text/css; charset=utf-8", WebPage::style());
    }
    if (path == "/page.js") {
        return HttpAnswer::of(200, "text/javascript; charset=utf-8", WebPage::script());
    }
    return HttpAnswer::failure(404, "There is nothing here.");
}

HttpAnswer WebServer::xIcon() const {
    const IconTrouble trouble = fTrouble;
    if (trouble == IconTrouble::Missing || fIcon.empty()) {
        return HttpAnswer::failure(404, "This robot has no icon.");
    }
    HttpAnswer answer = HttpAnswer::of(200, sockets::pictureType(fIcon), fIcon);
    switch (trouble) {
        case IconTrouble::Hang:
            answer.fPace = HttpPace::Never;
            break;
        case IconTrouble::Trickle:
            answer.fPace = HttpPace::ByteASecond;
            break;
        case IconTrouble::Huge:
            answer.fLength = a_hugeIconSize;
            break;
        case IconTrouble::Broken:
            answer.fBody = brokenPicture(fIcon);
            answer.fLength = answer.fBody.size();
            break;
        case IconTrouble::None:
        case IconTrouble::Missing:
            break;
    }
    return answer;
}

}  // namespace robot
