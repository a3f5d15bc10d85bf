#ifndef OBVISTA_ROBOT_WEB_WEB_SITE_H
#define OBVISTA_ROBOT_WEB_WEB_SITE_H

#include "web/icon.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace robot {

class WebPage;

/** Speed at which an answer is sent. */
enum class WebPace {
    AtOnce,
    ByteASecond,
    Never  ///< nothing is sent
};

/** The answer to a client. */
struct WebAnswer {
    int fStatus = 200;
    std::string fType = "text/plain; charset=utf-8";
    std::string fBody;
    /** Bytes of the body on the wire: fBody is repeated up to this size. */
    std::uint64_t fLength = 0;
    WebPace fPace = WebPace::AtOnce;

    /** Returns status line and headers, with the empty line that ends them. */
    std::string head() const;
};

/** Selects the answer to each request. May be used from any thread. */
class WebSite {
  public:
    /** @param icon the icon's bytes; empty for none */
    WebSite(std::shared_ptr<const WebPage> page, std::string icon);

    /**
     * Returns the answer to a request.
     *
     * @param method of the request, for instance "GET"
     * @param target as the client sent it; a query is ignored, and the path may begin with two
     *         slashes
     */
    WebAnswer answer(const std::string& method, const std::string& target) const;

    /** Returns the answer to an invalid HTTP request. */
    static WebAnswer badRequest();

    void setIconTrouble(IconTrouble trouble) { fTrouble = trouble; }
    IconTrouble getIconTrouble() const { return fTrouble; }

  private:
    WebAnswer xAnswerGet(const std::string& path) const;
    WebAnswer xIcon() const;

    std::shared_ptr<const WebPage> fPage;
    std::string fIcon;
    std::atomic<IconTrouble> fTrouble{IconTrouble::None};
};

}  // namespace robot

#endif
