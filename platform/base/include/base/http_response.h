#ifndef BASE_HTTP_RESPONSE_H
#define BASE_HTTP_RESPONSE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace base {

/**
 * The response of an untrusted web server to one GET request over HTTP/1, parsed as it arrives.
 *
 * The size of header and trailers is bounded; that of the body is for the caller to bound. The body
 * is never decompressed; only a chunked one is reassembled.
 *
 * @code
 * base::HttpResponse response;
 * while (!response.isComplete()) {
 *     const std::size_t count = receive(bytes);  // 0 when the server has closed the connection
 *     if (!(count > 0 ? response.add(bytes, count) : response.end())) {
 *         return response.error();
 *     }
 *     store(response.takeBody());
 * }
 * @endcode
 */
class HttpResponse {
  public:
    /**
     * Maximum size of the header in bytes, including those of interim responses, and of the
     * trailers.
     */
    static constexpr std::size_t a_maximumHeaderSize = std::size_t{64} * 1024;

    HttpResponse();
    ~HttpResponse();
    HttpResponse(const HttpResponse&) = delete;
    HttpResponse& operator=(const HttpResponse&) = delete;

    /**
     * Parses received bytes; those after the end of the response are ignored.
     *
     * @return false if the response is invalid; the body up to there can still be taken
     */
    bool add(const char* bytes, std::size_t count);

    /**
     * Completes the response when the server has closed the connection.
     *
     * @return false if it is incomplete
     */
    bool end();

    bool isComplete() const;

    /** Returns a message for users if add() or end() has failed. */
    const std::string& error() const { return fError; }

    /** Returns true when the header of the final response is complete. */
    bool hasHeader() const { return fHasHeader; }

    /** Returns the status, for instance 200; 0 without a header. */
    int status() const;

    /** Returns the announced size of the body in bytes, if there is one. */
    std::optional<std::uint64_t> contentLength() const;

    /** Returns the bytes of the body that have arrived since the last call. */
    std::string takeBody();

  private:
    struct Parser;

    void xBegin();
    bool xParse();
    bool xAcceptHeader(std::size_t parsed);
    bool xFail(const std::string& error);

    std::unique_ptr<Parser> fParser;
    std::string fPending;         ///< received, but not parsed yet: less than one element
    std::size_t fHeaderSize = 0;  ///< of interim responses
    bool fHasHeader = false;
    std::string fError;
};

}  // namespace base

#endif
