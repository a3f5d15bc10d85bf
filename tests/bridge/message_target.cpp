// The readers of messages: of values of every type, of pictures and of nodes. The first byte
// selects the reader.

#include "fuzz_target.h"
#include "message/image_message.h"
#include "message/message_table.h"
#include "message/message_values.h"
#include "ros2/node_info.h"

#include <picture/frame_check.h>

#include <cstdlib>
#include <memory>
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
    static const std::vector<std::string> types = bridge::knownTypes();
    if (size == 0) {
        return 0;
    }
    const bridge::Bytes message{data + 1, size - 1};
    const std::shared_ptr<const void> nobody;
    const std::size_t choice = data[0];
    if (choice < types.size()) {
        const auto type = bridge::knownType(types[choice]);
        const bridge::MessageValues values = bridge::valuesOf(*type, "topic", message, 1);
        if (values.fValues.size() > bridge::a_mostValues) {
            std::abort();
        }
    } else if (choice == 253) {
        require(bridge::imageOf(message, nobody, 1));
    } else if (choice == 254) {
        require(bridge::compressedImageOf(message, nobody, 1));
    } else if (choice == 255) {
        bridge::nodeInfoOf(message);
    }
    return 0;
}
