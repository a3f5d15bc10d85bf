#include "ros2/topic_reader.h"

#include "ros2/qos_policies.h"

#include <utility>

namespace bridge {

TopicReader::TopicReader(dds_entity_t participant, EventLoop& loop, const ReadTopic& topic,
                         EventLoop::Handler hasSamples)
    : fLoop(loop),
      fIsLatched(topic.fIsLatched),
      fDepth(static_cast<std::size_t>(topic.fDepth)),
      fTopic(created(createRawTopic(participant, topic.fName, topic.fType, topic.fArrivals).fEntity,
                     "a topic")),
      fReader(
          created(dds_create_reader(participant, fTopic.get(),
                                    makeReaderQos(topic.fIsLatched, topic.fDepth).get(), nullptr),
                  "a reader")) {
    if (hasSamples) {
        fNumber = fLoop.attach(fReader.get(), std::move(hasSamples));
    }
}

TopicReader::~TopicReader() {
    if (fNumber) {
        fLoop.detach(fReader.get(), *fNumber);
    }
}

std::vector<TakenSample> TopicReader::take() {
    return takeRaw(fReader.get(), fDepth);
}

}  // namespace bridge
