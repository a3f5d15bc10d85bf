#include "ros2/discovery.h"

#include "ros2/names.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

namespace bridge {

namespace {

Guid toGuid(const dds_guid_t& guid) {
    Guid result{};
    std::copy_n(guid.v, result.size(), result.begin());
    return result;
}

/** Calls a function with all samples of a built-in reader: (sample, whether it is alive). */
template <class Sample, class Function>
void takeBuiltin(dds_entity_t reader, Function function) {
    std::array<void*, 64> samples{};
    std::array<dds_sample_info_t, 64> infos{};
    for (;;) {
        samples.fill(nullptr);
        const dds_return_t count = dds_take(reader, samples.data(), infos.data(), samples.size(),
                                            static_cast<std::uint32_t>(samples.size()));
        if (count <= 0) {
            return;
        }
        for (dds_return_t i = 0; i < count; ++i) {
            const auto index = static_cast<std::size_t>(i);
            const bool isAlive =
                infos[index].instance_state == DDS_ALIVE_INSTANCE_STATE && infos[index].valid_data;
            function(static_cast<Sample*>(samples[index]), isAlive);
        }
        dds_return_loan(reader, samples.data(), count);
    }
}

}  // namespace

Discovery::Discovery(dds_entity_t participant, EventLoop& loop, Callbacks callbacks)
    : fLoop(loop), fCallbacks(std::move(callbacks)) {
    dds_guid_t own{};
    dds_get_guid(participant, &own);
    fOwn = toGuid(own);
    fParticipantReader = xCreateReader(participant, DDS_BUILTIN_TOPIC_DCPSPARTICIPANT,
                                       [this] { takeParticipants(); });
    fPublicationReader = xCreateReader(participant, DDS_BUILTIN_TOPIC_DCPSPUBLICATION,
                                       [this] { xTakeEndpoints(fPublicationReader, true); });
    fSubscriptionReader = xCreateReader(participant, DDS_BUILTIN_TOPIC_DCPSSUBSCRIPTION,
                                        [this] { xTakeEndpoints(fSubscriptionReader, false); });
}

/** Creates a reader for the life of the loop. */
Entity Discovery::xCreateReader(dds_entity_t participant, dds_entity_t topic,
                                EventLoop::Handler hasSamples) {
    Entity reader =
        created(dds_create_reader(participant, topic, nullptr, nullptr), "a reader for discovery");
    fLoop.attach(reader.get(), std::move(hasSamples));
    return reader;
}

void Discovery::takeParticipants() {
    takeBuiltin<dds_builtintopic_participant_t>(
        fParticipantReader.get(), [&](const dds_builtintopic_participant_t* sample, bool isAlive) {
            const Guid guid = toGuid(sample->key);
            if (guid == fOwn) {
                return;
            }
            if (isAlive) {
                fParticipants.insert(guid);
                fCallbacks.fParticipantFound(guid);
            } else {
                fParticipants.erase(guid);
                fCallbacks.fParticipantLost(guid);
            }
        });
}

void Discovery::xTakeEndpoints(const Entity& reader, bool areWriters) {
    takeBuiltin<dds_builtintopic_endpoint_t>(
        reader.get(), [&](dds_builtintopic_endpoint_t* sample, bool isAlive) {
            if (isAlive) {
                xFind(*sample, areWriters);
            } else {
                fCallbacks.fEndpointLost(toGuid(sample->key));
            }
        });
}

void Discovery::xFind(dds_builtintopic_endpoint_t& endpoint, bool isWriter) {
    FoundEndpoint found;
    found.fTopic = rosTopic(endpoint.topic_name);
    if (found.fTopic.empty() || toGuid(endpoint.participant_key) == fOwn) {
        return;
    }
    found.fGuid = toGuid(endpoint.key);
    found.fIsWriter = isWriter;
    found.fEndpoint = {endpoint.type_name, policiesOf(endpoint.qos)};
    if (isWriter &&
        dds_builtintopic_get_endpoint_type_info(&endpoint, &found.fTypeInfo) != DDS_RETCODE_OK) {
        found.fTypeInfo = nullptr;
    }
    fCallbacks.fEndpointFound(found);
}

}  // namespace bridge
