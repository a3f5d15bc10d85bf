#include "recording/channel_choice.h"

#include "process/failure.h"
#include "values/key_pattern.h"

#include <algorithm>
#include <recorded_robot/recorded_robot.h>

namespace robaxi_tool {

namespace {

using recorded_robot::Content;
using recorded_robot::RecordedChannel;

/** Chooses channels and remembers which keys and cameras were found. */
class Choice {
  public:
    explicit Choice(const ChannelChoice& choice) : fChoice(choice) {}

    bool wants(const std::string& topic, const RecordedChannel& channel) {
        const bool isTopic =
            std::any_of(fChoice.fTopics.begin(), fChoice.fTopics.end(),
                        [&](const std::string& pattern) { return matchesKey(pattern, topic); });
        return xWantsContent(channel) || isTopic;
    }

    void requireAll() const {
        for (const std::string& pattern : fChoice.fPatterns) {
            if (fFound.count(pattern) == 0 && !fHasGroups) {
                throw Failure(ExitStatus::NotOffered, "No recorded key matches '" + pattern + "'.");
            }
        }
        for (const std::string& camera : fChoice.fCameras) {
            if (fFoundCameras.count(camera) == 0) {
                throw Failure(ExitStatus::NotOffered,
                              "There is no recorded camera '" + camera + "'.");
            }
        }
    }

  private:
    bool xWantsContent(const RecordedChannel& channel) {
        switch (channel.fContent) {
            case Content::Value:
            case Content::JsonFields:
            case Content::ProtobufFields:
            case Content::Ros2Fields:
                return xMatches(channel.fName);
            case Content::Group:
                fHasGroups = true;
                return !fChoice.fPatterns.empty();
            case Content::Picture:
            case Content::JsonPicture:
            case Content::Ros2Picture:
            case Content::Ros2CompressedPicture:
                return xIsCamera(channel.fName);
            case Content::Events:
                return !fChoice.fPatterns.empty() || !fChoice.fCameras.empty();
            case Content::Unknown:
                break;
        }
        return false;
    }

    bool xMatches(const std::string& key) {
        bool isWanted = false;
        for (const std::string& pattern : fChoice.fPatterns) {
            if (matchesKey(pattern, key)) {
                fFound.insert(pattern);
                isWanted = true;
            }
        }
        return isWanted;
    }

    bool xIsCamera(const std::string& name) {
        const auto& cameras = fChoice.fCameras;
        const bool isWanted = std::find(cameras.begin(), cameras.end(), name) != cameras.end();
        if (isWanted) {
            fFoundCameras.insert(name);
        }
        return isWanted;
    }

    const ChannelChoice& fChoice;
    std::set<std::string> fFound;
    std::set<std::string> fFoundCameras;
    bool fHasGroups = false;
};

}  // namespace

std::map<const recording::Reader*, std::set<std::uint16_t>> chosenChannels(
    const std::vector<recording::Source>& sources, const ChannelChoice& choice) {
    Choice wanted(choice);
    std::map<const recording::Reader*, std::set<std::uint16_t>> chosen;
    for (const recording::Source& source : sources) {
        const recording::Reader& reader = *source.fReader;
        std::set<std::uint16_t>& channels = chosen[&reader];
        for (const recorded_robot::RecordedRobot& robot : recorded_robot::robotsOf(reader)) {
            for (const auto& [id, channel] : robot.fChannels) {
                if (wanted.wants(reader.channels().at(id).fTopic, channel)) {
                    channels.insert(id);
                }
            }
        }
    }
    wanted.requireAll();
    return chosen;
}

}  // namespace robaxi_tool
