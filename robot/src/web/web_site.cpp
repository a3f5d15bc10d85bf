#include "web/web_site.h"

#include "web/web_page.h"

#include <utility>

namespace robot {

namespace {

WebAnswer answerOf(int status, const std::string& type, std::string body) {
    WebAnswer answer;
    answer.fStatus = status;
    answer.fType = type;
    answer.fLength = body.size();
    answer.fBody = std::move(body);
    return answer;
}

WebAnswer failure(int status, const std::string& text) {
    return answerOf(status, "text/plain; charset=utf-8", text + '\n');
}

const char* reason(int status) {
    switch (status) {
        case 200:
            return "OK";
        case 404:
            return "Not Found";
        case 405:
            return "Method Not Allowed";
        default:
            return "Bad Request";
    }
}

/** Returns the path without its query. */
std::string pathOf(const std::string& target) {
    std::string path = target.substr(0, target.find('?'));
    // Clients that join an address and an absolute path with a slash ask for "//media/...".
    return path.rfind("//", 0) == 0 ? path.substr(1) : path;
}

}  // namespace

std::string WebAnswer::head() const {
    return "HTTP/1.1 " + std::to_string(fStatus) + ' ' + reason(fStatus) +
           "\r\nContent-Type: " + fType + "\r\nContent-Length: " + std::to_string(fLength) +
           "\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n"
           "Content-Security-Policy: default-src 'self'\r\n" +
           (fStatus == 405 ? "Allow: GET, HEAD\r\n" : "") + "Connection: close\r\n\r\n";
}

WebSite::WebSite(std::shared_ptr<const WebPage> page, std::string icon)
    : fPage(std::move(page)), fIcon(std::move(icon)) {
}

WebAnswer WebSite::answer(const std::string& method, const std::string& target) const {
    if (method != "GET" && method != "HEAD") {
        return failure(405, "Only GET and HEAD are answered here.");
    }
    WebAnswer answer = xAnswerGet(pathOf(target));
    if (method == "HEAD") {
        answer.fBody.clear();
    }
    return answer;
}

WebAnswer WebSite::badRequest() {
    return failure(400, "This is not an HTTP request.");
}

WebAnswer WebSite::xAnswerGet(const std::string& path) const {
    if (path == "/media/buddy.icon") {
        return xIcon();
    }
    if (path == "/") {
        return answerOf(200, "text/html; charset=utf-8", fPage->html());
    }
    if (path == "/values.json") {
        return answerOf(200, "application/json", fPage->json());
    }
    if (path == "/page.css") {
        return answerOf(200, "text/css; charset=utf-8", WebPage::style());
    }
    if (path == "/page.js") {
        return answerOf(200, "text/javascript; charset=utf-8", WebPage::script());
    }
    return failure(404, "There is nothing here.");
}

WebAnswer WebSite::xIcon() const {
    const IconTrouble trouble = fTrouble;
    if (trouble == IconTrouble::Missing || fIcon.empty()) {
        return failure(404, "This robot has no icon.");
    }
    WebAnswer answer = answerOf(200, pictureType(fIcon), fIcon);
    switch (trouble) {
        case IconTrouble::Hang:
            answer.fPace = WebPace::Never;
            break;
        case IconTrouble::Trickle:
            answer.fPace = WebPace::ByteASecond;
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
