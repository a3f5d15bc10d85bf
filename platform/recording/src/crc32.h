#ifndef RECORDING_CRC32_H
#define RECORDING_CRC32_H

#include <cstdint>
#include <string_view>

namespace recording {

/** Continues the CRC-32 of what came before; 0 at the beginning. */
std::uint32_t crc32Of(std::string_view bytes, std::uint32_t before = 0);

}  // namespace recording

#endif
