#include "doctor/http_get.h"

#include <curl/curl.h>

#include <memory>

namespace robaxi_tool {

namespace {

struct Body {
    std::size_t fBytes = 0;
    std::size_t fMostBytes = 0;
};

/** @return less than `size`, which ends the transfer, if the body is too large */
std::size_t count(const char* /*data*/, std::size_t size, std::size_t number, void* userData) {
    auto* const body = static_cast<Body*>(userData);
    body->fBytes += size * number;
    return body->fBytes <= body->fMostBytes ? size * number : 0;
}

}  // namespace

HttpAnswer httpGet(const std::string& url, int timeout, std::size_t mostBytes) {
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> transfer(curl_easy_init(),
                                                                       &curl_easy_cleanup);
    Body body{0, mostBytes};
    curl_easy_setopt(transfer.get(), CURLOPT_URL, url.c_str());
    curl_easy_setopt(transfer.get(), CURLOPT_PROTOCOLS_STR, "http");
    curl_easy_setopt(transfer.get(), CURLOPT_NOPROXY, "*");
    curl_easy_setopt(transfer.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(transfer.get(), CURLOPT_TIMEOUT, static_cast<long>(timeout));
    curl_easy_setopt(transfer.get(), CURLOPT_WRITEFUNCTION, count);
    curl_easy_setopt(transfer.get(), CURLOPT_WRITEDATA, &body);
    const CURLcode code = curl_easy_perform(transfer.get());
    HttpAnswer answer;
    answer.fBytes = body.fBytes;
    if (code == CURLE_WRITE_ERROR) {
        answer.fError = "more than " + std::to_string(mostBytes) + " bytes";
    } else if (code != CURLE_OK) {
        answer.fError = curl_easy_strerror(code);
    }
    curl_easy_getinfo(transfer.get(), CURLINFO_RESPONSE_CODE, &answer.fStatus);
    return answer;
}

}  // namespace robaxi_tool
