#ifndef OBVISTA_TESTS_CAMERAVIEWER_RECORDING_PROCESS_H
#define OBVISTA_TESTS_CAMERAVIEWER_RECORDING_PROCESS_H

#include <cstddef>
#include <made_frames.h>

namespace obvista_test {

constexpr std::size_t a_processFrames = 50;

/** The frame that recording_process records repeatedly. */
inline KVFrame processFrame() {
    return jpegFrame(smoothPicture(160, 120, QImage::Format_RGB888));
}

}  // namespace obvista_test

#endif
