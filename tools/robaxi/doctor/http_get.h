#ifndef OBVISTA_TOOLS_ROBAXI_DOCTOR_HTTP_GET_H
#define OBVISTA_TOOLS_ROBAXI_DOCTOR_HTTP_GET_H

#include <cstddef>
#include <string>

namespace robaxi_tool {

struct HttpAnswer {
    std::string fError;      ///< why there is no answer; empty when there is one
    long fStatus = 0;        ///< for instance 404
    std::size_t fBytes = 0;  ///< size of the body
};

/**
 * Fetches a file and forgets it. No proxy is asked and no redirection followed.
 *
 * @param timeout seconds for all of it
 * @param mostBytes a larger body counts as an error
 */
HttpAnswer httpGet(const std::string& url, int timeout, std::size_t mostBytes);

}  // namespace robaxi_tool

#endif
