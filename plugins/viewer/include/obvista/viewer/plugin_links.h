#ifndef OBVISTA_VIEWER_PLUGIN_LINKS_H
#define OBVISTA_VIEWER_PLUGIN_LINKS_H

#include <obvista/viewer/viewer_export.h>

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include <memory>
#include <string>

class KVBroker;

namespace obvista {

class LinkList;
class RobotLink;

/**
 * The links of one plugin object, which has it as a member.
 *
 * Each widget has its own link. They share one broker, since the object has one broker port: a
 * second viewer would otherwise find a given port taken by the first. The broker lives as long as
 * one of the links, so that no port stays open after the last of them, nor after a connection that
 * failed.
 *
 * Its destructor closes the links; their widgets stay. When that happens after main(), the links
 * are closed already and nothing is touched. Used on the GUI thread.
 */
class OBVISTA_VIEWER_EXPORT PluginLinks {
  public:
    /** Seconds within which open() has connected or throws. */
    static constexpr double a_connectTimeOut = 2.5;

    /** @param brokerName the broker's name, shown to its peers */
    explicit PluginLinks(std::string brokerName);
    ~PluginLinks();
    PluginLinks(const PluginLinks&) = delete;
    PluginLinks& operator=(const PluginLinks&) = delete;

    /**
     * Connects to a robot.
     *
     * @tparam Link a class derived from RobotLink, made with (broker, ip, port, timeOut)
     * @param brokerPort WidgetInterface::brokerPort; see openBroker()
     * @throws KVError if the robot cannot be reached within a_connectTimeOut, or the broker's port
     *         is out of range or in use
     */
    template <class Link>
    std::shared_ptr<Link> open(int brokerPort, const std::string& ip, int port) {
        const boost::shared_ptr<KVBroker> broker = xBroker(brokerPort);
        auto link = std::make_shared<Link>(broker, ip, port, a_connectTimeOut);
        xAdd(broker, link);
        return link;
    }

  private:
    boost::shared_ptr<KVBroker> xBroker(int port) const;
    void xAdd(const boost::shared_ptr<KVBroker>& broker, const std::shared_ptr<RobotLink>& link);

    std::string fBrokerName;
    boost::weak_ptr<KVBroker> fBroker;
    std::unique_ptr<LinkList> fLinks;
};

}  // namespace obvista

#endif
