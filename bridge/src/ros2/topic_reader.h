#ifndef OBVISTA_BRIDGE_ROS2_TOPIC_READER_H
#define OBVISTA_BRIDGE_ROS2_TOPIC_READER_H

#include "ros2/domain.h"
#include "ros2/event_loop.h"
#include "ros2/raw_type.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace bridge {

/** A topic, and how it is read. */
struct ReadTopic {
    std::string fName;  ///< in DDS
    std::string fType;  ///< in DDS
    std::shared_ptr<Arrivals> fArrivals;
    bool fIsLatched = false;  ///< requests what has been written before
    int fDepth = 1;           ///< samples that are kept until they are taken
};

/** Reads a topic from construction to destruction, on the thread of the loop. */
class TopicReader {
  public:
    /**
     * @param hasSamples called when there are samples to take; empty for samples that are only
     *                   counted, as they arrive
     * @throws std::runtime_error
     */
    TopicReader(dds_entity_t participant, EventLoop& loop, const ReadTopic& topic,
                EventLoop::Handler hasSamples);
    ~TopicReader();
    TopicReader(const TopicReader&) = delete;
    TopicReader& operator=(const TopicReader&) = delete;

    bool isLatched() const { return fIsLatched; }

    /** Takes the samples, the oldest first. */
    std::vector<TakenSample> take();

  private:
    EventLoop& fLoop;
    const bool fIsLatched;
    const std::size_t fDepth;
    const Entity fTopic;
    const Entity fReader;
    std::optional<EventLoop::Number> fNumber;
};

}  // namespace bridge

#endif
