#include "ros2/ros2_source.h"

#include "message/image_message.h"
#include "message/message_table.h"
#include "message/message_values.h"
#include "ros2/domain.h"
#include "ros2/domain_search.h"
#include "ros2/names.h"
#include "ros2/node_info.h"
#include "ros2/qos_policies.h"
#include "ros2/std_value.h"
#include "ros2/topic.h"
#include "ros2/type_description.h"

#include <base/gate.h>
#include <base/lookups.h>
#include <base/safe_text.h>
#include <base/time.h>
#include <picture/pixel_format.h>
#include <robaxi/kv_error.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <unordered_map>
#include <utility>

namespace bridge {

namespace {

using Clock = std::chrono::steady_clock;

// A round of taking samples begins at most every 2 ms: a topic that floods costs no more than that.
constexpr std::chrono::milliseconds a_rest(2);
constexpr std::chrono::seconds a_period(1);  // of the rates

constexpr std::size_t a_mostTopics = 4096;
constexpr std::size_t a_mostEndpoints = 100'000;
constexpr std::size_t a_mostNodesTotal = 4096;
constexpr std::size_t a_mostNodeValues = 2 * a_mostNodesTotal;
constexpr std::size_t a_mostEntries = 64;  // entities in one answer of the wait

constexpr std::size_t a_largestValues = 1UL << 20U;    // bytes of a message with values
constexpr std::size_t a_largestPicture = 64UL << 20U;  // bytes of a message with a picture

// Samples that are kept between two rounds. Several nodes write to some topics, each a part of the
// whole.
constexpr int a_plainDepth = 1;
constexpr int a_sharedDepth = 16;
constexpr int a_nodesDepth = 4096;

constexpr std::array<const char*, 4> a_sharedTypes{
    "sensor_msgs/msg/JointState", "tf2_msgs/msg/TFMessage", "diagnostic_msgs/msg/DiagnosticArray",
    "rcl_interfaces/msg/Log"};

constexpr const char* a_domainGroup = "domain";
constexpr int a_guessedWidth = 640;
constexpr int a_guessedHeight = 480;

constexpr intptr_t a_participants = 1;
constexpr intptr_t a_publications = 2;
constexpr intptr_t a_subscriptions = 3;
constexpr intptr_t a_nodes = 4;
constexpr intptr_t a_commands = 5;
constexpr intptr_t a_firstTopic = 16;

struct QosEnd {
    void operator()(dds_qos_t* qos) const { dds_delete_qos(qos); }
};
using Qos = std::unique_ptr<dds_qos_t, QosEnd>;

/** Returns what every writer can fulfil; of a latched topic, what has been written before. */
Qos makeReaderQos(bool isLatched, int depth) {
    Qos qos(dds_create_qos());
    if (isLatched) {
        dds_qset_reliability(qos.get(), DDS_RELIABILITY_RELIABLE, DDS_SECS(1));
        dds_qset_durability(qos.get(), DDS_DURABILITY_TRANSIENT_LOCAL);
    } else {
        dds_qset_reliability(qos.get(), DDS_RELIABILITY_BEST_EFFORT, 0);
        dds_qset_durability(qos.get(), DDS_DURABILITY_VOLATILE);
    }
    dds_qset_history(qos.get(), DDS_HISTORY_KEEP_LAST, depth);
    const dds_data_representation_id_t encodings[] = {DDS_DATA_REPRESENTATION_XCDR1,
                                                      DDS_DATA_REPRESENTATION_XCDR2};
    dds_qset_data_representation(qos.get(), 2, encodings);
    return qos;
}

Qos makeWriterQos() {
    Qos qos(dds_create_qos());
    dds_qset_reliability(qos.get(), DDS_RELIABILITY_RELIABLE, DDS_MSECS(100));
    dds_qset_durability(qos.get(), DDS_DURABILITY_VOLATILE);
    dds_qset_history(qos.get(), DDS_HISTORY_KEEP_LAST, 1);
    return qos;
}

Guid toGuid(const dds_guid_t& guid) {
    Guid result{};
    std::copy_n(guid.v, result.size(), result.begin());
    return result;
}

bool isShared(const std::string& rosType) {
    return std::any_of(a_sharedTypes.begin(), a_sharedTypes.end(),
                       [&](const char* shared) { return rosType == shared; });
}

/** Returns the part of a topic's name up to the last "/". */
std::string folderOf(const std::string& topic) {
    return topic.substr(0, topic.rfind('/') + 1);
}

std::string hexOf(const Guid& guid) {
    constexpr const char* digits = "0123456789abcdef";
    std::string result;
    for (const std::uint8_t byte : guid) {
        result += digits[byte >> 4U];
        result += digits[byte & 15U];
    }
    return result;
}

// The first bytes of the identifiers of a participant and of all its writers and readers.
constexpr std::ptrdiff_t a_prefix = 12;

/** Returns the lowest identifier of a participant's writers and readers. */
Guid firstIdOf(const Guid& participant) {
    Guid first{};
    std::copy_n(participant.begin(), a_prefix, first.begin());
    return first;
}

bool isOf(const Guid& participant, const Guid& endpoint) {
    return std::equal(participant.begin(), participant.begin() + a_prefix, endpoint.begin());
}

/** Returns the group of the nodes of a participant. */
std::string groupOf(const Guid& participant) {
    return "nodes of " + hexOf(participant);
}

std::string problemOf(const Topic& topic) {
    if (!topic.fProblem.empty()) {
        return topic.fProblem;
    }
    if (!topic.fMatchProblem.empty()) {
        return topic.fMatchProblem;
    }
    return topic.fRole == Role::Counted && !topic.fIsAwaited
               ? "no known type: the bridge does not know it, and its publisher does not describe "
                 "it"
               : std::string();
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

Role roleOf(const std::string& rosType, bool isDescribed) {
    if (rosType == "sensor_msgs/msg/Image") {
        return Role::Image;
    }
    if (rosType == "sensor_msgs/msg/CompressedImage") {
        return Role::CompressedImage;
    }
    return isDescribed ? Role::Values : Role::Counted;
}

/** Reads the domain on a dedicated thread, from construction to destruction. */
class Ros2Source::Reading {
  public:
    Reading(const Ros2Options& options, Sink& sink);
    ~Reading();
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

  private:
    using Command = std::function<void()>;

    void xRun();
    void xRunRound();
    void xPost(Command command);
    void xRunCommands();

    void xTakeParticipants();
    void xTakeEndpoints(const Entity& reader, bool areWriters);
    void xAddEndpoint(const dds_builtintopic_endpoint_t& endpoint, bool isWriter);
    void xRemoveEndpoint(const Guid& guid);
    void xTakeNodes();
    std::vector<SourceValue> xForgetNodes(const Guid& participant);
    /** Shows nodes that were hidden by former ones of another participant with their names, as
     *  after a restart, when the former participant is believed to live for some seconds. */
    void xShowTwins(const Guid& participant, const std::vector<SourceValue>& former);
    void xShowNodes(const NodeInfo& info);

    Topic* xTopicOf(const std::string& name);
    bool xIsSelected(const std::string& name) const;
    void xUpdate(Topic& topic);
    std::string xMatchProblem(const Topic& topic) const;
    void xRemove(Topic& topic);
    void xChooseType(Topic& topic);
    void xDescribe(Topic& topic, const dds_typeinfo_t* info);
    void xUpdateReader(Topic& topic);
    void xCloseReader(Topic& topic);
    void xUpdateWriter(Topic& topic);
    void xOfferCamera(Topic& topic);
    void xWatch(const std::string& name, bool isWatched);

    void xTakeSamples(Topic& topic);
    void xShowValues(Topic& topic, const TakenSample& sample);
    void xShowPicture(Topic& topic, const TakenSample& sample);
    void xNoteCameraInfo(const Topic& topic, const std::vector<SourceValue>& values);
    void xReport(Topic& topic, const std::string& problem);
    void xShowRates(double seconds);
    void xSearch();
    void xStopSearch();
    void xShowTopic(Topic& topic, double samples, double bytes);
    std::string xNodesOf(const Topic& topic) const;

    const Ros2Options fOptions;
    Sink& fSink;
    DdsLog fLog;
    Entity fDomain;
    Entity fParticipant;
    Guid fOwn{};
    Entity fParticipantReader;
    Entity fPublicationReader;
    Entity fSubscriptionReader;
    RawTopic fNodeTopic;
    std::shared_ptr<Arrivals> fNodeArrivals = std::make_shared<Arrivals>();
    Entity fNodeReader;
    Entity fGuard;
    Entity fWaitset;

    std::map<std::string, Topic> fTopics;  // by their names
    std::unordered_map<intptr_t, Topic*> fAttached;
    intptr_t fNextAttachment = a_firstTopic;
    std::map<const Topic*, intptr_t> fAttachmentOf;
    std::map<Guid, std::pair<std::string, bool>> fEndpoints;  // topic, and whether it is a writer
    std::set<std::string> fChanged;                           // topics to update
    std::set<Guid> fParticipants;
    std::map<Guid, std::string> fNodeOfWriter;
    std::map<Guid, std::vector<SourceValue>> fNodes;          // of each participant
    std::size_t fNodeValues = 0;                              // of all participants
    std::map<std::string, std::pair<int, int>> fCameraSizes;  // by the folder of the topic
    std::shared_ptr<DomainSearch> fSearch;                    // while nobody is in the domain
    bool fIsSearching = false;
    std::string fDomainProblem;
    std::size_t fDescribing = 0;  // questions without an answer
    bool fHasReportedLimit = false;
    bool fHasReportedNodes = false;

    std::mutex fMutex;  // guards fCommands
    std::vector<Command> fCommands;
    std::atomic<bool> fIsEnding{false};
    std::thread fThread;
    // Destroyed first: its answers post commands.
    std::unique_ptr<base::Lookups> fLookups;
};

Ros2Source::Ros2Source(Ros2Options options) : fOptions(std::move(options)) {
}

Ros2Source::~Ros2Source() = default;

void Ros2Source::start(Sink& sink) {
    fReading = std::make_unique<Reading>(fOptions, sink);
}

Ros2Source::Reading::Reading(const Ros2Options& options, Sink& sink)
    : fOptions(options),
      fSink(sink),
      fLog([&sink](const std::string& line) { sink.complain(line); }),
      fDomain(createDomain(options.fDomain, options.fInterface)),
      fParticipant(created(
          dds_create_participant(static_cast<dds_domainid_t>(options.fDomain), nullptr, nullptr),
          "a participant")),
      fLookups(std::make_unique<base::Lookups>(1, std::chrono::seconds(2))) {
    const dds_entity_t participant = fParticipant.get();
    dds_guid_t own{};
    dds_get_guid(participant, &own);
    fOwn = toGuid(own);
    fWaitset = created(dds_create_waitset(participant), "a wait set");
    const auto attach = [&](const Entity& entity, intptr_t number, bool isReader) {
        if (isReader) {
            dds_set_status_mask(entity.get(), DDS_DATA_AVAILABLE_STATUS);
        }
        dds_waitset_attach(fWaitset.get(), entity.get(), number);
    };
    const auto builtin = [&](dds_entity_t topic) {
        return created(dds_create_reader(participant, topic, nullptr, nullptr),
                       "a reader for discovery");
    };
    fParticipantReader = builtin(DDS_BUILTIN_TOPIC_DCPSPARTICIPANT);
    fPublicationReader = builtin(DDS_BUILTIN_TOPIC_DCPSPUBLICATION);
    fSubscriptionReader = builtin(DDS_BUILTIN_TOPIC_DCPSSUBSCRIPTION);
    fNodeArrivals->fLargest = a_largestValues;
    fNodeTopic = createRawTopic(participant, a_nodeTopic, a_nodeType, fNodeArrivals);
    fNodeReader = created(dds_create_reader(participant, fNodeTopic.fEntity,
                                            makeReaderQos(true, a_nodesDepth).get(), nullptr),
                          "a reader for nodes");
    fGuard = created(dds_create_guardcondition(participant), "a condition");
    attach(fParticipantReader, a_participants, true);
    attach(fPublicationReader, a_publications, true);
    attach(fSubscriptionReader, a_subscriptions, true);
    attach(fNodeReader, a_nodes, true);
    attach(fGuard, a_commands, false);
    fThread = std::thread([this] { xRun(); });
}

Ros2Source::Reading::~Reading() {
    fIsEnding = true;
    dds_set_guardcondition(fGuard.get(), true);
    fThread.join();
    xStopSearch();
    fLookups.reset();
    for (auto& [name, topic] : fTopics) {
        xRemove(topic);
    }
    for (const auto& [participant, values] : fNodes) {
        fSink.removeGroup(groupOf(participant));
    }
    fSink.removeGroup(a_domainGroup);
}

void Ros2Source::Reading::xRun() {
    Clock::time_point last = Clock::now();
    while (!fIsEnding) {
        const auto begin = Clock::now();
        xRunRound();
        const auto now = Clock::now();
        if (now - last >= a_period) {
            xShowRates(std::chrono::duration<double>(now - last).count());
            last = now;
        }
        std::this_thread::sleep_until(begin + a_rest);
    }
}

void Ros2Source::Reading::xRunRound() {
    std::array<dds_attach_t, a_mostEntries> triggered{};
    const dds_return_t count =
        dds_waitset_wait(fWaitset.get(), triggered.data(), triggered.size(), DDS_MSECS(200));
    // More may be triggered than there is room for, always in the same order.
    const auto entries = static_cast<std::size_t>(std::max(count, 0));
    std::vector<intptr_t> numbers(
        triggered.begin(),
        triggered.begin() + static_cast<std::ptrdiff_t>(std::min(entries, triggered.size())));
    if (entries > triggered.size()) {
        for (const auto& [number, topic] : fAttached) {
            numbers.push_back(number);
        }
    }
    for (const intptr_t number : numbers) {
        switch (number) {
            case a_participants:
                xTakeParticipants();
                break;
            case a_publications:
                xTakeEndpoints(fPublicationReader, true);
                break;
            case a_subscriptions:
                xTakeEndpoints(fSubscriptionReader, false);
                break;
            case a_nodes:
                xTakeNodes();
                break;
            case a_commands:
                dds_set_guardcondition(fGuard.get(), false);
                xRunCommands();
                break;
            default:
                if (const auto attached = fAttached.find(number); attached != fAttached.end()) {
                    xTakeSamples(*attached->second);
                }
        }
    }
    // The topics that discovery has changed, and those of commands.
    for (const std::string& name : std::exchange(fChanged, {})) {
        if (const auto known = fTopics.find(name); known != fTopics.end()) {
            xUpdate(known->second);
        }
    }
}

void Ros2Source::Reading::xPost(Command command) {
    const std::lock_guard lock(fMutex);
    fCommands.push_back(std::move(command));
    dds_set_guardcondition(fGuard.get(), true);
}

void Ros2Source::Reading::xRunCommands() {
    std::vector<Command> commands;
    {
        const std::lock_guard lock(fMutex);
        commands.swap(fCommands);
    }
    for (const Command& command : commands) {
        command();
    }
}

// ---- Discovery.

void Ros2Source::Reading::xTakeParticipants() {
    takeBuiltin<dds_builtintopic_participant_t>(
        fParticipantReader.get(), [&](const dds_builtintopic_participant_t* sample, bool isAlive) {
            const Guid guid = toGuid(sample->key);
            if (guid == fOwn) {
                return;
            }
            if (isAlive) {
                fParticipants.insert(guid);
                xStopSearch();
                return;
            }
            fParticipants.erase(guid);
            if (fNodes.count(guid) != 0) {
                xShowNodes({guid, {}});
            }
        });
}

void Ros2Source::Reading::xTakeEndpoints(const Entity& reader, bool areWriters) {
    takeBuiltin<dds_builtintopic_endpoint_t>(
        reader.get(), [&](const dds_builtintopic_endpoint_t* sample, bool isAlive) {
            if (isAlive) {
                xAddEndpoint(*sample, areWriters);
            } else {
                xRemoveEndpoint(toGuid(sample->key));
            }
        });
}

void Ros2Source::Reading::xAddEndpoint(const dds_builtintopic_endpoint_t& endpoint, bool isWriter) {
    const std::string name = rosTopic(endpoint.topic_name);
    const Guid guid = toGuid(endpoint.key);
    if (name.empty() || toGuid(endpoint.participant_key) == fOwn || !xIsSelected(name) ||
        fEndpoints.size() >= a_mostEndpoints) {
        return;
    }
    Topic* const topic = xTopicOf(name);
    if (topic == nullptr) {
        return;
    }
    fEndpoints[guid] = {name, isWriter};
    auto& endpoints = isWriter ? topic->fWriters : topic->fReaders;
    endpoints[guid] = {endpoint.type_name, policiesOf(endpoint.qos)};
    fChanged.insert(name);
    if (isWriter) {
        xChooseType(*topic);
        const dds_typeinfo_t* info = nullptr;
        auto* const writable = const_cast<dds_builtintopic_endpoint_t*>(&endpoint);
        if (endpoint.type_name == topic->fType && !topic->fMessage && !topic->fIsDescribed &&
            dds_builtintopic_get_endpoint_type_info(writable, &info) == DDS_RETCODE_OK &&
            info != nullptr) {
            xDescribe(*topic, info);
        }
    }
}

void Ros2Source::Reading::xRemoveEndpoint(const Guid& guid) {
    const auto known = fEndpoints.find(guid);
    if (known == fEndpoints.end()) {
        return;
    }
    const auto [name, isWriter] = known->second;
    fEndpoints.erase(known);
    if (const auto topic = fTopics.find(name); topic != fTopics.end()) {
        (isWriter ? topic->second.fWriters : topic->second.fReaders).erase(guid);
        fChanged.insert(name);
    }
}

void Ros2Source::Reading::xTakeNodes() {
    // Those that have sent the messages are known by now.
    xTakeParticipants();
    std::map<Guid, NodeInfo> newest;
    for (const TakenSample& sample : takeRaw(fNodeReader.get(), a_nodesDepth)) {
        std::optional<NodeInfo> info = nodeInfoOf(sample.fSample->bytes());
        // The last message of a participant may be taken after its end.
        if (info && fParticipants.count(info->fParticipant) != 0) {
            newest[info->fParticipant] = std::move(*info);
        }
    }
    for (const auto& [participant, info] : newest) {
        xShowNodes(info);
    }
}

std::vector<SourceValue> Ros2Source::Reading::xForgetNodes(const Guid& participant) {
    auto writer = fNodeOfWriter.lower_bound(firstIdOf(participant));
    while (writer != fNodeOfWriter.end() && isOf(participant, writer->first)) {
        writer = fNodeOfWriter.erase(writer);
    }
    const auto former = fNodes.find(participant);
    if (former == fNodes.end()) {
        return {};
    }
    std::vector<SourceValue> values = std::move(former->second);
    fNodes.erase(former);
    fNodeValues -= values.size();
    return values;
}

void Ros2Source::Reading::xShowNodes(const NodeInfo& info) {
    const std::vector<SourceValue> former = xForgetNodes(info.fParticipant);
    std::vector<SourceValue> values;
    for (const Node& node : info.fNodes) {
        if (fNodeValues + values.size() >= a_mostNodeValues) {
            if (!std::exchange(fHasReportedNodes, true)) {
                fSink.complain("there are more than " + std::to_string(a_mostNodesTotal) +
                               " nodes; the others are left out");
            }
            break;
        }
        const std::string name = base::oneLine(base::shortened(node.fName, 200));
        values.push_back({"ROS/Nodes" + name + "/Publishers", "", "Topics that the node publishes",
                          static_cast<std::int64_t>(node.fWriters.size())});
        values.push_back({"ROS/Nodes" + name + "/Subscribers", "",
                          "Topics that the node subscribes to",
                          static_cast<std::int64_t>(node.fReaders.size())});
        for (const Guid& writer : node.fWriters) {
            if (isOf(info.fParticipant, writer) && fNodeOfWriter.size() < a_mostEndpoints) {
                fNodeOfWriter[writer] = name;
            }
        }
    }
    if (values.empty()) {
        fSink.removeGroup(groupOf(info.fParticipant));
    } else {
        fSink.replaceValues(groupOf(info.fParticipant), values);
        fNodeValues += values.size();
        fNodes[info.fParticipant] = std::move(values);
    }
    xShowTwins(info.fParticipant, former);
}

void Ros2Source::Reading::xShowTwins(const Guid& participant,
                                     const std::vector<SourceValue>& former) {
    std::set<std::string_view> names;
    for (const SourceValue& value : former) {
        names.insert(value.fName);
    }
    for (const auto& [other, values] : fNodes) {
        const bool isTwin =
            other != participant &&
            std::any_of(values.begin(), values.end(),
                        [&](const SourceValue& value) { return names.count(value.fName) != 0; });
        if (isTwin) {
            fSink.setValues(groupOf(other), values);
        }
    }
}

// ---- Topics.

Topic* Ros2Source::Reading::xTopicOf(const std::string& name) {
    const auto known = fTopics.find(name);
    if (known != fTopics.end()) {
        return &known->second;
    }
    if (fTopics.size() >= a_mostTopics) {
        if (!std::exchange(fHasReportedLimit, true)) {
            fSink.complain("there are more than " + std::to_string(a_mostTopics) +
                           " topics; the others are left out (--topics selects)");
        }
        return nullptr;
    }
    Topic& topic = fTopics[name];
    topic.fName = name;
    topic.fKeys = base::oneLine(base::shortened(std::string_view(name).substr(1), 200));
    return &topic;
}

bool Ros2Source::Reading::xIsSelected(const std::string& name) const {
    const auto match = [&](const std::string& pattern) { return matches(pattern, name); };
    return fOptions.fTopics.empty() ||
           std::any_of(fOptions.fTopics.begin(), fOptions.fTopics.end(), match) ||
           std::find(fOptions.fWritable.begin(), fOptions.fWritable.end(), name) !=
               fOptions.fWritable.end();
}

void Ros2Source::Reading::xUpdate(Topic& topic) {
    const bool isWritable = std::find(fOptions.fWritable.begin(), fOptions.fWritable.end(),
                                      topic.fName) != fOptions.fWritable.end();
    if (topic.fWriters.empty() && !(isWritable && !topic.fReaders.empty())) {
        xRemove(topic);
        if (topic.fReaders.empty()) {
            fTopics.erase(std::string(topic.fName));
        }
        return;
    }
    xChooseType(topic);
    if (isWritable) {
        xUpdateWriter(topic);
    }
    topic.fRole = roleOf(rosType(topic.fType), topic.fMessage != nullptr);
    if (topic.fRole == Role::Image || topic.fRole == Role::CompressedImage) {
        xOfferCamera(topic);
    }
    xUpdateReader(topic);
    const std::string problem = xMatchProblem(topic);
    if (std::exchange(topic.fMatchProblem, problem) != problem && !problem.empty()) {
        fSink.complain(base::oneLine(topic.fName) + ": " + problem);
    }
}

std::string Ros2Source::Reading::xMatchProblem(const Topic& topic) const {
    // Most nodes have the same few policies.
    constexpr std::size_t most = 32;
    const auto kindsOf = [](const std::map<Guid, Endpoint>& endpoints) {
        std::set<QosPolicies> kinds;
        for (const auto& [guid, endpoint] : endpoints) {
            if (kinds.size() < most) {
                kinds.insert(endpoint.fPolicies);
            }
        }
        return kinds;
    };
    const std::set<QosPolicies> writers = kindsOf(topic.fWriters);
    const QosPolicies ours = policiesOf(makeReaderQos(false, a_plainDepth).get());
    for (const QosPolicies& writer : writers) {
        const std::string policies = mismatch(writer, ours);
        if (!policies.empty()) {
            return "the bridge does not match the QoS of a publisher: " + policies;
        }
    }
    const QosPolicies writing = policiesOf(makeWriterQos().get());
    for (const QosPolicies& reader : kindsOf(topic.fReaders)) {
        std::string policies;
        for (const QosPolicies& writer : writers) {
            policies = mismatch(writer, reader);
            if (policies.empty()) {
                break;
            }
        }
        if (!policies.empty()) {
            return "a subscriber receives nothing, since no publisher matches its QoS: " + policies;
        }
        if (topic.fWriter && !mismatch(writing, reader).empty()) {
            return "a subscriber does not receive what is set, since the bridge does not match its "
                   "QoS: " +
                   mismatch(writing, reader);
        }
    }
    for (const auto& [guid, reader] : topic.fReaders) {
        if (reader.fType != topic.fType) {
            return "a subscriber expects another type, " +
                   base::oneLine(base::shortened(rosType(reader.fType), 200));
        }
    }
    return {};
}

/** Forgets everything but the readers on the network. */
void Ros2Source::Reading::xRemove(Topic& topic) {
    xCloseReader(topic);
    fSink.removeGroup("topic " + topic.fName);
    fSink.removeGroup("row " + topic.fName);
    if (topic.fIsCamera) {
        fSink.removeCamera(topic.fKeys);
    }
    Topic rest;
    rest.fName = topic.fName;
    rest.fKeys = topic.fKeys;
    rest.fReaders = std::move(topic.fReaders);
    topic = std::move(rest);
}

void Ros2Source::Reading::xChooseType(Topic& topic) {
    const auto& endpoints = topic.fWriters.empty() ? topic.fReaders : topic.fWriters;
    const bool isCurrent =
        std::any_of(endpoints.begin(), endpoints.end(),
                    [&](const auto& endpoint) { return endpoint.second.fType == topic.fType; });
    if (!isCurrent && !endpoints.empty()) {
        xCloseReader(topic);
        topic.fType = endpoints.begin()->second.fType;
        topic.fIsDescribed = false;
        topic.fIsAwaited = false;
        topic.fMessage = knownType(rosType(topic.fType));
    }
    const bool isMixed =
        std::any_of(topic.fWriters.begin(), topic.fWriters.end(),
                    [&](const auto& writer) { return writer.second.fType != topic.fType; });
    if (isMixed) {
        xReport(topic, "other nodes publish another type on this topic, which is left out");
    }
}

void Ros2Source::Reading::xDescribe(Topic& topic, const dds_typeinfo_t* info) {
    const std::string type = rosType(topic.fType);
    if (roleOf(type, false) != Role::Counted || fDescribing >= a_mostTopics) {
        return;
    }
    topic.fIsDescribed = true;
    topic.fIsAwaited = true;
    ++fDescribing;
    const std::shared_ptr<const dds_typeinfo_t> copy = copyOf(info);
    // The writer is asked, which may take long.
    fLookups->start([this, copy, type, name = topic.fName, participant = fParticipant.get()] {
        const auto described = describedType(participant, copy.get(), type);
        return [this, described, type, name] {
            xPost([this, described, type, name] {
                --fDescribing;
                const auto known = fTopics.find(name);
                if (known == fTopics.end() || rosType(known->second.fType) != type) {
                    return;
                }
                known->second.fIsAwaited = false;
                if (described) {
                    xCloseReader(known->second);
                    known->second.fMessage = described;
                    fChanged.insert(name);
                }
            });
        };
    });
}

void Ros2Source::Reading::xUpdateReader(Topic& topic) {
    const bool isPicture = topic.fRole == Role::Image || topic.fRole == Role::CompressedImage;
    if (topic.fWriters.empty() || (isPicture && !topic.fIsWatched)) {
        xCloseReader(topic);
        return;
    }
    const bool latched = std::all_of(topic.fWriters.begin(), topic.fWriters.end(),
                                     [](const auto& writer) { return writer.second.isLatched(); });
    if (topic.fReader && topic.fIsReaderLatched == latched) {
        return;
    }
    xCloseReader(topic);
    topic.fArrivals->fLargest = isPicture                     ? a_largestPicture
                                : topic.fRole == Role::Values ? a_largestValues
                                                              : 0;
    const RawTopic raw =
        createRawTopic(fParticipant.get(), ddsTopic(topic.fName), topic.fType, topic.fArrivals);
    if (raw.fEntity < 0) {
        xReport(topic, std::string("it cannot be read: ") + dds_strretcode(raw.fEntity));
        return;
    }
    topic.fTopicEntity = Entity(raw.fEntity);
    const int depth = isShared(rosType(topic.fType)) ? a_sharedDepth : a_plainDepth;
    topic.fReader = Entity(dds_create_reader(fParticipant.get(), raw.fEntity,
                                             makeReaderQos(latched, depth).get(), nullptr));
    topic.fIsReaderLatched = latched;
    // Samples that are counted need nobody who takes them.
    if (topic.fReader && topic.fRole != Role::Counted) {
        const intptr_t number = fNextAttachment++;
        fAttached[number] = &topic;
        fAttachmentOf[&topic] = number;
        dds_set_status_mask(topic.fReader.get(), DDS_DATA_AVAILABLE_STATUS);
        dds_waitset_attach(fWaitset.get(), topic.fReader.get(), number);
    }
}

void Ros2Source::Reading::xCloseReader(Topic& topic) {
    if (const auto number = fAttachmentOf.find(&topic); number != fAttachmentOf.end()) {
        dds_waitset_detach(fWaitset.get(), topic.fReader.get());
        fAttached.erase(number->second);
        fAttachmentOf.erase(number);
    }
    topic.fReader.reset();
    topic.fTopicEntity.reset();
}

void Ros2Source::Reading::xUpdateWriter(Topic& topic) {
    const std::shared_ptr<const MessageType> type = knownType(rosType(topic.fType));
    if (topic.fWriter && topic.fWriter->fType == type) {
        return;
    }
    topic.fWriter.reset();
    if (!type || !isStdValue(*type)) {
        xReport(topic, "it cannot be written: only numbers, bools and texts of std_msgs can");
        return;
    }
    auto writer = std::make_shared<TopicWriter>();
    writer->fType = type;
    writer->fTopic = createRawTopic(fParticipant.get(), ddsTopic(topic.fName), topic.fType,
                                    std::make_shared<Arrivals>());
    writer->fTopicEntity = Entity(std::max(writer->fTopic.fEntity, 0));
    writer->fWriter =
        Entity(std::max(0, dds_create_writer(fParticipant.get(), writer->fTopic.fEntity,
                                             makeWriterQos().get(), nullptr)));
    if (!writer->fWriter) {
        xReport(topic, "it cannot be written");
        return;
    }
    topic.fWriter = writer;
    fSink.addWritable(
        "topic " + topic.fName,
        {topic.fKeys, "", "Published when it is set", initialStdValue(*type)},
        [writer](const KVValue& value) {
            const dds_return_t written =
                writeRaw(writer->fWriter.get(), writer->fTopic, stdMessage(*writer->fType, value));
            if (written < 0) {
                throw KVError(KVError::Cause::RaisedByModule,
                              std::string("DDS has not sent it: ") + dds_strretcode(written) + ".");
            }
        });
}

void Ros2Source::Reading::xOfferCamera(Topic& topic) {
    CameraFigures figures = topic.fSeen;
    if (figures.fWidth == 0) {
        const auto size = fCameraSizes.find(folderOf(topic.fName));
        const bool isKnown = size != fCameraSizes.end();
        figures = {isKnown ? size->second.first : a_guessedWidth,
                   isKnown ? size->second.second : a_guessedHeight,
                   topic.fRole == Role::Image ? "rgb" : "jpeg"};
    }
    if (topic.fIsCamera && (topic.fIsWatched || topic.fAnnounced == figures)) {
        return;
    }
    topic.fIsCamera = true;
    topic.fAnnounced = figures;
    fSink.addCamera({topic.fKeys, "Topic " + base::oneLine(base::shortened(topic.fName, 200)),
                     figures.fWidth, figures.fHeight, figures.fFormat,
                     [this, name = topic.fName](bool isWatched) {
                         xPost([this, name, isWatched] { xWatch(name, isWatched); });
                     }});
}

void Ros2Source::Reading::xWatch(const std::string& name, bool isWatched) {
    if (const auto known = fTopics.find(name); known != fTopics.end()) {
        known->second.fIsWatched = isWatched;
        fChanged.insert(name);
    }
}

// ---- Samples.

void Ros2Source::Reading::xTakeSamples(Topic& topic) {
    for (const TakenSample& sample : takeRaw(topic.fReader.get(), a_sharedDepth)) {
        if (topic.fRole == Role::Values) {
            xShowValues(topic, sample);
        } else {
            xShowPicture(topic, sample);
        }
    }
}

void Ros2Source::Reading::xShowValues(Topic& topic, const TakenSample& sample) {
    const Bytes bytes = sample.fSample->bytes();
    MessageValues values =
        valuesOf(*topic.fMessage, prefixFor(topic.fName, *topic.fMessage), bytes, sample.fTime);
    if (!values.fIsGood) {
        xReport(topic, "a message of " + std::to_string(bytes.fSize) + " bytes is not a " +
                           topic.fMessage->name());
        return;
    }
    if (!values.fIsComplete) {
        xReport(topic, "it has more values than are shown");
    }
    fSink.setValues("topic " + topic.fName, values.fValues);
    xNoteCameraInfo(topic, values.fValues);
}

void Ros2Source::Reading::xShowPicture(Topic& topic, const TakenSample& sample) {
    const Bytes bytes = sample.fSample->bytes();
    const picture::ImageResult result =
        topic.fRole == Role::Image ? imageOf(bytes, sample.fSample, sample.fTime)
                                   : compressedImageOf(bytes, sample.fSample, sample.fTime);
    if (!result.fProblem.empty()) {
        xReport(topic, "a picture cannot be shown: " + result.fProblem);
        return;
    }
    topic.fSeen = {static_cast<int>(result.fFrame.fWidth), static_cast<int>(result.fFrame.fHeight),
                   picture::formatName(result.fFrame.fFormat)};
    fSink.publish(topic.fKeys, result.fFrame);
}

void Ros2Source::Reading::xNoteCameraInfo(const Topic& topic,
                                          const std::vector<SourceValue>& values) {
    if (topic.fMessage->name() != "sensor_msgs/msg/CameraInfo") {
        return;
    }
    int width = 0;
    int height = 0;
    for (const SourceValue& value : values) {
        const bool isSize = value.fValue.type() == KVValue::Type::Int && value.fValue.toInt() > 0 &&
                            value.fValue.toInt() <= 65535;
        if (isSize && value.fName == topic.fKeys + "/width") {
            width = value.fValue.to<int>();
        } else if (isSize && value.fName == topic.fKeys + "/height") {
            height = value.fValue.to<int>();
        }
    }
    const std::string folder = folderOf(topic.fName);
    const std::pair size(width, height);
    if (width == 0 || height == 0) {
        return;
    }
    if (fCameraSizes.size() >= a_mostTopics && fCameraSizes.count(folder) == 0) {
        fCameraSizes.clear();  // those of topics that are gone pile up
    }
    if (std::exchange(fCameraSizes[folder], size) == size) {
        return;
    }
    for (const auto& [name, other] : fTopics) {
        if (other.fIsCamera && folderOf(name) == folder) {
            fChanged.insert(name);
        }
    }
}

void Ros2Source::Reading::xReport(Topic& topic, const std::string& problem) {
    if (topic.fProblem != problem) {
        // The line for the user is written once for each topic.
        if (topic.fProblem.empty()) {
            fSink.complain(base::oneLine(topic.fName) + ": " + problem);
        }
        topic.fProblem = problem;
    }
}

void Ros2Source::Reading::xShowRates(double seconds) {
    for (auto& [name, topic] : fTopics) {
        const std::uint64_t samples = topic.fArrivals->fSamples;
        const std::uint64_t bytes = topic.fArrivals->fBytes;
        if (topic.fArrivals->fTooLarge != 0 && topic.fRole != Role::Counted) {
            xReport(topic, "messages are too large, and dropped");
        }
        if (!topic.fWriters.empty() || topic.fWriter) {
            xShowTopic(topic, static_cast<double>(samples - topic.fLastSamples) / seconds,
                       static_cast<double>(bytes - topic.fLastBytes) / seconds);
        }
        topic.fLastSamples = samples;
        topic.fLastBytes = bytes;
    }
    std::vector<SourceValue> values{
        {"ROS/Domain", "", "Number of the domain, ROS_DOMAIN_ID", fOptions.fDomain},
        {"ROS/Participants", "", "Programs in the domain, without this one",
         static_cast<std::int64_t>(fParticipants.size())}};
    xSearch();
    if (!fDomainProblem.empty()) {
        values.push_back({"ROS/Problem", "", "Reason why no program is found", fDomainProblem});
    }
    fSink.replaceValues(a_domainGroup, values);
}

void Ros2Source::Reading::xStopSearch() {
    if (fSearch) {
        fSearch->stop();
        fSearch.reset();
    }
    fDomainProblem.clear();
}

void Ros2Source::Reading::xSearch() {
    if (!fParticipants.empty() || fIsSearching) {
        return;
    }
    if (!fSearch) {
        fSearch = std::make_shared<DomainSearch>(fOptions.fDomain, fOptions.fInterface, fOwn);
    }
    fIsSearching = true;
    fLookups->start([this, search = fSearch] {
        const std::string problem = search->run();
        return [this, search, problem] {
            xPost([this, search, problem] {
                fIsSearching = false;
                if (search != fSearch) {
                    return;  // somebody has been found
                }
                if (std::exchange(fDomainProblem, problem) != problem) {
                    fSink.complain(problem);
                }
            });
        };
    });
}

void Ros2Source::Reading::xShowTopic(Topic& topic, double samples, double bytes) {
    const std::string row = "ROS/Topics/" + topic.fKeys;
    std::vector<SourceValue> values{
        {row + "/Type", "", "Type of the messages", base::oneLine(rosType(topic.fType))},
        {row + "/Rate", "Hz", "Messages in a second", samples},
        {row + "/Throughput", "B/s", "Bytes in a second", bytes},
        {row + "/Publishers", "", "Nodes or programs that publish it",
         static_cast<std::int64_t>(topic.fWriters.size())},
        {row + "/Nodes", "", "Nodes that publish it", xNodesOf(topic)}};
    const std::string problem = problemOf(topic);
    if (!problem.empty()) {
        values.push_back({row + "/Problem", "", "Reason why messages are missing", problem});
    }
    fSink.replaceValues("row " + topic.fName, values);
}

std::string Ros2Source::Reading::xNodesOf(const Topic& topic) const {
    constexpr std::size_t most = 8;
    std::set<std::string> names;
    for (const auto& [guid, endpoint] : topic.fWriters) {
        const auto node = fNodeOfWriter.find(guid);
        if (node != fNodeOfWriter.end() && names.size() < most) {
            names.insert(node->second);
        }
    }
    std::string result;
    for (const std::string& name : names) {
        result += (result.empty() ? "" : ", ") + name;
    }
    return result;
}

}  // namespace bridge
