#include "ros2/topic_list.h"

#include "ros2/names.h"
#include "ros2/std_value.h"
#include "ros2/topic_problems.h"
#include "ros2/type_description.h"

#include <base/safe_text.h>
#include <picture/pixel_format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <exception>
#include <memory>
#include <ros2_message/image_message.h>
#include <ros2_message/message_table.h>
#include <ros2_message/message_values.h>
#include <string_view>

namespace bridge {

namespace {

using ros2_message::Bytes;
using ros2_message::compressedImageOf;
using ros2_message::imageOf;
using ros2_message::knownType;
using ros2_message::MessageType;
using ros2_message::MessageValues;
using ros2_message::prefixFor;
using ros2_message::valuesOf;

constexpr std::size_t a_mostTopics = 4096;

constexpr std::size_t a_largestPicture = 64UL << 20U;  // bytes of a message with a picture

// Samples that are kept between two rounds. Several nodes write to some topics, each a part of the
// whole.
constexpr int a_plainDepth = 1;
constexpr int a_sharedDepth = 16;

constexpr std::array<const char*, 4> a_sharedTypes{
    "sensor_msgs/msg/JointState", "tf2_msgs/msg/TFMessage", "diagnostic_msgs/msg/DiagnosticArray",
    "rcl_interfaces/msg/Log"};

constexpr int a_guessedWidth = 640;
constexpr int a_guessedHeight = 480;

bool isShared(const std::string& rosType) {
    return std::any_of(a_sharedTypes.begin(), a_sharedTypes.end(),
                       [&](const char* shared) { return rosType == shared; });
}

}  // namespace

TopicList::TopicList(const Ros2Options& options, dds_entity_t participant, EventLoop& loop,
                     base::Lookups& lookups, const NodeList& nodes, Sink& sink)
    : fOptions(options),
      fParticipant(participant),
      fLoop(loop),
      fLookups(lookups),
      fNodes(nodes),
      fSink(sink) {
}

TopicList::~TopicList() {
    for (auto& [name, topic] : fTopics) {
        xRemove(topic);
    }
}

void TopicList::add(const FoundEndpoint& found) {
    if (!xIsSelected(found.fTopic) || fEndpoints.size() >= a_mostEndpoints) {
        return;
    }
    Topic* const topic = xTopicOf(found.fTopic);
    if (topic == nullptr) {
        return;
    }
    fEndpoints[found.fGuid] = {found.fTopic, found.fIsWriter};
    auto& endpoints = found.fIsWriter ? topic->fWriters : topic->fReaders;
    endpoints[found.fGuid] = found.fEndpoint;
    fChanged.insert(found.fTopic);
    if (found.fIsWriter) {
        xChooseType(*topic);
        if (found.fTypeInfo != nullptr && found.fEndpoint.fType == topic->fType &&
            !topic->fMessage && !topic->fIsDescribed) {
            xDescribe(*topic, found.fTypeInfo);
        }
    }
}

void TopicList::remove(const Guid& endpoint) {
    const auto known = fEndpoints.find(endpoint);
    if (known == fEndpoints.end()) {
        return;
    }
    const auto [name, isWriter] = known->second;
    fEndpoints.erase(known);
    if (const auto topic = fTopics.find(name); topic != fTopics.end()) {
        (isWriter ? topic->second.fWriters : topic->second.fReaders).erase(endpoint);
        fChanged.insert(name);
    }
}

void TopicList::update() {
    for (const std::string& name : std::exchange(fChanged, {})) {
        if (const auto known = fTopics.find(name); known != fTopics.end()) {
            xUpdate(known->second);
        }
    }
}

Topic* TopicList::xTopicOf(const std::string& name) {
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

bool TopicList::xIsSelected(const std::string& name) const {
    const auto match = [&](const std::string& pattern) { return matches(pattern, name); };
    return fOptions.fTopics.empty() ||
           std::any_of(fOptions.fTopics.begin(), fOptions.fTopics.end(), match) ||
           xIsWritable(name);
}

bool TopicList::xIsWritable(const std::string& name) const {
    return std::find(fOptions.fWritable.begin(), fOptions.fWritable.end(), name) !=
           fOptions.fWritable.end();
}

void TopicList::xUpdate(Topic& topic) {
    const bool isWritable = xIsWritable(topic.fName);
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
    const std::string problem = matchProblemOf(topic);
    if (std::exchange(topic.fMatchProblem, problem) != problem && !problem.empty()) {
        fSink.complain(base::oneLine(topic.fName) + ": " + problem);
    }
}

/** Forgets everything but the readers on the network. */
void TopicList::xRemove(Topic& topic) {
    topic.fReader.reset();
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

void TopicList::xChooseType(Topic& topic) {
    const auto& endpoints = topic.fWriters.empty() ? topic.fReaders : topic.fWriters;
    const bool isCurrent =
        std::any_of(endpoints.begin(), endpoints.end(),
                    [&](const auto& endpoint) { return endpoint.second.fType == topic.fType; });
    if (!isCurrent && !endpoints.empty()) {
        topic.fReader.reset();
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

void TopicList::xDescribe(Topic& topic, const dds_typeinfo_t* info) {
    const std::string type = rosType(topic.fType);
    if (roleOf(type, false) != Role::Counted || fDescribing >= a_mostTopics) {
        return;
    }
    topic.fIsDescribed = true;
    topic.fIsAwaited = true;
    ++fDescribing;
    const std::shared_ptr<const dds_typeinfo_t> copy = copyOf(info);
    // The writer is asked, which may take long.
    fLookups.start([this, copy, type, name = topic.fName, participant = fParticipant] {
        const auto described = describedType(participant, copy.get(), type);
        return [this, described, type, name] {
            fLoop.post([this, described, type, name] {
                --fDescribing;
                const auto known = fTopics.find(name);
                if (known == fTopics.end() || rosType(known->second.fType) != type) {
                    return;
                }
                known->second.fIsAwaited = false;
                if (described) {
                    known->second.fReader.reset();
                    known->second.fMessage = described;
                    fChanged.insert(name);
                }
            });
        };
    });
}

void TopicList::xUpdateReader(Topic& topic) {
    const bool isPicture = topic.fRole == Role::Image || topic.fRole == Role::CompressedImage;
    if (topic.fWriters.empty() || (isPicture && !topic.fIsWatched)) {
        topic.fReader.reset();
        return;
    }
    const bool latched = std::all_of(topic.fWriters.begin(), topic.fWriters.end(),
                                     [](const auto& writer) { return writer.second.isLatched(); });
    if (topic.fReader && topic.fReader->isLatched() == latched) {
        return;
    }
    topic.fReader.reset();
    topic.fArrivals->fLargest = isPicture                     ? a_largestPicture
                                : topic.fRole == Role::Values ? ros2_message::a_largestMessage
                                                              : 0;
    const int depth = isShared(rosType(topic.fType)) ? a_sharedDepth : a_plainDepth;
    const ReadTopic read{ddsTopic(topic.fName), topic.fType, topic.fArrivals, latched, depth};
    EventLoop::Handler takeSamples;
    // Samples that are counted need nobody who takes them.
    if (topic.fRole != Role::Counted) {
        takeSamples = [this, &topic] { xTakeSamples(topic); };
    }
    try {
        topic.fReader =
            std::make_unique<TopicReader>(fParticipant, fLoop, read, std::move(takeSamples));
    } catch (const std::exception& failure) {
        xReport(topic, std::string("it cannot be read: ") + failure.what());
    }
}

void TopicList::xUpdateWriter(Topic& topic) {
    const std::shared_ptr<const MessageType> type = knownType(rosType(topic.fType));
    if (topic.fWriter && topic.fWriter->message() == type) {
        return;
    }
    topic.fWriter.reset();
    if (!type || !isStdValue(*type)) {
        xReport(topic, "it cannot be written: only numbers, bools and texts of std_msgs can");
        return;
    }
    try {
        topic.fWriter = std::make_shared<const TopicWriter>(fParticipant, ddsTopic(topic.fName),
                                                            topic.fType, type);
    } catch (const std::exception& failure) {
        xReport(topic, std::string("it cannot be written: ") + failure.what());
        return;
    }
    fSink.addWritable("topic " + topic.fName,
                      {topic.fKeys, "", "Published when it is set", initialStdValue(*type)},
                      [writer = topic.fWriter](const KVValue& value) { writer->write(value); });
}

void TopicList::xOfferCamera(Topic& topic) {
    CameraFigures figures = topic.fSeen;
    if (figures.fWidth == 0) {
        const auto [width, height] =
            fCameraSizes.sizeOf(topic.fName).value_or(std::pair(a_guessedWidth, a_guessedHeight));
        figures = {width, height, topic.fRole == Role::Image ? "rgb" : "jpeg"};
    }
    if (topic.fIsCamera && (topic.fIsWatched || topic.fAnnounced == figures)) {
        return;
    }
    topic.fIsCamera = true;
    topic.fAnnounced = figures;
    fSink.addCamera({topic.fKeys, "Topic " + base::oneLine(base::shortened(topic.fName, 200)),
                     figures.fWidth, figures.fHeight, figures.fFormat,
                     [this, name = topic.fName](bool isWatched) {
                         fLoop.post([this, name, isWatched] { xWatch(name, isWatched); });
                     }});
}

void TopicList::xWatch(const std::string& name, bool isWatched) {
    if (const auto known = fTopics.find(name); known != fTopics.end()) {
        known->second.fIsWatched = isWatched;
        fChanged.insert(name);
    }
}

void TopicList::xTakeSamples(Topic& topic) {
    for (const TakenSample& sample : topic.fReader->take()) {
        if (topic.fRole == Role::Values) {
            xShowValues(topic, sample);
        } else {
            xShowPicture(topic, sample);
        }
    }
}

void TopicList::xShowValues(Topic& topic, const TakenSample& sample) {
    const Bytes bytes = sample.fSample->bytes();
    MessageValues values = valuesOf(*topic.fMessage, prefixFor(topic.fName, topic.fMessage->name()),
                                    bytes, sample.fTime);
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

void TopicList::xShowPicture(Topic& topic, const TakenSample& sample) {
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

void TopicList::xNoteCameraInfo(const Topic& topic, const std::vector<SourceValue>& values) {
    if (topic.fMessage->name() != "sensor_msgs/msg/CameraInfo" ||
        !fCameraSizes.note(topic.fName, topic.fKeys, values)) {
        return;
    }
    for (const auto& [name, other] : fTopics) {
        if (other.fIsCamera && folderOf(name) == folderOf(topic.fName)) {
            fChanged.insert(name);
        }
    }
}

void TopicList::xReport(Topic& topic, const std::string& problem) {
    if (topic.fProblem != problem) {
        // The line for the user is written once for each topic.
        if (topic.fProblem.empty()) {
            fSink.complain(base::oneLine(topic.fName) + ": " + problem);
        }
        topic.fProblem = problem;
    }
}

void TopicList::showRates(double seconds) {
    for (auto& [name, topic] : fTopics) {
        const std::uint64_t samples = topic.fArrivals->fSamples;
        const std::uint64_t bytes = topic.fArrivals->fBytes;
        if (topic.fArrivals->fTooLarge != 0) {
            xReport(topic, "messages are too large, and dropped");
        }
        if (!topic.fWriters.empty() || topic.fWriter) {
            xShowTopic(topic, static_cast<double>(samples - topic.fLastSamples) / seconds,
                       static_cast<double>(bytes - topic.fLastBytes) / seconds);
        }
        topic.fLastSamples = samples;
        topic.fLastBytes = bytes;
    }
}

void TopicList::xShowTopic(Topic& topic, double samples, double bytes) {
    const std::string row = "ROS/Topics/" + topic.fKeys;
    std::vector<SourceValue> values{
        {row + "/Type", "", "Type of the messages", base::oneLine(rosType(topic.fType))},
        {row + "/Rate", "Hz", "Messages in a second", samples},
        {row + "/Throughput", "B/s", "Bytes in a second", bytes},
        {row + "/Publishers", "", "Nodes or programs that publish it",
         static_cast<std::int64_t>(topic.fWriters.size())},
        {row + "/Nodes", "", "Nodes that publish it", fNodes.namesFor(topic.fWriters)}};
    const std::string problem = problemOf(topic);
    if (!problem.empty()) {
        values.push_back({row + "/Problem", "", "Reason why messages are missing", problem});
    }
    fSink.replaceValues("row " + topic.fName, values);
}

}  // namespace bridge
