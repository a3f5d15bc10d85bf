#include <base/http_response.h>

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>

#include <limits>
#include <utility>

namespace http = boost::beast::http;

namespace base {

namespace {

/** Appends the parts of a body to a text as they arrive. */
class BodyReader {
  public:
    template <bool IsRequest, class Fields>
    BodyReader(http::header<IsRequest, Fields>& /*header*/, std::string& body) : fBody(body) {}

    void init(const boost::optional<std::uint64_t>& /*size*/, boost::system::error_code& error) {
        error = {};
    }

    template <class Buffers>
    std::size_t put(const Buffers& buffers, boost::system::error_code& error) {
        error = {};
        const std::size_t before = fBody.size();
        for (auto each = boost::asio::buffer_sequence_begin(buffers);
             each != boost::asio::buffer_sequence_end(buffers); ++each) {
            const boost::asio::const_buffer bytes = *each;
            fBody.append(static_cast<const char*>(bytes.data()), bytes.size());
        }
        return fBody.size() - before;
    }

    void finish(boost::system::error_code& error) { error = {}; }

  private:
    std::string& fBody;
};

/**
 * Body type of Beast that is emptied as it arrives. Unlike string_body it does not reserve the size
 * that the server announces.
 */
struct ArrivingBody {
    using value_type = std::string;
    using reader = BodyReader;
};

const char* const a_headerTooLong = "The header of the answer is too long";

}  // namespace

struct HttpResponse::Parser : http::response_parser<ArrivingBody> {};

HttpResponse::HttpResponse() {
    xBegin();
}

HttpResponse::~HttpResponse() = default;

bool HttpResponse::add(const char* bytes, std::size_t count) {
    fPending.append(bytes, count);
    return xParse();
}

bool HttpResponse::end() {
    if (!fParser->got_some()) {
        return xFail("The server closed the connection without an answer");
    }
    if (!fHasHeader) {
        return xFail("The answer ended within its header");
    }
    boost::system::error_code error;
    if (!fParser->is_done()) {
        fParser->put_eof(error);
    }
    return !error || xFail("The connection was closed before the end of the answer");
}

bool HttpResponse::isComplete() const {
    return fHasHeader && fParser->is_done();
}

int HttpResponse::status() const {
    return fHasHeader ? static_cast<int>(fParser->get().result_int()) : 0;
}

std::optional<std::uint64_t> HttpResponse::contentLength() const {
    const auto length =
        fHasHeader ? fParser->content_length() : boost::optional<std::uint64_t>(boost::none);
    return length ? std::optional<std::uint64_t>(*length) : std::nullopt;
}

std::string HttpResponse::takeBody() {
    return std::exchange(fParser->get().body(), std::string());
}

void HttpResponse::xBegin() {
    fParser = std::make_unique<Parser>();
    fParser->eager(true);
    // Boost 1.74 refuses every announced size if there is no limit at all.
    fParser->body_limit(std::numeric_limits<std::uint64_t>::max());
    fParser->header_limit(static_cast<std::uint32_t>(a_maximumHeaderSize - fHeaderSize));
}

bool HttpResponse::xParse() {
    while (!isComplete() && !fPending.empty()) {
        boost::system::error_code error;
        const std::size_t parsed =
            fParser->put(boost::asio::buffer(std::as_const(fPending)), error);
        fPending.erase(0, parsed);
        const bool needsMore = error == http::error::need_more;
        if (error == http::error::header_limit ||
            (needsMore && fPending.size() >= a_maximumHeaderSize)) {
            return xFail(a_headerTooLong);
        }
        if (error && !needsMore) {
            return xFail("The answer is not valid HTTP: " + error.message());
        }
        if (fParser->is_header_done() && !fHasHeader && !xAcceptHeader(parsed)) {
            return false;
        }
        if (needsMore) {
            return true;
        }
    }
    return true;
}

bool HttpResponse::xAcceptHeader(std::size_t parsed) {
    const auto& header = fParser->get();
    if (header.result_int() / 100 == 1) {  // an interim response
        fHeaderSize += parsed;
        if (fHeaderSize >= a_maximumHeaderSize) {
            return xFail(a_headerTooLong);
        }
        xBegin();
        return true;
    }
    // Parsed as if it were only chunked, although the chunks are compressed.
    const auto codings = header.equal_range(http::field::transfer_encoding);
    for (auto coding = codings.first; coding != codings.second; ++coding) {
        if (!boost::beast::iequals(coding->value(), "chunked")) {
            return xFail("The answer has a transfer coding that was not asked for");
        }
    }
    fHasHeader = true;
    return true;
}

bool HttpResponse::xFail(const std::string& error) {
    fError = error;
    return false;
}

}  // namespace base
