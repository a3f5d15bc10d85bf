#ifndef ROBAXI_KV_FRAME_CHAIN_H
#define ROBAXI_KV_FRAME_CHAIN_H

#include <robaxi/kv_frame.h>
#include <robaxi/robaxi_export.h>

#include <cstdint>
#include <optional>

/**
 * The order in which frames can be decoded: an H.264 frame that is not a key frame needs the one
 * before. Frames of other formats stand alone. For one thread at a time.
 */
class ROBAXI_EXPORT KVFrameChain {
  public:
    /**
     * Returns true if the frame can be decoded after those that were accepted before. After a frame
     * that cannot, only a key frame or one of another format is accepted.
     */
    bool accepts(const KVFrame& frame);

    /** Reports that an accepted frame is not decoded. */
    void interrupt() { fNext.reset(); }

  private:
    std::optional<std::uint64_t> fNext;
};

/** Returns true if the frame can be decoded without another one. */
ROBAXI_EXPORT bool standsAlone(const KVFrame& frame);

#endif
