#ifndef OBVISTA_VIEWER_PLUGIN_LINKS_H
#define OBVISTA_VIEWER_PLUGIN_LINKS_H

#include <obvista/viewer/link_list.h>

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include <memory>
#include <string>

class KVBroker;

namespace viewer {

/**
 * The connections of one plugin object.
 *
 * Each widget has a connection of its own. They share one broker, since the object has one broker
 * port: a second viewer would otherwise find a given port taken by the first. The broker lives as
 * long as one of the connections, so that no port stays open behind the last of them, nor behind a
 * connection that failed.
 *
 * When this goes, it closes the connections; their widgets stay. When that happens after main(),
 * the connections are closed already and nothing is touched.
 */
class PluginLinks {
  public:
    /** Seconds within which a plugin's createWidget() is to have connected or to throw. */
    static constexpr double a_connectTimeOut = 2.5;

    /** @param brokerName under which the broker is known to its peers */
    explicit PluginLinks(std::string brokerName);
    ~PluginLinks();
    PluginLinks(const PluginLinks&) = delete;
    PluginLinks& operator=(const PluginLinks&) = delete;

    /**
     * The broker in use; another one when there is none or another port is asked for now.
     *
     * @param port as in openBroker()
     * @throws KVError
     */
    boost::shared_ptr<KVBroker> broker(int port) const;

    /** Keeps a link that was opened through a broker. */
    void add(const boost::shared_ptr<KVBroker>& broker, const std::shared_ptr<RobotLink>& link);

  private:
    std::string fBrokerName;
    boost::weak_ptr<KVBroker> fBroker;
    LinkList fLinks;
};

}  // namespace viewer

#endif
