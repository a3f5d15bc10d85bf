#include <obvista/viewer/link_list.h>
#include <obvista/viewer/robot_link.h>
#include <robaxi/kv_connection.h>

namespace viewer {

namespace {

/**
 * The links that are open, to be closed when the process exits.
 *
 * A process may exit with viewers open: exit() is called while windows are shown, or Qt deletes the
 * plugin object after main(). What C++ destroys at exit goes in the reverse order of its
 * construction, so this object, made after the first link, goes before everything that a link
 * needs.
 */
class OpenLinks {
  public:
    static OpenLinks& instance() {
        static OpenLinks links;
        return links;
    }

    OpenLinks() = default;
    ~OpenLinks() {
        for (const std::shared_ptr<RobotLink>& link : fLinks.links()) {
            link->closeSilently();
        }
    }
    OpenLinks(const OpenLinks&) = delete;
    OpenLinks& operator=(const OpenLinks&) = delete;

    void add(const std::shared_ptr<RobotLink>& link) { fLinks.add(link); }

  private:
    LinkList fLinks;
};

}  // namespace

RobotLink::RobotLink(const boost::shared_ptr<KVBroker>& broker, const std::string& ip, int port,
                     double timeOut)
    : fAddress(ip), fPort(port), fConnection(KVConnection::open(broker, ip, port, timeOut)) {
    fRobotName = fConnection->getPeerName();
}

RobotLink::~RobotLink() = default;

void RobotLink::close() {
    if (isClosed()) {
        return;
    }
    xStop();
    fConnection.reset();
    xTellClosed();
}

void RobotLink::closeSilently() {
    xSilence();
    close();
}

void RobotLink::closeAtExit(const std::shared_ptr<RobotLink>& link) {
    OpenLinks::instance().add(link);
}

}  // namespace viewer
