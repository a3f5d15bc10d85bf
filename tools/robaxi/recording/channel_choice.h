#ifndef OBVISTA_TOOLS_ROBAXI_RECORDING_CHANNEL_CHOICE_H
#define OBVISTA_TOOLS_ROBAXI_RECORDING_CHANNEL_CHOICE_H

#include <cstdint>
#include <map>
#include <recording/copy.h>
#include <set>
#include <string>
#include <vector>

namespace robaxi_tool {

/** The channels to copy from recordings: by topics, keys and cameras. All if nothing is given. */
struct ChannelChoice {
    std::vector<std::string> fTopics;    ///< patterns
    std::vector<std::string> fPatterns;  ///< of keys
    std::vector<std::string> fCameras;

    bool isEmpty() const { return fTopics.empty() && fPatterns.empty() && fCameras.empty(); }
};

/**
 * Returns the numbers of the chosen channels of each recording. With keys or cameras, the events of
 * the robots are among them, so that gaps remain marked, and so are channels of several keys.
 *
 * @throws Failure if no recording has one of the keys or cameras
 */
std::map<const recording::Reader*, std::set<std::uint16_t>> chosenChannels(
    const std::vector<recording::Source>& sources, const ChannelChoice& choice);

}  // namespace robaxi_tool

#endif
