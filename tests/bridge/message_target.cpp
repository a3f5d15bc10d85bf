// The readers of messages: of values of every type, of pictures and of nodes. The first byte
// selects the reader.

#include "fuzz_target.h"
#include "ros2/node_info.h"

#include <picture/frame_check.h>

#include <cstdlib>
#include <memory>
#include <ros2_message/image_message.h>
#include <ros2_message/message_table.h>
#include <ros2_message/message_values.h>
#include <string>
#include <vector>

namespace {

/** Fails for a frame that the viewers would not take. */
void require(const picture::ImageResult& result) {
    if (result.fProblem.empty() &&
        picture::check(result.fFrame).fault() != picture::FrameFault::None) {
        std::abort();
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::vector<std::string> types = ros2_message::knownTypes();
    if (size == 0) {
        return 0;
    }
    const ros2_message::Bytes message{data + 1, size - 1};
    const std::shared_ptr<const void> nobody;
    const std::size_t choice = data[0];
    if (choice < types.size()) {
        const auto type = ros2_message::knownType(types[choice]);
        const ros2_message::MessageValues values =
            ros2_message::valuesOf(*type, "topic", message, 1);
        if (values.fValues.size() > ros2_message::a_mostValues) {
            std::abort();
        }
    } else if (choice == 253) {
        require(ros2_message::imageOf(message, nobody, 1));
    } else if (choice == 254) {
        require(ros2_message::compressedImageOf(message, nobody, 1));
    } else if (choice == 255) {
        bridge::nodeInfoOf(message);
    }
    return 0;
}
