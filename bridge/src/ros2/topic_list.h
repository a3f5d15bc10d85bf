#ifndef OBVISTA_BRIDGE_ROS2_TOPIC_LIST_H
#define OBVISTA_BRIDGE_ROS2_TOPIC_LIST_H

#include "ros2/camera_sizes.h"
#include "ros2/discovery.h"
#include "ros2/event_loop.h"
#include "ros2/node_list.h"
#include "ros2/ros2_source.h"
#include "ros2/topic.h"
#include "source/source.h"

#include <base/lookups.h>

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace bridge {

/**
 * The topics of a domain: reads and writes them, and shows their values, cameras and rates in the
 * sink. Used on the thread of the loop.
 */
class TopicList {
  public:
    /** @param lookups ask writers for their types; ended before the list is destroyed */
    TopicList(const Ros2Options& options, dds_entity_t participant, EventLoop& loop,
              base::Lookups& lookups, const NodeList& nodes, Sink& sink);
    ~TopicList();
    TopicList(const TopicList&) = delete;
    TopicList& operator=(const TopicList&) = delete;

    void add(const FoundEndpoint& found);
    void remove(const Guid& endpoint);

    /** Applies what has changed since the last call, to readers, writers and cameras. */
    void update();

    /** Shows the topics with their rates. @param seconds time since the last call */
    void showRates(double seconds);

  private:
    Topic* xTopicOf(const std::string& name);
    bool xIsSelected(const std::string& name) const;
    bool xIsWritable(const std::string& name) const;
    void xUpdate(Topic& topic);
    void xRemove(Topic& topic);
    void xChooseType(Topic& topic);
    void xDescribe(Topic& topic, const dds_typeinfo_t* info);
    void xUpdateReader(Topic& topic);
    void xUpdateWriter(Topic& topic);
    void xOfferCamera(Topic& topic);
    void xWatch(const std::string& name, bool isWatched);

    void xTakeSamples(Topic& topic);
    void xShowValues(Topic& topic, const TakenSample& sample);
    void xShowPicture(Topic& topic, const TakenSample& sample);
    void xNoteCameraInfo(const Topic& topic, const std::vector<SourceValue>& values);
    void xReport(Topic& topic, const std::string& problem);
    void xShowTopic(Topic& topic, double samples, double bytes);

    const Ros2Options fOptions;
    const dds_entity_t fParticipant;
    EventLoop& fLoop;
    base::Lookups& fLookups;
    const NodeList& fNodes;
    Sink& fSink;

    std::map<std::string, Topic> fTopics;                     // by their names
    std::map<Guid, std::pair<std::string, bool>> fEndpoints;  // topic, and whether it is a writer
    std::set<std::string> fChanged;                           // topics to update
    CameraSizes fCameraSizes;
    std::size_t fDescribing = 0;  // questions without an answer
    bool fHasReportedLimit = false;
};

}  // namespace bridge

#endif
