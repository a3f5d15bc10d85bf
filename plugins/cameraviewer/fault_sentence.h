#ifndef OBVISTA_CAMERAVIEWER_FAULT_SENTENCE_H
#define OBVISTA_CAMERAVIEWER_FAULT_SENTENCE_H

#include <picture/frame_check.h>

#include <QString>

namespace cameraviewer {

/** Returns picture::faultText() in the user's language. Empty without a fault. */
QString faultSentence(picture::FrameFault fault);

}  // namespace cameraviewer

#endif
