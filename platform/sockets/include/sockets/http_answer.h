#ifndef SOCKETS_HTTP_ANSWER_H
#define SOCKETS_HTTP_ANSWER_H

#include <cstdint>
#include <string>

namespace sockets {

/** Speed at which an answer is sent. */
enum class HttpPace {
    AtOnce,
    ByteASecond,
    Never  ///< nothing is sent
};

/** The answer to a client. */
struct HttpAnswer {
    int fStatus = 200;
    std::string fType = "text/plain; charset=utf-8";
    std::string fBody;
    /** Bytes of the body on the wire: fBody is repeated up to this size. */
    std::uint64_t fLength = 0;
    HttpPace fPace = HttpPace::AtOnce;

    static HttpAnswer of(int status, const std::string& type, std::string body);
    /** An answer that is a sentence. */
    static HttpAnswer failure(int status, const std::string& text);

    /** Returns status line and headers, with the empty line that ends them. */
    std::string head() const;
};

/** Returns the media type of a picture, from its first bytes. */
const char* pictureType(const std::string& bytes);

}  // namespace sockets

#endif
