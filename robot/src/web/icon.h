#ifndef OBVISTA_ROBOT_WEB_ICON_H
#define OBVISTA_ROBOT_WEB_ICON_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace robot {

/** What can be wrong with the icon that a robot serves. */
enum class IconTrouble {
    None,
    Hang,     ///< the request is taken and never answered
    Trickle,  ///< the answer comes a byte a second
    Missing,  ///< the answer is 404
    Huge,     ///< the answer is 64 MiB long
    Broken    ///< the answer is no picture, though it begins like one
};

/** "ok", "hang", "trickle", "404", "huge" or "broken"; nothing for another word. */
std::optional<IconTrouble> iconTroubleNamed(const std::string& word);
const char* nameOf(IconTrouble trouble);

/** The words that iconTroubleNamed() knows, for people. */
std::string iconTroubleNames();

/**
 * Reads an icon.
 *
 * @throws std::runtime_error when the file cannot be read, is empty or above 4 MiB
 */
std::string readIcon(const std::string& file);

/** The media type of a picture, from its first bytes. */
const char* pictureType(const std::string& bytes);

/** What a broken icon consists of: the head of a picture, then something else. */
std::string brokenPicture(const std::string& picture);

/** Length of the icon that is too large, bytes. */
constexpr std::uint64_t a_hugeIconSize = 64ULL * 1024 * 1024;

}  // namespace robot

#endif
