#ifndef OBVISTA_BRIDGE_ROS2_DISCOVERY_H
#define OBVISTA_BRIDGE_ROS2_DISCOVERY_H

#include "ros2/domain.h"
#include "ros2/event_loop.h"
#include "ros2/node_info.h"
#include "ros2/topic.h"

#include <cstddef>
#include <functional>
#include <set>
#include <string>

namespace bridge {

/** A writer or reader of a topic of ROS 2 that has been found. */
struct FoundEndpoint {
    Guid fGuid{};
    std::string fTopic;  ///< in ROS 2
    bool fIsWriter = false;
    Endpoint fEndpoint;
    const dds_typeinfo_t* fTypeInfo = nullptr;  ///< of a writer that describes its type, during the
                                                ///< call
};

/** Reports the participants, writers and readers of a domain, without those of the bridge. */
class Discovery {
  public:
    /** Called on the thread of the loop. An endpoint may be found again with other policies. */
    struct Callbacks {
        std::function<void(const Guid&)> fParticipantFound;
        std::function<void(const Guid&)> fParticipantLost;
        std::function<void(const FoundEndpoint&)> fEndpointFound;
        std::function<void(const Guid&)> fEndpointLost;
    };

    /** @throws std::runtime_error */
    Discovery(dds_entity_t participant, EventLoop& loop, Callbacks callbacks);

    /** Reports participants that have been found since; the loop does so by itself. */
    void takeParticipants();

    const std::set<Guid>& participants() const { return fParticipants; }
    /** Returns the identifier of the bridge's participant. */
    const Guid& own() const { return fOwn; }

  private:
    Entity xCreateReader(dds_entity_t participant, dds_entity_t topic,
                         EventLoop::Handler hasSamples);
    void xTakeEndpoints(const Entity& reader, bool areWriters);
    void xFind(dds_builtintopic_endpoint_t& endpoint, bool isWriter);

    EventLoop& fLoop;
    const Callbacks fCallbacks;
    Guid fOwn{};
    std::set<Guid> fParticipants;
    Entity fParticipantReader;
    Entity fPublicationReader;
    Entity fSubscriptionReader;
};

}  // namespace bridge

#endif
