#include "doctor/checks.h"
#include "process/failure.h"
#include "values/memory_module.h"

#include <base/safe_text.h>

#include <string_view>

namespace robaxi_tool {

namespace {

constexpr std::string_view a_domain = "ROS/Domain";
constexpr std::string_view a_problem = "ROS/Problem";
constexpr std::string_view a_topics = "ROS/Topics/";
constexpr std::string_view a_topicProblem = "/Problem";

constexpr std::size_t a_longestText = 500;  // bytes
constexpr std::size_t a_mostTopics = 10;    // that are named

const Finding a_noBridge = {Verdict::Skipped, "It is not a bridge to ROS 2.", {}};

/** Returns the topic of a key "ROS/Topics/TOPIC/Problem"; empty for another key. */
std::string topicOf(std::string_view key) {
    const bool isProblem = key.size() > a_topics.size() + a_topicProblem.size() &&
                           key.substr(0, a_topics.size()) == a_topics &&
                           key.substr(key.size() - a_topicProblem.size()) == a_topicProblem;
    if (!isProblem) {
        return {};
    }
    key.remove_prefix(a_topics.size() - 1);
    key.remove_suffix(a_topicProblem.size());
    return std::string(key);
}

std::string textAt(const Values& values, std::string_view key) {
    const auto found = values.find(std::string(key));
    const bool isText =
        found != values.end() && found->second.fValue.type() == KVValue::Type::String;
    return isText ? base::oneLine(base::shortened(found->second.fValue.toString(), a_longestText))
                  : std::string();
}

Finding topicProblems(const Values& values) {
    std::size_t count = 0;
    std::string named;
    for (const auto& [key, value] : values) {
        const std::string topic = topicOf(key);
        if (!topic.empty() && ++count <= a_mostTopics) {
            named += (named.empty() ? "" : "; ") + base::oneLine(base::shortened(topic, 200)) +
                     ": " + textAt(values, key);
        }
    }
    if (count == 0) {
        return {Verdict::Good, "The bridge reads the topics of ROS 2.", {}};
    }
    const std::string more =
        count > a_mostTopics ? "; and " + std::to_string(count - a_mostTopics) + " more" : "";
    return {Verdict::Note,
            "Topics of ROS 2 are missing or incomplete (" + std::to_string(count) + "): " + named +
                more + '.',
            "docs/ros2.md explains the causes."};
}

}  // namespace

Finding checkRos2(Examination& examination) {
    if (!examination.fIsConnected) {
        return {Verdict::Skipped, "There is no connection.", {}};
    }
    try {
        const RobotLink link(loadSettings(), *examination.fEndpoint, examination.fTimeout);
        MemoryModule memory(link, "KVMemory", examination.fInterruption);
        const Values& values = memory.heldValues();
        if (values.count(std::string(a_domain)) == 0) {
            return a_noBridge;
        }
        const std::string problem = textAt(values, a_problem);
        return problem.empty() ? topicProblems(values) : problemOf(problem);
    } catch (const KVError&) {
        return a_noBridge;
    } catch (const Failure& failure) {
        return {Verdict::Skipped, failure.what(), {}};
    }
}

}  // namespace robaxi_tool
