#include <robaxi/kv_frame_chain.h>

bool standsAlone(const KVFrame& frame) {
    return frame.fFormat != KVPixelFormat::H264 || frame.fIsKey;
}

bool KVFrameChain::accepts(const KVFrame& frame) {
    if (!standsAlone(frame) && fNext != frame.fSequence) {
        fNext.reset();
        return false;
    }
    fNext.reset();
    if (frame.fFormat == KVPixelFormat::H264) {
        fNext = frame.fSequence + 1;
    }
    return true;
}
