#ifndef OBVISTA_BRIDGE_ROS2_RAW_TYPE_H
#define OBVISTA_BRIDGE_ROS2_RAW_TYPE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <dds/dds.h>
#include <memory>
#include <ros2_message/cdr_reader.h>
#include <string>
#include <vector>

struct ddsi_serdata;
struct ddsi_sertype;

namespace bridge {

/** The samples that have arrived for a topic, counted on arrival: also those replaced before
 * anybody takes it. */
struct Arrivals {
    std::atomic<std::uint64_t> fSamples{0};
    std::atomic<std::uint64_t> fBytes{0};
    std::atomic<std::uint64_t> fTooLarge{0};  ///< samples that were dropped for their size
    /** Samples above so many bytes are counted, but not kept; 0 if none is kept. */
    std::atomic<std::size_t> fLargest{0};
};

/**
 * A sample as it came from the network: bytes in CDR with the four bytes that name the encoding.
 *
 * Readers of Cyclone DDS usually take a description of the type when the program is compiled, and
 * make objects of the bytes. Here the type has a name only, so that types can be read that become
 * known while the bridge runs, and memory is taken once, for the bytes that have arrived, and not
 * for the lengths that they claim.
 */
class RawSample {
  public:
    /** Takes a reference over. */
    explicit RawSample(ddsi_serdata* data) : fData(data) {}
    ~RawSample();
    RawSample(const RawSample&) = delete;
    RawSample& operator=(const RawSample&) = delete;

    /** Returns the bytes, valid as long as this object; none for a sample that was too large. */
    ros2_message::Bytes bytes() const;

  private:
    ddsi_serdata* const fData;
};

/** A topic whose samples are raw. */
struct RawTopic {
    dds_entity_t fEntity = 0;             ///< negative: an error
    const ddsi_sertype* fType = nullptr;  ///< valid as long as the topic
};

/** Creates a topic. @param type name of the type in DDS */
RawTopic createRawTopic(dds_entity_t participant, const std::string& topic, const std::string& type,
                        std::shared_ptr<Arrivals> arrivals);

/** A sample with the time at which it was written. */
struct TakenSample {
    std::shared_ptr<const RawSample> fSample;
    std::int64_t fTime = 0;  ///< microseconds since 1970-01-01 UTC by the writer's clock
};

/** Takes the samples of a reader of such a topic, the oldest first. */
std::vector<TakenSample> takeRaw(dds_entity_t reader, std::size_t most);

/** Writes the bytes of a sample with a writer of the topic. Returns 0 or a negative error. */
dds_return_t writeRaw(dds_entity_t writer, const RawTopic& topic,
                      const std::vector<unsigned char>& bytes);

}  // namespace bridge

#endif
