#ifndef OBVISTA_ROBOT_WEB_WEB_SITE_H
#define OBVISTA_ROBOT_WEB_WEB_SITE_H

#include "web/icon.h"

#include <atomic>
#include <memory>
#include <sockets/http_answer.h>
#include <string>

namespace robot {

class WebPage;

/** Selects the answer to each request. May be used from any thread. */
class WebSite {
  public:
    /** @param icon the icon's bytes; empty for none */
    WebSite(std::shared_ptr<const WebPage> page, std::string icon);

    /** Returns the answer to a request of a path, for instance "/media/buddy.icon". */
    sockets::HttpAnswer answer(const std::string& path) const;

    void setIconTrouble(IconTrouble trouble) { fTrouble = trouble; }
    IconTrouble getIconTrouble() const { return fTrouble; }

  private:
    sockets::HttpAnswer xIcon() const;

    std::shared_ptr<const WebPage> fPage;
    std::string fIcon;
    std::atomic<IconTrouble> fTrouble{IconTrouble::None};
};

}  // namespace robot

#endif
