#include <sockets/http_answer.h>
#include <utility>

namespace sockets {

namespace {

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

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

}  // namespace

HttpAnswer HttpAnswer::of(int status, const std::string& type, std::string body) {
    HttpAnswer answer;
    answer.fStatus = status;
    answer.fType = type;
    answer.fLength = body.size();
    answer.fBody = std::move(body);
    return answer;
}

HttpAnswer HttpAnswer::failure(int status, const std::string& text) {
    return of(status, "text/plain; charset=utf-8", text + '\n');
}

std::string HttpAnswer::head() const {
    return "HTTP/1.1 " + std::to_string(fStatus) + ' ' + reason(fStatus) +
           "\r\nContent-Type: " + fType + "\r\nContent-Length: " + std::to_string(fLength) +
           "\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n"
           "Content-Security-Policy: default-src 'self'\r\n" +
           (fStatus == 405 ? "Allow: GET, HEAD\r\n" : "") + "Connection: close\r\n\r\n";
}

const char* pictureType(const std::string& bytes) {
    if (startsWith(bytes, "\x89PNG")) {
        return "image/png";
    }
    if (startsWith(bytes, "\xff\xd8\xff")) {
        return "image/jpeg";
    }
    return "application/octet-stream";
}

}  // namespace sockets
